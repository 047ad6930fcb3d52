// Bodies of answers, and the codes for what the library says.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "obex/packets/service.h"
#include "osif.h"

namespace obex {

// A text that is there as a whole.
GetAnswer AnswerWith(std::string text);

// Pieces that are made as they are asked for.
class PieceSource : public BodySource {
 public:
  std::optional<size_t> Read(char* into, size_t room) final;

 protected:
  // The next piece, not empty; nothing after the last, and where it failed (has_failed).
  virtual std::optional<std::string> Next() = 0;
  bool has_failed_ = false;

 private:
  std::string piece_;
  size_t given_ = 0;  // of the piece
};

// What an operation of the library that failed is answered with; kDatabaseFull also where the device's disk is full.
Code CodeOf(OsifResult result);

}  // namespace obex

// Object push: what a peer sends is received into the stores, as a file of any dialect is; it may ask for the owner's
// business card.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "obex/packets/service.h"
#include "obex/services/journal.h"
#include "obex/services/received_body.h"

namespace obex {

struct PushSettings {
  std::string inbox = {};  // a folder that gets the bytes as they came; empty for none
  bool is_inbox_only = false;
  size_t most_objects = 10'000;  // of one body
  uint32_t patience = 20'000;    // milliseconds to wait for a store that another session holds
};

class PushService : public Service {
 public:
  // The journal outlives it.
  PushService(const PushSettings& settings, Journal& journal)
      : settings_(settings), journal_(journal) {}

  // Any target but its own, the empty one, is forbidden.
  Code Open(std::string_view target) override;
  Code TakeBody(const Request& request, std::string_view bytes) override;
  PutAnswer FinishPut(const Request& request, BodyForm body) override;
  GetAnswer Get(const Request& request) override;
  void Drop() override { body_.reset(); }
  void Close() override { Drop(); }

 private:
  // kSuccess for a name and a type that are taken.
  Code MayTake(const Request& request);
  // Tells the reason, and gives the code.
  Code Refuse(Code code, const std::string& reason);
  Code Keep(const Request& request, const ReceivedBody& body);
  Code Store(const ReceivedBody& body);

  const PushSettings settings_;
  Journal& journal_;
  std::unique_ptr<ReceivedBody> body_;
};

// The contact that is the owner's card; empty while none is set.
std::string BusinessCardId();

}  // namespace obex

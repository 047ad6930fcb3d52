// A temporary file of the command's own, removed at the end.
#pragma once

#include <cstdint>
#include <string>

namespace command {

class TempFile {
 public:
  // Makes an empty file in the system's folder for temporary files. is_open() is false when that failed.
  TempFile();
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  bool is_open() const { return handle_ >= 0; }
  const std::string& name() const { return name_; }

  // Makes the file hold the bytes from `begin` to `end` of an open file. False when that failed; errno
  // tells why.
  bool HoldPiece(int source, int64_t begin, int64_t end);

  // Writes what the file holds to another open file. False when that failed.
  bool CopyTo(int target) const;

 private:
  std::string name_;
  int handle_;
};

}  // namespace command

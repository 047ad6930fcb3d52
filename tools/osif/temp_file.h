// A temporary file of the command's own. It lives in memory and stands in no folder, so that nothing of it
// stays behind however the command ends.
#pragma once

#include <cstdint>
#include <string>

namespace command {

class TempFile {
 public:
  // Makes an empty file. is_open() is false when that failed; errno tells why.
  TempFile();
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  bool is_open() const { return handle_ >= 0; }
  // A name under which this process, and the library in it, can open the file while it lives.
  const std::string& name() const { return name_; }

  // Makes the file hold the bytes from `begin` to `end` of an open file. False when that failed; errno
  // tells why.
  bool HoldPiece(int source, int64_t begin, int64_t end);

  // Writes what the file holds to another open file. False when that failed.
  bool CopyTo(int target) const;

 private:
  int handle_;
  std::string name_;
};

}  // namespace command

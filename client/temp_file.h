// A temporary file of the command's own. It lives in memory and stands in no folder, so that nothing of it
// stays behind however the command ends.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace client {

class TempFile {
 public:
  // Makes an empty file. is_open() is false when that failed; errno tells why.
  TempFile();
  TempFile(TempFile&& other) noexcept;
  TempFile& operator=(TempFile&&) = delete;
  ~TempFile();

  bool is_open() const { return handle_ >= 0; }
  // A name under which this process, and the library in it, can open the file while it lives.
  const std::string& name() const { return name_; }

  int handle() const { return handle_; }

  // Makes the file hold the bytes from `begin` to `end` of an open file. False when that failed; errno
  // tells why.
  bool HoldPiece(int source, int64_t begin, int64_t end);

  // Makes the file hold a text. False when that failed; errno tells why.
  bool HoldText(std::string_view text);

  // Makes the file hold what can be read from an open file, which may be a pipe. False when that failed, or
  // when it is more than `most` bytes or has a line of more than `longest_line`; errno tells why.
  bool HoldRest(int source, int64_t most, int64_t longest_line);

  // All that the file holds. False when that failed; errno tells why.
  bool Read(std::string& bytes) const;

  // Why nothing more can be written to the file; 0 when something can.
  int WhyFull() const;

 private:
  int handle_;
  std::string name_;
};

// Writes all bytes to an open file. False when that failed; errno tells why.
bool WriteAll(int handle, std::string_view bytes);

}  // namespace client

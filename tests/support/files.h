// Files with given bytes for the readers, and the bytes that a writer leaves in a file.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "btosif/osif_file.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"

namespace support {

// An ASCII text as wide text.
inline std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// A wide text of ASCII characters as narrow text; other characters become "?".
inline std::string Narrow(std::u16string_view wide) {
  std::string text;
  for (char16_t unit : wide) text += unit < 0x80 ? static_cast<char>(unit) : '?';
  return text;
}

// A file of the given bytes that lives as long as the object.
class TempFile {
 public:
  explicit TempFile(std::string_view bytes = {}) {
    path_ = std::filesystem::temp_directory_path() / "osif-test-XXXXXX";
    const int descriptor = mkstemp(path_.data());
    if (descriptor < 0) throw std::runtime_error("no temporary file like " + path_);
    close(descriptor);
    Put(bytes);
  }
  ~TempFile() { unlink(path_.c_str()); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  void Put(std::string_view bytes) { PutBytes(path_, bytes); }
  std::string Bytes() const { return BytesOf(path_); }

  const std::string& path() const { return path_; }
  std::u16string wide_path() const { return Wide(path_); }

 private:
  std::string path_;
};

inline OsifStream Open(const std::string& path, const WCHAR* mode,
                       LineEnd line_end = LineEnd::kLf) {
  OsifStream stream;
  EXPECT_EQ(FILE_Open(stream, Wide(path).c_str(), mode, line_end), 0) << path;
  return stream;
}

// A stream that reads the given bytes. Its file has no name any more.
inline OsifStream OpenBytes(std::string_view bytes) {
  TempFile file(bytes);
  return Open(file.path(), u"rb");
}

// What `write` puts into a stream of an object file.
template <typename Write>
std::string BytesWritten(Write write, LineEnd line_end = LineEnd::kCrLf) {
  TempFile file;
  OsifStream stream = Open(file.path(), u"w", line_end);
  write(stream);
  EXPECT_EQ(FILE_Close(stream, file.wide_path().c_str()), 0);
  return file.Bytes();
}

// Lines as an object file holds them.
inline std::string Lines(std::initializer_list<std::string_view> lines) {
  std::string text;
  for (std::string_view line : lines) text.append(line).append("\r\n");
  return text;
}

}  // namespace support

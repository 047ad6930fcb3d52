// What the fuzz targets share: a stream over the fuzzer's bytes, and a device folder of their own.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "btosif/osif_file.h"
#include "btosif/osif_util/charset.h"
#include "platform/utf8.h"

namespace fuzz {

// Puts the registry into a fresh folder that is removed when the fuzzer ends.
class DeviceFolder {
 public:
  DeviceFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "osif-fuzz-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    setenv("OSIF_DEVICE", folder_.c_str(), 1);
  }
  ~DeviceFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

 private:
  std::string folder_;
};

inline void UseOwnDevice() { static DeviceFolder device; }

// A file in memory that holds the fuzzer's bytes.
class InputFile {
 public:
  InputFile(const uint8_t* bytes, size_t size) : descriptor_(memfd_create("input", 0)) {
    if (write(descriptor_, bytes, size) != static_cast<ssize_t>(size)) abort();
    name_ = FromUtf8("/proc/self/fd/" + std::to_string(descriptor_));
  }
  ~InputFile() { close(descriptor_); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  void Open(OsifStream& stream) const {
    if (FILE_Open(stream, name_.c_str(), u"rb") != 0) abort();
  }

 private:
  int descriptor_;
  WideText name_;
};

// Has a reader read the fuzzer's bytes, on a device of its own. The reader answers one of the parse outcomes
// or a failure before them, nothing else.
inline void Read(OsifResult (*read)(OsifStream&, OsifReadCallback, void*), const uint8_t* bytes,
                 size_t size, OsifReadCallback callback, void* context) {
  UseOwnDevice();
  const InputFile input(bytes, size);
  OsifStream stream;
  input.Open(stream);
  const OsifResult result = read(stream, callback, context);
  if (result < OSIF_PARSE_OK || result > OSIF_PARSE_ERROR) abort();
}

// A text that a strict reader takes without a warning, as one object.
inline void CheckOneStrictObject(OsifResult (*read)(OsifStream&, OsifReadCallback, void*),
                                 const std::string& text) {
  int count = 0;
  const auto on_record = [](int32_t, OsifObject*, OsifResult result, void* context) -> int32_t {
    if (result != OSIF_PARSE_OK) abort();
    ++*static_cast<int*>(context);
    return 0;
  };
  Read(read, reinterpret_cast<const uint8_t*>(text.data()), text.size(), on_record, &count);
  if (count != 1) abort();
}

// Where records are written to be forgotten.
inline OsifStream& Sink() {
  static OsifStream sink;
  if (!sink.is_open()) FILE_Open(sink, u"/dev/null", u"w", LineEnd::kCrLf);
  return sink;
}

}  // namespace fuzz

#include "tools/osif/temp_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

namespace command {
namespace {

bool WriteAll(int handle, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(handle, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

// Copies bytes `begin` to `end` of one file to the other's position; less when the source is shorter.
bool Copy(int source, int64_t begin, int64_t end, int target) {
  std::array<char, 65536> buffer;
  while (begin < end) {
    const auto want = static_cast<size_t>(std::min<int64_t>(end - begin, buffer.size()));
    const ssize_t got = pread(source, buffer.data(), want, begin);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) return true;
    if (!WriteAll(target, {buffer.data(), static_cast<size_t>(got)})) return false;
    begin += got;
  }
  return true;
}

}  // namespace

TempFile::TempFile()
    : handle_(memfd_create("osif", MFD_CLOEXEC)),
      name_("/proc/self/fd/" + std::to_string(handle_)) {}

TempFile::~TempFile() {
  if (is_open()) close(handle_);
}

// Written over first and cut to its length then, so that its memory is not given back and asked for anew.
bool TempFile::HoldPiece(int source, int64_t begin, int64_t end) {
  return lseek(handle_, 0, SEEK_SET) == 0 && Copy(source, begin, end, handle_) &&
         ftruncate(handle_, lseek(handle_, 0, SEEK_CUR)) == 0;
}

bool TempFile::CopyTo(int target) const {
  return Copy(handle_, 0, lseek(handle_, 0, SEEK_END), target);
}

}  // namespace command

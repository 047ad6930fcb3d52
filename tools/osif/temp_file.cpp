#include "tools/osif/temp_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
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

TempFile::TempFile() : handle_(-1) {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
  name_ = (error ? std::filesystem::path("/tmp") : folder) / "osif-XXXXXX";
  handle_ = mkstemp(name_.data());
}

TempFile::~TempFile() {
  if (!is_open()) return;
  close(handle_);
  unlink(name_.c_str());
}

// Some file systems write a file out at once that was emptied and filled anew; so it is written over first
// and cut to its length then.
bool TempFile::HoldPiece(int source, int64_t begin, int64_t end) {
  return lseek(handle_, 0, SEEK_SET) == 0 && Copy(source, begin, end, handle_) &&
         ftruncate(handle_, lseek(handle_, 0, SEEK_CUR)) == 0;
}

bool TempFile::CopyTo(int target) const {
  return Copy(handle_, 0, lseek(handle_, 0, SEEK_END), target);
}

}  // namespace command

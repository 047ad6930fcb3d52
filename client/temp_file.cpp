#include "client/temp_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

namespace client {
namespace {

using Buffer = std::array<char, 65536>;

// read(), which a signal does not hinder.
ssize_t ReadSome(int source, Buffer& buffer) {
  ssize_t got = 0;
  do {
    got = read(source, buffer.data(), buffer.size());
  } while (got < 0 && errno == EINTR);
  return got;
}

// Copies bytes `begin` to `end` of one file to the other's position; less when the source is shorter.
bool Copy(int source, int64_t begin, int64_t end, int target) {
  Buffer buffer;
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

bool WriteAll(int handle, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(handle, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

TempFile::TempFile()
    : handle_(memfd_create("osif", MFD_CLOEXEC)),
      name_("/proc/self/fd/" + std::to_string(handle_)) {}

TempFile::TempFile(TempFile&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)), name_(std::move(other.name_)) {}

TempFile::~TempFile() {
  if (is_open()) close(handle_);
}

// Written over first and cut to its length then, so that its memory is not given back and asked for anew.
bool TempFile::HoldPiece(int source, int64_t begin, int64_t end) {
  return lseek(handle_, 0, SEEK_SET) == 0 && Copy(source, begin, end, handle_) &&
         ftruncate(handle_, lseek(handle_, 0, SEEK_CUR)) == 0;
}

bool TempFile::HoldText(std::string_view text) {
  return lseek(handle_, 0, SEEK_SET) == 0 && WriteAll(handle_, text) &&
         ftruncate(handle_, lseek(handle_, 0, SEEK_CUR)) == 0;
}

bool TempFile::HoldRest(int source, int64_t most, int64_t longest_line) {
  Buffer buffer;
  int64_t size = 0;
  int64_t line = 0;
  for (;;) {
    const ssize_t got = ReadSome(source, buffer);
    if (got <= 0) return got == 0;
    const std::string_view bytes(buffer.data(), static_cast<size_t>(got));
    const size_t line_end = bytes.rfind('\n');
    line =
        line_end == std::string_view::npos ? line + got : got - static_cast<ssize_t>(line_end) - 1;
    size += got;
    if (size > most || line > longest_line) {
      errno = EFBIG;
      return false;
    }
    if (!WriteAll(handle_, bytes)) return false;
  }
}

bool TempFile::Read(std::string& bytes) const {
  const off_t size = lseek(handle_, 0, SEEK_END);
  if (size < 0) return false;
  bytes.resize(static_cast<size_t>(size));
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t got =
        pread(handle_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) bytes.resize(done);
    done += static_cast<size_t>(got);
  }
  return true;
}

// As much as the library gathers before it writes, so that the room for less does not hide the reason.
int TempFile::WhyFull() const {
  lseek(handle_, 0, SEEK_END);
  return WriteAll(handle_, std::string(sizeof(Buffer), '\n')) ? 0 : errno;
}

}  // namespace client

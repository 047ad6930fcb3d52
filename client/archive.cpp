// Names go as bytes: that of a document need not be valid in any character set, and the one format of tar that keeps names
// of any length without converting them is that of GNU.
#include "client/archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace client {
namespace {

constexpr size_t kBlock = size_t{1} << 16;
constexpr int64_t kNanoseconds = 1'000'000'000;

std::string ErrorOf(archive* one) {
  if (one == nullptr) return "no memory";
  const char* text = archive_error_string(one);
  if (text != nullptr) return text;
  const int number = archive_errno(one);
  return number > 0 ? std::strerror(number) : "it cannot be read";
}

}  // namespace

ArchiveWriter::ArchiveWriter(int handle) : archive_(archive_write_new()) {
  Check(archive_write_set_format_gnutar(archive_));
  Check(archive_write_add_filter_zstd(archive_));
  // What is written is the archive and nothing after it, also to a pipe.
  Check(archive_write_set_bytes_in_last_block(archive_, 1));
  Check(archive_write_open_fd(archive_, handle));
}

ArchiveWriter::~ArchiveWriter() {
  // What was not finished is nobody's: it is not written to its end.
  archive_write_fail(archive_);
  archive_write_free(archive_);
}

bool ArchiveWriter::Check(int64_t result) {
  if (result < ARCHIVE_OK && why_not_.empty()) why_not_ = ErrorOf(archive_);
  return result >= ARCHIVE_OK && why_not_.empty();
}

bool ArchiveWriter::Begin(const std::string& name, int64_t size, int64_t modified) {
  archive_entry* entry = archive_entry_new();
  archive_entry_set_pathname(entry, name.c_str());
  archive_entry_set_size(entry, size);
  archive_entry_set_filetype(entry, AE_IFREG);
  archive_entry_set_perm(entry, 0600);
  archive_entry_set_mtime(entry, modified / kNanoseconds, modified % kNanoseconds);
  const bool is_begun = Check(archive_write_header(archive_, entry));
  archive_entry_free(entry);
  return is_begun;
}

bool ArchiveWriter::Add(std::string_view bytes) {
  const la_ssize_t written = archive_write_data(archive_, bytes.data(), bytes.size());
  if (!Check(written)) return false;
  if (static_cast<size_t>(written) == bytes.size()) return true;
  why_not_ = "more bytes than were said";
  return false;
}

bool ArchiveWriter::Finish() { return Check(archive_write_close(archive_)); }

ArchiveReader::ArchiveReader(int handle) : archive_(archive_read_new()) {
  archive_read_support_filter_zstd(archive_);
  archive_read_support_format_tar(archive_);
  if (archive_read_open_fd(archive_, handle, kBlock) != ARCHIVE_OK) why_not_ = ErrorOf(archive_);
}

ArchiveReader::~ArchiveReader() { archive_read_free(archive_); }

bool ArchiveReader::Next() {
  if (!why_not_.empty()) return false;
  const int result = archive_read_next_header(archive_, &entry_);
  // A header of which a part was not understood is none of ours.
  if (result != ARCHIVE_OK && result != ARCHIVE_EOF) why_not_ = ErrorOf(archive_);
  return result == ARCHIVE_OK;
}

std::string ArchiveReader::name() const {
  const char* name = archive_entry_pathname(entry_);
  return name == nullptr ? std::string() : name;
}

bool ArchiveReader::is_file() const {
  return archive_entry_filetype(entry_) == AE_IFREG && archive_entry_hardlink(entry_) == nullptr &&
         archive_entry_symlink(entry_) == nullptr && archive_entry_size_is_set(entry_) != 0;
}

int64_t ArchiveReader::size() const { return archive_entry_size(entry_); }

int64_t ArchiveReader::modified() const {
  constexpr int64_t kMost = INT64_MAX / kNanoseconds - 1;
  const auto seconds = static_cast<int64_t>(archive_entry_mtime(entry_));
  if (seconds < 0 || seconds > kMost) return 0;
  return seconds * kNanoseconds;
}

bool ArchiveReader::Read(const std::function<bool(std::string_view)>& take) {
  static thread_local std::array<char, kBlock> buffer;
  for (;;) {
    const la_ssize_t got = archive_read_data(archive_, buffer.data(), buffer.size());
    if (got == 0) return true;
    if (got < 0) {
      why_not_ = ErrorOf(archive_);
      return false;
    }
    if (!take({buffer.data(), static_cast<size_t>(got)})) return false;
  }
}

}  // namespace client

// Files as members of one archive: tar, compressed with zstd, as any tar reads and writes it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct archive;
struct archive_entry;

namespace client {

// Writes an archive to an open file or pipe. Each call gives false where it failed; why_not() then says why.
class ArchiveWriter {
 public:
  explicit ArchiveWriter(int handle);
  ~ArchiveWriter();
  ArchiveWriter(const ArchiveWriter&) = delete;
  ArchiveWriter& operator=(const ArchiveWriter&) = delete;

  // A member of `size` bytes, changed last so many nanoseconds after 1970; Add() then brings exactly those bytes.
  bool Begin(const std::string& name, int64_t size, int64_t modified);
  bool Add(std::string_view bytes);
  // After the last member.
  bool Finish();

  const std::string& why_not() const { return why_not_; }

 private:
  bool Check(int64_t result);

  archive* archive_;
  std::string why_not_;
};

// Reads an archive from an open file or pipe, whoever made it: nothing of what it says is taken for granted.
class ArchiveReader {
 public:
  explicit ArchiveReader(int handle);
  ~ArchiveReader();
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  // Goes to the next member. False at the end, and where it cannot be read: why_not() then says why, and is empty at the
  // end.
  bool Next();

  // Of the member.
  std::string name() const;  // bytes as they are
  bool is_file() const;      // a file with bytes of its own: no folder, link, device or pipe
  int64_t size() const;
  int64_t modified() const;  // nanoseconds since 1970

  // Hands over the bytes of the member piece by piece. False where they cannot be read whole, or `take` gives false;
  // why_not() is empty in that case alone.
  bool Read(const std::function<bool(std::string_view)>& take);

  const std::string& why_not() const { return why_not_; }

 private:
  archive* archive_;
  archive_entry* entry_ = nullptr;
  std::string why_not_;
};

}  // namespace client

// The marks that are kept beside a saved snapshot: up to which moment of the store the snapshot reaches, so that the
// next opening asks the store for what was written since instead of looking at every item.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "btosif/osif_util/charset.h"

// What a file holds, as far as two files are told apart by it: its size in bytes and its CRC-32.
struct FileDigest {
  uint64_t size = 0;
  uint32_t crc = 0;

  bool operator==(const FileDigest&) const = default;
};

FileDigest DigestOf(std::string_view bytes);

// Nothing when the file cannot be opened; nothing is told in the trace.
std::optional<FileDigest> DigestOfFile(const WideText& name);

// A mark counts only for the snapshot that it was made with. A snapshot lists the items of the store's folders one
// folder after the other.
struct StoreMark {
  std::string compared;  // as the store gave it: up to here nothing is untold
  std::string
      closed;  // and of when the snapshot was saved: a store that does not know it has lost what is in it
  FileDigest snapshot;     // the object log
  size_t first_items = 0;  // of the store's first folder
  size_t other_items = 0;  // of its second, which only the calendar has
};

// The mark of a store's snapshot in a folder; nothing when there is none, or when it is not of the snapshot that is
// there.
std::optional<StoreMark> pol_ReadStoreMark(int32_t store_id, WideView folder);

// A mark that cannot be written is none.
void pol_WriteStoreMark(int32_t store_id, WideView folder, const StoreMark& mark);
void pol_RemoveStoreMark(int32_t store_id, WideView folder);

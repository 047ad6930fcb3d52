// What a file of a mirrored folder says, and what of it the store can hold.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mirror {

struct FileObject {
  std::string refusal;  // why the file is not used at all, in words; all else is empty then
  std::string uid;      // empty without one
  // As the strict reader takes it, for the store; empty where only the file can hold the object.
  std::string strict;
  std::string stays;  // what of it stays in the file alone, in words; mostly empty
};

// Reads the one object of a file: a card for the contacts, an event or a task with its changed occurrences for the
// calendar. What is not UTF-8, holds no object, or several, is refused.
FileObject ReadFileObject(int32_t store_id, std::string_view text);

// The UID alone, which costs less; empty where there is none.
std::string UidOfFile(int32_t store_id, std::string_view text);

// The file with a UID, where it has none. All else is as it was.
std::string WithUid(int32_t store_id, std::string_view text, std::string_view uid);

// A UID for a file without one: the same for the same name and text.
std::string MakeUid(std::string_view name, std::string_view text);

// The ending of the store's files: ".vcf", ".ics".
std::string_view EndingOf(int32_t store_id);

// A name for a new file, of its UID where that is a plain word, else of another one.
std::string FileNameOf(int32_t store_id, std::string_view uid, std::string_view otherwise);

}  // namespace mirror

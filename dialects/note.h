// A note of any dialect, understood.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/charsets.h"
#include "dialects/object_text.h"
#include "dialects/report.h"
#include "dialects/strict_object.h"

namespace dialects {

// All texts are UTF-8; empty where the sender said nothing.
struct Note {
  std::string summary;
  std::string body;
  std::string created;  // the dates as they were sent
  std::string modified;
  std::string categories;  // with "," between them
  std::string access;      // CLASS
  std::string luid;        // X-IRMC-LUID
  std::string uid;
};

// Reads a note. What it has no place for is dropped.
Note ReadNote(const ObjectText& object, const TextSettings& settings, Report& report);

// True for a summary under which the store can keep a note: of some characters nothing would be left in a
// file's name.
bool IsNoteName(std::string_view summary);

// Gives a note that has no usable summary one of its text, or of its date.
void NameNote(Note& note, Report& report);

// The note as strict vNote 1.1.
std::string StrictNoteText(const Note& note, Report& report);

// The names of the notes of one file. The store keeps one note of each name, so the second of a name needs
// another: "Shopping (2)".
class NoteNames {
 public:
  // Changes the summary of a note where another one has it, and remembers it.
  void MakeUnique(Note& note, Report& report);

 private:
  std::map<std::string, size_t> next_;  // the number that the next one of a name gets
};

// As StrictNotes of one object, for the notes of one file, one after the other.
std::vector<StrictObject> StrictNotes(const ObjectText& object, const TextSettings& settings,
                                      NoteNames& names);

}  // namespace dialects

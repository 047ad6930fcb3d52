// A note has few properties, each a text: one table says which text of the model each goes to. The store
// finds a note by its name alone, so a note always gets one.
#include "dialects/note.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "dialects/content_line.h"
#include "dialects/headline.h"
#include "dialects/people_page.h"
#include "dialects/value_text.h"

namespace dialects {
namespace {

constexpr size_t kLongestName = 60;  // characters

struct NoteRow {
  std::string_view name;
  std::string Note::*text;
  bool is_kept;  // false: goes out under another name
};

constexpr std::array<NoteRow, 13> kRows = {{
    {"DCREATED", &Note::created, true},
    {"CREATED", &Note::created, false},
    {"LAST-MODIFIED", &Note::modified, true},
    {"SUMMARY", &Note::summary, true},
    {"SUBJECT", &Note::summary, false},
    {"TITLE", &Note::summary, false},
    {"BODY", &Note::body, true},
    {"DESCRIPTION", &Note::body, false},
    {"NOTE", &Note::body, false},
    {"CATEGORIES", &Note::categories, true},
    {"CLASS", &Note::access, true},
    {"X-IRMC-LUID", &Note::luid, true},
    {"UID", &Note::uid, false},
}};

const NoteRow* FindRow(std::string_view name) {
  const auto* row =
      std::ranges::find_if(kRows, [&](const NoteRow& entry) { return entry.name == name; });
  return row == kRows.end() ? nullptr : row;
}

std::string CategoryList(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ",") + part;
  return text;
}

// The numbers of the lines whose value is folded right after the colon.
std::set<uint64_t> LinesFoldedAtStart(const ObjectText& object) {
  std::set<uint64_t> numbers;
  uint64_t number = object.line;
  for (std::string_view rest = object.text; !rest.empty(); ++number) {
    if (TakePhysicalLine(rest).ends_with(':')) numbers.insert(number);
  }
  return numbers;
}

// The blanks of such a fold are no text: in quoted-printable a blank that counts there is encoded.
void RemoveFoldsAtStart(const ObjectText& object, std::vector<ContentLine>& lines) {
  const std::set<uint64_t> folded = LinesFoldedAtStart(object);
  for (ContentLine& line : lines) {
    if (EncodingOf(line) != Encoding::kQuotedPrintable || !folded.contains(line.line)) continue;
    line.value.erase(0, std::min(line.value.find_first_not_of(" \t"), line.value.size()));
  }
}

// A second text goes after the first; of anything else the first is kept.
void Store(const NoteRow& row, std::string text, Note& note, Report& report) {
  std::string& place = note.*row.text;
  if (text.empty() || text == place) return;
  if (place.empty()) {
    place = std::move(text);
  } else if (row.text == &Note::body) {
    place += "\r\n\r\n" + text;
    report.Changed("texts joined");
  } else {
    report.Dropped(row.name);
  }
}

void TakeLine(const ContentLine& line, const ValueDecoder& decoder, Note& note, Report& report) {
  if (line.name == "BEGIN" || line.name == "END" || line.name == "VERSION") return;
  const NoteRow* row = FindRow(line.name);
  if (row == nullptr) return report.Dropped(line.name.empty() ? "line without a name" : line.name);
  if (!line.group.empty()) report.Changed("group prefix");
  if (!row->is_kept && row->text != &Note::uid) report.Changed("another name of a property");
  const bool is_list = row->text == &Note::categories;
  Store(*row, is_list ? CategoryList(decoder.Components(line)) : decoder.Text(line), note, report);
}

// The reader takes it as it stands, and has room for so many bytes.
bool IsPlainLuid(std::string_view luid) {
  constexpr size_t kRoom = 511;
  const bool is_printable = std::ranges::all_of(luid, [](char c) { return c >= ' ' && c <= '~'; });
  return is_printable && luid.size() <= kRoom && !luid.ends_with('=');
}

// Control characters and what separates paths cannot stand in a file's name.
std::string FileName(std::string_view summary) {
  std::string name;
  for (const char c : summary) {
    const bool is_control = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    if (!is_control && std::string_view("\\/:*?<>|\"").find(c) == std::string_view::npos) name += c;
  }
  return ToUpper(Trim(name));
}

}  // namespace

Note ReadNote(const ObjectText& object, const TextSettings& settings, Report& report) {
  if (!object.had_end) report.Guessed("END");
  std::vector<ContentLine> lines = ReadContentLines(object.text, object.line, kOldLines, report);
  RemoveFoldsAtStart(object, lines);
  const ValueDecoder decoder(lines, Escapes::kOld, settings, object.has_byte_order_mark, report);
  if (VersionOf(object.text) != "1.1") report.Changed("version");
  Note note;
  for (const ContentLine& line : lines) TakeLine(line, decoder, note, report);
  return note;
}

bool IsNoteName(std::string_view summary) { return !FileName(summary).empty(); }

void NameNote(Note& note, Report& report) {
  if (IsNoteName(note.summary)) return;
  note.summary = Headline(note.body, kLongestName);
  if (!IsNoteName(note.summary)) note.summary = Trim("Note " + note.created);
  report.Guessed("name of the note");
}

std::string StrictNoteText(const Note& note, Report& report) {
  std::string text = "BEGIN:VNOTE\r\nVERSION:1.1\r\n";
  for (const NoteRow& row : kRows) {
    const std::string& value = note.*row.text;
    if (!row.is_kept || value.empty()) continue;
    if (row.text != &Note::luid) {
      text += OldLine(row.name, value);
    } else if (IsPlainLuid(value)) {
      text += "X-IRMC-LUID:" + value + "\r\n";
    } else {
      report.Dropped(row.name);
    }
  }
  return text + "END:VNOTE\r\n";
}

void NoteNames::MakeUnique(Note& note, Report& report) {
  const std::string wanted = note.summary;
  size_t& number = next_[FileName(wanted)];
  while (number > 0) {
    note.summary = wanted + " (" + std::to_string(++number) + ")";
    if (next_.emplace(FileName(note.summary), 1).second) {
      return report.Changed("number after a name that another note has");
    }
  }
  number = 1;
}

std::vector<StrictObject> StrictNotes(const ObjectText& object, const TextSettings& settings,
                                      NoteNames& names) {
  StrictObject strict;
  strict.kind = ObjectKind::kNote;
  strict.line = object.line;
  strict.refusal = object.refusal;
  if (strict.refusal.empty()) {
    Note note = ReadNote(object, settings, strict.report);
    NameNote(note, strict.report);
    names.MakeUnique(note, strict.report);
    strict.uid = note.uid;
    strict.text = StrictNoteText(note, strict.report);
  }
  return {strict};
}

std::vector<StrictObject> StrictNotes(const ObjectText& object, const TextSettings& settings) {
  NoteNames names;
  return StrictNotes(object, settings, names);
}

}  // namespace dialects

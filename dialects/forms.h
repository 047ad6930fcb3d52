// The forms in which objects go out, and writing objects of any dialect in them.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "dialects/charsets.h"
#include "dialects/object_text.h"
#include "dialects/report.h"

namespace dialects {

enum class Form {
  kVCard21,
  kVCard30,  // RFC 2426
  kVCard40,  // RFC 6350
  kVCal10,
  kICal20,  // RFC 5545
  kVNote,
  kVMessage,
  kEml,   // RFC 5322, one message a file
  kMbox,  // RFC 4155, "mboxrd" quoting
  kText,  // for people, UTF-8
  kHtml,  // for people, one document
};

// Who wrote what is to be written anew. The library's own texts have empty lines for absent values, and twins of
// properties for old receivers; neither is meant as such.
enum class Origin { kAnyone, kLibrary };

struct WrittenObject {
  std::string text;     // empty when it was refused
  std::string refusal;  // why this form cannot hold the object, in words
  Report report;        // what the form could not hold, and what was changed
};

// Writes the objects of one file. Its texts are put one after the other: Begin, an object each, End.
class ObjectWriter {
 public:
  virtual ~ObjectWriter() = default;
  virtual std::string Begin() { return {}; }
  virtual WrittenObject Write(const ObjectText& object) = 0;
  virtual std::string End() { return {}; }
};

struct WriterSettings {
  TextSettings text;
  Origin origin = Origin::kAnyone;
  // The UID of the object that is written next when it has none of its own; empty: one is made of its content.
  std::string uid;
};

// Each gives a writer for objects of its kind; null for a form that its kind does not have. The settings outlive it
// and may change between two objects.
std::unique_ptr<ObjectWriter> MakeCardWriter(Form form, const WriterSettings& settings);
std::unique_ptr<ObjectWriter> MakeCalendarWriter(Form form, const WriterSettings& settings);
std::unique_ptr<ObjectWriter> MakeNoteWriter(Form form, const WriterSettings& settings);
std::unique_ptr<ObjectWriter> MakeMessageWriter(Form form, const WriterSettings& settings);

}  // namespace dialects

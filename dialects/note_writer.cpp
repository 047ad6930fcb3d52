#include <memory>
#include <string>

#include "dialects/forms.h"
#include "dialects/note.h"
#include "dialects/people_page.h"

namespace dialects {
namespace {

PageItem PageOf(const Note& note) {
  return {{{"Note", note.summary},
           {"Categories", note.categories},
           {"Created", note.created},
           {"Changed", note.modified}},
          note.body};
}

class NoteWriter : public ObjectWriter {
 public:
  NoteWriter(Form form, const WriterSettings& settings) : form_(form), settings_(settings) {}

  std::string Begin() override { return form_ == Form::kHtml ? HtmlPageBegin("Notes") : ""; }

  WrittenObject Write(const ObjectText& object) override {
    WrittenObject written;
    written.refusal = object.refusal;
    if (!written.refusal.empty()) return written;
    Note note = ReadNote(object, settings_.text, written.report);
    if (form_ != Form::kVNote) {
      written.text = form_ == Form::kHtml ? HtmlItem(PageOf(note)) : PlainItem(PageOf(note));
      return written;
    }
    NameNote(note, written.report);
    names_.MakeUnique(note, written.report);
    written.text = StrictNoteText(note, written.report);
    return written;
  }

  std::string End() override { return form_ == Form::kHtml ? HtmlPageEnd() : ""; }

 private:
  const Form form_;
  const WriterSettings& settings_;
  NoteNames names_;
};

}  // namespace

std::unique_ptr<ObjectWriter> MakeNoteWriter(Form form, const WriterSettings& settings) {
  const bool has_form = form == Form::kVNote || form == Form::kText || form == Form::kHtml;
  return has_form ? std::make_unique<NoteWriter>(form, settings) : nullptr;
}

}  // namespace dialects

#include "dialects/forms.h"
#include "dialects/strict_object.h"
#include "dialects/occurrences.h"
namespace dialects {
std::vector<StrictObject> StrictNotes(const ObjectText& o, const TextSettings&) { return {{o.kind, o.text, {}, {}, o.line, {}}}; }
std::vector<StrictObject> StrictMessages(const ObjectText& o, const TextSettings&) { return {{o.kind, o.text, {}, {}, o.line, {}}}; }
std::unique_ptr<ObjectWriter> MakeCalendarWriter(Form, const WriterSettings&) { return {}; }
std::unique_ptr<ObjectWriter> MakeNoteWriter(Form, const WriterSettings&) { return {}; }
std::unique_ptr<ObjectWriter> MakeMessageWriter(Form, const WriterSettings&) { return {}; }
std::vector<std::string> NextOccurrences(std::string_view, const TextSettings&, std::time_t, size_t) { return {}; }
}

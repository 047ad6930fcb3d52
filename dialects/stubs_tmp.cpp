#include "dialects/forms.h"
#include "dialects/strict_object.h"
namespace dialects {
std::vector<StrictObject> StrictMessages(const ObjectText& o, const TextSettings&) {
  return {{o.kind, o.text, {}, {}, o.line, {}}};
}
std::unique_ptr<ObjectWriter> MakeMessageWriter(Form, const WriterSettings&) { return {}; }
}  // namespace dialects

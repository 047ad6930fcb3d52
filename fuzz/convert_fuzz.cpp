// The whole way of "osif convert": any bytes as a file, its objects in every form that their kind has, and what was
// written read and written once more. Nothing is said of what comes out but that it is a file of objects again where the
// form is one of objects; the targets of each dialect say more.
#include <array>
#include <cstring>
#include <string>

#include "dialects/form_names.h"
#include "dialects/object_splitter.h"
#include "fuzz/fuzz_input.h"

namespace {

using dialects::Form;

constexpr std::array<Form, 11> kForms = {
    Form::kVCard21,  Form::kVCard30, Form::kVCard40, Form::kVCal10, Form::kICal20, Form::kVNote,
    Form::kVMessage, Form::kEml,     Form::kMbox,    Form::kText,   Form::kHtml};

// The objects of a text in a form, as one file; empty where none has it.
std::string Converted(const std::string& bytes, Form form) {
  size_t given = 0;
  dialects::ObjectSplitter splitter([&](char* into, size_t room) {
    const size_t count = std::min(room, bytes.size() - given);
    std::memcpy(into, bytes.data() + given, count);
    given += count;
    return count;
  });
  const dialects::WriterSettings settings;
  std::string converted;
  while (const auto object = splitter.Next()) {
    const auto writer = dialects::MakeWriter(object->kind, form, settings);
    if (!writer || !object->refusal.empty()) continue;
    const std::string begin = writer->Begin();
    const dialects::WrittenObject written = writer->Write(*object);
    if (written.text.empty() && written.refusal.empty()) abort();
    if (written.refusal.empty()) converted += begin + written.text + writer->End();
  }
  return converted;
}

bool HoldsObjects(Form form) {
  return form != Form::kEml && form != Form::kMbox && form != Form::kText && form != Form::kHtml;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  if (size > 8192) return 0;
  const std::string file(reinterpret_cast<const char*>(bytes), size);
  for (const Form form : kForms) {
    const std::string once = Converted(file, form);
    if (once.empty() || !HoldsObjects(form)) continue;
    if (Converted(once, form).empty()) abort();
  }
  return 0;
}

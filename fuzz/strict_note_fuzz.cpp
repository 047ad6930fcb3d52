// Notes of any bytes: each becomes one strict note that the library reads without a warning and that stays as
// it is when it is made strict again; and it can be written in every form.
#include "btosif/osif_parsers/vnote_reader.h"
#include "dialects/forms.h"
#include "dialects/note.h"
#include "fuzz/fuzz_input.h"

namespace {

void CheckStrict(const std::string& text) {
  fuzz::CheckOneStrictObject(VNote_ReadFile, text);
  dialects::ObjectText object;
  object.text = text;
  if (StrictNotes(object, {}).front().text != text) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  dialects::ObjectText object;
  object.text =
      "BEGIN:VNOTE\n" + std::string(reinterpret_cast<const char*>(bytes), size) + "\nEND:VNOTE\n";
  CheckStrict(StrictNotes(object, {}).front().text);
  const dialects::WriterSettings settings;
  for (const auto form : {dialects::Form::kVNote, dialects::Form::kText, dialects::Form::kHtml}) {
    if (MakeNoteWriter(form, settings)->Write(object).text.empty()) abort();
  }
  return 0;
}

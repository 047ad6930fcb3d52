// Messages of any bytes: each becomes one strict message that the library reads without a warning and that
// stays as it is when it is made strict again; and it can be written in every form.
#include "btosif/osif_parsers/vmessage_reader.h"
#include "dialects/forms.h"
#include "dialects/message.h"
#include "dialects/strict_object.h"
#include "fuzz/fuzz_input.h"

namespace {

using dialects::Form;

void CheckStrict(const std::string& text) {
  fuzz::CheckOneStrictObject(VMessage_ReadFile, text);
  // A text that only looks like an encoded word is taken for one, a pause in a card's number for the end of an
  // address, and a quotation mark in one for the begin of a name.
  if (text.find("=?") != std::string::npos || text.find_first_of(",\"") != std::string::npos)
    return;
  dialects::ObjectText object;
  object.text = text;
  if (StrictMessages(object, {}).front().text != text) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  setenv("LC_ALL", "C.UTF-8", 1);
  dialects::ObjectText object;
  object.text =
      "BEGIN:VMSG\n" + std::string(reinterpret_cast<const char*>(bytes), size) + "\nEND:VMSG\n";
  CheckStrict(StrictMessages(object, {}).front().text);
  const dialects::WriterSettings settings;
  for (const Form form : {Form::kVMessage, Form::kEml, Form::kMbox, Form::kText, Form::kHtml}) {
    if (MakeMessageWriter(form, settings)->Write(object).text.empty()) abort();
  }
  return 0;
}

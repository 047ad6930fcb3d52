// Cards of any bytes: each becomes strict cards that the library reads without a warning and that stay as they are when
// they are made strict again; a card that the fast look takes for plain has nothing that the rules would report; and each
// can be written in every form. The first byte says which version the card is of, or that it brings its own.
#include "btosif/osif_parsers/vcard_reader.h"
#include "dialects/card_plain.h"
#include "dialects/forms.h"
#include "dialects/strict_object.h"
#include "fuzz/fuzz_input.h"

namespace {

using dialects::Form;
using dialects::ObjectText;

void CheckStrict(const std::string& text) {
  fuzz::CheckOneStrictObject(VCard_ReadFile, text);
  ObjectText object;
  object.text = text;
  const auto again = StrictCards(object, {});
  if (again.size() != 1 || again.front().text != text) abort();
}

// What was written is a card of one object that says the same when it is written again.
void CheckForm(Form form, const ObjectText& object) {
  const dialects::WriterSettings settings;
  const auto writer = MakeCardWriter(form, settings);
  ObjectText once;
  once.text = writer->Write(object).text;
  ObjectText twice;
  twice.text = writer->Write(once).text;
  if (once.text.empty() || writer->Write(twice).text != twice.text) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  if (size == 0 || size > 4096) return 0;
  constexpr std::string_view kVersions[] = {"VERSION:2.1\r\n", "VERSION:3.0\r\n", "VERSION:4.0\r\n",
                                            ""};
  ObjectText object;
  object.text = "BEGIN:VCARD\r\n";
  object.text += kVersions[bytes[0] % 4];
  object.text +=
      std::string(reinterpret_cast<const char*>(bytes) + 1, size - 1) + "\r\nEND:VCARD\r\n";

  const bool is_plain = dialects::IsPlainCard(object.text);
  for (const dialects::StrictObject& strict : StrictCards(object, {})) {
    if (is_plain && !strict.report.IsEmpty()) abort();
    if (strict.text.empty() == strict.refusal.empty()) abort();
    if (!strict.text.empty()) CheckStrict(strict.text);
  }
  for (const Form form : {Form::kVCard21, Form::kVCard30, Form::kVCard40}) CheckForm(form, object);
  const dialects::WriterSettings settings;
  for (const Form form : {Form::kText, Form::kHtml}) MakeCardWriter(form, settings)->Write(object);
  return 0;
}

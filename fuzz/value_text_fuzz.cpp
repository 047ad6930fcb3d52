// Values: the first line of the input is the parameter text, the rest the value. Every component decodes,
// and what was decoded from UTF-8 comes back when it is encoded and decoded again.
#include <string>

#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/quoted_printable.h"
#include "btosif/osif_util/value_text.h"
#include "fuzz/fuzz_input.h"

namespace {

void CheckRoundTrip(const WideText& text, uint32_t encode_flags) {
  PropertyValue* list = nullptr;
  PropertyValue* value = PropertyValue_Append(list);
  const ValueList owner(list);
  PropertyValue_SetText(text, value, encode_flags, 0);
  value->codePage = 0;
  // A lone surrogate has no form in UTF-8.
  if (FromUtf8(ToUtf8(text)) != text || text.find_first_of(u"\xFFFD") != WideText::npos) return;
  for (const WCHAR c : text) {
    if (c >= 0xD800 && c <= 0xDFFF) return;
  }
  if (DecodedText(value) != text) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  const std::string_view input(reinterpret_cast<const char*>(bytes), size);
  const size_t line_end = input.find('\n');
  const std::string params(input.substr(0, line_end));
  const std::string text(line_end == std::string_view::npos ? "" : input.substr(line_end + 1));

  PropertyValue* list = nullptr;
  PropertyValue* value = PropertyValue_Append(list);
  const ValueList owner(list);
  PropertyValue_Parse(text.c_str(), params.c_str(), 7, *value);
  for (size_t i = 0; i < 7; ++i) {
    const WideText decoded = DecodedText(value, i);
    CheckRoundTrip(decoded, 0);
    CheckRoundTrip(decoded, kEncodeQuotedPrintable);
  }
  if (QuotedPrintableDecode(QuotedPrintableEncode(text)) != text) abort();
  CharsetParamValue(params);
  return 0;
}

#include "BtOsif_pol/pol_mapping.h"

#include <new>

#include "btosif/osif_date.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"

Bstr pol_MakeBstr(WideView text) {
  Bstr string(text);
  if (!string && !text.empty()) throw std::bad_alloc();
  return string;
}

bool pol_HasText(const PropertyValue* list) { return !ComponentText(list, 0).empty(); }

DATE pol_DateOf(PropertyValue* value) {
  DATE date = kNoDate;
  Iso8601ToDate(TextToMultiByte(kUtf8CodePage, DecodedText(value, 0)).c_str(), &date);
  return date;
}

bool pol_HasParam(const PropertyValue& value, std::string_view param) {
  for (const OsifText& node : Texts(value.params)) {
    if (node.text != nullptr && EqualsIgnoringCase(node.text, param)) return true;
  }
  return false;
}

PropertyValue* pol_AppendValue(PropertyValue*& list, const char* param) {
  PropertyValue* value = PropertyValue_Append(list);
  if (value == nullptr) throw std::bad_alloc();
  if (param != nullptr) PropertyValue_AddParam(value, std::string_view(param));
  return value;
}

void pol_AppendText(PropertyValue*& list, WideView text, const char* param,
                    uint32_t encode_flags) {
  PropertyValue_SetText(text, pol_AppendValue(list, param), encode_flags, 0);
}

void pol_AppendAscii(PropertyValue*& list, std::string_view text) {
  pol_AppendText(list, WideText(text.begin(), text.end()));
}

void pol_AppendDate(PropertyValue*& list, DATE date, DateForm form) {
  char text[32];
  DateToIso8601(date, text, sizeof text, form != DateForm::kDate, form == DateForm::kLocal);
  pol_AppendAscii(list, text);
}

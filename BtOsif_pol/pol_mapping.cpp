#include "BtOsif_pol/pol_mapping.h"

#include <charconv>
#include <new>
#include <optional>
#include <string>

#include "btosif/osif_date.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"

namespace {

// "19991231" and "1999-12-31", and nothing else.
std::optional<DATE> ReadDay(std::string text) {
  if (text.size() == 10 && text[4] == '-' && text[7] == '-') text.erase(7, 1).erase(4, 1);
  if (text.size() != 8 || text.find_first_not_of("0123456789") != std::string::npos) return {};
  int digits = 0;
  std::from_chars(text.data(), text.data() + text.size(), digits);
  SYSTEMTIME day = {};
  day.wYear = static_cast<WORD>(digits / 10000);
  day.wMonth = static_cast<WORD>(digits / 100 % 100);
  day.wDay = static_cast<WORD>(digits % 100);
  DATE date = kNoDate;
  if (!SystemTimeToDate(day, &date)) return {};
  return date;
}

}  // namespace

Bstr pol_MakeBstr(WideView text) {
  Bstr string(text);
  if (!string && !text.empty()) throw std::bad_alloc();
  return string;
}

bool pol_HasFirstText(const PropertyValue* list) { return !ComponentText(list, 0).empty(); }

DATE pol_DateOf(PropertyValue* value) {
  DATE date = kNoDate;
  Iso8601ToDate(TextToMultiByte(kUtf8CodePage, DecodedText(value, 0)).c_str(), &date);
  return date;
}

DATE pol_DayOf(PropertyValue* value) {
  const std::optional<DATE> day = ReadDay(TextToMultiByte(kUtf8CodePage, DecodedText(value, 0)));
  return day ? *day : pol_DateOf(value);
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

void pol_AppendText(PropertyValue*& list, WideView text, const char* param, uint32_t encode_flags) {
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

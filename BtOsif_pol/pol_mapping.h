// What the mappings of all kinds of items share: texts and dates between property values and items.
//
// Results of property calls are not looked at: a store that refuses a property refuses to save. A property
// that cannot be read counts as empty.
#pragma once

#include <string_view>

#include "btosif/osif_util/charset.h"
#include "osif.h"
#include "platform/api/bstr.h"

// How a date goes out.
enum class DateForm {
  kDate,   // 19991231
  kUtc,    // 19991231T235959Z
  kLocal,  // 19991231T235959, for all-day events
};

// ---- Record to item ---------------------------------------------------------------------------------

// The text as an automation string. Throws std::bad_alloc when memory is short.
Bstr pol_MakeBstr(WideView text);

// True when the first value's first component has a text.
bool pol_HasFirstText(const PropertyValue* list);

// The first component of a value as a date; the no-date mark when it is none.
DATE pol_DateOf(PropertyValue* value);

// The same for a date that is a day and no instant, such as a birthday. A text of a day alone is that day in
// every time zone: through UTC, the days up to 1 January 1601 and those that a zone skips would be lost.
DATE pol_DayOf(PropertyValue* value);

// True when one of the value's parameters is that text, in any case.
bool pol_HasParam(const PropertyValue& value, std::string_view param);

template <typename Item>
void pol_PutText(Item& item, HRESULT (Item::*put)(BSTR), WideView text) {
  const Bstr string = pol_MakeBstr(text);
  (item.*put)(string.get());
}

// ---- Item to record ---------------------------------------------------------------------------------

template <typename Item>
Bstr pol_GetText(Item& item, HRESULT (Item::*get)(BSTR*)) {
  Bstr text;
  if (FAILED((item.*get)(text.put()))) return Bstr();
  return text;
}

// A property of a type that is no text: `value` where it cannot be read.
template <typename Item, typename Value>
Value pol_Get(Item& item, HRESULT (Item::*get)(Value*), Value value = {}) {
  Value read = value;
  return FAILED((item.*get)(&read)) ? value : read;
}

// Appends a value with a parameter (null for none). Throws std::bad_alloc when memory is short.
PropertyValue* pol_AppendValue(PropertyValue*& list, const char* param = nullptr);

// Appends a value with one text.
void pol_AppendText(PropertyValue*& list, WideView text, const char* param = nullptr,
                    uint32_t encode_flags = 0);

// The same for a text of ASCII characters.
void pol_AppendAscii(PropertyValue*& list, std::string_view text);

// Appends a value with a date; the no-date mark gives an empty text.
void pol_AppendDate(PropertyValue*& list, DATE date, DateForm form);

// Property values in memory, and their way from and to the platform's structures.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/api/cemapi.h"
#include "platform/device/mail/buffer.h"

namespace device {

// A number for PT_I2, PT_LONG, PT_BOOLEAN, PT_I8 and PT_SYSTIME (the whole file time), a text for
// PT_UNICODE, bytes for PT_BINARY.
using MapiData = std::variant<int64_t, std::u16string, std::string>;

struct MapiValue {
  ULONG type = PT_UNSPECIFIED;
  MapiData data;
};

// The properties of an object, by their identifiers.
using MapiProperties = std::map<ULONG, MapiValue>;

// Properties from tags and data; the data must be of the kind that the tag's type asks for.
MapiProperties MakeProperties(std::initializer_list<std::pair<ULONG, MapiData>> values);

// Takes over a value that a caller gives. MAPI_E_INVALID_TYPE for types that are not kept,
// MAPI_E_INVALID_PARAMETER for a null text, null bytes or no identifier.
SCODE TakeValue(const SPropValue& given, MapiValue* value);

// The values of `columns`, in their order, as one MAPI buffer. What is missing has PT_ERROR in its
// tag and MAPI_E_NOT_FOUND as its value, what is of another type MAPI_E_UNEXPECTED_TYPE;
// `is_complete` (may be null) receives false then. PR_NULL gives a place without a value.
MailBuffer<SPropValue> GiveValues(const MapiProperties& properties,
                                  const std::vector<ULONG>& columns, bool* is_complete);

// The answer to GetProps of an object with such properties.
HRESULT GiveProps(const MapiProperties& properties, const SPropTagArray* tags, ULONG* count,
                  LPSPropValue* values);

// The tags of an array as a list.
std::vector<ULONG> TagList(const SPropTagArray& tags);

}  // namespace device

// A value is kept in one of three forms, a number, a text or bytes, beside the type that tells which of the
// platform's forms it takes when it is given out. What is given out belongs to one MAPI buffer: the array is
// allocated first and texts and bytes are chained to it, so that the caller frees all with the array, and so
// does an exception halfway.
//
// What is missing or of another type than asked for is told in its own place. The other values are given all
// the same.

#include "platform/device/mail/values.h"

namespace device {
namespace {

int64_t Number(const FILETIME& time) {
  return static_cast<int64_t>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

FILETIME Time(int64_t number) {
  const auto bits = static_cast<uint64_t>(number);
  return {static_cast<DWORD>(bits), static_cast<DWORD>(bits >> 32)};
}

void GiveError(ULONG tag, SCODE error, SPropValue* place) {
  place->ulPropTag = CHANGE_PROP_TYPE(tag, PT_ERROR);
  place->Value.err = error;
}

// Texts and bytes are released with `buffer`.
void GiveValue(ULONG id, const MapiValue& value, void* buffer, SPropValue* place) {
  place->ulPropTag = PROP_TAG(value.type, id);
  switch (value.type) {
    case PT_UNICODE:
      place->Value.lpszW = CopyText(std::get<std::u16string>(value.data), buffer);
      break;
    case PT_BINARY: {
      const std::string& bytes = std::get<std::string>(value.data);
      place->Value.bin = {MailSize(bytes.size()), CopyBytes(bytes, buffer)};
      break;
    }
    case PT_SYSTIME:
      place->Value.ft = Time(std::get<int64_t>(value.data));
      break;
    case PT_I2:
      place->Value.i = static_cast<int16_t>(std::get<int64_t>(value.data));
      break;
    case PT_LONG:
      place->Value.l = static_cast<LONG>(std::get<int64_t>(value.data));
      break;
    case PT_BOOLEAN:
      place->Value.b = std::get<int64_t>(value.data) != 0;
      break;
    default:  // PT_I8: TakeValue lets no other type in
      place->Value.li = std::get<int64_t>(value.data);
  }
}

// False when there is an error in the value's place. PR_NULL keeps a column free for a caller that fills it by
// itself.
bool GiveColumn(const MapiProperties& properties, ULONG tag, void* buffer, SPropValue* place) {
  if (tag == PR_NULL) {
    place->ulPropTag = PR_NULL;
    return true;
  }
  const auto found = properties.find(PROP_ID(tag));
  if (found == properties.end()) {
    GiveError(tag, MAPI_E_NOT_FOUND, place);
    return false;
  }
  if (PROP_TYPE(tag) != PT_UNSPECIFIED && PROP_TYPE(tag) != found->second.type) {
    GiveError(tag, MAPI_E_UNEXPECTED_TYPE, place);
    return false;
  }
  GiveValue(found->first, found->second, buffer, place);
  return true;
}

}  // namespace

MapiProperties MakeProperties(std::initializer_list<std::pair<ULONG, MapiData>> values) {
  MapiProperties properties;
  for (const auto& [tag, data] : values) properties[PROP_ID(tag)] = {PROP_TYPE(tag), data};
  return properties;
}

SCODE TakeValue(const SPropValue& given, MapiValue* value) {
  if (PROP_ID(given.ulPropTag) == 0) return MAPI_E_INVALID_PARAMETER;
  value->type = PROP_TYPE(given.ulPropTag);
  switch (value->type) {
    case PT_UNICODE:
      if (given.Value.lpszW == nullptr) return MAPI_E_INVALID_PARAMETER;
      value->data = std::u16string(given.Value.lpszW);
      return S_OK;
    case PT_BINARY: {
      const SBinary& bytes = given.Value.bin;
      if (bytes.lpb == nullptr && bytes.cb != 0) return MAPI_E_INVALID_PARAMETER;
      value->data = std::string(bytes.lpb, bytes.lpb + bytes.cb);
      return S_OK;
    }
    case PT_SYSTIME:
      value->data = Number(given.Value.ft);
      return S_OK;
    case PT_I2:
      value->data = int64_t{given.Value.i};
      return S_OK;
    case PT_LONG:
      value->data = int64_t{given.Value.l};
      return S_OK;
    case PT_BOOLEAN:
      value->data = int64_t{given.Value.b != 0};
      return S_OK;
    case PT_I8:
      value->data = given.Value.li;
      return S_OK;
    default:
      return MAPI_E_INVALID_TYPE;
  }
}

MailBuffer<SPropValue> GiveValues(const MapiProperties& properties,
                                  const std::vector<ULONG>& columns, bool* is_complete) {
  MailBuffer<SPropValue> values = NewMailBuffer<SPropValue>(columns.size());
  bool complete = true;
  for (size_t i = 0; i < columns.size(); ++i) {
    complete &= GiveColumn(properties, columns[i], values.get(), values.get() + i);
  }
  if (is_complete != nullptr) *is_complete = complete;
  return values;
}

HRESULT GiveProps(const MapiProperties& properties, const SPropTagArray* tags, ULONG* count,
                  LPSPropValue* values) {
  if (count == nullptr || values == nullptr) return MAPI_E_INVALID_PARAMETER;
  *count = 0;
  *values = nullptr;
  if (tags == nullptr || tags->cValues == 0) return MAPI_E_INVALID_PARAMETER;
  bool is_complete = false;
  *values = GiveValues(properties, TagList(*tags), &is_complete).release();
  *count = tags->cValues;
  return is_complete ? S_OK : MAPI_W_ERRORS_RETURNED;
}

std::vector<ULONG> TagList(const SPropTagArray& tags) {
  const ULONG* first = tags.aulPropTag;
  return std::vector<ULONG>(first, first + tags.cValues);
}

}  // namespace device

// What the items of all kinds have in common: an id, values by property, and the checks that putting
// and getting them makes.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/api/pim_changes.h"
#include "platform/api/pimstore.h"
#include "platform/device/pim/changes.h"
#include "platform/device/pim/dates.h"
#include "platform/device/pim/object.h"
#include "platform/device/pim/objects.h"
#include "platform/device/pim/values.h"
#include "platform/utf8.h"

namespace device {

inline constexpr LONG kLargestNumber = 0x7FFFFFFF;
inline constexpr LONG kAllReminderOptions = olLED | olVibrate | olDialog | olSound | olRepeat;

inline VARIANT_BOOL AsFlag(bool is_set) { return is_set ? VARIANT_TRUE : VARIANT_FALSE; }

// A value for the caller. E_INVALIDARG when there is no place for it.
template <typename Value>
HRESULT Give(Value value, Value* place) {
  if (place == nullptr) return E_INVALIDARG;
  *place = value;
  return S_OK;
}

// A copy of a UTF-8 text for the caller, never null when it succeeds.
inline HRESULT GiveText(std::string_view text, BSTR* place) {
  if (place == nullptr) return E_INVALIDARG;
  *place = SysAllocStringLen(nullptr, static_cast<UINT>(Utf16Length(text)));
  if (*place == nullptr) return E_OUTOFMEMORY;
  if (!text.empty()) DecodeUtf8(text, *place);
  return S_OK;
}

// Property is the enumeration that numbers the rows of the kind's table.
template <typename Interface, const IID& kIid, typename Property>
class PimItem : public PimObject<Interface, kIid, IItemStamp> {
 public:
  HRESULT get_Oid(LONG* oid) override { return Give(LONG{oid_}, oid); }
  HRESULT get_Stamp(LONGLONG* stamp) override { return Give(LONGLONG{stamp_}, stamp); }
  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(session_.application, application);
  }

 protected:
  PimItem(const PimSession& session, const PimStatements& statements)
      : session_(session), values_(statements) {}

  Database& database() const { return *session_.database; }

  DATE& Date(Property property) { return values_.Date(Index(property)); }
  DATE Date(Property property) const { return values_.Date(Index(property)); }
  std::string& Text(Property property) { return values_.Text(Index(property)); }
  const std::string& Text(Property property) const { return values_.Text(Index(property)); }
  LONG& Number(Property property) { return values_.Number(Index(property)); }
  LONG Number(Property property) const { return values_.Number(Index(property)); }

  HRESULT GetText(Property property, BSTR* value) const { return GiveText(Text(property), value); }
  HRESULT PutText(Property property, BSTR value) {
    return Guarded([&] {
      Text(property) = ToUtf8({value, SysStringLen(value)});
      return S_OK;
    });
  }

  HRESULT GetDate(Property property, DATE* value) const { return Give(Date(property), value); }
  HRESULT PutDate(Property property, DATE value) {
    if (!IsDate(value)) return E_INVALIDARG;
    Date(property) = value;
    return S_OK;
  }
  // Without its time of day.
  HRESULT PutDay(Property property, DATE value) { return PutDate(property, std::trunc(value)); }

  HRESULT GetNumber(Property property, LONG* value) const { return Give(Number(property), value); }
  HRESULT PutNumber(Property property, LONG value, LONG lowest, LONG highest) {
    if (value < lowest || value > highest) return E_INVALIDARG;
    Number(property) = value;
    return S_OK;
  }

  HRESULT GetFlag(Property property, VARIANT_BOOL* value) const {
    return Give(AsFlag(Number(property) != 0), value);
  }
  HRESULT PutFlag(Property property, VARIANT_BOOL value) {
    Number(property) = value == VARIANT_FALSE ? 0 : 1;
    return S_OK;
  }

  // Writes a row for the item in the caller's transaction; takes an id for one that has none (0).
  // An item that was deleted meanwhile is not written again: its id has been told to be gone.
  HRESULT WriteRow(const PimValues& values, int folder, int32_t* oid) const {
    if (*oid != 0) return values.Update(database(), *oid);
    if (HRESULT hr = AddObject(database(), folder, oid); FAILED(hr)) return hr;
    return values.Insert(database(), *oid);
  }

  // Ends the transaction that wrote the item, and takes from it what the item is known by now.
  HRESULT Commit(Transaction& transaction, int32_t oid) {
    int64_t stamp = 0;
    if (HRESULT hr = ReadStamp(database(), oid, &stamp); FAILED(hr)) return hr;
    if (!transaction.Commit()) return PimResult(database().LastError());
    oid_ = oid;
    stamp_ = stamp;
    return S_OK;
  }

  // The item's values as the row has them.
  HRESULT LoadRow(int32_t oid) { return session_.last_row->Load(database(), oid, values_); }

  HRESULT DeleteRow() const {
    if (oid_ == 0) return E_UNEXPECTED;
    return Guarded([this] { return DeleteObject(database(), oid_); });
  }

  const PimSession session_;
  int32_t oid_ = 0;  // 0 until the first Save
  int64_t stamp_ = 0;
  PimValues values_;
};

}  // namespace device

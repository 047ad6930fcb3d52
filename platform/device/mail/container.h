// What stores and folders have in common: properties that nobody sets.
#pragma once

#include "platform/device/mail/object.h"
#include "platform/device/mail/values.h"

namespace device {

template <typename Interface, const IID&... kIids>
class MapiReadOnly : public MapiObject<Interface, kIids...> {
 public:
  explicit MapiReadOnly(MapiProperties properties) : properties_(std::move(properties)) {}

  HRESULT SaveChanges(ULONG) final { return S_OK; }

  HRESULT GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) final {
    return this->Run([&] { return GiveProps(properties_, tags, count, values); });
  }

  HRESULT OpenProperty(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN* object) final {
    if (object != nullptr) *object = nullptr;
    return this->Run([] { return MAPI_E_NO_SUPPORT; });
  }

  HRESULT SetProps(ULONG, LPSPropValue, LPSPropProblemArray* problems) final {
    if (problems != nullptr) *problems = nullptr;
    return this->Run([] { return MAPI_E_NO_ACCESS; });
  }

 private:
  const MapiProperties properties_;
};

}  // namespace device

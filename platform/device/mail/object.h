// What all objects of the message store have in common: counted references, their interfaces, that
// no exception leaves them, and what they tell about their last error.
#pragma once

#include <atomic>
#include <new>

#include "platform/api/cemapi.h"
#include "platform/device/mail/errors.h"

namespace device {

// Starts with the one reference of whoever made it. Derives from its interface alone, so that a
// pointer to it is the same through all of its interfaces, which `kIids` names (IUnknown aside).
template <typename Interface, const IID&... kIids>
class MapiUnknown : public Interface {
 public:
  MapiUnknown() = default;
  MapiUnknown(const MapiUnknown&) = delete;
  MapiUnknown& operator=(const MapiUnknown&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) final {
    if (object == nullptr) return MAPI_E_INVALID_PARAMETER;
    *object = nullptr;
    if (iid != IID_IUnknown && ((iid != kIids) && ...)) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }

  ULONG AddRef() final { return ++references_; }

  ULONG Release() final {
    const ULONG left = --references_;
    if (left != 0) return left;
    LastRelease();
    delete this;
    return 0;
  }

 protected:
  virtual ~MapiUnknown() = default;

  // Called before the object goes.
  virtual void LastRelease() noexcept {}

 private:
  std::atomic<ULONG> references_ = 1;
};

// The failure that a function returned or threw; its result is a success otherwise.
template <typename Function>
MapiFailure Outcome(Function function) noexcept {
  try {
    return {function(), 0};
  } catch (const MapiFailure& failure) {
    return failure;
  } catch (const std::bad_alloc&) {
    return {MAPI_E_NOT_ENOUGH_MEMORY, 0};
  } catch (...) {
    return {E_UNEXPECTED, 0};
  }
}

// An object that remembers its last error.
template <typename Interface, const IID&... kIids>
class MapiObject : public MapiUnknown<Interface, kIids...> {
 public:
  // S_OK and null when the result is not that of the last call that failed.
  HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) final {
    if (error == nullptr) return MAPI_E_INVALID_PARAMETER;
    *error = nullptr;
    if ((flags & MAPI_UNICODE) == 0) return MAPI_E_BAD_CHARWIDTH;
    return Outcome([&] {
             if (FAILED(result) && result == last_.result) *error = NewErrorRecord(last_);
             return S_OK;
           })
        .result;
  }

 protected:
  // The result of a function, or of what it threw; a failure is kept for GetLastError.
  template <typename Function>
  HRESULT Run(Function function) noexcept {
    const MapiFailure outcome = Outcome(function);
    if (FAILED(outcome.result)) last_ = outcome;
    return outcome.result;
  }

 private:
  MapiFailure last_ = {S_OK, 0};
};

}  // namespace device

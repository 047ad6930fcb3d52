// What all objects of the PIM store have in common: counted references, the three interfaces that
// they answer to (IUnknown, IDispatch and their own), and that no exception leaves them.
#pragma once

#include <atomic>
#include <memory>
#include <new>

#include "platform/api/automation.h"
#include "platform/api/com_ptr.h"
#include "platform/api/pimstore.h"
#include "platform/device/database.h"
#include "platform/device/pim/values.h"

namespace device {

// What an object needs for its work. The objects of a logon share its database, even after logoff.
struct PimSession {
  std::shared_ptr<Database> database;
  std::shared_ptr<LastRow> last_row;
  ComPtr<IPOutlookApp> application;
};

// The result of a function, or the platform's result for what it threw.
template <typename Function>
HRESULT Guarded(Function function) noexcept {
  try {
    return function();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

// Gives the caller a reference of its own. E_INVALIDARG when there is no place for it.
template <typename Interface>
HRESULT HandOut(const ComPtr<Interface>& object, Interface** place) {
  if (place == nullptr) return E_INVALIDARG;
  *place = ComPtr<Interface>(object).release();
  return S_OK;
}

// Starts with the one reference of whoever made it. Its interface comes first, so that a pointer to it is the same
// through IUnknown, IDispatch and the interface. `More` are interfaces of ours, which name their own identifier.
template <typename Interface, const IID& kIid, typename... More>
class PimObject : public Interface, public More... {
 public:
  PimObject() = default;
  PimObject(const PimObject&) = delete;
  PimObject& operator=(const PimObject&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) final {
    if (object == nullptr) return E_INVALIDARG;
    *object = InterfaceFor(iid);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  ULONG AddRef() final { return ++references_; }

  ULONG Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  HRESULT GetTypeInfoCount(UINT* count) final {
    if (count == nullptr) return E_INVALIDARG;
    *count = 0;
    return S_OK;
  }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) final { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) final { return E_NOTIMPL; }
  HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) final {
    return E_NOTIMPL;
  }

 protected:
  virtual ~PimObject() = default;

 private:
  void* InterfaceFor(REFIID iid) {
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == kIid)
      return static_cast<Interface*>(this);
    void* found = nullptr;
    ((iid == More::kIid ? void(found = static_cast<More*>(this)) : void()), ...);
    return found;
  }

  std::atomic<ULONG> references_ = 1;
};

}  // namespace device

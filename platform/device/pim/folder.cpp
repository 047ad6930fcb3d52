#include "platform/device/pim/folder.h"

#include "platform/device/pim/items.h"

namespace device {
namespace {

class Folder final : public PimObject<IFolder, IID_IFolder> {
 public:
  Folder(const PimSession& session, const PimKind& kind) : session_(session), kind_(kind) {}

  HRESULT get_Items(IPOutlookItemCollection** items) override {
    return NewItems(session_, kind_, items);
  }

  HRESULT get_DefaultItemType(int* type) override {
    if (type == nullptr) return E_INVALIDARG;
    *type = kind_.type;
    return S_OK;
  }

  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(session_.application, application);
  }

 private:
  const PimSession session_;
  const PimKind& kind_;
};

}  // namespace

HRESULT NewFolder(const PimSession& session, const PimKind& kind, IFolder** folder) {
  if (folder == nullptr) return E_INVALIDARG;
  *folder = nullptr;
  return Guarded([&] {
    *folder = new Folder(session, kind);
    return S_OK;
  });
}

}  // namespace device

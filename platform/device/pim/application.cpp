// The application is the one object that lasts beyond a logon. From Logon to Logoff it holds the database;
// every folder and item takes the database and a reference to the application with it, so that a Logoff takes
// nothing away from objects that a program still holds.

#include "platform/device/pim/application.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/api/pim_changes.h"
#include "platform/api/pimstore.h"
#include "platform/device/database.h"
#include "platform/device/device.h"
#include "platform/device/pim/changes.h"
#include "platform/device/pim/folder.h"
#include "platform/device/pim/item.h"
#include "platform/device/pim/kinds.h"
#include "platform/device/pim/object.h"

namespace device {
namespace {

HRESULT OpenResult(OpenError error) {
  switch (error) {
    case OpenError::kFolder:
      return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
    case OpenError::kAccess:
      return E_ACCESSDENIED;
    case OpenError::kDamaged:
      return HRESULT_FROM_WIN32(ERROR_FILE_CORRUPT);
    case OpenError::kNewer:
      return HRESULT_FROM_WIN32(ERROR_REVISION_MISMATCH);
    case OpenError::kNone:
      break;
  }
  return E_FAIL;
}

class ChangedItems final : public PimObject<IChangedItems, IID_IChangedItems> {
 public:
  explicit ChangedItems(std::vector<ChangedObject> changes) : changes_(std::move(changes)) {}

  HRESULT Next(LONG* oid, int* folder, LONGLONG* stamp) override {
    if (oid == nullptr || folder == nullptr || stamp == nullptr) return E_INVALIDARG;
    if (next_ == changes_.size()) return S_FALSE;
    const ChangedObject& change = changes_[next_++];
    *oid = change.oid;
    *folder = change.folder;
    *stamp = change.stamp;
    return S_OK;
  }

 private:
  const std::vector<ChangedObject> changes_;
  size_t next_ = 0;
};

class Application final : public PimObject<IPOutlookApp, IID_IPOutlookApp, IStoreChanges> {
 public:
  HRESULT Logon(LONG) override {
    if (database_ != nullptr) return S_FALSE;
    return Guarded([this] {
      last_row_ = std::make_shared<LastRow>();
      database_ = OpenDatabase();
      return database_ == nullptr ? OpenResult(Error()) : S_OK;
    });
  }

  HRESULT Logoff() override {
    if (database_ == nullptr) return S_FALSE;
    return Guarded([this] {
      database_.reset();
      CloseDatabase();
      return S_OK;
    });
  }

  HRESULT GetDefaultFolder(int folder, IFolder** result) override {
    if (result == nullptr) return E_INVALIDARG;
    *result = nullptr;
    const PimKind* kind = KindOfFolder(folder);
    if (kind == nullptr) return E_INVALIDARG;
    return IsLoggedOn() ? NewFolder(Session(), *kind, result) : E_UNEXPECTED;
  }

  HRESULT CreateItem(int type, IDispatch** item) override {
    if (item == nullptr) return E_INVALIDARG;
    *item = nullptr;
    const PimKind* kind = KindOfType(type);
    if (kind == nullptr) return E_INVALIDARG;
    return IsLoggedOn() ? device::CreateItem(Session(), *kind, item) : E_UNEXPECTED;
  }

  HRESULT GetItemFromOid(LONG oid, IDispatch** item) override {
    if (item == nullptr) return E_INVALIDARG;
    *item = nullptr;
    return IsLoggedOn() ? LoadItem(Session(), oid, item) : E_UNEXPECTED;
  }

  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(Self(), application);
  }

  HRESULT GetMark(BSTR* mark) override {
    if (mark == nullptr) return E_INVALIDARG;
    *mark = nullptr;
    if (!IsLoggedOn()) return E_UNEXPECTED;
    return Guarded([&] {
      std::string text;
      const HRESULT hr = MakeMark(*database_, &text);
      return FAILED(hr) ? hr : GiveText(text, mark);
    });
  }

  HRESULT GetChanges(BSTR since, BSTR until, IChangedItems** items) override {
    if (items == nullptr) return E_INVALIDARG;
    *items = nullptr;
    if (!IsLoggedOn()) return E_UNEXPECTED;
    return Guarded([&] {
      std::vector<ChangedObject> changes;
      const HRESULT hr = ListChanges(*database_, TextOf(since), TextOf(until), &changes);
      if (hr == S_OK) *items = new ChangedItems(std::move(changes));
      return hr;
    });
  }

  HRESULT Flush() override {
    if (!IsLoggedOn()) return E_UNEXPECTED;
    return database_->Flush() ? S_OK : E_FAIL;
  }

 private:
  static std::string TextOf(BSTR text) { return ToUtf8({text, SysStringLen(text)}); }

  bool IsLoggedOn() const { return database_ != nullptr; }

  ComPtr<IPOutlookApp> Self() {
    AddRef();
    return ComPtr<IPOutlookApp>(this);
  }

  // A session keeps the application alive as long as anything that came from it.
  PimSession Session() { return {database_, last_row_, Self()}; }

  std::shared_ptr<Database> database_;  // null while not logged on
  std::shared_ptr<LastRow> last_row_;
};

}  // namespace

HRESULT CreatePimApplication(REFIID iid, void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  return Guarded([&] {
    const ComPtr<IPOutlookApp> application(new Application);
    return application->QueryInterface(iid, object);
  });
}

}  // namespace device

// MAPIInitialize and MAPILogonEx are the way into the message store for every caller, so this is where a test
// takes it over: both go through a function that can be replaced. The count of uses is kept here whatever the
// functions do; only a start that succeeded counts.
//
// A session holds the database until it logs off. The objects that came from it hold it as well and go on
// working, for programs let go of them in any order.

#include "platform/device/mail/session.h"

#include <memory>
#include <optional>
#include <utility>

#include "platform/device/device.h"
#include "platform/device/mail/entry_id.h"
#include "platform/device/mail/object.h"
#include "platform/device/mail/store.h"
#include "platform/device/mail/table.h"

namespace device {
namespace {

struct Messaging {
  int uses = 0;
  MapiStart start = nullptr;
  MapiLogon logon = nullptr;
};

Messaging& State() {
  static Messaging messaging;
  return messaging;
}

HRESULT LogonResult(OpenError error) {
  switch (error) {
    case OpenError::kAccess:
      return MAPI_E_NO_ACCESS;
    case OpenError::kDamaged:
      return MAPI_E_CORRUPT_STORE;
    case OpenError::kNewer:
      return MAPI_E_VERSION;
    case OpenError::kFolder:
    case OpenError::kNone:
      break;
  }
  return MAPI_E_LOGON_FAILED;
}

class Session final : public MapiObject<IMAPISession, IID_IMAPISession> {
 public:
  explicit Session(std::shared_ptr<Database> database) : database_(std::move(database)) {}

  HRESULT GetMsgStoresTable(ULONG, IMAPITable** table) override {
    if (table != nullptr) *table = nullptr;
    return Run([&] {
      if (table == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (database_ == nullptr) return MAPI_E_NOT_INITIALIZED;
      *table = NewTable(RowsOf({StoreProperties()}),
                        {PR_DEFAULT_STORE, PR_DISPLAY_NAME, PR_PROVIDER_DISPLAY, PR_ENTRYID},
                        MapiColumns::kChosen);
      return S_OK;
    });
  }

  HRESULT OpenMsgStore(ULONG_PTR, ULONG size, LPENTRYID entry, LPCIID, ULONG,
                       IMsgStore** store) override {
    if (store != nullptr) *store = nullptr;
    return Run([&] {
      if (store == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (database_ == nullptr) return MAPI_E_NOT_INITIALIZED;
      const std::optional<MapiEntry> id = ReadEntryId(size, entry);
      if (!id || id->type != MAPI_STORE) return MAPI_E_NOT_FOUND;
      *store = NewStore(database_);
      return S_OK;
    });
  }

  // A second one has nothing to do and no reason to fail.
  HRESULT Logoff(ULONG_PTR, ULONG, ULONG) override {
    if (database_ == nullptr) return S_OK;
    return Run([&] {
      database_.reset();
      CloseDatabase();
      return S_OK;
    });
  }

 private:
  std::shared_ptr<Database> database_;  // null after the logoff
};

}  // namespace

MapiStart SetMapiStart(MapiStart start) { return std::exchange(State().start, start); }

MapiLogon SetMapiLogon(MapiLogon logon) { return std::exchange(State().logon, logon); }

int MapiUses() { return State().uses; }

HRESULT LogOnToDevice(IMAPISession** session) {
  return Outcome([&] {
           std::shared_ptr<Database> database = OpenDatabase();
           if (database == nullptr) return LogonResult(Error());
           *session = new Session(std::move(database));
           return S_OK;
         })
      .result;
}

}  // namespace device

HRESULT MAPIInitialize(LPVOID) {
  device::Messaging& messaging = device::State();
  const HRESULT hr = messaging.start == nullptr ? S_OK : messaging.start();
  if (SUCCEEDED(hr)) ++messaging.uses;
  return hr;
}

void MAPIUninitialize() {
  if (device::State().uses > 0) --device::State().uses;
}

HRESULT MAPILogonEx(ULONG_PTR, LPTSTR, LPTSTR, FLAGS, LPMAPISESSION* session) {
  if (session == nullptr) return MAPI_E_INVALID_PARAMETER;
  *session = nullptr;
  const device::Messaging& messaging = device::State();
  if (messaging.uses == 0) return MAPI_E_NOT_INITIALIZED;
  return messaging.logon == nullptr ? device::LogOnToDevice(session) : messaging.logon(session);
}

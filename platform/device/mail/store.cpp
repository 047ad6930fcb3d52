#include "platform/device/mail/store.h"

#include <string>
#include <utility>

#include "platform/device/mail/container.h"
#include "platform/device/mail/entry_id.h"
#include "platform/device/mail/folder.h"
#include "platform/device/mail/schema.h"

namespace device {
namespace {

class Store final : public MapiReadOnly<IMsgStore, IID_IMAPIProp, IID_IMsgStore> {
 public:
  explicit Store(std::shared_ptr<Database> database)
      : MapiReadOnly(StoreProperties()), database_(std::move(database)) {}

  HRESULT OpenEntry(ULONG size, LPENTRYID entry, LPCIID, ULONG, ULONG* type,
                    LPUNKNOWN* object) override {
    return Run([&] { return OpenMapiEntry(database_, size, entry, type, object); });
  }

  HRESULT GetReceiveFolder(LPTSTR message_class, ULONG flags, ULONG* size, LPENTRYID* entry,
                           LPTSTR* explicit_class) override {
    if (entry != nullptr) *entry = nullptr;
    return Run([&] {
      if (size == nullptr || entry == nullptr) return MAPI_E_INVALID_PARAMETER;
      *size = 0;
      if (message_class != nullptr || explicit_class != nullptr) return MAPI_E_INVALID_PARAMETER;
      if ((flags & ~MAPI_UNICODE) != 0) return MAPI_E_UNKNOWN_FLAGS;
      const std::string inbox = MakeEntryId(MAPI_FOLDER, kInbox);
      MailBuffer<ENTRYID> id = NewMailBytes<ENTRYID>(inbox.size());
      inbox.copy(reinterpret_cast<char*>(id.get()), inbox.size());
      *entry = id.release();
      *size = static_cast<ULONG>(inbox.size());
      return S_OK;
    });
  }

 private:
  const std::shared_ptr<Database> database_;
};

}  // namespace

MapiProperties StoreProperties() {
  return MakeProperties({{PR_DEFAULT_STORE, int64_t{1}},
                         {PR_DISPLAY_NAME, u"Messages"},
                         {PR_PROVIDER_DISPLAY, u"Embedded device"},
                         {PR_ENTRYID, MakeEntryId(MAPI_STORE, 0)},
                         {PR_OBJECT_TYPE, int64_t{MAPI_STORE}},
                         {PR_IPM_SENTMAIL_ENTRYID, MakeEntryId(MAPI_FOLDER, kSentItems)},
                         {PR_IPM_OUTBOX_ENTRYID, MakeEntryId(MAPI_FOLDER, kOutbox)}});
}

IMsgStore* NewStore(const std::shared_ptr<Database>& database) { return new Store(database); }

}  // namespace device

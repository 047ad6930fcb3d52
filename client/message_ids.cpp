// The way to a folder is the library's own: a session, the first message store, the folder that mail comes to or the one
// that a property of the store names. Whatever fails on it leaves the folder unread.
#include "client/message_ids.h"

#include <memory>
#include <optional>

#include "platform/api/cemapi.h"
#include "platform/api/com_ptr.h"

namespace client {
namespace {

constexpr LONG kRowsAtOnce = 500;

struct BufferDeleter {
  void operator()(void* buffer) const { MAPIFreeBuffer(buffer); }
};
struct RowsDeleter {
  void operator()(SRowSet* rows) const { FreeProws(rows); }
};
template <typename T>
using Buffer = std::unique_ptr<T, BufferDeleter>;
using Rows = std::unique_ptr<SRowSet, RowsDeleter>;

// Messaging in use, and a session with it, until it goes out of scope.
class MailSession {
 public:
  MailSession() {
    is_started_ = SUCCEEDED(MAPIInitialize(nullptr));
    if (is_started_) MAPILogonEx(0, nullptr, nullptr, MAPI_UNICODE | MAPI_NO_MAIL, session_.put());
  }
  ~MailSession() {
    if (session_) session_->Logoff(0, 0, 0);
    session_.reset();
    if (is_started_) MAPIUninitialize();
  }
  MailSession(const MailSession&) = delete;
  MailSession& operator=(const MailSession&) = delete;

  IMAPISession* get() const { return session_.get(); }

 private:
  ComPtr<IMAPISession> session_;
  bool is_started_ = false;
};

// The next rows of a table with one column; null when they cannot be read.
Rows NextRows(IMAPITable& table) {
  LPSRowSet rows = nullptr;
  const HRESULT result = table.QueryRows(kRowsAtOnce, 0, &rows);
  Rows owner(rows);
  return FAILED(result) ? Rows() : std::move(owner);
}

bool SetColumn(IMAPITable& table, ULONG tag) {
  SizedSPropTagArray(1, columns) = {1, {tag}};
  return SUCCEEDED(table.SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0));
}

// The one value of a row, where it is an entry id.
std::optional<SBinary> EntryOf(const SRow& row) {
  if (row.cValues == 0 || row.lpProps[0].ulPropTag != PR_ENTRYID) return std::nullopt;
  return row.lpProps[0].Value.bin;
}

LPENTRYID Entry(const SBinary& binary) { return reinterpret_cast<LPENTRYID>(binary.lpb); }

ComPtr<IMsgStore> FirstStore(IMAPISession& session) {
  ComPtr<IMAPITable> stores;
  if (FAILED(session.GetMsgStoresTable(0, stores.put()))) return {};
  if (!SetColumn(*stores, PR_ENTRYID)) return {};
  const Rows rows = NextRows(*stores);
  if (!rows || rows->cRows == 0) return {};
  const std::optional<SBinary> entry = EntryOf(rows->aRow[0]);
  ComPtr<IMsgStore> store;
  if (entry) session.OpenMsgStore(0, entry->cb, Entry(*entry), nullptr, MDB_NO_DIALOG, store.put());
  return store;
}

ComPtr<IMAPIFolder> FolderAt(IMsgStore& store, ULONG size, LPENTRYID entry) {
  ComPtr<IUnknown> object;
  ULONG type = 0;
  const HRESULT result =
      store.OpenEntry(size, entry, nullptr, MAPI_BEST_ACCESS, &type, object.put());
  if (FAILED(result) || type != MAPI_FOLDER) return {};
  return ComPtr<IMAPIFolder>(static_cast<IMAPIFolder*>(object.release()));
}

ComPtr<IMAPIFolder> InboxOf(IMsgStore& store) {
  ULONG size = 0;
  LPENTRYID entry = nullptr;
  const HRESULT result = store.GetReceiveFolder(nullptr, 0, &size, &entry, nullptr);
  const Buffer<ENTRYID> owner(entry);
  return FAILED(result) ? ComPtr<IMAPIFolder>() : FolderAt(store, size, entry);
}

ComPtr<IMAPIFolder> FolderOfProperty(IMsgStore& store, ULONG tag) {
  SizedSPropTagArray(1, tags) = {1, {tag}};
  ULONG count = 0;
  LPSPropValue values = nullptr;
  const HRESULT result =
      store.GetProps(reinterpret_cast<LPSPropTagArray>(&tags), MAPI_UNICODE, &count, &values);
  const Buffer<SPropValue> owner(values);
  if (FAILED(result) || count == 0 || values->ulPropTag != tag) return {};
  return FolderAt(store, values->Value.bin.cb, Entry(values->Value.bin));
}

ComPtr<IMAPIFolder> FolderOf(IMsgStore& store, int32_t store_id) {
  switch (store_id) {
    case OSIF_STORE_MSG_IN:
      return InboxOf(store);
    case OSIF_STORE_MSG_SENT:
      return FolderOfProperty(store, PR_IPM_SENTMAIL_ENTRYID);
    case OSIF_STORE_MSG_OUT:
      return FolderOfProperty(store, PR_IPM_OUTBOX_ENTRYID);
    default:
      return {};
  }
}

std::string IdOf(const SBinary& entry) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string id;
  for (ULONG i = 0; i < entry.cb; ++i) {
    id += kDigits[entry.lpb[i] >> 4];
    id += kDigits[entry.lpb[i] & 0xF];
  }
  return id;
}

MessageIds IdsIn(IMAPIFolder& folder) {
  MessageIds found;
  ComPtr<IMAPITable> table;
  bool is_read =
      SUCCEEDED(folder.GetContentsTable(0, table.put())) && SetColumn(*table, PR_ENTRYID);
  while (is_read) {
    const Rows rows = NextRows(*table);
    is_read = rows != nullptr;
    if (!is_read || rows->cRows == 0) break;
    for (ULONG i = 0; i < rows->cRows; ++i) {
      const std::optional<SBinary> entry = EntryOf(rows->aRow[i]);
      if (entry && size_t{entry->cb} * 2 < OSIF_ID_SIZE) found.ids.push_back(IdOf(*entry));
    }
  }
  if (!is_read) found.result = OSIF_ERR_PIM;
  return found;
}

}  // namespace

MessageIds MessagesOf(int32_t store_id) {
  const MailSession session;
  const ComPtr<IMsgStore> store =
      session.get() == nullptr ? ComPtr<IMsgStore>() : FirstStore(*session.get());
  const ComPtr<IMAPIFolder> folder = store ? FolderOf(*store, store_id) : ComPtr<IMAPIFolder>();
  return folder ? IdsIn(*folder) : MessageIds{OSIF_ERR_PIM, {}};
}

}  // namespace client

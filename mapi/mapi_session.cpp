// The session and the three folders belong to the process; the trace knows them by the names that they have
// here. They come up in one go: log on, open the first message store, open its folders and let the store go,
// since the folders are all that messages need.
//
// What fails before a store can be looked for is reported. A store or a folder that cannot be opened is only
// traced: the other folders work without it, and whoever needs it finds none. It is not tried again at each
// message, which would cost every one the time of another failure, but after MAPI_DeInit. That releases
// everything, whatever the log-off says, so that the next message starts afresh.
#include "mapi/mapi_session.h"

#include "btosif/osif_util/ascii.h"
#include "config/trace.h"
#include "mapi/mapi_buffer.h"
#include "mapi/mapi_errors.h"

namespace {

constexpr ULONG kLogonFlags = MAPI_UNICODE | MAPI_NO_MAIL | MAPI_USE_DEFAULT | MAPI_EXTENDED;
constexpr LONG kMostStores = 50;
constexpr ULONG kStoreIdColumn = 3;

ComPtr<IMAPISession> gpSession;
ComPtr<IMAPIFolder> gpInBoxFolder;
ComPtr<IMAPIFolder> gpSentFolder;
ComPtr<IMAPIFolder> gpOutBoxFolder;

template <typename Tags>
LPSPropTagArray AsTags(Tags& tags) {
  return reinterpret_cast<LPSPropTagArray>(&tags);
}

// ---- Folders ----------------------------------------------------------------------------------------

// What is traced of a folder; the Inbox has lines of its own.
struct OpenTexts {
  const char* failed;
  const char* wrong_type;
};

constexpr OpenTexts kInBoxTexts = {"MAPI:  lpMDB->OpenEntry for InBox failed with code: 0x%08x",
                                   "MAPI:  ulObjType of OpenEntry on gpInBoxFolder != MAPI_FOLDER"};
constexpr OpenTexts kMailboxTexts = {"MAPI:  lpMDB->OpenEntry for Mailbox failed with code: 0x%08x",
                                     "MAPI:  ulObjType of OpenEntry on Mailbox != MAPI_FOLDER"};

ComPtr<IMAPIFolder> OpenFolder(IMsgStore& store, ULONG size, LPENTRYID entry,
                               const OpenTexts& texts) {
  ComPtr<IUnknown> object;
  ULONG type = 0;
  const HRESULT result =
      store.OpenEntry(size, entry, nullptr, MAPI_BEST_ACCESS, &type, object.put());
  if (FAILED(result)) {
    OSIF_Trace(0, texts.failed, result);
    return {};
  }
  if (type != MAPI_FOLDER) {
    OSIF_Trace(0, texts.wrong_type);
    return {};
  }
  return ComPtr<IMAPIFolder>(static_cast<IMAPIFolder*>(object.release()));
}

// The Inbox is where the store lets messages of any class arrive.
ComPtr<IMAPIFolder> OpenInBox(IMsgStore& store) {
  ULONG size = 0;
  LPENTRYID entry = nullptr;
  const HRESULT result = store.GetReceiveFolder(nullptr, 0, &size, &entry, nullptr);
  const MapiBuffer<ENTRYID> owner(entry);
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpMDB->GetReceiveFolder failed with code: 0x%08x", result);
    return {};
  }
  return OpenFolder(store, size, entry, kInBoxTexts);
}

// The folder whose entry id is a property of the store. A property that is missing comes back under another
// tag, which says why.
ComPtr<IMAPIFolder> OpenFolderOfProperty(IMsgStore& store, ULONG tag) {
  SizedSPropTagArray(1, tags) = {1, {tag}};
  ULONG count = 0;
  LPSPropValue values = nullptr;
  const HRESULT result = store.GetProps(AsTags(tags), MAPI_UNICODE, &count, &values);
  const MapiBuffer<SPropValue> owner(values);
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpMDB->GetProps failed with code: 0x%08x", result);
    return {};
  }
  if (count == 0 || values == nullptr || values->ulPropTag != tag) {
    OSIF_Trace(0, "MAPI:  Message Store has no valid PR_IPM_*_ENTRYID");
    return {};
  }
  const SBinary& entry = values->Value.bin;
  return OpenFolder(store, entry.cb, reinterpret_cast<LPENTRYID>(entry.lpb), kMailboxTexts);
}

void OpenFolders(IMsgStore& store) {
  gpInBoxFolder = OpenInBox(store);
  gpSentFolder = OpenFolderOfProperty(store, PR_IPM_SENTMAIL_ENTRYID);
  gpOutBoxFolder = OpenFolderOfProperty(store, PR_IPM_OUTBOX_ENTRYID);
}

// ---- The session ------------------------------------------------------------------------------------

// The store of the first row, whether it is the default one or not.
ComPtr<IMsgStore> OpenFirstStore(const SRowSet& rows) {
  const SRow& row = rows.aRow[0];
  if (row.cValues <= kStoreIdColumn) return {};
  const SPropValue& id = row.lpProps[kStoreIdColumn];
  const SBinary entry = id.ulPropTag == PR_ENTRYID ? id.Value.bin : SBinary{};
  ComPtr<IMsgStore> store;
  const HRESULT result =
      gpSession->OpenMsgStore(0, entry.cb, reinterpret_cast<LPENTRYID>(entry.lpb), nullptr,
                              MDB_NO_DIALOG | MDB_WRITE, store.put());
  if (FAILED(result)) {
    mapi_ReportSessionError(gpSession.get(), u"gpSession->OpenMsgStore", result);
    return {};
  }
  return store;
}

// Columns that could not be set are only reported: the table may have them all the same, and a row without
// its entry id is noticed when its store is opened.
ComPtr<IMsgStore> OpenStore(IMAPITable& stores) {
  SizedSPropTagArray(4, columns) = {
      4, {PR_DEFAULT_STORE, PR_DISPLAY_NAME, PR_PROVIDER_DISPLAY, PR_ENTRYID}};
  if (const HRESULT result = stores.SetColumns(AsTags(columns), 0); FAILED(result)) {
    mapi_ReportObjectError(stores, u"lptblStores->SetColumns", result);
  }
  LPSRowSet found = nullptr;
  const HRESULT result = stores.QueryRows(kMostStores, 0, &found);
  const RowSet rows(found);
  if (FAILED(result)) {
    mapi_ReportObjectError(stores, u"lptblStores->QueryRows", result);
    return {};
  }
  if (!rows || rows->cRows == 0) {
    OSIF_Trace(0, "MAPI:  No rows in MsgStoreTable");
    return {};
  }
  return OpenFirstStore(*rows);
}

// A session that could not be logged on to is not kept, so the next operation tries again.
OsifResult LogOn() {
  if (const HRESULT result = MAPIInitialize(nullptr); FAILED(result)) {
    OSIF_Trace(0, "MAPI:  MAPIInitialize failed with code: %d", result);
    return OSIF_ERR_PIM;
  }
  const HRESULT result = MAPILogonEx(0, nullptr, nullptr, kLogonFlags, gpSession.put());
  if (FAILED(result)) {
    gpSession.reset();
    OSIF_Trace(0, "MAPI:  MAPILogonEx failed with code: %d", result);
    return OSIF_ERR_PIM;
  }
  return OSIF_OK;
}

}  // namespace

OsifResult MAPI_Init() { return OSIF_OK; }

OsifResult mapi_Initialize() {
  if (gpSession) return OSIF_OK;
  if (const OsifResult result = LogOn(); result != OSIF_OK) return result;
  ComPtr<IMAPITable> stores;
  if (const HRESULT result = gpSession->GetMsgStoresTable(0, stores.put()); FAILED(result)) {
    OSIF_Trace(0, "MAPI:  gpSession->GetMsgStoresTable failed with code: %d", result);
    return OSIF_ERR_PIM;
  }
  if (const ComPtr<IMsgStore> store = OpenStore(*stores)) OpenFolders(*store);
  return OSIF_OK;
}

OsifResult MAPI_NotImplemented() {
  if (const OsifResult result = mapi_Initialize(); result != OSIF_OK) return result;
  return OSIF_ERR_NOT_IMPLEMENTED;
}

OsifResult MAPI_DeInit() {
  OSIF_Trace(0, "MAPI:  MAPI_DeInit() called");
  OsifResult outcome = OSIF_OK;
  if (gpSession) {
    if (const HRESULT result = gpSession->Logoff(0, 0, 0); FAILED(result)) {
      OSIF_Trace(0, "MAPI:  gpSession->Logoff failed with code: %d", result);
      outcome = OSIF_ERR_PIM;
    }
  }
  gpInBoxFolder.reset();
  gpSentFolder.reset();
  gpOutBoxFolder.reset();
  gpSession.reset();
  MAPIUninitialize();
  return outcome;
}

// Messages name their folder as they please, so whatever is not known arrives where new messages do.
MessageFolder mapi_FolderOfName(const char* name) {
  if (EqualsIgnoringCase(name, "OUTBOX")) return {gpOutBoxFolder, "OUTBOX"};
  if (EqualsIgnoringCase(name, "SENTBOX")) return {gpSentFolder, "SENTBOX"};
  return {gpInBoxFolder, "INBOX"};
}

MessageFolder mapi_FolderOfStore(int32_t store_id) {
  switch (store_id) {
    case OSIF_STORE_MSG_IN:
      return {gpInBoxFolder, "INBOX"};
    case OSIF_STORE_MSG_SENT:
      return {gpSentFolder, "SENTBOX"};
    case OSIF_STORE_MSG_OUT:
      return {gpOutBoxFolder, "OUTBOX"};
    default:
      return {{}, ""};
  }
}

// Each operation makes sure of the session, picks the folder, opens or makes the one message, and has its
// fields put (mapi_put) or got (mapi_get). A message that is added or changed is saved as the last step:
// until then the store has the old one, or none.
//
// Nothing in a message is an id that another device would know it by, so a message is found by when it came
// and what it is about; one without a time, of which there can be many about the same, by what it says as well.
#include "mapi/mapi_mail.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "config/trace.h"
#include "mapi/mapi_body.h"
#include "mapi/mapi_buffer.h"
#include "mapi/mapi_date.h"
#include "mapi/mapi_entry_id.h"
#include "mapi/mapi_get.h"
#include "mapi/mapi_put.h"
#include "mapi/mapi_session.h"
#include "mapi/mapi_text.h"
#include "platform/api/system_time.h"

namespace {

constexpr LONG kRowsAtOnce = 50;

// ---- Finding ----------------------------------------------------------------------------------------

// What a message has to have to be the one that a record means; no time and no subject are values too.
struct Wanted {
  FILETIME time = {};
  WideText subject;
  const OsifMessage* record = nullptr;

  bool HasTime() const { return time.dwLowDateTime != 0 || time.dwHighDateTime != 0; }
};

constexpr ULONG kSubjectColumn = 0;
constexpr ULONG kTimeColumn = 1;
constexpr ULONG kEntryIdColumn = 2;
constexpr ULONG kColumns = 3;

// A store may give its columns in another way than asked for, which IsWanted notices row by row.
ComPtr<IMAPITable> OpenContents(IMAPIFolder& folder) {
  ComPtr<IMAPITable> table;
  HRESULT result = folder.GetContentsTable(0, table.put());
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpFolder->GetContentsTable failed with code: 0x%08x", result);
    return {};
  }
  SizedSPropTagArray(3, columns) = {kColumns, {PR_SUBJECT, PR_MESSAGE_DELIVERY_TIME, PR_ENTRYID}};
  result = table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0);
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpMessageTable->SetColumns failed with code: 0x%08x", result);
  }
  result = table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpMessageTable->SeekRow failed with code: 0x%08x", result);
    return {};
  }
  return table;
}

// Traces every row that is looked at. A missing property counts as the empty one.
bool IsWanted(const SRow& row, const Wanted& wanted, int number) {
  if (row.cValues < kColumns) return false;
  const SPropValue& subject_value = row.lpProps[kSubjectColumn];
  const SPropValue& time_value = row.lpProps[kTimeColumn];
  const WCHAR* subject = subject_value.ulPropTag == PR_SUBJECT ? subject_value.Value.lpszW : u"";
  const FILETIME time =
      time_value.ulPropTag == PR_MESSAGE_DELIVERY_TIME ? time_value.Value.ft : FILETIME{};
  OSIF_Trace(0, "MAPI:  Row:%d Date:%d.%d Subject:'%S'", number, time.dwHighDateTime,
             time.dwLowDateTime, subject);
  return CompareFileTime(&time, &wanted.time) == 0 && wanted.subject == subject;
}

// The content that a record would give a message. A body ends at its first zero character.
MailContent ContentOf(const OsifMessage& record) {
  WideText body = mapi_PlainText(record.part, mapi_DecodeBody(record.part));
  body.resize(std::min(body.find(u'\0'), body.size()));
  return {mapi_HeaderText(record.from), std::move(body)};
}

// Without a time the subject alone would take any two messages of the same few words for one, and the newer
// would be written over the older. A message that cannot be read is none that may be written over.
bool HasWantedContent(IMAPIFolder& folder, const SBinary& entry, const Wanted& wanted) {
  ComPtr<IUnknown> object;
  ULONG type = 0;
  const HRESULT result = folder.OpenEntry(entry.cb, reinterpret_cast<LPENTRYID>(entry.lpb), nullptr,
                                          MAPI_BEST_ACCESS, &type, object.put());
  if (FAILED(result) || type != MAPI_MESSAGE) return false;
  const ComPtr<IMessage> message(static_cast<IMessage*>(object.release()));
  return mapi_GetContent(*message) == ContentOf(*wanted.record);
}

// Lets the store look for the rows that may be wanted, where it can. A trace shows every row, so then all
// are gone through. A store that cannot restrict the table leaves it whole, and each row is compared anyway.
void Narrow(IMAPITable& table, Wanted& wanted) {
  if (!wanted.HasTime() || OSIF_IsTraced()) return;
  SPropValue time = {};
  time.ulPropTag = PR_MESSAGE_DELIVERY_TIME;
  time.Value.ft = wanted.time;
  SPropValue subject = {};
  subject.ulPropTag = PR_SUBJECT;
  subject.Value.lpszW = wanted.subject.data();
  SRestriction parts[2] = {};
  parts[0].rt = RES_PROPERTY;
  parts[0].res.resProperty = {RELOP_EQ, PR_MESSAGE_DELIVERY_TIME, &time};
  parts[1].rt = RES_PROPERTY;
  parts[1].res.resProperty = {RELOP_EQ, PR_SUBJECT, &subject};
  SRestriction all = {};
  all.rt = RES_AND;
  all.res.resAnd = {wanted.subject.empty() ? 1u : 2u, parts};
  table.Restrict(&all, 0);
}

// Looks through the rows of a table from where it stands, some at a time: a folder may hold any number.
bool FindRow(IMAPIFolder& folder, IMAPITable& table, const Wanted& wanted, char* id) {
  int number = 0;
  while (true) {
    LPSRowSet found = nullptr;
    const HRESULT result = table.QueryRows(kRowsAtOnce, 0, &found);
    const RowSet rows(found);
    if (FAILED(result)) {
      OSIF_Trace(0, "MAPI:  lpMessageTable->QueryRows failed with code: 0x%08x", result);
      return false;
    }
    if (!rows || rows->cRows == 0) break;
    for (ULONG i = 0; i < rows->cRows; ++i) {
      const SRow& row = rows->aRow[i];
      if (!IsWanted(row, wanted, ++number)) continue;
      const SPropValue& entry = row.lpProps[kEntryIdColumn];
      if (entry.ulPropTag != PR_ENTRYID) return false;
      if (!wanted.HasTime() && !HasWantedContent(folder, entry.Value.bin, wanted)) continue;
      return mapi_WriteId(entry.Value.bin, id);
    }
  }
  OSIF_Trace(0, "MAPI:  MAPI_FindMail - No more rows found (total=%d)", number);
  return false;
}

// ---- One message ------------------------------------------------------------------------------------

// A message gets its entry id when it is saved, so it is asked for after that.
OsifResult WriteEntryId(IMessage& message, char* id) {
  if (id == nullptr) return OSIF_OK;
  SizedSPropTagArray(1, tags) = {1, {PR_ENTRYID}};
  ULONG count = 0;
  LPSPropValue found = nullptr;
  const HRESULT result =
      message.GetProps(reinterpret_cast<LPSPropTagArray>(&tags), MAPI_UNICODE, &count, &found);
  const MapiBuffer<SPropValue> values(found);
  const bool has_id = SUCCEEDED(result) && count == 1 && values && values->ulPropTag == PR_ENTRYID;
  if (has_id && mapi_WriteId(values->Value.bin, id)) return OSIF_OK;
  OSIF_Trace(0, "MAPI:  lpMessage->GetProps(PR_ENTRYID) failed with code: 0x%08x", result);
  return OSIF_ERR_PIM;
}

OsifResult Save(IMessage& message) {
  const HRESULT result = message.SaveChanges(0);
  if (SUCCEEDED(result)) return OSIF_OK;
  OSIF_Trace(0, "MAPI:  lpMessage->SaveChanges failed with code: 0x%08x", result);
  return OSIF_ERR_PIM;
}

// When a step before saving fails the message is let go, and the store has none.
OsifResult AddTo(IMAPIFolder* folder, const OsifMessage& record, char* id) {
  if (folder == nullptr) return OSIF_ERR_PIM;
  ComPtr<IMessage> message;
  if (const HRESULT result = folder->CreateMessage(nullptr, 0, message.put()); FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpFolder->CreateMessage failed with code: 0x%08x", result);
    return OSIF_ERR_PIM;
  }
  mapi_PutMail(record, *message, true);
  if (const OsifResult result = Save(*message); result != OSIF_OK) return result;
  return WriteEntryId(*message, id);
}

// Its trace lines name the modification whichever operation opens the message.
OsifResult OpenMail(IMAPIFolder* folder, const char* id, ULONG flags, ComPtr<IMessage>& message) {
  if (folder == nullptr) {
    OSIF_Trace(0, "MAPI:  MAPI_ModifyMail error - lpFolder is NULL");
    return OSIF_ERR_PIM;
  }
  std::optional<std::vector<BYTE>> entry = mapi_ReadId(id);
  if (!entry) {
    OSIF_Trace(0, "MAPI:  FBinFromHex could not convert ID '%s'", id);
    return OSIF_ERR_INVALID_ID;
  }
  ComPtr<IUnknown> object;
  ULONG type = 0;
  const HRESULT result = folder->OpenEntry(static_cast<ULONG>(entry->size()),
                                           reinterpret_cast<LPENTRYID>(entry->data()), nullptr,
                                           MAPI_BEST_ACCESS | flags, &type, object.put());
  if (FAILED(result)) {
    OSIF_Trace(0, "MAPI:  lpFolder->OpenEntry for Mailbox failed with code: 0x%08x", result);
    return OSIF_ERR_PIM;
  }
  if (type != MAPI_MESSAGE) {
    OSIF_Trace(0, "MAPI:  ulObjType of OpenEntry on Mailbox != MAPI_MESSAGE");
    return OSIF_ERR_PIM;
  }
  message = ComPtr<IMessage>(static_cast<IMessage*>(object.release()));
  return OSIF_OK;
}

}  // namespace

bool MAPI_FindMail(const OsifObject& record, char* id) {
  const OsifMessage& fields = record.message;
  if (mapi_Initialize() != OSIF_OK) {
    OSIF_Trace(0, "MAPI:  MAPI_FindMail error - mapi_Initialize() failed");
    return false;
  }
  Wanted wanted;
  wanted.record = &fields;
  if (fields.date[0] != '\0') mapi_DateToFileTime(fields.date, &wanted.time);
  wanted.subject = mapi_HeaderText(fields.subject);
  const MessageFolder chosen = mapi_FolderOfName(fields.xBtFolder);
  OSIF_Trace(0, "MAPI:  MAPI_FindMail() Folder:%s Date:%d.%d Subj:'%s'", fields.xBtFolder,
             wanted.time.dwHighDateTime, wanted.time.dwLowDateTime, fields.subject);
  if (!chosen.folder) {
    OSIF_Trace(0, "MAPI:  MAPI_FindMail error - lpFolder is NULL");
    return false;
  }
  const ComPtr<IMAPITable> table = OpenContents(*chosen.folder);
  if (!table) return false;
  Narrow(*table, wanted);
  return FindRow(*chosen.folder, *table, wanted, id);
}

OsifResult MAPI_AddMail(const OsifObject& record, char* id) {
  if (const OsifResult result = mapi_Initialize(); result != OSIF_OK) {
    OSIF_Trace(0, "MAPI:  MAPI_AddMail error - mapi_Initialize() failed, error = %d", result);
    return result;
  }
  const OsifMessage& fields = record.message;
  const MessageFolder chosen = mapi_FolderOfName(fields.xBtFolder);
  OSIF_Trace(0, "MAPI:  MAPI_AddMail() Folder:%s", fields.xBtFolder);
  const OsifResult result = AddTo(chosen.folder.get(), fields, id);
  OSIF_Trace(0, "       MAPI_AddMail() returns %d", result);
  return result;
}

OsifResult MAPI_ModifyMail(const OsifObject& record, const char* id) {
  const OsifMessage& fields = record.message;
  OSIF_Trace(0, "MAPI:  MAPI_ModifyMail(pMessage=%p, id='%s') called, Folder:%s",
             static_cast<const void*>(&record), id, fields.xBtFolder);
  if (const OsifResult result = mapi_Initialize(); result != OSIF_OK) {
    OSIF_Trace(0, "MAPI:  MAPI_ModifyMail error - mapi_Initialize() failed, error = %d", result);
    return result;
  }
  ComPtr<IMessage> message;
  const MessageFolder chosen = mapi_FolderOfName(fields.xBtFolder);
  if (const OsifResult result = OpenMail(chosen.folder.get(), id, MAPI_MODIFY, message);
      result != OSIF_OK) {
    return result;
  }
  mapi_PutMail(fields, *message, false);
  return Save(*message);
}

OsifResult MAPI_GetMailById(int32_t store_id, const char* id, OsifObject& record) {
  OSIF_Trace(0, "MAPI:  MAPI_GetMailById(pMessage=%p, id='%s') called", static_cast<void*>(&record),
             id);
  if (const OsifResult result = mapi_Initialize(); result != OSIF_OK) {
    OSIF_Trace(0, "MAPI:  MAPI_GetMailById error - mapi_Initialize() failed, error = %d", result);
    return result;
  }
  const MessageFolder chosen = mapi_FolderOfStore(store_id);
  ComPtr<IMessage> message;
  if (const OsifResult result = OpenMail(chosen.folder.get(), id, 0, message); result != OSIF_OK) {
    OSIF_Trace(0, "MAPI:  mapi_GetById(id='%s', lpFolder=%p) failed, err=%d", id,
               static_cast<void*>(chosen.folder.get()), result);
    return result;
  }
  OsifMessage& fields = record.message;
  if (const OsifResult result = mapi_GetMail(*message, fields); result != OSIF_OK) {
    OSIF_Trace(0, "MAPI:  mapi_GetMail(lpMapiMessage=%p, pMessage=%p) failed, err=%d",
               static_cast<void*>(message.get()), static_cast<void*>(&record), result);
    return result;
  }
  CopyBounded(fields.xBtFolder, chosen.name);
  CopyBounded(fields.xIrmcType, "MSG");
  CopyBounded(record.xIrmcLuid, id);
  CopyBounded(record.version, "1.1");
  return OSIF_OK;
}

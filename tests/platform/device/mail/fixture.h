// A device of its own for each test of the message store, and short words for what programs do with
// it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/api/cemapi.h"
#include "platform/api/com_ptr.h"
#include "platform/device/device.h"
#include "platform/device/mail/session.h"
#include "tests/support/temp_device.h"

namespace mapi_test {

struct BufferFree {
  void operator()(void* buffer) const { MAPIFreeBuffer(buffer); }
};
struct RowsFree {
  void operator()(LPSRowSet rows) const { FreeProws(rows); }
};
using Props = std::unique_ptr<SPropValue[], BufferFree>;
using Rows = std::unique_ptr<SRowSet, RowsFree>;

// A property value whose text belongs to the caller.
inline SPropValue Text(ULONG tag, const char16_t* text) {
  SPropValue value = {};
  value.ulPropTag = tag;
  value.Value.lpszW = const_cast<char16_t*>(text);
  return value;
}
inline SPropValue Number(ULONG tag, LONG number) {
  SPropValue value = {};
  value.ulPropTag = tag;
  value.Value.l = number;
  return value;
}
inline SPropValue Time(ULONG tag, DWORD low, DWORD high) {
  SPropValue value = {};
  value.ulPropTag = tag;
  value.Value.ft = {low, high};
  return value;
}

// The session, with its one store and the three folders, or nulls where something failed. Usable in
// another process, which has no test to fail.
struct Program {
  ComPtr<IMAPISession> session;
  ComPtr<IMsgStore> store;
  ComPtr<IMAPIFolder> inbox;
  ComPtr<IMAPIFolder> sent;
  ComPtr<IMAPIFolder> outbox;

  void Open() {
    if (MAPIInitialize(nullptr) != S_OK) return;
    if (MAPILogonEx(0, nullptr, nullptr, MAPI_UNICODE, session.put()) != S_OK) return;
    ComPtr<IMAPITable> stores;
    LPSRowSet rows = nullptr;
    if (session->GetMsgStoresTable(0, stores.put()) != S_OK) return;
    if (stores->QueryRows(1, 0, &rows) != S_OK || rows->cRows != 1) return;
    const SBinary id = rows->aRow[0].lpProps[3].Value.bin;
    session->OpenMsgStore(0, id.cb, reinterpret_cast<LPENTRYID>(id.lpb), nullptr, MDB_WRITE,
                          store.put());
    FreeProws(rows);
    if (store) OpenFolders();
  }

  void OpenFolders() {
    ULONG size = 0;
    LPENTRYID id = nullptr;
    if (store->GetReceiveFolder(nullptr, 0, &size, &id, nullptr) == S_OK) {
      inbox = Folder(size, id);
      MAPIFreeBuffer(id);
    }
    sent = FolderOf(PR_IPM_SENTMAIL_ENTRYID);
    outbox = FolderOf(PR_IPM_OUTBOX_ENTRYID);
  }

  ComPtr<IMAPIFolder> FolderOf(ULONG tag) {
    SPropTagArray tags = {1, {tag}};
    ULONG count = 0;
    LPSPropValue value = nullptr;
    if (store->GetProps(&tags, 0, &count, &value) != S_OK) return {};
    ComPtr<IMAPIFolder> folder =
        Folder(value->Value.bin.cb, reinterpret_cast<LPENTRYID>(value->Value.bin.lpb));
    MAPIFreeBuffer(value);
    return folder;
  }

  ComPtr<IMAPIFolder> Folder(ULONG size, LPENTRYID id) {
    ULONG type = 0;
    IUnknown* object = nullptr;
    store->OpenEntry(size, id, nullptr, MAPI_BEST_ACCESS, &type, &object);
    return type == MAPI_FOLDER ? ComPtr<IMAPIFolder>(static_cast<IMAPIFolder*>(object))
                               : ComPtr<IMAPIFolder>();
  }

  ~Program() {
    if (session) session->Logoff(0, 0, 0);
    MAPIUninitialize();
  }
};

inline ComPtr<IMessage> NewMessage(IMAPIFolder& folder) {
  ComPtr<IMessage> message;
  EXPECT_EQ(folder.CreateMessage(nullptr, 0, message.put()), S_OK);
  return message;
}

inline HRESULT Set(IMAPIProp& object, SPropValue value) {
  return object.SetProps(1, &value, nullptr);
}

// The values of some properties; null when the call fails.
inline Props Get(IMAPIProp& object, const std::vector<ULONG>& tags, HRESULT expected = S_OK) {
  std::vector<ULONG> array = {static_cast<ULONG>(tags.size())};
  array.insert(array.end(), tags.begin(), tags.end());
  ULONG count = 0;
  LPSPropValue values = nullptr;
  EXPECT_EQ(object.GetProps(reinterpret_cast<LPSPropTagArray>(array.data()), MAPI_UNICODE, &count,
                            &values),
            expected);
  EXPECT_EQ(count, tags.size());
  return Props(values);
}

inline std::string Bytes(const SBinary& value) {
  return std::string(value.lpb, value.lpb + value.cb);
}

inline std::string EntryId(IMAPIProp& object) {
  return Bytes(Get(object, {PR_ENTRYID})[0].Value.bin);
}

inline std::u16string Subject(IMAPIProp& object) {
  return Get(object, {PR_SUBJECT})[0].Value.lpszW;
}

inline HRESULT Open(IMAPIFolder& folder, std::string id, ComPtr<IMessage>* message) {
  ULONG type = 0;
  IUnknown* object = nullptr;
  const HRESULT hr =
      folder.OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()),
                       nullptr, MAPI_BEST_ACCESS | MAPI_MODIFY, &type, &object);
  EXPECT_EQ(object != nullptr, hr == S_OK);
  EXPECT_EQ(type, hr == S_OK ? MAPI_MESSAGE : 0);
  *message = ComPtr<IMessage>(static_cast<IMessage*>(object));
  return hr;
}

inline ComPtr<IMessage> Open(IMAPIFolder& folder, const std::string& id) {
  ComPtr<IMessage> message;
  EXPECT_EQ(Open(folder, id, &message), S_OK);
  return message;
}

inline HRESULT OpenBody(IMessage& message, ULONG flags, ComPtr<IStream>* stream) {
  IUnknown* object = nullptr;
  const HRESULT hr = message.OpenProperty(PR_BODY, &IID_IStream, 0, flags, &object);
  *stream = ComPtr<IStream>(static_cast<IStream*>(object));
  return hr;
}

inline HRESULT WriteBody(IMessage& message, std::string_view bytes,
                         ULONG flags = MAPI_CREATE | MAPI_MODIFY) {
  ComPtr<IStream> stream;
  const HRESULT hr = OpenBody(message, flags, &stream);
  if (hr != S_OK) return hr;
  ULONG written = 0;
  return stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
}

// The whole body; nothing when there is none.
inline std::optional<std::string> ReadBody(IMessage& message) {
  ComPtr<IStream> stream;
  if (OpenBody(message, 0, &stream) != S_OK) return std::nullopt;
  STATSTG status = {};
  EXPECT_EQ(stream->Stat(&status, STATFLAG_NONAME), S_OK);
  std::string bytes(static_cast<size_t>(status.cbSize.QuadPart), '?');
  ULONG read = 0;
  EXPECT_EQ(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read), S_OK);
  EXPECT_EQ(read, bytes.size());
  return bytes;
}

struct Recipient {
  LONG type;
  const char16_t* address;
};

inline HRESULT AddRecipients(IMessage& message, const std::vector<Recipient>& recipients) {
  LPADRLIST list = nullptr;
  const auto size = static_cast<ULONG>(CbNewADRLIST(recipients.size()));
  EXPECT_EQ(MAPIAllocateBuffer(size, reinterpret_cast<void**>(&list)), S_OK);
  list->cEntries = static_cast<ULONG>(recipients.size());
  ADRENTRY* entry = list->aEntries;
  for (const Recipient& recipient : recipients) {
    LPSPropValue values = nullptr;
    EXPECT_EQ(MAPIAllocateBuffer(3 * sizeof(SPropValue), reinterpret_cast<void**>(&values)), S_OK);
    values[0] = Number(PR_RECIPIENT_TYPE, recipient.type);
    values[1] = Text(PR_ADDRTYPE, u"SMTP");
    values[2] = Text(PR_EMAIL_ADDRESS, recipient.address);
    *entry++ = {0, 3, values};
  }
  const HRESULT hr = message.ModifyRecipients(MODRECIP_ADD, list);
  FreeProws(reinterpret_cast<LPSRowSet>(list));
  return hr;
}

inline Rows Query(IMAPITable& table, LONG count) {
  LPSRowSet rows = nullptr;
  EXPECT_EQ(table.QueryRows(count, 0, &rows), S_OK);
  return Rows(rows);
}

inline const SPropValue& Cell(const Rows& rows, ULONG row, ULONG column) {
  return (&rows->aRow[0] + row)->lpProps[column];
}

// The addresses of a message's recipients.
inline std::vector<std::u16string> Addresses(IMessage& message) {
  ComPtr<IMAPITable> table;
  std::vector<std::u16string> addresses;
  if (message.GetRecipientTable(0, table.put()) != S_OK) return addresses;
  const Rows rows = Query(*table, 1000);
  for (ULONG i = 0; i < rows->cRows; ++i) addresses.push_back(Cell(rows, i, 2).Value.lpszW);
  return addresses;
}

inline ComPtr<IMAPITable> Contents(IMAPIFolder& folder, const std::vector<ULONG>& columns) {
  ComPtr<IMAPITable> table;
  EXPECT_EQ(folder.GetContentsTable(0, table.put()), S_OK);
  std::vector<ULONG> array = {static_cast<ULONG>(columns.size())};
  array.insert(array.end(), columns.begin(), columns.end());
  EXPECT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(array.data()), 0), S_OK);
  return table;
}

// The subjects of a folder's messages in the order of its contents table; "-" for none.
inline std::vector<std::u16string> Subjects(IMAPIFolder& folder) {
  std::vector<std::u16string> subjects;
  const ComPtr<IMAPITable> table = Contents(folder, {PR_SUBJECT});
  for (Rows rows = Query(*table, 2); rows->cRows != 0; rows = Query(*table, 2)) {
    for (ULONG i = 0; i < rows->cRows; ++i) {
      const SPropValue& cell = Cell(rows, i, 0);
      subjects.push_back(cell.ulPropTag == PR_SUBJECT ? cell.Value.lpszW : u"-");
    }
  }
  return subjects;
}

class MapiTest : public TempDeviceTest {
 protected:
  void SetUp() override { Start(); }

  void Start() {
    program_ = std::make_unique<Program>();
    program_->Open();
    ASSERT_TRUE(program_->inbox && program_->sent && program_->outbox);
  }

  // As another program finds the device that starts now.
  void Restart() {
    program_.reset();
    Start();
  }

  IMAPISession& session() { return *program_->session; }
  IMsgStore& store() { return *program_->store; }
  IMAPIFolder& inbox() { return *program_->inbox; }
  IMAPIFolder& sent() { return *program_->sent; }
  IMAPIFolder& outbox() { return *program_->outbox; }

  // Stores a message with a subject in the Inbox; its entry id.
  std::string Store(const char16_t* subject) {
    const ComPtr<IMessage> message = NewMessage(inbox());
    EXPECT_EQ(Set(*message, Text(PR_SUBJECT, subject)), S_OK);
    return EntryId(*message);
  }

  std::unique_ptr<Program> program_;
};

}  // namespace mapi_test

// Each object is as simple as it can be: a call is written down, answers the fault that is set for it, if
// any, and else does its work on what FakeMapi holds. The objects of a kind count themselves, so that a test
// sees what was not released.

#include "tests/support/fake_mapi.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "platform/device/mail/session.h"
#include "tests/support/files.h"

namespace support {
namespace {

// The properties that rows must have, each with its value; "?" for any other kind of restriction.
std::string Shown(const SRestriction& restriction) {
  if (restriction.rt != RES_AND) return "?";
  std::string text;
  const SAndRestriction& all = restriction.res.resAnd;
  for (ULONG i = 0; i < all.cRes; ++i) {
    const SPropertyRestriction& part = all.lpRes[i].res.resProperty;
    if (all.lpRes[i].rt != RES_PROPERTY || part.relop != RELOP_EQ) return "?";
    if (part.lpProp->ulPropTag != part.ulPropTag) return "?";
    const FakeValue value = FromMapi(*part.lpProp);
    const bool is_time = PROP_TYPE(part.ulPropTag) == PT_SYSTIME;
    const std::string shown = is_time ? std::to_string(value.time.dwHighDateTime) + "." +
                                            std::to_string(value.time.dwLowDateTime)
                                      : Narrow(value.text);
    text += (i == 0 ? "" : ",") + HexNumber(part.ulPropTag) + "=" + shown;
  }
  return text;
}

// Reference counting; an object of the fake answers to no other interface.
template <typename Interface>
class FakeMapiObject : public Interface {
 public:
  explicit FakeMapiObject(std::string kind) : kind_(std::move(kind)) { mapi().Begin(kind_); }
  FakeMapiObject(const FakeMapiObject&) = delete;
  FakeMapiObject& operator=(const FakeMapiObject&) = delete;

  HRESULT QueryInterface(REFIID, void** object) final {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() final { return ++references_; }
  ULONG Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~FakeMapiObject() { mapi().End(kind_); }
  static FakeMapi& mapi() { return *FakeMapi::current; }
  std::string Name(const char* call) const { return kind_ + "." + call; }

 private:
  std::string kind_;
  ULONG references_ = 1;
};

class FakeTable final : public FakeMapiObject<IMAPITable> {
 public:
  // `kind` is "stores", "contents" or "recipients".
  FakeTable(std::string kind, std::vector<FakeValues> rows)
      : FakeMapiObject(std::move(kind)), rows_(std::move(rows)) {}

  HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override {
    return mapi().GetLastError(Name("GetLastError"), result, flags, error);
  }
  HRESULT SetColumns(LPSPropTagArray columns, ULONG) override {
    const std::vector<ULONG> tags = TagsOf(*columns);
    const HRESULT result = mapi().Call(Name("SetColumns"), TagText(tags));
    if (result != S_OK) return result;
    columns_ = tags;
    return S_OK;
  }
  HRESULT SeekRow(BOOKMARK origin, LONG rows, LONG* sought) override {
    const HRESULT result =
        mapi().Call(Name("SeekRow"), std::to_string(origin) + "," + std::to_string(rows));
    if (result != S_OK) return result;
    position_ = 0;
    if (sought) *sought = 0;
    return S_OK;
  }
  // As stores do that cannot.
  HRESULT Restrict(LPSRestriction restriction, ULONG) override {
    mapi().Call(Name("Restrict"), Shown(*restriction));
    return MAPI_E_TOO_COMPLEX;
  }
  HRESULT QueryRows(LONG count, ULONG, LPSRowSet* rows) override {
    *rows = nullptr;
    const HRESULT result = mapi().Call(Name("QueryRows"), std::to_string(count));
    if (result != S_OK || mapi().gives_no_rows) return result;
    const size_t size = std::min(static_cast<size_t>(count), rows_.size() - position_);
    *rows = MoreMapiMemory<SRowSet>(nullptr, CbNewSRowSet(size));
    (*rows)->cRows = static_cast<ULONG>(size);
    SRow* row = (*rows)->aRow;
    for (size_t i = 0; i < size; ++i) {
      const FakeValues values = Columns(rows_[position_++]);
      *row++ = {0, static_cast<ULONG>(values.size()), ToMapi(values)};
    }
    return S_OK;
  }

 private:
  FakeValues Columns(const FakeValues& row) const {
    if (columns_.empty() || row.empty()) return row;
    FakeValues values;
    for (ULONG tag : columns_) {
      values.push_back(Missing(tag));
      for (const FakeValue& value : row) {
        if (PROP_ID(value.tag) == PROP_ID(tag)) values.back() = value;
      }
    }
    return values;
  }

  std::vector<FakeValues> rows_;
  std::vector<ULONG> columns_;
  size_t position_ = 0;
};

class FakeStream final : public FakeMapiObject<IStream> {
 public:
  explicit FakeStream(FakeMailPtr mail) : FakeMapiObject("stream"), mail_(std::move(mail)) {}

  HRESULT Read(void* bytes, ULONG size, ULONG* read) override {
    const HRESULT result = mapi().Call("stream.Read", HexNumber(size));
    if (read) *read = 0;
    if (result != S_OK) return result;
    const size_t taken = mail_->body->copy(static_cast<char*>(bytes), size, position_);
    position_ += taken;
    if (read) *read = static_cast<ULONG>(taken);
    return S_OK;
  }
  HRESULT Write(const void* bytes, ULONG size, ULONG* written) override {
    const HRESULT result = mapi().Call("stream.Write", HexNumber(size));
    if (written) *written = result == S_OK ? size : 0;
    if (result == S_OK) mail_->body->append(static_cast<const char*>(bytes), size);
    return result;
  }
  HRESULT Commit(DWORD) override { return mapi().Call("stream.Commit"); }
  HRESULT Stat(STATSTG* status, DWORD) override {
    *status = {};
    const HRESULT result = mapi().Call("stream.Stat");
    if (result == S_OK) status->cbSize.QuadPart = mapi().stated_size.value_or(mail_->body->size());
    return result;
  }

 private:
  FakeMailPtr mail_;
  size_t position_ = 0;
};

class FakeMessage final : public FakeMapiObject<IMessage> {
 public:
  // A new message comes into `folder` when it is saved.
  explicit FakeMessage(FakeMailPtr mail, FakeFolderData* folder = nullptr)
      : FakeMapiObject("message"), mail_(std::move(mail)), folder_(folder) {}

  HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override {
    return mapi().GetLastError(Name("GetLastError"), result, flags, error);
  }
  HRESULT SaveChanges(ULONG) override {
    const HRESULT result = mapi().Call("message.SaveChanges");
    if (result != S_OK) return result;
    ++mail_->saves;
    if (folder_) std::exchange(folder_, nullptr)->mails.push_back(mail_);
    return S_OK;
  }
  HRESULT GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override {
    *count = 0;
    *values = nullptr;
    const std::vector<ULONG> asked = TagsOf(*tags);
    const HRESULT result = mapi().Call("message.GetProps", TagText(asked) + "," + HexNumber(flags));
    if (result != S_OK || mapi().gives_no_values) return result;
    FakeValues answers;
    if (!mapi().gives_empty_values) {
      for (ULONG tag : asked) answers.push_back(ValueOf(tag));
    }
    *count = static_cast<ULONG>(answers.size());
    *values = ToMapi(answers);
    return S_OK;
  }
  HRESULT OpenProperty(ULONG tag, LPCIID iid, ULONG, ULONG flags, LPUNKNOWN* object) override {
    *object = nullptr;
    EXPECT_TRUE(iid != nullptr && *iid == IID_IStream);
    const HRESULT result = mapi().Call("message.OpenProperty", TagText({tag, flags}));
    if (result != S_OK) return result;
    if ((flags & MAPI_CREATE) != 0) mail_->body = "";
    if (!mail_->body) return MAPI_E_NOT_FOUND;
    *object = new FakeStream(mail_);
    return S_OK;
  }
  HRESULT SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) override {
    std::vector<ULONG> tags;
    for (ULONG i = 0; i < count; ++i) tags.push_back(values[i].ulPropTag);
    if (problems) *problems = nullptr;
    const HRESULT result = mapi().Call("message.SetProps", TagText(tags));
    if (result != S_OK) return result;
    if (mapi().problem != S_OK && problems) {
      *problems = MoreMapiMemory<SPropProblemArray>(nullptr, sizeof(SPropProblemArray));
      **problems = {1, {{0, tags[0], mapi().problem}}};
      return S_OK;
    }
    for (ULONG i = 0; i < count; ++i) mail_->Put(FromMapi(values[i]));
    return S_OK;
  }
  HRESULT GetRecipientTable(ULONG, IMAPITable** table) override;
  HRESULT ModifyRecipients(ULONG flags, LPADRLIST recipients) override {
    const HRESULT result = mapi().Call("message.ModifyRecipients", HexNumber(flags));
    if (result != S_OK) return result;
    const ADRENTRY* entry = recipients->aEntries;
    for (ULONG i = 0; i < recipients->cEntries; ++i, ++entry) {
      EXPECT_EQ(entry->cValues, 3u);
      FakeRecipient recipient{0, {}, {}};
      for (ULONG j = 0; j < entry->cValues; ++j) {
        const FakeValue value = FromMapi(entry->rgPropVals[j]);
        if (value.tag == PR_RECIPIENT_TYPE) recipient.type = value.number;
        if (value.tag == PR_ADDRTYPE) recipient.address_type = value.text;
        if (value.tag == PR_EMAIL_ADDRESS) recipient.address = value.text;
      }
      mail_->recipients.push_back(recipient);
    }
    return S_OK;
  }

 private:
  FakeValue ValueOf(ULONG tag) const {
    if (tag == PR_ENTRYID && !mapi().gives_no_ids) return FakeValue::Bytes(tag, mail_->id);
    const auto found = mail_->values.find(PROP_ID(tag));
    return found == mail_->values.end() ? Missing(tag) : found->second;
  }

  FakeMailPtr mail_;
  FakeFolderData* folder_;
};

// Other columns stand before those that are looked for, as on handhelds.
HRESULT FakeMessage::GetRecipientTable(ULONG, IMAPITable** table) {
  *table = nullptr;
  const HRESULT result = mapi().Call("message.GetRecipientTable");
  if (result != S_OK) return result;
  std::vector<FakeValues> rows;
  for (const FakeRecipient& recipient : mail_->recipients) {
    rows.push_back({FakeValue::Number(PROP_TAG(PT_LONG, 0x3000), 7),
                    FakeValue::Text(PR_DISPLAY_NAME, u"name of " + recipient.address),
                    FakeValue::Text(PR_EMAIL_ADDRESS, recipient.address),
                    FakeValue::Text(PR_ADDRTYPE, recipient.address_type),
                    FakeValue::Number(PR_RECIPIENT_TYPE, recipient.type)});
  }
  if (mapi().recipient_row_form) rows = {*mapi().recipient_row_form};
  *table = new FakeTable("recipients", std::move(rows));
  return S_OK;
}

class FakeFolder final : public FakeMapiObject<IMAPIFolder> {
 public:
  explicit FakeFolder(FakeFolderData& data) : FakeMapiObject("folder"), data_(data) {}

  HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override {
    return mapi().GetLastError(Name("GetLastError"), result, flags, error);
  }
  HRESULT SaveChanges(ULONG) override { return E_NOTIMPL; }
  HRESULT GetProps(LPSPropTagArray, ULONG, ULONG*, LPSPropValue*) override { return E_NOTIMPL; }
  HRESULT OpenProperty(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*) override { return E_NOTIMPL; }
  HRESULT SetProps(ULONG, LPSPropValue, LPSPropProblemArray*) override { return E_NOTIMPL; }
  HRESULT GetContentsTable(ULONG, IMAPITable** table) override {
    *table = nullptr;
    const HRESULT result = mapi().Call("folder.GetContentsTable", HexBytes(data_.id));
    if (result != S_OK) return result;
    std::vector<FakeValues> rows;
    for (const FakeMailPtr& mail : data_.mails) rows.push_back(Row(*mail));
    *table = new FakeTable("contents", std::move(rows));
    return S_OK;
  }
  HRESULT OpenEntry(ULONG size, LPENTRYID entry, LPCIID, ULONG flags, ULONG* type,
                    LPUNKNOWN* object) override {
    *object = nullptr;
    const std::string id = EntryBytes(size, entry);
    const std::string shown = id.size() < 64 ? HexBytes(id) : "long";
    const HRESULT result = mapi().Call("folder.OpenEntry", shown + "," + HexNumber(flags));
    if (result != S_OK) return result;
    for (const FakeMailPtr& mail : data_.mails) {
      if (mail->id != id) continue;
      *type = mail->type;
      *object = new FakeMessage(mail);
      return S_OK;
    }
    return MAPI_E_NOT_FOUND;
  }
  HRESULT CreateMessage(LPCIID, ULONG, IMessage** message) override {
    *message = nullptr;
    const HRESULT result = mapi().Call("folder.CreateMessage", HexBytes(data_.id));
    if (result != S_OK) return result;
    mapi().created.push_back(std::make_shared<FakeMail>());
    mapi().created.back()->id = mapi().next_id;
    *message = new FakeMessage(mapi().created.back(), &data_);
    return S_OK;
  }

 private:
  // A row without any cell for a message without any property.
  static FakeValues Row(const FakeMail& mail) {
    if (mail.values.empty()) return {};
    FakeValues row;
    for (ULONG tag : {PR_SUBJECT, PR_MESSAGE_DELIVERY_TIME}) {
      row.push_back(mail.Has(tag) ? mail.values.at(PROP_ID(tag)) : Missing(tag));
    }
    if (!mapi().gives_no_ids) row.push_back(FakeValue::Bytes(PR_ENTRYID, mail.id));
    return row;
  }

  FakeFolderData& data_;
};

class FakeStore final : public FakeMapiObject<IMsgStore> {
 public:
  FakeStore() : FakeMapiObject("store") {}

  HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override {
    return mapi().GetLastError(Name("GetLastError"), result, flags, error);
  }
  HRESULT SaveChanges(ULONG) override { return E_NOTIMPL; }
  HRESULT OpenProperty(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*) override { return E_NOTIMPL; }
  HRESULT SetProps(ULONG, LPSPropValue, LPSPropProblemArray*) override { return E_NOTIMPL; }
  HRESULT GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) override {
    *count = 0;
    *values = nullptr;
    const HRESULT result = mapi().Call("store.GetProps", TagText(TagsOf(*tags)));
    if (result != S_OK) return result;
    FakeValues answers;
    for (ULONG tag : TagsOf(*tags)) {
      const auto found = mapi().store_values.find(PROP_ID(tag));
      answers.push_back(found == mapi().store_values.end() ? Missing(tag) : found->second);
    }
    *count = static_cast<ULONG>(answers.size());
    *values = ToMapi(answers);
    const bool missing = PROP_TYPE(answers[0].tag) == PT_ERROR;
    return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
  }
  HRESULT OpenEntry(ULONG size, LPENTRYID entry, LPCIID, ULONG flags, ULONG* type,
                    LPUNKNOWN* object) override {
    *object = nullptr;
    const std::string id = EntryBytes(size, entry);
    const HRESULT result = mapi().Call("store.OpenEntry", HexBytes(id) + "," + HexNumber(flags));
    if (result != S_OK) return result;
    for (FakeFolderData* folder : {&mapi().inbox, &mapi().sent, &mapi().outbox}) {
      if (folder->id != id) continue;
      *type = folder->type;
      *object = new FakeFolder(*folder);
      return S_OK;
    }
    return MAPI_E_NOT_FOUND;
  }
  HRESULT GetReceiveFolder(LPTSTR message_class, ULONG, ULONG* size, LPENTRYID* entry,
                           LPTSTR*) override {
    EXPECT_EQ(message_class, nullptr);
    *entry = nullptr;
    const HRESULT result = mapi().Call("store.GetReceiveFolder");
    if (result != S_OK) return result;
    const std::string& id = mapi().inbox.id;
    *size = static_cast<ULONG>(id.size());
    *entry = MoreMapiMemory<ENTRYID>(nullptr, id.size());
    std::memcpy(*entry, id.data(), id.size());
    return S_OK;
  }
};

class FakeSession final : public FakeMapiObject<IMAPISession> {
 public:
  FakeSession() : FakeMapiObject("session") {}

  HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) override {
    return mapi().GetLastError(Name("GetLastError"), result, flags, error);
  }
  HRESULT GetMsgStoresTable(ULONG, IMAPITable** table) override {
    *table = nullptr;
    const HRESULT result = mapi().Call("session.GetMsgStoresTable");
    if (result == S_OK) *table = new FakeTable("stores", mapi().stores);
    return result;
  }
  HRESULT OpenMsgStore(ULONG_PTR window, ULONG size, LPENTRYID entry, LPCIID, ULONG flags,
                       IMsgStore** store) override {
    EXPECT_EQ(window, 0u);
    *store = nullptr;
    const std::string id = HexBytes(EntryBytes(size, entry));
    const HRESULT result = mapi().Call("session.OpenMsgStore", id + "," + HexNumber(flags));
    if (result == S_OK) *store = new FakeStore;
    return result;
  }
  HRESULT Logoff(ULONG_PTR window, ULONG flags, ULONG) override {
    EXPECT_EQ(window, 0u);
    EXPECT_EQ(flags, 0u);
    return mapi().Call("session.Logoff");
  }
};

}  // namespace

// ---- What the store holds -----------------------------------------------------------------------

void FakeMail::Put(FakeValue value) { values[PROP_ID(value.tag)] = std::move(value); }

FakeValue FakeMail::Get(ULONG tag) const {
  const auto found = values.find(PROP_ID(tag));
  return found == values.end() || found->second.tag != tag ? FakeValue() : found->second;
}

std::u16string FakeMail::BodyText() const {
  std::u16string text(body.value_or("").size() / sizeof(WCHAR), u'\0');
  if (body) std::memcpy(text.data(), body->data(), text.size() * sizeof(WCHAR));
  return text;
}

void FakeMail::SetBody(std::u16string_view text) {
  body.emplace(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR));
}

// ---- The fake itself ----------------------------------------------------------------------------

FakeMapi::FakeMapi()
    : stores{{FakeValue::Number(PR_DEFAULT_STORE, 1), FakeValue::Text(PR_DISPLAY_NAME, u"Messages"),
              FakeValue::Text(PR_PROVIDER_DISPLAY, u"Fake"), FakeValue::Bytes(PR_ENTRYID, "\xE1")}},
      store_values{
          {PROP_ID(PR_IPM_SENTMAIL_ENTRYID), FakeValue::Bytes(PR_IPM_SENTMAIL_ENTRYID, sent.id)},
          {PROP_ID(PR_IPM_OUTBOX_ENTRYID), FakeValue::Bytes(PR_IPM_OUTBOX_ENTRYID, outbox.id)}} {
  current = this;
  device::SetMapiStart([] { return current->Call("MAPIInitialize"); });
  device::SetMapiLogon([](IMAPISession** session) {
    *session = nullptr;
    const HRESULT result = current->Call("MAPILogonEx");
    if (result == S_OK) *session = new FakeSession;
    return result;
  });
}

FakeMapi::~FakeMapi() {
  device::SetMapiStart(nullptr);
  device::SetMapiLogon(nullptr);
  for (const auto& [kind, count] : live_) EXPECT_EQ(count, 0) << kind << " not released";
  current = nullptr;
}

HRESULT FakeMapi::GetLastError(const std::string& name, HRESULT result, ULONG flags,
                               LPMAPIERROR* record) {
  *record = nullptr;
  const HRESULT answer = Call(name, TagText({static_cast<ULONG>(result), flags}));
  if (!error) return answer;
  *record = MoreMapiMemory<MAPIERROR>(nullptr, sizeof(MAPIERROR));
  (*record)->ulVersion = error->version;
  (*record)->ulLowLevelError = error->low_level;
  (*record)->ulContext = error->context;
  if (error->error) (*record)->lpszError = CopyToMapi(*record, *error->error);
  if (error->component) (*record)->lpszComponent = CopyToMapi(*record, *error->component);
  return answer;
}

void FakeMapi::Fail(const std::string& call, HRESULT result, int nth) {
  faults_[call] = {result, nth, 0};
}

void FakeMapi::When(const std::string& call, std::function<void()> action) {
  actions_[call] = std::move(action);
}

int FakeMapi::Count(const std::string& call) const {
  int count = 0;
  for (const std::string& made : calls_) count += made.substr(0, made.find('(')) == call;
  return count;
}

int FakeMapi::Live(const std::string& kind) const {
  const auto found = live_.find(kind);
  return found == live_.end() ? 0 : found->second;
}

FakeMail& FakeMapi::Keep(FakeFolderData& folder, std::string id, FakeValues values) {
  folder.mails.push_back(std::make_shared<FakeMail>());
  folder.mails.back()->id = std::move(id);
  for (FakeValue& value : values) folder.mails.back()->Put(std::move(value));
  return *folder.mails.back();
}

FakeMail& FakeMapi::Created() {
  EXPECT_EQ(created.size(), 1u);
  return created.empty() ? *created.emplace_back(std::make_shared<FakeMail>()) : *created.front();
}

HRESULT FakeMapi::Call(const std::string& name, const std::string& arguments) {
  const std::string whole = name + "(" + arguments + ")";
  calls_.push_back(whole);
  const HRESULT result = Answer(name);
  const auto action = actions_.find(name);
  if (action != actions_.end()) action->second();
  return result == S_OK ? Answer(whole) : result;
}

void FakeMapi::End(const std::string& kind) {
  --live_[kind];
  calls_.push_back("~" + kind);
}

HRESULT FakeMapi::Answer(const std::string& name) {
  const auto fault = faults_.find(name);
  if (fault == faults_.end()) return S_OK;
  ++fault->second.calls;
  const int nth = fault->second.nth;
  return nth == 0 || nth == fault->second.calls ? fault->second.result : S_OK;
}

}  // namespace support

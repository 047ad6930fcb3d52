// The list belongs to its appointment; a collection is a view of it and holds a reference to the appointment,
// so that the list stays as long as anybody looks at it. Changes show in every collection at once and reach
// the store with the appointment's Save, which writes all recipients anew in their order: they are few, and
// have no ids by which they could be told apart.

#include "platform/device/pim/recipients.h"

#include <utility>

#include "platform/device/pim/item.h"
#include "platform/device/pim/objects.h"

namespace device {
namespace {

class Recipients final : public PimObject<IRecipients, IID_IRecipients> {
 public:
  Recipients(const ComPtr<IPOutlookApp>& application, const ComPtr<IDispatch>& owner,
             RecipientList& list)
      : application_(application), owner_(owner), list_(list) {}

  HRESULT Add(BSTR name, IRecipient** recipient) override {
    if (recipient == nullptr) return E_INVALIDARG;
    *recipient = nullptr;
    return Guarded([&] {
      list_.push_back(ComPtr<Recipient>(
          new Recipient(application_, ToUtf8({name, SysStringLen(name)}), std::string())));
      *recipient = ComPtr<Recipient>(list_.back()).release();
      return S_OK;
    });
  }

  HRESULT Item(int index, IRecipient** recipient) override {
    if (recipient == nullptr) return E_INVALIDARG;
    *recipient = nullptr;
    if (!IsIndex(index)) return E_INVALIDARG;
    *recipient = ComPtr<Recipient>(list_[static_cast<size_t>(index - 1)]).release();
    return S_OK;
  }

  HRESULT Remove(int index) override {
    if (!IsIndex(index)) return E_INVALIDARG;
    list_.erase(list_.begin() + (index - 1));
    return S_OK;
  }

  HRESULT get_Count(int* count) override { return Give(static_cast<int>(list_.size()), count); }

  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(application_, application);
  }

 private:
  bool IsIndex(int index) const { return index >= 1 && static_cast<size_t>(index) <= list_.size(); }

  const ComPtr<IPOutlookApp> application_;
  const ComPtr<IDispatch> owner_;
  RecipientList& list_;
};

}  // namespace

const char* RecipientsSchema() {
  return R"(
CREATE TABLE pim_recipients(
  oid INTEGER NOT NULL REFERENCES pim_objects(oid) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  address TEXT NOT NULL,
  PRIMARY KEY(oid, position)) WITHOUT ROWID;
)";
}

Recipient::Recipient(const ComPtr<IPOutlookApp>& application, std::string name, std::string address)
    : application_(application), name_(std::move(name)), address_(std::move(address)) {}

HRESULT Recipient::put_Address(BSTR value) {
  return Guarded([&] {
    address_ = ToUtf8({value, SysStringLen(value)});
    return S_OK;
  });
}

HRESULT Recipient::get_Address(BSTR* value) { return GiveText(address_, value); }
HRESULT Recipient::get_Name(BSTR* value) { return GiveText(name_, value); }
HRESULT Recipient::get_Application(IPOutlookApp** application) {
  return HandOut(application_, application);
}

HRESULT NewRecipients(const ComPtr<IPOutlookApp>& application, const ComPtr<IDispatch>& owner,
                      RecipientList& list, IRecipients** recipients) {
  if (recipients == nullptr) return E_INVALIDARG;
  *recipients = nullptr;
  return Guarded([&] {
    *recipients = new Recipients(application, owner, list);
    return S_OK;
  });
}

// Each recipient anew: those of a copy must not change with the original's.
RecipientList CopyRecipients(const ComPtr<IPOutlookApp>& application, const RecipientList& list) {
  RecipientList copy;
  for (const ComPtr<Recipient>& each : list) {
    copy.emplace_back(new Recipient(application, each->name(), each->address()));
  }
  return copy;
}

HRESULT LoadRecipients(Database& database, int32_t oid, const ComPtr<IPOutlookApp>& application,
                       RecipientList* list) {
  list->clear();
  Statement row =
      database.Prepare("SELECT name, address FROM pim_recipients WHERE oid = ? ORDER BY position");
  row.Bind(1, int64_t{oid});
  int step;
  while ((step = row.Step()) == SQLITE_ROW) {
    list->emplace_back(
        new Recipient(application, std::string(row.Bytes(0)), std::string(row.Bytes(1))));
  }
  return step == SQLITE_DONE ? S_OK : PimResult(step);
}

HRESULT SaveRecipients(Database& database, int32_t oid, const RecipientList& list) {
  Statement clear = database.Prepare("DELETE FROM pim_recipients WHERE oid = ?");
  if (!clear.Bind(1, int64_t{oid}).Run()) return PimResult(database.LastError());
  int64_t position = 0;
  for (const ComPtr<Recipient>& recipient : list) {
    Statement row = database.Prepare(
        "INSERT INTO pim_recipients(oid, position, name, address) VALUES(?, ?, ?, ?)");
    row.Bind(1, int64_t{oid}).Bind(2, ++position);
    row.BindUtf8(3, recipient->name());
    row.BindUtf8(4, recipient->address());
    if (!row.Run()) return PimResult(database.LastError());
  }
  return S_OK;
}

}  // namespace device

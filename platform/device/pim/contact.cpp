// A contact is its row of values. What is special about it is FileAs, the name that lists show: it is made of
// the names when the contact is saved, unless a program put one of its own.
//
// To know later whether the names have changed, a contact remembers those that its FileAs was last saved or
// loaded with, and not whether they were put: putting the name that was there changes nothing. The FileAs
// that was made shows once the save has succeeded; a save that fails takes it back.

#include "platform/device/pim/contact.h"

#include <optional>
#include <string>
#include <utility>

#include "platform/device/database.h"
#include "platform/device/pim/contact_table.h"
#include "platform/device/pim/item.h"
#include "platform/device/pim/objects.h"
#include "platform/device/pim/property_access.h"

namespace device {
namespace {

const PimStatements& Statements() {
  static const PimStatements kStatements(*ContactTable());
  return kStatements;
}

// "Last, First", or the one that there is.
std::string GeneratedFileAs(const std::string& last, const std::string& first,
                            const std::string& company) {
  if (last.empty() && first.empty()) return company;
  if (last.empty()) return first;
  return first.empty() ? last : last + ", " + first;
}

// The values in memory, and how they come from and go to the contact's row.
class Contact final : public PimItem<IContact, IID_IContact, ContactProperty> {
 public:
  using Property = ContactProperty;

  explicit Contact(const PimSession& session);

  // Takes the values of the row with an object id; kNoSuchItem when there is none.
  HRESULT Load(int32_t oid);

#define PROPERTY(name, column, kind, access) PIM_ACCESS_##access(name, kind)
#include "platform/device/pim/contact_properties.inc"
  HRESULT put_FileAs(BSTR value) override;

  HRESULT Save() override;
  HRESULT Delete() override;
  HRESULT Copy(IContact** copy) override;

 private:
  // What the generated FileAs depends on.
  struct Names {
    std::string last;
    std::string first;
    std::string company;  // empty unless both others are

    bool operator==(const Names&) const = default;
  };

  Names CurrentNames() const;
  std::string FileAsToSave() const;
  HRESULT Write();

  std::optional<Names> saved_names_;  // those that FileAs was last saved with, if ever
  bool is_file_as_put_ = false;       // since the last Save
};

Contact::Contact(const PimSession& session) : PimItem(session, Statements()) {}

HRESULT Contact::Load(int32_t oid) {
  if (HRESULT hr = LoadRow(oid); FAILED(hr)) return hr;
  oid_ = oid;
  saved_names_ = CurrentNames();
  return S_OK;
}

HRESULT Contact::Save() {
  return Guarded([this] {
    Names names = CurrentNames();
    // The row is written from the values, so FileAs stands among them meanwhile.
    std::string file_as = FileAsToSave();
    std::swap(Text(Property::kFileAs), file_as);
    const HRESULT hr = Write();
    if (FAILED(hr)) {
      std::swap(Text(Property::kFileAs), file_as);
      return hr;
    }
    saved_names_ = std::move(names);
    is_file_as_put_ = false;
    return hr;
  });
}

HRESULT Contact::Write() {
  Transaction transaction(database());
  if (!transaction.is_open()) return PimResult(database().LastError());
  int32_t oid = oid_;
  if (HRESULT hr = WriteRow(values_, olFolderContacts, &oid); FAILED(hr)) return hr;
  return Commit(transaction, oid);
}

HRESULT Contact::Delete() { return DeleteRow(); }

HRESULT Contact::Copy(IContact** copy) {
  if (copy == nullptr) return E_INVALIDARG;
  *copy = nullptr;
  return Guarded([&] {
    ComPtr<Contact> contact(new Contact(session_));
    contact->values_ = values_;
    contact->saved_names_ = saved_names_;
    contact->is_file_as_put_ = is_file_as_put_;
    *copy = contact.release();
    return S_OK;
  });
}

HRESULT Contact::put_FileAs(BSTR value) {
  const HRESULT hr = PutText(Property::kFileAs, value);
  if (SUCCEEDED(hr)) is_file_as_put_ = true;
  return hr;
}

Contact::Names Contact::CurrentNames() const {
  Names names = {Text(Property::kLastName), Text(Property::kFirstName), {}};
  if (names.last.empty() && names.first.empty()) names.company = Text(Property::kCompanyName);
  return names;
}

// A FileAs that was put is kept until the Save. Later it follows the names again, once they change.
std::string Contact::FileAsToSave() const {
  const Names names = CurrentNames();
  if (is_file_as_put_ || saved_names_ == names) return Text(Property::kFileAs);
  return GeneratedFileAs(names.last, names.first, names.company);
}

}  // namespace

HRESULT NewContact(const PimSession& session, IDispatch** item) {
  return Guarded([&] {
    *item = new Contact(session);
    return S_OK;
  });
}

HRESULT LoadContact(const PimSession& session, int32_t oid, IDispatch** item) {
  return Guarded([&] {
    ComPtr<Contact> contact(new Contact(session));
    const HRESULT hr = contact->Load(oid);
    if (SUCCEEDED(hr)) *item = contact.release();
    return hr;
  });
}

}  // namespace device

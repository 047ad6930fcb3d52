// The recipients of an appointment: a list in memory, its collection, and its rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/api/pimstore.h"
#include "platform/device/database.h"
#include "platform/device/pim/object.h"

namespace device {

// The table pim_recipients.
const char* RecipientsSchema();

class Recipient final : public PimObject<IRecipient, IID_IRecipient> {
 public:
  Recipient(const ComPtr<IPOutlookApp>& application, std::string name, std::string address);

  HRESULT put_Address(BSTR value) override;
  HRESULT get_Address(BSTR* value) override;
  HRESULT get_Name(BSTR* value) override;
  HRESULT get_Application(IPOutlookApp** application) override;

  const std::string& name() const { return name_; }
  const std::string& address() const { return address_; }

 private:
  const ComPtr<IPOutlookApp> application_;
  const std::string name_;
  std::string address_;
};

// In the order in which they were added.
using RecipientList = std::vector<ComPtr<Recipient>>;

// A collection that shows and changes a list. The list is a part of the owner, which the collection
// keeps alive.
HRESULT NewRecipients(const ComPtr<IPOutlookApp>& application, const ComPtr<IDispatch>& owner,
                      RecipientList& list, IRecipients** recipients);

// Recipients of their own with the same names and addresses.
RecipientList CopyRecipients(const ComPtr<IPOutlookApp>& application, const RecipientList& list);

HRESULT LoadRecipients(Database& database, int32_t oid, const ComPtr<IPOutlookApp>& application,
                       RecipientList* list);

// Writes the list of an appointment over what it had, in the caller's transaction.
HRESULT SaveRecipients(Database& database, int32_t oid, const RecipientList& list);

}  // namespace device

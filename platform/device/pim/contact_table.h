// The properties of a contact: 2 dates and 45 texts, in the order in which IContact declares them.
#pragma once

#include <cstddef>

#include "platform/device/pim/table.h"

namespace device {

// Each names the row of the same place in ContactTable().properties.
enum class ContactProperty : size_t {
  kBirthday,
  kAnniversary,
  kBusinessFaxNumber,
  kCompanyName,
  kDepartment,
  kEmail1Address,
  kMobileTelephoneNumber,
  kOfficeLocation,
  kPagerNumber,
  kBusinessTelephoneNumber,
  kJobTitle,
  kHomeTelephoneNumber,
  kEmail2Address,
  kSpouse,
  kEmail3Address,
  kHome2TelephoneNumber,
  kHomeFaxNumber,
  kCarTelephoneNumber,
  kAssistantName,
  kAssistantTelephoneNumber,
  kChildren,
  kCategories,
  kWebPage,
  kBusiness2TelephoneNumber,
  kTitle,
  kFirstName,
  kMiddleName,
  kLastName,
  kSuffix,
  kHomeAddressStreet,
  kHomeAddressCity,
  kHomeAddressState,
  kHomeAddressPostalCode,
  kHomeAddressCountry,
  kOtherAddressStreet,
  kOtherAddressCity,
  kOtherAddressState,
  kOtherAddressPostalCode,
  kOtherAddressCountry,
  kBusinessAddressStreet,
  kBusinessAddressCity,
  kBusinessAddressState,
  kBusinessAddressPostalCode,
  kBusinessAddressCountry,
  kRadioTelephoneNumber,
  kFileAs,
  kBody,
};

constexpr size_t Index(ContactProperty property) { return static_cast<size_t>(property); }

inline constexpr size_t kContactPropertyCount = 47;

const PimTable* ContactTable();

}  // namespace device

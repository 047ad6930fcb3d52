// The contact's object: the values in memory, and how they come from and go to the contact's row.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/api/pimstore.h"
#include "platform/device/pim/contact_table.h"
#include "platform/device/pim/item.h"

namespace device {

class Contact final : public PimItem<IContact, IID_IContact, ContactProperty> {
 public:
  using Property = ContactProperty;

  explicit Contact(const PimSession& session);

  // Takes the values of the row with an object id; kNoSuchItem when there is none.
  HRESULT Load(int32_t oid);

  HRESULT get_Birthday(DATE* value) override { return GetDate(Property::kBirthday, value); }
  HRESULT get_Anniversary(DATE* value) override { return GetDate(Property::kAnniversary, value); }
  HRESULT get_BusinessFaxNumber(BSTR* value) override {
    return GetText(Property::kBusinessFaxNumber, value);
  }
  HRESULT get_CompanyName(BSTR* value) override { return GetText(Property::kCompanyName, value); }
  HRESULT get_Department(BSTR* value) override { return GetText(Property::kDepartment, value); }
  HRESULT get_Email1Address(BSTR* value) override {
    return GetText(Property::kEmail1Address, value);
  }
  HRESULT get_MobileTelephoneNumber(BSTR* value) override {
    return GetText(Property::kMobileTelephoneNumber, value);
  }
  HRESULT get_OfficeLocation(BSTR* value) override {
    return GetText(Property::kOfficeLocation, value);
  }
  HRESULT get_PagerNumber(BSTR* value) override { return GetText(Property::kPagerNumber, value); }
  HRESULT get_BusinessTelephoneNumber(BSTR* value) override {
    return GetText(Property::kBusinessTelephoneNumber, value);
  }
  HRESULT get_JobTitle(BSTR* value) override { return GetText(Property::kJobTitle, value); }
  HRESULT get_HomeTelephoneNumber(BSTR* value) override {
    return GetText(Property::kHomeTelephoneNumber, value);
  }
  HRESULT get_Email2Address(BSTR* value) override {
    return GetText(Property::kEmail2Address, value);
  }
  HRESULT get_Spouse(BSTR* value) override { return GetText(Property::kSpouse, value); }
  HRESULT get_Email3Address(BSTR* value) override {
    return GetText(Property::kEmail3Address, value);
  }
  HRESULT get_Home2TelephoneNumber(BSTR* value) override {
    return GetText(Property::kHome2TelephoneNumber, value);
  }
  HRESULT get_HomeFaxNumber(BSTR* value) override {
    return GetText(Property::kHomeFaxNumber, value);
  }
  HRESULT get_CarTelephoneNumber(BSTR* value) override {
    return GetText(Property::kCarTelephoneNumber, value);
  }
  HRESULT get_AssistantName(BSTR* value) override {
    return GetText(Property::kAssistantName, value);
  }
  HRESULT get_AssistantTelephoneNumber(BSTR* value) override {
    return GetText(Property::kAssistantTelephoneNumber, value);
  }
  HRESULT get_Children(BSTR* value) override { return GetText(Property::kChildren, value); }
  HRESULT get_Categories(BSTR* value) override { return GetText(Property::kCategories, value); }
  HRESULT get_WebPage(BSTR* value) override { return GetText(Property::kWebPage, value); }
  HRESULT get_Business2TelephoneNumber(BSTR* value) override {
    return GetText(Property::kBusiness2TelephoneNumber, value);
  }
  HRESULT get_Title(BSTR* value) override { return GetText(Property::kTitle, value); }
  HRESULT get_FirstName(BSTR* value) override { return GetText(Property::kFirstName, value); }
  HRESULT get_MiddleName(BSTR* value) override { return GetText(Property::kMiddleName, value); }
  HRESULT get_LastName(BSTR* value) override { return GetText(Property::kLastName, value); }
  HRESULT get_Suffix(BSTR* value) override { return GetText(Property::kSuffix, value); }
  HRESULT get_HomeAddressStreet(BSTR* value) override {
    return GetText(Property::kHomeAddressStreet, value);
  }
  HRESULT get_HomeAddressCity(BSTR* value) override {
    return GetText(Property::kHomeAddressCity, value);
  }
  HRESULT get_HomeAddressState(BSTR* value) override {
    return GetText(Property::kHomeAddressState, value);
  }
  HRESULT get_HomeAddressPostalCode(BSTR* value) override {
    return GetText(Property::kHomeAddressPostalCode, value);
  }
  HRESULT get_HomeAddressCountry(BSTR* value) override {
    return GetText(Property::kHomeAddressCountry, value);
  }
  HRESULT get_OtherAddressStreet(BSTR* value) override {
    return GetText(Property::kOtherAddressStreet, value);
  }
  HRESULT get_OtherAddressCity(BSTR* value) override {
    return GetText(Property::kOtherAddressCity, value);
  }
  HRESULT get_OtherAddressState(BSTR* value) override {
    return GetText(Property::kOtherAddressState, value);
  }
  HRESULT get_OtherAddressPostalCode(BSTR* value) override {
    return GetText(Property::kOtherAddressPostalCode, value);
  }
  HRESULT get_OtherAddressCountry(BSTR* value) override {
    return GetText(Property::kOtherAddressCountry, value);
  }
  HRESULT get_BusinessAddressStreet(BSTR* value) override {
    return GetText(Property::kBusinessAddressStreet, value);
  }
  HRESULT get_BusinessAddressCity(BSTR* value) override {
    return GetText(Property::kBusinessAddressCity, value);
  }
  HRESULT get_BusinessAddressState(BSTR* value) override {
    return GetText(Property::kBusinessAddressState, value);
  }
  HRESULT get_BusinessAddressPostalCode(BSTR* value) override {
    return GetText(Property::kBusinessAddressPostalCode, value);
  }
  HRESULT get_BusinessAddressCountry(BSTR* value) override {
    return GetText(Property::kBusinessAddressCountry, value);
  }
  HRESULT get_RadioTelephoneNumber(BSTR* value) override {
    return GetText(Property::kRadioTelephoneNumber, value);
  }
  HRESULT get_FileAs(BSTR* value) override { return GetText(Property::kFileAs, value); }
  HRESULT get_Body(BSTR* value) override { return GetText(Property::kBody, value); }
  HRESULT put_Birthday(DATE value) override { return PutDay(Property::kBirthday, value); }
  HRESULT put_Anniversary(DATE value) override { return PutDay(Property::kAnniversary, value); }
  HRESULT put_BusinessFaxNumber(BSTR value) override {
    return PutText(Property::kBusinessFaxNumber, value);
  }
  HRESULT put_CompanyName(BSTR value) override { return PutText(Property::kCompanyName, value); }
  HRESULT put_Department(BSTR value) override { return PutText(Property::kDepartment, value); }
  HRESULT put_Email1Address(BSTR value) override {
    return PutText(Property::kEmail1Address, value);
  }
  HRESULT put_MobileTelephoneNumber(BSTR value) override {
    return PutText(Property::kMobileTelephoneNumber, value);
  }
  HRESULT put_OfficeLocation(BSTR value) override {
    return PutText(Property::kOfficeLocation, value);
  }
  HRESULT put_PagerNumber(BSTR value) override { return PutText(Property::kPagerNumber, value); }
  HRESULT put_BusinessTelephoneNumber(BSTR value) override {
    return PutText(Property::kBusinessTelephoneNumber, value);
  }
  HRESULT put_JobTitle(BSTR value) override { return PutText(Property::kJobTitle, value); }
  HRESULT put_HomeTelephoneNumber(BSTR value) override {
    return PutText(Property::kHomeTelephoneNumber, value);
  }
  HRESULT put_Email2Address(BSTR value) override {
    return PutText(Property::kEmail2Address, value);
  }
  HRESULT put_Spouse(BSTR value) override { return PutText(Property::kSpouse, value); }
  HRESULT put_Email3Address(BSTR value) override {
    return PutText(Property::kEmail3Address, value);
  }
  HRESULT put_Home2TelephoneNumber(BSTR value) override {
    return PutText(Property::kHome2TelephoneNumber, value);
  }
  HRESULT put_HomeFaxNumber(BSTR value) override {
    return PutText(Property::kHomeFaxNumber, value);
  }
  HRESULT put_CarTelephoneNumber(BSTR value) override {
    return PutText(Property::kCarTelephoneNumber, value);
  }
  HRESULT put_AssistantName(BSTR value) override {
    return PutText(Property::kAssistantName, value);
  }
  HRESULT put_AssistantTelephoneNumber(BSTR value) override {
    return PutText(Property::kAssistantTelephoneNumber, value);
  }
  HRESULT put_Children(BSTR value) override { return PutText(Property::kChildren, value); }
  HRESULT put_Categories(BSTR value) override { return PutText(Property::kCategories, value); }
  HRESULT put_WebPage(BSTR value) override { return PutText(Property::kWebPage, value); }
  HRESULT put_Business2TelephoneNumber(BSTR value) override {
    return PutText(Property::kBusiness2TelephoneNumber, value);
  }
  HRESULT put_Title(BSTR value) override { return PutText(Property::kTitle, value); }
  HRESULT put_FirstName(BSTR value) override { return PutText(Property::kFirstName, value); }
  HRESULT put_MiddleName(BSTR value) override { return PutText(Property::kMiddleName, value); }
  HRESULT put_LastName(BSTR value) override { return PutText(Property::kLastName, value); }
  HRESULT put_Suffix(BSTR value) override { return PutText(Property::kSuffix, value); }
  HRESULT put_HomeAddressStreet(BSTR value) override {
    return PutText(Property::kHomeAddressStreet, value);
  }
  HRESULT put_HomeAddressCity(BSTR value) override {
    return PutText(Property::kHomeAddressCity, value);
  }
  HRESULT put_HomeAddressState(BSTR value) override {
    return PutText(Property::kHomeAddressState, value);
  }
  HRESULT put_HomeAddressPostalCode(BSTR value) override {
    return PutText(Property::kHomeAddressPostalCode, value);
  }
  HRESULT put_HomeAddressCountry(BSTR value) override {
    return PutText(Property::kHomeAddressCountry, value);
  }
  HRESULT put_OtherAddressStreet(BSTR value) override {
    return PutText(Property::kOtherAddressStreet, value);
  }
  HRESULT put_OtherAddressCity(BSTR value) override {
    return PutText(Property::kOtherAddressCity, value);
  }
  HRESULT put_OtherAddressState(BSTR value) override {
    return PutText(Property::kOtherAddressState, value);
  }
  HRESULT put_OtherAddressPostalCode(BSTR value) override {
    return PutText(Property::kOtherAddressPostalCode, value);
  }
  HRESULT put_OtherAddressCountry(BSTR value) override {
    return PutText(Property::kOtherAddressCountry, value);
  }
  HRESULT put_BusinessAddressStreet(BSTR value) override {
    return PutText(Property::kBusinessAddressStreet, value);
  }
  HRESULT put_BusinessAddressCity(BSTR value) override {
    return PutText(Property::kBusinessAddressCity, value);
  }
  HRESULT put_BusinessAddressState(BSTR value) override {
    return PutText(Property::kBusinessAddressState, value);
  }
  HRESULT put_BusinessAddressPostalCode(BSTR value) override {
    return PutText(Property::kBusinessAddressPostalCode, value);
  }
  HRESULT put_BusinessAddressCountry(BSTR value) override {
    return PutText(Property::kBusinessAddressCountry, value);
  }
  HRESULT put_RadioTelephoneNumber(BSTR value) override {
    return PutText(Property::kRadioTelephoneNumber, value);
  }
  HRESULT put_FileAs(BSTR value) override;
  HRESULT put_Body(BSTR value) override { return PutText(Property::kBody, value); }

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
  HRESULT Write(int32_t* oid);

  std::optional<Names> saved_names_;  // those that FileAs was last saved with, if ever
  bool is_file_as_put_ = false;       // since the last Save
};

}  // namespace device

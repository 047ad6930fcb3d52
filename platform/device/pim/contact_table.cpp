#include "platform/device/pim/contact_table.h"

namespace device {
namespace {

using Kind = PimPropertyKind;

constexpr PimProperty kProperties[] = {
    {"Birthday", "birthday", Kind::kDate},
    {"Anniversary", "anniversary", Kind::kDate},
    {"BusinessFaxNumber", "business_fax_number", Kind::kText},
    {"CompanyName", "company_name", Kind::kText},
    {"Department", "department", Kind::kText},
    {"Email1Address", "email1_address", Kind::kText},
    {"MobileTelephoneNumber", "mobile_telephone_number", Kind::kText},
    {"OfficeLocation", "office_location", Kind::kText},
    {"PagerNumber", "pager_number", Kind::kText},
    {"BusinessTelephoneNumber", "business_telephone_number", Kind::kText},
    {"JobTitle", "job_title", Kind::kText},
    {"HomeTelephoneNumber", "home_telephone_number", Kind::kText},
    {"Email2Address", "email2_address", Kind::kText},
    {"Spouse", "spouse", Kind::kText},
    {"Email3Address", "email3_address", Kind::kText},
    {"Home2TelephoneNumber", "home2_telephone_number", Kind::kText},
    {"HomeFaxNumber", "home_fax_number", Kind::kText},
    {"CarTelephoneNumber", "car_telephone_number", Kind::kText},
    {"AssistantName", "assistant_name", Kind::kText},
    {"AssistantTelephoneNumber", "assistant_telephone_number", Kind::kText},
    {"Children", "children", Kind::kText},
    {"Categories", "categories", Kind::kCategories},
    {"WebPage", "web_page", Kind::kText},
    {"Business2TelephoneNumber", "business2_telephone_number", Kind::kText},
    {"Title", "title", Kind::kText},
    {"FirstName", "first_name", Kind::kText},
    {"MiddleName", "middle_name", Kind::kText},
    {"LastName", "last_name", Kind::kText},
    {"Suffix", "suffix", Kind::kText},
    {"HomeAddressStreet", "home_address_street", Kind::kText},
    {"HomeAddressCity", "home_address_city", Kind::kText},
    {"HomeAddressState", "home_address_state", Kind::kText},
    {"HomeAddressPostalCode", "home_address_postal_code", Kind::kText},
    {"HomeAddressCountry", "home_address_country", Kind::kText},
    {"OtherAddressStreet", "other_address_street", Kind::kText},
    {"OtherAddressCity", "other_address_city", Kind::kText},
    {"OtherAddressState", "other_address_state", Kind::kText},
    {"OtherAddressPostalCode", "other_address_postal_code", Kind::kText},
    {"OtherAddressCountry", "other_address_country", Kind::kText},
    {"BusinessAddressStreet", "business_address_street", Kind::kText},
    {"BusinessAddressCity", "business_address_city", Kind::kText},
    {"BusinessAddressState", "business_address_state", Kind::kText},
    {"BusinessAddressPostalCode", "business_address_postal_code", Kind::kText},
    {"BusinessAddressCountry", "business_address_country", Kind::kText},
    {"RadioTelephoneNumber", "radio_telephone_number", Kind::kText},
    {"FileAs", "file_as", Kind::kText},
    {"Body", "body", Kind::kText},
};

constexpr std::string_view kNameColumns[] = {"last_name", "first_name", "middle_name", "title",
                                             "suffix"};

static_assert(std::size(kProperties) == kContactPropertyCount);
static_assert(kProperties[Index(ContactProperty::kAnniversary)].name == "Anniversary");
static_assert(kProperties[Index(ContactProperty::kCategories)].name == "Categories");
static_assert(kProperties[Index(ContactProperty::kBody)].name == "Body");

}  // namespace

const PimTable* ContactTable() {
  static constexpr PimTable kTable = {"pim_contacts", kProperties, kNameColumns};
  return &kTable;
}

}  // namespace device

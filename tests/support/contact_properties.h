// The texts of a contact, each with the calls that get and put it: written out here once more, so that what the
// device and the adapters make of the names of properties is compared with something else than itself.
#pragma once

#include "platform/api/pimstore.h"

namespace support {

struct TextProperty {
  const char* name;
  const char* column;  // of the device's table
  HRESULT (IContact::*getter)(BSTR*);
  HRESULT (IContact::*setter)(BSTR);
};

inline constexpr TextProperty kTextProperties[] = {
    {"BusinessFaxNumber", "business_fax_number", &IContact::get_BusinessFaxNumber,
     &IContact::put_BusinessFaxNumber},
    {"CompanyName", "company_name", &IContact::get_CompanyName, &IContact::put_CompanyName},
    {"Department", "department", &IContact::get_Department, &IContact::put_Department},
    {"Email1Address", "email1_address", &IContact::get_Email1Address, &IContact::put_Email1Address},
    {"MobileTelephoneNumber", "mobile_telephone_number", &IContact::get_MobileTelephoneNumber,
     &IContact::put_MobileTelephoneNumber},
    {"OfficeLocation", "office_location", &IContact::get_OfficeLocation,
     &IContact::put_OfficeLocation},
    {"PagerNumber", "pager_number", &IContact::get_PagerNumber, &IContact::put_PagerNumber},
    {"BusinessTelephoneNumber", "business_telephone_number", &IContact::get_BusinessTelephoneNumber,
     &IContact::put_BusinessTelephoneNumber},
    {"JobTitle", "job_title", &IContact::get_JobTitle, &IContact::put_JobTitle},
    {"HomeTelephoneNumber", "home_telephone_number", &IContact::get_HomeTelephoneNumber,
     &IContact::put_HomeTelephoneNumber},
    {"Email2Address", "email2_address", &IContact::get_Email2Address, &IContact::put_Email2Address},
    {"Spouse", "spouse", &IContact::get_Spouse, &IContact::put_Spouse},
    {"Email3Address", "email3_address", &IContact::get_Email3Address, &IContact::put_Email3Address},
    {"Home2TelephoneNumber", "home2_telephone_number", &IContact::get_Home2TelephoneNumber,
     &IContact::put_Home2TelephoneNumber},
    {"HomeFaxNumber", "home_fax_number", &IContact::get_HomeFaxNumber,
     &IContact::put_HomeFaxNumber},
    {"CarTelephoneNumber", "car_telephone_number", &IContact::get_CarTelephoneNumber,
     &IContact::put_CarTelephoneNumber},
    {"AssistantName", "assistant_name", &IContact::get_AssistantName, &IContact::put_AssistantName},
    {"AssistantTelephoneNumber", "assistant_telephone_number",
     &IContact::get_AssistantTelephoneNumber, &IContact::put_AssistantTelephoneNumber},
    {"Children", "children", &IContact::get_Children, &IContact::put_Children},
    {"Categories", "categories", &IContact::get_Categories, &IContact::put_Categories},
    {"WebPage", "web_page", &IContact::get_WebPage, &IContact::put_WebPage},
    {"Business2TelephoneNumber", "business2_telephone_number",
     &IContact::get_Business2TelephoneNumber, &IContact::put_Business2TelephoneNumber},
    {"Title", "title", &IContact::get_Title, &IContact::put_Title},
    {"FirstName", "first_name", &IContact::get_FirstName, &IContact::put_FirstName},
    {"MiddleName", "middle_name", &IContact::get_MiddleName, &IContact::put_MiddleName},
    {"LastName", "last_name", &IContact::get_LastName, &IContact::put_LastName},
    {"Suffix", "suffix", &IContact::get_Suffix, &IContact::put_Suffix},
    {"HomeAddressStreet", "home_address_street", &IContact::get_HomeAddressStreet,
     &IContact::put_HomeAddressStreet},
    {"HomeAddressCity", "home_address_city", &IContact::get_HomeAddressCity,
     &IContact::put_HomeAddressCity},
    {"HomeAddressState", "home_address_state", &IContact::get_HomeAddressState,
     &IContact::put_HomeAddressState},
    {"HomeAddressPostalCode", "home_address_postal_code", &IContact::get_HomeAddressPostalCode,
     &IContact::put_HomeAddressPostalCode},
    {"HomeAddressCountry", "home_address_country", &IContact::get_HomeAddressCountry,
     &IContact::put_HomeAddressCountry},
    {"OtherAddressStreet", "other_address_street", &IContact::get_OtherAddressStreet,
     &IContact::put_OtherAddressStreet},
    {"OtherAddressCity", "other_address_city", &IContact::get_OtherAddressCity,
     &IContact::put_OtherAddressCity},
    {"OtherAddressState", "other_address_state", &IContact::get_OtherAddressState,
     &IContact::put_OtherAddressState},
    {"OtherAddressPostalCode", "other_address_postal_code", &IContact::get_OtherAddressPostalCode,
     &IContact::put_OtherAddressPostalCode},
    {"OtherAddressCountry", "other_address_country", &IContact::get_OtherAddressCountry,
     &IContact::put_OtherAddressCountry},
    {"BusinessAddressStreet", "business_address_street", &IContact::get_BusinessAddressStreet,
     &IContact::put_BusinessAddressStreet},
    {"BusinessAddressCity", "business_address_city", &IContact::get_BusinessAddressCity,
     &IContact::put_BusinessAddressCity},
    {"BusinessAddressState", "business_address_state", &IContact::get_BusinessAddressState,
     &IContact::put_BusinessAddressState},
    {"BusinessAddressPostalCode", "business_address_postal_code",
     &IContact::get_BusinessAddressPostalCode, &IContact::put_BusinessAddressPostalCode},
    {"BusinessAddressCountry", "business_address_country", &IContact::get_BusinessAddressCountry,
     &IContact::put_BusinessAddressCountry},
    {"RadioTelephoneNumber", "radio_telephone_number", &IContact::get_RadioTelephoneNumber,
     &IContact::put_RadioTelephoneNumber},
    {"FileAs", "file_as", &IContact::get_FileAs, &IContact::put_FileAs},
    {"Body", "body", &IContact::get_Body, &IContact::put_Body},
};

}  // namespace support

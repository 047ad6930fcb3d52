#include "btosif/osif_generators/vcard_writer.h"

#include "btosif/osif_generators/property_writer.h"
#include "config/bt_config_settings.h"

namespace {

struct PropertyRow {
  const char* name;
  PropertyValue* OsifContact::*list;
  bool required;
};

constexpr PropertyRow kCommonProperties[] = {
    {"N", &OsifContact::n, true},
    {"FN", &OsifContact::fn, false},
    {"NICKNAME", &OsifContact::nickname, false},
    {"BDAY", &OsifContact::bday, false},
    {"ADR", &OsifContact::adr, false},
    {"ORG", &OsifContact::org, false},
    {"TITLE", &OsifContact::title, false},
    {"ROLE", &OsifContact::role, false},
    {"TEL", &OsifContact::tel, false},
    {"URL", &OsifContact::url, false},
    {"EMAIL", &OsifContact::email, false},
    {"NOTE", &OsifContact::note, false},
    {"X-SPOUSE", &OsifContact::xSpouse, false},
    {"X-ANNIVERSARY", &OsifContact::xAnniversary, false},
    {"X-CHILDREN", &OsifContact::xChildren, false},
    {"X-ASSISTANT", &OsifContact::xAssistant, false},
    {"X-CAT", &OsifContact::xCat, false},
};

// Most of these go out a second time under another name, for receivers that know only one of the two.
constexpr PropertyRow kVendorProperties[] = {
    {"DEPT", &OsifContact::dept, false},
    {"X-MICROSOFT-OFFICELOC", &OsifContact::xMicrosoftOfficeloc, false},
    {"X-MICROSOFT-ASSISTANT", &OsifContact::xAssistant, false},
    {"X-MICROSOFT-ASST_TEL", &OsifContact::xMicrosoftAsstTel, false},
    {"SPOUSE", &OsifContact::xSpouse, false},
    {"CHILDREN", &OsifContact::xChildren, false},
    {"CATEGORIES", &OsifContact::xCat, false},
    {"ANNIVERSARY", &OsifContact::xAnniversary, false},
};

template <size_t kCount>
void WriteLists(OsifStream& stream, const OsifContact& contact, const PropertyRow (&rows)[kCount]) {
  for (const PropertyRow& row : rows) {
    WritePropertyList(stream, row.name, contact.*row.list, row.required);
  }
}

}  // namespace

OsifResult VCard_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid) {
  WritePropertyLine(stream, "BEGIN", "", "VCARD");
  WritePropertyLine(stream, "VERSION", "", object.version);
  WriteLists(stream, object.contact, kCommonProperties);
  if (SendsVendorProperties()) WriteLists(stream, object.contact, kVendorProperties);
  if (write_luid != 0 && object.xIrmcLuid[0] != '\0') {
    WritePropertyLine(stream, "X-IRMC-LUID", "", object.xIrmcLuid);
  }
  WritePropertyLine(stream, "END", "", "VCARD");
  return OSIF_OK;
}

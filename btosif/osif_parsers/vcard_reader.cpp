// A card is read line by line: each property's row in the table says which of the record's lists its value is
// appended to, still encoded. A few properties are more than that: DEPT is the second component of the
// organisation, whichever of the two comes first, and the assistant's telephone is a telephone that carries its
// kind as a parameter.
//
// What is inside a nested object is not stored, but a name there is enough for the card to be taken.
#include "btosif/osif_parsers/vcard_reader.h"

#include "btosif/osif_parsers/object_loop.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_parsers/property_table.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "config/trace.h"

namespace {

constexpr double kNewestVersion = 2.1;
constexpr std::string_view kAssumedVersion = "2.1";
constexpr std::string_view kAssistantParam = "X-ASSISTANT";
constexpr const char* kNoBegin = "OSIF:  Error - vCard does not have a BEGIN tag";

struct PropertyRow {
  std::string_view name;
  VCardProperty property;
  PropertyValue* OsifContact::*list;  // where its values go; null for what is no list
  size_t components;
};

constexpr PropertyRow kProperties[] = {
    {"BEGIN", VCardProperty::kBegin, nullptr, 0},
    {"X-IRMC-LUID", VCardProperty::kLuid, nullptr, 0},
    {"VERSION", VCardProperty::kVersion, nullptr, 0},
    {"N", VCardProperty::kN, &OsifContact::n, 5},
    {"FN", VCardProperty::kFn, &OsifContact::fn, 1},
    {"BDAY", VCardProperty::kBday, &OsifContact::bday, 1},
    {"ADR", VCardProperty::kAdr, &OsifContact::adr, 7},
    {"ORG", VCardProperty::kOrg, &OsifContact::org, 2},
    {"TITLE", VCardProperty::kTitle, &OsifContact::title, 1},
    {"TEL", VCardProperty::kTel, &OsifContact::tel, 1},
    {"URL", VCardProperty::kUrl, &OsifContact::url, 1},
    {"EMAIL", VCardProperty::kEmail, &OsifContact::email, 1},
    {"END", VCardProperty::kEnd, nullptr, 0},
    {"NOTE", VCardProperty::kNote, &OsifContact::note, 1},
    {"NICKNAME", VCardProperty::kNickname, &OsifContact::nickname, 1},
    {"ROLE", VCardProperty::kRole, &OsifContact::role, 1},
    {"X-SPOUSE", VCardProperty::kSpouse, &OsifContact::xSpouse, 1},
    {"SPOUSE", VCardProperty::kSpouse, &OsifContact::xSpouse, 1},
    {"X-CHILDREN", VCardProperty::kChildren, &OsifContact::xChildren, 1},
    {"CHILDREN", VCardProperty::kChildren, &OsifContact::xChildren, 1},
    {"X-ASSISTANT", VCardProperty::kAssistant, &OsifContact::xAssistant, 1},
    {"X-MICROSOFT-ASSISTANT", VCardProperty::kAssistant, &OsifContact::xAssistant, 1},
    {"X-ANNIVERSARY", VCardProperty::kAnniversary, &OsifContact::xAnniversary, 1},
    {"ANNIVERSARY", VCardProperty::kAnniversary, &OsifContact::xAnniversary, 1},
    {"X-CAT", VCardProperty::kCategories, &OsifContact::xCat, 1},
    {"CATEGORIES", VCardProperty::kCategories, &OsifContact::xCat, 1},
    {"DEPT", VCardProperty::kDepartment, &OsifContact::org, 2},
    {"X-MICROSOFT-ASST_TEL", VCardProperty::kAssistantTelephone, &OsifContact::tel, 1},
    {"X-MICROSOFT-OFFICELOC", VCardProperty::kOfficeLocation, &OsifContact::xMicrosoftOfficeloc, 1},
};
constexpr PropertyTable kTable(kProperties);

constexpr CursorRules kRules = {"OSIF:  Warning - Parser encounted a blank line in vCard",
                                "OSIF:  Warning - Parser encountered unknown property: '%s'",
                                Nesting::kSkipped};

constexpr PropertyLine::Shortage kShortage = PropertyLine::Shortage::kAsserted;

// Reads the properties of one vCard into a record.
class CardReader {
 public:
  CardReader(OsifStream& stream, OsifObject& object) : cursor_(stream, line_), object_(object) {}

  OsifResult Read();

 private:
  void Take(const PropertyRow& row);
  void TakeVersion();
  void AppendValue(const PropertyRow& row, std::string_view params);
  PropertyValue* FirstOrganisation();
  OsifResult Finish();

  PropertyLine line_{kShortage};
  ObjectCursor<kTable, kRules> cursor_;
  OsifObject& object_;
  bool has_version_ = false;
};

OsifResult CardReader::Read() {
  if (!line_.has_buffers()) return OSIF_ERR_NO_MEMORY;
  while (const PropertyRow* row = cursor_.NextRow()) Take(*row);
  return Finish();
}

void CardReader::Take(const PropertyRow& row) {
  switch (row.property) {
    case VCardProperty::kLuid:
      CopyBounded(object_.xIrmcLuid, line_.value());
      break;
    case VCardProperty::kVersion:
      TakeVersion();
      break;
    case VCardProperty::kOrg:
      if (PropertyValue* organisation = FirstOrganisation()) {
        PropertyValue_Parse(line_.value(), line_.params(), row.components, *organisation);
      }
      break;
    case VCardProperty::kDepartment:
      PropertyValue_SetComponent(FirstOrganisation(), line_.value(), 1);
      break;
    case VCardProperty::kAssistantTelephone:
      AppendValue(row, kAssistantParam);
      break;
    default:
      AppendValue(row, line_.params());
      break;
  }
}

void CardReader::TakeVersion() {
  has_version_ = true;
  CopyBounded(object_.version, line_.value());
  if (IsSupportedVersion(object_.version, kNewestVersion)) return;
  OSIF_Trace(0, "OSIF:  Error - vCard version '%s' is not supported", object_.version);
  cursor_.Refuse();
  cursor_.End();
}

void CardReader::AppendValue(const PropertyRow& row, std::string_view params) {
  cursor_.Append(row, params, row.components, object_.contact.*row.list);
}

PropertyValue* CardReader::FirstOrganisation() {
  PropertyValue*& organisation = object_.contact.org;
  return organisation != nullptr ? organisation : PropertyValue_Append(organisation);
}

OsifResult CardReader::Finish() {
  if (!has_version_) {
    OSIF_Trace(0, "OSIF:  WARNING - vCard missing VERSION property.  Assuming '2.1'.");
    CopyBounded(object_.version, kAssumedVersion);
  }
  if (!cursor_.HasMet(VCardProperty::kN) || !cursor_.has_ended()) {
    OSIF_Trace(0,
               "OSIF:  Error - vCard missing END tago or does not contain required VERSION or N "
               "properties");
    cursor_.Refuse();
  }
  return cursor_.result();
}

}  // namespace

VCardProperty PropertyIndex(std::string_view name) {
  const PropertyRow* row = kTable.Find(name);
  return row == nullptr ? VCardProperty::kUnknown : row->property;
}

OsifResult VCard_ReadOne(OsifStream& stream, OsifObject& object) {
  return CardReader(stream, object).Read();
}

OsifResult VCard_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context) {
  ObjectDelivery delivery(OSIF_STORE_PB, callback, context);
  // What a BEGIN line names is not looked at here.
  const auto begins = [](const PropertyLine& line) {
    return PropertyIndex(line.name()) == VCardProperty::kBegin;
  };
  const auto read = [&](PropertyLine&) {
    const OsifResult result = VCard_ReadOne(stream, delivery.object());
    if (IsRead(result)) delivery.Deliver(result);
    return result;
  };
  return ReadEachObject(stream, delivery, kNoBegin, begins, read, kShortage);
}

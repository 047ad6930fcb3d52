// Each property's row says which of the record's lists its value is appended to, still encoded. A note needs a
// VERSION, be it that of an object inside it.
#include "btosif/osif_parsers/vnote_reader.h"

#include "btosif/osif_parsers/object_loop.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_parsers/property_table.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "config/trace.h"

namespace {

constexpr double kNewestVersion = 1.1;
constexpr const char* kNoBegin = "OSIF:  Error - vNote does not have a BEGIN tag";

struct PropertyRow {
  std::string_view name;
  NoteProperty property;
  PropertyValue* OsifNote::*list = nullptr;  // where its values go; null for what is no list
};

constexpr PropertyRow kProperties[] = {
    {"BEGIN", NoteProperty::kBegin},
    {"X-IRMC-LUID", NoteProperty::kLuid},
    {"VERSION", NoteProperty::kVersion},
    {"DCREATED", NoteProperty::kDCreated, &OsifNote::dCreated},
    {"LAST-MODIFIED", NoteProperty::kLastModified, &OsifNote::lastModified},
    {"SUMMARY", NoteProperty::kSummary, &OsifNote::summary},
    {"BODY", NoteProperty::kBody, &OsifNote::body},
    {"CATEGORIES", NoteProperty::kCategories, &OsifNote::categories},
    {"CLASS", NoteProperty::kClass, &OsifNote::class_},
    {"END", NoteProperty::kEnd},
};
constexpr PropertyTable kTable(kProperties);

constexpr CursorRules kRules = {"OSIF:  Warning - Parser encounted a blank line in vNote",
                                "OSIF:  Warning - Parser encountered unknown property: '%s'",
                                Nesting::kSkipped};

// Reads one note, from after its BEGIN line to its END, into a cleared record.
class NoteReader {
 public:
  NoteReader(OsifStream& stream, PropertyLine& line, OsifObject& object)
      : line_(line), cursor_(stream, line), object_(object) {}

  OsifResult Read();

 private:
  void Take(const PropertyRow& row);
  void TakeVersion();
  OsifResult Finish();

  PropertyLine& line_;
  ObjectCursor<kTable, kRules> cursor_;
  OsifObject& object_;
};

OsifResult NoteReader::Read() {
  while (const PropertyRow* row = cursor_.NextRow()) Take(*row);
  return Finish();
}

void NoteReader::Take(const PropertyRow& row) {
  switch (row.property) {
    case NoteProperty::kLuid:
      CopyBounded(object_.xIrmcLuid, line_.value());
      break;
    case NoteProperty::kVersion:
      TakeVersion();
      break;
    default:
      cursor_.Append(row, line_.params(), 1, object_.note.*row.list);
      break;
  }
}

void NoteReader::TakeVersion() {
  CopyBounded(object_.version, line_.value());
  if (IsSupportedVersion(object_.version, kNewestVersion)) return;
  OSIF_Trace(0, "OSIF:  Error - vNote version '%s' is not supported", object_.version);
  cursor_.Refuse();
  cursor_.End();
}

OsifResult NoteReader::Finish() {
  if (!cursor_.HasMet(NoteProperty::kVersion) || !cursor_.has_ended()) {
    OSIF_Trace(
        0, "OSIF:  Error - vNote missing END tag or does not contain required VERSION property");
    cursor_.Refuse();
  }
  return cursor_.result();
}

}  // namespace

NoteProperty NotePropertyIndex(std::string_view name) {
  const PropertyRow* row = kTable.Find(name);
  return row == nullptr ? NoteProperty::kUnknown : row->property;
}

OsifResult VNote_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context) {
  ObjectDelivery delivery(OSIF_STORE_NOTE, callback, context);
  const auto begins = [](const PropertyLine& line) {
    return NotePropertyIndex(line.name()) == NoteProperty::kBegin && IsType(line.value(), "VNOTE");
  };
  return ReadEachObject(stream, delivery, kNoBegin, begins, [&](PropertyLine& line) {
    const OsifResult result = NoteReader(stream, line, delivery.object()).Read();
    if (IsRead(result)) delivery.Deliver(result);
    return result;
  });
}

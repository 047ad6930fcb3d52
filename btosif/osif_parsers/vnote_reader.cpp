#include "btosif/osif_parsers/vnote_reader.h"

#include <array>

#include "btosif/osif_parsers/object_loop.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_parsers/property_table.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "config/trace.h"

namespace {

constexpr double kNewestVersion = 1.1;
constexpr size_t kPropertyCount = 11;
constexpr const char* kBlankLine = "OSIF:  Warning - Parser encounted a blank line in vNote";
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

// Reads one note, from behind its BEGIN line to its END, into a cleared record.
class NoteReader {
 public:
  NoteReader(OsifStream& stream, PropertyLine& line, OsifObject& object)
      : stream_(stream), line_(line), object_(object) {}

  OsifResult Read();

 private:
  void TakeProperty();
  void TakeAtDepthOne(const PropertyRow& row);
  void TakeVersion();
  void AppendValue(const PropertyRow& row);
  OsifResult Finish();

  OsifStream& stream_;
  PropertyLine& line_;
  OsifObject& object_;
  std::array<PropertyValue*, kPropertyCount> last_values_{};  // of each property's list
  OsifResult result_ = OSIF_PARSE_OK;
  size_t depth_ = 1;
  bool has_version_ = false;
  bool is_done_ = false;
};

OsifResult NoteReader::Read() {
  while (!is_done_ && !FILE_Eof(stream_)) {
    if (ReadPropertyOf(stream_, line_, kBlankLine, result_)) TakeProperty();
  }
  return Finish();
}

void NoteReader::TakeProperty() {
  const PropertyRow* row = kTable.Find(line_.name());
  if (row == nullptr) {
    OSIF_Trace(0, "OSIF:  Warning - Parser encountered unknown property: '%s'",
               line_.name().data());
    result_ = OSIF_PARSE_WARNING;
    return;
  }
  switch (row->property) {
    case NoteProperty::kBegin:
      ++depth_;
      return;
    case NoteProperty::kEnd:
      is_done_ = depth_ == 1;
      --depth_;
      return;
    case NoteProperty::kVersion:
      has_version_ = true;  // a nested one, too
      break;
    default:
      break;
  }
  if (depth_ == 1) TakeAtDepthOne(*row);
}

void NoteReader::TakeAtDepthOne(const PropertyRow& row) {
  switch (row.property) {
    case NoteProperty::kLuid:
      CopyBounded(object_.xIrmcLuid, line_.value());
      break;
    case NoteProperty::kVersion:
      TakeVersion();
      break;
    default:
      AppendValue(row);
      break;
  }
}

void NoteReader::TakeVersion() {
  CopyBounded(object_.version, line_.value());
  if (IsSupportedVersion(object_.version, kNewestVersion)) return;
  OSIF_Trace(0, "OSIF:  Error - vNote version '%s' is not supported", object_.version);
  result_ = OSIF_PARSE_ERROR;
  is_done_ = true;
}

void NoteReader::AppendValue(const PropertyRow& row) {
  PropertyValue*& last = last_values_[static_cast<size_t>(row.property)];
  PropertyValue_AppendLine(line_.value(), line_.params(), 1, object_.note.*row.list, last);
}

OsifResult NoteReader::Finish() {
  if (!has_version_ || !is_done_) {
    OSIF_Trace(
        0, "OSIF:  Error - vNote missing END tag or does not contain required VERSION property");
    result_ = OSIF_PARSE_ERROR;
  }
  return result_;
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

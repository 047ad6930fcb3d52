#include "btosif/osif_generators/vnote_writer.h"

#include "btosif/osif_generators/property_writer.h"

namespace {

constexpr WriterMessages kMessages = {"OSIF:  Insufficient memory to generate vNote string",
                                      "OSIF:  Unable to put vNote string to file"};

struct PropertyRow {
  const char* name;
  PropertyValue* OsifNote::*list;
  bool required;
};

constexpr PropertyRow kProperties[] = {
    {"DCREATED", &OsifNote::dCreated, false},     {"LAST-MODIFIED", &OsifNote::lastModified, false},
    {"SUMMARY", &OsifNote::summary, false},       {"BODY", &OsifNote::body, true},
    {"CATEGORIES", &OsifNote::categories, false}, {"CLASS", &OsifNote::class_, false},
};

void WriteLine(OsifStream& stream, const char* name, const char* value) {
  WritePropertyLine(stream, name, "", value, kMessages);
}

}  // namespace

OsifResult VNote_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid) {
  WriteLine(stream, "BEGIN", "VNOTE");
  WriteLine(stream, "VERSION", object.version);
  for (const PropertyRow& row : kProperties) {
    WritePropertyList(stream, row.name, object.note.*row.list, row.required, kMessages);
  }
  if (write_luid != 0 && object.xIrmcLuid[0] != '\0') {
    WriteLine(stream, "X-IRMC-LUID", object.xIrmcLuid);
  }
  WriteLine(stream, "END", "VNOTE");
  return OSIF_OK;
}

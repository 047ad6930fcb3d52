// vNotes: every note that is handed on carries a version and bounded texts, and can be decoded and
// written again.
#include <cstring>

#include "btosif/osif_generators/vnote_writer.h"
#include "btosif/osif_parsers/vnote_reader.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "fuzz/fuzz_input.h"

namespace {

int32_t Decode(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
  if (store_id != OSIF_STORE_NOTE) abort();
  if (result != OSIF_PARSE_OK && result != OSIF_PARSE_WARNING) abort();
  if (std::memchr(object->version, 0, sizeof object->version) == nullptr) abort();
  if (std::memchr(object->xIrmcLuid, 0, sizeof object->xIrmcLuid) == nullptr) abort();
  const OsifNote& note = object->note;
  for (PropertyValue* list :
       {note.dCreated, note.lastModified, note.categories, note.class_, note.body, note.summary}) {
    for (PropertyValue& value : Values(list)) {
      if (!ComponentText(&value, 1).empty()) abort();
      DecodedText(&value);
    }
  }
  VNote_Write(*static_cast<OsifStream*>(context), *object, 1);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::Read(VNote_ReadFile, bytes, size, Decode, &fuzz::Sink());
  return 0;
}

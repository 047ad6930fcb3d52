// vCards: every record that is handed on can be decoded and written again.
#include "btosif/osif_generators/vcard_writer.h"
#include "btosif/osif_parsers/vcard_reader.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "fuzz/fuzz_input.h"

namespace {

int32_t Decode(int32_t, OsifObject* object, OsifResult, void* context) {
  OsifContact& contact = object->contact;
  for (PropertyValue* list : {contact.n, contact.fn, contact.adr, contact.org, contact.tel,
                              contact.note, contact.email}) {
    for (PropertyValue& value : Values(list)) {
      for (size_t i = 0; i < 7; ++i) DecodedText(&value, i);
    }
  }
  VCard_Write(*static_cast<OsifStream*>(context), *object, 1);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::Read(VCard_ReadFile, bytes, size, Decode, &fuzz::Sink());
  return 0;
}

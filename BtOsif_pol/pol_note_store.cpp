// Notes are files, which are found by their names: they need no session of the PIM, and nothing walks over
// them, counts them, reads them back or deletes them.
#include <string>

#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_note.h"
#include "BtOsif_pol/pol_stores.h"
#include "BtOsif_pol/pol_walk.h"
#include "btosif/osif_util/value_text.h"

namespace {

// A summary that decodes to nothing is no name: nobody would find the note again.
bool HasName(OsifNote& note) {
  return pol_HasFirstText(note.summary) && !pol_NoteName(note).empty();
}

OsifResult Add(OsifObject& object, Subject& subject) {
  OsifNote& note = object.note;
  if (!HasName(note)) return OSIF_ERR_MISSING_FIELD;
  pol_PutNote(note);
  char id[OSIF_ID_SIZE] = "";
  pol_WriteNoteId(pol_NoteName(note), id);
  subject.id = id;
  return OSIF_OK;
}

OsifResult Modify(OsifObject& object, Subject& subject) {
  if (!HasName(object.note)) return OSIF_ERR_MISSING_FIELD;
  pol_ReplaceNote(subject.id.c_str(), object.note);
  return OSIF_OK;
}

bool Find(OsifObject& object, char* id) {
  if (!pol_HasNote(object.note)) return false;
  pol_WriteNoteId(pol_NoteName(object.note), id);
  return true;
}

// There is one walk at a time, and asking for another store's first id ends it, whatever the answer.
OsifResult FirstId(char*) {
  pol_EndWalk();
  return OSIF_ERR_NOT_IMPLEMENTED;
}

WideText Name(OsifObject& object) { return DecodedText(object.note.summary, 0); }

}  // namespace

constinit const StoreOperations kNoteStore = {
    .is_in_pim = false,
    .is_id = [](const char*) { return true; },
    .count = pol_Always<OSIF_ERR_NOT_IMPLEMENTED>,
    .add = Add,
    .modify = Modify,
    .remove = pol_Always<OSIF_ERR_NOT_IMPLEMENTED>,
    .get = pol_Always<OSIF_ERR_NOT_IMPLEMENTED>,
    .find = Find,
    .first_id = FirstId,
    .next_id = pol_Always<OSIF_ERR_NOT_IMPLEMENTED>,
    .flush = pol_FlushNotes,
    .name = Name,
};

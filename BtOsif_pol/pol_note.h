// Notes: ink documents in the documents folder, one file a note, named after the note. There is no database
// beside them: a note's id is its name.
#pragma once

#include "btosif/osif_util/charset.h"
#include "osif.h"

// The path of a note's file, or an empty text when there is no documents folder. Of the name, at most 260
// printable characters count, without the nine that file names cannot have.
WideText pol_NotePath(WideView name);

// The note's name, from its summary; empty when it has none.
WideText pol_NoteName(OsifNote& note);

// Writes the note's file, in the place of one of the same name. Failures are traced and not returned.
void pol_PutNote(OsifNote& note);

// The same, and removes the file of the note that `id` names when it is another one. An old file goes only
// once the new one is there.
void pol_ReplaceNote(const char* id, OsifNote& note);

// True when the note that the record names has a file. A note that a killed program had written but not yet
// put in its place is put there.
bool pol_HasNote(OsifNote& note);

// Puts on the disk the notes that were written since it was last called. False when one of them may not be
// there.
bool pol_FlushNotes();

// Writes a name as an id, in the system's code page, into a buffer of OSIF_ID_SIZE; null is left alone.
void pol_WriteNoteId(WideView name, char* id);

// What can be done with a store: a row of operations for each kind of store. Dispatch takes the row of the
// store that a call names, checks what the row asks for, and calls; what an operation does is its adapter's,
// and so is what it answers where the handheld offers nothing for it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "btosif/osif_util/charset.h"
#include "osif.h"
#include "platform/api/win_types.h"

// The object that a call is about, and what its change has to tell to the change log.
struct Subject {
  int32_t store_id;
  std::string id;                                // as the caller gave or gets it
  LONG oid = 0;                                  // of an item of the PIM
  std::optional<uint32_t> checksum = {};         // of an item of the PIM as it was saved
  std::optional<uint32_t> checksum_before = {};  // of one that is changed, as it was found
  int folder = 0;                                // of an item of the PIM that was saved
  std::optional<int64_t> stamp = {};             // of an item of the PIM as it was saved
};

// The operations of one kind of store. Dispatch calls them once what `is_in_pim` and `is_id` ask for is true.
struct StoreOperations {
  // True when the objects are items of the PIM: they need its session, and an id is an object identifier,
  // which stands in the subject's `oid`.
  bool is_in_pim;

  // Whether a text can be an id.
  bool (*is_id)(const char* id);

  // Counts into a number that is 0.
  OsifResult (*count)(uint32_t& count);

  // Adding gives the subject its id. Adding and changing an item of the PIM give it the checksums that an
  // open change log wants, too.
  OsifResult (*add)(OsifObject& object, Subject& subject);
  OsifResult (*modify)(OsifObject& object, Subject& subject);
  OsifResult (*remove)(const Subject& subject);

  // Fills a cleared record.
  OsifResult (*get)(const Subject& subject, OsifObject& object);

  // Whether there is an object with the record's content; its id is then written (`id` may be null).
  bool (*find)(OsifObject& object, char* id);

  // Walk over the ids; `id` may be null.
  OsifResult (*first_id)(char* id);
  OsifResult (*next_id)(char* id);

  // Puts on the disk what was stored, where a change log that tells of it would outlast it: in stores that
  // are not compared. False when it may be lost.
  bool (*flush)();

  // What a record is called when it is shown to people.
  WideText (*name)(OsifObject& object);
};

// An operation whose answer is always the same.
template <OsifResult kAnswer, typename... Arguments>
OsifResult pol_Always(Arguments...) {
  return kAnswer;
}

// The rows, each in a file of its name.
extern const StoreOperations kContactStore;   // pol_contact_store.cpp
extern const StoreOperations kCalendarStore;  // pol_calendar_store.cpp
extern const StoreOperations kNoteStore;      // pol_note_store.cpp
extern const StoreOperations kMessageStore;   // pol_message_store.cpp

// The row of a store. A number that no store has gets a row whose operations do nothing and answer
// OSIF_ERR_TYPE_NOT_SUPPORTED; an id has to be a number for it all the same.
const StoreOperations& pol_OperationsOf(int32_t store_id);

// True for the stores whose objects are items of the PIM.
bool pol_IsInPim(int32_t store_id);

// Whether the id can be one of a store: not null; for notes any text, for messages a hexadecimal number of
// any length, for all other stores what pol_ReadId reads.
bool pol_IsIdOfStore(int32_t store_id, const char* id);

// Messages are served by the messaging store, which mapi/ speaks with and which knows nothing of the other
// stores. Three numbers share this row: a record names its folder itself, and only reading asks for the
// store's.
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_session.h"
#include "BtOsif_pol/pol_store_tracker.h"
#include "BtOsif_pol/pol_stores.h"
#include "BtOsif_pol/pol_walk.h"
#include "mapi/mapi_mail.h"
#include "mapi/mapi_session.h"

namespace {

OsifResult Add(OsifObject& object, Subject& subject) {
  char id[OSIF_ID_SIZE] = "";
  const OsifResult result = MAPI_AddMail(object, id);
  subject.id = id;
  return result;
}

OsifResult Modify(OsifObject& object, Subject& subject) {
  return MAPI_ModifyMail(object, subject.id.c_str());
}

OsifResult Get(const Subject& subject, OsifObject& object) {
  return MAPI_GetMailById(subject.store_id, subject.id.c_str(), object);
}

bool Find(OsifObject& object, char* id) { return MAPI_FindMail(object, id); }

// One database holds all that the device stores.
bool Flush() { return StoreTracker(*pol_Application()).Flush(); }

// Message texts are in the system's code page.
WideText Name(OsifObject& object) {
  const WideText from = MultiByteToText(NativeCodePage(), object.message.from);
  const WideText subject = MultiByteToText(NativeCodePage(), object.message.subject);
  return from.empty() ? subject : from + u" - " + subject;
}

// What is not offered starts the messaging session all the same, and answers as it does where it cannot.
OsifResult CountNotOffered(uint32_t&) { return MAPI_NotImplemented(); }
OsifResult RemoveNotOffered(const Subject&) { return MAPI_NotImplemented(); }
OsifResult NextIdNotOffered(char*) { return MAPI_NotImplemented(); }

// There is one walk at a time, and asking for another store's first id ends it, whatever the answer.
OsifResult FirstIdNotOffered(char*) {
  pol_EndWalk();
  return MAPI_NotImplemented();
}

}  // namespace

constinit const StoreOperations kMessageStore = {
    .is_in_pim = false,
    .is_id = pol_IsMessageId,
    .count = CountNotOffered,
    .add = Add,
    .modify = Modify,
    .remove = RemoveNotOffered,
    .get = Get,
    .find = Find,
    .first_id = FirstIdNotOffered,
    .next_id = NextIdNotOffered,
    .flush = Flush,
    .name = Name,
};

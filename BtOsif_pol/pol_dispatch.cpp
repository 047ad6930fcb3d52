// Every call goes the same way: the caller's output is emptied, the id is looked at, then the session, then
// the store's operation is called, and a change that succeeded is recorded. The order shows in what a call
// with two faults answers, so it is the same for all stores.
//
// An object that was changed stays changed when its change cannot be recorded: the caller is told why, and an
// open change log finds the change by comparing.
#include "BtOsif_pol/pol_dispatch.h"

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_session.h"
#include "BtOsif_pol/pol_stores.h"
#include "config/trace.h"

namespace {

OsifResult CheckSession(const StoreOperations& store) {
  return store.is_in_pim && pol_Application() == nullptr ? OSIF_ERR_PIM_NOT_OPENED : OSIF_OK;
}

// Reads the caller's id into the subject.
OsifResult ReadSubject(const StoreOperations& store, const char* id, Subject& subject) {
  if (!pol_IsIdOfStore(subject.store_id, id)) return OSIF_ERR_INVALID_ID;
  subject.id = id;
  if (store.is_in_pim) subject.oid = pol_ReadId(id).value_or(0);
  return CheckSession(store);
}

OsifResult RecordChange(char kind, const Subject& subject, OsifAnchor* anchor) {
  const LibraryChange change = {kind,
                                subject.id.c_str(),
                                static_cast<uint32_t>(subject.oid),
                                subject.checksum,
                                subject.checksum_before,
                                subject.folder,
                                subject.stamp};
  return pol_RecordChange(subject.store_id, change, anchor);
}

using StepOfWalk = OsifResult (*StoreOperations::*)(char* id);

OsifResult Step(int32_t store_id, StepOfWalk step, char* id) {
  const StoreOperations& store = pol_OperationsOf(store_id);
  if (const OsifResult result = CheckSession(store); result != OSIF_OK) return result;
  return (store.*step)(id);
}

}  // namespace

OsifResult POL_GetObjectCount(int32_t store_id, uint32_t* count) {
  *count = 0;
  const StoreOperations& store = pol_OperationsOf(store_id);
  if (const OsifResult result = CheckSession(store); result != OSIF_OK) return result;
  return store.count(*count);
}

OsifResult POL_AddObject(int32_t store_id, OsifObject* object, char* id, OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_AddObject()");
  if (id != nullptr) id[0] = '\0';
  const StoreOperations& store = pol_OperationsOf(store_id);
  if (const OsifResult result = CheckSession(store); result != OSIF_OK) return result;
  Subject subject = {store_id, {}};
  pol_ExpectChange(store_id, anchor);
  if (const OsifResult result = store.add(*object, subject); result != OSIF_OK) return result;
  if (id != nullptr) id[subject.id.copy(id, OSIF_ID_SIZE - 1)] = '\0';
  return RecordChange(kChangeModified, subject, anchor);
}

OsifResult POL_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                            OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_ModifyObject()");
  const StoreOperations& store = pol_OperationsOf(store_id);
  Subject subject = {store_id, {}};
  if (const OsifResult result = ReadSubject(store, id, subject); result != OSIF_OK) return result;
  pol_ExpectChange(store_id, anchor);
  if (const OsifResult result = store.modify(*object, subject); result != OSIF_OK) return result;
  return RecordChange(kChangeModified, subject, anchor);
}

OsifResult POL_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_DeleteObject()");
  const StoreOperations& store = pol_OperationsOf(store_id);
  Subject subject = {store_id, {}};
  if (const OsifResult result = ReadSubject(store, id, subject); result != OSIF_OK) return result;
  if (const OsifResult result = store.remove(subject); result != OSIF_OK) return result;
  return RecordChange(kChangeDeleted, subject, anchor);
}

OsifResult POL_GetObjectById(int32_t store_id, const char* id, OsifObject* object) {
  OSIF_Trace(0, "OSIF:  POL_GetObjectById(store_id=%d, id='%s', pObject=%p)", store_id, id,
             static_cast<void*>(object));
  const StoreOperations& store = pol_OperationsOf(store_id);
  Subject subject = {store_id, {}};
  if (const OsifResult result = ReadSubject(store, id, subject); result != OSIF_OK) return result;
  return store.get(subject, *object);
}

OsifResult POL_GetFirstId(int32_t store_id, char* id) {
  return Step(store_id, &StoreOperations::first_id, id);
}

OsifResult POL_GetNextId(int32_t store_id, char* id) {
  return Step(store_id, &StoreOperations::next_id, id);
}

int32_t POL_FindObject(int32_t store_id, OsifObject* object, char* id) {
  OSIF_Trace(0, "OSIF:  POL_FindObject()");
  const StoreOperations& store = pol_OperationsOf(store_id);
  return CheckSession(store) == OSIF_OK && store.find(*object, id) ? 1 : 0;
}

WideText pol_ObjectName(int32_t store_id, OsifObject& object) {
  return pol_OperationsOf(store_id).name(object);
}

// What several clients do with ids, anchors and whole stores.
#pragma once

#include <array>
#include <functional>
#include <string>

#include "osif.h"

namespace client {

using ObjectId = std::array<char, OSIF_ID_SIZE>;

// "pb 10 20261120T121118Z", as people see it.
std::string AnchorText(int32_t store_id, const OsifAnchor& anchor);

// An id with its store, for messages: pb 80000001.
std::string IdInStore(int32_t store_id, const char* id);

// OSIF_OK in place of one code that is as good at this place; any other result as it is.
inline OsifResult Forgive(OsifResult result, OsifResult code) {
  return result == code ? OsifResult{OSIF_OK} : result;
}

// Calls `visit` for each id that the store holds now. OSIF_OK at the end of the store.
OsifResult ForEachId(int32_t store_id, const std::function<void(const char* id)>& visit);

// A record that is released when it goes out of scope.
class FetchedObject {
 public:
  FetchedObject(int32_t store_id, const char* id)
      : store_id_(store_id), result_(OSIF_GetObjectById(store_id, id, &object_)) {}
  ~FetchedObject() { OSIF_FreeObject(store_id_, &object_); }
  FetchedObject(const FetchedObject&) = delete;
  FetchedObject& operator=(const FetchedObject&) = delete;

  OsifResult result() const { return result_; }
  OsifObject& object() { return object_; }

 private:
  int32_t store_id_;
  OsifObject object_{};
  OsifResult result_;
};

}  // namespace client

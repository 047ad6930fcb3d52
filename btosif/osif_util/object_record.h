// What is common to the record of every store: releasing it, and ids made at random.
#pragma once

#include <cstddef>
#include <cstdint>

#include "osif.h"

// Releases what hangs from the record, by the store that it belongs to, and clears it whole. A message's
// temporary files are removed.
void FreeObject(int32_t store_id, OsifObject& object);

// A record that is released when it goes out of scope.
class OwnedObject {
 public:
  explicit OwnedObject(int32_t store_id) : store_id_(store_id), object_{} {}
  ~OwnedObject() { FreeObject(store_id_, object_); }
  OwnedObject(const OwnedObject&) = delete;
  OwnedObject& operator=(const OwnedObject&) = delete;

  OsifObject& operator*() { return object_; }
  OsifObject* operator->() { return &object_; }
  OsifObject* get() { return &object_; }

 private:
  int32_t store_id_;
  OsifObject object_;
};

// The characters of a random id, its terminator not counted.
inline constexpr size_t kRandomIdLength = 8;

// Writes eight characters of "0-9a-z", drawn with the runtime's generator that is seeded from the present
// time, and a terminator.
void MakeRandomId(char (&id)[kRandomIdLength + 1]);

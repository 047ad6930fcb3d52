// The one object that the body of a request holds, as a record.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "dialects/object_reader.h"
#include "osif.h"

namespace obex {

// Does something with the first record of a body that is for a store.
class FirstRecord : public dialects::ObjectVisitor {
 public:
  using Use = std::function<void(OsifObject& object, const std::string& uid)>;
  FirstRecord(int32_t store_id, Use use) : store_id_(store_id), use_(std::move(use)) {}

  void OnObject(const dialects::ReadObject& object) override {
    if (object.store_id != store_id_) {
      refusal_ = "an object for another store";
    } else if (!std::exchange(has_used_, true)) {
      use_(*object.object, object.uid);
    } else {
      refusal_ = "more than one object";
    }
  }
  void OnRefused(const dialects::RefusedObject& refused) override { refusal_ = refused.reason; }

  bool has_used() const { return has_used_; }
  // What of the body was not used, in words.
  const std::string& refusal() const { return refusal_; }

 private:
  const int32_t store_id_;
  const Use use_;
  bool has_used_ = false;
  std::string refusal_;
};

}  // namespace obex

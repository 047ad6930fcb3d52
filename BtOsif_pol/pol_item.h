// An owner of one item of the PIM. The platform hands every item out as the very pointer of the interface
// of its kind, so that no query is needed for an item whose kind is known.
#pragma once

#include "platform/api/com_ptr.h"
#include "platform/api/pimstore.h"

template <typename Item>
class ItemPtr {
 public:
  IDispatch** put() { return item_.put(); }
  Item* get() const { return static_cast<Item*>(item_.get()); }
  Item* operator->() const { return get(); }
  Item& operator*() const { return *get(); }
  explicit operator bool() const { return static_cast<bool>(item_); }

 private:
  ComPtr<IDispatch> item_;
};

// All objects of a store that come as one stream, one at a time: cards one after the other, a calendar in which all items
// stand.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "dialects/file_lines.h"

namespace obex {

class WholeStore {
 public:
  WholeStore(int32_t store_id, dialects::ByteSource bytes);
  ~WholeStore();

  // The next object, an item of a calendar in a frame of its own; nothing at the end. An object without an end, and one
  // that is too large to be kept, is given empty.
  std::optional<std::string> Next();

 private:
  class Objects;
  class Cards;
  class Items;

  std::unique_ptr<Objects> objects_;
};

}  // namespace obex

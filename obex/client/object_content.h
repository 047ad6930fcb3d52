// What synchronisation has to know of an object's text: its id at its device, whether it is as it was, and what it says.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace obex {

// The value of its X-IRMC-LUID line; empty without one.
std::string LuidOf(std::string_view text);

// The same for two texts only if the object was written the same way: its lines without the id, and of a calendar those of
// the item alone, so that it does not matter whether it came in a frame of its own.
std::string HashOf(int32_t store_id, std::string_view text);

// What the library reads of an object's text: equal for two texts that say the same, however they are written.
struct View {
  std::string view;     // its hash; empty where the text was refused
  std::string name;     // as people know the object
  std::string refusal;  // why it was refused, in words
};
View ViewOf(int32_t store_id, std::string_view text);

}  // namespace obex

// What a store has changed, written into a file that says more than the store can hold. A card in a folder may have a
// picture, a nickname, a second mobile number and lines that only its own program knows; the store holds a part of it.
// So a file is never written anew from the store: the difference between what the store held at the last agreement and
// what it holds now is applied to the file, and every line that it does not name stays as it is, byte for byte.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mirror {

// Whose change counts where both sides have changed the same property differently.
enum class Prefer { kNone, kStore, kFolder };

struct MergeInput {
  int32_t store_id = 0;  // OSIF_STORE_PB or OSIF_STORE_CAL
  // The store's object as of the last agreement and now, as the writers of vCard 3.0 and iCalendar 2.0 write what the
  // library has written (Origin::kLibrary).
  std::string_view before;
  std::string_view after;
  // The file as of the last agreement and now: any version of card or calendar in UTF-8, from any program. Equal where
  // only the store has changed.
  std::string_view base;
  std::string_view file;
  Prefer prefer = Prefer::kNone;
};

struct Merged {
  std::string text;  // the file's new text; equal to `file` where nothing was to be done
  // The names of the properties that both sides have changed differently ("TEL", "SUMMARY"), each once, also where
  // `prefer` decided. With Prefer::kNone the text has the file's property then.
  std::vector<std::string> conflicts;
  std::vector<std::string> left;  // what of the store's change the file cannot take, in words
};

// Takes any bytes; the cost is that of sorting the texts' lines.
Merged MergeStoreChange(const MergeInput& input);

// Equal for two texts that say the same to people: REV, PRODID, DTSTAMP, LAST-MODIFIED, CREATED, METHOD and the
// components VTIMEZONE do not count, nor do folding, line ends, and the order of lines in a component.
std::string ContentKey(std::string_view text);

}  // namespace mirror

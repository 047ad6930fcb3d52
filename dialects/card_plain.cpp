// Each line is looked at once. What stands before its colon is looked up whole, kinds and all, in a table that is made
// at compile time; each row of it names the place that the store has for such a line, and the places are counted.
// Of the value every byte's class is gathered, and the rare classes send the card to those who understand it. A value in
// quoted-printable is followed byte by byte, since it may hold what its line does not show.
#include "dialects/card_plain.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "dialects/card_derive.h"
#include "dialects/charsets.h"
#include "dialects/name_table.h"

namespace dialects {
namespace {

// ---- Places -------------------------------------------------------------------------------------------------

// Each is asked for once, but for three of them.
enum Place : uint8_t {
  kNone,
  kName,
  kFormatted,
  kNote,
  kTitle,
  kOrganisation,
  kPage,
  kBirthday,
  kAddress,
  kHomeAddress,
  kWorkAddress,
  kHome,
  kWork,
  kCell,
  kHomeFax,
  kWorkFax,
  kPager,
  kCar,
  kAssistantTelephone,
  kRadio,
  kEmail,
  kPreferredEmail,
  kSpouse,
  kAnniversary,
  kChildren,
  kAssistant,
  kCategories,
  kLuid,
  kPlaceCount
};

constexpr uint8_t RoomOf(Place place) {
  if (place == kHome || place == kWork) return 2;
  return place == kEmail ? 3 : 1;
}

struct HeadRow {
  std::string_view name;  // with its kinds
  Place place;
  uint8_t separators;  // the most ";" that its value may have
  bool is_repeatable;  // an empty one asks for no place
};

constexpr std::array<HeadRow, 33> kHeads = {{
    {"N", kName, 4, false},
    {"FN", kFormatted, 0, false},
    {"NOTE", kNote, 0, false},
    {"TITLE", kTitle, 0, false},
    {"ORG", kOrganisation, 1, false},
    {"URL", kPage, 0, true},
    {"BDAY", kBirthday, 0, false},
    {"ADR", kAddress, 6, true},
    {"ADR;HOME", kHomeAddress, 6, true},
    {"ADR;WORK", kWorkAddress, 6, true},
    {"TEL", kHome, 0, true},
    {"TEL;HOME", kHome, 0, true},
    {"TEL;VOICE", kHome, 0, true},
    {"TEL;HOME;VOICE", kHome, 0, true},
    {"TEL;WORK", kWork, 0, true},
    {"TEL;WORK;VOICE", kWork, 0, true},
    {"TEL;CELL", kCell, 0, true},
    {"TEL;CELL;VOICE", kCell, 0, true},
    {"TEL;FAX", kHomeFax, 0, true},
    {"TEL;HOME;FAX", kHomeFax, 0, true},
    {"TEL;WORK;FAX", kWorkFax, 0, true},
    {"TEL;PAGER", kPager, 0, true},
    {"TEL;CAR", kCar, 0, true},
    {"TEL;TYPE=X-ASSISTANT", kAssistantTelephone, 0, true},
    {"TEL;TYPE=X-RADIO", kRadio, 0, true},
    {"EMAIL;INTERNET", kEmail, 0, true},
    {"EMAIL;INTERNET;PREF", kPreferredEmail, 0, true},
    {"X-SPOUSE", kSpouse, 0, false},
    {"X-ANNIVERSARY", kAnniversary, 0, false},
    {"X-CHILDREN", kChildren, 0, false},
    {"X-ASSISTANT", kAssistant, 0, false},
    {"X-CAT", kCategories, 0, false},
    {"X-IRMC-LUID", kLuid, 0, false},
}};

constexpr NameTable kTable(kHeads);

// ---- Values -------------------------------------------------------------------------------------------------

// Classes of bytes.
constexpr uint8_t kStop = 1;  // a control character: the end of the line, or for others
constexpr uint8_t kEquals = 2;
constexpr uint8_t kEightBit = 4;
constexpr uint8_t kBackslash = 8;
constexpr uint8_t kSeparator = 16;
constexpr uint8_t kColon = 32;

constexpr std::array<uint8_t, 256> Classes() {
  std::array<uint8_t, 256> classes{};
  for (size_t byte = 0; byte < classes.size(); ++byte) {
    if (byte < ' ' && byte != '\t') classes[byte] = kStop;
    if (byte >= 0x80) classes[byte] = kEightBit;
  }
  classes['\x7F'] = kStop;
  classes['='] = kEquals;
  classes['\\'] = kBackslash;
  classes[';'] = kSeparator;
  classes[':'] = kColon;
  return classes;
}

constexpr std::array<uint8_t, 256> kClassOf = Classes();

uint8_t ClassOf(char c) { return kClassOf[static_cast<unsigned char>(c)]; }

// ---- Eight bytes at once ------------------------------------------------------------------------------------

// Each of these marks bytes by their top bits. The lowest mark is right; the bytes above it may be marked too.

constexpr uint64_t InEachByte(unsigned char byte) { return 0x0101010101010101U * byte; }

constexpr uint64_t MarkBelow(uint64_t bytes, unsigned char limit) {
  return (bytes - InEachByte(limit)) & ~bytes;
}

constexpr uint64_t MarkEqual(uint64_t bytes, unsigned char wanted) {
  return MarkBelow(bytes ^ InEachByte(wanted), 1);
}

// Control characters, and all that are not ASCII.
constexpr uint64_t MarkControlAndEightBit(uint64_t bytes) {
  return MarkBelow(bytes, ' ') | (bytes + InEachByte(1)) | bytes;
}

constexpr uint64_t MarkInHead(uint64_t bytes) {
  return MarkControlAndEightBit(bytes) | MarkEqual(bytes, ':');
}

constexpr uint64_t MarkInValue(uint64_t bytes) {
  return MarkControlAndEightBit(bytes) | MarkEqual(bytes, ';') | MarkEqual(bytes, '=') |
         MarkEqual(bytes, '\\');
}

// Passes over bytes that are not marked, eight at a time; those that are left are fewer than eight, or begin with a
// marked one.
template <uint64_t (*kMark)(uint64_t)>
const char* PassUnmarked(const char* place, const char* end) {
  if constexpr (std::endian::native != std::endian::little) return place;
  for (; end - place >= 8; place += 8) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, place, sizeof bytes);
    const uint64_t marked = kMark(bytes) & InEachByte(0x80);
    if (marked != 0) return place + std::countr_zero(marked) / 8;
  }
  return place;
}

struct Value {
  std::string_view text;
  uint8_t classes = 0;  // of all its bytes
  size_t separators = 0;

  bool Has(uint8_t byte_class) const { return (classes & byte_class) != 0; }
  bool IsEmpty() const { return separators == text.size(); }
};

constexpr int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Follows the bytes of UTF-8 one after the other. What it does not follow to the end is left to others: it knows the
// lengths of characters, and refuses the first bytes that have exceptions.
class Utf8Follower {
 public:
  // False for a byte that cannot come next.
  bool Take(unsigned byte) {
    if (missing_ > 0) {
      --missing_;
      return byte >= 0x80 && byte < 0xC0;
    }
    if (byte < 0x80) return true;
    if (byte < 0xC2 || byte == 0xE0 || byte == 0xED || byte >= 0xF0) return false;
    missing_ = byte < 0xE0 ? 1 : 2;
    return true;
  }
  bool IsBetweenCharacters() const { return missing_ == 0; }

 private:
  int missing_ = 0;
};

// ---- Lines --------------------------------------------------------------------------------------------------

constexpr std::string_view kQuotedPrintable = ";ENCODING=QUOTED-PRINTABLE";
constexpr std::string_view kUtf8 = ";CHARSET=UTF-8";

bool TakeSuffix(std::string_view& head, std::string_view suffix) {
  if (!head.ends_with(suffix)) return false;
  head.remove_suffix(suffix.size());
  return true;
}

// A line of a value that goes on might be what ends the object, for a reader that does not know of the value.
bool MayBeFrame(std::string_view line) {
  const size_t colon = line.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string upper = ToUpper(line);
  return upper.find("END:") != std::string::npos || upper.find("BEGIN:") != std::string::npos;
}

class PlainCard {
 public:
  explicit PlainCard(std::string_view text)
      : begin_(text.data()), place_(begin_), end_(begin_ + text.size()) {}

  // Nothing when the text does not begin with a plain card.
  std::optional<TextLength> Length() {
    if (!TakeLiteral("BEGIN:VCARD") || !TakeLiteral("VERSION:2.1")) return std::nullopt;
    while (place_ != end_) {
      if (*place_ == 'E' && TakeLiteral("END:VCARD")) {
        if (!has_name_) return std::nullopt;
        return TextLength{static_cast<size_t>(place_ - begin_), lines_};
      }
      if (!TakePlainLine()) return std::nullopt;
    }
    return std::nullopt;
  }

 private:
  // A line that has to be so.
  bool TakeLiteral(std::string_view line) {
    const auto left = static_cast<size_t>(end_ - place_);
    if (left < line.size() || std::memcmp(place_, line.data(), line.size()) != 0) return false;
    const char* const line_begin = std::exchange(place_, place_ + line.size());
    if (TakeLineEnd() || place_ == end_) return true;
    place_ = line_begin;
    return false;
  }

  // LF, or CR LF.
  bool TakeLineEnd() {
    const char* line_feed = place_;
    if (line_feed != end_ && *line_feed == '\r') ++line_feed;
    if (line_feed == end_ || *line_feed != '\n') return false;
    place_ = line_feed + 1;
    ++lines_;
    return true;
  }

  // What stands before the colon, which is taken too.
  bool TakeHead(std::string_view& head) {
    const char* const begin = place_;
    place_ = PassUnmarked<MarkInHead>(place_, end_);
    while (place_ != end_ && (ClassOf(*place_) & (kColon | kStop)) == 0) ++place_;
    if (place_ == end_ || *place_ != ':') return false;
    head = {begin, static_cast<size_t>(place_ - begin)};
    ++place_;
    return true;
  }

  // The rest of a line, and its line end.
  bool TakeValue(Value& value) {
    const char* const begin = place_;
    uint8_t classes = 0;
    size_t separators = 0;
    while ((place_ = PassUnmarked<MarkInValue>(place_, end_)) != end_) {
      const uint8_t byte_class = ClassOf(*place_);
      if ((byte_class & kStop) != 0) break;
      classes |= byte_class;
      separators += (byte_class & kSeparator) != 0 ? 1U : 0U;
      ++place_;
    }
    value = {{begin, static_cast<size_t>(place_ - begin)}, classes, separators};
    return TakeLineEnd();
  }

  bool TakePlainLine() {
    std::string_view head;
    Value value;
    if (!TakeHead(head) || !TakeValue(value)) return false;
    const bool is_encoded = TakeSuffix(head, kQuotedPrintable);
    const bool is_utf8 = TakeSuffix(head, kUtf8);
    const HeadRow* row = kTable.Find(head);
    if (row == nullptr || !TakePlace(*row, value)) return false;
    // A number of no kind is one at home, unless it has any parameter.
    if (head == "TEL" && (is_encoded || is_utf8)) return false;
    return is_encoded ? TakePlainEncoded(*row, value, is_utf8) : IsPlainValue(*row, value, is_utf8);
  }

  bool TakePlace(const HeadRow& row, const Value& value) {
    const bool is_empty = value.IsEmpty();
    if (is_empty && row.is_repeatable) return true;
    if (row.place == kName) {
      has_name_ = value.text.find_first_not_of("; \t") != std::string_view::npos;
    }
    if (row.place == kPreferredEmail && ++used_[kEmail] > RoomOf(kEmail)) return false;
    return ++used_[row.place] <= RoomOf(row.place);
  }

  static bool IsPlainValue(const HeadRow& row, const Value& value, bool is_utf8) {
    if (value.Has(kBackslash) || value.separators > row.separators) return false;
    if (value.Has(kEquals) &&
        (value.text.ends_with('=') || value.text.find("=0D") != value.text.npos)) {
      return false;
    }
    if (value.Has(kEightBit) && !(is_utf8 && IsUtf8(value.text))) return false;
    if (row.place == kBirthday || row.place == kAnniversary) return IsPlainDate(value.text);
    return row.place != kLuid || !is_utf8;
  }

  static bool IsPlainDate(std::string_view value) {
    if (value.size() != 8) return value.empty();
    int number = 0;
    for (const char c : value) {
      if (c < '0' || c > '9') return false;
      number = 10 * number + (c - '0');
    }
    return IsPossibleDay(number / 10000, number / 100 % 100, number % 100);
  }

  // Goes on over soft line breaks.
  bool TakePlainEncoded(const HeadRow& row, Value value, bool is_utf8) {
    if (row.place == kBirthday || row.place == kAnniversary || row.place == kLuid) return false;
    Utf8Follower follower;
    size_t separators = 0;
    for (;;) {
      if (value.Has(kBackslash | kEightBit)) return false;
      const bool goes_on = value.text.ends_with('=');
      if (goes_on) value.text.remove_suffix(1);
      if (!AreEncodedBytes(value.text, is_utf8, follower, separators)) return false;
      if (!goes_on) return follower.IsBetweenCharacters() && separators <= row.separators;
      // A blank there may be that of a fold.
      if (!TakeValue(value) || value.text.starts_with(' ') || MayBeFrame(value.text)) return false;
    }
  }

  static bool AreEncodedBytes(std::string_view value, bool is_utf8, Utf8Follower& follower,
                              size_t& separators) {
    const char* const end = value.data() + value.size();
    for (const char* place = value.data(); place != end; ++place) {
      if (follower.IsBetweenCharacters()) place = PassUnmarked<MarkInValue>(place, end);
      if (place == end) break;
      auto byte = static_cast<unsigned char>(*place);
      if (byte == ';') {
        ++separators;
        // A component is decoded by itself.
        if (!follower.IsBetweenCharacters()) return false;
      } else if (byte == '=') {
        const int high = end - place > 2 ? HexDigit(place[1]) : -1;
        const int low = end - place > 2 ? HexDigit(place[2]) : -1;
        if (high < 0 || low < 0) return false;
        byte = static_cast<unsigned char>(16 * high + low);
        place += 2;
      }
      const bool is_known = byte != 0 && byte != '\\' && (byte < 0x80 || is_utf8);
      if (!is_known || !follower.Take(byte)) return false;
    }
    return true;
  }

  const char* const begin_;
  const char* place_;  // what is still to come
  const char* const end_;
  uint64_t lines_ = 0;
  std::array<uint8_t, kPlaceCount> used_{};
  bool has_name_ = false;
};

}  // namespace

std::optional<TextLength> PlainCardLength(std::string_view text) {
  return PlainCard(text).Length();
}

bool IsPlainCard(std::string_view text) {
  const std::optional<TextLength> plain = PlainCardLength(text);
  return plain && plain->bytes == text.size();
}

}  // namespace dialects

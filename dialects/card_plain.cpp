// Each line is looked at once. What stands before its colon is looked up whole, kinds and all, in a table that is made
// at compile time; each row of it names the place that the store has for such a line, and the places are counted.
// Of the value every byte's class is gathered, and the rare classes send the card to those who understand it. A value in
// quoted-printable is followed byte by byte, since it may hold what its line does not show.
#include "dialects/card_plain.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

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
constexpr uint8_t kEquals = 1;
constexpr uint8_t kEightBit = 2;
constexpr uint8_t kOdd = 4;  // a backslash, or a control character: somebody has to understand it

constexpr std::array<uint8_t, 256> kClassOf = [] {
  std::array<uint8_t, 256> classes{};
  for (size_t byte = 0; byte < classes.size(); ++byte) {
    if (byte < ' ' && byte != '\t') classes[byte] = kOdd;
    if (byte >= 0x80) classes[byte] = kEightBit;
  }
  classes['\\'] = kOdd;
  classes['\x7F'] = kOdd;
  classes['='] = kEquals;
  return classes;
}();

struct Gathered {
  uint8_t classes = 0;
  size_t separators = 0;
};

Gathered Gather(std::string_view value) {
  Gathered gathered;
  for (const char c : value) {
    gathered.classes |= kClassOf[static_cast<unsigned char>(c)];
    gathered.separators += c == ';' ? 1U : 0U;
  }
  return gathered;
}

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

// The next line without its line end; it is taken off the text. False for the last when it has no end.
bool TakeLine(std::string_view& text, std::string_view& line) {
  const void* found = std::memchr(text.data(), '\n', text.size());
  if (found == nullptr) return false;
  const auto length = static_cast<size_t>(static_cast<const char*>(found) - text.data());
  line = text.substr(0, length);
  text.remove_prefix(length + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return true;
}

bool TakeSuffix(std::string_view& head, std::string_view suffix) {
  if (!head.ends_with(suffix)) return false;
  head.remove_suffix(suffix.size());
  return true;
}

class PlainCard {
 public:
  explicit PlainCard(std::string_view text) : text_(text) {}

  bool IsPlain() {
    std::string_view line;
    if (!TakeLine(text_, line) || line != "BEGIN:VCARD") return false;
    if (!TakeLine(text_, line) || line != "VERSION:2.1") return false;
    while (TakeLine(text_, line)) {
      if (line == "END:VCARD") return text_.empty() && has_name_;
      if (!IsPlainLine(line)) return false;
    }
    return text_ == "END:VCARD" && has_name_;
  }

 private:
  bool IsPlainLine(std::string_view line) {
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return false;
    std::string_view head = line.substr(0, colon);
    const std::string_view value = line.substr(colon + 1);
    const bool is_encoded = TakeSuffix(head, kQuotedPrintable);
    const bool is_utf8 = TakeSuffix(head, kUtf8);
    const HeadRow* row = kTable.Find(head);
    if (row == nullptr || !TakePlace(*row, value)) return false;
    // A number of no kind is one at home, unless it has any parameter.
    if (head == "TEL" && (is_encoded || is_utf8)) return false;
    return is_encoded ? IsPlainEncoded(*row, value, is_utf8) : IsPlainValue(*row, value, is_utf8);
  }

  bool TakePlace(const HeadRow& row, std::string_view value) {
    const bool is_empty = value.find_first_not_of(';') == std::string_view::npos;
    if (is_empty && row.is_repeatable) return true;
    if (row.place == kName) has_name_ = value.find_first_not_of("; \t") != std::string_view::npos;
    if (row.place == kPreferredEmail && ++used_[kEmail] > RoomOf(kEmail)) return false;
    return ++used_[row.place] <= RoomOf(row.place);
  }

  static bool IsPlainValue(const HeadRow& row, std::string_view value, bool is_utf8) {
    const auto [classes, separators] = Gather(value);
    if ((classes & kOdd) != 0 || separators > row.separators) return false;
    if ((classes & kEquals) != 0 && (value.ends_with('=') || value.find("=0D") != value.npos)) {
      return false;
    }
    if ((classes & kEightBit) != 0 && !(is_utf8 && IsUtf8(value))) return false;
    if (row.place == kBirthday || row.place == kAnniversary) return IsPlainDate(value);
    return row.place != kLuid || !is_utf8;
  }

  static bool IsPlainDate(std::string_view value) {
    const bool is_digits = value.find_first_not_of("0123456789") == std::string_view::npos;
    return value.empty() || (value.size() == 8 && is_digits && DayOf(value).has_value());
  }

  // Goes on over soft line breaks.
  bool IsPlainEncoded(const HeadRow& row, std::string_view value, bool is_utf8) {
    if (row.place == kBirthday || row.place == kAnniversary || row.place == kLuid) return false;
    Utf8Follower follower;
    size_t separators = 0;
    for (;;) {
      const bool goes_on = value.ends_with('=');
      if (goes_on) value.remove_suffix(1);
      if (!AreEncodedBytes(value, is_utf8, follower, separators)) return false;
      if (!goes_on) return follower.IsBetweenCharacters() && separators <= row.separators;
      // A blank there may be that of a fold.
      if (!TakeLine(text_, value) || value.starts_with(' ')) return false;
    }
  }

  static bool AreEncodedBytes(std::string_view value, bool is_utf8, Utf8Follower& follower,
                              size_t& separators) {
    for (size_t i = 0; i < value.size(); ++i) {
      const auto c = static_cast<unsigned char>(value[i]);
      unsigned byte = c;
      if (c == ';') {
        ++separators;
        // A component is decoded by itself.
        if (!follower.IsBetweenCharacters()) return false;
      } else if (c == '=') {
        const int high = i + 2 < value.size() ? HexDigit(value[i + 1]) : -1;
        const int low = i + 2 < value.size() ? HexDigit(value[i + 2]) : -1;
        if (high < 0 || low < 0) return false;
        byte = static_cast<unsigned>(16 * high + low);
        i += 2;
      } else if (kClassOf[c] != 0) {
        return false;
      }
      const bool is_known = byte != 0 && byte != '\\' && (byte < 0x80 || is_utf8);
      if (!is_known || !follower.Take(byte)) return false;
    }
    return true;
  }

  std::string_view text_;  // what is still to come
  std::array<uint8_t, kPlaceCount> used_{};
  bool has_name_ = false;
};

}  // namespace

bool IsPlainCard(std::string_view text) { return PlainCard(text).IsPlain(); }

}  // namespace dialects

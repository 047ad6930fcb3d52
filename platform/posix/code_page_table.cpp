// The rows stand in the order of their numbers, by which they are looked up. Most pages are one of ICU's
// converters and nothing else; the functions below make the rows of those that differ in the same way, and
// the few that differ in a way of their own are written out. Where ICU has several converters for a page, the
// one is named that comes closest to the page of that number on Windows, since texts that name it were mostly
// written there.

#include "platform/posix/code_page_table.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr DetectedPage kJapanese[] = {
    {"ISO-2022-JP", 50221}, {"EUC-JP", 51932}, {"Shift_JIS", 932}};
constexpr DetectedPage kKorean[] = {{"ISO-2022-KR", 50225}, {"EUC-KR", 949}};

// Windows' flavour, with NEC's and IBM's characters.
constexpr char kShiftJis[] = "ibm-943_P15A-2003";
constexpr char kKoreanWindows[] = "windows-949-2000";

constexpr char16_t kYen = u'\u00A5';
constexpr char16_t kWideYen = u'\uFFE5';
constexpr char16_t kWon = u'\u20A9';
constexpr char16_t kWideWon = u'\uFFE6';

// With ISO-2022-JP the reader takes half-width katakana in both their forms.
constexpr char kIso2022JpReader[] = "ISO_2022,locale=ja,version=3";
constexpr char kIso2022JpWriter[] = "ISO_2022,locale=ja,version=0";
constexpr char kIso2022Kr[] = "ISO_2022,locale=ko,version=1";

constexpr CodePage Ordinary(UINT number, const char* name) {
  return {.number = number, .reader = name, .writer = name};
}
constexpr CodePage Dos(UINT number, const char* name) {
  return {.number = number,
          .reader = name,
          .writer = name,
          .rotates_controls = true,
          .lacks_symbols = true};
}
constexpr CodePage WithoutSymbols(UINT number, const char* name) {
  return {.number = number, .reader = name, .writer = name, .lacks_symbols = true};
}
constexpr CodePage WithCurrency(UINT number, const char* name, char16_t narrow, char16_t wide) {
  return {
      .number = number, .reader = name, .writer = name, .narrow_sign = narrow, .wide_sign = wide};
}
constexpr CodePage Stateful(UINT number, const char* name) {
  return {.number = number, .reader = name, .writer = name, .extends_ascii = false};
}
constexpr CodePage Iso2022Jp(UINT number) {
  return {.number = number,
          .reader = kIso2022JpReader,
          .writer = kIso2022JpWriter,
          .extends_ascii = false,
          .widens_katakana = true};
}
constexpr CodePage National(UINT number, const char16_t* characters) {
  return {.number = number, .national = characters, .extends_ascii = false};
}

constexpr CodePage kCodePages[] = {
    Dos(852, "ibm-852"),
    Dos(866, "ibm-866"),
    WithoutSymbols(874, "windows-874-2000"),
    {.number = 932,
     .reader = kShiftJis,
     .writer = kShiftJis,
     .rotates_controls = true,
     .narrow_sign = kYen,
     .wide_sign = kWideYen},
    Ordinary(936, "windows-936-2000"),
    WithCurrency(949, kKoreanWindows, kWon, kWideWon),
    Ordinary(950, "windows-950-2000"),
    Ordinary(1250, "windows-1250"),
    Ordinary(1251, "windows-1251"),
    Ordinary(1252, "windows-1252"),
    Ordinary(1253, "windows-1253"),
    Ordinary(1254, "windows-1254"),
    Ordinary(1255, "windows-1255"),
    Ordinary(1256, "windows-1256"),
    Ordinary(1257, "windows-1257"),
    Ordinary(1258, "windows-1258"),
    National(20105, u"#\u00A4@[\\]^`{|}\u203E"),  // IA5, international reference version of 1983
    National(20106, u"#$\u00A7\u00C4\u00D6\u00DC^`\u00E4\u00F6\u00FC\u00DF"),  // DIN 66003
    National(20107, u"#\u00A4@\u00C4\u00D6\u00C5^`\u00E4\u00F6\u00E5\u203E"),  // SEN 850200 B
    National(20108, u"#$@\u00C6\u00D8\u00C5^`\u00E6\u00F8\u00E5\u203E"),       // NS 4551-1
    Ordinary(20127, "US-ASCII"),
    Ordinary(20866, "KOI8-R"),
    Ordinary(28591, "ISO-8859-1"),
    WithoutSymbols(28592, "ISO-8859-2"),
    Ordinary(28593, "ISO-8859-3"),
    Ordinary(28594, "ISO-8859-4"),
    Ordinary(28595, "ISO-8859-5"),
    Ordinary(28596, "ISO-8859-6"),
    Ordinary(28597, "ISO-8859-7"),
    Ordinary(28598, "ISO-8859-8"),
    Ordinary(28599, "ISO-8859-9"),
    Ordinary(28605, "ISO-8859-15"),
    Iso2022Jp(50220),
    Iso2022Jp(50221),
    Iso2022Jp(50222),
    Stateful(50225, kIso2022Kr),
    // The detecting pages write what is most at home on handhelds and telephones: Shift-JIS and the
    // Korean page of Windows.
    {.number = 50932,
     .writer = kShiftJis,
     .detected = kJapanese,
     .extends_ascii = false,
     .rotates_controls = true,
     .narrow_sign = kYen,
     .wide_sign = kWideYen},
    {.number = 50949,
     .writer = kKoreanWindows,
     .detected = kKorean,
     .extends_ascii = false,
     .narrow_sign = kWon,
     .wide_sign = kWideWon},
    WithCurrency(51932, "EUC-JP", kYen, kWideYen),
    // Texts called EUC-KR often hold the further syllables of Windows' page, which contains EUC-KR.
    {.number = 51949, .reader = kKoreanWindows, .writer = "EUC-KR"},
    {.number = 52936, .reader = "HZ", .writer = "HZ", .escape = '~', .leaves_shift = true},
    Stateful(65000, "UTF-7"),
    Ordinary(65001, "UTF-8"),
};

static_assert(std::ranges::is_sorted(kCodePages, {}, &CodePage::number));

}  // namespace

const CodePage* FindCodePage(UINT number) {
  const CodePage* page = std::ranges::lower_bound(kCodePages, number, {}, &CodePage::number);
  return page != std::end(kCodePages) && page->number == number ? page : nullptr;
}

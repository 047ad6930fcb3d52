// A text goes the cheapest way that its page allows. What is ASCII at its beginning is copied, which for most
// texts is all of it. The rest of UTF-8 is read in one call, the rest of a page of single bytes by a table of
// what each byte stands for; the national sets, which differ from ASCII in a few places, by their own few
// places. Only what is left goes through one of ICU's converters.
//
// Converters are opened once for each thread and kept; texts pass through buffers on the stack, so that a
// conversion allocates nothing. What a converter does otherwise than the handheld is put right on the way in
// or out (control characters that are rotated, signs of currencies, escapes), as the page's row says. What
// cannot be converted is replaced by callbacks of our own, which also tell that something was.

#include "platform/posix/code_page_converter.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/ucsdet.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <string>

#include "platform/api/codepage.h"

namespace {

constexpr size_t kChunk = 256;          // units
constexpr size_t kDetectedPart = 4096;  // bytes of a text that the detector looks at
constexpr char16_t kReplacement = u'\uFFFD';

struct ConverterCloser {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// The thread's converter of that name, ready for a new text; null when ICU has none.
UConverter* ConverterNamed(const char* name) {
  thread_local std::map<std::string, Converter, std::less<>> converters;
  auto found = converters.find(std::string_view(name));
  if (found == converters.end()) {
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &error));
    if (U_FAILURE(error)) converter.reset();
    found = converters.emplace(name, std::move(converter)).first;
  }
  if (found->second != nullptr) ucnv_reset(found->second.get());
  return found->second.get();
}

// 1A stands for 7F, 7F for 1C, 1C for 1A in the converters that have them rotated.
char16_t ControlRead(char16_t unit) {
  return unit == 0x1C ? 0x1A : unit == 0x7F ? 0x1C : unit == 0x1A ? 0x7F : unit;
}
char16_t ControlWritten(char16_t unit) {
  return unit == 0x1A ? 0x1C : unit == 0x1C ? 0x7F : unit == 0x7F ? 0x1A : unit;
}

// What is handed to the converter in place of a unit.
char16_t UnitWritten(const CodePage& page, char16_t unit) {
  if (page.narrow_sign != 0 && unit == page.narrow_sign) return page.wide_sign;
  return page.rotates_controls ? ControlWritten(unit) : unit;
}

// ---- What cannot be converted ------------------------------------------------------------------

// What the callbacks need to know and to tell.
struct Replacing {
  const CodePage& page;
  ConversionReport& report;
};

// UTF-7 forbids some characters of ASCII to stand for themselves, but they can mean nothing else.
void ReplaceBytes(const void* context, UConverterToUnicodeArgs* arguments, const char* bytes,
                  int32_t length, UConverterCallbackReason reason, UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  const auto& replacing = *static_cast<const Replacing*>(context);
  const bool is_plain = replacing.page.number == 65000 && length == 1 && (bytes[0] & 0x80) == 0;
  const char16_t unit = is_plain ? static_cast<char16_t>(bytes[0]) : kReplacement;
  if (!is_plain) replacing.report.has_replaced = true;
  *error = U_ZERO_ERROR;
  ucnv_cbToUWriteUChars(arguments, &unit, 1, 0, error);
}

// The converter keeps the address.
void ReplaceWith(UConverter* converter, const Replacing& replacing) {
  UErrorCode error = U_ZERO_ERROR;
  ucnv_setToUCallBack(converter, ReplaceBytes, &replacing, nullptr, nullptr, &error);
}

// U+FF61 to U+FF9F in full width.
constexpr char16_t kWideKatakana[] =
    u"。「」、・ヲァィゥェォャュョッーアイウエオカキクケコサシスセソタチツテトナニヌネノ"
    u"ハヒフヘホマミムメモヤユヨラリルレロワン゛゜";
constexpr char32_t kFirstHalfWidth = 0xFF61;
constexpr char32_t kLastHalfWidth = 0xFF9F;
static_assert(std::size(kWideKatakana) - 1 == kLastHalfWidth - kFirstHalfWidth + 1);

void ReplaceUnits(const void* context, UConverterFromUnicodeArgs* arguments, const UChar* /*units*/,
                  int32_t /*length*/, UChar32 character, UConverterCallbackReason reason,
                  UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  const auto& replacing = *static_cast<const Replacing*>(context);
  const auto code = static_cast<char32_t>(character);
  const bool is_katakana =
      replacing.page.widens_katakana && code >= kFirstHalfWidth && code <= kLastHalfWidth;
  const bool is_unicode = replacing.page.number == 65000 || replacing.page.number == 65001;
  const char16_t unit = is_katakana  ? kWideKatakana[code - kFirstHalfWidth]
                        : is_unicode ? kReplacement
                                     : u'?';
  if (!is_katakana) replacing.report.has_replaced = true;
  *error = U_ZERO_ERROR;
  const UChar* source = &unit;
  ucnv_cbFromUWriteUChars(arguments, &source, source + 1, 0, error);
}

// ---- Converters --------------------------------------------------------------------------------

void DecodeWith(UConverter* converter, const CodePage& page, std::string_view text,
                ConversionOutput<char16_t>& output) {
  const char* source = text.data();
  const char* end = source + text.size();
  UErrorCode error = U_ZERO_ERROR;
  do {
    UChar chunk[kChunk];
    UChar* target = chunk;
    error = U_ZERO_ERROR;
    ucnv_toUnicode(converter, &target, chunk + kChunk, &source, end, nullptr, true, &error);
    if (page.rotates_controls) std::transform(chunk, target, chunk, ControlRead);
    output.Put(chunk, static_cast<size_t>(target - chunk));
  } while (error == U_BUFFER_OVERFLOW_ERROR);
}

void EncodeChunk(UConverter* converter, std::u16string_view text, bool is_last,
                 ConversionOutput<char>& output) {
  const UChar* source = text.data();
  const UChar* end = source + text.size();
  UErrorCode error = U_ZERO_ERROR;
  do {
    char chunk[kChunk];
    char* target = chunk;
    error = U_ZERO_ERROR;
    ucnv_fromUnicode(converter, &target, chunk + kChunk, &source, end, nullptr,
                     static_cast<UBool>(is_last), &error);
    output.Put(chunk, static_cast<size_t>(target - chunk));
  } while (error == U_BUFFER_OVERFLOW_ERROR);
}

// At its beginning the converter would announce ASCII, in which a text is anyway.
void StartInAscii(UConverter* converter) {
  ucnv_reset(converter);
  char buffer[16];
  ConversionOutput<char> announced(buffer, sizeof(buffer));
  EncodeChunk(converter, u"a", false, announced);
}

// Writes what brings the converter back to ASCII: all of one more letter but the letter.
void CloseShift(UConverter* converter, ConversionOutput<char>& output) {
  char buffer[16];
  ConversionOutput<char> closing(buffer, sizeof(buffer));
  EncodeChunk(converter, u"a", true, closing);
  output.Put(buffer, std::min(closing.length(), sizeof(buffer)) - 1);
}

// ASCII, its escape doubled, and shifted texts in turn; the converter would write an escape while
// it is shifted.
void EncodeShifted(UConverter* converter, const CodePage& page, std::u16string_view text,
                   ConversionOutput<char>& output) {
  const auto is_ascii = [](char16_t unit) { return unit < 0x80; };
  for (auto at = text.begin(); at != text.end();) {
    for (; at != text.end() && is_ascii(*at); ++at) {
      output.Put(static_cast<char>(*at));
      if (*at == char16_t(page.escape)) output.Put(page.escape);
    }
    const auto end = std::find_if(at, text.end(), is_ascii);
    if (at == end) return;
    StartInAscii(converter);
    EncodeChunk(converter, {at, end}, false, output);
    CloseShift(converter, output);
    at = end;
  }
}

void EncodeWith(UConverter* converter, const CodePage& page, std::u16string_view text,
                ConversionOutput<char>& output) {
  if (page.leaves_shift) return EncodeShifted(converter, page, text, output);
  if (!page.rotates_controls && page.narrow_sign == 0) {
    return EncodeChunk(converter, text, true, output);
  }
  while (!text.empty()) {
    UChar chunk[kChunk];
    const size_t size = std::min(text.size(), kChunk);
    std::transform(text.begin(), text.begin() + static_cast<ptrdiff_t>(size), chunk,
                   [&page](char16_t unit) { return UnitWritten(page, unit); });
    text.remove_prefix(size);
    EncodeChunk(converter, {chunk, size}, text.empty(), output);
  }
}

// ---- Pages of single bytes, and UTF-8 ----------------------------------------------------------

// What each byte stands for.
using ByteTable = std::array<char16_t, 256>;

bool HasSingleBytes(const UConverter* converter) {
  const UConverterType type = ucnv_getType(converter);
  return type == UCNV_SBCS || type == UCNV_LATIN_1 || type == UCNV_US_ASCII;
}

// Null for a page of longer characters, and one that ICU lacks.
std::unique_ptr<ByteTable> MakeByteTable(const CodePage& page) {
  UConverter* converter = ConverterNamed(page.reader);
  if (converter == nullptr || !HasSingleBytes(converter)) return nullptr;
  ConversionReport ignored;
  const Replacing replacing{page, ignored};
  ReplaceWith(converter, replacing);
  auto table = std::make_unique<ByteTable>();
  for (size_t byte = 0; byte < table->size(); ++byte) {
    const char text = static_cast<char>(byte);
    ConversionOutput<char16_t> output(&(*table)[byte], 1);
    DecodeWith(converter, page, {&text, 1}, output);
  }
  return table;
}

// The table of a page, made when it is first asked for.
const ByteTable* ByteTableOf(const CodePage& page) {
  thread_local std::map<const CodePage*, std::unique_ptr<ByteTable>> tables;
  const auto [entry, is_new] = tables.try_emplace(&page);
  if (is_new) entry->second = MakeByteTable(page);
  return entry->second.get();
}

void DecodeBytes(const ByteTable& table, std::string_view text, ConversionOutput<char16_t>& output,
                 ConversionReport& report) {
  for (const char byte : text) {
    const char16_t unit = table[static_cast<unsigned char>(byte)];
    report.has_replaced |= unit == kReplacement;
    output.Put(unit);
  }
}

void DecodeUtf8(std::string_view text, ConversionOutput<char16_t>& output,
                ConversionReport& report) {
  int32_t length = 0;
  int32_t replaced = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strFromUTF8WithSub(output.rest(), static_cast<int32_t>(output.room_left()), &length,
                       text.data(), static_cast<int32_t>(text.size()), kReplacement, &replaced,
                       &error);
  output.Skip(static_cast<size_t>(length));
  report.has_replaced |= replaced > 0;
}

// ---- National sets -----------------------------------------------------------------------------

constexpr std::string_view kPlaces = kNationalPlaces;

char16_t DecodeNational(const CodePage& page, char byte) {
  if ((byte & 0x80) != 0) return kReplacement;
  const size_t place = kPlaces.find(byte);
  return place == kPlaces.npos ? static_cast<char16_t>(byte) : page.national[place];
}

// 0x80, which is in no national set, for a character that has no place in it.
unsigned char EncodeNational(const CodePage& page, char16_t unit) {
  const size_t place = std::u16string_view(page.national).find(unit);
  if (place != std::u16string_view::npos) return static_cast<unsigned char>(kPlaces[place]);
  const bool is_common = unit < 0x80 && kPlaces.find(static_cast<char>(unit)) == kPlaces.npos;
  return is_common ? static_cast<unsigned char>(unit) : 0x80;
}

ConversionReport DecodeNationalText(const CodePage& page, std::string_view text,
                                    ConversionOutput<char16_t>& output) {
  ConversionReport report;
  for (char byte : text) {
    const char16_t unit = DecodeNational(page, byte);
    report.has_replaced = report.has_replaced || unit == kReplacement;
    output.Put(unit);
  }
  return report;
}

ConversionReport EncodeNationalText(const CodePage& page, std::u16string_view text,
                                    ConversionOutput<char>& output) {
  ConversionReport report;
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char byte = EncodeNational(page, text[i]);
    report.has_replaced = report.has_replaced || byte == 0x80;
    output.Put(byte == 0x80 ? '?' : static_cast<char>(byte));
    const bool is_pair = U16_IS_LEAD(text[i]) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1]);
    if (is_pair) ++i;  // one character, one question mark
  }
  return report;
}

// ---- Detection ---------------------------------------------------------------------------------

struct DetectorCloser {
  void operator()(UCharsetDetector* detector) const { ucsdet_close(detector); }
};

// The first of the detector's findings, best first, that the page looks for.
const CodePage& DetectCodePage(const CodePage& page, std::string_view text) {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<UCharsetDetector, DetectorCloser> detector(ucsdet_open(&error));
  const auto size = static_cast<int32_t>(std::min(text.size(), kDetectedPart));
  ucsdet_setText(detector.get(), text.data(), size, &error);
  int32_t count = 0;
  const UCharsetMatch** matches = ucsdet_detectAll(detector.get(), &count, &error);
  for (int32_t i = 0; U_SUCCESS(error) && i < count; ++i) {
    const char* name = ucsdet_getName(matches[i], &error);
    for (const DetectedPage& detected : page.detected) {
      if (std::string_view(name) == detected.name) return *FindCodePage(detected.code_page);
    }
  }
  return *FindCodePage(page.detected.back().code_page);
}

// One look at every unit, without a branch for each.
template <typename Unit>
bool IsAscii(std::basic_string_view<Unit> text) {
  char16_t bits = 0;
  for (const Unit unit : text) bits |= static_cast<std::make_unsigned_t<Unit>>(unit);
  return bits < 0x80;
}

// How many units at the beginning stand for themselves without a converter.
template <typename Unit>
size_t PlainPrefix(const CodePage& page, std::basic_string_view<Unit> text) {
  if (!page.extends_ascii) return 0;
  if (page.escape != '\0') text = text.substr(0, text.find(Unit(page.escape)));
  if (IsAscii(text)) return text.size();
  const auto end =
      std::find_if(text.begin(), text.end(), [](Unit unit) { return (unit & ~0x7F) != 0; });
  return static_cast<size_t>(end - text.begin());
}

}  // namespace

ConversionReport DecodeText(const CodePage& page, std::string_view text,
                            ConversionOutput<char16_t>& output) {
  if (page.national != nullptr) return DecodeNationalText(page, text, output);
  if (!page.detected.empty()) return DecodeText(DetectCodePage(page, text), text, output);

  ConversionReport report;
  const size_t plain = PlainPrefix(page, text);
  output.PutAscii(text.data(), plain);
  if (plain == text.size()) return report;
  text.remove_prefix(plain);
  if (page.number == CP_UTF8) {
    DecodeUtf8(text, output, report);
  } else if (const ByteTable* table = ByteTableOf(page)) {
    DecodeBytes(*table, text, output, report);
  } else {
    UConverter* converter = ConverterNamed(page.reader);
    if (converter == nullptr) return {.is_available = false};
    const Replacing replacing{page, report};
    ReplaceWith(converter, replacing);
    DecodeWith(converter, page, text, output);
  }
  return report;
}

ConversionReport EncodeText(const CodePage& page, std::u16string_view text,
                            ConversionOutput<char>& output) {
  if (page.national != nullptr) return EncodeNationalText(page, text, output);

  ConversionReport report;
  const size_t plain = PlainPrefix(page, text);
  output.PutAscii(text.data(), plain);
  if (plain == text.size()) return report;
  UConverter* converter = ConverterNamed(page.writer);
  if (converter == nullptr) return {.is_available = false};
  const Replacing replacing{page, report};
  UErrorCode error = U_ZERO_ERROR;
  ucnv_setFallback(converter, static_cast<UBool>(!page.lacks_symbols));
  ucnv_setFromUCallBack(converter, ReplaceUnits, &replacing, nullptr, nullptr, &error);
  EncodeWith(converter, page, text.substr(plain), output);
  return report;
}

bool CanConvert(const CodePage& page) {
  thread_local std::map<const CodePage*, bool> known;
  const auto [entry, is_new] = known.try_emplace(&page);
  if (is_new) {
    entry->second = (page.reader == nullptr || ConverterNamed(page.reader) != nullptr) &&
                    (page.writer == nullptr || ConverterNamed(page.writer) != nullptr);
  }
  return entry->second;
}

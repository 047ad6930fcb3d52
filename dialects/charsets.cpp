#include "dialects/charsets.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <memory>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "platform/utf8.h"

namespace dialects {
namespace {

// What remains of a name when case, "-", "_" and blanks do not count.
std::string Bare(std::string_view name) {
  std::string bare = ToUpper(name);
  std::erase_if(bare, [](char c) { return c == '-' || c == '_' || c == ' ' || c == '\t'; });
  return bare;
}

struct AliasRow {
  std::string_view bare;
  const char* known;  // a name of CharsetTable
};

constexpr std::array<AliasRow, 35> kAliases = {{
    {"UTF8", "UTF-8"},
    {"UNICODE11UTF8", "UTF-8"},
    {"SHIFTJIS", "SHIFT-JIS"},
    {"XSJIS", "SHIFT-JIS"},
    {"SJIS", "SHIFT-JIS"},
    {"MSKANJI", "SHIFT-JIS"},
    {"CP932", "SHIFT-JIS"},
    {"WINDOWS31J", "SHIFT-JIS"},
    {"GBK", "GB2312"},
    {"CP936", "GB2312"},
    {"XGBK", "GB2312"},
    {"EUCCN", "GB2312"},
    {"GB2312", "GB2312"},
    {"GB231280", "GB2312"},
    {"CHINESE", "GB2312"},
    {"BIG5", "BIG5"},
    {"CP950", "BIG5"},
    {"EUCKR", "EUC-KR"},
    {"KSC5601", "KS_C_5601"},
    {"KSC56011987", "KS_C_5601"},
    {"UHC", "KS_C_5601"},
    {"CP949", "KS_C_5601"},
    {"LATIN1", "ISO-8859-1"},
    {"L1", "ISO-8859-1"},
    {"LATIN2", "ISO-8859-2"},
    {"L2", "ISO-8859-2"},
    {"LATIN9", "ISO-8859-15"},
    {"ASCII", "US-ASCII"},
    {"USASCII", "US-ASCII"},
    {"ANSIX3.41968", "US-ASCII"},
    {"US", "US-ASCII"},
    {"KOI8R", "KOI8-R"},
    {"TIS620", "WINDOWS-874"},
    {"CP874", "WINDOWS-874"},
    {"WINDOWS874", "WINDOWS-874"},
}};

// Names that end in a number.
struct NumberedRow {
  std::string_view bare;
  std::string_view known;
};

constexpr std::array<NumberedRow, 3> kNumbered = {{
    {"ISO8859", "ISO-8859-"},
    {"CP", "WINDOWS-"},
    {"WIN", "WINDOWS-"},
}};

uint32_t KnownCodePage(std::string_view charset) {
  if (const uint32_t page = CharsetToCodePage(charset); page != 0) return page;
  const std::string bare = Bare(charset);
  const auto* row =
      std::ranges::find_if(kAliases, [&](const AliasRow& alias) { return alias.bare == bare; });
  if (row != kAliases.end()) return CharsetToCodePage(row->known);
  for (const auto& [start, known] : kNumbered) {
    if (bare.starts_with(start)) {
      return CharsetToCodePage(std::string(known).append(bare, start.size()));
    }
  }
  return 0;
}

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};

std::optional<std::string> ThroughIcu(std::string_view charset, std::string_view bytes) {
  UErrorCode error = U_ZERO_ERROR;
  const std::string name(charset);
  const std::unique_ptr<UConverter, CloseConverter> converter(ucnv_open(name.c_str(), &error));
  if (U_FAILURE(error) || name.empty()) return std::nullopt;
  std::basic_string<UChar> text(2 * bytes.size() + 2, u'\0');
  const int32_t length =
      ucnv_toUChars(converter.get(), text.data(), static_cast<int32_t>(text.size()), bytes.data(),
                    static_cast<int32_t>(bytes.size()), &error);
  if (U_FAILURE(error)) return std::nullopt;
  text.resize(static_cast<size_t>(length));
  return ToUtf8(text);
}

bool IsDoubleByte(uint32_t code_page) {
  constexpr std::array<uint32_t, 10> kDoubleByte = {932,   936,   949,   950,   1361,
                                                    20932, 50932, 50949, 51932, 51949};
  return std::ranges::find(kDoubleByte, code_page) != kDoubleByte.end();
}

// The length of the well-formed character at the start of a text; 0 for none.
size_t Utf8CharacterLength(std::string_view bytes) {
  const auto at = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned char lead = at(0);
  const size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length == 0 || lead > 0xF4 || bytes.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return 0;
  }
  if (lead == 0xE0 && at(1) < 0xA0) return 0;
  if (lead == 0xED && at(1) > 0x9F) return 0;
  if (lead == 0xF0 && at(1) < 0x90) return 0;
  if (lead == 0xF4 && at(1) > 0x8F) return 0;
  return length;
}

}  // namespace

bool IsUtf8(std::string_view bytes) {
  if (IsAsciiText(bytes)) return true;
  while (!bytes.empty()) {
    const size_t length = Utf8CharacterLength(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

bool IsAsciiText(std::string_view bytes) {
  unsigned char bits = 0;
  for (const char c : bytes) {
    bits = static_cast<unsigned char>(bits | static_cast<unsigned char>(c));
  }
  return bits < 0x80;
}

bool LooksLikeUtf8(std::string_view bytes, const TextSettings& settings) {
  if (IsAsciiText(bytes) || !IsUtf8(bytes)) return false;
  if (!IsDoubleByte(settings.input_code_page)) return true;
  return std::ranges::any_of(bytes, [](char c) { return static_cast<unsigned char>(c) >= 0xE0; });
}

std::optional<std::string> ToUtf8From(std::string_view charset, std::string_view bytes) {
  const uint32_t page = KnownCodePage(charset);
  if (page != 0) return ToUtf8From(page, bytes);
  return ThroughIcu(charset, bytes);
}

bool IsNameOfUtf8(std::string_view charset) { return KnownCodePage(charset) == kUtf8CodePage; }

std::string ToUtf8From(uint32_t code_page, std::string_view bytes) {
  // There are sets of seven bits that are not ASCII.
  if (code_page == kLatin1CodePage && IsAsciiText(bytes)) return std::string(bytes);
  if (code_page == kUtf8CodePage && IsUtf8(bytes)) return std::string(bytes);
  return ToUtf8(MultiByteToText(code_page, bytes));
}

}  // namespace dialects

// Every conversion is left to the system; what is decided here is which code page it is asked for, and what
// happens where it has none: received bytes are then tried in the system's own code page and at last as UTF-8,
// so that a text always comes out.
//
// Most texts are short. They are converted in one call into a buffer on the stack; only where that is too small
// is the length asked for. The three code pages that do not depend on a text come from the system and from the
// registry, so they are looked up once and kept for the life of the process.
#include "btosif/osif_util/charset.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "btosif/osif_util/ascii.h"
#include "config/bt_config_settings.h"
#include "config/trace.h"
#include "platform/api/codepage.h"
#include "platform/utf8.h"

namespace {

constexpr size_t kCharsetNameLimit = 260;

// Some names stand twice: reading takes the first row of a name, writing the first row of a code page.
constexpr CharsetRow kCharsets[] = {
    {"UTF-8", 65001},
    {"US-ASCII", 1252},
    {"SHIFT-JIS", 932},
    {"SJIS", 932},
    {"BIG5", 950},
    {"UTF-7", 65000},
    {"DIN_66003", 20106},
    {"NS_4551-1", 20108},
    {"SEN_850200_B", 20107},
    {"_AUTODETECT", 50932},
    {"_AUTODETECT_KR", 50949},
    {"CSISO2022JP", 50221},
    {"EUC-KR", 51949},
    {"GB2312", 936},
    {"HZ-GB-2312", 52936},
    {"IBM852", 852},
    {"IBM866", 866},
    {"IRV", 20105},
    {"ISO-2022-JP", 50220},
    {"ISO-2022-JP", 50222},
    {"ISO-2022-KR", 50225},
    {"ISO-8859-1", 1252},
    {"ISO-8859-1", 28591},
    {"ISO-8859-2", 28592},
    {"ISO-8859-3", 28593},
    {"ISO-8859-4", 28594},
    {"ISO-8859-5", 28595},
    {"ISO-8859-6", 28596},
    {"ISO-8859-7", 28597},
    {"ISO-8859-8", 28598},
    {"ISO-8859-9", 28599},
    {"ISO-8859-15", 28605},
    {"KOI8-R", 20866},
    {"KS_C_5601", 949},
    {"WINDOWS-1250", 1250},
    {"WINDOWS-1251", 1251},
    {"WINDOWS-1252", 1252},
    {"WINDOWS-1253", 1253},
    {"WINDOWS-1254", 1254},
    {"WINDOWS-1255", 1255},
    {"WINDOWS-1256", 1256},
    {"WINDOWS-1257", 1257},
    {"WINDOWS-1258", 1258},
    {"WINDOWS-874", 874},
    {"X-EUC", 51932},
    {"EUC-JP", 51932},
};
static_assert(std::size(kCharsets) == 46);

std::optional<uint32_t> g_native_code_page;
std::optional<uint32_t> g_input_code_page;
std::optional<uint32_t> g_output_code_page;

uint32_t AskForNativeCodePage() {
  WCHAR digits[8] = {};
  const int length = GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE, digits,
                                    static_cast<int>(std::size(digits)));
  const std::string text(digits, digits + std::max(length, 0));
  uint32_t code_page = 0;
  std::from_chars(text.data(), text.data() + text.size(), code_page);
  return code_page;
}

// A setting that names a code page.
struct CharsetSetting {
  char (BtConfigSettings::*name)[260];
  uint32_t when_empty;
  const char* invalid;  // traced of a name that is none
};

constexpr CharsetSetting kInputCharset = {
    &BtConfigSettings::defaultInputCharset, kLatin1CodePage,
    "OSIF:  Registry input CHARSET '%s' not valid, using native codepage"};
constexpr CharsetSetting kOutputCharset = {
    &BtConfigSettings::defaultOutputCharset, kUtf8CodePage,
    "OSIF:  Registry output CHARSET '%s' not valid, using native codepage"};

uint32_t ConfiguredCodePage(const CharsetSetting& setting) {
  BtConfigSettings settings;
  settings.read();
  const char* name = settings.*setting.name;
  if (name[0] == '\0') return setting.when_empty;
  if (const uint32_t code_page = CharsetToCodePage(name); code_page != 0) return code_page;
  if (!EqualsIgnoringCase(name, "NATIVE")) OSIF_Trace(0, setting.invalid, name);
  return NativeCodePage();
}

// Asked for at every value, so the registry is read at the first.
uint32_t ConfiguredOnce(std::optional<uint32_t>& code_page, const CharsetSetting& setting) {
  if (!code_page) code_page = ConfiguredCodePage(setting);
  return *code_page;
}

constexpr int kShortText = 256;  // units

// Lets the system convert. False when it does not know the code page.
bool Decode(uint32_t code_page, std::string_view bytes, WideText& text) {
  const int size = static_cast<int>(bytes.size());
  const auto convert = [&](WCHAR* buffer, int room) {
    SetLastError(ERROR_SUCCESS);
    return MultiByteToWideChar(code_page, 0, bytes.data(), size, buffer, room);
  };
  WCHAR short_text[kShortText];
  int length = convert(short_text, kShortText);
  if (length > 0) {
    text.assign(short_text, static_cast<size_t>(length));
    return true;
  }
  if (GetLastError() != static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER)) {
    return GetLastError() != static_cast<DWORD>(ERROR_INVALID_PARAMETER);
  }
  // A byte seldom gives more than a unit.
  text.resize(bytes.size());
  length = convert(text.data(), size);
  if (length == 0) {
    text.resize(static_cast<size_t>(convert(nullptr, 0)));
    length = convert(text.data(), static_cast<int>(text.size()));
  }
  text.resize(static_cast<size_t>(length));
  return true;
}

// The same the other way round.
bool Encode(uint32_t code_page, WideView text, std::string& bytes) {
  const int size = static_cast<int>(text.size());
  const auto convert = [&](char* buffer, int room) {
    SetLastError(ERROR_SUCCESS);
    return WideCharToMultiByte(code_page, 0, text.data(), size, buffer, room, nullptr, nullptr);
  };
  char short_text[kShortText];
  if (const int length = convert(short_text, kShortText); length > 0) {
    bytes.assign(short_text, static_cast<size_t>(length));
    return true;
  }
  if (GetLastError() != static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER)) {
    return GetLastError() != static_cast<DWORD>(ERROR_INVALID_PARAMETER);
  }
  bytes.resize(static_cast<size_t>(convert(nullptr, 0)));
  convert(bytes.data(), static_cast<int>(bytes.size()));
  return true;
}

}  // namespace

std::span<const CharsetRow> CharsetTable() { return kCharsets; }

uint32_t CharsetToCodePage(std::string_view name) {
  for (const CharsetRow& row : kCharsets) {
    if (EqualsIgnoringCase(row.name, name)) return row.code_page;
  }
  return 0;
}

const char* CodePageToCharset(uint32_t code_page) {
  for (const CharsetRow& row : kCharsets) {
    if (row.code_page == code_page) return row.name;
  }
  return nullptr;
}

uint32_t NativeCodePage() {
  if (!g_native_code_page) g_native_code_page = AskForNativeCodePage();
  return *g_native_code_page;
}

uint32_t InputCodePage() { return ConfiguredOnce(g_input_code_page, kInputCharset); }

uint32_t OutputCodePage() { return ConfiguredOnce(g_output_code_page, kOutputCharset); }

const char* SentCharsetName(uint32_t code_page) {
  return code_page == kLatin1CodePage ? nullptr : CodePageToCharset(code_page);
}

void ForgetCharsetChoices() {
  g_native_code_page.reset();
  g_input_code_page.reset();
  g_output_code_page.reset();
}

std::string_view CharsetParamValue(std::string_view parameter) {
  const size_t equals = parameter.find('=');
  if (equals == std::string_view::npos) return {};
  std::string_view value = parameter.substr(equals + 1);
  if (value.starts_with('"')) {
    value.remove_prefix(1);
    value = value.substr(0, value.find('"'));
  } else {
    value = value.substr(0, value.find(' '));
  }
  return value.substr(0, kCharsetNameLimit);
}

void MultiByteToText(uint32_t code_page, std::string_view bytes, WideText& text) {
  text.clear();
  if (bytes.empty() || Decode(code_page, bytes, text)) return;
  const bool has_other = code_page != kUtf8CodePage && Decode(NativeCodePage(), bytes, text);
  if (!has_other) text = FromUtf8(bytes);
}

WideText MultiByteToText(uint32_t code_page, std::string_view bytes) {
  WideText text;
  MultiByteToText(code_page, bytes, text);
  return text;
}

std::string TextToMultiByte(uint32_t code_page, WideView text) {
  const bool contains_ascii = code_page == kLatin1CodePage || code_page == kUtf8CodePage;
  if (text.empty() || (contains_ascii && IsAscii(text))) return {text.begin(), text.end()};
  std::string bytes;
  return Encode(code_page, text, bytes) ? bytes : ToUtf8(text);
}

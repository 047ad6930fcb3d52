// The system's default code page: a setting in the registry, else the locale of the environment.

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/api/codepage.h"
#include "platform/api/registry.h"

namespace {

constexpr UINT kWestern = 1252;
constexpr WCHAR kDeviceKey[] = u"Software\\Corvane\\Device";
constexpr WCHAR kCodePageValue[] = u"AnsiCodePage";

struct CodesetRow {
  std::string_view codeset;  // letters and digits only, in small letters
  UINT code_page;
};

constexpr CodesetRow kCodesets[] = {
    {"utf8", CP_UTF8},     {"iso88591", 28591}, {"iso88592", 28592},  {"iso88593", 28593},
    {"iso88594", 28594},   {"iso88595", 28595}, {"iso88596", 28596},  {"iso88597", 28597},
    {"iso88598", 28598},   {"iso88599", 28599}, {"iso885915", 28605}, {"koi8r", 20866},
    {"eucjp", 51932},      {"euckr", 51949},    {"sjis", 932},        {"shiftjis", 932},
    {"windows31j", 932},   {"gb2312", 936},     {"euccn", 936},       {"gbk", 936},
    {"cp949", 949},        {"big5", 950},       {"tis620", 874},      {"ibm852", 852},
    {"cp852", 852},        {"ibm866", 866},     {"cp866", 866},       {"cp1250", 1250},
    {"cp1251", 1251},      {"cp1252", 1252},    {"cp1253", 1253},     {"cp1254", 1254},
    {"cp1255", 1255},      {"cp1256", 1256},    {"cp1257", 1257},     {"cp1258", 1258},
    {"ansix341968", 1252},  // plain ASCII
};

// 0 for an unknown name.
UINT CodePageOfCodeset(std::string_view codeset) {
  std::string plain;
  for (char c : codeset) {
    if (c >= 'A' && c <= 'Z') plain += static_cast<char>(c - 'A' + 'a');
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) plain += c;
  }
  for (const CodesetRow& row : kCodesets) {
    if (row.codeset == plain) return row.code_page;
  }
  return 0;
}

// The name of the locale for characters, by POSIX's rules; empty when there is none.
std::string_view LocaleName() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

// The codeset that the C library gives a locale whose name leaves it out.
UINT CodePageOfInstalledLocale(std::string_view name) {
  const locale_t locale = newlocale(LC_CTYPE_MASK, std::string(name).c_str(), nullptr);
  if (locale == nullptr) return 0;
  const UINT code_page = CodePageOfCodeset(nl_langinfo_l(CODESET, locale));
  freelocale(locale);
  return code_page;
}

// The codeset is read out of the name ("de_DE.UTF-8@euro"), so that a locale need not be installed.
UINT CodePageOfLocale() {
  std::string_view name = LocaleName();
  if (name.empty() || name == "C" || name == "POSIX") return kWestern;
  const size_t dot = name.find('.');
  const UINT code_page = dot == name.npos
                             ? CodePageOfInstalledLocale(name)
                             : CodePageOfCodeset(name.substr(dot + 1, name.find('@') - dot - 1));
  return code_page == 0 ? kWestern : code_page;
}

// 0 when nothing is set.
UINT CodePageOfRegistry() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDeviceKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return 0;
  DWORD value = 0;
  DWORD type = 0;
  DWORD size = sizeof(value);
  const LSTATUS status =
      RegQueryValueExW(key, kCodePageValue, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
  RegCloseKey(key);
  const bool is_number = status == ERROR_SUCCESS && type == REG_DWORD && size == sizeof(value);
  return is_number ? value : 0;
}

}  // namespace

UINT GetACP() {
  const UINT chosen = CodePageOfRegistry();
  return chosen != 0 && IsValidCodePage(chosen) ? chosen : CodePageOfLocale();
}

int GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR buffer, int room) {
  if (locale != LOCALE_SYSTEM_DEFAULT || room < 0 || (buffer == nullptr && room > 0)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (type != LOCALE_IDEFAULTANSICODEPAGE) {
    SetLastError(ERROR_INVALID_FLAGS);
    return 0;
  }
  const std::string digits = std::to_string(GetACP());
  const int needed = static_cast<int>(digits.size()) + 1;
  if (room == 0) return needed;
  if (room < needed) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  std::copy_n(digits.c_str(), needed, buffer);
  return needed;
}

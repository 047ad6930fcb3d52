#include "tools/osif/report/html_text.h"

#include "platform/utf8.h"

namespace command {
namespace {

constexpr WCHAR kReplacement = 0xFFFD;

bool IsWithin(WCHAR unit, WCHAR first, WCHAR last) { return unit >= first && unit <= last; }

// Separators of lines and paragraphs; embeddings, overrides and isolates of the writing direction, which would reach
// into what stands after the text.
bool SteersText(WCHAR unit) {
  return unit < 0x20 || IsWithin(unit, 0x7F, 0x9F) || IsWithin(unit, 0x2028, 0x202E) ||
         IsWithin(unit, 0x2066, 0x2069);
}

bool IsNoCharacter(WCHAR unit) {
  return IsSurrogate(unit) || IsWithin(unit, 0xFDD0, 0xFDEF) || unit >= 0xFFFE;
}

// What a browser takes for a character of its own language; null for any other.
const char* EscapeOf(WCHAR unit) {
  switch (unit) {
    case u'&':
      return "&amp;";
    case u'<':
      return "&lt;";
    case u'>':
      return "&gt;";
    case u'"':
      return "&quot;";
    case u'\'':
      return "&#39;";
    default:
      return nullptr;
  }
}

}  // namespace

std::string HtmlText(std::string_view text) {
  const std::basic_string<WCHAR> units = FromUtf8(text);
  std::basic_string<WCHAR> safe;
  safe.reserve(units.size() + units.size() / 8);
  for (size_t i = 0; i < units.size(); ++i) {
    const WCHAR unit = units[i];
    const WCHAR next = i + 1 < units.size() ? units[i + 1] : u'\0';
    if (IsLeadSurrogate(unit) && IsTrailSurrogate(next)) {
      safe += {unit, next};
      ++i;
    } else if (const char* escape = EscapeOf(unit); escape != nullptr) {
      for (; *escape != '\0'; ++escape) safe += static_cast<WCHAR>(*escape);
    } else if (unit == u'\n' || unit == u'\t') {
      safe += unit;
    } else if (unit == u'\r') {
      if (next != u'\n') safe += u'\n';
    } else if (SteersText(unit)) {
      safe += u' ';
    } else {
      safe += IsNoCharacter(unit) ? kReplacement : unit;
    }
  }
  return ToUtf8(safe);
}

}  // namespace command

#include "client/texts.h"

#include <algorithm>

#include "platform/utf8.h"

namespace client {
namespace {

bool IsWithin(WCHAR c, WCHAR first, WCHAR last) { return c >= first && c <= last; }

bool SteersTerminal(WCHAR c) {
  return c < 0x20 || IsWithin(c, 0x7F, 0x9F) || IsWithin(c, 0x2028, 0x202E) ||
         IsWithin(c, 0x2066, 0x2069);
}

}  // namespace

std::string ToOutput(WideView text) {
  WideText clean(text);
  for (size_t i = 0; i < clean.size(); ++i) {
    if (IsLeadSurrogate(clean[i]) && i + 1 < clean.size() && IsTrailSurrogate(clean[i + 1])) {
      ++i;
    } else if (IsSurrogate(clean[i])) {
      clean[i] = 0xFFFD;
    }
  }
  return ToUtf8(clean);
}

std::string ByteText(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char byte : bytes) {
    const auto number = static_cast<unsigned char>(byte);
    if (number < 0x80) {
      text += byte;
    } else {
      text += static_cast<char>(0xC0 | (number >> 6));
      text += static_cast<char>(0x80 | (number & 0x3F));
    }
  }
  return text;
}

std::string OneLine(std::string_view text) {
  WideText line = FromUtf8(text);
  std::ranges::replace_if(line, SteersTerminal, u' ');
  return ToOutput(line);
}

std::string Printable(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    printable += OneLine(line.ends_with('\r') ? line.substr(0, end - 1) : line) + "\n";
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return printable;
}

std::string EscapedJson(std::string_view json) {
  constexpr char kDigits[] = "0123456789abcdef";
  const WideText text = FromUtf8(json);
  if (std::ranges::none_of(text, SteersTerminal)) return std::string(json);
  std::string escaped;
  for (size_t i = 0; i < text.size(); ++i) {
    const WCHAR c = text[i];
    if (SteersTerminal(c)) {
      escaped += {'\\',
                  'u',
                  kDigits[c >> 12],
                  kDigits[c >> 8 & 0xF],
                  kDigits[c >> 4 & 0xF],
                  kDigits[c & 0xF]};
    } else {
      const size_t units = IsLeadSurrogate(c) ? 2 : 1;
      escaped += ToUtf8(WideView(text).substr(i, units));
      i += units - 1;
    }
  }
  return escaped;
}

std::string TextOrBytes(std::string_view bytes) {
  return ToUtf8(FromUtf8(bytes)) == bytes ? std::string(bytes) : ByteText(bytes);
}

std::optional<std::string> FileName(std::string_view argument) {
  if (ToUtf8(FromUtf8(argument)) != argument) return std::nullopt;
  std::string name(argument);
  std::replace(name.begin(), name.end(), '\\', '/');
  return name;
}

WideText ToWide(std::string_view utf8) { return FromUtf8(utf8); }

std::string IdToOutput(const char* id) { return ToOutput(MultiByteToText(NativeCodePage(), id)); }

std::string IdFromArgument(std::string_view argument) {
  return TextToMultiByte(NativeCodePage(), FromUtf8(argument));
}

std::string CodeText(OsifResult code) { return ToOutput(OSIF_CodeToString(code)); }

std::string ObjectName(int32_t store_id, OsifObject& object) {
  WideText name(256, u'\0');
  const uint32_t length =
      OSIF_GetObjectName(store_id, &object, name.data(), static_cast<uint32_t>(name.size()));
  if (length >= name.size()) {
    name.resize(size_t{length} + 1);
    OSIF_GetObjectName(store_id, &object, name.data(), static_cast<uint32_t>(name.size()));
  }
  name.resize(length);
  return ToOutput(name);
}

std::string ObjectCount(size_t count) {
  return std::to_string(count) + (count == 1 ? " object" : " objects");
}

std::string QuotedName(const std::string& name) {
  return name.empty() ? std::string() : " \"" + name + "\"";
}

}  // namespace client

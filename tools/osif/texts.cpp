#include "tools/osif/texts.h"

#include <algorithm>

#include "platform/utf8.h"

namespace command {
namespace {

bool IsControl(unsigned char c) { return c < 0x20 || c == 0x7F; }

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
  std::string line(text);
  for (size_t i = 0; i < line.size(); ++i) {
    const auto c = static_cast<unsigned char>(line[i]);
    if (IsControl(c)) line[i] = ' ';
    // U+0080 to U+009F are control characters too, of two bytes in UTF-8.
    if (c == 0xC2 && i + 1 < line.size() && static_cast<unsigned char>(line[i + 1]) < 0xA0) {
      line[i] = ' ';
      line[i + 1] = ' ';
    }
  }
  return line;
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

}  // namespace command

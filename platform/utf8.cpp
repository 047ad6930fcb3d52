#include "platform/utf8.h"

namespace {

bool IsLead(WCHAR unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsTrail(WCHAR unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void AppendUtf8(std::string& out, char32_t character) {
  auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | (character >> 6));
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | (character >> 12));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | (character >> 18));
    put(0x80 | ((character >> 12) & 0x3F));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  }
}

// The number of bytes that a lead byte announces; 0 for a byte that leads nothing.
int SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

}  // namespace

std::string ToUtf8(std::basic_string_view<WCHAR> text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t character = text[i];
    if (IsLead(text[i]) && i + 1 < text.size() && IsTrail(text[i + 1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    AppendUtf8(out, character);
  }
  return out;
}

std::basic_string<WCHAR> FromUtf8(std::string_view bytes) {
  std::basic_string<WCHAR> out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    const int length = SequenceLength(lead);
    if (length == 0 || i + static_cast<size_t>(length) > bytes.size()) {
      out.push_back(static_cast<WCHAR>(0xFFFD));
      ++i;
      continue;
    }
    char32_t character = length == 1 ? lead : lead & (0x7F >> length);
    for (int k = 1; k < length; ++k) {
      character = (character << 6) | (static_cast<unsigned char>(bytes[i + k]) & 0x3F);
    }
    i += static_cast<size_t>(length);
    if (character < 0x10000) {
      out.push_back(static_cast<WCHAR>(character));
    } else {
      out.push_back(static_cast<WCHAR>(0xD800 + ((character - 0x10000) >> 10)));
      out.push_back(static_cast<WCHAR>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    }
  }
  return out;
}


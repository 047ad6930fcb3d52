#include "btosif/osif_util/value_text.h"

#include <algorithm>
#include <new>
#include <string>

#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/quoted_printable.h"
#include "platform/api/codepage.h"

namespace {

constexpr std::string_view kEncodedLineBreak = "=0D=0A";

bool IsQuotedPrintable(const PropertyValue& value) {
  return (value.flags & OSIF_VALUE_QUOTED_PRINTABLE) != 0 ||
         PropertyValue_FindParam(value.params, "QUOTED-PRINTABLE") != nullptr;
}

// Some senders encode line breaks, and nothing else, without declaring an encoding.
std::string WithLineBreaks(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (size_t found; (found = text.find(kEncodedLineBreak)) != std::string_view::npos;) {
    result.append(text.substr(0, found)).append("\r\n");
    text.remove_prefix(found + kEncodedLineBreak.size());
  }
  return result.append(text);
}

uint32_t ReceivedCodePage(const PropertyValue& value) {
  if (value.codePage != 0) return value.codePage;
  if ((value.flags & OSIF_VALUE_CHARSET) != 0) {
    const OsifText* param = PropertyValue_FindParam(value.params, "CHARSET");
    const std::string_view name = param == nullptr ? "" : CharsetParamValue(param->text);
    if (const uint32_t code_page = CharsetToCodePage(name); code_page != 0) return code_page;
  }
  return InputCodePage();
}

// Drops every backslash and keeps the character behind it.
void RemoveEscapes(WideText& text) {
  size_t kept = text.find(u'\\');
  if (kept == WideText::npos) return;
  for (size_t i = kept; i < text.size(); ++i) {
    if (text[i] == u'\\' && ++i == text.size()) break;
    text[kept++] = text[i];
  }
  text.resize(kept);
}

bool IsEscaped(WCHAR c) { return c == u'\\' || c == u';'; }

WideText WithEscapes(WideView text) {
  WideText escaped;
  escaped.reserve(text.size());
  for (const WCHAR c : text) {
    if (IsEscaped(c)) escaped.push_back(u'\\');
    escaped.push_back(c);
  }
  return escaped;
}

bool IsAscii(WideView text) {
  return std::all_of(text.begin(), text.end(), [](WCHAR c) { return c < 128; });
}

struct Sending {
  uint32_t code_page;
  const char* charset;  // null where none is named
};

Sending ChooseSending(const PropertyValue& value, WideView text) {
  if (value.codePage != 0) return {value.codePage, CodePageToCharset(value.codePage)};
  if (IsValidCodePage(kLatin1CodePage) && IsAscii(text)) return {kLatin1CodePage, nullptr};
  const uint32_t output = OutputCodePage();
  if (output == 0 || !IsValidCodePage(output)) return {kUtf8CodePage, "UTF-8"};
  return {output, OutputCharsetName()};
}

void NameCharset(PropertyValue& value, const char* charset) {
  if (charset == nullptr || (value.flags & OSIF_VALUE_CHARSET) != 0) return;
  if (PropertyValue_FindParam(value.params, "CHARSET") != nullptr) return;
  PropertyValue_AddParam(&value, std::string("CHARSET=") + charset);
  value.flags |= OSIF_VALUE_CHARSET;
}

// True for a text that a reader would not take as it is meant: a property line cannot hold a line break, a
// "=" at its end joins it with the next line, and in some character sets a byte of a longer character looks
// like a separator or an escape. Such a text goes out encoded whatever the caller asked for.
bool WouldBeMisread(WideView text, std::string_view bytes) {
  if (bytes.find_first_of("\r\n") != std::string_view::npos) return true;
  if (bytes.ends_with('=') || bytes.find(kEncodedLineBreak) != std::string_view::npos) return true;
  return std::count_if(text.begin(), text.end(), IsEscaped) !=
         std::count_if(bytes.begin(), bytes.end(),
                       [](char c) { return IsEscaped(static_cast<unsigned char>(c)); });
}

// The encoding holds for all components of a value, so those that were left plain follow.
void DeclareQuotedPrintable(PropertyValue& value) {
  for (OsifText* node = value.components; node != nullptr; node = node->next) {
    if (node->text == nullptr) continue;
    OwnedText encoded = CopyText(QuotedPrintableEncode(node->text));
    if (encoded == nullptr) continue;
    OsifFree(node->text);
    node->text = encoded.release();
  }
  PropertyValue_AddParam(&value, "ENCODING=QUOTED-PRINTABLE");
  value.flags |= OSIF_VALUE_QUOTED_PRINTABLE;
}

void EncodeWhereNeeded(PropertyValue& value, std::string& bytes) {
  if (QuotedPrintableEncode(bytes, nullptr, 0) == bytes.size()) return;
  bytes = QuotedPrintableEncode(bytes);
  if ((value.flags & OSIF_VALUE_QUOTED_PRINTABLE) == 0) DeclareQuotedPrintable(value);
}

}  // namespace

WideText DecodedText(PropertyValue* value, size_t index) {
  WideText text;
  const std::string_view raw = ComponentText(value, index);
  if (raw.empty()) return text;
  const std::string bytes =
      IsQuotedPrintable(*value) ? QuotedPrintableDecode(raw) : WithLineBreaks(raw);
  const uint32_t code_page = ReceivedCodePage(*value);
  // Decoded bytes are a text like any other: it ends at its first zero.
  MultiByteToText(code_page, std::string_view(bytes).substr(0, bytes.find('\0')), text);
  RemoveEscapes(text);
  value->codePage = code_page;
  return text;
}

WideText& PropertyValue_GetText(PropertyValue* value, size_t index, WideText& out) {
  out.clear();
  try {
    out = DecodedText(value, index);
  } catch (const std::bad_alloc&) {
    out.clear();
  }
  return out;
}

WideText PropertyValue_GetText(PropertyValue* value, size_t index) {
  WideText text;
  return PropertyValue_GetText(value, index, text);
}

void PropertyValue_SetText(WideView text, PropertyValue* value, uint32_t encode_flags,
                           size_t index) {
  if (value == nullptr) return;
  text = text.substr(0, text.find(u'\0'));
  const WideText escaped = WithEscapes(text);
  const Sending sending = ChooseSending(*value, escaped);
  NameCharset(*value, sending.charset);
  std::string bytes = TextToMultiByte(sending.code_page, escaped);
  const bool is_asked_for = (encode_flags & kEncodeQuotedPrintable) != 0 ||
                            (value->flags & OSIF_VALUE_QUOTED_PRINTABLE) != 0;
  if (is_asked_for || WouldBeMisread(escaped, bytes)) EncodeWhereNeeded(*value, bytes);
  PropertyValue_SetComponent(value, CopyText(bytes), index);
  if (sending.code_page != kLatin1CodePage) value->codePage = sending.code_page;
}

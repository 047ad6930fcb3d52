// Reading goes transfer encoding, character set, escapes. Most values have none of the three, so each step
// first looks whether there is anything to do, and hands its input on when there is not.
//
// Writing goes the other way, and what it has written is looked at with the eyes of a reader. A character set
// may have no backslash, may write a character that it lacks as one that looks like it, or may have letters
// whose bytes look like ";" or "\": whatever would be misread is sent quoted-printable, asked for or not.
//
// Character set and encoding are a property's, not a component's. The first component that needs one chooses
// it, and the components that are there already are rewritten where they would come to mean something else. A
// parameter is added before anything relies on it: where memory is short for it, the text stays plain, or is not put
// at all if a receiver would take it for another one.
#include "btosif/osif_util/value_text.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>
#include <utility>

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

// The bytes that a component stands for: `raw` itself or, where anything is encoded, in `decoded`.
std::string_view UndoEncoding(const PropertyValue& value, std::string_view raw,
                              std::string& decoded) {
  if (raw.find('=') == std::string_view::npos) return raw;
  if (IsQuotedPrintable(value)) {
    decoded = QuotedPrintableDecode(raw);
  } else if (raw.find(kEncodedLineBreak) != std::string_view::npos) {
    decoded = WithLineBreaks(raw);
  } else {
    return raw;
  }
  return decoded;
}

// The code page that was found first holds for the whole value, whatever is set up in the meantime.
uint32_t ReceivedCodePage(const PropertyValue& value) {
  if (value.codePage != 0) return value.codePage;
  if ((value.flags & OSIF_VALUE_CHARSET) != 0) {
    const OsifText* param = PropertyValue_FindParam(value.params, "CHARSET");
    const std::string_view name = param == nullptr ? "" : CharsetParamValue(param->text);
    if (const uint32_t code_page = CharsetToCodePage(name); code_page != 0) return code_page;
  }
  return InputCodePage();
}

// One look at every character, without a branch for each.
bool HasZeroOrEscape(WideView text) {
  unsigned found = 0;
  for (const WCHAR c : text) found |= unsigned{c == u'\0'} | unsigned{c == u'\\'};
  return found != 0;
}

// Drops every backslash and keeps the character after it. In place, since the text only gets shorter.
void RemoveEscapes(WideText& text) {
  size_t kept = text.find(u'\\');
  if (kept == WideText::npos) return;
  for (size_t i = kept; i < text.size(); ++i) {
    if (text[i] == u'\\' && ++i == text.size()) break;
    text[kept++] = text[i];
  }
  text.resize(kept);
}

// True for what is escaped in a value, of wide text as of bytes.
template <typename Unit>
bool IsEscaped(Unit c) {
  return c == Unit('\\') || c == Unit(';');
}

WideText WithEscapes(WideView text) {
  WideText escaped;
  escaped.reserve(text.size() + 2);
  for (const WCHAR c : text) {
    if (IsEscaped(c)) escaped.push_back(u'\\');
    escaped.push_back(c);
  }
  return escaped;
}

bool HasLatin1() {
  static const bool has_latin1 = IsValidCodePage(kLatin1CodePage);
  return has_latin1;
}

// Plain ASCII goes as Latin-1 and names no character set: every receiver reads it.
uint32_t ChooseCodePage(const PropertyValue& value, WideView text) {
  if (value.codePage != 0) return value.codePage;
  if (HasLatin1() && IsAscii(text)) return kLatin1CodePage;
  const uint32_t output = OutputCodePage();
  return output != 0 && IsValidCodePage(output) ? output : kUtf8CodePage;
}

// A value that names a character set keeps the name that it has. False when memory is short for the name.
bool NameCharset(PropertyValue& value, const char* charset) {
  if (charset == nullptr || (value.flags & OSIF_VALUE_CHARSET) != 0) return true;
  if (PropertyValue_FindParam(value.params, "CHARSET") != nullptr) return true;
  if (!PropertyValue_AddParam(&value, std::string("CHARSET=") + charset)) return false;
  value.flags |= OSIF_VALUE_CHARSET;
  return true;
}

// The text as it comes back from a code page.
WideText AsHeldBy(uint32_t code_page, WideView text) {
  return MultiByteToText(code_page, TextToMultiByte(code_page, text));
}

// Many sets write a character that they lack as one that looks like it. Where that is a separator
// or an escape (the full-width "\" becomes a "\"), it is that one which has to be protected.
WideText WithLookAlikes(uint32_t code_page, WideView text) {
  WideText result(text);
  for (WCHAR& c : result) {
    if (c < 128) continue;
    const WideText held = AsHeldBy(code_page, WideView(&c, 1));
    if (held.size() == 1 && IsEscaped(held[0])) c = held[0];
  }
  return result;
}

// How many characters look like a separator or an escape.
template <typename Text>
ptrdiff_t CountEscaped(const Text& text) {
  return std::count_if(text.begin(), text.end(), IsEscaped<typename Text::value_type>);
}

// A text in the bytes of a character set.
struct SentText {
  std::string bytes;
  bool is_misread;  // as it is: it has to be encoded whatever the caller asked for
};

// False for a national set that has a letter in the place of the backslash.
bool HasBackslash(uint32_t code_page) {
  const bool contains_ascii = code_page == kLatin1CodePage || code_page == kUtf8CodePage;
  return contains_ascii || AsHeldBy(code_page, u"\\") == u"\\";
}

// Whether no byte but those of separators and escapes themselves looks like one.
bool HasOwnBytes(uint32_t code_page, WideView text) {
  return code_page == kUtf8CodePage || (code_page == kLatin1CodePage && IsAscii(text));
}

// One that is there, or that a reader would see.
bool HasLineBreak(std::string_view bytes) {
  return bytes.find('\n') != std::string_view::npos || bytes.find('\r') != std::string_view::npos ||
         bytes.ends_with('=') || bytes.find(kEncodedLineBreak) != std::string_view::npos;
}

// A reader would misread a line break, which a property line cannot hold, a "=" at the end, which
// joins the line with the next one, and each byte of a letter that looks like a separator or an
// escape. Where a national set has a letter in the place of the backslash nothing can be escaped;
// but a ";" separates nothing when it is encoded.
SentText ForSending(uint32_t code_page, WideView text) {
  const bool has_escapes = HasBackslash(code_page);
  WideText escaped;
  WideView sent = text;
  if (has_escapes && CountEscaped(text) > 0) sent = escaped = WithEscapes(text);
  std::string bytes = TextToMultiByte(code_page, sent);
  bool is_misread = false;
  if (!HasOwnBytes(code_page, text)) {
    if (has_escapes && CountEscaped(bytes) != CountEscaped(sent)) {
      sent = escaped = WithEscapes(WithLookAlikes(code_page, text));
      bytes = TextToMultiByte(code_page, sent);
    }
    is_misread = CountEscaped(bytes) != (has_escapes ? CountEscaped(sent) : 0);
  }
  is_misread = is_misread || HasLineBreak(bytes);
  return {std::move(bytes), is_misread};
}

// The encoding holds for all components of a value, so those that were left plain follow: all of them or, when
// memory is short, which gives false, none.
bool DeclareQuotedPrintable(PropertyValue& value) {
  constexpr std::string_view kParam = "ENCODING=QUOTED-PRINTABLE";
  size_t room = kParam.size() + 1 + kPropertyNodeRoom;
  for (const OsifText& node : Texts(value.components)) {
    if (node.text != nullptr) room += QuotedPrintableEncode(node.text, nullptr, 0) + 1;
  }
  if (!PropertyValue_Reserve(value, room) || !PropertyValue_AddParam(&value, kParam)) return false;
  size_t index = 0;
  for (const OsifText& node : Texts(value.components)) {
    const size_t position = index++;
    if (node.text == nullptr) continue;
    PropertyValue_SetComponent(&value, QuotedPrintableEncode(node.text), position);
  }
  value.flags |= OSIF_VALUE_QUOTED_PRINTABLE;
  return true;
}

// A text that quoted-printable would not change is sent as it is. False when it could not be encoded: the bytes are
// then what they were.
bool EncodeWhereNeeded(PropertyValue& value, std::string& bytes) {
  if (QuotedPrintableEncode(bytes, nullptr, 0) == bytes.size()) return true;
  const bool is_declared = (value.flags & OSIF_VALUE_QUOTED_PRINTABLE) != 0;
  if (!is_declared && !DeclareQuotedPrintable(value)) return false;
  bytes = QuotedPrintableEncode(bytes);
  return true;
}

void PutText(WideView text, PropertyValue& value, uint32_t code_page, uint32_t encode_flags,
             size_t index) {
  SentText sent = ForSending(code_page, text);
  const bool is_asked_for = (encode_flags & kEncodeQuotedPrintable) != 0 ||
                            (value.flags & OSIF_VALUE_QUOTED_PRINTABLE) != 0;
  if (is_asked_for || sent.is_misread) {
    const bool is_encoded = EncodeWhereNeeded(value, sent.bytes);
    if (!is_encoded && sent.is_misread) return;
  }
  PropertyValue_SetComponent(&value, sent.bytes, index);
}

// The character set holds for all components of a value, so the ASCII ones that were stored before
// it was chosen follow, where it has other bytes for them.
void FollowCharset(PropertyValue& value, uint32_t code_page) {
  size_t index = 0;
  for (const OsifText& node : Texts(value.components)) {
    const size_t position = index++;
    if (node.text == nullptr) continue;
    const bool is_encoded = (value.flags & OSIF_VALUE_QUOTED_PRINTABLE) != 0;
    const std::string bytes = is_encoded ? QuotedPrintableDecode(node.text) : node.text;
    WideText text = MultiByteToText(kLatin1CodePage, bytes);
    if (!IsAscii(text) || MultiByteToText(code_page, bytes) == text) continue;
    RemoveEscapes(text);
    PutText(text, value, code_page, 0, position);
  }
}

// The room that the text has already is used again.
void DecodeInto(WideText& text, PropertyValue* value, size_t index) {
  text.clear();
  const std::string_view raw = ComponentText(value, index);
  if (raw.empty()) return;
  std::string decoded;
  const std::string_view bytes = UndoEncoding(*value, raw, decoded);
  const uint32_t code_page = ReceivedCodePage(*value);
  // A decoded text ends at its first zero like any other, be it a byte or, in UTF-7, a character.
  MultiByteToText(code_page, bytes.substr(0, bytes.find('\0')), text);
  value->codePage = code_page;
  if (!HasZeroOrEscape(text)) return;
  text.resize(std::min(text.find(u'\0'), text.size()));
  RemoveEscapes(text);
}

}  // namespace

WideText DecodedText(PropertyValue* value, size_t index) {
  WideText text;
  DecodeInto(text, value, index);
  return text;
}

WideText& PropertyValue_GetText(PropertyValue* value, size_t index, WideText& out) {
  try {
    DecodeInto(out, value, index);
  } catch (const std::bad_alloc&) {
    out.clear();
  }
  return out;
}

void PropertyValue_SetText(WideView text, PropertyValue* value, uint32_t encode_flags,
                           size_t index) {
  if (value == nullptr) return;
  if (text.empty() && value->codePage == 0 && HasLatin1()) {  // most fields of most objects
    PropertyValue_SetComponent(value, std::string_view(), index);
    return;
  }
  text = text.substr(0, text.find(u'\0'));
  const uint32_t code_page = ChooseCodePage(*value, text);
  if (!NameCharset(*value, SentCharsetName(code_page))) return;
  if (code_page != kLatin1CodePage && value->codePage == 0) FollowCharset(*value, code_page);
  PutText(text, *value, code_page, encode_flags, index);
  if (code_page != kLatin1CodePage) value->codePage = code_page;
}

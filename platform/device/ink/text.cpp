// Characters are coded by their Unicode numbers, in one byte or two:
//
//   U+0020 to U+007E   the byte itself
//   tab                C4 04
//   U+00A0 to U+00FF   C1, the byte
//   U+0100 to U+3FFF   80 + the low six bits, the rest
//
// A second byte may have any value, so codes can only be read from left to right.

#include "platform/device/ink/text.h"

#include <utility>

#include "platform/device/ink/format.h"
#include "platform/utf8.h"

namespace device {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kParagraphStart = "\xE5\1\0\xE6\x0A\0"sv;  // font 1, 10 points
constexpr std::string_view kParagraphEnd = "\xC4\0"sv;
constexpr std::string_view kTab = "\xC4\4"sv;

// Readers exist that take the number of a paragraph's bytes for a signed one of 16 bits.
constexpr size_t kMaxCharacterBytes = 0x7FFF - kParagraphStart.size() - kParagraphEnd.size();

// The ids of two zones for each paragraph, and those of the whole text, share 16 bits.
constexpr size_t kMaxEndedParagraphs = 28'000;
static_assert(kMaxEndedParagraphs + 2 * kMaxInkText / (kMaxCharacterBytes - 1) < 30'000);

constexpr char16_t kFirstUncodable = 0x4000;

bool IsVisible(char16_t unit) {
  if (unit == u'\t') return true;
  return unit >= 0x20 && !(unit >= 0x7F && unit < 0xA0) && unit < kFirstUncodable;
}

size_t CodeSize(char16_t unit) { return unit >= 0x20 && unit < 0x7F ? 1 : 2; }

// Steps over a line end, if one stands at the position.
bool TakeLineEnd(std::u16string_view text, size_t& at) {
  if (text[at] != u'\r' && text[at] != u'\n') return false;
  at += text.substr(at, 2) == u"\r\n" ? 2 : 1;
  return true;
}

// Steps over a character and gives what is to be seen of it.
char16_t TakeCharacter(std::u16string_view text, size_t& at) {
  const char16_t unit = text[at++];
  if (IsLeadSurrogate(unit) && at < text.size() && IsTrailSurrogate(text[at])) ++at;
  return IsVisible(unit) ? unit : u'?';
}

void AppendCharacter(std::string& codes, char16_t unit) {
  if (unit == u'\t') {
    codes += kTab;
  } else if (unit < 0x7F) {
    codes += static_cast<char>(unit);
  } else if (unit < 0x100) {
    codes += '\xC1';
    codes += static_cast<char>(unit);
  } else {
    codes += static_cast<char>(0x80 | (unit & 0x3F));
    codes += static_cast<char>(unit >> 6);
  }
}

struct Code {
  unsigned char byte;
  unsigned char arguments;  // bytes that follow
};

// Codes that are no characters.
constexpr Code kCodes[] = {
    {0xC2, 2},  // inline ink
    {0xC3, 2},  // gap
    {0xC5, 2},  // object
    {0xE5, 2},  // font
    {0xE6, 2},  // size
    {0xE7, 2},  // colour
    {0xE8, 2},  // weight
    {0xE9, 1},  // italic
    {0xEA, 1},  // underlined
    {0xEB, 1},  // struck out
    {0xEC, 1},  // highlighted
    {0xEF, 3}, {0xF1, 7},
};

class CodeReader {
 public:
  explicit CodeReader(std::string_view codes) : codes_(codes) {}

  std::u16string Read() {
    text_.reserve(codes_.size());
    while (position_ < codes_.size() && !is_ended_) ReadCode();
    return std::move(text_);
  }

 private:
  void ReadCode() {
    const unsigned char code = TakeByte();
    if (code < 0x80) {
      Append(code);
    } else if (code < 0xC0) {
      Append(static_cast<char16_t>((code & 0x3F) | TakeByte() << 6));
    } else if (code == 0xC1) {
      Append(TakeByte());
    } else if (code == 0xC4) {
      ReadMark(TakeByte());
    } else {
      SkipArguments(code);
    }
  }

  void ReadMark(unsigned char mark) {
    if (mark == 0x00) is_ended_ = true;
    if (mark == 0x04) Append(u'\t');
    if (mark == 0x19) position_ += 2;
    if (mark == 0x1B) position_ += 6;
  }

  // A code that is not known is taken to have no arguments.
  void SkipArguments(unsigned char byte) {
    for (const Code& code : kCodes) {
      if (code.byte == byte) position_ += code.arguments;
    }
  }

  void Append(char16_t unit) {
    if (IsVisible(unit)) text_ += unit;
  }

  // The next byte, 0 after the end.
  unsigned char TakeByte() {
    const size_t at = position_++;
    return at < codes_.size() ? static_cast<unsigned char>(codes_[at]) : 0;
  }

  std::string_view codes_;
  size_t position_ = 0;  // may lie after the end
  bool is_ended_ = false;
  std::u16string text_;
};

}  // namespace

std::u16string WithInkLineEnds(std::u16string_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    if (TakeLineEnd(text, at)) {
      result += u"\r\n";
    } else {
      result += text[at++];
    }
  }
  return result;
}

std::u16string VisibleInkText(std::u16string_view text) {
  std::u16string result;
  result.reserve(text.size());
  size_t ended_paragraphs = 0;
  size_t bytes = 0;  // that the present paragraph's characters take
  auto end_paragraph = [&] {
    result += u"\r\n";
    ++ended_paragraphs;
    bytes = 0;
  };
  for (size_t at = 0; at < text.size();) {
    char16_t character = u' ';
    if (!TakeLineEnd(text, at)) {
      character = TakeCharacter(text, at);
    } else if (ended_paragraphs < kMaxEndedParagraphs) {
      end_paragraph();
      continue;
    }
    if (bytes + CodeSize(character) > kMaxCharacterBytes) end_paragraph();
    result += character;
    bytes += CodeSize(character);
  }
  return result;
}

std::string EncodeInkParagraph(std::u16string_view paragraph) {
  std::string codes(kParagraphStart);
  for (char16_t unit : paragraph) AppendCharacter(codes, unit);
  return codes.append(kParagraphEnd);
}

std::u16string DecodeInkParagraph(std::string_view codes) { return CodeReader(codes).Read(); }

}  // namespace device

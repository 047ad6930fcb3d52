// The input lies in memory, so a tag or an entity is a piece of it: nothing is collected, and one that is
// never closed reaches to the end. What comes out goes to a sink that counts it all and stores what fits, so
// that measuring and converting are the same walk.
#include "btosif/osif_util/html_to_text.h"

#include <cstdint>

#include "btosif/osif_util/html_entities.h"
#include "platform/utf8.h"

namespace {

constexpr WCHAR kLineBreak[] = {'\r', '\n'};
constexpr uint32_t kNoCharacter = 0xFFFFFFFF;
constexpr uint32_t kLastCharacter = 0x10FFFF;

bool IsWhiteSpace(WCHAR c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

WCHAR Upper(WCHAR c) { return c >= 'a' && c <= 'z' ? static_cast<WCHAR>(c - 32) : c; }

WideView WithoutLeadingWhiteSpace(WideView text) {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
  return text;
}

WideView WithoutLeading(WideView text, WCHAR c) {
  const size_t other = text.find_first_not_of(c);
  return other == WideView::npos ? WideView() : text.substr(other);
}

// True when the text begins with the word, which is given in upper case, in any case.
bool BeginsWith(WideView text, WideView word) {
  if (text.size() < word.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    if (Upper(text[i]) != word[i]) return false;
  }
  return true;
}

// ---- Entities ---------------------------------------------------------------------------------------

// The value of a digit; kNoCharacter for what is none in that base.
uint32_t Digit(WCHAR c, uint32_t base) {
  uint32_t value = kNoCharacter;
  if (c >= '0' && c <= '9') value = c - u'0';
  if (Upper(c) >= 'A' && Upper(c) <= 'F') value = Upper(c) - u'A' + 10;
  return value < base ? value : kNoCharacter;
}

// The number that a text begins with, held above the last character; 0 when it begins with none.
uint32_t Number(WideView text, uint32_t base) {
  text = WithoutLeadingWhiteSpace(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (base == 16 && BeginsWith(text, u"0X")) text.remove_prefix(2);
  uint32_t number = 0;
  for (const WCHAR c : text) {
    const uint32_t digit = Digit(c, base);
    if (digit == kNoCharacter) break;
    number = number * base + digit;
    if (number > kLastCharacter) return kNoCharacter;
  }
  return number;
}

// The character of the text after "&" whose first character is "#".
uint32_t NumberedCharacter(WideView text) {
  text = WithoutLeading(text, '#');
  if (text.empty() || text.front() != 'x') return Number(text, 10);
  return Number(WithoutLeading(text, 'x'), 16);
}

bool IsCharacter(uint32_t number) {
  return number != 0 && number <= kLastCharacter && !IsSurrogate(number);
}

uint32_t EntityCharacter(WideView entity) {
  uint32_t character = 0;
  if (entity.front() == '#') {
    character = NumberedCharacter(entity);
  } else if (const HtmlEntity* row = FindHtmlEntity(entity)) {
    character = row->character;
  }
  return IsCharacter(character) ? character : ' ';
}

// ---- Text -------------------------------------------------------------------------------------------

// Counts all that it is given and keeps what fits.
class TextSink {
 public:
  TextSink(WCHAR* output, size_t capacity)
      : output_(capacity == 0 ? nullptr : output), capacity_(capacity) {}

  // Units that belong together.
  void Add(WideView units) {
    length_ += units.size();
    if (output_ == nullptr || length_ >= capacity_) return;
    stored_ += units.copy(output_ + stored_, units.size());
  }

  // Returns the length of all that was given.
  size_t Finish() {
    if (output_ != nullptr) output_[stored_] = 0;
    return length_;
  }

 private:
  WCHAR* output_;
  size_t capacity_;
  size_t length_ = 0;
  size_t stored_ = 0;
};

class Converter {
 public:
  Converter(WideView input, TextSink& sink) : rest_(input), sink_(sink) {}

  void Run() {
    while (!rest_.empty()) {
      const WCHAR c = rest_.front();
      rest_.remove_prefix(1);
      Take(c);
    }
  }

  HtmlExtent extent() const {
    if (has_body_) return HtmlExtent::kDocument;
    return has_markup_ ? HtmlExtent::kFragment : HtmlExtent::kText;
  }

 private:
  void Take(WCHAR c) {
    switch (c) {
      case '<':
        TakeTag(TakeUpTo('>'));
        break;
      case '&':
        TakeEntity(TakeUpTo(';'));
        break;
      case '\r':
        break;
      case '\n':
        SkipIndentation();
        break;
      default:
        if (body_depth_ != 0) sink_.Add({&c, 1});
        break;
    }
  }

  // The text up to the next `end`, which is taken too; nothing, and all the rest, when there is none.
  WideView TakeUpTo(WCHAR end) {
    const size_t found = rest_.find(end);
    const bool is_closed = found != WideView::npos;
    const WideView text = rest_.substr(0, is_closed ? found : 0);
    has_markup_ = has_markup_ || is_closed;
    rest_.remove_prefix(is_closed ? found + 1 : rest_.size());
    return text;
  }

  // A word is enough when the tag begins with it: a longer name counts too.
  void TakeTag(WideView tag) {
    tag = WithoutLeadingWhiteSpace(tag);
    if (BeginsWith(tag, u"BODY")) {
      has_body_ = true;
      ++body_depth_;
    }
    if (BeginsWith(tag, u"/BODY")) --body_depth_;
    for (const WideView word : {u"/DIV", u"/P", u"/TD", u"/LI", u"/BR"}) {
      if (!BeginsWith(tag, word)) continue;
      sink_.Add({kLineBreak, 2});
      break;
    }
  }

  void TakeEntity(WideView entity) {
    WCHAR units[kEntityUnits];
    sink_.Add({units, DecodeHtmlEntity(entity, units)});
  }

  void SkipIndentation() {
    const size_t found = rest_.find_first_not_of(u" \t");
    rest_.remove_prefix(found == WideView::npos ? rest_.size() : found);
  }

  WideView rest_;
  TextSink& sink_;
  bool has_markup_ = false;
  bool has_body_ = false;
  // Wraps when a BODY is closed that was not opened: text is kept from there on.
  uint32_t body_depth_ = 0;
};

}  // namespace

size_t HtmlToText(const WCHAR* input, WCHAR* output, size_t capacity) {
  TextSink sink(output, capacity);
  if (input != nullptr) Converter(input, sink).Run();
  return sink.Finish();
}

HtmlExtent HtmlExtentOf(const WCHAR* input) {
  TextSink sink(nullptr, 0);
  Converter converter(input, sink);
  converter.Run();
  return converter.extent();
}

size_t DecodeHtmlEntity(WideView entity, WCHAR* output) {
  if (entity.empty()) return 0;
  WCHAR units[kEntityUnits];
  const size_t count = EncodeUtf16(EntityCharacter(entity), units);
  if (output != nullptr) WideView(units, count).copy(output, count);
  return count;
}

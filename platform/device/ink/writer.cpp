// The order of the zones, their ids and the values in them are those of real documents.
//
// A zone's head takes 6 bytes, so zones start in turn at 2 and at 0 modulo 4. Each paragraph has two, so
// that every text zone's content lies at a multiple of 4; the whole text comes in an even number of
// zones, so that a document's length is a multiple of 4 as well.

#include "platform/device/ink/writer.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/device/ink/format.h"
#include "platform/device/ink/text.h"

namespace device {
namespace {

using namespace std::string_view_literals;

constexpr std::u16string_view kFontName = u"Tahoma";
constexpr size_t kFontNameSize = 64;  // bytes
constexpr uint16_t kFontId = 1;
constexpr uint16_t kFontPoints = 10;

constexpr uint16_t kFirstParagraphId = 0x22;  // of its lines zone; its text zone has the next one

// Lines on the screen. A control lays the text out anew; these are what a small screen might show.
constexpr size_t kLineCharacters = 30;
constexpr size_t kCharacterWidth = 32;               // in 1/432 inch
constexpr uint16_t kAscentAndDescent = 27 | 6 << 8;  // pixels

// Page width, height and margins in twips: 8.5 by 11 inches, one inch each.
constexpr uint32_t kPageSizes[] = {12240, 15840, 240, 1440, 1440, 1440, 1440};
constexpr std::string_view kPageRest =
    "\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
    "\x0A\0\0\0\0\0\x04\0\0\0\0\0\0\0\0\0"
    "\x0A\0\0\0\0\0\x04\0"
    "\0\0\0\0\0\0\0\0\0\0\0\0\0\0"sv;

constexpr uint32_t kViewState[] = {1, 2, 0, 0, 0, 18, 0, 996, 851, 0, 0, 1026, 851, 0, 0, 0};

// The bytes of a document as they come.
class InkBytes {
 public:
  void Put(std::string_view bytes) { bytes_ += bytes; }
  void Put16(size_t number) {
    bytes_ += static_cast<char>(number & 0xFF);
    bytes_ += static_cast<char>(number >> 8 & 0xFF);
  }
  void Put32(size_t number) {
    Put16(number);
    Put16(number >> 16);
  }
  void PutUnits(std::u16string_view units) {
    for (char16_t unit : units) Put16(unit);
  }
  void PutZeros(size_t count) { bytes_.append(count, '\0'); }

  // What `put_content` puts becomes a zone, filled up to whole words.
  template <typename PutContent>
  void PutZone(ink::ZoneType type, size_t id, PutContent put_content) {
    Put16(type);
    Put16(id);
    const size_t length_at = bytes_.size();
    Put16(0);
    const size_t start = bytes_.size();
    put_content();
    while ((bytes_.size() - start) % ink::kWordSize != 0) PutZeros(1);
    const size_t words = (bytes_.size() - start) / ink::kWordSize;
    bytes_[length_at] = static_cast<char>(words & 0xFF);
    bytes_[length_at + 1] = static_cast<char>(words >> 8);
  }

  std::string Take() { return std::move(bytes_); }

 private:
  std::string bytes_;
};

// The parts before the text, the same in every document.
void PutPreamble(InkBytes& out) {
  out.Put(ink::kSignature);
  out.Put16(ink::kVersion);
  out.Put16(0);
  out.PutZone(ink::kFonts, 2, [&] {
    for (uint16_t word : {kFontId, kFontPoints, uint16_t{1}, uint16_t{100}, uint16_t{100}}) {
      out.Put16(word);
    }
    out.PutZeros(6);
    out.Put16(kFontId);
    out.Put16(1);
    out.PutZeros(12);
    out.PutUnits(kFontName);
    out.PutZeros(kFontNameSize - 2 * kFontName.size());
  });
  out.PutZone(ink::kUnknown20, 4, [&] { out.Put32(0); });
  out.PutZone(ink::kUnknown21, 5, [&] { out.Put32(0); });
  out.PutZone(ink::kPage, 6, [&] {
    out.Put16(0x50);
    out.Put16(1);
    for (uint32_t size : kPageSizes) out.Put32(size);
    out.Put(kPageRest);
  });
  out.PutZone(ink::kView, 7, [&] {
    for (uint32_t word : kViewState) out.Put32(word);
  });
}

struct Paragraph {
  std::u16string_view text;
  std::vector<size_t> lines;  // the cells of each; the end of the paragraph is a cell of the last

  size_t cells() const { return text.size() + 1; }
};

// A line breaks after the last blank that is on it, or where it is full.
std::vector<size_t> Wrap(std::u16string_view text) {
  std::vector<size_t> lines;
  while (text.size() > kLineCharacters) {
    const size_t blank = text.substr(0, kLineCharacters).rfind(u' ');
    const size_t cells = blank == std::u16string_view::npos ? kLineCharacters : blank + 1;
    lines.push_back(cells);
    text.remove_prefix(cells);
  }
  lines.push_back(text.size() + 1);
  return lines;
}

std::vector<Paragraph> SplitParagraphs(std::u16string_view visible) {
  std::vector<Paragraph> paragraphs;
  for (size_t start = 0; start != std::u16string_view::npos;) {
    const size_t end = visible.find(u"\r\n", start);
    const std::u16string_view text = visible.substr(start, end - start);
    paragraphs.push_back({text, Wrap(text)});
    start = end == std::u16string_view::npos ? end : end + 2;
  }
  return paragraphs;
}

size_t LinesId(size_t paragraph) { return kFirstParagraphId + 2 * paragraph; }
size_t TextId(size_t paragraph) { return LinesId(paragraph) + 1; }

// The list tells in which order the paragraphs are read; it stands before them, with their sums.
void PutParagraphList(InkBytes& out, const std::vector<Paragraph>& paragraphs) {
  size_t cells = 0;
  size_t lines = 0;
  for (const Paragraph& paragraph : paragraphs) {
    cells += paragraph.cells();
    lines += paragraph.lines.size();
  }
  out.PutZone(ink::kParagraphList, 8, [&] {
    for (size_t number : {paragraphs.size(), paragraphs.size(), cells, lines}) out.Put32(number);
    out.PutZeros(8);
    for (size_t i = 0; i < paragraphs.size(); ++i) {
      for (size_t number : {paragraphs[i].lines.size(), paragraphs[i].cells(), TextId(i)}) {
        out.Put16(number);
      }
      out.Put16(0);
    }
  });
}

// A paragraph's two zones name each other: the text has the id of its lines.
void PutParagraph(InkBytes& out, const Paragraph& paragraph, size_t number) {
  const std::string codes = EncodeInkParagraph(paragraph.text);
  out.PutZone(ink::kText, TextId(number), [&] {
    out.Put16(paragraph.cells());
    out.Put16(codes.size());
    out.Put16(paragraph.lines.size());
    out.Put16(0xFFFF);
    out.Put16(LinesId(number));
    out.PutZeros(14);  // no indents, no bullet, aligned to the left
    out.Put(codes);
    out.PutZeros(1);  // at least one follows the end mark
  });
  out.PutZone(ink::kLines, LinesId(number), [&] {
    for (size_t cells : paragraph.lines) {
      out.Put16(cells);
      out.Put32(0);
      out.Put16(kCharacterWidth * (cells - 1));
      out.Put16(kAscentAndDescent);
    }
  });
}

void PutDrawings(InkBytes& out) {
  out.PutZone(ink::kDrawings, 9, [&] {
    out.Put16(ink::kDrawings);
    out.PutZeros(10);
  });
}

// The text beside its paragraphs, for what these cannot hold. A zone's length is limited, so that a long text
// takes several; an empty one makes their number even.
void PutWholeText(InkBytes& out, std::u16string_view text, size_t first_id) {
  constexpr size_t kMaxUnits = (ink::kMaxZoneWords * ink::kWordSize - ink::kWholeTextHeadSize) / 2;
  size_t zones = (text.size() + kMaxUnits - 1) / kMaxUnits;
  zones += zones % 2;
  for (size_t i = 0; i < zones; ++i) {
    const std::u16string_view part = text.substr(std::min(i * kMaxUnits, text.size()), kMaxUnits);
    out.PutZone(ink::kWholeText, first_id + i, [&] {
      out.Put(ink::kWholeTextMark);
      out.Put32(part.size());
      out.PutUnits(part);
    });
  }
}

}  // namespace

std::string WriteInkDocument(std::u16string_view text) {
  const std::u16string whole = WithInkLineEnds(text.substr(0, kMaxInkText));
  const std::u16string visible = VisibleInkText(whole);
  const std::vector<Paragraph> paragraphs = SplitParagraphs(visible);
  InkBytes out;
  PutPreamble(out);
  PutParagraphList(out, paragraphs);
  for (size_t i = 0; i < paragraphs.size(); ++i) PutParagraph(out, paragraphs[i], i);
  PutDrawings(out);
  if (visible != whole) PutWholeText(out, whole, LinesId(paragraphs.size()));
  return out.Take();
}

}  // namespace device

// Both texts are folded, and then it is a search for units. Most texts of most stores are ASCII, for which folding is one
// step a unit; all others go through ICU: compatibility forms and case are folded (NFKC_Casefold), what is left is taken
// apart, and the marks that Latin, Greek and Cyrillic letters bear go. Marks of other scripts stay: there they make other
// letters. A few Latin letters have a stroke that is no mark.
#include "client/text_match.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>

#include "client/texts.h"

namespace client {
namespace {

struct StrokeRow {
  char16_t letter;
  std::u16string_view plain;
};
constexpr std::array<StrokeRow, 9> kStrokes = {{{u'\u00E6', u"ae"},
                                                {u'\u00F0', u"d"},
                                                {u'\u00F8', u"o"},
                                                {u'\u00FE', u"th"},
                                                {u'\u0111', u"d"},
                                                {u'\u0127', u"h"},
                                                {u'\u0131', u"i"},
                                                {u'\u0142', u"l"},
                                                {u'\u0153', u"oe"}}};

bool IsMark(char16_t unit) { return unit >= 0x0300 && unit <= 0x036F; }
bool IsBlank(char16_t unit) { return unit <= u' ' || unit == 0x00A0 || unit == 0x3000; }

void AddFolded(char16_t unit, WideText& folded) {
  if (IsMark(unit)) return;
  if (IsBlank(unit)) {
    // One blank stands for any number of blanks and line ends.
    if (!folded.empty() && folded.back() != u' ') folded += u' ';
    return;
  }
  if (unit < 0x80) {
    folded += unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    return;
  }
  const auto* row = std::ranges::find(kStrokes, unit, &StrokeRow::letter);
  if (row == kStrokes.end()) {
    folded += unit;
  } else {
    folded += row->plain;
  }
}

void Fold(WideView text, WideText& folded) {
  folded.clear();
  if (std::ranges::all_of(text, [](char16_t unit) { return unit < 0x80; })) {
    for (const char16_t unit : text) AddFolded(unit, folded);
    return;
  }
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* fold = icu::Normalizer2::getNFKCCasefoldInstance(error);
  const icu::Normalizer2* take_apart = icu::Normalizer2::getNFDInstance(error);
  icu::UnicodeString units(false, text.data(), static_cast<int32_t>(text.size()));
  if (U_SUCCESS(error)) units = take_apart->normalize(fold->normalize(units, error), error);
  for (int32_t i = 0; i < units.length(); ++i) AddFolded(units[i], folded);
}

}  // namespace

TextMatch::TextMatch(std::string_view wanted) {
  Fold(ToWide(wanted), wanted_);
  if (wanted_.ends_with(u' ')) wanted_.pop_back();
}

bool TextMatch::IsIn(WideView text) {
  Fold(text, folded_);
  return folded_.find(wanted_) != WideText::npos;
}

}  // namespace client

#include "client/text_match.h"

#include <gtest/gtest.h>

namespace client::text_match_test {
namespace {

bool Holds(WideView text, std::string_view wanted) { return TextMatch(wanted).IsIn(text); }

TEST(TextMatch, FindsAPartWhereverItStands) {
  EXPECT_TRUE(Holds(u"Town hall", "Town"));
  EXPECT_TRUE(Holds(u"Town hall", "hall"));
  EXPECT_TRUE(Holds(u"Town hall", "n h"));
  EXPECT_FALSE(Holds(u"Town hall", "halls"));
  EXPECT_FALSE(Holds(u"", "a"));
}

TEST(TextMatch, DoesNotLookAtCase) {
  EXPECT_TRUE(Holds(u"TOWN", "town"));
  EXPECT_TRUE(Holds(u"\u0411\u0415\u0420\u0415\u0413", "\xD0\xB1\xD0\xB5\xD1\x80"));  // Cyrillic
  EXPECT_TRUE(Holds(u"Stra\u00DFe", "STRASSE"));
}

TEST(TextMatch, DoesNotLookAtAccentsOfEitherText) {
  EXPECT_TRUE(Holds(u"Aur\u00E9lie", "aurelie"));
  EXPECT_TRUE(Holds(u"Aurelie", "aur\xC3\xA9lie"));
  EXPECT_TRUE(Holds(u"Aure\u0301lie", "aur\xC3\xA9lie"));
  EXPECT_TRUE(Holds(u"S\u00F8ren \u0141\u00F3d\u017A", "soren lodz"));
  EXPECT_TRUE(Holds(u"\u00C6r\u00F8", "aero"));
}

// A mark makes another letter of it there: "ga" is no "ka".
TEST(TextMatch, KeepsTheMarksOfOtherScripts) {
  EXPECT_FALSE(Holds(u"\u304B", "\xE3\x81\x8C"));
  EXPECT_TRUE(Holds(u"\u82B1\u5B50 \u898B\u672C", "\xE8\x8A\xB1\xE5\xAD\x90"));
}

TEST(TextMatch, TakesAnyBlanksForOne) {
  EXPECT_TRUE(Holds(u"Call\r\nafter   six", "call after six"));
  EXPECT_TRUE(Holds(u"Call after", "  after "));
}

TEST(TextMatch, TakesWidthsOfLettersForOne) { EXPECT_TRUE(Holds(u"\uFF21\uFF22\uFF23", "abc")); }

TEST(TextMatch, OfNothingIsEmpty) {
  EXPECT_TRUE(TextMatch("").is_empty());
  EXPECT_TRUE(TextMatch(" \n ").is_empty());
  EXPECT_TRUE(TextMatch("\xCC\x81").is_empty());
  EXPECT_FALSE(TextMatch("a").is_empty());
}

}  // namespace
}  // namespace client::text_match_test

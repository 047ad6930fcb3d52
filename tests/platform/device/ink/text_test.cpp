#include "platform/device/ink/text.h"

#include <gtest/gtest.h>

#include "tests/platform/device/ink/document.h"

namespace text_test {
namespace {

using device::DecodeInkParagraph;
using device::EncodeInkParagraph;
using device::VisibleInkText;
using device::WithInkLineEnds;
using ink_test::Bytes;
using ink_test::Repeated;

const std::string kStart = Bytes("E5 01 00 E6 0A 00");
const std::string kEnd = Bytes("C4 00");

TEST(InkLineEnds, AreAllOfThemWrittenAsCarriageReturnAndLineFeed) {
  EXPECT_EQ(WithInkLineEnds(u"a\r\nb\nc\rd"), u"a\r\nb\r\nc\r\nd");
}

TEST(InkLineEnds, OfEmptyLinesAreKept) {
  EXPECT_EQ(WithInkLineEnds(u"\n\n\r\r\n\r"), u"\r\n\r\n\r\n\r\n\r\n");
}

struct Coding {
  std::u16string_view character;
  std::string_view codes;
};

class InkCharacter : public testing::TestWithParam<Coding> {};

TEST_P(InkCharacter, IsWrittenAsItsCodes) {
  EXPECT_EQ(EncodeInkParagraph(GetParam().character), kStart + Bytes(GetParam().codes) + kEnd);
}

TEST_P(InkCharacter, IsReadFromItsCodes) {
  EXPECT_EQ(DecodeInkParagraph(kStart + Bytes(GetParam().codes) + kEnd), GetParam().character);
}

INSTANTIATE_TEST_SUITE_P(OfOneByte, InkCharacter,
                         testing::ValuesIn<Coding>({{u" ", "20"}, {u"A", "41"}, {u"~", "7E"}}));

INSTANTIATE_TEST_SUITE_P(OfTwoBytes, InkCharacter,
                         testing::ValuesIn<Coding>({
                             {u"\t", "C4 04"},
                             {u"\u00A0", "C1 A0"},
                             {u"\u00C4", "C1 C4"},
                             {u"\u00F6", "C1 F6"},
                             {u"\u00FF", "C1 FF"},
                             {u"\u0100", "80 04"},
                             {u"\u0103", "83 04"},
                             {u"\u013F", "BF 04"},
                             {u"\u0140", "80 05"},
                             {u"\u0416", "96 10"},
                             {u"\u2019", "99 80"},
                             {u"\u20AC", "AC 82"},
                             {u"\u3042", "82 C1"},
                             {u"\u3103", "83 C4"},
                             {u"\u3FFF", "BF FF"},
                         }));

TEST(InkParagraph, WithoutCharactersIsFontSizeAndEndMark) {
  EXPECT_EQ(EncodeInkParagraph(u""), Bytes("E5 01 00 E6 0A 00 C4 00"));
}

struct Codes {
  std::string_view codes;
  std::u16string_view text;
};

class ReadsCodes : public testing::TestWithParam<Codes> {};

TEST_P(ReadsCodes, AsText) {
  EXPECT_EQ(DecodeInkParagraph(Bytes(GetParam().codes)), GetParam().text);
}

// 61 and 62 are "a" and "b"; the arguments are "x", which shows when they are counted wrongly.
INSTANTIATE_TEST_SUITE_P(OfOtherThingsThanCharacters, ReadsCodes,
                         testing::ValuesIn<Codes>({
                             {"61 C2 78 78 62", u"ab"},
                             {"61 C3 78 78 62", u"ab"},
                             {"61 C5 78 78 62", u"ab"},
                             {"61 E5 78 78 62", u"ab"},
                             {"61 E6 78 78 62", u"ab"},
                             {"61 E7 78 78 62", u"ab"},
                             {"61 E8 78 78 62", u"ab"},
                             {"61 E9 78 62", u"ab"},
                             {"61 EA 78 62", u"ab"},
                             {"61 EB 78 62", u"ab"},
                             {"61 EC 78 62", u"ab"},
                             {"61 EF 78 78 78 62", u"ab"},
                             {"61 F1 78 78 78 78 78 78 78 62", u"ab"},
                             {"61 C4 19 78 78 62", u"ab"},
                             {"61 C4 1B 78 78 78 78 78 78 62", u"ab"},
                             {"61 C4 77 62", u"ab"},
                         }));

INSTANTIATE_TEST_SUITE_P(ThatAreDamaged, ReadsCodes,
                         testing::ValuesIn<Codes>({
                             {"", u""},
                             {"61", u"a"},
                             {"61 62", u"ab"},
                             {"61 C4", u"a"},
                             {"61 C1", u"a"},
                             {"61 96", u"a"},
                             {"61 E5 01", u"a"},
                             {"61 F1 01", u"a"},
                             {"61 C4 1B 01", u"a"},
                             {"61 FE 62", u"ab"},
                         }));

INSTANTIATE_TEST_SUITE_P(BehindTheEndMark, ReadsCodes,
                         testing::ValuesIn<Codes>({{"61 C4 00 62", u"a"}, {"C4 00 62", u""}}));

// So that a text never has a line end, or a zero character, within a paragraph.
INSTANTIATE_TEST_SUITE_P(OfControlCharacters, ReadsCodes,
                         testing::ValuesIn<Codes>({
                             {"61 0D 0A 00 62", u"ab"},
                             {"61 7F 62", u"ab"},
                             {"61 80 00 8D 00 8A 00 62", u"ab"},
                             {"61 C1 85 C1 0A 62", u"ab"},
                             {"61 89 00 62", u"a\tb"},
                         }));

INSTANTIATE_TEST_SUITE_P(OfShortNumbersInTheLongForm, ReadsCodes,
                         testing::ValuesIn<Codes>({{"81 01", u"A"}, {"BC 03", u"\u00FC"}}));

struct Look {
  std::u16string text;
  std::u16string_view visible;
};

class LooksLike : public testing::TestWithParam<Look> {};

TEST_P(LooksLike, WhatTheFormatCanSay) {
  EXPECT_EQ(VisibleInkText(GetParam().text), GetParam().visible);
}

INSTANTIATE_TEST_SUITE_P(VisibleInkText, LooksLike,
                         testing::ValuesIn<Look>({
                             {u"", u""},
                             {u"Gr\u00FC\u00DFe\t\u20AC \u3FFF", u"Gr\u00FC\u00DFe\t\u20AC \u3FFF"},
                             {u"\u4000", u"?"},
                             {u"\u6F22\u5B57 ok", u"?? ok"},
                             {u"a\U0001F600b", u"a?b"},
                             {u"a\xD83D", u"a?"},
                             {u"\xDE00z", u"?z"},
                             {u"\xDE00\xD83D", u"??"},
                             {u"\xD83D\xD83D\xDE00", u"??"},
                             {u"a\u0001\u001F\u007F\u0080\u009F\u00A0", u"a?????\u00A0"},
                             {std::u16string(u"a\0b", 3), u"a?b"},
                             {u"a\rb\nc\r\nd", u"a\r\nb\r\nc\r\nd"},
                             {u"\n", u"\r\n"},
                         }));

// 32,767 bytes at most, of which font, size and end mark take 8.
TEST(VisibleInkText, GoesOnInTheNextParagraphWhereOneIsFull) {
  EXPECT_EQ(VisibleInkText(Repeated(u"x", 32760)), Repeated(u"x", 32759) + u"\r\nx");
  EXPECT_EQ(VisibleInkText(Repeated(u"x", 32759)), Repeated(u"x", 32759));
  EXPECT_EQ(VisibleInkText(Repeated(u"\u00E4", 16380)),
            Repeated(u"\u00E4", 16379) + u"\r\n" + u"\u00E4");
}

TEST(VisibleInkText, CountsTheBytesOfEachParagraphAnew) {
  const std::u16string text = Repeated(u"x", 20000) + u"\r\n" + Repeated(u"y", 20000);
  EXPECT_EQ(VisibleInkText(text), text);
}

TEST(VisibleInkText, JoinsLinesWithABlankWhereThereAreTooManyParagraphs) {
  EXPECT_EQ(VisibleInkText(Repeated(u"\n", 28000)), Repeated(u"\r\n", 28000));
  EXPECT_EQ(VisibleInkText(Repeated(u"\n", 28002) + u"end"), Repeated(u"\r\n", 28000) + u"  end");
}

TEST(VisibleInkText, GoesOnInTheNextParagraphAlsoWhereLinesAreJoined) {
  const std::u16string lines = Repeated(u"\n", 28000);
  EXPECT_EQ(VisibleInkText(lines + Repeated(u"x", 32759) + u"\nz"),
            Repeated(u"\r\n", 28000) + Repeated(u"x", 32759) + u"\r\n z");
}

}  // namespace
}  // namespace text_test

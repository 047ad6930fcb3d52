#include "platform/device/ink/reader.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/device/ink/text.h"
#include "platform/device/ink/writer.h"
#include "tests/platform/device/ink/document.h"
#include "tests/support/corpus.h"

namespace reader_test {
namespace {

using device::ReadInkDocument;
using device::WriteInkDocument;
using ink_test::Bytes;
using ink_test::Repeated;
using ink_test::Zones;

const std::string kHeader = Bytes("7B 5C 70 77 69 15 00 00 01 01 06 00 00 00");

std::string Little(size_t number, size_t size) {
  std::string bytes;
  for (size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i) & 0xFF);
  return bytes;
}

std::string Zone(size_t type, size_t id, std::string content) {
  while (content.size() % 4 != 0) content += '\0';
  return Little(type, 2) + Little(id, 2) + Little(content.size() / 4, 2) + content;
}

std::string List(const std::vector<size_t>& ids) {
  std::string content = Little(ids.size(), 4) + std::string(20, '\0');
  for (size_t id : ids) content += Little(1, 2) + Little(2, 2) + Little(id, 4);
  return Zone(64, 8, content);
}

std::string Text(size_t id, std::string_view characters) {
  const std::string codes = std::string(characters) + Bytes("C4 00");
  return Zone(65, id, Little(0, 2) + Little(codes.size(), 2) + std::string(20, '\0') + codes);
}

std::u16string Reading(std::string_view zones) {
  return ReadInkDocument(kHeader + std::string(zones)).value_or(u"no document");
}

TEST(InkReader, ReadsTheParagraphsInTheOrderOfTheList) {
  EXPECT_EQ(Reading(List({7, 5, 6}) + Text(5, "five") + Text(6, "six") + Text(7, "seven")),
            u"seven\r\nfive\r\nsix");
}

TEST(InkReader, PassesOverZonesThatItDoesNotKnow) {
  EXPECT_EQ(Reading(Zone(104, 3, "shape") + List({5}) + Zone(66, 4, "") + Text(5, "five")),
            u"five");
}

TEST(InkReader, TakesTheLengthOfAnObjectForOneInBytes) {
  const std::string object = Little(85, 2) + Little(1, 2) + Little(2, 2) + std::string(65538, 'A');
  EXPECT_EQ(Reading(List({5}) + object + Text(5, "five")), u"five");
}

TEST(InkReader, PassesOverEntriesWithoutATextZone) {
  EXPECT_EQ(Reading(List({0, 5, 9}) + Text(5, "five")), u"five");
}

TEST(InkReader, TakesTheOrderOfTheFileWhereIdsAreNotUnique) {
  EXPECT_EQ(Reading(List({0x23, 0x23}) + Text(0x23, "one") + Text(0x23, "two")), u"one\r\ntwo");
}

TEST(InkReader, TakesTheOrderOfTheFileWhereThereIsNoList) {
  EXPECT_EQ(Reading(Text(6, "one") + Text(5, "two")), u"one\r\ntwo");
}

TEST(InkReader, TakesAParagraphOnceHoweverOftenItIsListed) {
  EXPECT_EQ(Reading(List({5, 5, 6, 5}) + Text(5, "five") + Text(6, "six")), u"five\r\nsix");
}

TEST(InkReader, BelievesNoNumberOfParagraphsBeyondTheList) {
  const std::string list = Zone(
      64, 8,
      Little(0xFFFFFFFF, 4) + std::string(20, '\0') + Little(1, 2) + Little(2, 2) + Little(5, 4));
  EXPECT_EQ(Reading(list + Text(5, "five")), u"five");
}

TEST(InkReader, LeavesOutATextZoneThatIsShorterThanItsText) {
  const std::string head_only = Zone(65, 5, Little(0, 2) + Little(5, 2) + std::string(20, '\0'));
  const std::string too_short = Zone(65, 6, Little(0, 2));
  EXPECT_EQ(Reading(List({5, 6, 7}) + head_only + too_short + Text(7, "seven")), u"seven");
}

TEST(InkReader, EndsAtAZoneThatIsCutOff) {
  const std::string cut = Text(6, "six");
  EXPECT_EQ(Reading(List({5, 6}) + Text(5, "five") + cut.substr(0, cut.size() - 1)), u"five");
  EXPECT_EQ(Reading(List({5, 6}) + Text(5, "five") + cut.substr(0, 3)), u"five");
}

TEST(InkReader, ReadsAListThatIsTooShortAsOneOfNothing) {
  EXPECT_EQ(Reading(Zone(64, 8, "1234") + Text(5, "five")), u"");
}

TEST(InkReader, ReadsTheNewerVersionToo) {
  std::string document = WriteInkDocument(u"text");
  document[10] = 7;
  EXPECT_EQ(ReadInkDocument(document), u"text");
}

TEST(InkReader, RefusesWhatDoesNotBeginAsAnInkDocument) {
  const std::string document = WriteInkDocument(u"text");
  EXPECT_EQ(ReadInkDocument(""), std::nullopt);
  EXPECT_EQ(ReadInkDocument("{\\rtf1 text}"), std::nullopt);
  EXPECT_EQ(ReadInkDocument(document.substr(0, 13)), std::nullopt);
  for (size_t at : {0u, 4u, 5u, 9u, 10u, 11u}) {
    std::string other = document;
    other[at] = static_cast<char>(other[at] + 2);
    EXPECT_EQ(ReadInkDocument(other), std::nullopt) << at;
  }
}

// ---- The whole text ----------------------------------------------------------------------------

TEST(InkReader, PrefersTheWholeTextWhereTheParagraphsLookLikeIt) {
  EXPECT_EQ(ReadInkDocument(WriteInkDocument(u"\u6F22\u5B57\tok\n\U0001F600")),
            u"\u6F22\u5B57\tok\r\n\U0001F600");
}

TEST(InkReader, PassesOverTheWholeTextWhenAParagraphWasChanged) {
  std::string document = WriteInkDocument(u"\u6F22 hello");
  const size_t at = document.find("? hello");
  ASSERT_NE(at, std::string::npos);
  document[at + 3] = 'a';
  EXPECT_EQ(ReadInkDocument(document), u"? hallo");
}

TEST(InkReader, PassesOverTheWholeTextWhenAParagraphCameOrWent) {
  const std::string document = WriteInkDocument(u"\u6F22");
  const std::vector<ink_test::Zone> zones = Zones(document);
  ASSERT_EQ(zones.back().type, 0x6F73u);
  const std::string whole = Zone(0x6F73, 0x99, zones[zones.size() - 2].content);
  EXPECT_EQ(Reading(List({5}) + Text(5, "?") + whole), u"\u6F22");
  EXPECT_EQ(Reading(List({5, 6}) + Text(5, "?") + Text(6, "") + whole), u"?\r\n");
  EXPECT_EQ(Reading(List({}) + whole), u"");
}

TEST(InkReader, PassesOverAWholeTextOfWhichAPartIsMissing) {
  const std::string document = WriteInkDocument(Repeated(u"\u6F22", 140000));
  const std::vector<ink_test::Zone> zones = Zones(document);
  const size_t second = zones[zones.size() - 1].offset - 6;
  EXPECT_EQ(ReadInkDocument(document.substr(0, second))->substr(0, 3), u"???");
  EXPECT_EQ(ReadInkDocument(document), Repeated(u"\u6F22", 140000));
}

TEST(InkReader, PassesOverZonesOfTheSameTypeThatAreNotOurs) {
  const std::string paragraph = List({5}) + Text(5, "?");
  const std::string ours = Little(1, 4) + Bytes("22 6F");
  EXPECT_EQ(Reading(paragraph + Zone(0x6F73, 9, "OSIF" + ours)), u"\u6F22");
  EXPECT_EQ(Reading(paragraph + Zone(0x6F73, 9, "OSIX" + ours)), u"?");
  EXPECT_EQ(Reading(paragraph + Zone(0x6F73, 9, "OSIF")), u"?");
}

TEST(InkReader, BelievesNoNumberOfUnitsBeyondTheZone) {
  EXPECT_EQ(Reading(List({5}) + Text(5, "??") +
                    Zone(0x6F73, 9, "OSIF" + Little(0xFFFFFFFF, 4) + Bytes("22 6F 57 5B"))),
            u"\u6F22\u5B57");
}

// ---- There and back ----------------------------------------------------------------------------

class ComesBack : public testing::TestWithParam<std::u16string> {};

TEST_P(ComesBack, AsItWasWithCarriageReturnAndLineFeedBetweenTheLines) {
  EXPECT_EQ(ReadInkDocument(WriteInkDocument(GetParam())), device::WithInkLineEnds(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(InkDocument, ComesBack,
                         testing::Values(u"", u"Hello", u"\n", u"\r\r",
                                         u"one\r\ntwo\nthree\rfour\n", u"\ttabs\t\there\t",
                                         u"\u6F22\u5B57\u304B\u306A\uFF01", u"\U0001F600\U0010FFFF",
                                         u"a\xD83D"
                                         u"b\xDE00",
                                         u"\uFEFFmark", u"\u0001\u000B\u000C\u007F\u0085\u2028",
                                         std::u16string(u"zero\0character", 14),
                                         Repeated(u"x", 40000), Repeated(u"line\n", 40000),
                                         Repeated(u"Sentence. ", 100000),
                                         Repeated(u"\u6F22\u5B57\r\n", 200000)));

TEST(InkDocument, OfAllCharactersOfUnicodeComesBack) {
  std::u16string text;
  for (char32_t c = 1; c < 0x110000; ++c) {
    if (c >= 0xD800 && c < 0xE000) continue;
    if (c < 0x10000) {
      text += static_cast<char16_t>(c);
    } else {
      text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    }
  }
  EXPECT_TRUE(ReadInkDocument(WriteInkDocument(text)) == device::WithInkLineEnds(text));
}

RC_GTEST_PROP(InkDocumentProperty, AnyTextComesBack, ()) {
  const auto unit = rc::gen::weightedOneOf<uint16_t>({
      {4, rc::gen::inRange<uint16_t>(0x20, 0x100)},
      {1, rc::gen::element<uint16_t>('\r', '\n', '\t', ' ', '?')},
      {2, rc::gen::inRange<uint16_t>(0, 0x4000)},
      {1, rc::gen::inRange<uint16_t>(0x4000, 0xFFFF)},
      {1, rc::gen::inRange<uint16_t>(0xD800, 0xE000)},
  });
  const auto units = *rc::gen::container<std::vector<uint16_t>>(unit);
  const std::u16string text(units.begin(), units.end());
  RC_ASSERT(ReadInkDocument(WriteInkDocument(text)) == device::WithInkLineEnds(text));
}

// What a reader sees that knows nothing of the whole text.
RC_GTEST_PROP(InkDocumentProperty, ParagraphsAloneGiveTheVisibleText, ()) {
  const auto units =
      *rc::gen::container<std::vector<uint16_t>>(rc::gen::inRange<uint16_t>(0, 0x5000));
  const std::u16string text(units.begin(), units.end());
  const std::string document = WriteInkDocument(text);
  const size_t whole = document.find("OSIF");
  const std::u16string expected = device::VisibleInkText(text);
  RC_ASSERT(ReadInkDocument(document.substr(0, whole)) == expected);
}

// ---- Documents of handhelds --------------------------------------------------------------------

class HandheldDocument : public testing::Test {
 protected:
  void SetUp() override {
    const std::string folder = support::CorpusFolder();
    if (folder.empty()) GTEST_SKIP() << support::kNoCorpus;
    folder_ = std::filesystem::path(folder) / "ink";
  }

  std::string Document(const char* name) const {
    std::ifstream in(folder_ / name, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << folder_ / name;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

 private:
  std::filesystem::path folder_;
};

TEST_F(HandheldDocument, OfThreeParagraphsIsRead) {
  EXPECT_EQ(ReadInkDocument(Document("charmap16.pwi")),
            u"charmap16\r\n\r\n--  " + Repeated(u"\u00F6", 16));
}

TEST_F(HandheldDocument, OfNineteenParagraphsIsReadInTheOrderOfItsList) {
  constexpr std::u16string_view kLetters[] = {u"\u00D6\u00F6", u"\u00C4\u00E4", u"\u00DC\u00FC",
                                              u"\u00DF\u00DF"};
  std::u16string expected = u"Charmap\r\n\r\n";
  for (size_t row = 0; row < 16; ++row) {
    const std::u16string_view letters = kLetters[row % 4];
    expected += u"0123456789ABCDEF"[row];
    expected += u"_ ";
    expected += letters[0];
    expected += Repeated(letters.substr(1), 15) + u"\r\n";
  }
  EXPECT_EQ(ReadInkDocument(Document("charmap256.pwi")), expected);
}

// Byte 0x1A is the zoom, which is 200 percent there.
TEST_F(HandheldDocument, BeginsAsOurs) {
  std::string theirs = Document("charmap16.pwi").substr(0, 0x128);
  ASSERT_EQ(theirs.size(), 0x128u);
  theirs[0x1A] = 100;
  EXPECT_EQ(WriteInkDocument(u"").substr(0, 0x128), theirs);
}

// Their ids, the word that is 0 in notes, and the measured width of a line are theirs alone.
TEST_F(HandheldDocument, HasParagraphsLikeOurs) {
  const auto theirs = Zones(Document("charmap16.pwi"));
  const auto ours = Zones(WriteInkDocument(u"charmap16\n\n--  " + Repeated(u"\u00F6", 16)));
  ASSERT_EQ(theirs.size(), ours.size());
  for (size_t i = 5; i < theirs.size(); ++i) {
    EXPECT_EQ(theirs[i].type, ours[i].type) << i;
    ASSERT_EQ(theirs[i].content.size(), ours[i].content.size()) << i;
    if (theirs[i].type != 65) continue;
    EXPECT_EQ(theirs[i].content.substr(0, 6), ours[i].content.substr(0, 6)) << i;
    EXPECT_EQ(theirs[i].content.substr(10), ours[i].content.substr(10)) << i;
  }
}

}  // namespace
}  // namespace reader_test

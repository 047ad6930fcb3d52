#include "platform/device/ink/writer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "tests/platform/device/ink/document.h"

namespace writer_test {
namespace {

using device::WriteInkDocument;
using ink_test::Bytes;
using ink_test::Number;
using ink_test::Repeated;
using ink_test::Zone;
using ink_test::Zones;
using ink_test::ZonesOfType;

constexpr size_t kList = 64;
constexpr size_t kText = 65;
constexpr size_t kLines = 66;
constexpr size_t kWholeText = 0x6F73;

// Header, fonts, two zones of unknown use, page and view, as handhelds write them.
const std::string kPreamble = Bytes(R"(
  7b 5c 70 77 69 15 00 00 01 01 06 00 00 00 00 00 02 00 18 00 01 00 0a 00 01 00 64 00 64 00 00 00
  00 00 00 00 01 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00 54 00 61 00 68 00 6f 00 6d 00 61 00
  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 14 00 04 00 01 00 00 00 00 00 15 00
  05 00 01 00 00 00 00 00 07 00 06 00 15 00 50 00 01 00 d0 2f 00 00 e0 3d 00 00 f0 00 00 00 a0 05
  00 00 a0 05 00 00 a0 05 00 00 a0 05 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 0a 00 00 00
  00 00 04 00 00 00 00 00 00 00 00 00 0a 00 00 00 00 00 04 00 00 00 00 00 00 00 00 00 00 00 00 00
  00 00 08 00 07 00 10 00 01 00 00 00 02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 12 00 00 00
  00 00 00 00 e4 03 00 00 53 03 00 00 00 00 00 00 00 00 00 00 02 04 00 00 53 03 00 00 00 00 00 00
  00 00 00 00 00 00 00 00)");

const std::string kDrawings = Bytes("82 00 09 00 03 00 82 00 00 00 00 00 00 00 00 00 00 00");

TEST(InkWriter, WritesTheEmptyTextAsADocumentOfOneEmptyParagraph) {
  EXPECT_EQ(WriteInkDocument(u""), kPreamble + Bytes(R"(
    40 00 08 00 08 00  01 00 00 00 01 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00 00 00 00 00
      01 00 01 00 23 00 00 00
    41 00 23 00 09 00  01 00 08 00 01 00 ff ff 22 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
      e5 01 00 e6 0a 00 c4 00 00 00 00 00
    42 00 22 00 03 00  01 00 00 00 00 00 00 00 1b 06 00 00)") +
                                       kDrawings);
  EXPECT_EQ(WriteInkDocument(u"").size(), 412u);
}

TEST(InkWriter, WritesEachLineAsAParagraph) {
  EXPECT_EQ(WriteInkDocument(u"Hello\r\nGr\u00FC\u00DFe"), kPreamble + Bytes(R"(
    40 00 08 00 0a 00  02 00 00 00 02 00 00 00 0c 00 00 00 02 00 00 00 00 00 00 00 00 00 00 00
      01 00 06 00 23 00 00 00  01 00 06 00 25 00 00 00
    41 00 23 00 0a 00  06 00 0d 00 01 00 ff ff 22 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
      e5 01 00 e6 0a 00 48 65 6c 6c 6f c4 00 00 00 00
    42 00 22 00 03 00  06 00 00 00 00 00 a0 00 1b 06 00 00
    41 00 25 00 0a 00  06 00 0f 00 01 00 ff ff 24 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
      e5 01 00 e6 0a 00 47 72 c1 fc c1 df 65 c4 00 00
    42 00 24 00 03 00  06 00 00 00 00 00 a0 00 1b 06 00 00)") + kDrawings);
}

TEST(InkWriter, TakesEveryKindOfLineEndAlike) {
  EXPECT_EQ(WriteInkDocument(u"a\nb"), WriteInkDocument(u"a\r\nb"));
  EXPECT_EQ(WriteInkDocument(u"a\rb"), WriteInkDocument(u"a\r\nb"));
  EXPECT_EQ(ZonesOfType(WriteInkDocument(u"a\rb"), kText).size(), 2u);
}

TEST(InkWriter, EndsATextThatEndsInALineEndWithAnEmptyParagraph) {
  const std::vector<Zone> texts = ZonesOfType(WriteInkDocument(u"a\n"), kText);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(Number(texts[1].content, 0, 2), 1u);  // the end of the paragraph is a cell
}

TEST(InkWriter, CountsATabAndALetterOfTwoBytesAsOneCell) {
  const std::vector<Zone> texts = ZonesOfType(WriteInkDocument(u"\t\u20AC\u00E4"), kText);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(Number(texts[0].content, 0, 2), 4u);
  EXPECT_EQ(Number(texts[0].content, 2, 2), 14u);
}

TEST(InkWriter, FillsATextZoneUpWithAtLeastOneZeroByte) {
  // 24 bytes of head and 8 of codes beside the characters: 35 and one more, 36 and four more.
  EXPECT_EQ(ZonesOfType(WriteInkDocument(u"abc"), kText)[0].content.size(), 36u);
  EXPECT_EQ(ZonesOfType(WriteInkDocument(u"abcd"), kText)[0].content.size(), 40u);
}

// The cells of the lines of a paragraph.
std::vector<size_t> LinesOf(std::u16string_view text) {
  const std::string document = WriteInkDocument(text);
  const Zone lines = ZonesOfType(document, kLines).at(0);
  const size_t count = Number(ZonesOfType(document, kText).at(0).content, 4, 2);
  EXPECT_EQ(lines.content.size(), (10 * count + 3) / 4 * 4);
  std::vector<size_t> cells;
  for (size_t i = 0; i < count; ++i) cells.push_back(Number(lines.content, 10 * i, 2));
  return cells;
}

TEST(InkWriter, BreaksALineBehindItsLastBlank) {
  EXPECT_EQ(
      LinesOf(u"The quick brown fox jumps over the lazy dog"),
      (std::vector<size_t>{26, 18}));  // "The quick brown fox jumps ", "over the lazy dog", end
}

TEST(InkWriter, BreaksALineWithoutBlanksWhereItIsFull) {
  EXPECT_EQ(LinesOf(Repeated(u"x", 65)), (std::vector<size_t>{30, 30, 6}));
  EXPECT_EQ(LinesOf(Repeated(u"x", 30)), (std::vector<size_t>{31}));
}

TEST(InkWriter, TellsTheSumsOfCellsAndLinesInTheList) {
  const Zone list = ZonesOfType(WriteInkDocument(Repeated(u"x", 65) + u"\nabc\n"), kList).at(0);
  EXPECT_EQ(Number(list.content, 0, 4), 3u);
  EXPECT_EQ(Number(list.content, 4, 4), 3u);
  EXPECT_EQ(Number(list.content, 8, 4), 66u + 4u + 1u);
  EXPECT_EQ(Number(list.content, 12, 4), 3u + 1u + 1u);
  EXPECT_EQ(Number(list.content, 24, 2), 3u);
  EXPECT_EQ(Number(list.content, 26, 2), 66u);
}

TEST(InkWriter, PutsNoZoneOfItsOwnWhereTheParagraphsSayAll) {
  EXPECT_TRUE(
      ZonesOfType(WriteInkDocument(u"Gr\u00FC\u00DFe\t\u20AC\r\n\u0416"), kWholeText).empty());
}

// "漢" is U+6F22. The second zone is empty: there is an even number.
TEST(InkWriter, PutsTheWholeTextBehindTheDrawingsWhereTheParagraphsSayLess) {
  const std::string document = WriteInkDocument(u"\u6F22!\na");
  EXPECT_TRUE(document.ends_with(kDrawings + Bytes(R"(
    73 6f 26 00 05 00  4f 53 49 46 05 00 00 00  22 6f 21 00 0d 00 0a 00 61 00 00 00
    73 6f 27 00 02 00  4f 53 49 46 00 00 00 00)")));
}

// 65,535 words are 262,140 bytes: 8 of head, 131,066 units. The text is one unit more than two zones
// hold.
TEST(InkWriter, DividesAWholeTextThatOneZoneDoesNotHold) {
  const std::string document = WriteInkDocument(Repeated(u"\u6F22", 262133));
  const std::vector<Zone> zones = ZonesOfType(document, kWholeText);
  ASSERT_EQ(zones.size(), 4u);
  EXPECT_EQ(Number(zones[0].content, 4, 4), 131066u);
  EXPECT_EQ(Number(zones[1].content, 4, 4), 131066u);
  EXPECT_EQ(Number(zones[2].content, 4, 4), 1u);
  EXPECT_EQ(Number(zones[3].content, 4, 4), 0u);
  EXPECT_EQ(zones[0].content.size(), 262140u);
}

std::u16string MixedText(size_t units) {
  std::u16string text;
  while (text.size() < units) text += u"A line of text, \u00E4\u20AC\t\u6F22\u5B57 \U0001F600\r\n";
  text.resize(units);
  return text;
}

class EveryDocument : public testing::TestWithParam<std::u16string> {};

TEST_P(EveryDocument, HasUniqueIdsAndAlignedTextAndALengthOfWholeWords) {
  const std::string document = WriteInkDocument(GetParam());
  std::set<size_t> ids;
  for (const Zone& zone : Zones(document)) {
    EXPECT_TRUE(ids.insert(zone.id).second) << zone.id;
    if (zone.type == kText) {
      EXPECT_EQ(zone.offset % 4, 0u);
    }
  }
  EXPECT_EQ(document.size() % 4, 0u);
}

TEST_P(EveryDocument, NamesItsTextZonesInTheListInTheirOrder) {
  const std::string document = WriteInkDocument(GetParam());
  const Zone list = ZonesOfType(document, kList).at(0);
  const std::vector<Zone> texts = ZonesOfType(document, kText);
  ASSERT_EQ(Number(list.content, 0, 4), texts.size());
  ASSERT_EQ(list.content.size(), 24 + 8 * texts.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    const size_t entry = 24 + 8 * i;
    EXPECT_EQ(Number(list.content, entry, 2), Number(texts[i].content, 4, 2));
    EXPECT_EQ(Number(list.content, entry + 2, 2), Number(texts[i].content, 0, 2));
    EXPECT_EQ(Number(list.content, entry + 4, 2), texts[i].id);
    EXPECT_LE(Number(texts[i].content, 2, 2), 32767u);
  }
}

TEST_P(EveryDocument, HasLinesThatAddUpToTheirParagraph) {
  const std::string document = WriteInkDocument(GetParam());
  const std::vector<Zone> texts = ZonesOfType(document, kText);
  const std::vector<Zone> lines = ZonesOfType(document, kLines);
  ASSERT_EQ(lines.size(), texts.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    EXPECT_EQ(lines[i].id, Number(texts[i].content, 8, 2));
    size_t cells = 0;
    const size_t count = Number(texts[i].content, 4, 2);
    for (size_t k = 0; k < count; ++k) cells += Number(lines[i].content, 10 * k, 2);
    EXPECT_EQ(cells, Number(texts[i].content, 0, 2));
  }
}

INSTANTIATE_TEST_SUITE_P(InkWriter, EveryDocument,
                         testing::Values(u"", u"\n", u"Hello", MixedText(5000), MixedText(300000),
                                         Repeated(u"x", 100000), Repeated(u"x x", 30000),
                                         Repeated(u"\n", 100000), Repeated(u"\u6F22", 131067)));

double SecondsFor(const std::u16string& text) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_GT(WriteInkDocument(text).size(), text.size());
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A quadratic step would take hours.
TEST(InkWriter, WritesANoteOfAMegabyteAtOnce) {
  constexpr size_t kUnits = 1 << 20;
  EXPECT_LT(SecondsFor(MixedText(kUnits)), 60);
  EXPECT_LT(SecondsFor(Repeated(u"x", kUnits)), 60);
  EXPECT_LT(SecondsFor(Repeated(u"\n", kUnits)), 60);
  EXPECT_LT(SecondsFor(Repeated(u"\u6F22", kUnits)), 60);
}

}  // namespace
}  // namespace writer_test

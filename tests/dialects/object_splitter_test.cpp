#include "dialects/object_splitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace object_splitter_test {
namespace {

using dialects::ByteSource;
using dialects::ObjectKind;
using dialects::ObjectSplitter;
using dialects::ObjectText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Gives at most so many bytes at a time.
ByteSource InPieces(std::string bytes, size_t piece) {
  return [bytes = std::move(bytes), piece, place = size_t{0}](char* into, size_t room) mutable {
    const size_t count = bytes.copy(into, std::min(room, piece), place);
    place += count;
    return count;
  };
}

std::vector<ObjectText> Split(const std::string& bytes, size_t piece = 100'000) {
  ObjectSplitter splitter(InPieces(bytes, piece));
  std::vector<ObjectText> objects;
  while (std::optional<ObjectText> object = splitter.Next()) objects.push_back(std::move(*object));
  return objects;
}

std::vector<std::string> Texts(const std::string& bytes, size_t piece = 100'000) {
  std::vector<std::string> texts;
  for (const ObjectText& object : Split(bytes, piece)) texts.push_back(object.text);
  return texts;
}

std::vector<ObjectKind> Kinds(const std::string& bytes) {
  std::vector<ObjectKind> kinds;
  for (const ObjectText& object : Split(bytes)) kinds.push_back(object.kind);
  return kinds;
}

std::string Utf16(std::u16string_view text, bool is_big) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += is_big ? high : low;
    bytes += is_big ? low : high;
  }
  return bytes;
}

TEST(ObjectSplitter, GivesEachObjectWithItsBytesUnchanged) {
  EXPECT_THAT(
      Texts("BEGIN:VCARD\r\nN:\xE4;\r\nEND:VCARD\r\nbegin:vnote\nBODY:x\nend:vnote"),
      ElementsAre("BEGIN:VCARD\r\nN:\xE4;\r\nEND:VCARD\r\n", "begin:vnote\nBODY:x\nend:vnote"));
}

TEST(ObjectSplitter, KnowsTheKindsOfObjects) {
  EXPECT_THAT(
      Kinds("BEGIN:VCARD\nEND:VCARD\nBEGIN:VCALENDAR\nEND:VCALENDAR\nBEGIN:VNOTE\nEND:VNOTE\n"
            "BEGIN:VMSG\nEND:VMSG\nBEGIN:VMESSAGE\nEND:VMESSAGE\nBEGIN:VFOO\nEND:VFOO\n"),
      ElementsAre(ObjectKind::kCard, ObjectKind::kCalendar, ObjectKind::kNote, ObjectKind::kMessage,
                  ObjectKind::kMessage, ObjectKind::kUnknown));
}

TEST(ObjectSplitter, CountsLinesWhateverEndsThem) {
  const std::vector<ObjectText> objects = Split(
      "BEGIN:VNOTE\rBODY:a\rEND:VNOTE\r\r\nBEGIN:VNOTE\nEND:VNOTE\r\n\r\nBEGIN:VNOTE\nEND:VNOTE");
  ASSERT_EQ(objects.size(), 3u);
  EXPECT_EQ(objects[0].text, "BEGIN:VNOTE\rBODY:a\rEND:VNOTE\r\r\n");
  EXPECT_EQ(objects[0].line, 1u);
  EXPECT_EQ(objects[1].line, 4u);
  EXPECT_EQ(objects[2].line, 7u);
}

TEST(ObjectSplitter, PassesOverWhatStandsBetweenObjectsAndCountsIt) {
  ObjectSplitter splitter(InPieces(
      "\n \t\nhello\nBEGIN:VNOTE\nEND:VNOTE\nEND:VCALENDAR\n\nX:1\nBEGIN:VNOTE\nEND:VNOTE\n\n", 7));
  EXPECT_EQ(splitter.Next()->line, 4u);
  EXPECT_EQ(splitter.junk().count, 1u);
  EXPECT_EQ(splitter.Next()->line, 9u);
  EXPECT_FALSE(splitter.Next().has_value());
  EXPECT_EQ(splitter.junk().count, 3u);
  EXPECT_EQ(splitter.junk().first, 3u);
  EXPECT_EQ(splitter.blank().count, 4u);
  EXPECT_EQ(splitter.blank().first, 1u);
}

TEST(ObjectSplitter, TakesAByteOrderMarkOff) {
  const std::vector<ObjectText> objects = Split(
      "\xEF\xBB\xBF"
      "BEGIN:VNOTE\nEND:VNOTE\n");
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_EQ(objects[0].text, "BEGIN:VNOTE\nEND:VNOTE\n");
  EXPECT_TRUE(objects[0].has_byte_order_mark);
  EXPECT_FALSE(Split("BEGIN:VNOTE\nEND:VNOTE\n")[0].has_byte_order_mark);
}

TEST(ObjectSplitter, TakesAllByteOrderMarksOffThatStandInARow) {
  const std::vector<ObjectText> objects = Split(
      "\xEF\xBB\xBF\xEF\xBB\xBF"
      "BEGIN:VNOTE\nEND:VNOTE\n");
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_EQ(objects[0].text, "BEGIN:VNOTE\nEND:VNOTE\n");
}

TEST(ObjectSplitter, TakesTheByteOrderMarkOfAFileThatWasPutAfterAnotherOff) {
  const std::vector<ObjectText> objects = Split(
      "BEGIN:VNOTE\nEND:VNOTE\n\xEF\xBB\xBF"
      "BEGIN:VCARD\nEND:VCARD\n");
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_FALSE(objects[0].has_byte_order_mark);
  EXPECT_EQ(objects[1].text, "BEGIN:VCARD\nEND:VCARD\n");
  EXPECT_TRUE(objects[1].has_byte_order_mark);
}

struct Utf16Case {
  bool is_big;
  bool has_mark;
};

class Utf16Files : public ::testing::TestWithParam<Utf16Case> {};

TEST_P(Utf16Files, AreConvertedAsTheyAreRead) {
  const std::u16string text = u"BEGIN:VNOTE\r\nBODY:\u00E4\u20AC\U0001F600.\r\nEND:VNOTE\r\n";
  const auto [is_big, has_mark] = GetParam();
  const std::string bytes = Utf16(has_mark ? u"\uFEFF" + text : text, is_big);
  for (const size_t piece : {1, 2, 3, 7, 100'000}) {
    const std::vector<ObjectText> objects = Split(bytes, piece);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0].text,
              "BEGIN:VNOTE\r\nBODY:\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80.\r\nEND:VNOTE\r\n");
    EXPECT_TRUE(objects[0].has_byte_order_mark);
  }
}

INSTANTIATE_TEST_SUITE_P(ObjectSplitter, Utf16Files,
                         ::testing::Values(Utf16Case{false, false}, Utf16Case{false, true},
                                           Utf16Case{true, false}, Utf16Case{true, true}));

TEST(ObjectSplitter, WritesHalfACharacterOfUtf16AsItsReplacement) {
  std::u16string text = u"BEGIN:VNOTE\nBODY:?x?\nEND:VNOTE\n";
  text[17] = 0xD83D;
  text[19] = 0xDE00;
  EXPECT_THAT(Texts(Utf16(text, false)),
              ElementsAre("BEGIN:VNOTE\nBODY:\xEF\xBF\xBDx\xEF\xBF\xBD\nEND:VNOTE\n"));
}

TEST(ObjectSplitter, TakesGroupsAndBlanksAroundFrameLines) {
  EXPECT_THAT(
      Texts("A.BEGIN:VCARD\nA.N:x\nA.END:VCARD \n  BEGIN : VNOTE\nBODY:x\n END:VNOTE\n"),
      ElementsAre("A.BEGIN:VCARD\nA.N:x\nA.END:VCARD \n", "  BEGIN : VNOTE\nBODY:x\n END:VNOTE\n"));
}

TEST(ObjectSplitter, FindsTheEndThatFollowsAVersionOnItsLine) {
  EXPECT_THAT(Texts("BEGIN:VCARD\nN:x\nVERSION:2.1END:VCARD\nBEGIN:VNOTE\nEND:VNOTE\n"),
              ElementsAre("BEGIN:VCARD\nN:x\nVERSION:2.1END:VCARD\n", "BEGIN:VNOTE\nEND:VNOTE\n"));
}

TEST(ObjectSplitter, AddsAnEndThatIsMissingAtTheEndOfTheFile) {
  const std::vector<ObjectText> objects = Split("BEGIN:VCARD\nN:x");
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_EQ(objects[0].text, "BEGIN:VCARD\nN:x\r\nEND:VCARD\r\n");
  EXPECT_FALSE(objects[0].had_end);
  EXPECT_TRUE(Split("BEGIN:VCARD\nN:x\nEND:VCARD")[0].had_end);
}

TEST(ObjectSplitter, EndsACardBeforeTheNextObject) {
  EXPECT_THAT(Texts("BEGIN:VCARD\nN:x\nBEGIN:VCARD\nN:y\nBEGIN:VEVENT\nEND:VEVENT\n"),
              ElementsAre("BEGIN:VCARD\nN:x\nEND:VCARD\r\n", "BEGIN:VCARD\nN:y\nEND:VCARD\r\n",
                          "BEGIN:VEVENT\nEND:VEVENT\n"));
}

TEST(ObjectSplitter, LeavesTheCardOfAnAgentInItsCard) {
  const std::string agent =
      "BEGIN:VCARD\nAGENT:\n\nBEGIN:VCARD\nN:x\nEND:VCARD\nNOTE:n\nEND:VCARD\n";
  const std::string same_line = "BEGIN:VCARD\nAGENT:BEGIN:VCARD\nN:x\nEND:VCARD\nEND:VCARD\n";
  EXPECT_THAT(Texts(agent + same_line), ElementsAre(agent, same_line));
}

TEST(ObjectSplitter, EndsACardWhoseAgentHasNoCard) {
  EXPECT_THAT(
      Texts("BEGIN:VCARD\nAGENT:\nN:x\nBEGIN:VCARD\nN:y\nEND:VCARD\n"),
      ElementsAre("BEGIN:VCARD\nAGENT:\nN:x\nEND:VCARD\r\n", "BEGIN:VCARD\nN:y\nEND:VCARD\n"));
}

TEST(ObjectSplitter, AddsTheEndsOfAllThatIsOpen) {
  EXPECT_THAT(Texts("BEGIN:VCALENDAR\nBEGIN:VEVENT\nBEGIN:VALARM\nX:1\nBEGIN:VNOTE\nEND:VNOTE\n"),
              ElementsAre("BEGIN:VCALENDAR\nBEGIN:VEVENT\nBEGIN:VALARM\nX:1\n"
                          "END:VALARM\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n",
                          "BEGIN:VNOTE\nEND:VNOTE\n"));
}

TEST(ObjectSplitter, LeavesAnyComponentInItsCalendar) {
  const std::string calendar =
      "BEGIN:VCALENDAR\nBEGIN:VTIMEZONE\nBEGIN:DAYLIGHT\nEND:DAYLIGHT\nEND:VTIMEZONE\n"
      "BEGIN:VEVENT\nEND:VEVENT\nBEGIN:VJOURNAL\nEND:VJOURNAL\nEND:VCALENDAR\n";
  EXPECT_THAT(Texts(calendar), ElementsAre(calendar));
}

TEST(ObjectSplitter, TakesAComponentOutsideOfACalendarAsACalendarsObject) {
  const std::string event = "BEGIN:VEVENT\nBEGIN:VALARM\nEND:VALARM\nEND:VEVENT\n";
  const std::string todo = "BEGIN:VTODO\nEND:VTODO\n";
  EXPECT_THAT(Texts(event + todo), ElementsAre(event, todo));
  EXPECT_THAT(Kinds(event + todo), ElementsAre(ObjectKind::kCalendar, ObjectKind::kCalendar));
  EXPECT_THAT(Texts("BEGIN:VEVENT\nX:1\n" + todo),
              ElementsAre("BEGIN:VEVENT\nX:1\nEND:VEVENT\r\n", todo));
}

TEST(ObjectSplitter, LeavesCardsAndPartsInTheirMessage) {
  const std::string message =
      "BEGIN:VMSG\nBEGIN:VCARD\nEND:VCARD\nBEGIN:VENV\nBEGIN:VCARD\nEND:VCARD\nBEGIN:VBODY\nhi\n"
      "END:VBODY\nEND:VENV\nEND:VMSG\n";
  EXPECT_THAT(Texts(message + message), ElementsAre(message, message));
}

TEST(ObjectSplitter, DoesNotLookIntoTheBodyOfAMessage) {
  const std::string message =
      "BEGIN:VMSG\nBEGIN:VENV\nBEGIN:VBODY\nBEGIN:VCARD\nEND:VMSG\nBEGIN:VMSG\nEND:VENV\n"
      "END:VBODY\nEND:VENV\nEND:VMSG\n";
  EXPECT_THAT(Texts(message + message), ElementsAre(message, message));
}

TEST(ObjectSplitter, EndsABodyWithoutEndBeforeTheNextMessage) {
  const std::string next = "BEGIN:VMSG\nVERSION:1.1\nBEGIN:VBODY\nyou\nEND:VBODY\nEND:VMSG\n";
  const std::vector<ObjectText> objects =
      Split("BEGIN:VMSG\nBEGIN:VENV\nBEGIN:VBODY\nhi\nEND:VENV\nEND:VMSG\n\n" + next);
  ASSERT_EQ(objects.size(), 2u);
  EXPECT_EQ(objects[0].text,
            "BEGIN:VMSG\nBEGIN:VENV\nBEGIN:VBODY\nhi\nEND:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n");
  EXPECT_FALSE(objects[0].had_end);
  EXPECT_EQ(objects[1].text, next);
  EXPECT_EQ(objects[1].line, 8u);
  EXPECT_TRUE(objects[1].had_end);
}

TEST(ObjectSplitter, EndsABodyWithoutEndBeforeAMessageThatHasNoBody) {
  EXPECT_THAT(Texts("BEGIN:VMSG\nBEGIN:VBODY\nhi\nBEGIN:VMSG\nVERSION:1.1\nEND:VMSG\n"),
              ElementsAre("BEGIN:VMSG\nBEGIN:VBODY\nhi\nEND:VBODY\r\nEND:VMSG\r\n",
                          "BEGIN:VMSG\nVERSION:1.1\nEND:VMSG\n"));
}

TEST(ObjectSplitter, TakesABeginInAQuotedPrintableValueAsText) {
  const std::string card =
      "BEGIN:VCARD\nNOTE;ENCODING=QUOTED-PRINTABLE:a=\nb= \nBEGIN:VCARD\nN:x\nEND:VCARD\n";
  EXPECT_THAT(Texts(card), ElementsAre(card));
}

TEST(ObjectSplitter, TakesAnEqualsSignAtTheEndOfAnotherValueAsNoSoftBreak) {
  EXPECT_THAT(Texts("BEGIN:VCARD\nURL:x=\nBEGIN:VCARD\nEND:VCARD\n"),
              ElementsAre("BEGIN:VCARD\nURL:x=\nEND:VCARD\r\n", "BEGIN:VCARD\nEND:VCARD\n"));
}

TEST(ObjectSplitter, TakesAValueThatABlankLineEndsAsClosed) {
  EXPECT_THAT(Texts("BEGIN:VCARD\nNOTE;QUOTED-PRINTABLE:x=\n\nBEGIN:VCARD\nEND:VCARD\n"),
              ElementsAre("BEGIN:VCARD\nNOTE;QUOTED-PRINTABLE:x=\n\nEND:VCARD\r\n",
                          "BEGIN:VCARD\nEND:VCARD\n"));
}

TEST(ObjectSplitter, TakesAnIndentedBeginInAnObjectAsAFold) {
  const std::string note = "BEGIN:VNOTE\nBODY:see\n BEGIN:VNOTE\nEND:VNOTE\n";
  EXPECT_THAT(Texts(note), ElementsAre(note));
}

TEST(ObjectSplitter, EndsAnUnknownObjectBeforeAKnownOne) {
  EXPECT_THAT(Texts("BEGIN:FOO\nBEGIN:BAR\nBEGIN:VNOTE\nEND:VNOTE\nEND:FOO\n"),
              ElementsAre("BEGIN:FOO\nBEGIN:BAR\nEND:FOO\r\n", "BEGIN:VNOTE\nEND:VNOTE\n"));
}

TEST(ObjectSplitter, GivesTheSameWhateverThePiecesOfTheFile) {
  const std::string file =
      "x\r\rBEGIN:VCARD\r\nN:x\r\r\nEND:VCARD\rBEGIN:VMSG\nBEGIN:VBODY\nhi\nBEGIN:VMSG\nBEGIN:"
      "VBODY\n"
      "END:VBODY\nEND:VMSG\nBEGIN:VCARD\nBEGIN:VNOTE\nBODY:y";
  const std::vector<std::string> whole = Texts(file);
  ASSERT_EQ(whole.size(), 5u);
  for (size_t piece = 1; piece < file.size(); ++piece) EXPECT_EQ(Texts(file, piece), whole);
}

TEST(ObjectSplitter, RefusesAnObjectThatIsTooLargeAndGoesOnAtTheNext) {
  const std::string note = "BEGIN:VNOTE\nEND:VNOTE\n";
  ObjectSplitter splitter(
      InPieces("BEGIN:VCARD\n" + std::string(200, 'x') + "\nBEGIN:FOO\nEND:VCARD\n" + note, 1000),
      100);
  const ObjectText refused = *splitter.Next();
  EXPECT_EQ(refused.kind, ObjectKind::kCard);
  EXPECT_THAT(refused.text, IsEmpty());
  EXPECT_EQ(refused.refusal, "it is too large");
  EXPECT_EQ(splitter.Next()->text, note);
  EXPECT_FALSE(splitter.Next().has_value());
  EXPECT_EQ(splitter.junk().count, 0u);
}

// The next message may have begun in what was taken for the text of one without an end.
TEST(ObjectSplitter, GivesAMessageWithoutAnEndThoughTheNextOneIsTooLarge) {
  const std::string message = "BEGIN:VMSG\nBEGIN:VENV\nBEGIN:VBODY\ntext\n";
  ObjectSplitter splitter(InPieces(message + "BEGIN:VMSG\n" + std::string(200, 'x') + "\n", 1000),
                          100);
  const ObjectText first = *splitter.Next();
  EXPECT_EQ(first.refusal, "");
  EXPECT_EQ(first.text, message + "END:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n");
  EXPECT_EQ(splitter.Next()->refusal, "it is too large");
  EXPECT_FALSE(splitter.Next().has_value());
}

TEST(ObjectSplitter, GivesAnObjectThatIsJustNotTooLarge) {
  const std::string note = "BEGIN:VNOTE\nEND:VNOTE\n";
  ObjectSplitter splitter(InPieces(note + note, 1000), note.size());
  EXPECT_EQ(splitter.Next()->text, note);
  EXPECT_EQ(splitter.Next()->text, note);
}

TEST(ObjectSplitter, TakesLinesLongerThanItsBuffer) {
  const std::string photo(3 * dialects::FileLines::kLongestPiece + 5, 'A');
  for (const char* line_end : {"\n", "\r\n", "\r"}) {
    const std::string card =
        "BEGIN:VCARD" + std::string(line_end) + photo + line_end + "END:VCARD" + line_end;
    const std::vector<ObjectText> objects = Split(card + card);
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0].text, card);
    EXPECT_EQ(objects[1].text, card);
    EXPECT_EQ(objects[1].line, 4u);
  }
}

// Files that make a reader which looks at bytes again slow: each takes minutes then.
TEST(ObjectSplitter, HasALinearCost) {
  const auto repeated = [](std::string_view text, size_t times) {
    std::string file;
    for (size_t i = 0; i < times; ++i) file += text;
    return file;
  };
  constexpr size_t kTimes = 100'000;
  EXPECT_EQ(Split(repeated("BEGIN:VCARD\n", kTimes)).size(), kTimes);
  EXPECT_EQ(Split(repeated("BEGIN:VMSG\nBEGIN:VBODY\n", kTimes)).size(), kTimes);
  EXPECT_EQ(
      Split("BEGIN:VCARD\nX;QUOTED-PRINTABLE:" + repeated("=\nBEGIN:VCARD\nX:", kTimes)).size(),
      kTimes);
  EXPECT_EQ(
      Split("BEGIN:VCARD\nX;QUOTED-PRINTABLE:" + repeated("=\n", kTimes) + "BEGIN:VCARD\n").size(),
      1u);
  EXPECT_EQ(Split("BEGIN:VMSG\nBEGIN:VBODY\n" + repeated("BEGIN:VMSG\r", kTimes)).size(),
            kTimes + 1);
}

constexpr std::string_view kPlainCard = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee\r\nEND:VCARD\r\n";

TEST(PlainCards, AreTakenTogetherUntilSomethingElseComes) {
  const std::string two = std::string(kPlainCard) + std::string(kPlainCard);
  const std::string other = "BEGIN:VCARD\nVERSION:3.0\nFN:Bo\nEND:VCARD\n";
  ObjectSplitter splitter(InPieces(two + other + std::string(kPlainCard), 100'000));
  std::vector<dialects::TextLength> sizes;
  EXPECT_EQ(splitter.TakePlainCards(sizes), two);
  ASSERT_EQ(sizes.size(), 2U);
  EXPECT_EQ(sizes[0].bytes, kPlainCard.size());
  EXPECT_EQ(sizes[0].lines, 4U);
  EXPECT_EQ(splitter.next_line(), 9U);

  EXPECT_EQ(splitter.TakePlainCards(sizes), "");
  EXPECT_THAT(sizes, IsEmpty());
  const std::optional<ObjectText> object = splitter.Next();
  ASSERT_TRUE(object);
  EXPECT_EQ(object->text, other);
  EXPECT_EQ(object->line, 9U);
  EXPECT_FALSE(object->is_plain);

  EXPECT_EQ(splitter.TakePlainCards(sizes), kPlainCard);
  EXPECT_EQ(splitter.next_line(), 17U);
}

TEST(PlainCards, AreFoundByNextToo) {
  const std::vector<ObjectText> objects = Split("\r\nx\r\n" + std::string(kPlainCard));
  ASSERT_EQ(objects.size(), 1U);
  EXPECT_TRUE(objects[0].is_plain);
  EXPECT_EQ(objects[0].line, 3U);
  EXPECT_EQ(objects[0].text, kPlainCard);
}

// Its values are UTF-8 without saying so.
TEST(PlainCards, AreNoneInAFileWithAByteOrderMark) {
  ObjectSplitter splitter(InPieces("\xEF\xBB\xBF" + std::string(kPlainCard), 100'000));
  std::vector<dialects::TextLength> sizes;
  EXPECT_EQ(splitter.TakePlainCards(sizes), "");
  EXPECT_TRUE(splitter.Next()->has_byte_order_mark);
}

TEST(PlainCards, AreNotLargerThanAnObjectMayBe) {
  ObjectSplitter fits(InPieces(std::string(kPlainCard), 100'000), kPlainCard.size());
  ObjectSplitter is_too_large(InPieces(std::string(kPlainCard), 100'000), kPlainCard.size() - 1);
  std::vector<dialects::TextLength> sizes;
  EXPECT_EQ(fits.TakePlainCards(sizes), kPlainCard);
  EXPECT_EQ(is_too_large.TakePlainCards(sizes), "");
  EXPECT_FALSE(is_too_large.Next()->refusal.empty());
}

// The bytes may come in any pieces, so what is plain must not change what an object is.
TEST(PlainCards, AreSplitAsTheOthersAre) {
  const std::vector<std::string> pieces = {
      std::string(kPlainCard),
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee\r\nNOTE;ENCODING=QUOTED-PRINTABLE:a=\r\nEND:VCARD\r\n",
      "BEGIN:VCARD\nVERSION:2.1\nN:Ole\nNOTE;ENCODING=QUOTED-PRINTABLE:a=\nb.end:vcard\nEND:"
      "VCARD\n",
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Open\r\n",
      "END:VCARD\r\n",
      "\r\n",
      "BEGIN:VNOTE\r\nBODY:x\r\nEND:VNOTE\r\n",
  };
  const auto is_same = [&] {
    std::string bytes;
    for (const size_t i :
         *rc::gen::container<std::vector<size_t>>(rc::gen::inRange<size_t>(0, pieces.size()))) {
      bytes += pieces[i];
    }
    // One byte at a time no card lies in the buffer as a whole.
    const std::vector<ObjectText> one_by_one = Split(bytes, 1);
    const std::vector<ObjectText> at_once = Split(bytes);
    RC_ASSERT(one_by_one.size() == at_once.size());
    for (size_t i = 0; i < at_once.size(); ++i) {
      RC_ASSERT(one_by_one[i].text == at_once[i].text);
      RC_ASSERT(one_by_one[i].line == at_once[i].line);
      RC_ASSERT(one_by_one[i].had_end == at_once[i].had_end);
    }
  };
  EXPECT_TRUE(rc::check(is_same));
}

}  // namespace
}  // namespace object_splitter_test

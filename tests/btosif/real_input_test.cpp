// vCards as telephones and programs really send them, and bytes that no one should send.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/contacts.h"
#include "tests/support/settings.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace real_input_test {
namespace {

using support::Card;
using support::DecodedFirst;
using support::Lines;
using support::ReadCard;
using support::ReadCards;
using support::ReadOutcome;
using support::Repeated;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

class RealInput : public support::TextTest {};
class BadInput : public support::TextTest {};

constexpr char kNoBegin[] = "OSIF:  Error - vCard does not have a BEGIN tag";
constexpr char kMissing[] =
    "OSIF:  Error - vCard missing END tago or does not contain required VERSION or N properties";

// The first note of a card with these lines, decoded.
WideText Note(const std::string& lines) {
  std::vector<WideText> texts = DecodedFirst(
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\n" + lines + "END:VCARD\r\n", &OsifContact::note);
  return texts.empty() ? u"<none>" : texts.front();
}

// ---- What devices send ----

TEST_F(RealInput, ASoftBreakInsideAMultiByteCharacterJoinsItsBytes) {
  EXPECT_EQ(Note("NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Z=C3=\r\n=BCrich=E2=82=\r\n=AC\r\n"),
            u"Z\u00FCrich\u20AC");
}

TEST_F(RealInput, ALineBehindASoftBreakKeepsTheBlankItBeginsWith) {
  EXPECT_EQ(Note("NOTE;ENCODING=QUOTED-PRINTABLE:one=\r\n two=\r\n\tthree\r\n"), u"one two\tthree");
}

TEST_F(RealInput, ASoftBreakAtTheVeryEndOfTheFileEndsTheLastLine) {
  for (const char* end : {"END:VCARD=", "END:VCARD=\r\n", "END:VCARD=\n"}) {
    ReadOutcome outcome = ReadCards("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\n" + std::string(end));
    EXPECT_EQ(outcome.result, kOk) << end;
    EXPECT_THAT(outcome.cards, SizeIs(1)) << end;
  }
}

TEST_F(RealInput, ASoftBreakBeforeTheEndLineSwallowsIt) {
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line("NOTE;QUOTED-PRINTABLE:text=").Text());
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
}

TEST_F(RealInput, BareParametersAndSmallLettersAreUnderstood) {
  ReadOutcome outcome = ReadCards(Lines({"begin:vcard", "version:2.1", "n;quoted-printable:a=3db",
                                         "tel;cell;pref:1", "TEL;HOME:2", "end:vcard"}));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  ReadCard& card = outcome.cards.at(0);
  EXPECT_EQ(card.fields.at("n").at(0).flags, 0x1u);
  EXPECT_THAT(card.fields.at("tel").at(0).params, ElementsAre("cell", "pref"));
  EXPECT_THAT(card.fields.at("tel").at(1).params, ElementsAre("HOME"));
}

TEST_F(RealInput, BareQuotedPrintableIsDecoded) {
  EXPECT_EQ(Note("NOTE;QUOTED-PRINTABLE:a=3Db=0D=0A=\r\nc\r\n"), u"a=b\r\nc");
  EXPECT_EQ(Note("NOTE;Quoted-Printable:a=3db\r\n"), u"a=b");
}

TEST_F(RealInput, QuotedPrintableWithoutACharsetIsReadInTheConfigured8BitCharset) {
  EXPECT_EQ(Note("NOTE;QUOTED-PRINTABLE:Z=FCrich\r\n"), u"Z\u00FCrich");
  ForgetCharsetChoices();
  support::SetSetting(u"DefaultInputCharset", u"WINDOWS-1251");
  EXPECT_EQ(Note("NOTE;QUOTED-PRINTABLE:=CF=F0\r\n"), u"\u041F\u0440");
}

TEST_F(RealInput, AShiftJisCharacterWhoseSecondByteIsABackslashStaysWhole) {
  EXPECT_EQ(Note("NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=SHIFT-JIS:=83=5C=95=5C;x\r\n"),
            u"\u30BD\u8868");
}

TEST_F(RealInput, ShiftJisComponentsInQuotedPrintableAreSplitBeforeTheyAreDecoded) {
  EXPECT_THAT(DecodedFirst(
                  Card().Line("N;CHARSET=SHIFT-JIS;ENCODING=QUOTED-PRINTABLE:=95=5C;=93=FA").Text(),
                  &OsifContact::n),
              ElementsAre(u"\u8868", u"\u65E5"));
}

TEST_F(RealInput, FoldsKeepTheirBlank) {
  EXPECT_EQ(Note("NOTE:one two\r\n three\r\n  four\r\n\tfive\r\n"), u"one two three  four five");
}

TEST_F(RealInput, ABackslashBeforeNMakesNoLineBreakAndACommaSplitsNothing) {
  EXPECT_EQ(Note("NOTE:one\\ntwo\\, three, four\r\n"), u"onentwo, three, four");
}

TEST_F(RealInput, AFoldedBase64BlockIsAnUnknownPropertyAndItsBlankLineAWarning) {
  support::TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Lines(
      {"BEGIN:VCARD", "VERSION:2.1", "N:x", "PHOTO;JPEG;ENCODING=BASE64:", " /9j/4AAQSkZJRgABAQEA",
       " SABIAAD/2wBDAAgGBgcG=", " BQgHBwcJCQgKDBQN", "", "FN:y", "END:VCARD"}));
  EXPECT_EQ(outcome.result, kWarning);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("fn"), ElementsAre("y"));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - Parser encountered unknown property: 'PHOTO'",
                          "OSIF:  Warning - Parser encounted a blank line in vCard"));
}

TEST_F(RealInput, ABase64BlockWhosePaddingMeetsABlankLineTakesThatLineAlone) {
  ReadOutcome outcome =
      ReadCards(Lines({"BEGIN:VCARD", "VERSION:2.1", "N:x",
                       "NOTE;ENCODING=BASE64:", " SGVsbG8=", "", "FN:y", "END:VCARD"}));
  EXPECT_EQ(outcome.result,
            kOk);  // the "=" and its line end go, and so the blank line ends the value
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("note"), ElementsAre(" SGVsbG8"));
  EXPECT_EQ(outcome.cards.at(0).fields.at("note").at(0).flags, 0x2u);
  EXPECT_THAT(outcome.cards.at(0).First("fn"), ElementsAre("y"));
}

TEST_F(RealInput, CardsFollowEachOtherWithoutAnEmptyLine) {
  ReadOutcome outcome = ReadCards(Card().Line("N:one").Text() + Card().Line("N:two").Text());
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_THAT(outcome.cards, SizeIs(2));
}

TEST_F(RealInput, LineFeedsAloneEndLines) {
  ReadOutcome outcome = ReadCards("BEGIN:VCARD\nVERSION:2.1\nN:Lee;Ann\nEND:VCARD\n");
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("n"), ElementsAre("Lee", "Ann"));
}

TEST_F(RealInput, TheLastLineNeedsNoLineEnd) {
  ReadOutcome outcome = ReadCards("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\nEND:VCARD");
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_THAT(outcome.cards, SizeIs(1));
}

TEST_F(RealInput, AGroupBeforeAPropertyNameMakesItUnknown) {
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line("item1.TEL:1").Text());
  EXPECT_EQ(outcome.result, kWarning);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_EQ(outcome.cards.at(0).fields.count("tel"), 0u);
}

TEST_F(RealInput, ALineThatAnEncoderWithoutParametersBrokeIsReadAsTwoLines) {
  EXPECT_EQ(Note("NOTE:one=0D=0Atwo\r\n"), u"one\r\ntwo");
}

TEST_F(RealInput, AFileOf2600CardsIsReadWhole) {
  std::string bytes;
  for (int i = 0; i < 2600; ++i) {
    bytes += Card().Line("N:Lee" + std::to_string(i) + ";Ann").Line("TEL;CELL:1").Text();
  }
  ReadOutcome outcome = ReadCards(bytes);
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(2600));
  EXPECT_THAT(outcome.cards.at(0).First("n"), ElementsAre("Lee0", "Ann"));
  EXPECT_THAT(outcome.cards.at(2599).First("n"), ElementsAre("Lee2599", "Ann"));
}

TEST_F(RealInput, ACardOfFiveMegabytesIsRead) {
  std::string picture =
      "PHOTO;ENCODING=BASE64:\r\n" + Repeated(" " + std::string(72, 'A') + "\r\n", 70000) + "\r\n";
  ReadOutcome outcome =
      ReadCards("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\n" + picture + "FN:y\r\nEND:VCARD\r\n");
  EXPECT_EQ(outcome.result, kWarning);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("fn"), ElementsAre("y"));
}

TEST_F(RealInput, ANoteOfFiveMegabytesIsKeptWhole) {
  std::string encoded = Repeated("=C3=A9", 800000);
  WideText note = Note("NOTE;CHARSET=UTF-8;QUOTED-PRINTABLE:" + encoded + "\r\n");
  EXPECT_EQ(note, WideText(800000, u'\u00E9'));
}

// ---- What no one should send ----

TEST_F(BadInput, AMissingFileIsNotOpenedAndTold) {
  support::TempFolder folder;
  const std::string path = folder.File("missing.vcf");
  support::TraceReceiver trace;
  OsifStream stream;
  EXPECT_EQ(FILE_Open(stream, support::Wide(path).c_str(), u"rb"), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to open file '" + path + "' in mode 'rb'"));
}

TEST_F(BadInput, AnEmptyFileIsAnErrorAndTold) {
  support::TraceReceiver trace;
  ReadOutcome outcome = ReadCards("");
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBegin));
}

TEST_F(BadInput, BinaryDataIsAnErrorAndTold) {
  std::string bytes;
  uint32_t state = 12345;
  for (int i = 0; i < 200000; ++i) {
    state = state * 1664525 + 1013904223;
    bytes += static_cast<char>(state >> 24);
  }
  support::TraceReceiver trace;
  EXPECT_EQ(ReadCards(bytes).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBegin));
  EXPECT_EQ(ReadCards("BEGIN:VCARD\r\n" + bytes).result, kError);
  EXPECT_EQ(trace.Lines().back(), kMissing);  // after any number of names that are none
}

TEST_F(BadInput, ACardThatIsCutAnywhereIsDeliveredOnlyWithItsWholeEnd) {
  std::string whole = Card()
                          .Line("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Ann")
                          .Line("NOTE;QUOTED-PRINTABLE:one=0D=0A=")
                          .Line("two\\;")
                          .Text();
  size_t end_line = whole.find("END:VCARD");
  for (size_t length = 0; length < whole.size(); ++length) {
    support::TraceReceiver trace;
    ReadOutcome outcome = ReadCards(std::string_view(whole).substr(0, length));
    const std::vector<std::string> told = trace.Lines();
    bool has_end = length >= end_line + 3;  // "END" alone is an end without a value
    if (has_end) {
      EXPECT_THAT(told, IsEmpty()) << length;
    } else {
      EXPECT_THAT(told, Contains(testing::AnyOf(kNoBegin, kMissing))) << length;
    }
    EXPECT_EQ(outcome.result, has_end ? kOk : kError) << length;
    EXPECT_EQ(outcome.cards.size(), has_end ? 1u : 0u) << length;
  }
}

TEST_F(BadInput, AnEncodedByteThatIsCutOffKeepsTheTextBeforeIt) {
  for (const char* cut : {"abc=", "abc=C", "abc=C3", "abc=C3=", "abc=C3=B"}) {
    std::string line = "NOTE;CHARSET=UTF-8;QUOTED-PRINTABLE:" + std::string(cut) + ";x\r\n";
    EXPECT_EQ(Note(line).substr(0, 3), u"abc") << cut;
  }
}

TEST_F(BadInput, ALineOfTenMegabytesIsRead) {
  std::string number(10u << 20, '1');
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line("TEL:" + number).Text());
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_EQ(outcome.cards.at(0).First("tel").at(0), number);
}

TEST_F(BadInput, ANameOfTenMegabytesIsUnknownAndToldByItsFirst51Characters) {
  support::TraceReceiver trace;
  ReadOutcome outcome =
      ReadCards(Card().Line("N:x").Line(std::string(10u << 20, 'X') + ":1").Text());
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Warning - Parser encountered unknown property: '" +
                                         std::string(51, 'X') + "'"));
}

TEST_F(BadInput, AHundredThousandNestedBeginLinesAreReadAndRefused) {
  support::TraceReceiver trace;
  ReadOutcome outcome = ReadCards(Repeated("BEGIN:VCARD\r\n", 100000));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.cards, IsEmpty());
  EXPECT_THAT(
      trace.Lines(),
      ElementsAre("OSIF:  WARNING - vCard missing VERSION property.  Assuming '2.1'.", kMissing));
}

TEST_F(BadInput, AHundredThousandNestedObjectsThatAreAllEndedAreReadAndPassedOver) {
  ReadOutcome outcome =
      ReadCards(Card()
                    .Line("N:x")
                    .Line(Repeated("BEGIN:X\r\n", 100000) + Repeated("END:X\r\n", 99999) + "END:X")
                    .Line("FN:y")
                    .Text());
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("fn"), ElementsAre("y"));
}

TEST_F(BadInput, AParameterTextOfAMegabyteIsCutAndTheValueIsRead) {
  ReadOutcome outcome =
      ReadCards(Card().Line("N:x").Line("TEL;" + std::string(1u << 20, 'P') + ":1").Text());
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("tel"), ElementsAre("1"));
  EXPECT_THAT(outcome.cards.at(0).fields.at("tel").at(0).params,
              ElementsAre(std::string(127, 'P')));
}

TEST_F(BadInput, AMegabyteOfParametersIsCutAndTheValueIsRead) {
  ReadOutcome outcome =
      ReadCards(Card().Line("N:x").Line("TEL" + Repeated(";HOME", 200000) + ":1").Text());
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("tel"), ElementsAre("1"));
}

TEST_F(BadInput, ALineEndsAtItsZeroByte) {
  std::string line("FN:Ann\0Lee", 10);
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line(line).Line("TEL:1").Text());
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("fn"), ElementsAre("Ann"));
  EXPECT_THAT(outcome.cards.at(0).First("tel"), ElementsAre("1"));
}

TEST_F(BadInput, ALineThatBeginsWithAZeroByteIsABlankLineAndTold) {
  support::TraceReceiver trace;
  std::string line("\0FN:Ann", 7);
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Line(line).Text());
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - Parser encounted a blank line in vCard"));
}

TEST_F(BadInput, AFileOfNulBytesIsAnErrorAndTold) {
  support::TraceReceiver trace;
  EXPECT_EQ(ReadCards(std::string(1u << 20, '\0')).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBegin));
}

TEST_F(BadInput, AHundredThousandTelephoneNumbersInOneCardAreKept) {
  ReadOutcome outcome = ReadCards("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\n" +
                                  Repeated("TEL;CELL:1\r\n", 100000) + "END:VCARD\r\n");
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).fields.at("tel"), SizeIs(100000));
}

TEST_F(BadInput, AHundredThousandUnknownPropertiesAreOneWarning) {
  ReadOutcome outcome = ReadCards("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\n" +
                                  Repeated("X-FOO:1\r\n", 100000) + "END:VCARD\r\n");
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(outcome.cards, SizeIs(1));
}

TEST_F(BadInput, AHundredThousandOrganisationsOverwriteEachOther) {
  ReadOutcome outcome =
      ReadCards("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\n" + Repeated("ORG;HOME:a;b\r\n", 100000) +
                "ORG:c;d\r\nEND:VCARD\r\n");
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.cards, SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).fields.at("org"), SizeIs(1));
  EXPECT_THAT(outcome.cards.at(0).First("org"), ElementsAre("c", "d"));
}

// A file of which only the first bytes can be read. The process ends with 0 when the reader gives up.
[[noreturn]] void ReadCardWithAReadError() {
  alarm(20);
  OsifStream stream = support::OpenBytes("BEGIN:VCARD\r\nVERSION:2.1\r\nN:x\r\n" +
                                         Repeated("TEL:1\r\n", 200000) + "END:VCARD\r\n");
  stream.ReadAhead();
  int folder = open("/", O_RDONLY | O_DIRECTORY);
  dup2(folder, fileno(stream.file()));
  std::_Exit(VCard_ReadFile(stream, nullptr, nullptr) == kError ? 0 : 1);
}

TEST_F(BadInput, AReadErrorInsideACardEndsTheReading) {
  EXPECT_EXIT(ReadCardWithAReadError(), testing::ExitedWithCode(0), "");
}

TEST_F(BadInput, ADirectoryIsNoVCard) {
  OsifStream stream;
  FILE_Open(stream, u"/", u"rb");
  support::TraceReceiver trace;
  EXPECT_EQ(VCard_ReadFile(stream, nullptr, nullptr), kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBegin));
}

TEST_F(BadInput, AMegabyteOfLineEndsBetweenCardsEndsTheReading) {
  ReadOutcome outcome = ReadCards(Card().Line("N:x").Text() + Repeated("\r\n", 500000));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_THAT(outcome.cards, SizeIs(1));
}

}  // namespace
}  // namespace real_input_test

#include "dialects/content_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace content_line_test {
namespace {

using dialects::ContentLine;
using dialects::kModernLines;
using dialects::kOldLines;
using dialects::ReadContentLines;
using dialects::Report;
using ::testing::ElementsAre;

std::vector<std::string> Shown(const std::vector<ContentLine>& lines) {
  std::vector<std::string> shown;
  for (const ContentLine& line : lines) {
    std::string text = line.group.empty() ? line.name : line.group + "." + line.name;
    for (const auto& [name, value] : line.params) text += ";" + name + "=" + value;
    shown.push_back(text + ":" + line.value);
  }
  return shown;
}

std::vector<std::string> Old(std::string_view text) {
  Report report;
  return Shown(ReadContentLines(text, 1, kOldLines, report));
}

std::vector<std::string> Modern(std::string_view text) {
  Report report;
  return Shown(ReadContentLines(text, 1, kModernLines, report));
}

TEST(ContentLines, EndWithAnyLineEnd) {
  EXPECT_THAT(Old("A:1\r\nB:2\nC:3\rD:4\r\r\nE:5"), ElementsAre("A:1", "B:2", "C:3", "D:4", "E:5"));
}

TEST(ContentLines, HaveGroupsAndBareParametersOfTheOldForm) {
  EXPECT_THAT(Old("item1.Tel;home;ENCODING=8BIT;quoted-printable:5"),
              ElementsAre("item1.TEL;TYPE=home;ENCODING=8BIT;ENCODING=quoted-printable:5"));
}

TEST(ContentLines, TakeAListOfTypesApart) {
  EXPECT_THAT(Modern("TEL;TYPE=home,\"voice,pref\";TYPE=\"cell,x\":1"),
              ElementsAre("TEL;TYPE=home;TYPE=voice;TYPE=pref;TYPE=cell;TYPE=x:1"));
}

TEST(ContentLines, KeepColonsAndSemicolonsInQuotes) {
  EXPECT_THAT(Modern("ATTENDEE;CN=\"Lee; Ann: boss\":mailto:a@b"),
              ElementsAre("ATTENDEE;CN=Lee; Ann: boss:mailto:a@b"));
}

TEST(ContentLines, TakeAQuotationMarkThatIsNotClosedAsNone) {
  EXPECT_THAT(Old("NOTE;X=\"a:b"), ElementsAre("NOTE;X=a:b"));
}

TEST(ContentLines, MayBeFoldedInsideOfQuotesAfterAColon) {
  EXPECT_THAT(Modern("ADR;GEO=\"geo:12.5,\r\n 7\";TYPE=home:x\r\n"),
              ElementsAre("ADR;GEO=geo:12.5,7;TYPE=home:x"));
}

TEST(ContentLines, LoseTheirZeroBytesAndNothingElse) {
  EXPECT_THAT(Old(std::string_view("A:1\0 2\r\nB:\0\r\nC\0:3\r\n", 19)),
              ElementsAre("A:1 2", "B:", "C:3"));
}

TEST(ContentLines, AreTakenFromSeveralSoftBreaksWithBlanks) {
  EXPECT_THAT(Old("NOTE;ENCODING=QUOTED-PRINTABLE:a= \r\nb=\t\r\nc==3D=\r\nd=\r\nEND:VCARD\r\n"),
              ElementsAre("NOTE;ENCODING=QUOTED-PRINTABLE:abc==3Dd", "END:VCARD"));
}

TEST(ContentLines, UndoTheCaretsOfModernParameters) {
  EXPECT_THAT(Modern("N;SORT-AS=a^nb^^c^'d:x"), ElementsAre("N;SORT-AS=a\nb^c\"d:x"));
  EXPECT_THAT(Old("N;SORT-AS=a^nb:x"), ElementsAre("N;SORT-AS=a^nb:x"));
}

TEST(ContentLines, KeepTheBlankOfAFoldInTheOldFormsAlone) {
  EXPECT_THAT(Old("NOTE:lon\r\n ger"), ElementsAre("NOTE:lon ger"));
  EXPECT_THAT(Modern("NOTE:lon\r\n ger\n\t!"), ElementsAre("NOTE:longer!"));
}

TEST(ContentLines, MayBeFoldedAmongBlanksInTheLaterForms) {
  EXPECT_THAT(Modern("NOTE:a\r\n   \r\n b"), ElementsAre("NOTE:a  b"));
  EXPECT_THAT(Old("NOTE:a\r\n   \r\nTEL:1"), ElementsAre("NOTE:a", "TEL:1"));
}

TEST(ContentLines, MayBeFoldedBeforeTheColon) {
  EXPECT_THAT(Modern("ATTENDEE;ROLE=CHAIR\r\n ;CN=Ann\r\n :x"),
              ElementsAre("ATTENDEE;ROLE=CHAIR;CN=Ann:x"));
}

TEST(ContentLines, GoOnAfterASoftBreakOfQuotedPrintableAlone) {
  EXPECT_THAT(Old("NOTE;QUOTED-PRINTABLE:a=\r\nb= \r\n c\r\nTEL:1"),
              ElementsAre("NOTE;ENCODING=QUOTED-PRINTABLE:ab c", "TEL:1"));
  EXPECT_THAT(Old("URL:http://a.example/?q=\r\nTEL:1"),
              ElementsAre("URL:http://a.example/?q=", "TEL:1"));
}

TEST(ContentLines, DoNotGoOnOverTheEndOfTheObject) {
  EXPECT_THAT(Old("NOTE;QUOTED-PRINTABLE:a=\r\nEND:VCARD"),
              ElementsAre("NOTE;ENCODING=QUOTED-PRINTABLE:a", "END:VCARD"));
  EXPECT_THAT(Old("NOTE:a\r\n END:VCARD"), ElementsAre("NOTE:a", "END:VCARD"));
}

TEST(ContentLines, TakeATextBeforeADotForNoGroup) {
  EXPECT_THAT(Modern("NOTE:a\r\n the end.End:all\r\n x.END:VCARD"),
              ElementsAre("NOTE:athe end.End:all", "x.END:VCARD"));
}

TEST(ContentLines, JoinTheLinesOfBase64UpToABlankOne) {
  EXPECT_THAT(Old("PHOTO;BASE64:aGVs\r\n bG8=\r\nTEL:1"),
              ElementsAre("PHOTO;ENCODING=BASE64:aGVsbG8=", "TEL:1"));
  EXPECT_THAT(Old("PHOTO;ENCODING=b:aGVs\r\nbG8=\r\n\r\njunk\r\nTEL:1"),
              ElementsAre("PHOTO;ENCODING=b:aGVsbG8=", "TEL:1"));
}

TEST(ContentLines, WithoutAColonAreTheTailOfQuotedPrintableOrAreReported) {
  Report report;
  const auto lines =
      ReadContentLines("NOTE;QUOTED-PRINTABLE:a\r\nb\r\nTEL:1\r\nwhat\r\n", 1, kOldLines, report);
  EXPECT_THAT(Shown(lines), ElementsAre("NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab", "TEL:1"));
  EXPECT_EQ(report.dropped, (dialects::Happenings{{"line without a colon", 1}}));
  EXPECT_EQ(report.changed, (dialects::Happenings{{"line break that was not encoded", 1}}));
}

TEST(ContentLines, KnowWhereTheyBegin) {
  Report report;
  const auto lines = ReadContentLines("A:1\r\n\r\nB:2\r\n c\r\nD:3", 7, kOldLines, report);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].line, 7U);
  EXPECT_EQ(lines[1].line, 9U);
  EXPECT_EQ(lines[2].line, 11U);
}

TEST(ContentLines, CutAnEndThatIsGluedToTheVersion) {
  EXPECT_THAT(Old("BEGIN:VCARD\r\nVERSION:2.1END:VCARD"),
              ElementsAre("BEGIN:VCARD", "VERSION:2.1", "END:VCARD"));
}

TEST(VersionOf, IsFoundInAnyDress) {
  EXPECT_EQ(dialects::VersionOf("BEGIN:VCARD\r\nN:x\r\nitem1.version: 3.0 \r\n"), "3.0");
  EXPECT_EQ(dialects::VersionOf("VERSION;ENCODING=BASE64:Mi4x\n"), "2.1");
  EXPECT_EQ(dialects::VersionOf("VERSION:2.1END:VCARD"), "2.1");
  EXPECT_EQ(dialects::VersionOf("N:x\n"), "");
}

}  // namespace
}  // namespace content_line_test

// Frames, lines, folds and soft breaks of cards as devices write them, up to what the store then holds.
#include "tests/dialects/stored_contact.h"

namespace card_frame_facts_test {
namespace {

using dialects::Happenings;
using stored_contact::ContactStore;
using stored_contact::Fields;
using stored_contact::Received;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::SizeIs;

constexpr const char* kBegin = "BEGIN:VCARD\r\n";
constexpr const char* kPlain =
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nTEL;CELL:1\r\nEND:VCARD\r\n";
const Fields kPlainFields = {{"family", "Lee"}, {"given", "Ann"}, {"mobile", "1"}};

class CardFrame : public ContactStore {};

// ---- Versions -----------------------------------------------------------------------------------------------

TEST_F(CardFrame, ACardOfAnyVersionIsStored) {
  for (const char* version : {"2.1", "3.0", "4.0", " 3.0 ", "2.1 "}) {
    EXPECT_EQ(Ann(version, {"TEL;TYPE=cell:1"}), (Fields{{"mobile", "1"}})) << version;
  }
}

TEST_F(CardFrame, AVersionThatIsEncodedIsDecodedBeforeItDecides) {
  EXPECT_EQ(Ann("", {"VERSION;ENCODING=BASE64:Mi4x", "NOTE:a\\nb"}), (Fields{{"note", "a\\nb"}}));
  EXPECT_EQ(Ann("", {"VERSION;ENCODING=BASE64:My4w", "NOTE:a\\nb"}), (Fields{{"note", "a\r\nb"}}));
  EXPECT_EQ(Ann("", {"VERSION;ENCODING=b:NC4w", "NOTE:a\\nb"}), (Fields{{"note", "a\r\nb"}}));
  EXPECT_EQ(Ann("", {"VERSION;ENCODING=QUOTED-PRINTABLE:3=2E0", "NOTE:a\\nb"}),
            (Fields{{"note", "a\r\nb"}}));
}

TEST_F(CardFrame, AVersionThatIsMissingEmptyOrAWordIsTakenFor21) {
  for (const char* line : {"X-VERSION:none", "VERSION:", "VERSION:two", "VERSION"}) {
    const Received received = ReceiveAnn("", {line, "NOTE:C:\\new"});
    EXPECT_EQ(received.Only(), (Fields{{"note", "C:\\new"}})) << line;
    EXPECT_THAT(received.report.guessed, Contains(Key("version"))) << line;
  }
}

TEST_F(CardFrame, AMissingVersionIs30WhereTheBodyIsWrittenLikeThat) {
  const Received received =
      ReceiveAnn("", {"TEL;TYPE=WORK,VOICE:1", "NOTE:a\\nb\\, c", "TITLE:Chief of", "  staff"});
  EXPECT_EQ(received.Only(),
            (Fields{{"work", "1"}, {"note", "a\r\nb, c"}, {"title", "Chief of staff"}}));
  EXPECT_THAT(received.report.guessed, Contains(Key("version")));
}

// ---- What stands before, between and after cards ------------------------------------------------------------

TEST_F(CardFrame, AByteOrderMarkGoesAndSaysThatTextsAreUtf8) {
  settings_.input_code_page = 932;  // by which C2 B1 would be two half-width katakana
  EXPECT_EQ(ReceiveFile("\xEF\xBB\xBF" + CardOf("2.1", {"N:\xC2\xB1"})).Only(),
            (Fields{{"family", "\xC2\xB1"}}));
}

TEST_F(CardFrame, AFileInUtf16IsReadWithAndWithoutAMark) {
  const std::u16string text = u"BEGIN:VCARD\r\nVERSION:2.1\r\nN:L\u00E9;\u898B\r\nEND:VCARD\r\n";
  std::string little;
  std::string big;
  for (const char16_t unit : text) {
    const std::string low(1, static_cast<char>(unit & 0xFF));
    const std::string high(1, static_cast<char>(unit >> 8));
    little += low + high;
    big += high + low;
  }
  const Fields expected = {{"family", "L\xC3\xA9"}, {"given", "\xE8\xA6\x8B"}};
  EXPECT_EQ(ReceiveFile("\xFF\xFE" + little).Only(), expected);
  EXPECT_EQ(ReceiveFile("\xFE\xFF" + big).Only(), expected);
  EXPECT_EQ(ReceiveFile(little).Only(), expected);
  EXPECT_EQ(ReceiveFile(big).Only(), expected);
}

TEST_F(CardFrame, LinesBeforeTheFirstCardArePassedOverAndCounted) {
  const Received received = ReceiveFile(std::string("\r\nFrom: a phone\r\n \t\r\n") + kPlain);
  EXPECT_EQ(received.Only(), kPlainFields);
  EXPECT_EQ(received.rest.outside_lines, 1U);
  EXPECT_EQ(received.rest.first_outside, 2U);
}

TEST_F(CardFrame, AllCardsAreReadWhateverBlankLinesLieBetweenThem) {
  const Received received =
      ReceiveFile(std::string(kPlain) + "\r\n\r\n" + kPlain + "  \n" + kPlain + "\r\n");
  EXPECT_THAT(received.contacts, ElementsAre(kPlainFields, kPlainFields, kPlainFields));
  EXPECT_EQ(received.rest.outside_lines, 0U);
}

TEST_F(CardFrame, BlanksAroundFrameLinesMeanNothing) {
  EXPECT_EQ(
      ReceiveFile("  BEGIN:VCARD \t\r\nVERSION:2.1\r\nN:Lee;Ann\r\nTEL;CELL:1\r\nEND:VCARD  \r\n")
          .Only(),
      kPlainFields);
  EXPECT_EQ(
      ReceiveFile("Begin:vCard\r\nVersion:2.1\r\nN:Lee;Ann\r\nTel;Cell:1\r\nend:VCard\r\n").Only(),
      kPlainFields);
}

TEST_F(CardFrame, AnIndentedEndIsAnEnd) {
  EXPECT_THAT(
      ReceiveFile("BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nTEL;CELL:1\r\n END:VCARD\r\n" +
                  std::string(kPlain))
          .contacts,
      ElementsAre(kPlainFields, kPlainFields));
}

TEST_F(CardFrame, AMissingEndIsAddedAndReported) {
  for (const std::string text : {"BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nTEL;CELL:1\r\n",
                                 "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nTEL;CELL:1"}) {
    const Received received = ReceiveFile(text);
    EXPECT_EQ(received.Only(), kPlainFields);
    EXPECT_EQ(received.report.guessed, (Happenings{{"END", 1}}));
  }
}

TEST_F(CardFrame, ACardWithoutEndEndsBeforeTheNextOne) {
  const Received received = ReceiveFile(
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nTEL;CELL:1\r\n" + std::string(kPlain));
  EXPECT_THAT(received.contacts, ElementsAre(kPlainFields, kPlainFields));
  EXPECT_EQ(received.report.guessed, (Happenings{{"END", 1}}));
}

TEST_F(CardFrame, AnEndGluedToAVersionIsCutOff) {
  const Received received = ReceiveFile(
      "BEGIN:VCARD\r\nN:Lee;Ann\r\nTEL;CELL:1\r\nVERSION:2.1END:VCARD\r\n" + std::string(kPlain));
  EXPECT_THAT(received.contacts, ElementsAre(kPlainFields, kPlainFields));
  EXPECT_EQ(ReceiveFile("BEGIN:VCARD\r\nN:Lee\r\nNOTE:a\\nb\r\nVERSION:3.0END:VCARD").Only(),
            (Fields{{"family", "Lee"}, {"note", "a\r\nb"}}));
}

TEST_F(CardFrame, GroupsStandBeforeAnyLineOfTheFrame) {
  EXPECT_EQ(ReceiveFile(
                "A.BEGIN:VCARD\r\nA.VERSION:2.1\r\nA.N:Lee;Ann\r\nB.TEL;CELL:1\r\nA.END:VCARD\r\n")
                .Only(),
            kPlainFields);
}

// ---- Lines --------------------------------------------------------------------------------------------------

TEST_F(CardFrame, AnyLineEndsALine) {
  const std::vector<std::string> lines = {"BEGIN:VCARD", "VERSION:2.1", "N:Lee;Ann", "TEL;CELL:1",
                                          "END:VCARD"};
  for (const std::string end : {"\r", "\n", "\r\n", "\r\r\n"}) {
    std::string text;
    for (const std::string& line : lines) text += line + end;
    EXPECT_EQ(ReceiveFile(text).Only(), kPlainFields) << testing::PrintToString(end);
  }
  EXPECT_EQ(ReceiveFile("BEGIN:VCARD\r\nVERSION:2.1\nN:Lee;Ann\rTEL;CELL:1\r\nEND:VCARD\n").Only(),
            kPlainFields);
}

TEST_F(CardFrame, BlankLinesInsideOfACardGo) {
  EXPECT_EQ(Ann("2.1", {"", "TEL;CELL:1", "  ", "\t", "NOTE:x", ""}),
            (Fields{{"mobile", "1"}, {"note", "x"}}));
}

TEST_F(CardFrame, ALineThatIsNoneIsDroppedAndReported) {
  const Received received = ReceiveAnn("2.1", {"TEL;CELL:1", "what is this", "NOTE:x"});
  EXPECT_EQ(received.Only(), (Fields{{"mobile", "1"}, {"note", "x"}}));
  ASSERT_THAT(received.report.dropped, SizeIs(1));
  EXPECT_EQ(received.report.dropped.begin()->second, 1U);
}

TEST_F(CardFrame, TheTailOfAnEncodedValueIsJoinedToIt) {
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=BASE64:b25l", "IHR3bw==", "TEL;CELL:1"}),
            (Fields{{"note", "one two"}, {"mobile", "1"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=0A", "two", "TEL;CELL:1"}),
            (Fields{{"note", "one\r\ntwo"}, {"mobile", "1"}}));
}

TEST_F(CardFrame, TheCardOfAnAgentIsLeftOutWithItsName) {
  for (const std::vector<std::string>& agent :
       {std::vector<std::string>{"AGENT:", "BEGIN:VCARD", "VERSION:2.1", "N:Ox;Bo", "TEL;CELL:2",
                                 "NOTE:his", "END:VCARD"},
        std::vector<std::string>{"AGENT:BEGIN:VCARD", "VERSION:2.1", "N:Ox;Bo", "TEL;CELL:2",
                                 "NOTE:his", "END:VCARD"}}) {
    std::vector<std::string> lines = agent;
    lines.emplace_back("TEL;CELL:1");
    const Received received = ReceiveAnn("2.1", lines);
    Fields fields = received.Only();
    fields.erase("assistant");
    EXPECT_EQ(fields, (Fields{{"mobile", "1"}}));
    EXPECT_THAT(received.report.dropped, Contains(Key("AGENT")));
  }
}

TEST_F(CardFrame, TheCardOfAnAgentIn30IsAText) {
  const Received received = ReceiveAnn(
      "3.0",
      {"AGENT:BEGIN:VCARD\\nFN:Bo Ox\\nTEL\\;TYPE=cell:2\\nEND:VCARD\\n", "TEL;TYPE=cell:1"});
  Fields fields = received.Only();
  fields.erase("assistant");
  EXPECT_EQ(fields, (Fields{{"mobile", "1"}}));
  EXPECT_THAT(received.report.dropped, Contains(Key("AGENT")));
}

// ---- Folds and soft breaks ----------------------------------------------------------------------------------

TEST_F(CardFrame, AnEqualsSignAtTheEndOfAPlainValueJoinsNothing) {
  EXPECT_EQ(Ann("2.1", {"URL:http://a.example/?q=", "TEL;CELL:1"}),
            (Fields{{"page", "http://a.example/?q="}, {"mobile", "1"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;CELL:1", "NOTE:a="}), (Fields{{"note", "a="}, {"mobile", "1"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;CELL:1=", "TITLE:x=", "ORG:y=;z=", "EMAIL;INTERNET:a@b.example="}),
            (Fields{{"mobile", "1="},
                    {"title", "x="},
                    {"company", "y="},
                    {"department", "z="},
                    {"email 1", "a@b.example="}}));
  EXPECT_EQ(Ann("3.0", {"URL:http://a.example/?q=", "TEL;TYPE=cell:1"}),
            (Fields{{"page", "http://a.example/?q="}, {"mobile", "1"}}));
}

TEST_F(CardFrame, Base64WithOneEqualsSignTakesNothingOfTheNextLine) {
  for (const char* photo :
       {"PHOTO;ENCODING=BASE64:YWI=", "PHOTO;BASE64:YWI=", "PHOTO;ENCODING=B:YWI=",
        "PHOTO;ENCODING=BASE64:\r\n YWFhYWFh\r\n YWI=", "KEY;ENCODING=BASE64:\r\nYWFh\r\nYWI=",
        "LOGO;ENCODING=BASE64:\r\n YWI=\r\n"}) {
    const Received middle = ReceiveAnn("2.1", {photo, "TEL;CELL:1"});
    EXPECT_EQ(middle.Only(), (Fields{{"mobile", "1"}})) << photo;
    EXPECT_THAT(middle.report.dropped, SizeIs(1)) << photo;
    EXPECT_EQ(Ann("2.1", {"TEL;CELL:1", photo}), (Fields{{"mobile", "1"}})) << photo;
  }
}

TEST_F(CardFrame, BlanksAfterASoftBreakAreNone) {
  EXPECT_EQ(
      Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:a=20= ", "b=\t", "c= \t ", "d", "TEL;CELL:1"}),
      (Fields{{"note", "a bcd"}, {"mobile", "1"}}));
}

TEST_F(CardFrame, WhereAllSoftBreaksAreFoldsTooTheirBlanksGo) {
  EXPECT_EQ(Ann("2.1", {"TITLE;ENCODING=QUOTED-PRINTABLE:lon=", " ger=", " than",
                        "NOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:=C3=", " =A4"}),
            (Fields{{"title", "longerthan"}, {"note", "\xC3\xA4"}}));
  EXPECT_EQ(Ann("2.1", {"TITLE;ENCODING=QUOTED-PRINTABLE:one=", " two=", " three=", "s= ", " x"}),
            (Fields{{"title", "one two threes x"}}));
  EXPECT_EQ(Ann("2.1", {"TITLE;ENCODING=QUOTED-PRINTABLE:one=", " two=", " three"}),
            (Fields{{"title", "one two three"}}));
}

TEST_F(CardFrame, ABlankAfterABreakOfOurOwnStaysOne) {
  for (size_t period = 1; period < 80; ++period) {
    std::string note;
    while (note.size() < 1000) note += std::string(period, 'x') + "   ";
    note += "\n.";
    std::string escaped = note;
    escaped.replace(escaped.find('\n'), 1, "\\n");
    std::string stored = note;
    stored.replace(stored.find('\n'), 1, "\r\n");
    EXPECT_EQ(Ann("3.0", {"NOTE:" + escaped}), (Fields{{"note", stored}})) << period;
  }
}

TEST_F(CardFrame, AFoldOf30And40IsTakenOutWithItsBlank) {
  for (const char* version : {"3.0", "4.0"}) {
    EXPECT_EQ(Ann(version, {"NOTE:lon", " ger", "\tstill"}), (Fields{{"note", "longerstill"}}))
        << version;
    EXPECT_EQ(Ann(version, {"NOTE:\xC3", " \xA4"}), (Fields{{"note", "\xC3\xA4"}})) << version;
    EXPECT_EQ(Ann(version, {"TEL;TYPE=", " cell:1", "NOTE:a\\", " nb"}),
              (Fields{{"mobile", "1"}, {"note", "a\r\nb"}}))
        << version;
  }
}

TEST_F(CardFrame, AFoldOf21KeepsOneBlank) {
  EXPECT_EQ(Ann("2.1", {"NOTE:one", " two", " three", "TEL;CELL:1"}),
            (Fields{{"note", "one two three"}, {"mobile", "1"}}));
}

TEST_F(CardFrame, QuotedPrintableIsKnownByAllItsNames) {
  for (const char* encoding :
       {"ENCODING=QUOTED-PRINTABLE", "QUOTED-PRINTABLE", "ENCODING=QUOTEDPRINTABLE",
        "ENCODING=QUOTED_PRINTABLE", "ENCODING=Q", "encoding=quoted-printable",
        "ENCODING=\"QUOTED-PRINTABLE\""}) {
    EXPECT_EQ(Ann("2.1", {std::string("NOTE;") + encoding + ":a=40x=", "y"}),
              (Fields{{"note", "a@xy"}}))
        << encoding;
  }
  EXPECT_EQ(Ann("3.0", {"NOTE;ENCODING=B:aGVsbG8="}), (Fields{{"note", "hello"}}));
}

TEST_F(CardFrame, WhatDeclaresNoEncodingIsLeftAsItIs) {
  EXPECT_EQ(Ann("2.1", {"URL:http://a.example/?a=40b", "NOTE:1+1=20"}),
            (Fields{{"page", "http://a.example/?a=40b"}, {"note", "1+1=20"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:one=0D=0Atwo"}), (Fields{{"note", "one\r\ntwo"}}));
}

TEST_F(CardFrame, ATextThatSpeaksOfCardsIsText) {
  EXPECT_EQ(Ann("3.0", {"NOTE:BEGIN:VCARD\\nEND:VCARD", "TEL;TYPE=cell:1"}),
            (Fields{{"note", "BEGIN:VCARD\r\nEND:VCARD"}, {"mobile", "1"}}));
  EXPECT_EQ(
      Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0A=", "BEGIN:VCARD=", "", "TEL;CELL:1"}),
      (Fields{{"note", "a\r\nBEGIN:VCARD"}, {"mobile", "1"}}));
}

TEST_F(CardFrame, AnEqualsSignThatBeginsNoEscapeIsOne) {
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:a=zz=4b=, 1=1"}),
            (Fields{{"note", "a=zzK=, 1=1"}}));
}

TEST_F(CardFrame, ZeroBytesTakeNothingWithThem) {
  const std::string zero(1, '\0');
  const Received received = ReceiveAnn("2.1", {"NOTE:one" + zero + " two", "TEL;CELL:1" + zero});
  EXPECT_EQ(received.Only(), (Fields{{"note", "one two"}, {"mobile", "1"}}));
  EXPECT_FALSE(received.report.changed.empty());
}

TEST_F(CardFrame, AFileWithoutAnyCardIsNone) {
  EXPECT_THAT(ReceiveFile("").contacts, IsEmpty());
  EXPECT_THAT(ReceiveFile(kBegin).contacts, IsEmpty());
}

}  // namespace
}  // namespace card_frame_facts_test

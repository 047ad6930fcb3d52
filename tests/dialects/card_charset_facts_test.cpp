// Character sets of cards as devices declare them, or do not.
#include "tests/dialects/stored_contact.h"

namespace card_charset_facts_test {
namespace {

using stored_contact::ContactStore;
using stored_contact::Fields;
using stored_contact::Received;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class CardCharsets : public ContactStore {};

constexpr const char* kUmlaut = "\xC3\xA4";      // U+00E4
constexpr const char* kSee = "\xE8\xA6\x8B";     // U+898B
constexpr const char* kSeeNow = "\xE8\xA7\x81";  // U+89C1

TEST_F(CardCharsets, TextsThatAreUtf8AreReadAsThat) {
  EXPECT_EQ(Ann("2.1", {"NOTE:\xC3\xA4", "TITLE:\xE8\xA6\x8B"}),
            (Fields{{"note", kUmlaut}, {"title", kSee}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:\xF0\x9F\x98\x80"}), (Fields{{"note", "\xF0\x9F\x98\x80"}}));
}

TEST_F(CardCharsets, TextsThatAreNotGoByTheSettingAndAreAGuess) {
  const Received western = ReceiveAnn("2.1", {"NOTE:\xE4"});
  EXPECT_EQ(western.Only(), (Fields{{"note", kUmlaut}}));
  EXPECT_THAT(western.report.guessed, SizeIs(1));
  settings_.input_code_page = 932;
  const Received japanese = ReceiveAnn("2.1", {"NOTE:\x8C\xA9"});
  EXPECT_EQ(japanese.Only(), (Fields{{"note", kSee}}));
  EXPECT_THAT(japanese.report.guessed, SizeIs(1));
  settings_.input_code_page = 1251;
  EXPECT_EQ(Ann("2.1", {"NOTE:\xC6"}), (Fields{{"note", "\xD0\x96"}}));
}

TEST_F(CardCharsets, OneTextThatIsNotUtf8DecidesForAll) {
  EXPECT_EQ(Ann("2.1", {"NOTE:\xC3\xA4", "TITLE:\xE4"}),
            (Fields{{"note", "\xC3\x83\xC2\xA4"}, {"title", kUmlaut}}));
}

TEST_F(CardCharsets, TextsAreLookedAtWithoutTheirEncoding) {
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:=C3=A4"}), (Fields{{"note", kUmlaut}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:\xC3\xA4", "TITLE;ENCODING=QUOTED-PRINTABLE:=E4"}),
            (Fields{{"note", "\xC3\x83\xC2\xA4"}, {"title", kUmlaut}}));
}

TEST_F(CardCharsets, TextsThatNameTheirSetDecideNothingForTheOthers) {
  EXPECT_EQ(Ann("2.1", {"NOTE:\xC3\xA4", "TITLE;CHARSET=ISO-8859-1:\xE4"}),
            (Fields{{"note", kUmlaut}, {"title", kUmlaut}}));
}

TEST_F(CardCharsets, CharactersOfFourBytesHaveBounds) {
  for (const char* text :
       {"\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBD", "\xED\x9F\xBF", "\xE0\xA0\x80"}) {
    EXPECT_EQ(Ann("2.1", {std::string("NOTE:") + text}), (Fields{{"note", text}}));
  }
  for (const char* text : {"\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
                           "\xE0\x9F\xBF", "\xF0\x90\x80", "\xF0\x90\x80\x28"}) {
    EXPECT_EQ(ReceiveAnn("2.1", {std::string("NOTE:") + text}).report.guessed.size(), 1U);
  }
}

TEST_F(CardCharsets, OverlongFormsAndSurrogatesAreNoUtf8) {
  EXPECT_EQ(Ann("2.1", {"NOTE:a\xC0\xAF"}), (Fields{{"note", "a\xC3\x80\xC2\xAF"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:a\xED\xA0\xBD"}), (Fields{{"note", "a\xC3\xAD\xC2\xA0\xC2\xBD"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:a\xC3"}), (Fields{{"note", "a\xC3\x83"}}));
}

TEST_F(CardCharsets, UnderADoubleByteSetUtf8HasToShowThreeBytes) {
  settings_.input_code_page = 932;
  EXPECT_EQ(Ann("2.1", {"NOTE:\xC2\xB1"}), (Fields{{"note", "\xEF\xBE\x82\xEF\xBD\xB1"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:\xC2\xB1", "TITLE:\xE8\xA6\x8B"}),
            (Fields{{"note", "\xC2\xB1"}, {"title", kSee}}));
}

TEST_F(CardCharsets, ADeclaredUtf8ThatIsNoneIsTheSettingsAndReported) {
  const Received received = ReceiveAnn("2.1", {"NOTE;CHARSET=UTF-8:\xE4"});
  EXPECT_EQ(received.Only(), (Fields{{"note", kUmlaut}}));
  EXPECT_THAT(received.report.guessed, SizeIs(1));
}

TEST_F(CardCharsets, ASetThatNobodyKnowsIsAsNone) {
  const Received received = ReceiveAnn("2.1", {"NOTE;CHARSET=KLINGON:\xC3\xA4"});
  EXPECT_EQ(received.Only(), (Fields{{"note", kUmlaut}}));
  EXPECT_EQ(Ann("2.1", {"NOTE;CHARSET=KLINGON:abc"}), (Fields{{"note", "abc"}}));
}

TEST_F(CardCharsets, Base64IsDecoded) {
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=BASE64:aGVsbG8=", "", "TITLE;BASE64:eA=="}),
            (Fields{{"note", "hello"}, {"title", "x"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE;CHARSET=ISO-8859-1;ENCODING=BASE64:5A=="}),
            (Fields{{"note", kUmlaut}}));
  EXPECT_EQ(Ann("2.1", {"NOTE;CHARSET=UTF-8;ENCODING=BASE64:w6Q="}), (Fields{{"note", kUmlaut}}));
  EXPECT_EQ(ReceiveCard("2.1", {"N;ENCODING=BASE64:TGVlO0Fubg==", "TEL;CELL;ENCODING=BASE64:MQ=="})
                .Only(),
            (Fields{{"family", "Lee"}, {"given", "Ann"}, {"mobile", "1"}}));
}

TEST_F(CardCharsets, EverySetIsKnownByAllItsNames) {
  struct Row {
    std::vector<std::string> names;
    std::string bytes;  // in quoted-printable
    std::string text;
  };
  const std::vector<Row> rows = {
      {{"UTF-8", "UTF8", "utf8", "utf_8", "UNICODE-1-1-UTF-8"}, "=C3=A4", kUmlaut},
      {{"SHIFT-JIS", "SHIFT_JIS", "SHIFTJIS", "shift_jis", "X-SJIS", "MS_KANJI", "CP932",
        "WINDOWS-31J", "SJIS"},
       "=8C=A9",
       kSee},
      {{"GB2312", "GBK", "CP936", "X-GBK", "EUC-CN", "GB_2312-80", "CHINESE", "gb2312"},
       "=BC=FB",
       kSeeNow},
      {{"GB2312", "GBK"}, "=E6g", "\xE9\x8E\x94"},  // that only the larger set has
      {{"BIG5", "BIG-5", "CP950"}, "=A8=A3", kSee},
      {{"EUC-KR", "EUC_KR", "KSC5601", "KS_C_5601-1987", "UHC", "CP949", "KS_C_5601"},
       "=C7=D1",
       "\xED\x95\x9C"},
      {{"ISO-8859-1", "ISO8859-1", "ISO_8859-1", "LATIN1", "L1", "iso 8859-1"}, "=E4", kUmlaut},
      {{"ISO-8859-2", "ISO8859-2", "LATIN2", "ISO_8859-2"}, "=B3", "\xC5\x82"},
      {{"ISO-8859-5", "ISO8859-5"}, "=B6", "\xD0\x96"},
      {{"ISO-8859-15", "LATIN9", "ISO8859-15", "ISO_8859-15"}, "=A4", "\xE2\x82\xAC"},
      {{"US-ASCII", "ASCII", "ANSI_X3.4-1968", "US"}, "=41", "A"},
      {{"WINDOWS-1250", "CP1250", "WIN1250"}, "=B3", "\xC5\x82"},
      {{"WINDOWS-1251", "CP1251", "WIN1251", "windows_1251"}, "=C6", "\xD0\x96"},
      {{"WINDOWS-1252", "CP1252", "WIN1252"}, "=80", "\xE2\x82\xAC"},
      {{"WINDOWS-1253", "CP1253", "WIN1253"}, "=E1", "\xCE\xB1"},
      {{"KOI8-R", "KOI8R"}, "=F6", "\xD0\x96"},
      {{"WINDOWS-874", "TIS-620", "CP874"}, "=A1", "\xE0\xB8\x81"},
      {{"GB18030"}, "=949=FC6", "\xF0\x9F\x98\x80"},
      {{"KOI8-U"}, "=B7", "\xD0\x87"},
      {{"ISO-8859-10"}, "=A9", "\xC4\x90"},
      {{"ISO-8859-13"}, "=EC", "\xC4\xA3"},
      {{"ISO-8859-14"}, "=D0", "\xC5\xB4"},
      {{"BIG5-HKSCS"}, "=9D=EF", "\xE5\x98\x85"},
      {{"MACINTOSH"}, "=8A", kUmlaut},
  };
  for (const Row& row : rows) {
    for (const std::string& name : row.names) {
      const Received received =
          ReceiveAnn("2.1", {"NOTE;CHARSET=" + name + ";ENCODING=QUOTED-PRINTABLE:x" + row.bytes});
      EXPECT_EQ(received.Only(), (Fields{{"note", "x" + row.text}})) << name;
      EXPECT_THAT(received.report.guessed, IsEmpty()) << name;
    }
  }
  EXPECT_EQ(Ann("2.1", {"NOTE;CHARSET=UTF-16;ENCODING=QUOTED-PRINTABLE:=FE=FF=00=E4"}),
            (Fields{{"note", kUmlaut}}));
  EXPECT_EQ(Ann("2.1", {"NOTE;CHARSET=UTF-16BE;ENCODING=QUOTED-PRINTABLE:=00=E4=00;=00x"}),
            (Fields{{"note", "\xC3\xA4;x"}}));
}

TEST_F(CardCharsets, ATrailByteThatLooksLikeABackslashIsPartOfItsCharacter) {
  EXPECT_EQ(Ann("2.1", {"NOTE;CHARSET=SHIFT_JIS:\x94\x5C"}), (Fields{{"note", "\xE8\x83\xBD"}}));
  EXPECT_EQ(ReceiveCard("2.1", {"N;CHARSET=SHIFT_JIS:\x94\x5C;\x8C\xA9"}).Only(),
            (Fields{{"family", "\xE8\x83\xBD"}, {"given", kSee}}));
  settings_.input_code_page = 932;
  EXPECT_EQ(Ann("2.1", {"NOTE:\x94\x5C;\x8C\xA9"}),
            (Fields{{"note", "\xE8\x83\xBD;\xE8\xA6\x8B"}}));
}

TEST_F(CardCharsets, TheSameInsideOfQuotedPrintable) {
  for (const char* value : {"=94=5C;=8C=A9", "=94\\;=8C=A9"}) {
    EXPECT_EQ(
        ReceiveCard("2.1", {std::string("N;CHARSET=SHIFT_JIS;ENCODING=QUOTED-PRINTABLE:") + value})
            .Only(),
        (Fields{{"family", "\xE8\x83\xBD"}, {"given", kSee}}))
        << value;
  }
  EXPECT_EQ(
      ReceiveCard("2.1", {"N;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:=E4\\;b=3Bc;=E4"}).Only(),
      (Fields{{"family", "\xC3\xA4;b;c"}, {"given", kUmlaut}}));
}

TEST_F(CardCharsets, OfATextThatIsCutInsideOfACharacterTheRestIsKept) {
  const Received received = ReceiveAnn("2.1", {"NOTE;CHARSET=SHIFT_JIS:\x8C\xA9\x8C"});
  EXPECT_THAT(received.Only()["note"], testing::StartsWith(kSee));
  EXPECT_THAT(received.report.guessed, SizeIs(1));
}

TEST_F(CardCharsets, ADeclaredSetHoldsForEachComponent) {
  EXPECT_EQ(
      ReceiveCard("2.1", {"N;CHARSET=SHIFT_JIS;ENCODING=QUOTED-PRINTABLE:=8C=A9;=8C=A9"}).Only(),
      (Fields{{"family", kSee}, {"given", kSee}}));
}

TEST_F(CardCharsets, TheLaterVersionsAreUtf8WhateverIsDeclaredUnlessTheBytesSayOtherwise) {
  for (const char* version : {"3.0", "4.0"}) {
    EXPECT_EQ(Ann(version, {"NOTE;CHARSET=ISO-8859-1:\xC3\xA4"}), (Fields{{"note", kUmlaut}}))
        << version;
    EXPECT_EQ(Ann(version, {"NOTE;CHARSET=ISO-8859-1:\xE4"}), (Fields{{"note", kUmlaut}}))
        << version;
    EXPECT_EQ(Ann(version, {"NOTE:\xC3\xA4"}), (Fields{{"note", kUmlaut}})) << version;
  }
  settings_.input_code_page = 932;
  EXPECT_EQ(Ann("3.0", {"NOTE:\xC2\xB1"}), (Fields{{"note", "\xC2\xB1"}}));
}

}  // namespace
}  // namespace card_charset_facts_test

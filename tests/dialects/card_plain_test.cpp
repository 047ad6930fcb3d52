#include "dialects/card_plain.h"

#include <gtest/gtest.h>

#include "tests/dialects/card_text.h"

namespace card_plain_test {
namespace {

using card_text::Card;
using dialects::IsPlainCard;

bool IsPlain(std::initializer_list<std::string_view> lines) {
  return IsPlainCard(Card("2.1", lines).text);
}

TEST(PlainCard, HasWhatTheStoreHasAPlaceFor) {
  EXPECT_TRUE(IsPlain({"N:Lee;Ann;M.;Dr;Jr",
                       "FN:Ann Lee",
                       "BDAY:19991231",
                       "ADR;HOME:a;b;c;d;e;f;g",
                       "ADR;WORK:;;x",
                       "ADR:;;y",
                       "ORG:Firm;Sales",
                       "TITLE:T",
                       "TEL;HOME;VOICE:1",
                       "TEL;HOME:2",
                       "TEL;WORK;VOICE:3",
                       "TEL;WORK:4",
                       "TEL;HOME;FAX:5",
                       "TEL;WORK;FAX:6",
                       "TEL;CELL:7",
                       "TEL;PAGER:8",
                       "TEL;CAR:9",
                       "TEL;TYPE=X-ASSISTANT:10",
                       "TEL;TYPE=X-RADIO:11",
                       "URL:http://a.example/?a=b",
                       "EMAIL;INTERNET;PREF:a@b",
                       "EMAIL;INTERNET:c@d",
                       "EMAIL;INTERNET:e@f",
                       "NOTE:x",
                       "X-SPOUSE:Jo",
                       "X-ANNIVERSARY:20010203",
                       "X-CHILDREN:Al",
                       "X-ASSISTANT:Cy",
                       "X-CAT:a,b",
                       "X-IRMC-LUID:0A"}));
}

TEST(PlainCard, MayHaveEmptyLinesForWhatItLacks) {
  EXPECT_TRUE(IsPlain({"N:Lee", "BDAY:", "ADR;HOME:;;;;;;", "ADR;HOME:;;;;;;",
                       "TEL;CELL:", "TEL;CELL:1", "EMAIL;INTERNET;PREF:", "URL:", "URL:u"}));
}

TEST(PlainCard, MayHaveEmptyLinesOfEachKindHoweverMany) {
  for (const std::string head : {"URL",
                                 "ADR",
                                 "ADR;HOME",
                                 "ADR;WORK",
                                 "TEL",
                                 "TEL;HOME",
                                 "TEL;VOICE",
                                 "TEL;HOME;VOICE",
                                 "TEL;WORK",
                                 "TEL;WORK;VOICE",
                                 "TEL;CELL",
                                 "TEL;CELL;VOICE",
                                 "TEL;FAX",
                                 "TEL;HOME;FAX",
                                 "TEL;WORK;FAX",
                                 "TEL;PAGER",
                                 "TEL;CAR",
                                 "TEL;TYPE=X-ASSISTANT",
                                 "TEL;TYPE=X-RADIO",
                                 "EMAIL;INTERNET",
                                 "EMAIL;INTERNET;PREF"}) {
    const std::string line = head + ":";
    EXPECT_TRUE(IsPlain({"N:Lee", line, line, line, line})) << head;
  }
  for (const std::string head : {"FN", "NOTE", "TITLE", "ORG", "BDAY"}) {
    const std::string line = head + ":";
    EXPECT_FALSE(IsPlain({"N:Lee", line, line})) << head;
  }
}

TEST(PlainCard, MayHaveAnyLineEnd) {
  EXPECT_TRUE(IsPlainCard("BEGIN:VCARD\nVERSION:2.1\nN:Lee\nEND:VCARD\n"));
  EXPECT_TRUE(IsPlainCard("BEGIN:VCARD\nVERSION:2.1\nN:Lee\nEND:VCARD"));
}

TEST(PlainCard, MayHaveDeclaredUtf8) {
  EXPECT_TRUE(IsPlain({"N;CHARSET=UTF-8:M\xC3\xBCller"}));
  EXPECT_TRUE(IsPlain({"N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=", "=BCl=20;=E2=82=AC"}));
  EXPECT_TRUE(IsPlain({"N:x", "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab=3B=3D"}));
}

struct OtherCase {
  std::string what;
  std::string line;
};

class CardWith : public testing::TestWithParam<OtherCase> {};

TEST_P(CardWith, IsNotPlain) {
  EXPECT_FALSE(IsPlain({"N:Lee", "TEL;CELL:1", GetParam().line})) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Markers, CardWith,
    testing::Values(
        OtherCase{"an unknown name", "PHOTO:x"}, OtherCase{"a nickname", "NICKNAME:x"},
        OtherCase{"a UID", "UID:x"}, OtherCase{"a group", "A.TEL;HOME:1"},
        OtherCase{"another case", "tel;home:1"}, OtherCase{"a kind without a place", "TEL;ISDN:1"},
        OtherCase{"a second mobile number", "TEL;CELL:2"}, OtherCase{"a second name", "N:Poe"},
        OtherCase{"a fold", " x"}, OtherCase{"a blank line", ""}, OtherCase{"no colon", "x"},
        OtherCase{"an = at the end", "URL:a="}, OtherCase{"a break", "NOTE:a=0D=0Ab"},
        OtherCase{"a semicolon", "NOTE:a;b"}, OtherCase{"a backslash", "NOTE:a\\b"},
        OtherCase{"many components", "ORG:a;b;c"}, OtherCase{"bytes of no set", "NOTE:\xFC"},
        OtherCase{"UTF-8 that is not declared", "NOTE:\xC3\xBC"},
        OtherCase{"UTF-8 that is none", "NOTE;CHARSET=UTF-8:\xFC"},
        OtherCase{"another set", "NOTE;CHARSET=ISO-8859-1:\xFC"},
        OtherCase{"encoded bytes of no set", "NOTE;ENCODING=QUOTED-PRINTABLE:=FC"},
        OtherCase{"encoded UTF-8 that is none", "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=FC"},
        OtherCase{"half a character", "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3"},
        OtherCase{"an encoded backslash", "NOTE;ENCODING=QUOTED-PRINTABLE:=5C"},
        OtherCase{"an encoded zero", "NOTE;ENCODING=QUOTED-PRINTABLE:=00"},
        OtherCase{"a broken escape", "NOTE;ENCODING=QUOTED-PRINTABLE:=4"},
        OtherCase{"an escape with a wrong first digit", "NOTE;ENCODING=QUOTED-PRINTABLE:=G1"},
        OtherCase{"an escape with a wrong second digit", "NOTE;ENCODING=QUOTED-PRINTABLE:=4G"},
        OtherCase{"a character of two beginnings",
                  "NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=C3=C0"},
        OtherCase{"an encoded birthday", "BDAY;ENCODING=QUOTED-PRINTABLE:19991231"},
        OtherCase{"an encoded anniversary", "X-ANNIVERSARY;ENCODING=QUOTED-PRINTABLE:19991231"},
        OtherCase{"an encoded id", "X-IRMC-LUID;ENCODING=QUOTED-PRINTABLE:0A"},
        OtherCase{"blanks after a soft break", "NOTE;ENCODING=QUOTED-PRINTABLE:a= "},
        OtherCase{"base64", "NOTE;ENCODING=BASE64:aGVsbG8="},
        OtherCase{"an impossible day", "BDAY:19990230"},
        OtherCase{"a date in another form", "BDAY:1999-12-31"},
        OtherCase{"mail of no kind", "EMAIL:a@b"}, OtherCase{"a page at home", "URL;HOME:u"},
        OtherCase{"a card inside", "BEGIN:VCARD"}, OtherCase{"a lone CR", "NOTE:a\rTEL:1"},
        OtherCase{"another version", "VERSION:2.1"}));

// Values are looked at several bytes at a time; each byte counts wherever it stands.
TEST(PlainCard, HasNoOtherBytesAnywhereInAValue) {
  const std::string before = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee\r\nNOTE:";
  const std::string after = "\r\nEND:VCARD\r\n";
  for (int byte = 0; byte < 256; ++byte) {
    const bool is_plain =
        byte == '\t' || (byte >= ' ' && byte < 0x7F && byte != '\\' && byte != ';');
    for (size_t place = 0; place < 19; ++place) {
      std::string value(20, 'n');
      value[place] = static_cast<char>(byte);
      EXPECT_EQ(IsPlainCard(before + value + after), is_plain) << byte << " at " << place;
    }
  }
}

TEST(PlainCard, HasNoOtherBytesAnywhereInAnEncodedValue) {
  const std::string before =
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee\r\nNOTE;ENCODING=QUOTED-PRINTABLE:";
  const std::string after = "\r\nEND:VCARD\r\n";
  for (int byte = 0; byte < 256; ++byte) {
    const bool is_plain =
        byte == '\t' || (byte >= ' ' && byte < 0x7F && byte != '\\' && byte != ';' && byte != '=');
    for (size_t place = 0; place < 19; ++place) {
      std::string value(20, 'n');
      value[place] = static_cast<char>(byte);
      EXPECT_EQ(IsPlainCard(before + value + after), is_plain) << byte << " at " << place;
      value.replace(place, 1, "=41");
      EXPECT_TRUE(IsPlainCard(before + value + after)) << place;
      value.replace(place, 3, "=5C");
      EXPECT_FALSE(IsPlainCard(before + value + after)) << place;
    }
  }
}

TEST(PlainCard, HasAFrame) {
  EXPECT_FALSE(IsPlainCard(""));
  EXPECT_FALSE(IsPlainCard("BEGIN:VCARD\nVERSION:2.1\nN:Lee\n"));
  EXPECT_FALSE(IsPlainCard("BEGIN:VCARD\nN:Lee\nEND:VCARD\n"));
  EXPECT_FALSE(IsPlainCard("BEGIN:VCARD\nVERSION:3.0\nN:Lee\nEND:VCARD\n"));
  EXPECT_FALSE(IsPlainCard("BEGIN:VCARD\nVERSION:2.1\nN:Lee\nEND:VCARD\n\n"));
  EXPECT_FALSE(IsPlainCard("\nBEGIN:VCARD\nVERSION:2.1\nN:Lee\nEND:VCARD\n"));
}

TEST(PlainCard, HasAName) {
  EXPECT_FALSE(IsPlain({"FN:Lee"}));
  EXPECT_FALSE(IsPlain({"N:;;;;", "FN:Lee"}));
}

TEST(PlainCard, HasNotMoreThanTheStoreHasPlacesFor) {
  EXPECT_FALSE(IsPlain({"N:x", "TEL:1", "TEL;HOME:2", "TEL;VOICE:3"}));
  EXPECT_FALSE(IsPlain({"N:x", "EMAIL;INTERNET:1", "EMAIL;INTERNET:2", "EMAIL;INTERNET:3",
                        "EMAIL;INTERNET;PREF:4"}));
}

}  // namespace
}  // namespace card_plain_test

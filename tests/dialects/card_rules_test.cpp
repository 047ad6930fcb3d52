#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/dialects/card_text.h"

namespace card_rules_test {
namespace {

using card_text::Card;
using card_text::Inner;
using card_text::LinesOf;
using card_text::Strict;
using dialects::Happenings;
using dialects::StrictObject;
using ::testing::Contains;
using ::testing::ElementsAre;

std::vector<std::string> Of21(std::initializer_list<std::string_view> lines) {
  return Inner(Strict(Card("2.1", lines)).text);
}
std::vector<std::string> Of30(std::initializer_list<std::string_view> lines) {
  return Inner(Strict(Card("3.0", lines)).text);
}
std::vector<std::string> Of40(std::initializer_list<std::string_view> lines) {
  return Inner(Strict(Card("4.0", lines)).text);
}

// ---- Frame --------------------------------------------------------------------------------------------------

TEST(StrictCards, LeaveAPlainCardAsItIs) {
  const StrictObject strict = Strict(Card("2.1", {"N:Lee;Ann", "FN:Ann Lee", "TEL;CELL:1"}));
  EXPECT_EQ(strict.text,
            "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nFN:Ann Lee\r\nTEL;CELL:1\r\nEND:VCARD\r\n");
  EXPECT_TRUE(strict.report.IsEmpty());
  EXPECT_EQ(strict.refusal, "");
}

TEST(StrictCards, TakeACardWithoutAVersionForOneOf21) {
  const StrictObject strict = Strict(Card("", {"N:Lee;Ann", "NOTE:a\\nb"}));
  EXPECT_THAT(LinesOf(strict.text),
              ElementsAre("BEGIN:VCARD", "VERSION:2.1", "N:Lee;Ann", "NOTE:a\\\\nb", "END:VCARD"));
  EXPECT_EQ(strict.report.guessed, (Happenings{{"version", 1}}));
}

TEST(StrictCards, TakeACardWithoutAVersionForOneOf30WhereItIsWrittenLikeOne) {
  EXPECT_THAT(Inner(Strict(Card("", {"N:Lee;Ann", "TEL;TYPE=home,voice:1", "NOTE:a\\nb", "NOTE:lon",
                                     " ger"}))
                        .text),
              ElementsAre("N:Lee;Ann", "TEL;HOME;VOICE:1",
                          "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab=0D=0A=0D=0Alonger"));
}

TEST(StrictCards, ReadAVersionThatIsEncoded) {
  EXPECT_THAT(Inner(Strict(Card("", {"VERSION;ENCODING=BASE64:My4w", "N:Lee;Ann\\, Mary"})).text),
              ElementsAre("N:Lee;Ann, Mary"));
}

TEST(StrictCards, SayThatAnEndWasMissing) {
  dialects::ObjectText object = Card("2.1", {"N:Lee;Ann"});
  object.had_end = false;
  EXPECT_EQ(Strict(object).report.guessed, (Happenings{{"END", 1}}));
}

TEST(StrictCards, GiveTheCardsOfAListOfCards) {
  const auto all = dialects::StrictCards(Card("2.1", {"BEGIN:VCARD", "UID:1", "N:Lee", "END:VCARD",
                                                      "BEGIN:VCARD", "N:Poe", "END:VCARD"}),
                                         {});
  ASSERT_EQ(all.size(), 2U);
  EXPECT_THAT(Inner(all[0].text), ElementsAre("N:Lee"));
  EXPECT_EQ(all[0].uid, "1");
  EXPECT_THAT(Inner(all[1].text), ElementsAre("N:Poe"));
}

TEST(StrictCards, RefuseAGroupOfContacts) {
  const StrictObject strict =
      Strict(Card("4.0", {"KIND:group", "FN:Friends", "MEMBER:urn:uuid:1"}));
  EXPECT_EQ(strict.refusal, "a group of contacts (KIND:group), not a contact");
  EXPECT_EQ(strict.text, "");
  EXPECT_NE(Strict(Card("3.0", {"X-ADDRESSBOOKSERVER-KIND:group", "FN:Friends"})).refusal, "");
}

TEST(StrictCards, RefuseACardWithNothingToStore) {
  EXPECT_EQ(Strict(Card("2.1", {"REV:20260101T000000Z", "N:;;;;"})).refusal,
            "nothing to store: no name, number, address or text");
}

TEST(StrictCards, GiveTheUidAndKeepTheLuid) {
  const StrictObject strict =
      Strict(Card("3.0", {"N:Lee", "UID: urn:uuid:7 ", "X-IRMC-LUID:0000A1"}));
  EXPECT_EQ(strict.uid, "urn:uuid:7");
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "X-IRMC-LUID:0000A1"));
  EXPECT_TRUE(strict.report.dropped.empty());
}

// ---- Lines and texts ----------------------------------------------------------------------------------------

TEST(StrictCards, UnfoldByTheRulesOfTheirVersion) {
  EXPECT_THAT(Of30({"N:Lee", "NOTE:lon", " ger"}), ElementsAre("N:Lee", "NOTE:longer"));
  EXPECT_THAT(Of21({"N:Lee", "NOTE:lon", " ger"}), ElementsAre("N:Lee", "NOTE:lon ger"));
}

TEST(StrictCards, KeepAnEqualsSignAtTheEndOfALine) {
  EXPECT_THAT(Of21({"N:Lee", "URL:http://a.example/?q=", "TEL;HOME:1"}),
              ElementsAre("N:Lee", "TEL;HOME;VOICE:1",
                          "URL;ENCODING=QUOTED-PRINTABLE:http=3A//a.example/?q=3D"));
}

TEST(StrictCards, DropPicturesAndSaySo) {
  const StrictObject strict =
      Strict(Card("2.1", {"N:Lee", "PHOTO;ENCODING=BASE64;JPEG:", " aGVsbG8=", "TEL;CELL:1"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "TEL;CELL:1"));
  EXPECT_EQ(strict.report.dropped, (Happenings{{"PHOTO", 1}}));
}

TEST(StrictCards, DeclareUtf8ThatNoLineDeclares) {
  const StrictObject strict = Strict(Card("2.1", {"N:M\xC3\xBCller;Zo\xC3\xAB"}));
  EXPECT_THAT(Inner(strict.text),
              ElementsAre("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Zo=C3=AB"));
  EXPECT_EQ(strict.report.changed, (Happenings{{"UTF-8 declared", 1}}));
}

TEST(StrictCards, ReadOtherBytesByTheSetting) {
  dialects::TextSettings settings;
  settings.input_code_page = 1250;
  const StrictObject strict = Strict(Card("2.1", {"N:Dvo\xF8\xE1k"}), settings);
  EXPECT_THAT(Inner(strict.text),
              ElementsAre("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Dvo=C5=99=C3=A1k"));
  EXPECT_EQ(strict.report.guessed, (Happenings{{"character set", 1}}));
}

TEST(StrictCards, KnowCharacterSetsByOtherNames) {
  EXPECT_THAT(Of21({"N;CHARSET=UTF8;QUOTED-PRINTABLE:Z=C3=BCrich"}),
              ElementsAre("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Z=C3=BCrich"));
  EXPECT_THAT(Of21({"N;CHARSET=LATIN1:Z\xFCrich"}),
              ElementsAre("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Z=C3=BCrich"));
}

TEST(StrictCards, Decode64InATextThatIsStored) {
  EXPECT_THAT(Of21({"N:Lee", "NOTE;ENCODING=BASE64:aGVsbG8=", ""}),
              ElementsAre("N:Lee", "NOTE:hello"));
}

TEST(StrictCards, KeepASemicolonInAValueOfOneText) {
  EXPECT_THAT(
      Of21({"N:Lee", "FN:Lee; Ann", "NOTE;QUOTED-PRINTABLE:one; two=3D"}),
      ElementsAre("N:Lee", "FN:Lee\\; Ann", "NOTE;ENCODING=QUOTED-PRINTABLE:one=3B two=3D"));
}

TEST(StrictCards, KeepWhatFollowsANumber) {
  EXPECT_THAT(Of21({"N:Lee", "TEL;HOME:+1555;ext=7", "TEL;WORK:1234;5678"}),
              ElementsAre("N:Lee", "TEL;HOME;VOICE:+1555\\;ext=7", "TEL;WORK;VOICE:1234\\;5678"));
}

TEST(StrictCards, KeepABackslashThatIsNoEscape) {
  EXPECT_THAT(Of21({"N:Lee", "NOTE:C:\\new\\\\x"}), ElementsAre("N:Lee", "NOTE:C:\\\\new\\\\x"));
}

TEST(StrictCards, KnowTheEscapesOfALaterProgramIn21) {
  EXPECT_THAT(Of21({"N:Lee", "NOTE:a\\, b\\nc"}),
              ElementsAre("N:Lee", "NOTE;ENCODING=QUOTED-PRINTABLE:a, b=0D=0Ac"));
  EXPECT_THAT(Of21({"N:Lee", "TEL;TYPE=HOME,VOICE:1", "NOTE:b\\nc"}),
              ElementsAre("N:Lee", "TEL;HOME;VOICE:1", "NOTE;ENCODING=QUOTED-PRINTABLE:b=0D=0Ac"));
}

TEST(StrictCards, TakeAnEncodedLineBreakThatIsNotDeclared) {
  EXPECT_THAT(Of21({"N:Lee", "NOTE:a=0D=0Ab=40c"}),
              ElementsAre("N:Lee", "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab=3D40c"));
}

TEST(StrictCards, IgnoreACharsetIn30) {
  EXPECT_THAT(Of30({"N;CHARSET=ISO-8859-1:M\xC3\xBCller"}),
              ElementsAre("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller"));
}

// ---- Names --------------------------------------------------------------------------------------------------

struct DerivedCase {
  std::vector<std::string> lines;
  std::string name;
  std::string guess;
};

class NameOfACardWithoutOne : public testing::TestWithParam<DerivedCase> {};

TEST_P(NameOfACardWithoutOne, IsTakenFromWhatThereIs) {
  dialects::ObjectText object = Card("2.1", {});
  std::string lines;
  for (const std::string& line : GetParam().lines) lines += line + "\r\n";
  object.text.insert(object.text.find("END:"), lines);
  const StrictObject strict = Strict(object);
  EXPECT_THAT(LinesOf(strict.text), Contains(GetParam().name));
  EXPECT_EQ(strict.report.guessed, (Happenings{{GetParam().guess, 1}}));
}

INSTANTIATE_TEST_SUITE_P(
    Sources, NameOfACardWithoutOne,
    testing::Values(
        DerivedCase{{"FN:Jo van Doe", "ORG:Firm"}, "N:Jo van Doe;;;;", "name from FN"},
        DerivedCase{{"FN:Doe, Jo"}, "N:Doe;Jo;;;", "name from FN"},
        DerivedCase{{"FN:Doe, Jo", "ORG:Doe, Jo"}, "N:Doe, Jo;;;;", "name from FN"},
        DerivedCase{{"FN:Room 1, House"}, "N:Room 1, House;;;;", "name from FN"},
        DerivedCase{{"FN:A, B, C"}, "N:A, B, C;;;;", "name from FN"},
        DerivedCase{{"N:;;;;", "FN:Jo"}, "N:Jo;;;;", "name from FN"},
        DerivedCase{{"ORG:Firm;Sales"}, "N:Firm;;;;", "name from ORG"},
        DerivedCase{{"TEL;HOME:1", "NICKNAME:Jojo"}, "N:Jojo;;;;", "name from NICKNAME"},
        DerivedCase{{"TEL;HOME:1", "EMAIL;INTERNET:a@b"}, "N:a@b;;;;", "name from EMAIL"},
        DerivedCase{{"TEL;HOME:1"}, "N:1;;;;", "name from TEL"},
        DerivedCase{{"NOTE:x"}, "N:", "no name"}));

TEST(StrictCards, StripGroupsAlsoFromTheName) {
  const StrictObject strict = Strict(Card("2.1", {"A.N:Doe;Jo", "B.TEL;CELL:1"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Doe;Jo", "TEL;CELL:1"));
  EXPECT_EQ(strict.report.changed, (Happenings{{"group prefix", 2}}));
}

// ---- Single and several -------------------------------------------------------------------------------------

TEST(StrictCards, KeepTheFirstOfWhatTheStoreHasOnce) {
  const StrictObject strict =
      Strict(Card("2.1", {"N:Lee", "N:Poe", "TITLE:", "TITLE:Dr", "TITLE:Prof", "ORG:A;B", "ORG:C",
                          "FN:L", "FN:L"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "FN:L", "ORG:A;B", "TITLE:Dr"));
  EXPECT_EQ(strict.report.dropped,
            (Happenings{{"N (another)", 1}, {"ORG (another)", 1}, {"TITLE (another)", 1}}));
}

TEST(StrictCards, KeepAnEmptyValueThatClearsWhatIsStored) {
  EXPECT_THAT(Of21({"N:Lee", "TITLE:", "NOTE:", "BDAY:"}),
              ElementsAre("N:Lee", "BDAY:", "TITLE:", "NOTE:"));
}

TEST(StrictCards, TakeThePreferredOneOf40) {
  EXPECT_THAT(Of40({"N:Lee", "FN;PREF=2:Anna", "FN;PREF=1:Ann"}), ElementsAre("N:Lee", "FN:Ann"));
}

TEST(StrictCards, KeepOneOfSeveralLanguages) {
  const StrictObject strict =
      Strict(Card("4.0", {"N;ALTID=1;LANGUAGE=en:Lee", "N;ALTID=1;LANGUAGE=de:Li", "FN:Lee"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "FN:Lee"));
  EXPECT_EQ(strict.report.dropped, (Happenings{{"N (in another language)", 1}}));
}

TEST(StrictCards, JoinNotesWithAnEmptyLine) {
  EXPECT_THAT(Of21({"N:Lee", "NOTE:one", "NOTE:two"}),
              ElementsAre("N:Lee", "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=0A=0D=0Atwo"));
}

TEST(StrictCards, JoinTheComponentsThatTheStoreDoesNotHave) {
  EXPECT_THAT(Of21({"N:a;b;c;d;e;f", "ORG:Firm;Sales;South;East",
                    "ADR;HOME:box;;Road 1;Town;;1;X;floor 2"}),
              ElementsAre("N:a;b;c;d;e f", "ADR;HOME:box;;Road 1 floor 2;Town;;1;X",
                          "ORG:Firm;Sales, South, East"));
}

TEST(StrictCards, JoinListsInNamesAndAddressesWithABlank) {
  EXPECT_THAT(Of30({"N:Lee;Ann,Mary;;Dr.,Prof.;", "ADR;TYPE=home:;;Road 1,Back yard;Town, North"}),
              ElementsAre("N:Lee;Ann Mary;;Dr. Prof.;", "ADR;HOME:;;Road 1 Back yard;Town, North"));
}

TEST(StrictCards, JoinCategoriesWithCommas) {
  EXPECT_THAT(Of30({"N:Lee", "CATEGORIES:a,b", "CATEGORIES:c"}),
              ElementsAre("N:Lee", "X-CAT:a,b,c"));
  EXPECT_THAT(Of21({"N:Lee", "X-CAT:a"}), ElementsAre("N:Lee", "X-CAT:a"));
  EXPECT_THAT(Of21({"N:Lee", "CATEGORIES:a;b"}), ElementsAre("N:Lee", "X-CAT:a,b"));
  EXPECT_THAT(Of21({"N:Lee", "X-CAT:a, b", "CATEGORIES:a, b"}), ElementsAre("N:Lee", "X-CAT:a, b"));
}

TEST(StrictCards, MoveARoleToAMissingTitle) {
  EXPECT_THAT(Of30({"N:Lee", "ROLE:Chair"}), ElementsAre("N:Lee", "TITLE:Chair"));
  const StrictObject strict =
      Strict(Card("3.0", {"N:Lee", "ROLE:Chair", "TITLE:Dr", "NICKNAME:A,B"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "NICKNAME:A, B", "TITLE:Dr", "ROLE:Chair"));
  EXPECT_EQ(strict.report.dropped, (Happenings{{"NICKNAME", 1}, {"ROLE", 1}}));
}

TEST(StrictCards, PutTheDepartmentIntoTheOrganisation) {
  EXPECT_THAT(Of21({"N:Lee",
                    "DEPT;CHARSET=UTF-8:S\xC3\xBC"
                    "d",
                    "ORG:Firm"}),
              ElementsAre("N:Lee", "ORG;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Firm;S=C3=BCd"));
}

// ---- Telephones ---------------------------------------------------------------------------------------------

struct TelephoneCase {
  std::string sent;
  std::string strict;
};

class Telephone : public testing::TestWithParam<TelephoneCase> {};

TEST_P(Telephone, GoesIntoItsPlace) {
  EXPECT_THAT(Of21({"N:Lee", GetParam().sent}), ElementsAre("N:Lee", GetParam().strict));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Telephone,
    testing::Values(
        TelephoneCase{"TEL:1", "TEL;HOME;VOICE:1"}, TelephoneCase{"TEL;PREF:1", "TEL;HOME;VOICE:1"},
        TelephoneCase{"TEL;CHARSET=UTF-8:1", "TEL;HOME;VOICE:1"},
        TelephoneCase{"TEL;HOME:1", "TEL;HOME;VOICE:1"},
        TelephoneCase{"TEL;X-OTHER:1", "TEL;HOME;VOICE:1"},
        TelephoneCase{"TEL;WORK;PREF:1", "TEL;WORK;VOICE:1"},
        TelephoneCase{"TEL;FAX:1", "TEL;HOME;FAX:1"},
        TelephoneCase{"TEL;WORK;FAX:1", "TEL;WORK;FAX:1"},
        TelephoneCase{"TEL;CELL;VOICE;WORK:1", "TEL;CELL:1"},
        TelephoneCase{"TEL;MOBILE:1", "TEL;CELL:1"}, TelephoneCase{"TEL;IPHONE:1", "TEL;CELL:1"},
        TelephoneCase{"TEL;PCS:1", "TEL;CELL:1"}, TelephoneCase{"TEL;MSG:1", "TEL;CELL:1"},
        TelephoneCase{"TEL;TYPE=text:1", "TEL;CELL:1"},
        TelephoneCase{"TEL;HOME;MSG:1", "TEL;HOME;VOICE:1"},
        TelephoneCase{"TEL;ISDN:1", "TEL;HOME;VOICE:1"},
        TelephoneCase{"TEL;WORK;VIDEO:1", "TEL;WORK;VOICE:1"},
        TelephoneCase{"TEL;PAGER:1", "TEL;PAGER:1"}, TelephoneCase{"TEL;CAR:1", "TEL;CAR:1"},
        TelephoneCase{"TEL;RADIO:1", "TEL;TYPE=X-RADIO:1"},
        TelephoneCase{"TEL;TYPE=X-ASSISTANT:1", "TEL;TYPE=X-ASSISTANT:1"},
        TelephoneCase{"X-MICROSOFT-ASST_TEL:1", "TEL;TYPE=X-ASSISTANT:1"}));

TEST(StrictCards, GiveASecondMobileNumberThePlaceOfItsOtherKind) {
  const StrictObject strict = Strict(Card("2.1", {"N:Lee", "TEL;CELL;HOME:1", "TEL;CELL;WORK:2"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "TEL;WORK;VOICE:2", "TEL;CELL:1"));
  EXPECT_EQ(strict.report.changed, (Happenings{{"TEL at another place", 1}}));
}

TEST(StrictCards, GiveFurtherNumbersTheNextFreePlaceAndThenTheNote) {
  const StrictObject strict =
      Strict(Card("2.1", {"N:Lee", "TEL;HOME:1", "TEL;HOME:2", "TEL;HOME:3", "TEL;WORK:4",
                          "TEL;HOME:5", "TEL;HOME:6", "TEL;HOME:7", "NOTE:x"}));
  EXPECT_THAT(Inner(strict.text),
              ElementsAre("N:Lee", "TEL;HOME;VOICE:1", "TEL;HOME;VOICE:2", "TEL;WORK;VOICE:4",
                          "TEL;WORK;VOICE:3", "TEL;CAR:5", "TEL;TYPE=X-RADIO:6",
                          "NOTE;ENCODING=QUOTED-PRINTABLE:x=0D=0ATel=3A 7"));
  EXPECT_EQ(strict.report.changed, (Happenings{{"TEL at another place", 3}, {"TEL to NOTE", 1}}));
}

TEST(StrictCards, DoNotCallAFax) {
  EXPECT_THAT(Of21({"N:Lee", "TEL;FAX;HOME:1", "TEL;FAX;HOME:2", "TEL;FAX;HOME:3"}),
              ElementsAre("N:Lee", "TEL;HOME;FAX:1", "TEL;WORK;FAX:2", "NOTE:Fax: 3"));
}

TEST(StrictCards, PutThePreferredNumberFirst) {
  EXPECT_THAT(Of21({"N:Lee", "TEL;HOME:1", "TEL;HOME;PREF:2", "TEL;MODEM:3"}),
              ElementsAre("N:Lee", "TEL;HOME;VOICE:2", "TEL;HOME;VOICE:1", "TEL;WORK;VOICE:3"));
}

TEST(StrictCards, TakeTheSameNumberOnce) {
  const StrictObject strict = Strict(Card("2.1", {"N:Lee", "TEL;RADIO:1", "TEL;TYPE=X-RADIO:1"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "TEL;TYPE=X-RADIO:1"));
  EXPECT_TRUE(strict.report.IsEmpty());
}

TEST(StrictCards, ReadNumbersThatAreUris) {
  EXPECT_THAT(Of40({"N:Lee", "TEL;VALUE=uri;PREF=1;TYPE=\"voice,work\":tel:+1-555-555;ext=51"}),
              ElementsAre("N:Lee", "TEL;WORK;VOICE:+1-555-555 x51"));
}

// ---- Mail, pages, addresses ---------------------------------------------------------------------------------

TEST(StrictCards, SayThatAnAddressIsOfTheInternet) {
  const StrictObject strict = Strict(Card("2.1", {"N:Lee", "EMAIL:a@b", "EMAIL;HOME;PREF:c@d"}));
  EXPECT_THAT(Inner(strict.text),
              ElementsAre("N:Lee", "EMAIL;INTERNET;PREF:c@d", "EMAIL;INTERNET:a@b"));
  EXPECT_EQ(strict.report.changed, (Happenings{{"EMAIL is INTERNET", 2}}));
}

TEST(StrictCards, WriteAddressesWithoutAPlaceIntoTheNote) {
  EXPECT_THAT(Of21({"N:Lee", "EMAIL:1@x", "EMAIL:2@x", "EMAIL:3@x", "EMAIL:4@x"}),
              ElementsAre("N:Lee", "EMAIL;INTERNET:1@x", "EMAIL;INTERNET:2@x", "EMAIL;INTERNET:3@x",
                          "NOTE:Email: 4@x"));
  EXPECT_THAT(
      Of21({"N:Lee", "EMAIL;X400:c=de", "EMAIL;AOL:5"}),
      ElementsAre("N:Lee", "NOTE;ENCODING=QUOTED-PRINTABLE:Email=3A c=3Dde=0D=0AEmail=3A 5"));
}

TEST(StrictCards, KeepThePageThatIsNotTheOneAtHome) {
  EXPECT_THAT(Of21({"N:Lee", "URL;HOME:h", "URL;WORK:w"}),
              ElementsAre("N:Lee", "URL:w", "NOTE:URL: h"));
  EXPECT_THAT(Of21({"N:Lee", "URL;HOME:h"}), ElementsAre("N:Lee", "URL:h"));
}

TEST(StrictCards, KeepThreeAddressesAndWriteTheRestIntoTheNote) {
  EXPECT_THAT(
      Of21({"N:Lee", "ADR;HOME;PARCEL:;;1", "ADR;HOME:;;2", "ADR;WORK:;;3", "ADR;DOM:;;4;Town",
            "ADR;HOME:;;;;;;"}),
      ElementsAre("N:Lee", "ADR;HOME:;;1", "ADR:;;2", "ADR;WORK:;;3", "NOTE:Address: 4, Town"));
}

TEST(StrictCards, TakeAnAddressOf30WithoutAKindForOneAtWork) {
  EXPECT_THAT(Of30({"N:Lee", "ADR:;;1"}), ElementsAre("N:Lee", "ADR;WORK:;;1"));
  EXPECT_THAT(Of30({"N:Lee", "ADR;TYPE=postal:;;1"}), ElementsAre("N:Lee", "ADR:;;1"));
  EXPECT_THAT(Of40({"N:Lee", "ADR:;;1"}), ElementsAre("N:Lee", "ADR:;;1"));
}

TEST(StrictCards, TakeALabelForTheStreetWhereThereIsNoAddress) {
  const StrictObject strict = Strict(Card(
      "3.0", {"N:Lee", "ADR;TYPE=work:;;1", "LABEL;TYPE=work:x", "LABEL;TYPE=home:Road\\nTown"}));
  EXPECT_THAT(
      Inner(strict.text),
      ElementsAre("N:Lee", "ADR;WORK:;;1", "ADR;HOME;ENCODING=QUOTED-PRINTABLE:;;Road=0D=0ATown"));
  EXPECT_EQ(strict.report.dropped, (Happenings{{"LABEL", 1}}));
}

TEST(StrictCards, KeepTheOfficeAndTheExtendedAddressAtWork) {
  EXPECT_THAT(Of21({"N:Lee", "ADR;WORK:;floor 2;Road 1", "X-MICROSOFT-OFFICELOC:B7"}),
              ElementsAre("N:Lee", "ADR;WORK;ENCODING=QUOTED-PRINTABLE:;;floor 2=0D=0ARoad 1",
                          "X-MICROSOFT-OFFICELOC:B7"));
}

// ---- Dates --------------------------------------------------------------------------------------------------

struct DateCase {
  std::string sent;
  std::string strict;  // empty: dropped
};

class Birthday : public testing::TestWithParam<DateCase> {};

TEST_P(Birthday, IsOneDay) {
  const StrictObject strict = Strict(Card("4.0", {"N:Lee", "BDAY" + GetParam().sent}));
  if (GetParam().strict.empty()) {
    EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee"));
    EXPECT_EQ(strict.report.dropped, (Happenings{{"BDAY (no whole date)", 1}}));
  } else {
    EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "BDAY:" + GetParam().strict));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Forms, Birthday,
    testing::Values(DateCase{":19991231", "19991231"}, DateCase{":1999-12-31", "19991231"},
                    DateCase{":1999-12-31T23:00:00Z", "19991231"},
                    DateCase{":19991231T000000", "19991231"}, DateCase{":1999/12/31", "19991231"},
                    DateCase{":1999-1-2", "19990102"}, DateCase{":31.12.1999", "19991231"},
                    DateCase{":12/31/1999", "19991231"}, DateCase{":2.1.1999", "19990102"},
                    DateCase{":99-1-2", ""}, DateCase{":--1231", ""}, DateCase{":1999-12", ""},
                    DateCase{";VALUE=text:in winter", ""}, DateCase{":19991331", ""},
                    DateCase{":19990229", ""}, DateCase{":20000229", "20000229"},
                    DateCase{":00000101", ""}, DateCase{";X-APPLE-OMIT-YEAR=1604:1604-05-06", ""}));

TEST(StrictCards, SayThatDayAndMonthMayBeTheOtherWayRound) {
  const StrictObject strict = Strict(Card("2.1", {"N:Lee", "BDAY:01/02/1999"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "BDAY:19990201"));
  EXPECT_EQ(strict.report.guessed, (Happenings{{"day and month of BDAY", 1}}));
}

// ---- Relations and labels -----------------------------------------------------------------------------------

TEST(StrictCards, KnowRelationsByAllTheirNames) {
  const std::vector<std::string> expected = {"N:Lee", "X-SPOUSE:Jo", "X-ANNIVERSARY:20010203",
                                             "X-CHILDREN:Al, Bo", "X-ASSISTANT:Cy"};
  EXPECT_EQ(Of21({"N:Lee", "SPOUSE:Jo", "ANNIVERSARY:20010203", "CHILDREN:Al, Bo",
                  "X-MICROSOFT-ASSISTANT:Cy"}),
            expected);
  EXPECT_EQ(Of30({"N:Lee", "X-EVOLUTION-SPOUSE:Jo", "X-EVOLUTION-ANNIVERSARY:2001-02-03",
                  "X-CHILDREN:Al", "X-CHILDREN:Bo", "AGENT:Cy"}),
            expected);
  EXPECT_EQ(Of40({"N:Lee", "RELATED;TYPE=spouse;VALUE=text:Jo", "ANNIVERSARY:20010203",
                  "RELATED;TYPE=child;VALUE=text:Al", "RELATED;TYPE=child;VALUE=text:Bo",
                  "RELATED;TYPE=agent;VALUE=text:Cy"}),
            expected);
  EXPECT_EQ(
      Of30({"N:Lee", "i1.X-ABRELATEDNAMES:Jo", "i1.X-ABLabel:_$!<Spouse>!$_",
            "i2.X-ABDATE:2001-02-03", "i2.X-ABLabel:_$!<Anniversary>!$_", "i3.X-ABRELATEDNAMES:Al",
            "i3.X-ABLabel:Son", "i4.X-ABRELATEDNAMES:Bo", "i4.X-ABLabel:_$!<Child>!$_",
            "i5.X-ABRELATEDNAMES:Cy", "i5.X-ABLabel:_$!<Assistant>!$_"}),
      expected);
}

TEST(StrictCards, ReportARelationThatIsNoName) {
  const StrictObject strict = Strict(Card("4.0", {"N:Lee", "RELATED;TYPE=spouse:urn:uuid:1"}));
  EXPECT_EQ(strict.report.dropped, (Happenings{{"RELATED", 1}}));
}

TEST(StrictCards, TakeTheLabelOfAGroupForAKind) {
  EXPECT_THAT(
      Of30({"N:Lee", "i1.TEL:1", "i1.X-ABLabel:_$!<Mobile>!$_", "i2.TEL:2", "i2.X-ABLabel:WorkFAX",
            "i3.TEL:3", "i3.X-ABLabel:_$!<Main>!$_", "i4.ADR;TYPE=postal:;;4",
            "i4.X-ABLabel:_$!<Home>!$_", "i5.URL;TYPE=home:u", "i5.X-ABLabel:_$!<HomePage>!$_"}),
      ElementsAre("N:Lee", "ADR;HOME:;;4", "TEL;HOME;VOICE:3", "TEL;WORK;FAX:2", "TEL;CELL:1",
                  "URL:u"));
}

TEST(StrictCards, ReportALabelThatIsNoKind) {
  const StrictObject strict = Strict(Card("3.0", {"N:Lee", "i1.TEL:1", "i1.X-ABLabel:Boat"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee", "TEL;HOME;VOICE:1"));
  EXPECT_EQ(strict.report.dropped, (Happenings{{"X-ABLABEL", 1}}));
}

TEST(StrictCards, ReportWhatHasNoPlace) {
  const StrictObject strict = Strict(
      Card("3.0", {"N:Lee", "GEO:1;2", "TZ:+01:00", "REV:2026-01-01", "X-FOO:a", "X-FOO:b"}));
  EXPECT_THAT(Inner(strict.text), ElementsAre("N:Lee"));
  EXPECT_EQ(strict.report.dropped, (Happenings{{"GEO", 1}, {"REV", 1}, {"TZ", 1}, {"X-FOO", 2}}));
}

}  // namespace
}  // namespace card_rules_test

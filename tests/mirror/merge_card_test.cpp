// A change of a stored contact in cards of all versions and of many programs: what it names is changed, all else stays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mirror/merge_support.h"

namespace merge_card_test {
namespace {

using merge_support::Edited;
using merge_support::Lines;
using merge_support::MergedCard;
using merge_support::TextEdits;
using ::testing::ElementsAre;

// As the address book of a telephone writes it.
const std::string& AppleCard() {
  static const std::string card = Lines({
      "BEGIN:VCARD",
      "VERSION:3.0",
      "PRODID:-//Example Inc.//Telephone 18.1//EN",
      "N:Lee;Ann;Mary;Dr.;",
      "FN:Dr. Ann Mary Lee",
      "NICKNAME:Annie",
      "ORG:Example Corp;Sales;",
      "TITLE:Head of Sales",
      "item1.EMAIL;type=INTERNET;type=pref:ann@example.com",
      "item1.X-ABLabel:_$!<Other>!$_",
      "EMAIL;type=INTERNET;type=HOME:lee@example.org",
      "TEL;type=CELL;type=VOICE;type=pref:+1 555 0100",
      "item2.TEL:+1 555 0101",
      "item2.X-ABLabel:Boat",
      "TEL;type=WORK;type=FAX:+1 555 0102",
      "item3.ADR;type=HOME;type=pref:;;1 Main Street;Springfield;IL;62701;USA",
      "item3.X-ABADR:us",
      "item4.URL;type=pref:https://ann.example/",
      "item4.X-ABLabel:_$!<HomePage>!$_",
      "BDAY;value=date:1980-01-02",
      "item5.X-ABDATE;type=pref:2005-06-07",
      "item5.X-ABLabel:_$!<Anniversary>!$_",
      "item6.X-ABRELATEDNAMES;type=pref:Bob Lee",
      "item6.X-ABLabel:_$!<Spouse>!$_",
      "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgIDA",
      " wMDBAYEBAQEBAgGBgUGCQgKCgkICQkKDA8MCgsOCwkJDRENDg8QEBEQCgwSExIQEw8QEBD/yQALCA",
      " ABAAEBAREA/8wABgAQEAX/2gAIAQEAAD8A0s8g/9k=",
      "NOTE:Likes tea\\, not coffee\\nCall after 9",
      "CATEGORIES:Friends,Family",
      "X-SOCIALPROFILE;type=twitter:http://social.example/ann",
      "UID:11111111-2222-3333-4444-555555555555",
      "END:VCARD",
  });
  return card;
}

// As web mail writes it: no blank between name and organisation, an address with a type of its own.
const std::string& GoogleCard() {
  static const std::string card = Lines({
      "BEGIN:VCARD",
      "VERSION:3.0",
      "FN:Ann Lee",
      "N:Lee;Ann;;;",
      "EMAIL;TYPE=INTERNET;TYPE=HOME:ann@example.com",
      "TEL;TYPE=CELL:+15550100",
      "TEL;TYPE=CELL:+15550101",
      "TEL;TYPE=WORK:+15550102",
      "ADR;TYPE=WORK:;;2 High Street;Town;;12345;Exampleland",
      "item1.TEL:+15550103",
      "item1.X-ABLabel:Grandmother's",
      "NOTE:Met in May",
      "CATEGORIES:myContacts,starred",
      "END:VCARD",
  });
  return card;
}

// As a mail program writes version 4.0.
const std::string& ThunderbirdCard() {
  static const std::string card = Lines({
      "BEGIN:VCARD",
      "VERSION:4.0",
      "N:Lee;Ann;;;",
      "FN:Ann Lee",
      "EMAIL;PREF=1:ann@example.com",
      "EMAIL:lee@example.org",
      "TEL;TYPE=cell;VALUE=URI:tel:+1-555-0100",
      "TEL;TYPE=home:+1 555 0101",
      "ADR;TYPE=home;LABEL=\"1 Main Street\\nTown\":;;1 Main Street;Town;;12345;",
      "BDAY;VALUE=DATE:19800102",
      "ANNIVERSARY:20050607",
      "RELATED;TYPE=spouse;VALUE=text:Bob Lee",
      "X-CUSTOM1;VALUE=TEXT:chess club",
      "SPECIAL-DATE;VALUE=DATE;ANNIVERSARY:20010203",
      "NOTE:Likes tea",
      "UID:urn:uuid:11111111-2222-3333-4444-555555555555",
      "END:VCARD",
  });
  return card;
}

// As a telephone of twenty years ago writes it.
const std::string& OldCard() {
  static const std::string card = Lines({
      "BEGIN:VCARD",
      "VERSION:2.1",
      "N:Lee;Ann;;;",
      "FN:Ann Lee",
      "TEL;CELL:+15550100",
      "TEL;HOME;VOICE:+15550101",
      "X-CLASS:PRIVATE",
      "ADR;HOME;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:;;Gr=C3=BCner Weg 1;Town;;=",
      "12345;",
      "EMAIL;INTERNET:ann@example.com",
      "PHOTO;JPEG;ENCODING=BASE64:",
      " /9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgIDAwMDBAYEBAQEBAgGBgUG",
      " CQgKCgkICQkKDA8MCgsOCwkJDRENDg8QEBEQCgwSExIQEw8QEBD/yQAL",
      "",
      "NOTE:plain",
      "END:VCARD",
  });
  return card;
}

// ---- Values in their places ---------------------------------------------------------------------------------

TEST(MergeCard, ANumberIsChangedInItsPlaceAndKeepsItsParameters) {
  EXPECT_EQ(MergedCard(AppleCard(), {{"+1 555 0100", "+1 555 0199"}}),
            Edited(AppleCard(), {{"+1 555 0100", "+1 555 0199"}}));
}

TEST(MergeCard, ANumberThatTheStoreShowsElsewhereIsTheFilesAllTheSame) {
  // The second mobile number has no place as one, so the store has it at home.
  EXPECT_EQ(MergedCard(GoogleCard(), {{"+15550101", "+15550191"}}),
            Edited(GoogleCard(), {{"+15550101", "+15550191"}}));
}

TEST(MergeCard, AGroupAndItsLabelStayWithAChangedNumber) {
  EXPECT_EQ(MergedCard(AppleCard(), {{"+1 555 0101", "+1 555 0191"}}),
            Edited(AppleCard(), {{"+1 555 0101", "+1 555 0191"}}));
}

TEST(MergeCard, AMailAddressIsChangedInItsPlace) {
  EXPECT_EQ(MergedCard(AppleCard(), {{"lee@example.org", "lee@example.net"}}),
            Edited(AppleCard(), {{"lee@example.org", "lee@example.net"}}));
}

TEST(MergeCard, OneTextEachIsChangedInItsPlace) {
  const std::string& card = AppleCard();
  for (const auto& [what, with] : TextEdits{{"Head of Sales", "Director"},
                                            {"Bob Lee", "Rob Lee"},
                                            {"https://ann.example/", "https://lee.example/"},
                                            {"1980-01-02", "1981-02-03"},
                                            {"2005-06-07", "2006-07-08"},
                                            {"Example Corp", "Example Ltd"},
                                            {"Springfield", "Shelbyville"},
                                            {"Likes tea\\, not coffee", "Likes\\; water"}}) {
    EXPECT_EQ(MergedCard(card, {{what, with}}), Edited(card, {{what, with}})) << what;
  }
}

TEST(MergeCard, AComponentThatTheStoreDidNotChangeKeepsItsList) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann,Mary;;Dr.,Prof.;",
                                  "FN:A", "TEL:1234", "ORG:Example;Sales;East", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"N:Lee;", "N:Smith;"}, {"ORG:Example;", "ORG:Other;"}}),
            Edited(card, {{"N:Lee;", "N:Smith;"}, {"ORG:Example;", "ORG:Other;"}}));
}

TEST(MergeCard, AnAddedDepartmentIsAComponent) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "ORG:Example", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"ORG:Example", "ORG:Example;Sales"}}),
            Edited(card, {{"ORG:Example", "ORG:Example;Sales"}}));
}

TEST(MergeCard, ADepartmentOfALineOfItsOwnGoesIntoTheOrganisation) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                                  "ORG:Example", "X-KADDRESSBOOK-X-Department:Sales", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"Example;Sales", "Example;Support"}}),
            Edited(card, {{"ORG:Example", "ORG:Example;Support"},
                          {"X-KADDRESSBOOK-X-Department:Sales\r\n", ""}}));
}

TEST(MergeCard, AnOfficeOnALineOfItsOwnIsChangedThere) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                                  "ADR;TYPE=WORK:;;2 High Street;Town;;;",
                                  "X-KADDRESSBOOK-X-Office:Room 5", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"Room 5", "Room 6"}}), Edited(card, {{"Room 5", "Room 6"}}));
}

TEST(MergeCard, ARoleThatTheStoreShowsAsTitleStaysARole) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "ROLE:Cook", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"TITLE:Cook", "TITLE:Chef"}}), Edited(card, {{"Cook", "Chef"}}));
}

TEST(MergeCard, AValueThatTheStoreCannotShowIsReplacedWhereItIsTheOnlyOne) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                                  "BDAY;VALUE=text:circa 1800", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"END:VCARD", "BDAY:1800-02-03\r\nEND:VCARD"}}),
            Edited(card, {{"BDAY;VALUE=text:circa 1800", "BDAY:1800-02-03"}}));
}

TEST(MergeCard, ABirthdayWithoutItsYearLosesWhatSaysSo) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
             "BDAY;X-APPLE-OMIT-YEAR=1604;value=date:1604-05-06", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"END:VCARD", "BDAY:1980-05-06\r\nEND:VCARD"}}),
            Edited(card, {{"BDAY;X-APPLE-OMIT-YEAR=1604;value=date:1604-05-06",
                           "BDAY;value=date:1980-05-06"}}));
}

TEST(MergeCard, ALongValueIsFoldedAnew) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
             "NOTE:0123456789 0123456789 0123456789 0123456789 0123456789 0123456789 012345678",
             " 9 0123456789", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"NOTE:0123456789", "NOTE:A"}}),
            Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                   "NOTE:A 0123456789 0123456789 0123456789 0123456789 0123456789 0123456789 01",
                   " 23456789", "END:VCARD"}));
}

// ---- What is the same ---------------------------------------------------------------------------------------

struct SameRow {
  std::string_view file;
  std::string_view before;
  std::string_view after;
};

class MergeCardSame : public ::testing::TestWithParam<SameRow> {};

TEST_P(MergeCardSame, IsNoChange) {
  const auto card = [](std::string_view line) {
    return Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann;;;", "FN:Ann Lee", line, "END:VCARD"});
  };
  const std::string file = card(GetParam().file);
  const std::string before = card(GetParam().before);
  const std::string after = card(GetParam().after);
  const mirror::Merged merged =
      mirror::MergeStoreChange({OSIF_STORE_PB, before, after, file, file});
  EXPECT_EQ(merged.text, file);
  EXPECT_THAT(merged.conflicts, ElementsAre());
}

INSTANTIATE_TEST_SUITE_P(
    Values, MergeCardSame,
    ::testing::Values(
        SameRow{"ADR;TYPE=home:;;S;T", "ADR;TYPE=home:;;S;T", "ADR;TYPE=home:;;S;T;;;"},
        SameRow{"ORG:E", "ORG:E", "ORG:E;"},
        SameRow{"BDAY:19800102", "BDAY:1980-01-02", "BDAY:19800102"},
        SameRow{"TEL:+1 555 0100", "TEL;TYPE=home:+1 555 0100", "TEL;TYPE=home:+1-555-0100"},
        SameRow{"TEL:1234", "TEL:1234", "TEL;TYPE=home,voice:1234"},
        SameRow{"EMAIL:a@example.com", "EMAIL:a@example.com", "EMAIL;TYPE=internet:a@Example.COM"},
        SameRow{"NOTE:a\\nb", "NOTE:a\\nb", "NOTE:a\\nb\\n"},
        SameRow{"CATEGORIES:a,b", "CATEGORIES:a,b", "CATEGORIES:b,a"},
        SameRow{"FN:x", "FN:x", "REV:20260101T000000Z"}));

TEST(MergeCard, ANumberThatTheStoreWritesInAnotherWayIsFoundByItsDigits) {
  const std::string file =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "TEL;TYPE=WORK:(555) 0100",
             "TEL;TYPE=WORK:(555) 0101", "END:VCARD"});
  const auto store = [](std::string_view line) {
    return Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                  "TEL;TYPE=work,voice:555-0100", line, "END:VCARD"});
  };
  const mirror::Merged merged =
      mirror::MergeStoreChange({OSIF_STORE_PB, store("TEL;TYPE=work,voice:555-0101"),
                                store("TEL;TYPE=work,voice:777"), file, file});
  EXPECT_EQ(merged.text, Edited(file, {{"(555) 0101", "777"}}));
}

// ---- Removed and added --------------------------------------------------------------------------------------

TEST(MergeCard, ARemovedNumberGoesAlone) {
  EXPECT_EQ(MergedCard(GoogleCard(), {{"TEL;TYPE=work,voice:+15550102\r\n", ""}}),
            Edited(GoogleCard(), {{"TEL;TYPE=WORK:+15550102\r\n", ""}}));
}

TEST(MergeCard, WhatIsRemovedTakesItsLabelWithIt) {
  EXPECT_EQ(MergedCard(AppleCard(), {{"URL:https://ann.example/\r\n", ""}}),
            Edited(AppleCard(), {{"item4.URL;type=pref:https://ann.example/\r\n"
                                  "item4.X-ABLabel:_$!<HomePage>!$_\r\n",
                                  ""}}));
  EXPECT_EQ(
      MergedCard(AppleCard(), {{"ADR;TYPE=home:;;1 Main Street;Springfield;IL;62701;USA\r\n", ""}}),
      Edited(AppleCard(), {{"item3.ADR;type=HOME;type=pref:;;1 Main Street;Springfield;IL;"
                            "62701;USA\r\nitem3.X-ABADR:us\r\n",
                            ""}}));
}

TEST(MergeCard, ALabelOfOthersInItsGroupStays) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "A.TEL;TYPE=CELL:1234",
             "a.EMAIL:a@example.com", "A.X-ABLabel:Boat", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"TEL;TYPE=cell:1234\r\n", ""}}),
            Edited(card, {{"A.TEL;TYPE=CELL:1234\r\n", ""}}));
}

TEST(MergeCard, WhatIsAddedStandsBeforeTheEndInTheFilesVersion) {
  const TextEdits added = {
      {"END:VCARD", "TEL;TYPE=car:+1 555 0177\r\nX-CHILDREN:Cid,Dan\r\nEND:VCARD"}};
  EXPECT_EQ(MergedCard(GoogleCard(), added),
            Edited(GoogleCard(),
                   {{"END:VCARD", "TEL;TYPE=car:+1 555 0177\r\nX-CHILDREN:Cid,Dan\r\nEND:VCARD"}}));
  EXPECT_EQ(MergedCard(ThunderbirdCard(), added),
            Edited(ThunderbirdCard(), {{"END:VCARD",
                                        "TEL;TYPE=x-car:+1 555 0177\r\n"
                                        "RELATED;TYPE=child;VALUE=text:Cid\r\n"
                                        "RELATED;TYPE=child;VALUE=text:Dan\r\nEND:VCARD"}}));
  EXPECT_EQ(
      MergedCard(OldCard(), added),
      Edited(OldCard(), {{"END:VCARD", "TEL;CAR:+1 555 0177\r\nX-CHILDREN:Cid,Dan\r\nEND:VCARD"}}));
}

TEST(MergeCard, TheFirstOfAnythingIsAdded) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann;;;", "FN:Ann Lee", "END:VCARD"});
  for (const std::string_view line :
       {"BDAY:1980-01-02", "ADR;TYPE=home:;;S;T;;;", "ORG:Example;Sales", "TITLE:Cook",
        "TEL;TYPE=pager:1234", "URL:http://a.example/", "EMAIL;TYPE=internet:a@example.com",
        "NOTE:Tea\\, please", "X-SPOUSE:Bob", "X-ANNIVERSARY:2005-06-07", "X-CHILDREN:Cid",
        "X-ASSISTANT:Dan", "CATEGORIES:x,y"}) {
    const std::string end = std::string(line) + "\r\nEND:VCARD";
    EXPECT_EQ(MergedCard(card, {{"END:VCARD", end}}), Edited(card, {{"END:VCARD", end}})) << line;
  }
}

TEST(MergeCard, ALineOfAnythingIsRemoved) {
  for (const std::string_view line :
       {"BDAY:1980-01-02", "ADR;TYPE=home:;;S;T;;;", "ORG:Example;Sales", "TITLE:Cook",
        "TEL;TYPE=pager:1234", "URL:http://a.example/", "EMAIL;TYPE=internet:a@example.com",
        "NOTE:Tea\\, please", "X-SPOUSE:Bob", "X-ANNIVERSARY:2005-06-07", "X-CHILDREN:Cid",
        "X-ASSISTANT:Dan", "CATEGORIES:x,y"}) {
    const std::string whole = std::string(line) + "\r\n";
    const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann;;;", "FN:Ann Lee",
                                    line, "X-OTHER:stays", "END:VCARD"});
    EXPECT_EQ(MergedCard(card, {{whole, ""}}), Edited(card, {{whole, ""}})) << line;
  }
}

TEST(MergeCard, ANumberThatTheFileHasBesideIsNotAddedAgain) {
  // The store has places for two numbers at home; the third stands in its note until a person moves it.
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "TEL;TYPE=FAX:555001",
             "TEL;TYPE=FAX:555002", "TEL;TYPE=FAX:555003", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"END:VCARD", "TEL;TYPE=car:555003\r\nEND:VCARD"}}), card);
}

TEST(MergeCard, ListsChangeByTheirEntries) {
  EXPECT_EQ(MergedCard(AppleCard(), {{"CATEGORIES:Friends,Family", "CATEGORIES:Family,Tennis"}}),
            Edited(AppleCard(), {{"CATEGORIES:Friends,Family", "CATEGORIES:Family,Tennis"}}));
  const std::string apart = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                                   "CATEGORIES:a", "CATEGORIES:b,c", "END:VCARD"});
  EXPECT_EQ(MergedCard(apart, {{"a,b,c", "b,d"}}),
            Edited(apart, {{"CATEGORIES:a", "CATEGORIES:d"}, {"b,c", "b"}}));
}

// ---- Kinds --------------------------------------------------------------------------------------------------

TEST(MergeCard, AKindThatTheStoreChangesIsChangedAndOthersStay) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                                  "TEL;TYPE=HOME;TYPE=X-QUIET;X-NOTE=n:555001", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"TYPE=home,voice:555001", "TYPE=work,voice:555001"}}),
            Edited(card, {{"TYPE=HOME;TYPE=X-QUIET;X-NOTE=n", "TYPE=x-quiet,work;X-NOTE=n"}}));
}

TEST(MergeCard, ALabelOfTheOldKindGoesWithIt) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "item1.TEL:555001",
             "item1.X-ABLabel:_$!<Mobile>!$_", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"TYPE=cell:555001", "TYPE=pager:555001"}}),
            Edited(card, {{"item1.TEL:555001\r\nitem1.X-ABLabel:_$!<Mobile>!$_",
                           "item1.TEL;TYPE=pager:555001"}}));
}

// ---- Names --------------------------------------------------------------------------------------------------

TEST(MergeCard, AFormattedNameThatIsMadeOfTheNameFollowsIt) {
  for (const std::string_view formatted :
       {"Ann Lee", "Lee\\, Ann", "Lee Ann", "Dr. Ann Lee", "Dr. Ann Mary Lee", "ANN LEE"}) {
    const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann;Mary;Dr.;",
                                    "FN:" + std::string(formatted), "END:VCARD"});
    EXPECT_EQ(MergedCard(card, {{"N:Lee;", "N:Smith;"},
                                {"FN:" + std::string(formatted), "FN:Dr. Ann Mary Smith"}}),
              Edited(card, {{"N:Lee;", "N:Smith;"},
                            {"FN:" + std::string(formatted), "FN:Dr. Ann Mary Smith"}}))
        << formatted;
  }
}

TEST(MergeCard, AFormattedNameOfItsOwnStays) {
  const std::string file = Lines(
      {"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann;;;", "FN:The one from the boat", "END:VCARD"});
  const auto store = [](std::string_view name, std::string_view formatted) {
    return Lines({"BEGIN:VCARD", "VERSION:3.0", name, formatted, "END:VCARD"});
  };
  const mirror::Merged merged =
      mirror::MergeStoreChange({OSIF_STORE_PB, store("N:Lee;Ann;;;", "FN:Ann Lee"),
                                store("N:Smith;Ann;;;", "FN:Ann Smith"), file, file});
  EXPECT_EQ(merged.text, Edited(file, {{"N:Lee", "N:Smith"}}));
}

TEST(MergeCard, AFormattedNameThatTheStoreMakesOfAnUnchangedNameIsNoChange) {
  EXPECT_EQ(MergedCard(AppleCard(), {{"FN:Dr. Ann Mary Lee", "FN:Lee, Ann"}}), AppleCard());
}

TEST(MergeCard, AFormattedNameThatAPersonWroteOnTheDeviceIsAChange) {
  EXPECT_EQ(MergedCard(AppleCard(), {{"FN:Dr. Ann Mary Lee", "FN:The boss"}}),
            Edited(AppleCard(), {{"FN:Dr. Ann Mary Lee", "FN:The boss"}}));
}

TEST(MergeCard, ACardWithoutNTakesTheNewNameInFN) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:4.0", "FN:Ann Lee", "NICKNAME:Annie", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"N:Ann Lee;", "N:Ann Smith;"}, {"FN:Ann Lee", "FN:Ann Smith"}}),
            Edited(card, {{"FN:Ann Lee", "FN:Ann Smith"}}));
  EXPECT_EQ(
      MergedCard(card, {{"N:Ann Lee;;", "N:Smith;Ann;"}, {"FN:Ann Lee", "FN:Ann Smith"}}),
      Edited(card, {{"FN:Ann Lee", "FN:Ann Smith"}, {"END:VCARD", "N:Smith;Ann;;;\r\nEND:VCARD"}}));
}

TEST(MergeCard, ANameThatTheStoreHasNoMoreIsOneOfNothing) {
  const std::string file = Lines(
      {"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann;;;", "FN:Ann Lee", "ORG:Example", "END:VCARD"});
  EXPECT_EQ(MergedCard(file, {{"N:Lee;Ann;;;", "N:;;;;"}, {"FN:Ann Lee", "FN:Example"}}),
            Edited(file, {{"N:Lee;Ann;;;", "N:;;;;"}, {"FN:Ann Lee", "FN:Example"}}));
}

TEST(MergeCard, ALabelThatIsTheStoresAddressBecomesOne) {
  const std::string file = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                                  "LABEL;TYPE=HOME:1 Main Street", "END:VCARD"});
  EXPECT_EQ(MergedCard(file, {{"1 Main Street", "2 Main Street"}}),
            Edited(file, {{"LABEL;TYPE=HOME:1 Main Street", "ADR;TYPE=home:;;2 Main Street;;;;"}}));
  EXPECT_EQ(MergedCard(file, {{"ADR;TYPE=home:;;1 Main Street;;;;\r\n", ""}}),
            Edited(file, {{"LABEL;TYPE=HOME:1 Main Street\r\n", ""}}));
}

// ---- The note -----------------------------------------------------------------------------------------------

TEST(MergeCard, LinesOfTheNoteThatStandForNumbersStayOutOfTheFile) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "TEL;TYPE=FAX:555001",
             "TEL;TYPE=FAX:555002", "TEL;TYPE=FAX:555003", "NOTE:hello", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"NOTE:hello\\nFax: 555003", "NOTE:bye\\nFax: 555003"}}),
            Edited(card, {{"NOTE:hello", "NOTE:bye"}}));
  EXPECT_EQ(MergedCard(card, {{"NOTE:hello\\nFax: 555003", "NOTE:Fax: 555003\\nnew"}}),
            Edited(card, {{"NOTE:hello", "NOTE:new"}}));
  EXPECT_EQ(MergedCard(card, {{"NOTE:hello\\nFax: 555003", "NOTE:Fax: 555003"}}),
            Edited(card, {{"NOTE:hello\r\n", ""}}));
}

TEST(MergeCard, ANoteIsAddedToACardWhoseNumbersHaveOne) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "TEL;TYPE=FAX:555001",
             "TEL;TYPE=FAX:555002", "TEL;TYPE=FAX:555003", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"NOTE:Fax: 555003", "NOTE:Fax: 555003\\nnew"}}),
            Edited(card, {{"END:VCARD", "NOTE:new\r\nEND:VCARD"}}));
}

TEST(MergeCard, OfSeveralNotesTheOneChangesThatWasChanged) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "NOTE:one",
                                  "NOTE;LANGUAGE=en:two", "NOTE:three", "END:VCARD"});
  EXPECT_EQ(MergedCard(card, {{"one\\n\\ntwo\\n\\nthree", "one\\n\\n2\\n\\nthree"}}),
            Edited(card, {{"two", "2"}}));
  EXPECT_EQ(MergedCard(card, {{"one\\n\\ntwo\\n\\nthree", "one\\n\\ntwo"}}),
            Edited(card, {{"NOTE:three\r\n", ""}}));
}

// ---- Versions -----------------------------------------------------------------------------------------------

TEST(MergeCard, ValuesOf40AreChangedAs40HasThem) {
  EXPECT_EQ(MergedCard(ThunderbirdCard(), {{"+1-555-0100", "+1-555-0190"}}),
            Edited(ThunderbirdCard(),
                   {{"TEL;TYPE=cell;VALUE=URI:tel:+1-555-0100", "TEL;TYPE=cell:+1-555-0190"}}));
  EXPECT_EQ(MergedCard(ThunderbirdCard(), {{"1980-01-02", "1981-02-03"}}),
            Edited(ThunderbirdCard(), {{"BDAY;VALUE=DATE:19800102", "BDAY;VALUE=DATE:19810203"}}));
  EXPECT_EQ(MergedCard(ThunderbirdCard(), {{"X-SPOUSE:Bob", "X-SPOUSE:Rob"}}),
            Edited(ThunderbirdCard(), {{"text:Bob", "text:Rob"}}));
}

TEST(MergeCard, AnAddressLosesTheLabelThatSaysTheOldOne) {
  EXPECT_EQ(
      MergedCard(ThunderbirdCard(), {{"1 Main Street", "2 Main Street"}}),
      Edited(ThunderbirdCard(), {{"ADR;TYPE=home;LABEL=\"1 Main Street\\nTown\":;;1 Main Street",
                                  "ADR;TYPE=home:;;2 Main Street"}}));
}

TEST(MergeCard, ValuesOf21AreChangedAs21HasThem) {
  EXPECT_EQ(MergedCard(OldCard(), {{"+15550101", "+15550191"}}),
            Edited(OldCard(), {{"+15550101", "+15550191"}}));
  EXPECT_EQ(MergedCard(OldCard(), {{"NOTE:plain", "NOTE:one\\ntwo"}}),
            Edited(OldCard(), {{"NOTE:plain", "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=0Atwo"}}));
  EXPECT_EQ(MergedCard(OldCard(), {{"Grüner Weg 1", "Elm Street 1"}}),
            Edited(OldCard(), {{"ADR;HOME;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:;;Gr=C3=BCner "
                                "Weg 1;Town;;=\r\n12345;",
                                "ADR;HOME:;;Elm Street 1;Town;;12345;"}}));
}

TEST(MergeCard, TheFilesLineEndsAreUsed) {
  std::string file = AppleCard();
  std::erase(file, '\r');
  const std::string merged = MergedCard(
      file,
      {{"+1 555 0100", "+1 555 0199"}, {"END:VCARD", "TEL;TYPE=car:+1 555 0177\r\nEND:VCARD"}});
  EXPECT_EQ(merged, Edited(file, {{"+1 555 0100", "+1 555 0199"},
                                  {"END:VCARD", "TEL;TYPE=car:+1 555 0177\nEND:VCARD"}}));
}

TEST(MergeCard, WhatStandsAroundTheCardStays) {
  const std::string file = "\xEF\xBB\xBF" + GoogleCard() + "\r\n" + OldCard();
  EXPECT_EQ(MergedCard(file, {}), file);
  const std::string before = merge_support::StoreView(OSIF_STORE_PB, GoogleCard());
  const std::string after = Edited(before, {{"+15550100", "+15550199"}});
  EXPECT_EQ(mirror::MergeStoreChange({OSIF_STORE_PB, before, after, file, file}).text,
            Edited(file, {{"+15550100", "+15550199"}}));
}

TEST(MergeCard, ARevisionIsThatOfTheStoreIfItHasOne) {
  const std::string file = Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee",
                                  "REV:20200101T000000Z", "TEL:1234", "END:VCARD"});
  const auto store = [](std::string_view number, std::string_view more) {
    return Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", number, more, "END:VCARD"});
  };
  const std::string before = store("TEL:1234", "X-A:b");
  EXPECT_EQ(
      mirror::MergeStoreChange(
          {OSIF_STORE_PB, before, store("TEL:5678", "X-A:b\r\nREV:20260101T000000Z"), file, file})
          .text,
      Edited(file, {{"1234", "5678"}, {"20200101T", "20260101T"}}));
  EXPECT_EQ(
      mirror::MergeStoreChange({OSIF_STORE_PB, before, store("TEL:5678", "X-A:b"), file, file})
          .text,
      Edited(file, {{"1234", "5678"}}));
}

// ---- Texts of peers -----------------------------------------------------------------------------------------

TEST(MergeCard, AFileThatHasNoCardStays) {
  const std::string before = merge_support::StoreView(OSIF_STORE_PB, GoogleCard());
  const std::string after = Edited(before, {{"+15550100", "+15550199"}});
  for (const std::string_view file : {"", "hello", "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n"}) {
    const mirror::Merged merged =
        mirror::MergeStoreChange({OSIF_STORE_PB, before, after, file, file});
    EXPECT_EQ(merged.text, file);
    EXPECT_THAT(merged.left, ElementsAre("the file has no card"));
  }
}

TEST(MergeCard, AStoresObjectThatIsNoCardChangesNothing) {
  const mirror::Merged merged =
      mirror::MergeStoreChange({OSIF_STORE_PB, "x", "y", GoogleCard(), GoogleCard()});
  EXPECT_EQ(merged.text, GoogleCard());
  EXPECT_THAT(merged.left, ElementsAre("the store's object is no card"));
}

TEST(MergeCard, ACardWithoutAnEndTakesWhatIsAddedAtItsEnd) {
  std::string file = GoogleCard();
  file.resize(file.find("\r\nEND:VCARD"));
  const std::string before = merge_support::StoreView(OSIF_STORE_PB, GoogleCard());
  const std::string after = Edited(before, {{"END:VCARD", "TITLE:Cook\r\nEND:VCARD"}});
  EXPECT_EQ(mirror::MergeStoreChange({OSIF_STORE_PB, before, after, file, file}).text,
            file + "\r\nTITLE:Cook\r\n");
}

}  // namespace
}  // namespace merge_card_test

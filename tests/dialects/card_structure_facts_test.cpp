// Names, values and places of vCard 2.1 as devices fill them, up to what the store then holds of them.
#include "tests/dialects/stored_contact.h"

namespace card_structure_facts_test {
namespace {

using dialects::Happenings;
using stored_contact::ContactStore;
using stored_contact::Fields;
using stored_contact::Received;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Lines = std::vector<std::string>;

class CardStructure : public ContactStore {};

// ---- A name for every card ----------------------------------------------------------------------------------

TEST_F(CardStructure, AMissingNameIsTheWholeFormattedName) {
  for (const Lines& lines : {Lines{"FN:Jo van Doe"}, Lines{"N:", "FN:Jo van Doe"},
                             Lines{"N:;;;;", "FN:Jo van Doe"}, Lines{"FN:Jo van Doe", "N: ; "}}) {
    const Received received = ReceiveCard("2.1", lines);
    EXPECT_EQ(received.Only(), (Fields{{"family", "Jo van Doe"}, {"shown", "Jo van Doe"}}));
    EXPECT_EQ(received.report.guessed, (Happenings{{"name from FN", 1}}));
  }
  EXPECT_EQ(ReceiveCard("2.1", {"FN:\xC3\x84nn"}).Only(),
            (Fields{{"family", "\xC3\x84nn"}, {"shown", "\xC3\x84nn"}}));
}

TEST_F(CardStructure, AFormattedNameIsSplitAtItsOnlyCommaUnlessItHasDigits) {
  EXPECT_EQ(ReceiveCard("2.1", {"FN:Doe, Jo"}).Only(),
            (Fields{{"family", "Doe"}, {"given", "Jo"}, {"shown", "Doe, Jo"}}));
  for (const std::string name : {"Doe, Jo 2", "Doe, Jo, Dr", "Room 1, Hall"}) {
    EXPECT_EQ(ReceiveCard("2.1", {"FN:" + name}).Only(),
              (Fields{{"family", name}, {"shown", name}}));
  }
  EXPECT_EQ(ReceiveCard("2.1", {"FN:Bolt, Nut", "ORG:Bolt, Nut"}).Only(),
            (Fields{{"family", "Bolt, Nut"}, {"shown", "Bolt, Nut"}, {"company", "Bolt, Nut"}}));
  EXPECT_EQ(ReceiveCard("4.0", {"KIND:org", "FN:Bolt\\, Nut"}).Only(),
            (Fields{{"family", "Bolt, Nut"}, {"shown", "Bolt, Nut"}}));
}

TEST_F(CardStructure, WithoutAnyNameOtherPropertiesGiveOneInTheirOrder) {
  struct Row {
    Lines lines;
    std::string source;
    std::string name;
  };
  const std::vector<Row> rows = {
      {{"TEL:1", "EMAIL;INTERNET:a@b.example", "NICKNAME:Al", "ORG:Bolt;Nuts"}, "ORG", "Bolt"},
      {{"TEL:1", "EMAIL;INTERNET:a@b.example", "NICKNAME:Al"}, "NICKNAME", "Al"},
      {{"TEL:1", "EMAIL;INTERNET:a@b.example", "EMAIL;INTERNET:c@b.example"},
       "EMAIL",
       "a@b.example"},
      {{"TEL;WORK:2", "TEL:1"}, "TEL", "2"},
      {{"N:;;", "TEL;WORK:2", "TEL:1"}, "TEL", "2"},
  };
  for (const Row& row : rows) {
    const Received received = ReceiveCard("2.1", row.lines);
    EXPECT_EQ(received.Only()["family"], row.name) << row.source;
    EXPECT_EQ(received.report.guessed, (Happenings{{"name from " + row.source, 1}}));
  }
}

TEST_F(CardStructure, ACardThatHasOnlyANoteIsStored) {
  EXPECT_EQ(ReceiveCard("2.1", {"NOTE:only this"}).Only()["note"], "only this");
  EXPECT_EQ(ReceiveCard("2.1", {"ADR;HOME:;;Main St 1;X;;;"}).Only()["home street"], "Main St 1");
  EXPECT_EQ(ReceiveCard("2.1", {"BDAY:19991231"}).Only()["birthday"],
            ReceiveCard("2.1", {"N:x", "BDAY:19991231"}).Only()["birthday"]);
  EXPECT_EQ(ReceiveCard("2.1", {"TITLE:boss"}).Only()["title"], "boss");
}

TEST_F(CardStructure, ACardOfNothingIsRefusedInWords) {
  for (const Lines& lines : {Lines{}, Lines{"N:;;;;"}, Lines{"N:", "FN:", "TEL;CELL:", "NOTE:"}}) {
    const Received received = ReceiveCard("2.1", lines);
    EXPECT_THAT(received.contacts, IsEmpty());
    ASSERT_THAT(received.refusals, SizeIs(1));
    EXPECT_NE(received.refusals[0], "");
  }
}

// ---- What stands twice --------------------------------------------------------------------------------------

TEST_F(CardStructure, OfSeveralNamesTitlesAndFirmsTheFirstIsKeptAndTheOthersAreDropped) {
  const Received received =
      ReceiveCard("2.1", {"N:Lee;Ann", "N:Ox;Bo", "FN:Ann Lee", "FN:Bo Ox", "FN:Al", "TITLE:boss",
                          "TITLE:aide", "ORG:Bolt", "ORG:Nut;Sales"});
  EXPECT_EQ(received.Only(), (Fields{{"family", "Lee"},
                                     {"given", "Ann"},
                                     {"shown", "Ann Lee"},
                                     {"title", "boss"},
                                     {"company", "Bolt"}}));
  EXPECT_EQ(
      received.report.dropped,
      (Happenings{
          {"N (another)", 1}, {"FN (another)", 2}, {"TITLE (another)", 1}, {"ORG (another)", 1}}));
}

TEST_F(CardStructure, AnEmptyOneIsNotTheFirst) {
  EXPECT_EQ(ReceiveCard("2.1", {"N:;;;;", "N:Lee;Ann", "FN:", "FN:Ann Lee", "TITLE:", "TITLE:boss",
                                "ORG:;", "ORG:Bolt"})
                .Only(),
            (Fields{{"family", "Lee"},
                    {"given", "Ann"},
                    {"shown", "Ann Lee"},
                    {"title", "boss"},
                    {"company", "Bolt"}}));
}

TEST_F(CardStructure, SeveralNotesAreOneWithAnEmptyLineBetween) {
  const Received received = ReceiveAnn(
      "2.1", {"NOTE:one", "NOTE:", "NOTE;ENCODING=QUOTED-PRINTABLE:two=0D=0A3", "NOTE:four"});
  EXPECT_EQ(received.Only(), (Fields{{"note", "one\r\n\r\ntwo\r\n3\r\n\r\nfour"}}));
  EXPECT_THAT(received.report.dropped, IsEmpty());
}

// ---- Separators and escapes ---------------------------------------------------------------------------------

TEST_F(CardStructure, ASemicolonInAValueOfOneTextIsPartOfIt) {
  const Lines lines = {"NOTE:one; two",
                       "TITLE:a;b",
                       "URL:http://a.example/;x;y",
                       "EMAIL;INTERNET:a;b@c.example",
                       "TEL;CELL:+1555;ext=7",
                       "X-SPOUSE:Al;Bo",
                       "X-MICROSOFT-OFFICELOC:Cy;Di",
                       "X-ASSISTANT:Ed;Fi"};
  EXPECT_EQ(Ann("2.1", lines), (Fields{{"note", "one; two"},
                                       {"title", "a;b"},
                                       {"page", "http://a.example/;x;y"},
                                       {"email 1", "a;b@c.example"},
                                       {"mobile", "+1555;ext=7"},
                                       {"spouse", "Al;Bo"},
                                       {"work office", "Cy;Di"},
                                       {"assistant", "Ed;Fi"}}));
  EXPECT_EQ(ReceiveCard("2.1", {"N:Lee", "FN:Lee; Ann"}).Only(),
            (Fields{{"family", "Lee"}, {"shown", "Lee; Ann"}}));
  EXPECT_EQ(Ann("2.1", {"ROLE:a;b"}), (Fields{{"title", "a;b"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;HOME:1234;5678"}), (Fields{{"home", "1234;5678"}}));
}

TEST_F(CardStructure, TheSameInsideOfQuotedPrintable) {
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:one; two=0D=0A3;4",
                        "TITLE;ENCODING=QUOTED-PRINTABLE:a=3Bb"}),
            (Fields{{"note", "one; two\r\n3;4"}, {"title", "a;b"}}));
  EXPECT_EQ(ReceiveCard("2.1", {"N;ENCODING=QUOTED-PRINTABLE:Lee=;=41nn"}).Only(),
            (Fields{{"family", "Lee="}, {"given", "Ann"}}));
}

TEST_F(CardStructure, ABackslashIn21IsOneUnlessItProtectsASemicolonOrItself) {
  EXPECT_EQ(Ann("2.1", {"NOTE:C:\\new\\a,b"}), (Fields{{"note", "C:\\new\\a,b"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:a\\;b\\\\c", "TITLE:x\\"}),
            (Fields{{"note", "a;b\\c"}, {"title", "x\\"}}));
  EXPECT_EQ(Ann("2.1", {"ORG:a\\;b;c\\\\d\\e"}),
            (Fields{{"company", "a;b"}, {"department", "c\\d\\e"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:C:=5Cnew=3B"}),
            (Fields{{"note", "C:\\new;"}}));
}

TEST_F(CardStructure, ACardOf21ThatEscapesAs30DoesIsReadSo) {
  EXPECT_EQ(Ann("2.1", {"NOTE:a\\nb", "ORG:Nut\\, Bolt"}),
            (Fields{{"note", "a\r\nb"}, {"company", "Nut, Bolt"}}));
  EXPECT_EQ(Ann("2.1", {"NOTE:a\\nb\\Nc\\\\n", "TEL;TYPE=HOME,VOICE:1"}),
            (Fields{{"note", "a\r\nb\r\nc\\n"}, {"home", "1"}}));
}

TEST_F(CardStructure, TextsOfAllCharactersAreStoredAsTheyWereMeant) {
  const Fields all = {{"note", "a\\;,:=\"b\tc==3D="}};
  EXPECT_EQ(Ann("3.0", {"NOTE:a\\\\\\;\\,:=\"b\tc==3D="}), all);
  EXPECT_EQ(Ann("2.1", {"NOTE:a\\\\\\;,:=\"b\tc==3D="}), all);
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:a=5C=5C=3B=2C:=3D\"b=09c=3D=3D3D=3D"}),
            all);
  EXPECT_EQ(Ann("2.1", {"NOTE;ENCODING=QUOTED-PRINTABLE:a=01=7Fb"}), (Fields{{"note",
                                                                              "a\x01\x7F"
                                                                              "b"}}));
}

// ---- Components ---------------------------------------------------------------------------------------------

TEST_F(CardStructure, NoComponentTooManyIsLost) {
  EXPECT_EQ(Ann("2.1", {"ORG:Bolt;Sales;North;Team 3"}),
            (Fields{{"company", "Bolt"}, {"department", "Sales, North, Team 3"}}));
  EXPECT_EQ(Ann("2.1", {"ORG:Bolt;;North"}),
            (Fields{{"company", "Bolt"}, {"department", "North"}}));
  EXPECT_EQ(ReceiveCard("2.1", {"N:Lee;Ann;Mary;Dr;PhD;MA;x"}).Only(),
            (Fields{{"family", "Lee"},
                    {"given", "Ann"},
                    {"middle", "Mary"},
                    {"prefix", "Dr"},
                    {"suffix", "PhD MA x"}}));
  const Fields address = Ann("2.1", {"ADR;WORK:;;Main St 1;Town;Reg;123;Land;more"});
  EXPECT_EQ(address, (Fields{{"work street", "Main St 1 more"},
                             {"work city", "Town"},
                             {"work region", "Reg"},
                             {"work code", "123"},
                             {"work country", "Land"}}));
}

TEST_F(CardStructure, CategoriesAreOneTextWhateverDividesThem) {
  EXPECT_EQ(Ann("2.1", {"CATEGORIES:a;b"}), (Fields{{"categories", "a,b"}}));
  EXPECT_EQ(Ann("2.1", {"X-CAT:a;b"}), (Fields{{"categories", "a,b"}}));
  EXPECT_EQ(Ann("2.1", {"X-CAT:a,b"}), (Fields{{"categories", "a,b"}}));
  EXPECT_EQ(Ann("3.0", {"CATEGORIES:a,b", "CATEGORIES:c"}), (Fields{{"categories", "a,b,c"}}));
}

TEST_F(CardStructure, AGroupHidesNoProperty) {
  EXPECT_EQ(Ann("2.1", {"a.TEL;CELL:1", "item1.EMAIL;INTERNET:a@b.example",
                        "B-2.URL:http://a.example/", "x.NOTE:n"}),
            (Fields{{"mobile", "1"},
                    {"email 1", "a@b.example"},
                    {"page", "http://a.example/"},
                    {"note", "n"}}));
}

// ---- Addresses of the internet ------------------------------------------------------------------------------

TEST_F(CardStructure, AnAddressOfTheInternetNeedsNotSayIt) {
  for (const char* head :
       {"EMAIL", "EMAIL;HOME", "EMAIL;WORK", "EMAIL;PREF", "EMAIL;TYPE=HOME", "EMAIL;TYPE=internet",
        "EMAIL;CHARSET=UTF-8", "EMAIL;OTHER", "EMAIL;INTERNET;HOME"}) {
    EXPECT_EQ(Ann("2.1", {std::string(head) + ":a@b.example"}),
              (Fields{{"email 1", "a@b.example"}}))
        << head;
  }
}

TEST_F(CardStructure, AddressesOfOtherNetworksAreNotStoredAsSuch) {
  for (const char* line :
       {"EMAIL;X400:c=x; o=y", "EMAIL;TYPE=X400:c=x", "EMAIL;TYPE=X-ICQ:12345"}) {
    const Received received = ReceiveAnn("2.1", {line});
    Fields fields = received.Only();
    EXPECT_EQ(fields.count("email 1"), 0U) << line;
    EXPECT_TRUE(fields.count("note") == 1U || !received.report.dropped.empty()) << line;
  }
}

TEST_F(CardStructure, AFourthAddressGoesIntoTheNote) {
  const Received received =
      ReceiveAnn("2.1", {"EMAIL:a@x.example", "EMAIL:b@x.example", "EMAIL;PREF:c@x.example",
                         "EMAIL:d@x.example", "NOTE:n"});
  EXPECT_EQ(received.Only(), (Fields{{"email 1", "c@x.example"},
                                     {"email 2", "a@x.example"},
                                     {"email 3", "b@x.example"},
                                     {"note", "n\r\nEmail: d@x.example"}}));
  EXPECT_FALSE(received.report.changed.empty());
}

// ---- Telephones ---------------------------------------------------------------------------------------------

TEST_F(CardStructure, ANumberOfNoPlaceIsAtHome) {
  for (const char* kind : {"", ";PREF", ";MODEM", ";ISDN", ";VIDEO", ";BBS", ";OTHER", ";X-FOO",
                           ";TYPE=X-FOO", ";CHARSET=UTF-8", ";ENCODING=8BIT", ";VOICE",
                           ";TYPE=", ";VOICE;PREF", ";MSG;VOICE", ";HOME;MSG", ";X-FOO;X-BAR"}) {
    const Received received = ReceiveAnn("2.1", {std::string("TEL") + kind + ":1"});
    EXPECT_EQ(received.Only(), (Fields{{"home", "1"}})) << kind;
    EXPECT_THAT(received.report.dropped, IsEmpty()) << kind;
  }
}

TEST_F(CardStructure, WhatIsCarriedIsAMobileTelephone) {
  for (const char* kind : {"CELL", "MOBILE", "PCS", "IPHONE", "CELLULAR", "TEXT", "MSG",
                           "CELL;VOICE", "CELL;MSG;PREF", "PREF;CELL", "TYPE=cell"}) {
    EXPECT_EQ(Ann("2.1", {std::string("TEL;") + kind + ":1"}), (Fields{{"mobile", "1"}})) << kind;
  }
}

TEST_F(CardStructure, EveryPlaceIsFoundByItsKinds) {
  EXPECT_EQ(Ann("2.1", {"TEL;HOME:1", "TEL;HOME;VOICE:2", "TEL;WORK:3", "TEL;WORK;VOICE:4",
                        "TEL;HOME;FAX:5", "TEL;WORK;FAX:6", "TEL;CELL:7", "TEL;PAGER:8",
                        "TEL;CAR:9", "TEL;TYPE=X-ASSISTANT:10", "TEL;TYPE=X-RADIO:11"}),
            (Fields{{"home", "1"},
                    {"home 2", "2"},
                    {"work", "3"},
                    {"work 2", "4"},
                    {"home fax", "5"},
                    {"work fax", "6"},
                    {"mobile", "7"},
                    {"pager", "8"},
                    {"car", "9"},
                    {"assistant's number", "10"},
                    {"radio", "11"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;RADIO:1", "TEL;RADIO:1"}), (Fields{{"radio", "1"}}));
  EXPECT_EQ(Ann("2.1", {"X-MICROSOFT-ASST_TEL:1"}), (Fields{{"assistant's number", "1"}}));
}

TEST_F(CardStructure, ModemsAndTheLikeWaitUntilTheOthersHaveTheirPlaces) {
  EXPECT_EQ(Ann("2.1", {"TEL;ISDN:1", "TEL;VIDEO:2", "TEL;HOME:3", "TEL;HOME:4"}),
            (Fields{{"home", "3"}, {"home 2", "4"}, {"work", "1"}, {"work 2", "2"}}));
}

TEST_F(CardStructure, ASurplusNumberTakesTheNextPlaceForAVoice) {
  const Received home = ReceiveAnn("2.1", {"TEL;HOME:1", "TEL;HOME:2", "TEL;HOME:3", "TEL;WORK:4"});
  EXPECT_EQ(home.Only(), (Fields{{"home", "1"}, {"home 2", "2"}, {"work", "4"}, {"work 2", "3"}}));
  EXPECT_FALSE(home.report.changed.empty());
  const Received work = ReceiveAnn("2.1", {"TEL;WORK:1", "TEL;WORK:2", "TEL;WORK:3", "TEL;HOME:4"});
  EXPECT_EQ(work.Only(), (Fields{{"home", "4"}, {"home 2", "3"}, {"work", "1"}, {"work 2", "2"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;CELL:1", "TEL;CELL:2", "TEL;HOME:3"}),
            (Fields{{"mobile", "1"}, {"home", "3"}, {"home 2", "2"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;CAR:1", "TEL;CAR:2", "TEL;HOME:3"}),
            (Fields{{"car", "1"}, {"home", "3"}, {"home 2", "2"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;PAGER:1", "TEL;PAGER:2", "TEL;HOME:3"}),
            (Fields{{"pager", "1"}, {"home", "3"}, {"home 2", "2"}}));
}

TEST_F(CardStructure, NumbersFillAllPlacesAndThenTheNote) {
  const Received received =
      ReceiveAnn("2.1", {"TEL;HOME:1", "TEL;HOME:2", "TEL;HOME:3", "TEL;HOME:4", "TEL;HOME:5",
                         "TEL;HOME:6", "TEL;HOME:7", "NOTE:n"});
  EXPECT_EQ(received.Only(), (Fields{{"home", "1"},
                                     {"home 2", "2"},
                                     {"work", "3"},
                                     {"work 2", "4"},
                                     {"car", "5"},
                                     {"radio", "6"},
                                     {"note", "n\r\nTel: 7"}}));
  EXPECT_FALSE(received.report.changed.empty());
}

TEST_F(CardStructure, NoFaxIsLost) {
  EXPECT_EQ(Ann("2.1", {"TEL;FAX:1"}), (Fields{{"home fax", "1"}}));
  const Fields fields = Ann("2.1", {"TEL;FAX;WORK:1", "TEL;WORK;FAX:2", "TEL;FAX:3"});
  std::string all;
  for (const auto& [place, number] : fields) all += number + " ";
  for (const char* number : {"1", "2", "3"}) EXPECT_NE(all.find(number), std::string::npos) << all;
  EXPECT_EQ(fields.at("work fax"), "1");
}

TEST_F(CardStructure, ThePreferredNumberIsTheFirstOfItsKind) {
  EXPECT_EQ(Ann("2.1", {"TEL;HOME:1", "TEL;HOME;PREF:2", "TEL;WORK:3", "TEL;PREF;WORK;VOICE:4",
                        "TEL;CELL:5", "TEL;CELL;PREF:6", "TEL;CAR:7"}),
            (Fields{{"home", "2"},
                    {"home 2", "1"},
                    {"work", "4"},
                    {"work 2", "3"},
                    {"mobile", "6"},
                    {"car", "7"},
                    {"radio", "5"}}));
}

TEST_F(CardStructure, ASecondMobileNumberIsThatOfItsOtherKind) {
  EXPECT_EQ(Ann("2.1", {"TEL;CELL;HOME:1", "TEL;CELL;WORK:2"}),
            (Fields{{"mobile", "1"}, {"work", "2"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;CELL;WORK:1", "TEL;CELL;HOME:2"}),
            (Fields{{"mobile", "1"}, {"home", "2"}}));
}

TEST_F(CardStructure, ANumberThatStandsTwiceTakesOnePlace) {
  EXPECT_EQ(Ann("2.1", {"TEL;HOME:1", "TEL;HOME:1", "TEL;HOME:2"}),
            (Fields{{"home", "1"}, {"home 2", "2"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;CELL:1", "TEL;CELL:1"}), (Fields{{"mobile", "1"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;HOME:1", "TEL;WORK:1"}), (Fields{{"home", "1"}, {"work", "1"}}));
}

// ---- Pages and addresses ------------------------------------------------------------------------------------

TEST_F(CardStructure, ThePageIsTheFirstThatIsNotAtHomeOrElseThatAtHome) {
  EXPECT_EQ(Ann("2.1", {"URL;HOME:http://h.example/"}), (Fields{{"page", "http://h.example/"}}));
  const Received both = ReceiveAnn(
      "2.1", {"URL;HOME:http://h.example/", "URL:http://a.example/", "URL:http://b.example/"});
  Fields fields = both.Only();
  EXPECT_EQ(fields["page"], "http://a.example/");
  EXPECT_TRUE((fields["note"].find("http://h.example/") != std::string::npos &&
               fields["note"].find("http://b.example/") != std::string::npos) ||
              both.report.dropped == (Happenings{{"URL", 2}}));
}

TEST_F(CardStructure, AddressesBeyondTheThreePlacesAreNotLostInSilence) {
  const Received received = ReceiveAnn("2.1", {"ADR;HOME:;;H 1;;;;", "ADR;WORK:;;W 1;;;;",
                                               "ADR;HOME:;;H 2;;;;", "ADR;WORK:;;W 2;;;12;"});
  Fields fields = received.Only();
  EXPECT_EQ(fields["home street"], "H 1");
  EXPECT_EQ(fields["work street"], "W 1");
  EXPECT_EQ(fields["other street"], "H 2");
  EXPECT_TRUE(fields["note"].find("W 2") != std::string::npos ||
              received.report.dropped.contains("ADR"));
}

TEST_F(CardStructure, TheOfficeIsTheExtensionOfTheWorkAddressUnlessItIsTold) {
  EXPECT_EQ(Ann("2.1", {"ADR;WORK:;Room 5;Main St;;;;"}),
            (Fields{{"work office", "Room 5"}, {"work street", "Main St"}}));
  Fields told = Ann("2.1", {"X-MICROSOFT-OFFICELOC:B 2", "ADR;WORK:;;Main St;;;;"});
  EXPECT_EQ(told, (Fields{{"work office", "B 2"}, {"work street", "Main St"}}));
}

TEST_F(CardStructure, NoPartOfAWorkAddressIsLostWhereTheOfficeIsToldApart) {
  const Received received =
      ReceiveAnn("2.1", {"X-MICROSOFT-OFFICELOC:B 2", "ADR;WORK:Box 1;Floor 3;Main St;;;;"});
  std::string all;
  Fields fields = received.Only();
  for (const auto& [place, text] : fields) all += text + "|";
  EXPECT_EQ(fields["work office"], "B 2");
  EXPECT_NE(all.find("Box 1"), std::string::npos) << all;
  EXPECT_TRUE(all.find("Floor 3") != std::string::npos || !received.report.dropped.empty()) << all;
}

TEST_F(CardStructure, ALabelIsTheStreetWhereNoAddressOfItsKindIs) {
  EXPECT_EQ(Ann("2.1", {"LABEL;HOME;ENCODING=QUOTED-PRINTABLE:Main St 1=0D=0ATown"}),
            (Fields{{"home street", "Main St 1\r\nTown"}}));
  const Received received = ReceiveAnn(
      "2.1", {"ADR;HOME:;;Main St 1;Town;;;", "LABEL;HOME:Main St 1, Town", "LABEL;WORK:W 1"});
  EXPECT_EQ(received.Only(),
            (Fields{{"home street", "Main St 1"}, {"home city", "Town"}, {"work street", "W 1"}}));
  EXPECT_EQ(received.report.dropped, (Happenings{{"LABEL", 1}}));
}

TEST_F(CardStructure, AnEmptyLabelIsNoLoss) {
  const Received received =
      ReceiveAnn("2.1", {"LABEL;HOME:", "ADR;HOME:;;H 1;;;;", "LABEL;WORK:", "LABEL;WORK:W 1"});
  EXPECT_EQ(received.Only(), (Fields{{"home street", "H 1"}, {"work street", "W 1"}}));
  EXPECT_THAT(received.report.dropped, IsEmpty());
}

// ---- Birthdays ----------------------------------------------------------------------------------------------

TEST_F(CardStructure, ABirthdayIsReadInAnyOrderWithAWholeYear) {
  const std::string day = Ann("2.1", {"BDAY:19991231"})["birthday"];
  EXPECT_NE(day, "");
  for (const char* text : {"1999-12-31", "1999/12/31", "1999.12.31", "31.12.1999", "31/12/1999",
                           "12/31/1999", "31-12-1999", "1999-12-31T00:00:00Z", "19991231T000000Z",
                           "1999-12-31T23:59:59-05:00", "1999-12-31 00:00:00", "19991231T230000"}) {
    const Received received = ReceiveAnn("2.1", {std::string("BDAY:") + text});
    EXPECT_EQ(received.Only(), (Fields{{"birthday", day}})) << text;
    EXPECT_THAT(received.report.dropped, IsEmpty()) << text;
  }
  const std::string early = Ann("2.1", {"BDAY:20040105"})["birthday"];
  EXPECT_NE(early, day);
  EXPECT_EQ(Ann("2.1", {"BDAY:2004-1-5"}), (Fields{{"birthday", early}}));
  EXPECT_EQ(Ann("2.1", {"BDAY:5.1.2004"}), (Fields{{"birthday", early}}));
}

TEST_F(CardStructure, ABirthdayWithoutAWholeYearIsDropped) {
  for (const char* text : {"--1231", "--12-31", "99-1-2", "in spring", "1999-12", "1999",
                           "1999-13-45", "0000-00-00"}) {
    const Received received = ReceiveAnn("2.1", {std::string("BDAY:") + text});
    EXPECT_EQ(received.Only(), (Fields{})) << text;
    ASSERT_THAT(received.report.dropped, SizeIs(1)) << text;
    EXPECT_TRUE(received.report.dropped.begin()->first.starts_with("BDAY")) << text;
  }
}

// ---- What has no place --------------------------------------------------------------------------------------

TEST_F(CardStructure, WhatTheStoreHasNoPlaceForIsDroppedByItsNameAndCount) {
  for (const char* name : {"PHOTO", "REV", "SOUND", "GEO", "TZ", "KEY", "LOGO", "CLASS", "MAILER",
                           "SORT-STRING", "X-FOO", "PRODID"}) {
    const Received received = ReceiveAnn(
        "2.1", {"TEL;CELL:1", std::string(name) + ":x", std::string(name) + ";X-BAR=1:y"});
    EXPECT_EQ(received.Only(), (Fields{{"mobile", "1"}})) << name;
    EXPECT_EQ(received.report.dropped, (Happenings{{name, 2}})) << name;
  }
}

TEST_F(CardStructure, NicknamesAreDropped) {
  const Received received = ReceiveAnn("2.1", {"NICKNAME:Al"});
  EXPECT_EQ(received.Only(), (Fields{}));
  EXPECT_EQ(received.report.dropped, (Happenings{{"NICKNAME", 1}}));
}

TEST_F(CardStructure, AnEmptyRoleIsNotTheOneThatIsTheTitle) {
  const Received received = ReceiveAnn("2.1", {"TITLE:", "ROLE:", "ROLE:boss", "ROLE:aide"});
  EXPECT_EQ(received.Only(), (Fields{{"title", "boss"}}));
  EXPECT_EQ(received.report.dropped, (Happenings{{"ROLE", 1}}));
}

TEST_F(CardStructure, ADepartmentOfItsOwnJoinsThatOfTheOrganisation) {
  EXPECT_EQ(Ann("2.1", {"ORG:Bolt", "DEPT:Sales"}),
            (Fields{{"company", "Bolt"}, {"department", "Sales"}}));
  EXPECT_EQ(Ann("2.1", {"DEPT:Sales", "ORG:Bolt;Sales"}),
            (Fields{{"company", "Bolt"}, {"department", "Sales"}}));
  EXPECT_EQ(Ann("2.1", {"ORG:Bolt;North", "DEPT:Sales"}),
            (Fields{{"company", "Bolt"}, {"department", "North, Sales"}}));
}

TEST_F(CardStructure, SeveralAgentsAndAssistantsAreAllNamed) {
  EXPECT_EQ(Ann("3.0", {"AGENT:Ed", "AGENT:Flo"}), (Fields{{"assistant", "Ed, Flo"}}));
  EXPECT_EQ(Ann("2.1", {"X-ASSISTANT:Ed", "X-ASSISTANT:Flo"}), (Fields{{"assistant", "Ed, Flo"}}));
}

TEST_F(CardStructure, AnOfficeAloneIsSomething) {
  EXPECT_EQ(ReceiveCard("2.1", {"X-MICROSOFT-OFFICELOC:B 2"}).Only(),
            (Fields{{"work office", "B 2"}}));
}

TEST_F(CardStructure, DaysOfAllYearsAreStoredOrReported) {
  for (const std::string day :
       {"18500101", "18991231", "19000101", "00010101", "99991231", "16040229"}) {
    const Received received = ReceiveAnn("2.1", {"BDAY:" + day});
    EXPECT_TRUE(received.Only() == (Fields{{"birthday", day}}) || !received.report.dropped.empty())
        << day;
  }
}

TEST_F(CardStructure, ANumberInUtf8OrEncodedIsANumberAtHome) {
  EXPECT_EQ(Ann("2.1", {"TEL;CHARSET=UTF-8:1"}), (Fields{{"home", "1"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;ENCODING=QUOTED-PRINTABLE:=31"}), (Fields{{"home", "1"}}));
  EXPECT_EQ(Ann("2.1", {"TEL;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=31"}),
            (Fields{{"home", "1"}}));
}

TEST_F(CardStructure, ARoleIsTheTitleWhereThereIsNone) {
  EXPECT_EQ(Ann("2.1", {"ROLE:boss"}), (Fields{{"title", "boss"}}));
  const Received received = ReceiveAnn("2.1", {"ROLE:boss", "TITLE:Dr"});
  EXPECT_EQ(received.Only(), (Fields{{"title", "Dr"}}));
  EXPECT_EQ(received.report.dropped, (Happenings{{"ROLE", 1}}));
}

TEST_F(CardStructure, TheUidIsKeptBesideTheCard) {
  const Received received = ReceiveAnn("2.1", {"UID:u-1"});
  EXPECT_EQ(received.uids, Lines{"u-1"});
  EXPECT_THAT(received.report.dropped, IsEmpty());
}

}  // namespace
}  // namespace card_structure_facts_test

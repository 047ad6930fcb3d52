// Cards of vCard 3.0 and 4.0 on their way into the store: row by row what each of their properties becomes.
#include "tests/dialects/stored_contact.h"

namespace card_versions_facts_test {
namespace {

using dialects::Happenings;
using stored_contact::ContactStore;
using stored_contact::Fields;
using stored_contact::Received;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Lines = std::vector<std::string>;

constexpr const char* kModern[] = {"3.0", "4.0"};

class CardVersions : public ContactStore {
 protected:
  // What a day reads like once it is stored.
  std::string Day(const std::string& digits) const {
    return Ann("2.1", {"BDAY:" + digits}).at("birthday");
  }
};

// ---- Names --------------------------------------------------------------------------------------------------

TEST_F(CardVersions, NamesAreStoredPartByPart) {
  for (const char* version : kModern) {
    EXPECT_EQ(ReceiveCard(version, {"FN:Dr. Ann Mary Lee PhD", "N:Lee;Ann;Mary;Dr.;PhD"}).Only(),
              (Fields{{"family", "Lee"},
                      {"given", "Ann"},
                      {"middle", "Mary"},
                      {"prefix", "Dr."},
                      {"suffix", "PhD"},
                      {"shown", "Dr. Ann Mary Lee PhD"}}));
    EXPECT_EQ(ReceiveCard(version, {"FN:x", "N:Lee,Ox;Ann;Mary,Sue;Dr.,Prof.;Jr.,PhD"}).Only(),
              (Fields{{"family", "Lee Ox"},
                      {"given", "Ann"},
                      {"middle", "Mary Sue"},
                      {"prefix", "Dr. Prof."},
                      {"suffix", "Jr. PhD"},
                      {"shown", "x"}}));
    EXPECT_EQ(ReceiveCard(version, {"FN:x", "N:Lee\\, Inc\\; Ox\\\\;Ann"}).Only(),
              (Fields{{"family", "Lee, Inc; Ox\\"}, {"given", "Ann"}, {"shown", "x"}}));
  }
}

TEST_F(CardVersions, ANameOfSeparatorsIsNone) {
  for (const char* version : kModern) {
    EXPECT_EQ(ReceiveCard(version, {"N:,;,,;;;", "FN:Ann"}).Only(),
              (Fields{{"family", "Ann"}, {"shown", "Ann"}}))
        << version;
  }
}

TEST_F(CardVersions, AName40NeedNotHaveIsMadeOfTheFormattedOne) {
  const Received received = ReceiveCard("4.0", {"FN:Jo van Doe"});
  EXPECT_EQ(received.Only(), (Fields{{"family", "Jo van Doe"}, {"shown", "Jo van Doe"}}));
  EXPECT_EQ(received.report.guessed, (Happenings{{"name from FN", 1}}));
}

TEST_F(CardVersions, TheFormattedNameOf40IsThePreferredOrElseTheFirst) {
  const Received preferred =
      ReceiveCard("4.0", {"N:Lee;Ann", "FN:one", "FN;PREF=2:two", "FN;PREF=1:three"});
  EXPECT_EQ(preferred.Only()["shown"], "three");
  EXPECT_EQ(preferred.report.dropped, (Happenings{{"FN (another)", 2}}));
  EXPECT_EQ(ReceiveCard("4.0", {"N:Lee;Ann", "FN:one", "FN:two"}).Only()["shown"], "one");
  EXPECT_EQ(Ann("4.0", {"TITLE;PREF=50:aide", "TITLE;PREF=2:boss"})["title"], "boss");
  EXPECT_EQ(Ann("4.0", {"ORG:Bolt;x", "ORG;PREF=1:Nut"}), (Fields{{"company", "Nut"}}));
}

TEST_F(CardVersions, OfTheLanguagesOfOnePropertyOneIsKept) {
  const Received received =
      ReceiveAnn("4.0", {"TITLE;ALTID=1;LANGUAGE=fr:patron", "TITLE;ALTID=1;LANGUAGE=en:boss",
                         "NOTE;ALTID=a:one", "NOTE;ALTID=a:un", "NOTE:two"});
  EXPECT_EQ(received.Only(), (Fields{{"title", "patron"}, {"note", "one\r\n\r\ntwo"}}));
  EXPECT_FALSE(received.report.dropped.empty());
}

TEST_F(CardVersions, FirmsAndTitlesAreStored) {
  for (const char* version : kModern) {
    EXPECT_EQ(
        Ann(version, {"ORG:Bolt\\, Nut;Sales;North", "TITLE:a\\, b", "ROLE:r"}),
        (Fields{{"company", "Bolt, Nut"}, {"department", "Sales, North"}, {"title", "a, b"}}));
    EXPECT_EQ(Ann(version, {"ROLE:r"}), (Fields{{"title", "r"}}));
  }
}

// ---- Telephones ---------------------------------------------------------------------------------------------

TEST_F(CardVersions, KindsInAListAreKinds) {
  for (const char* version : kModern) {
    for (const bool is_quoted : {false, true}) {
      const auto tel = [&](const std::string& kinds, const std::string& number) {
        return "TEL;TYPE=" + (is_quoted ? "\"" + kinds + "\"" : kinds) + ":" + number;
      };
      EXPECT_EQ(Ann(version, {tel("home,voice", "1"), tel("voice,home", "2"),
                              tel("work,voice", "3"), tel("WORK", "4"), tel("home,fax", "5"),
                              tel("work,fax", "6"), tel("cell", "7"), tel("pager", "8"),
                              tel("car", "9"), tel("x-assistant", "10"), tel("x-radio", "11")}),
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
                        {"radio", "11"}}))
          << version;
    }
    EXPECT_EQ(
        Ann(version, {"TEL;TYPE=x-car:1", "TEL;TYPE=cell;TYPE=work:2", "TEL;TYPE=HOME;TYPE=FAX:3"}),
        (Fields{{"car", "1"}, {"mobile", "2"}, {"home fax", "3"}}))
        << version;
  }
}

TEST_F(CardVersions, KindsThatTheStoreDoesNotKnowFindAPlace) {
  for (const char* kind :
       {"textphone", "video", "pcs", "isdn", "bbs", "modem", "main-number", "pref"}) {
    const Fields fields = Ann("4.0", {std::string("TEL;TYPE=") + kind + ":1"});
    EXPECT_EQ(fields, (Fields{{std::string(kind) == "pcs" ? "mobile" : "home", "1"}})) << kind;
  }
  for (const char* kind : {"text", "msg"}) {
    EXPECT_EQ(Ann("4.0", {std::string("TEL;TYPE=") + kind + ":1"}), (Fields{{"mobile", "1"}}))
        << kind;
  }
}

TEST_F(CardVersions, ANumberThatIsAUriIsTakenOutOfIt) {
  EXPECT_EQ(Ann("4.0", {"TEL;VALUE=uri;TYPE=\"voice,home\":tel:+1-555-555-0100;ext=5555"}),
            (Fields{{"home", "+1-555-555-0100 x5555"}}));
  EXPECT_EQ(Ann("4.0", {"TEL;VALUE=uri;TYPE=cell:tel:+49-30-1"}), (Fields{{"mobile", "+49-30-1"}}));
  EXPECT_EQ(Ann("4.0", {"TEL;VALUE=URI;TYPE=cell:TEL:+49-30-1"}), (Fields{{"mobile", "+49-30-1"}}));
  EXPECT_EQ(Ann("3.0", {"TEL;VALUE=uri;TYPE=work:tel:+49-30-1"}), (Fields{{"work", "+49-30-1"}}));
  EXPECT_EQ(Ann("4.0", {"TEL;TYPE=cell:+49 30 1;5"}), (Fields{{"mobile", "+49 30 1;5"}}));
}

TEST_F(CardVersions, ThePreferenceOrdersNumbersAndAddresses) {
  EXPECT_EQ(
      Ann("4.0", {"TEL;TYPE=home;PREF=3:1", "TEL;TYPE=home;PREF=1:2", "TEL;TYPE=home;PREF=2:3"}),
      (Fields{{"home", "2"}, {"home 2", "3"}, {"work", "1"}}));
  EXPECT_EQ(Ann("4.0", {"TEL;TYPE=home:1", "TEL;TYPE=home;PREF=100:2"}),
            (Fields{{"home", "2"}, {"home 2", "1"}}));
  EXPECT_EQ(Ann("3.0", {"TEL;TYPE=work:1", "TEL;TYPE=work,pref:2"}),
            (Fields{{"work", "2"}, {"work 2", "1"}}));
  EXPECT_EQ(
      Ann("4.0", {"EMAIL:a@x.example", "EMAIL;PREF=2:b@x.example", "EMAIL;PREF=1:c@x.example"}),
      (Fields{{"email 1", "c@x.example"}, {"email 2", "b@x.example"}, {"email 3", "a@x.example"}}));
  EXPECT_EQ(Ann("3.0", {"EMAIL;TYPE=internet:a@x.example", "EMAIL;TYPE=internet,pref:b@x.example"}),
            (Fields{{"email 1", "b@x.example"}, {"email 2", "a@x.example"}}));
}

// ---- Mail, addresses, pages, notes --------------------------------------------------------------------------

TEST_F(CardVersions, AddressesOfTheInternetAreStored) {
  for (const char* version : kModern) {
    EXPECT_EQ(
        Ann(version, {"EMAIL:a@x.example", "EMAIL;TYPE=work:b@x.example",
                      "EMAIL;TYPE=\"internet,home\":c@x.example"}),
        (Fields{
            {"email 1", "a@x.example"}, {"email 2", "b@x.example"}, {"email 3", "c@x.example"}}));
  }
  const Received other = ReceiveAnn("3.0", {"EMAIL;TYPE=x400:c=x"});
  EXPECT_EQ(other.Only().count("email 1"), 0U);
  EXPECT_TRUE(other.report.dropped.contains("EMAIL") || other.Only().contains("note") ||
              !other.report.dropped.empty());
}

TEST_F(CardVersions, AnAddressOf30WithoutKindIsAtWorkAndOneOf40IsTheOther) {
  const std::string value = ":;;Main St 1;Town;Reg;123;Land";
  const auto fields = [](const std::string& place) {
    return Fields{{place + " street", "Main St 1"},
                  {place + " city", "Town"},
                  {place + " region", "Reg"},
                  {place + " code", "123"},
                  {place + " country", "Land"}};
  };
  EXPECT_EQ(Ann("3.0", {"ADR" + value}), fields("work"));
  EXPECT_EQ(Ann("4.0", {"ADR" + value}), fields("other"));
  EXPECT_EQ(Ann("3.0", {"ADR;TYPE=postal" + value}), fields("other"));
  for (const char* version : kModern) {
    EXPECT_EQ(Ann(version, {"ADR;TYPE=home" + value}), fields("home"));
    EXPECT_EQ(Ann(version, {"ADR;TYPE=\"dom,work,postal\"" + value}), fields("work"));
  }
}

TEST_F(CardVersions, ListsInPartsOfAnAddressAreJoinedByBlanks) {
  for (const char* version : kModern) {
    EXPECT_EQ(Ann(version, {"ADR;TYPE=home:;;Main St 1,Rear,3rd floor;St\\, Ives;;;"}),
              (Fields{{"home street", "Main St 1 Rear 3rd floor"}, {"home city", "St, Ives"}}));
    EXPECT_EQ(Ann(version, {"ADR;TYPE=home:;;Main St 1\\nRear;;;;"}),
              (Fields{{"home street", "Main St 1\r\nRear"}}));
  }
}

TEST_F(CardVersions, TheLabelParameterIsDroppedWhereTheAddressIsThere) {
  const Received received =
      ReceiveAnn("4.0", {"ADR;TYPE=home;LABEL=\"Main St 1^nTown\":;;Main St 1;Town;;;"});
  EXPECT_EQ(received.Only(), (Fields{{"home street", "Main St 1"}, {"home city", "Town"}}));
  EXPECT_THAT(received.report.dropped, SizeIs(1));
}

TEST_F(CardVersions, ParametersMayBeQuotedAndHaveCarets) {
  EXPECT_EQ(Ann("4.0",
                {"ADR;TYPE=home;LABEL=\"a ^'b^' ^^ ^n c: d; e, f\";GEO=\"geo:1,2\":;;Main St 1;;;;",
                 "NOTE;X-A=\"x:y;z\":n"}),
            (Fields{{"home street", "Main St 1"}, {"note", "n"}}));
  EXPECT_EQ(Ann("3.0", {"NOTE;X-A=\"x:y;z,w\":n"}), (Fields{{"note", "n"}}));
}

TEST_F(CardVersions, AnEmptyAddressWithALabelIsTheLabel) {
  Fields fields = Ann("4.0", {"ADR;TYPE=home;LABEL=\"Main St 1^nTown\":;;;;;;"});
  EXPECT_EQ(fields, (Fields{{"home street", "Main St 1\r\nTown"}}));
}

TEST_F(CardVersions, TheFirstPageIsKeptAndOneAtHomeIsTheLastToCount) {
  for (const char* version : kModern) {
    EXPECT_EQ(
        Ann(version, {"URL;TYPE=home:http://h.example/", "URL:http://a.example/?b=c,d;e"})["page"],
        "http://a.example/?b=c,d;e");
    EXPECT_EQ(Ann(version, {"URL;TYPE=home:http://h.example/"}),
              (Fields{{"page", "http://h.example/"}}));
    EXPECT_EQ(Ann(version, {"URL;TYPE=work:http://w.example/"}),
              (Fields{{"page", "http://w.example/"}}));
  }
}

TEST_F(CardVersions, NotesAreJoinedAndUnescaped) {
  for (const char* version : kModern) {
    EXPECT_EQ(Ann(version, {"NOTE:a\\nb\\Nc\\, d\\; e\\\\n", "NOTE:two"}),
              (Fields{{"note", "a\r\nb\r\nc, d; e\\n\r\n\r\ntwo"}}));
    EXPECT_EQ(Ann(version, {"NOTE:a;b,c"}), (Fields{{"note", "a;b,c"}}));
  }
}

// ---- Dates --------------------------------------------------------------------------------------------------

TEST_F(CardVersions, BirthdaysAreStoredAsTheirDay) {
  const std::string day = Day("19991231");
  for (const char* version : kModern) {
    for (const char* text : {"1999-12-31", "19991231", "1999-12-31T23:30:00Z",
                             "19991231T233000-0500", "19991231T23"}) {
      EXPECT_EQ(Ann(version, {std::string("BDAY:") + text}), (Fields{{"birthday", day}})) << text;
    }
    EXPECT_EQ(Ann(version, {"BDAY;VALUE=date:1999-12-31"}), (Fields{{"birthday", day}}));
    EXPECT_EQ(Ann(version, {"BDAY;VALUE=date-time:1999-12-31T00:00:00Z"}),
              (Fields{{"birthday", day}}));
    EXPECT_EQ(Ann(version, {"BDAY;VALUE=date-and-or-time:19991231"}), (Fields{{"birthday", day}}));
  }
}

TEST_F(CardVersions, BirthdaysWithoutADayOrYearAreDropped) {
  for (const char* line :
       {"BDAY:--1231", "BDAY:1999-12", "BDAY:1999", "BDAY:---31", "BDAY;VALUE=text:circa 1800",
        "BDAY;VALUE=text:19991231 or so", "BDAY:T102200"}) {
    const Received received = ReceiveAnn("4.0", {line});
    EXPECT_EQ(received.Only(), (Fields{})) << line;
    ASSERT_THAT(received.report.dropped, SizeIs(1)) << line;
    EXPECT_TRUE(received.report.dropped.begin()->first.starts_with("BDAY")) << line;
  }
}

TEST_F(CardVersions, AnAnniversaryHasSeveralNames) {
  const std::string day = Day("20011231");
  for (const char* line :
       {"ANNIVERSARY:20011231", "X-ANNIVERSARY:2001-12-31", "X-EVOLUTION-ANNIVERSARY:2001-12-31",
        "ANNIVERSARY:2001-12-31T10:00:00Z"}) {
    for (const char* version : {"2.1", "3.0", "4.0"}) {
      EXPECT_EQ(Ann(version, {line}), (Fields{{"anniversary", day}})) << version << line;
    }
  }
  EXPECT_EQ(
      Ann("3.0", {"item1.X-ABDATE;type=pref:2001-12-31", "item1.X-ABLabel:_$!<Anniversary>!$_"}),
      (Fields{{"anniversary", day}}));
  const Received none = ReceiveAnn("4.0", {"ANNIVERSARY:--1231"});
  EXPECT_EQ(none.Only(), (Fields{}));
  EXPECT_THAT(none.report.dropped, SizeIs(1));
  const Received other =
      ReceiveAnn("3.0", {"item1.X-ABDATE:2001-12-31", "item1.X-ABLabel:First met"});
  EXPECT_EQ(other.Only(), (Fields{}));
  EXPECT_FALSE(other.report.dropped.empty());
}

// ---- People -------------------------------------------------------------------------------------------------

TEST_F(CardVersions, SpousesHaveSeveralNames) {
  for (const char* line :
       {"X-SPOUSE:Bo", "SPOUSE:Bo", "X-EVOLUTION-SPOUSE:Bo", "RELATED;TYPE=spouse;VALUE=text:Bo"}) {
    EXPECT_EQ(Ann(line[0] == 'R' ? "4.0" : "3.0", {line}), (Fields{{"spouse", "Bo"}})) << line;
  }
  EXPECT_EQ(Ann("3.0", {"item2.X-ABRELATEDNAMES:Bo", "item2.X-ABLabel:_$!<Spouse>!$_"}),
            (Fields{{"spouse", "Bo"}}));
  const Received uri = ReceiveAnn("4.0", {"RELATED;TYPE=spouse:urn:uuid:1"});
  EXPECT_EQ(uri.Only(), (Fields{}));
  EXPECT_THAT(uri.report.dropped, SizeIs(1));
}

TEST_F(CardVersions, ChildrenAreJoined) {
  EXPECT_EQ(Ann("3.0", {"X-CHILDREN:Cy"}), (Fields{{"children", "Cy"}}));
  EXPECT_EQ(Ann("3.0", {"item1.X-ABRELATEDNAMES:Cy", "item1.X-ABLabel:_$!<Child>!$_",
                        "item2.X-ABRELATEDNAMES:Di", "item2.X-ABLabel:_$!<Son>!$_",
                        "item3.X-ABRELATEDNAMES:Ed", "item3.X-ABLabel:_$!<Daughter>!$_"}),
            (Fields{{"children", "Cy, Di, Ed"}}));
  EXPECT_EQ(Ann("4.0", {"RELATED;TYPE=child;VALUE=text:Cy", "RELATED;TYPE=child;VALUE=text:Di"}),
            (Fields{{"children", "Cy, Di"}}));
}

TEST_F(CardVersions, AssistantsHaveSeveralNames) {
  for (const char* line :
       {"X-ASSISTANT:Ed", "X-EVOLUTION-ASSISTANT:Ed", "AGENT:Ed", "X-MICROSOFT-ASSISTANT:Ed"}) {
    EXPECT_EQ(Ann("3.0", {line}), (Fields{{"assistant", "Ed"}})) << line;
  }
  EXPECT_EQ(Ann("4.0", {"RELATED;TYPE=agent;VALUE=text:Ed"}), (Fields{{"assistant", "Ed"}}));
  EXPECT_EQ(Ann("3.0", {"i.X-ABRELATEDNAMES:Ed", "i.X-ABLabel:_$!<Assistant>!$_"}),
            (Fields{{"assistant", "Ed"}}));
  EXPECT_EQ(Ann("3.0", {"TEL;TYPE=X-ASSISTANT:1"}), (Fields{{"assistant's number", "1"}}));
  EXPECT_EQ(Ann("3.0", {"X-MICROSOFT-ASST_TEL:1"}), (Fields{{"assistant's number", "1"}}));
  EXPECT_EQ(Ann("4.0", {"TEL;TYPE=x-assistant:1"}), (Fields{{"assistant's number", "1"}}));
}

TEST_F(CardVersions, NamesOfOtherProgramsAreWhatTheyMean) {
  const std::string day = Day("20011231");
  EXPECT_EQ(Ann("2.1", {"X-ASSISTANT-TEL:1", "X-FUNAMBOL-CHILDREN:Cy", "X-WAB-SPOUSE_NAME:Bo",
                        "X-WAB-WEDDING_ANNIVERSARY:20011231", "X-MS-ASSISTANT:Ed", "ORG:Bolt",
                        "X-KADDRESSBOOK-X-Department:Sales;North"}),
            (Fields{{"assistant's number", "1"},
                    {"children", "Cy"},
                    {"spouse", "Bo"},
                    {"anniversary", day},
                    {"assistant", "Ed"},
                    {"company", "Bolt"},
                    {"department", "Sales;North"}}));
  EXPECT_EQ(Ann("2.1", {"X-Qtopia-Assistant:Ed", "X-MS-ANNIVERSARY:20011231"}),
            (Fields{{"assistant", "Ed"}, {"anniversary", day}}));
}

TEST_F(CardVersions, OtherRelativesAreDropped) {
  const Received received = ReceiveAnn("4.0", {"RELATED;TYPE=friend;VALUE=text:Flo"});
  EXPECT_EQ(received.Only(), (Fields{}));
  EXPECT_THAT(received.report.dropped, SizeIs(1));
}

TEST_F(CardVersions, TheOfficeIsStored) {
  for (const char* version : kModern) {
    EXPECT_EQ(Ann(version, {"ADR;TYPE=work:;Room 5;Main St;;;;"}),
              (Fields{{"work office", "Room 5"}, {"work street", "Main St"}}));
    EXPECT_EQ(Ann(version, {"X-MICROSOFT-OFFICELOC:B\\, 2"}), (Fields{{"work office", "B, 2"}}));
  }
  EXPECT_EQ(Ann("4.0", {"ADR;TYPE=home:Box 1;Rear;Main St;;;;"}),
            (Fields{{"home street", "Box 1\r\nRear\r\nMain St"}}));
}

TEST_F(CardVersions, CategoriesAreStoredByCommas) {
  for (const char* version : kModern) {
    EXPECT_EQ(Ann(version, {"CATEGORIES:work,chess club"}),
              (Fields{{"categories", "work,chess club"}}));
  }
}

// ---- What has no place --------------------------------------------------------------------------------------

TEST_F(CardVersions, WhatTheStoreHasNoPlaceForIsDropped) {
  for (const char* name : {"NICKNAME", "PHOTO", "LOGO", "SOUND", "KEY", "GEO", "TZ", "MAILER",
                           "CLASS", "SORT-STRING", "REV", "PRODID", "IMPP", "X-FOO"}) {
    const Received received = ReceiveAnn("3.0", {std::string(name) + ":x"});
    EXPECT_EQ(received.Only(), (Fields{})) << name;
    EXPECT_EQ(received.report.dropped, (Happenings{{name, 1}})) << name;
  }
  for (const char* name : {"KIND", "MEMBER", "GENDER", "LANG", "XML", "CALURI", "FBURL",
                           "CALADRURI", "CLIENTPIDMAP", "IMPP"}) {
    const Received received = ReceiveAnn("4.0", {std::string(name) + ":x"});
    EXPECT_EQ(received.Only(), (Fields{})) << name;
    EXPECT_EQ(received.report.dropped, (Happenings{{name, 1}})) << name;
  }
  EXPECT_EQ(ReceiveAnn("4.0", {"UID:urn:uuid:1"}).uids, Lines{"urn:uuid:1"});
}

TEST_F(CardVersions, AGroupOfContactsIsNoContact) {
  for (const char* kind : {"KIND:group", "KIND:GROUP", "X-ADDRESSBOOKSERVER-KIND:group"}) {
    const Received received = ReceiveCard("4.0", {kind, "FN:Team", "MEMBER:urn:uuid:1"});
    EXPECT_THAT(received.contacts, IsEmpty()) << kind;
    ASSERT_THAT(received.refusals, SizeIs(1)) << kind;
    EXPECT_NE(received.refusals[0], "");
  }
  EXPECT_THAT(ReceiveCard("4.0", {"KIND:individual", "FN:Ann"}).contacts, SizeIs(1));
}

// ---- Labels of groups ---------------------------------------------------------------------------------------

TEST_F(CardVersions, LabelsOfNumbersAreKinds) {
  struct Row {
    std::string label;
    std::string place;
  };
  const std::vector<Row> rows = {{"_$!<Home>!$_", "home"},
                                 {"_$!<Work>!$_", "work"},
                                 {"_$!<Other>!$_", "home"},
                                 {"_$!<Main>!$_", "home"},
                                 {"_$!<Mobile>!$_", "mobile"},
                                 {"iPhone", "mobile"},
                                 {"Cell", "mobile"},
                                 {"_$!<mobile>!$_", "mobile"},
                                 {"_$!<HomeFAX>!$_", "home fax"},
                                 {"_$!<WorkFAX>!$_", "work fax"},
                                 {"_$!<OtherFAX>!$_", "home fax"},
                                 {"_$!<Pager>!$_", "pager"}};
  for (const Row& row : rows) {
    const Received received = ReceiveAnn("3.0", {"item1.TEL:1", "item1.X-ABLabel:" + row.label});
    EXPECT_EQ(received.Only(), (Fields{{row.place, "1"}})) << row.label;
    EXPECT_THAT(received.report.dropped, IsEmpty()) << row.label;
    EXPECT_EQ(Ann("3.0", {"item1.X-ABLABEL:" + row.label, "ITEM1.TEL:1"}),
              (Fields{{row.place, "1"}}))
        << row.label;
  }
  EXPECT_EQ(Ann("3.0", {"a.TEL:1", "b.TEL:2", "b.X-ABLabel:_$!<Main>!$_"}),
            (Fields{{"home", "2"}, {"home 2", "1"}}));
}

TEST_F(CardVersions, ALabelOfAnotherGroupIsNone) {
  EXPECT_EQ(Ann("3.0", {"item1.TEL:1", "item2.TEL:2", "item2.X-ABLabel:_$!<Mobile>!$_"}),
            (Fields{{"home", "1"}, {"mobile", "2"}}));
}

TEST_F(CardVersions, LabelsOfAddressesPagesAndMail) {
  EXPECT_EQ(Ann("3.0", {"item1.URL:http://a.example/", "item1.X-ABLabel:_$!<HomePage>!$_"}),
            (Fields{{"page", "http://a.example/"}}));
  EXPECT_EQ(Ann("3.0", {"item1.ADR:;;H 1;;;;", "item1.X-ABLabel:_$!<Home>!$_",
                        "item1.X-ABADR:us"})["home street"],
            "H 1");
  EXPECT_EQ(Ann("3.0", {"item1.ADR:;;H 1;;;;", "item1.X-ABLabel:_$!<Other>!$_"}),
            (Fields{{"other street", "H 1"}}));
}

TEST_F(CardVersions, AnyOtherLabelIsDroppedAndItsPropertyKept) {
  const Received received = ReceiveAnn("3.0", {"item1.TEL:1", "item1.X-ABLabel:Boat",
                                               "item2.EMAIL:a@x.example", "item2.X-ABLabel:Club"});
  EXPECT_EQ(received.Only(), (Fields{{"home", "1"}, {"email 1", "a@x.example"}}));
  size_t labels = 0;
  for (const auto& [what, count] : received.report.dropped) labels += count;
  EXPECT_EQ(labels, 2U);
}

}  // namespace
}  // namespace card_versions_facts_test

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dialects/card.h"
#include "tests/dialects/card_text.h"

namespace card_writer_test {
namespace {

using card_text::Card;
using card_text::Inner;
using card_text::LinesOf;
using card_text::Written;
using dialects::Form;
using dialects::Happenings;
using dialects::ObjectText;
using dialects::Origin;
using ::testing::ElementsAre;

using Lines = std::vector<std::string>;

ObjectText CardOf(std::string_view version, const Lines& lines) {
  ObjectText object = Card(version, {});
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  object.text.insert(object.text.find("END:"), text);
  return object;
}

ObjectText AsObject(std::string text) {
  ObjectText object;
  object.kind = dialects::ObjectKind::kCard;
  object.text = std::move(text);
  return object;
}

// ---- One row a property, in both directions -----------------------------------------------------------------

struct FormsCase {
  Lines in_21;
  Lines in_30;
  Lines in_40;
};

// Every card has these; in 4.0 N is made of FN, so it is not written.
const Lines kNames21 = {"N:Lee;;;;", "FN:Lee"};
const Lines kNames40 = {"FN:Lee"};

Lines With(const Lines& names, const Lines& lines) {
  Lines all = names;
  all.insert(all.end(), lines.begin(), lines.end());
  return all;
}

class CardForms : public testing::TestWithParam<FormsCase> {
 protected:
  const Lines in_21_ = With(kNames21, GetParam().in_21);
  const Lines in_30_ = With(kNames21, GetParam().in_30);
  const Lines in_40_ = With(kNames40, GetParam().in_40);
};

TEST_P(CardForms, GoFrom21To30) {
  EXPECT_EQ(Inner(Written(Form::kVCard30, CardOf("2.1", in_21_)).text), in_30_);
}
TEST_P(CardForms, GoFrom21To40) {
  EXPECT_EQ(Inner(Written(Form::kVCard40, CardOf("2.1", in_21_)).text), in_40_);
}
TEST_P(CardForms, GoFrom30To40) {
  EXPECT_EQ(Inner(Written(Form::kVCard40, CardOf("3.0", in_30_)).text), in_40_);
}
TEST_P(CardForms, StayAsTheyAreIn30) {
  EXPECT_EQ(Inner(Written(Form::kVCard30, CardOf("3.0", in_30_)).text), in_30_);
}
TEST_P(CardForms, StayAsTheyAreIn40) {
  EXPECT_EQ(Inner(Written(Form::kVCard40, CardOf("4.0", in_40_)).text), in_40_);
}
// N is made of FN there and comes first.
TEST_P(CardForms, GoFrom40To30) {
  EXPECT_EQ(Inner(Written(Form::kVCard30, CardOf("4.0", in_40_)).text), in_30_);
}
TEST_P(CardForms, GoFrom40To21) {
  EXPECT_EQ(Inner(Written(Form::kVCard21, CardOf("4.0", in_40_)).text), in_21_);
}
TEST_P(CardForms, GoFrom30To21) {
  EXPECT_EQ(Inner(Written(Form::kVCard21, CardOf("3.0", in_30_)).text), in_21_);
}

INSTANTIATE_TEST_SUITE_P(
    Properties, CardForms,
    testing::Values(
        FormsCase{{}, {}, {}},
        FormsCase{
            {"ORG:Firm;Sales\\; South"}, {"ORG:Firm;Sales\\; South"}, {"ORG:Firm;Sales\\; South"}},
        FormsCase{{"TITLE:a, b"}, {"TITLE:a\\, b"}, {"TITLE:a\\, b"}},
        FormsCase{{"NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab"}, {"NOTE:a\\nb"}, {"NOTE:a\\nb"}},
        FormsCase{{"NOTE:C:\\\\new\\\\,x"}, {"NOTE:C:\\\\new\\\\\\,x"}, {"NOTE:C:\\\\new\\\\\\,x"}},
        FormsCase{{"TITLE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Z=C3=BC"},
                  {"TITLE:Z\xC3\xBC"},
                  {"TITLE:Z\xC3\xBC"}},
        FormsCase{{"TEL;HOME;VOICE:1"}, {"TEL;TYPE=home,voice:1"}, {"TEL;TYPE=\"home,voice\":1"}},
        FormsCase{{"TEL;WORK;FAX;PREF:1"},
                  {"TEL;TYPE=work,fax,pref:1"},
                  {"TEL;TYPE=\"work,fax\";PREF=1:1"}},
        FormsCase{{"TEL;CELL:1"}, {"TEL;TYPE=cell:1"}, {"TEL;TYPE=cell:1"}},
        FormsCase{{"TEL;PAGER:1"}, {"TEL;TYPE=pager:1"}, {"TEL;TYPE=pager:1"}},
        FormsCase{{"TEL;CAR:1"}, {"TEL;TYPE=car:1"}, {"TEL;TYPE=x-car:1"}},
        FormsCase{{"TEL;TYPE=X-RADIO:1"}, {"TEL;TYPE=x-radio:1"}, {"TEL;TYPE=x-radio:1"}},
        FormsCase{
            {"TEL;TYPE=X-ASSISTANT:1"}, {"TEL;TYPE=x-assistant:1"}, {"TEL;TYPE=x-assistant:1"}},
        FormsCase{{"TEL;ISDN;MSG:1"}, {"TEL;TYPE=isdn,msg:1"}, {"TEL;TYPE=\"x-isdn,x-msg\":1"}},
        FormsCase{
            {"EMAIL;INTERNET;PREF:a@b"}, {"EMAIL;TYPE=internet,pref:a@b"}, {"EMAIL;PREF=1:a@b"}},
        FormsCase{
            {"EMAIL;INTERNET;HOME:a@b"}, {"EMAIL;TYPE=internet,home:a@b"}, {"EMAIL;TYPE=home:a@b"}},
        FormsCase{{"EMAIL;X400:c=de"}, {"EMAIL;TYPE=x400:c=de"}, {"EMAIL;TYPE=x-x400:c=de"}},
        FormsCase{{"ADR;HOME:;;Road 1, back;Town;;1;X"},
                  {"ADR;TYPE=home:;;Road 1\\, back;Town;;1;X"},
                  {"ADR;TYPE=home:;;Road 1\\, back;Town;;1;X"}},
        FormsCase{{"ADR:;;Road 1;;;;"}, {"ADR;TYPE=postal:;;Road 1;;;;"}, {"ADR:;;Road 1;;;;"}},
        FormsCase{{"URL:http://a.example/?a=b\\;c"},
                  {"URL:http://a.example/?a=b;c"},
                  {"URL:http://a.example/?a=b;c"}},
        FormsCase{{"BDAY:19991231"}, {"BDAY:1999-12-31"}, {"BDAY:19991231"}},
        FormsCase{
            {"X-ANNIVERSARY:19991231"}, {"X-ANNIVERSARY:1999-12-31"}, {"ANNIVERSARY:19991231"}},
        FormsCase{{"X-SPOUSE:Jo, Poe"},
                  {"X-SPOUSE:Jo\\, Poe"},
                  {"RELATED;TYPE=spouse;VALUE=text:Jo\\, Poe"}},
        FormsCase{{"X-CHILDREN:Al,Bo"},
                  {"X-CHILDREN:Al,Bo"},
                  {"RELATED;TYPE=child;VALUE=text:Al", "RELATED;TYPE=child;VALUE=text:Bo"}},
        FormsCase{{"X-ASSISTANT:Cy"}, {"X-ASSISTANT:Cy"}, {"RELATED;TYPE=agent;VALUE=text:Cy"}},
        FormsCase{{"CATEGORIES:a,b"}, {"CATEGORIES:a,b"}, {"CATEGORIES:a,b"}},
        FormsCase{{"NICKNAME:Jo,Joe"}, {"NICKNAME:Jo,Joe"}, {"NICKNAME:Jo,Joe"}},
        FormsCase{{"ROLE:Chair"}, {"ROLE:Chair"}, {"ROLE:Chair"}},
        FormsCase{{"PHOTO;JPEG;ENCODING=BASE64:", " aGVsbG8=", ""},
                  {"PHOTO;ENCODING=b;TYPE=jpeg:aGVsbG8="},
                  {"PHOTO:data:image/jpeg;base64,aGVsbG8="}},
        FormsCase{{"SOUND;WAVE;ENCODING=BASE64:", " aGVsbG8=", ""},
                  {"SOUND;ENCODING=b;TYPE=wave:aGVsbG8="},
                  {"SOUND:data:audio/wav;base64,aGVsbG8="}},
        FormsCase{{"KEY;PGP;ENCODING=BASE64:", " aGVsbG8=", ""},
                  {"KEY;ENCODING=b;TYPE=pgp:aGVsbG8="},
                  {"KEY:data:application/pgp-keys;base64,aGVsbG8="}},
        FormsCase{{"LOGO;GIF;VALUE=URL:http://a.example/x.gif"},
                  {"LOGO;TYPE=gif;VALUE=uri:http://a.example/x.gif"},
                  {"LOGO;MEDIATYPE=image/gif:http://a.example/x.gif"}},
        FormsCase{{"GEO:1.5,-2.5"}, {"GEO:1.5;-2.5"}, {"GEO:geo:1.5,-2.5"}},
        FormsCase{{"TZ:-0500"}, {"TZ:-0500"}, {"TZ:-0500"}},
        FormsCase{{"REV:20260102T030405Z"}, {"REV:20260102T030405Z"}, {"REV:20260102T030405Z"}},
        FormsCase{{"UID:urn:uuid:7"}, {"UID:urn:uuid:7"}, {"UID:urn:uuid:7"}},
        FormsCase{{"UID:seven"}, {"UID:seven"}, {"UID;VALUE=text:seven"}},
        FormsCase{{"MAILER:Post 1.0"}, {"MAILER:Post 1.0"}, {"X-MAILER:Post 1.0"}},
        FormsCase{{"CLASS:PUBLIC"}, {"CLASS:PUBLIC"}, {"X-CLASS:PUBLIC"}},
        FormsCase{{"X-GENDER:F"}, {"X-GENDER:F"}, {"GENDER:F"}},
        FormsCase{{"IMPP:xmpp:a@b"}, {"IMPP:xmpp:a@b"}, {"IMPP:xmpp:a@b"}},
        FormsCase{{"X-FOO;X-BAR=1:a;b\\;c"}, {"X-FOO;X-BAR=1:a;b\\;c"}, {"X-FOO;X-BAR=1:a;b\\;c"}},
        FormsCase{{"TITLE;LANGUAGE=de:Dr"}, {"TITLE;LANGUAGE=de:Dr"}, {"TITLE;LANGUAGE=de:Dr"}},
        FormsCase{{"item1.TEL:1", "item1.X-ABLabel:Boat"},
                  {"item1.TEL:1", "item1.X-ABLabel:Boat"},
                  {"item1.TEL:1", "item1.X-ABLabel:Boat"}}));

// ---- Names --------------------------------------------------------------------------------------------------

TEST(CardWriter, Writes40WithItsVersionFirst) {
  EXPECT_EQ(
      Written(Form::kVCard40, AsObject("BEGIN:VCARD\r\nFN:Lee\r\nVERSION:4.0\r\nEND:VCARD\r\n"))
          .text,
      "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:Lee\r\nEND:VCARD\r\n");
}

TEST(CardWriter, KeepsANameThatSaysMoreThanTheFormattedOne) {
  EXPECT_THAT(Inner(Written(Form::kVCard40, Card("2.1", {"N:Lee;Ann", "FN:Ann Lee"})).text),
              ElementsAre("N:Lee;Ann;;;", "FN:Ann Lee"));
}

TEST(CardWriter, MakesAFormattedNameAsOneSaysIt) {
  EXPECT_THAT(Inner(Written(Form::kVCard30, Card("2.1", {"N:Lee;Ann;M.;Dr;Jr"})).text),
              ElementsAre("FN:Dr Ann M. Lee Jr", "N:Lee;Ann;M.;Dr;Jr"));
  EXPECT_THAT(Inner(Written(Form::kVCard40, Card("2.1", {"ORG:Firm", "TEL:1"})).text),
              ElementsAre("FN:Firm", "ORG:Firm", "TEL:1"));
  EXPECT_THAT(Inner(Written(Form::kVCard40, Card("2.1", {"TEL:1", "EMAIL:a@b"})).text),
              ElementsAre("FN:a@b", "TEL:1", "EMAIL:a@b"));
}

TEST(CardWriter, KeepsListsInNamesInTheLaterVersions) {
  const ObjectText card = Card("4.0", {"FN:x", "N:Lee;Ann,Mary\\, B;;;"});
  EXPECT_THAT(Inner(Written(Form::kVCard30, card).text),
              ElementsAre("FN:x", "N:Lee;Ann,Mary\\, B;;;"));
  EXPECT_THAT(Inner(Written(Form::kVCard21, card).text),
              ElementsAre("FN:x", "N:Lee;Ann Mary, B;;;"));
}

// ---- Things that one version says in another way ------------------------------------------------------------

TEST(CardWriter, WritesALabelWithItsAddressIn40) {
  const ObjectText in_40 =
      Card("4.0", {"FN:Lee", "ADR;TYPE=home;LABEL=\"Road 1^nTown: X\":;;Road 1;Town;;;"});
  const ObjectText in_30 = Card("3.0", {"N:Lee;;;;", "FN:Lee", "LABEL;TYPE=home:Road 1\\nTown: X",
                                        "ADR;TYPE=home:;;Road 1;Town;;;"});
  EXPECT_EQ(Written(Form::kVCard40, in_30).text, in_40.text);
  EXPECT_EQ(Written(Form::kVCard30, in_40).text, in_30.text);
  EXPECT_THAT(Inner(Written(Form::kVCard40, Card("3.0", {"FN:Lee", "LABEL;TYPE=home:Road"})).text),
              ElementsAre("FN:Lee", "X-LABEL;TYPE=home:Road"));
}

TEST(CardWriter, WritesTheKeyForSortingWithTheNameIn40) {
  const ObjectText in_30 = Card("3.0", {"N:van Lee;Ann;;;", "SORT-STRING:Lee", "FN:Ann van Lee"});
  const ObjectText in_40 = Card("4.0", {"N;SORT-AS=Lee:van Lee;Ann;;;", "FN:Ann van Lee"});
  EXPECT_EQ(Written(Form::kVCard40, in_30).text, in_40.text);
  EXPECT_EQ(Written(Form::kVCard30, in_40).text, in_30.text);
}

TEST(CardWriter, WritesTheOfficeIntoTheAddressAtWork) {
  EXPECT_THAT(Inner(Written(Form::kVCard40,
                            Card("2.1", {"FN:Lee", "ADR;WORK:;;Road", "X-MICROSOFT-OFFICELOC:B7"}))
                        .text),
              ElementsAre("FN:Lee", "ADR;TYPE=work:;B7;Road;;;;"));
  EXPECT_THAT(
      Inner(Written(Form::kVCard40, Card("2.1", {"FN:Lee", "X-MICROSOFT-OFFICELOC:B7"})).text),
      ElementsAre("FN:Lee", "ADR;TYPE=work:;B7;;;;;"));
}

TEST(CardWriter, KeepsACardInsideOfACard) {
  const ObjectText in_21 = Card("2.1", {"N:Lee;;;;", "FN:Lee", "AGENT:", "BEGIN:VCARD",
                                        "VERSION:2.1", "N:Poe;Al", "END:VCARD", "TEL;CELL:1"});
  const std::string in_40 = Written(Form::kVCard40, in_21).text;
  EXPECT_THAT(Inner(in_40),
              ElementsAre("FN:Lee", "X-AGENT:BEGIN:VCARD\\nVERSION:2.1\\nN:Poe\\;Al\\nEND:VCARD\\n",
                          "TEL;TYPE=cell:1"));
  EXPECT_EQ(Written(Form::kVCard21, AsObject(in_40)).text, in_21.text);
}

TEST(CardWriter, KeepsPreferencesInOrderWhereThereIsOnlyOne) {
  EXPECT_THAT(Inner(Written(Form::kVCard21,
                            Card("4.0", {"FN:x", "N:x;y;;;", "TEL;PREF=20:2", "TEL;PREF=5:1"}))
                        .text),
              ElementsAre("FN:x", "N:x;y;;;", "TEL:2", "TEL;PREF:1"));
}

TEST(CardWriter, WritesDatesWithoutAPartAsEachVersionHasThem) {
  EXPECT_THAT(Inner(Written(Form::kVCard40, Card("3.0", {"FN:x", "BDAY:--12-31"})).text),
              ElementsAre("FN:x", "BDAY:--1231"));
  EXPECT_THAT(Inner(Written(Form::kVCard40, Card("3.0", {"FN:x", "BDAY:in winter"})).text),
              ElementsAre("FN:x", "BDAY;VALUE=text:in winter"));
  EXPECT_THAT(
      Inner(Written(Form::kVCard40, Card("3.0", {"FN:x", "BDAY:1999-12-31T10:00:00-05:00"})).text),
      ElementsAre("FN:x", "BDAY:19991231T100000-0500"));
  EXPECT_THAT(
      Inner(Written(Form::kVCard40, Card("3.0", {"FN:x", "BDAY:1999-12-31T00:00:00Z"})).text),
      ElementsAre("FN:x", "BDAY:19991231"));
  EXPECT_THAT(
      Inner(Written(Form::kVCard40, Card("3.0", {"FN:x", "REV:1999-12-31T10:00:00Z"})).text),
      ElementsAre("FN:x", "REV:19991231T100000Z"));
}

TEST(CardWriter, ReportsAParameterThat21CannotHold) {
  const auto written =
      Written(Form::kVCard21, Card("4.0", {"FN:x", "N:x;;;;", "TITLE;X-FOO=\"a:b\":T"}));
  EXPECT_THAT(Inner(written.text), ElementsAre("FN:x", "N:x;;;;", "TITLE:T"));
  EXPECT_EQ(written.report.dropped, (Happenings{{"parameter X-FOO", 1}}));
}

TEST(CardWriter, WritesABackslashOfAUriAsTheUriHasIt) {
  EXPECT_THAT(Inner(Written(Form::kVCard40, Card("2.1", {"FN:x", "URL:file:a\\\\b"})).text),
              ElementsAre("FN:x", "URL:file:a%5Cb"));
}

TEST(CardWriter, FoldsLongLinesOfTheLaterVersions) {
  const Lines lines = LinesOf(
      Written(Form::kVCard30, Card("2.1", {"N:x;;;;", "FN:x", "NOTE:" + std::string(100, 'a')}))
          .text);
  EXPECT_EQ(lines[4], "NOTE:" + std::string(70, 'a'));
  EXPECT_EQ(lines[5], " " + std::string(30, 'a'));
}

// ---- The library's own cards --------------------------------------------------------------------------------

const ObjectText& CardOfTheLibrary() {
  static const ObjectText card = Card("2.1", {"N:Lee;Ann;;;",
                                              "FN:",
                                              "BDAY:",
                                              "ADR;HOME:;;;;;;",
                                              "ADR;WORK:;B7;Road;;;;",
                                              "ADR:;;;;;;",
                                              "ORG:Firm;Sales",
                                              "TEL;HOME;VOICE:",
                                              "TEL;CELL:1",
                                              "TEL;TYPE=X-ASSISTANT:2",
                                              "TEL;RADIO:3",
                                              "TEL;TYPE=X-RADIO:3",
                                              "EMAIL;INTERNET;PREF:a@b",
                                              "EMAIL;INTERNET:",
                                              "X-SPOUSE:Jo",
                                              "X-CAT:a,b",
                                              "DEPT:Sales",
                                              "X-MICROSOFT-OFFICELOC:B7",
                                              "X-MICROSOFT-ASST_TEL:2",
                                              "SPOUSE:Jo",
                                              "CATEGORIES:a,b",
                                              "ANNIVERSARY:",
                                              "X-IRMC-LUID:0A"});
  return card;
}

TEST(CardWriter, LeavesOutWhatTheLibraryWritesBesideTheContent) {
  EXPECT_THAT(
      Inner(Written(Form::kVCard40, CardOfTheLibrary(), Origin::kLibrary).text),
      ElementsAre("FN:Ann Lee", "N:Lee;Ann;;;", "ADR;TYPE=work:;B7;Road;;;;", "ORG:Firm;Sales",
                  "TEL;TYPE=cell:1", "TEL;TYPE=x-assistant:2", "TEL;TYPE=x-radio:3",
                  "EMAIL;PREF=1:a@b", "RELATED;TYPE=spouse;VALUE=text:Jo", "CATEGORIES:a,b"));
}

TEST(CardWriter, WritesTheUidThatItIsGiven) {
  const dialects::WriterSettings settings{{}, Origin::kLibrary, "urn:uuid:9"};
  const auto writer = dialects::MakeCardWriter(Form::kVCard30, settings);
  EXPECT_THAT(Inner(writer->Write(Card("2.1", {"N:x;;;;", "FN:x"})).text),
              ElementsAre("N:x;;;;", "FN:x", "UID:urn:uuid:9"));
  EXPECT_THAT(Inner(writer->Write(Card("2.1", {"N:x;;;;", "FN:x", "UID:7"})).text),
              ElementsAre("N:x;;;;", "FN:x", "UID:7"));
}

TEST(CardWriter, HasTheFormsOfCardsAlone) {
  const dialects::WriterSettings settings;
  for (const Form form :
       {Form::kVCal10, Form::kICal20, Form::kVNote, Form::kVMessage, Form::kEml, Form::kMbox}) {
    EXPECT_EQ(dialects::MakeCardWriter(form, settings), nullptr);
  }
}

// ---- For people ---------------------------------------------------------------------------------------------

const ObjectText& CardForPeople() {
  static const ObjectText card =
      Card("3.0", {"N:Lee;Ann;;;", "NOTE:a<b\\nc", "TEL;TYPE=cell,work:1", "BDAY:1999-12-31",
                   "ADR;TYPE=home:;;Road 1;Town;;;", "item1.EMAIL:a@b", "item1.X-ABLabel:Boat",
                   "PHOTO;ENCODING=b:aGVsbG8="});
  return card;
}

TEST(CardWriter, WritesLinesForPeople) {
  const auto written = Written(Form::kText, CardForPeople());
  EXPECT_EQ(written.text,
            "Name: Ann Lee\n"
            "Telephone (work, mobile): 1\n"
            "Email (Boat): a@b\n"
            "Address (home): Road 1, Town\n"
            "Birthday: 1999-12-31\n"
            "Note: a<b\n"
            "  c\n"
            "\n");
  EXPECT_EQ(written.report.dropped, (Happenings{{"PHOTO", 1}}));
}

TEST(CardWriter, WritesAPageForPeople) {
  const dialects::WriterSettings settings;
  const auto writer = dialects::MakeCardWriter(Form::kHtml, settings);
  EXPECT_EQ(
      writer->Begin() +
          writer->Write(Card("2.1", {"N:Lee", "NOTE;QUOTED-PRINTABLE:a<b&\"=0Ac"})).text +
          writer->End(),
      "<!DOCTYPE html>\n<html>\n<head>\n<meta "
      "charset=\"utf-8\">\n<title>Contacts</title>\n</head>\n<body>\n"
      "<dl>\n<dt>Name</dt><dd>Lee</dd>\n<dt>Note</dt><dd>a&lt;b&amp;&quot;<br>\nc</dd>\n</dl>\n"
      "</body>\n</html>\n");
}

}  // namespace
}  // namespace card_writer_test

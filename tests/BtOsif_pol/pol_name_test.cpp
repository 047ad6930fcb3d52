#include <cstring>

#include "BtOsif_pol/pol_contact.h"
#include "BtOsif_pol/pol_dispatch.h"
#include "tests/support/pol_fixture.h"

namespace pol_name_test {
namespace {

using namespace support;

WideText NameOf(ContactRecord record) { return pol_ObjectName(OSIF_STORE_PB, *record); }

TEST(PolName, OfAContactIsItsFormattedName) {
  EXPECT_EQ(NameOf({"N:Lee;Ann", "FN:Miss Ann Lee", "ORG:Acme"}), u"Miss Ann Lee");
}

TEST(PolName, OfAContactWithoutAFormattedNameIsGivenMiddleAndFamilyName) {
  EXPECT_EQ(NameOf({"N:Lee;Ann;May;Dr.;Jr", "ORG:Acme"}), u"Ann May Lee");
}

TEST(PolName, HasOneBlankBetweenThePartsThatThereAre) {
  EXPECT_EQ(NameOf({"N:Lee;Ann"}), u"Ann Lee");
  EXPECT_EQ(NameOf({"N:Lee;;May"}), u"May Lee");
  EXPECT_EQ(NameOf({"N:Lee"}), u"Lee");
  EXPECT_EQ(NameOf({"N:;Ann"}), u"Ann");
}

TEST(PolName, PassesOverAnEmptyFormattedName) {
  EXPECT_EQ(NameOf({"N:Lee;Ann", "FN:"}), u"Ann Lee");
}

TEST(PolName, OfANamelessContactIsItsOrganisation) {
  EXPECT_EQ(NameOf({"N:;;;Dr.;Jr", "ORG:Acme;Sales", "EMAIL;INTERNET:a@b", "TEL:1"}), u"Acme");
}

TEST(PolName, OfAContactWithoutAnOrganisationIsItsFirstMailAddress) {
  EXPECT_EQ(NameOf({"N:", "TEL:1", "EMAIL:a@b", "EMAIL:c@d"}), u"a@b");
}

TEST(PolName, OfAContactWithANumberOnlyIsTheNumber) {
  EXPECT_EQ(NameOf({"N:", "TEL;CELL:1", "TEL;HOME:2"}), u"1");
}

TEST(PolName, OfAnEmptyContactIsEmpty) { EXPECT_EQ(NameOf({}), u""); }

TEST(PolName, IsDecoded) {
  EXPECT_EQ(NameOf({"FN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller\\; S=C3=B6hne"}),
            u"M\u00FCller; S\u00F6hne");
}

TEST(PolName, OfAContactIsTheSameForTheContactAlone) {
  ContactRecord lee{"N:Lee;Ann"};
  EXPECT_EQ(pol_ContactName(lee->contact), u"Ann Lee");
}

TEST(PolName, OfATaskIsItsSummary) {
  OwnedObject task(OSIF_STORE_CAL);
  task->calendarKind = OSIF_CALENDAR_TODO;
  task->calendar.summary = MakeValue({}, {"Buy milk"}).release();
  EXPECT_EQ(pol_ObjectName(OSIF_STORE_CAL, *task), u"Buy milk");
}

TEST(PolName, OfAnEventIsItsSummaryWithTheLocationInParentheses) {
  OwnedObject event(OSIF_STORE_CAL);
  event->calendarKind = OSIF_CALENDAR_EVENT;
  event->calendar.summary = MakeValue({}, {"Lunch"}).release();
  EXPECT_EQ(pol_ObjectName(OSIF_STORE_CAL, *event), u"Lunch");
  event->calendar.tail.event.location = MakeValue({}, {"Room 5"}).release();
  EXPECT_EQ(pol_ObjectName(OSIF_STORE_CAL, *event), u"Lunch (Room 5)");
}

TEST(PolName, OfANoteIsItsSummary) {
  OwnedObject note(OSIF_STORE_NOTE);
  note->note.summary = MakeValue({}, {"Ideas"}).release();
  EXPECT_EQ(pol_ObjectName(OSIF_STORE_NOTE, *note), u"Ideas");
}

TEST(PolName, OfAMessageIsItsSenderAndItsSubject) {
  OwnedObject message(OSIF_STORE_MSG_IN);
  std::strcpy(message->message.subject, "Hello");
  for (int32_t store_id : {OSIF_STORE_MSG_IN, OSIF_STORE_MSG_SENT, OSIF_STORE_MSG_OUT}) {
    EXPECT_EQ(pol_ObjectName(store_id, *message), u"Hello");
  }
  std::strcpy(message->message.from, "ann@lee.org");
  EXPECT_EQ(pol_ObjectName(OSIF_STORE_MSG_IN, *message), u"ann@lee.org - Hello");
}

TEST(PolName, OfAnUnknownStoreIsEmpty) {
  ContactRecord lee{"N:Lee;Ann", "FN:Ann Lee"};
  EXPECT_EQ(pol_ObjectName(6, *lee), u"");
}

}  // namespace
}  // namespace pol_name_test

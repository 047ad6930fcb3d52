// When two texts are of one object, and whether it is as it was.
#include "obex/client/object_content.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "osif.h"
#include "tests/support/temp_folder.h"

namespace object_content_test {
namespace {

using obex::HashOf;
using obex::LuidOf;
using obex::ViewOf;

std::string Card(const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "END:VCARD\r\n";
}
std::string Event(const std::string& lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n" + lines +
         "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

class ObjectContent : public testing::Test {
 protected:
  ObjectContent() { setenv("OSIF_DEVICE", place_.File("device").c_str(), 1); }

  static std::string CardView(const std::string& lines) {
    return ViewOf(OSIF_STORE_PB, Card(lines)).view;
  }
  static std::string EventView(const std::string& lines) {
    return ViewOf(OSIF_STORE_CAL, Event(lines)).view;
  }

  const support::TempFolder place_;
};

TEST_F(ObjectContent, HasTheIdOfItsLine) {
  EXPECT_EQ(LuidOf(Card("N:Lee\r\nX-IRMC-LUID:00A1 \r\n")), "00A1");
  EXPECT_EQ(LuidOf(Card("x-irmc-luid:7\r\n")), "7");
  EXPECT_EQ(LuidOf(Card("N:X-IRMC-LUID:7\r\n")), "");
}

TEST_F(ObjectContent, IsAsItWasWhateverItsIdAndItsFrame) {
  const std::string hash = HashOf(OSIF_STORE_PB, Card("N:Lee\r\n"));
  EXPECT_EQ(HashOf(OSIF_STORE_PB, Card("N:Lee\r\nX-IRMC-LUID:1\r\n")), hash);
  EXPECT_NE(HashOf(OSIF_STORE_PB, Card("N:Ray\r\n")), hash);
  const std::string item = "BEGIN:VEVENT\r\nSUMMARY:Tea\r\nX-IRMC-LUID:1\r\nEND:VEVENT\r\n";
  EXPECT_EQ(HashOf(OSIF_STORE_CAL, item), HashOf(OSIF_STORE_CAL, Event("SUMMARY:Tea\r\n")));
  EXPECT_NE(HashOf(OSIF_STORE_CAL, item), HashOf(OSIF_STORE_CAL, Event("SUMMARY:Sup\r\n")));
}

TEST_F(ObjectContent, LooksTheSameHoweverItIsWritten) {
  const std::string view = CardView("N:M\xC3\xBCller;Ann\r\nTEL;CELL;WORK:1\r\nNOTE:x\r\n");
  EXPECT_NE(view, "");
  EXPECT_EQ(CardView("NOTE:x\r\nTEL;WORK;CELL:1\r\nX-IRMC-LUID:4\r\n"
                     "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Ann;;;\r\n"),
            view);
  EXPECT_EQ(
      CardView(
          "N;CHARSET=UTF-8:M\xC3\xBCller;Ann\r\nTEL;TYPE=CELL;TYPE=WORK;VOICE:1\r\nNOTE:x\r\n"),
      CardView("N;CHARSET=UTF-8:M\xC3\xBCller;Ann\r\nTEL;WORK;CELL:1\r\nNOTE:x\r\n"));
}

TEST_F(ObjectContent, HasItsKindsHoweverTheyAreWritten) {
  EXPECT_EQ(CardView("N:Lee\r\nTEL;X-RADIO:1\r\n"), CardView("N:Lee\r\nTEL;TYPE=X-RADIO:1\r\n"));
  EXPECT_NE(CardView("N:Lee\r\nTEL;X-RADIO:1\r\n"), CardView("N:Lee\r\nTEL:1\r\n"));
}

TEST_F(ObjectContent, LooksDifferentWhereAnyValueIs) {
  const std::string view = CardView("N:Lee;Ann\r\nTEL;CELL:1\r\n");
  for (const char* other :
       {"N:Lee;Anne\r\nTEL;CELL:1\r\n", "N:Lee;Ann\r\nTEL;CELL:2\r\n",
        "N:Lee;Ann\r\nTEL;WORK:1\r\n", "N:Lee;Ann\r\n", "N:Ann;Lee\r\nTEL;CELL:1\r\n",
        "N:Lee;Ann\r\nTEL;CELL:1\r\nNOTE:x\r\n", "N:Lee;Ann\r\nTEL;CELL:1\r\nTEL;WORK:1\r\n"}) {
    EXPECT_NE(CardView(other), view) << other;
  }
}

TEST_F(ObjectContent, LooksTheSameWithWhatAStoreAddsByItself) {
  EXPECT_EQ(
      CardView("N:Lee;Ann;;;\r\nFN:Ann Lee\r\nTEL;HOME;VOICE:1\r\nEMAIL;INTERNET;PREF:a@b\r\n"),
      CardView("N:Lee;Ann\r\nTEL:1\r\nEMAIL:a@b\r\n"));
  EXPECT_EQ(EventView("SUMMARY:Tea\r\nDTSTART:20050314T101500Z\r\nDTEND:20050314T101500Z\r\n"
                      "CLASS:PUBLIC\r\nPRIORITY:0\r\nSTATUS:NEEDS ACTION\r\n"
                      "X-BLUETOOTH-ALLDAYEVENT:FALSE\r\n"),
            EventView("SUMMARY:Tea\r\nDTSTART:20050314T101500Z\r\n"));
}

TEST_F(ObjectContent, OfAnEventIsNotThatOfATaskOrOfAWholeDay) {
  const std::string view = EventView("SUMMARY:Tea\r\nDTSTART:20050314T000000\r\n");
  EXPECT_NE(EventView("SUMMARY:Tea\r\nDTSTART:20050314T000000\r\n"
                      "X-BLUETOOTH-ALLDAYEVENT:TRUE\r\n"),
            view);
  EXPECT_NE(ViewOf(OSIF_STORE_CAL,
                   "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:Tea\r\n"
                   "END:VTODO\r\nEND:VCALENDAR\r\n")
                .view,
            EventView("SUMMARY:Tea\r\nDTSTART:20050314T000000\r\n"));
}

TEST_F(ObjectContent, HasAName) {
  EXPECT_EQ(ViewOf(OSIF_STORE_PB, Card("N:Lee;Ann\r\n")).name, "Ann Lee");
  EXPECT_EQ(ViewOf(OSIF_STORE_CAL, Event("SUMMARY:Tea\r\nDTSTART:20050314T101500Z\r\n")).name,
            "Tea");
}

TEST_F(ObjectContent, OfAnotherStoreOrOfNothingLooksLikeNothing) {
  EXPECT_EQ(ViewOf(OSIF_STORE_CAL, Card("N:Lee;Ann\r\n")).view, "");
  EXPECT_NE(ViewOf(OSIF_STORE_CAL, Card("N:Lee;Ann\r\n")).refusal, "");
  EXPECT_EQ(ViewOf(OSIF_STORE_PB, "hello").view, "");
  EXPECT_NE(ViewOf(OSIF_STORE_PB, "").refusal, "");
}

}  // namespace
}  // namespace object_content_test

// A store that comes as one stream, in pieces of any size.
#include "obex/client/whole_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "osif.h"

namespace whole_store_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Objects(int32_t store_id, const std::string& stream, size_t piece = 7) {
  size_t given = 0;
  obex::WholeStore whole(store_id, [&](char* into, size_t room) {
    const size_t count = stream.copy(into, std::min(room, piece), given);
    given += count;
    return count;
  });
  std::vector<std::string> objects;
  while (auto object = whole.Next()) objects.push_back(*object);
  return objects;
}

std::string Card(const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "END:VCARD\r\n";
}
std::string Item(const std::string& kind, const std::string& lines) {
  return "BEGIN:" + kind + "\r\n" + lines + "END:" + kind + "\r\n";
}
std::string Calendar(const std::string& lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + lines + "END:VCALENDAR\r\n";
}

TEST(WholeStore, GivesCardsOneByOne) {
  const std::string ann = Card("N:Lee;Ann\r\nX-IRMC-LUID:1\r\n");
  const std::string bob = Card("N:Ray;Bob\r\n");
  for (const size_t piece : {1U, 5U, 1000U}) {
    EXPECT_THAT(Objects(OSIF_STORE_PB, ann + bob, piece), ElementsAre(ann, bob)) << piece;
  }
}

TEST(WholeStore, OfNothingIsEmpty) {
  EXPECT_THAT(Objects(OSIF_STORE_PB, ""), IsEmpty());
  EXPECT_THAT(Objects(OSIF_STORE_CAL, ""), IsEmpty());
  EXPECT_THAT(Objects(OSIF_STORE_CAL, Calendar("")), IsEmpty());
}

TEST(WholeStore, GivesEachItemOfACalendarAFrameWithTheCalendarsLines) {
  const std::string tea = Item("VEVENT", "SUMMARY:Tea\r\nX-IRMC-LUID:1\r\n");
  const std::string sweep = Item("VTODO", "SUMMARY:Sweep\r\n");
  for (const size_t piece : {1U, 5U, 1000U}) {
    EXPECT_THAT(Objects(OSIF_STORE_CAL, Calendar("TZ:+01\r\n" + tea + sweep), piece),
                ElementsAre(Calendar("TZ:+01\r\n" + tea), Calendar("TZ:+01\r\n" + sweep)))
        << piece;
  }
}

TEST(WholeStore, TakesSeveralCalendarsAsWell) {
  const std::string tea = Item("VEVENT", "SUMMARY:Tea\r\n");
  EXPECT_THAT(Objects(OSIF_STORE_CAL, Calendar("TZ:+01\r\n" + tea) + Calendar(tea)),
              ElementsAre(Calendar("TZ:+01\r\n" + tea), Calendar(tea)));
}

TEST(WholeStore, DoesNotTakeTextForTheEndOfAnItem) {
  const std::string tea = Item(
      "VEVENT", "DESCRIPTION;ENCODING=QUOTED-PRINTABLE:a=\r\nEND:VEVENT=\r\nb\r\nSUMMARY:Tea\r\n");
  EXPECT_THAT(Objects(OSIF_STORE_CAL, Calendar(tea)), ElementsAre(Calendar(tea)));
}

TEST(WholeStore, TakesTheEndOfAnItemAfterBase64) {
  const std::string tea = Item("VEVENT", "AALARM;ENCODING=BASE64:YQ==\r\n");
  const std::string sup = Item("VEVENT", "SUMMARY:Sup\r\n");
  EXPECT_THAT(Objects(OSIF_STORE_CAL, Calendar(tea + sup)),
              ElementsAre(Calendar(tea), Calendar(sup)));
}

TEST(WholeStore, GivesWhatIsCutOffEmpty) {
  EXPECT_THAT(Objects(OSIF_STORE_PB, "BEGIN:VCARD\r\nN:Lee\r\n"), ElementsAre(""));
  EXPECT_THAT(Objects(OSIF_STORE_CAL, "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:x\r\n"),
              ElementsAre(""));
}

}  // namespace
}  // namespace whole_store_test

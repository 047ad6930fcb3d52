// Where a likeness decides which thing of a file is meant.
#include <gmock/gmock.h>

#include "tests/mirror/merge_support.h"

namespace merge_corners_test {
namespace {

using merge_support::Lines;
using mirror::MergeStoreChange;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Card(std::initializer_list<std::string_view> numbers) {
  std::string text = Lines({"BEGIN:VCARD", "VERSION:3.0", "UID:a", "FN:Ann Lee", "N:Lee;Ann;;;"});
  for (const std::string_view number : numbers) {
    text.append("TEL;TYPE=HOME:").append(number).append("\r\n");
  }
  return text + "END:VCARD\r\n";
}

TEST(MergeCorners, NumbersAreToldApartByStarsAndHashesAsWellAsByDigits) {
  const std::string file = Card({"* 12 34", "# 12 34"});
  const mirror::Merged merged = MergeStoreChange(
      {OSIF_STORE_PB, Card({"#1234", "*1234"}), Card({"#9999", "*1234"}), file, file});
  EXPECT_EQ(merged.text, Card({"* 12 34", "#9999"}));
  EXPECT_THAT(merged.conflicts, IsEmpty());
}

std::string Event(std::string_view lines) {
  return Lines({"BEGIN:VCALENDAR", "VERSION:2.0", "PRODID:x", "BEGIN:VEVENT", "UID:e",
                "DTSTART:20270105T100000Z", "DTEND:20270105T110000Z", "SUMMARY:Tea"}) +
         std::string(lines) + "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

std::string Alarm(const std::string& trigger) {
  return "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Tea\r\nTRIGGER" + trigger +
         "\r\nEND:VALARM\r\n";
}

TEST(MergeCorners, TwoAlarmsThatBothSidesHaveAddedAreAConflict) {
  const mirror::Merged merged = MergeStoreChange(
      {OSIF_STORE_CAL, Event(""), Event(Alarm(":-PT15M")), Event(""), Event(Alarm(":-PT30M"))});
  EXPECT_THAT(merged.conflicts, ElementsAre("VALARM"));
}

TEST(MergeCorners, OfTextsThatSayNoEndNoneIsTaken) {
  const auto lasting = [](const std::string& duration) {
    return Lines({"BEGIN:VCALENDAR", "VERSION:2.0", "BEGIN:VEVENT", "UID:e",
                  "DTSTART:20270105T100000Z", "DURATION:" + duration, "SUMMARY:Tea", "END:VEVENT",
                  "END:VCALENDAR"});
  };
  const mirror::Merged merged = MergeStoreChange(
      {OSIF_STORE_CAL, lasting("PT1H"), lasting("PT2H"), lasting("PT1H"), lasting("PT1H")});
  EXPECT_EQ(merged.text, lasting("PT1H"));
  EXPECT_THAT(merged.conflicts, IsEmpty());
}

// The times of when it was written follow the start.
TEST(MergeCorners, AnAlarmAtATimeIsTheOneThatManyMinutesBeforeTheStart) {
  const std::string stamps = "CREATED:20260101T000000Z\r\nLAST-MODIFIED:20260102T000000Z\r\n";
  const std::string first = Alarm(";VALUE=DATE-TIME:20270105T080000Z");
  const std::string second = Alarm(";VALUE=DATE-TIME:20270105T094500Z");
  const std::string file = Event(stamps + first + second);
  const mirror::Merged merged =
      MergeStoreChange({OSIF_STORE_CAL, Event(Alarm(":-PT15M")), Event(""), file, file});
  EXPECT_EQ(merged.text, Event(stamps + first));
}

}  // namespace
}  // namespace merge_corners_test

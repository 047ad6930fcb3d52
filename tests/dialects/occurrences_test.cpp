#include "dialects/occurrences.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dialects/calendar_look.h"
#include "tests/support/environment.h"

namespace occurrences_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// 2026-11-22 12:00 UTC.
constexpr std::time_t kNow = 1795348800;

class Occurrences : public testing::Test {
 protected:
  static std::vector<std::string> Next(const std::string& lines, size_t most = 10) {
    return dialects::NextOccurrences("BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n" + lines +
                                         "END:VEVENT\r\nEND:VCALENDAR\r\n",
                                     {}, kNow, most);
  }

 private:
  support::TimeZone zone_{"Europe/Berlin"};
};

TEST_F(Occurrences, OfASingleEventIsItsStartByTheClockOfTheDevice) {
  EXPECT_THAT(Next("DTSTART:20261124T083000Z\r\nDTEND:20261124T093000Z\r\n"),
              ElementsAre("2026-11-24 09:30"));
  EXPECT_THAT(Next("DTSTART:20261121T083000Z\r\nDTEND:20261121T093000Z\r\n"), IsEmpty());
}

TEST_F(Occurrences, ThatHasBegunAndNotEndedIsTheFirst) {
  EXPECT_THAT(Next("DTSTART:20261122T113000Z\r\nDTEND:20261122T123000Z\r\n"),
              ElementsAre("2026-11-22 12:30"));
}

TEST_F(Occurrences, OfASeriesKeepTheClockOverTheYearAndLeaveOutExceptions) {
  // Mondays at six in the evening; the 30th of November is left out.
  EXPECT_THAT(Next("DTSTART:20261005T160000Z\r\nDTEND:20261005T170000Z\r\nRRULE:W1 MO #0\r\n"
                   "EXDATE:20261130T170000Z\r\n",
                   3),
              ElementsAre("2026-11-23 18:00", "2026-12-07 18:00", "2026-12-14 18:00"));
}

TEST_F(Occurrences, OfASeriesEndWithIt) {
  EXPECT_THAT(Next("DTSTART:20261121T090000Z\r\nDTEND:20261121T100000Z\r\nRRULE:D1 #4\r\n"),
              ElementsAre("2026-11-23 10:00", "2026-11-24 10:00"));
}

TEST_F(Occurrences, OfDaysAreDays) {
  EXPECT_THAT(Next("DTSTART:20200214T000000\r\nDTEND:20200214T235959\r\n"
                   "X-BLUETOOTH-ALLDAYEVENT:TRUE\r\nRRULE:YM1 2 #0\r\n",
                   2),
              ElementsAre("2027-02-14", "2028-02-14"));
}

TEST_F(Occurrences, AreNoMoreThanAskedFor) {
  EXPECT_THAT(Next("DTSTART:20261121T090000Z\r\nRRULE:D1 #0\r\n", 10), SizeIs(10));
}

TEST_F(Occurrences, OfWhatIsNoEventAreNone) {
  EXPECT_THAT(dialects::NextOccurrences("hello", {}, kNow, 10), IsEmpty());
  EXPECT_THAT(dialects::NextOccurrences("BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\n"
                                        "DUE:20261224T000000\r\nEND:VTODO\r\nEND:VCALENDAR\r\n",
                                        {}, kNow, 10),
              IsEmpty());
}

// ---- Within a span --------------------------------------------------------------------------------------

class OccurrencesWithin : public Occurrences {
 protected:
  // Those from the 1st of November 2026 up to the 1st of December.
  static std::vector<dialects::Occurrence> InNovember(const std::string& lines) {
    const auto look = dialects::LookAtItem("BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n" +
                                               lines + "END:VEVENT\r\nEND:VCALENDAR\r\n",
                                           {}, {.year = 2026, .month = 11, .day = 1},
                                           {.year = 2026, .month = 12, .day = 1});
    return look ? look->occurrences : std::vector<dialects::Occurrence>();
  }
  static dialects::CivilTime At(int month, int day, int hour) {
    return {2026, month, day, hour, 0, 0};
  }
};

TEST_F(OccurrencesWithin, AreThoseThatTheSpanTouches) {
  EXPECT_THAT(InNovember("DTSTART:20261031T210000Z\r\nDTEND:20261101T010000Z\r\n"),
              ElementsAre(dialects::Occurrence{At(10, 31, 22), At(11, 1, 2)}));
  EXPECT_THAT(InNovember("DTSTART:20261031T210000Z\r\nDTEND:20261031T230000Z\r\n"), IsEmpty());
  EXPECT_THAT(InNovember("DTSTART:20261130T220000Z\r\nDTEND:20261201T010000Z\r\n"), SizeIs(1));
  EXPECT_THAT(InNovember("DTSTART:20261130T230000Z\r\nDTEND:20261201T010000Z\r\n"), IsEmpty());
}

TEST_F(OccurrencesWithin, OfASeriesFromLongBeforeKeepTheClockAndLeaveOutExceptions) {
  EXPECT_THAT(InNovember("DTSTART:20260406T160000Z\r\nDTEND:20260406T170000Z\r\nRRULE:W2 MO #0\r\n"
                         "EXDATE:20261116T170000Z\r\n"),
              ElementsAre(dialects::Occurrence{At(11, 2, 18), At(11, 2, 19)},
                          dialects::Occurrence{At(11, 30, 18), At(11, 30, 19)}));
}

TEST_F(OccurrencesWithin, OfWholeDaysEndWithTheMidnightAfterThem) {
  EXPECT_THAT(InNovember("DTSTART:20261110T000000\r\nDTEND:20261111T235959\r\n"
                         "X-BLUETOOTH-ALLDAYEVENT:TRUE\r\n"),
              ElementsAre(dialects::Occurrence{At(11, 10, 0), At(11, 12, 0)}));
}

TEST_F(OccurrencesWithin, OfATaskAreNone) {
  const auto task = dialects::LookAtItem(
      "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:Roof\r\nDUE:20261124T000000\r\n"
      "STATUS:COMPLETED\r\nEND:VTODO\r\nEND:VCALENDAR\r\n",
      {}, {.year = 2026, .month = 11, .day = 1}, {.year = 2026, .month = 12, .day = 1});
  ASSERT_TRUE(task);
  EXPECT_TRUE(task->is_task);
  EXPECT_TRUE(task->is_complete);
  EXPECT_EQ(task->summary, "Roof");
  EXPECT_EQ(task->due, (dialects::CivilTime{2026, 11, 24, 0, 0, 0}));
  EXPECT_THAT(task->occurrences, IsEmpty());
}

}  // namespace
}  // namespace occurrences_test

// The calendar's change log: appointments and tasks in one log, each change told once.
#include <gmock/gmock.h>

#include <initializer_list>
#include <string_view>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_dispatch.h"
#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/calendars.h"
#include "tests/support/dates.h"

namespace pol_changelog_calendar_test {
namespace {

using support::CalendarRecord;
using support::EventRecord;
using support::TodoRecord;
using testing::ElementsAre;

constexpr OsifResult kOk = OSIF_OK;

class CalendarLog : public support::ChangeLogTest {
 protected:
  std::string Add(CalendarRecord& record, OsifAnchor* anchor) {
    char id[OSIF_ID_SIZE] = "";
    EXPECT_EQ(POL_AddObject(OSIF_STORE_CAL, record.get(), id, anchor), kOk);
    return id;
  }
  OsifResult Modify(const std::string& id, CalendarRecord& record, OsifAnchor* anchor) {
    return POL_ModifyObject(OSIF_STORE_CAL, id.c_str(), record.get(), anchor);
  }
  std::vector<std::string> CalendarEntries() const { return Entries(Path("pol_cal_change.log")); }
};

TEST_F(CalendarLog, TellsAppointmentsBeforeTasksAndWhatIsGoneLast) {
  TodoRecord todo({"SUMMARY:Buy milk"});
  EventRecord event({"SUMMARY:Budget", "DTSTART:20060501T090000", "DTEND:20060501T100000"});
  const std::string task = Add(todo, nullptr);
  const std::string appointment = Add(event, nullptr);
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  EXPECT_THAT(CalendarEntries(), ElementsAre("M 1 " + appointment, "M 2 " + task));
  EXPECT_EQ(Close(OSIF_STORE_CAL), kOk);
  EXPECT_EQ(POL_DeleteObject(OSIF_STORE_CAL, appointment.c_str(), nullptr), kOk);
  TodoRecord later({"SUMMARY:Buy bread"});
  EXPECT_EQ(Modify(task, later, nullptr), kOk);
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  EXPECT_THAT(CalendarEntries(), ElementsAre("M 1 " + appointment, "M 2 " + task, "M 3 " + task,
                                             "H 4 " + appointment));
}

TEST_F(CalendarLog, RecordsAnAddAndAModifyAsModifiedAndADeleteAsDeleted) {
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  for (const bool is_event : {true, false}) {
    EventRecord event({"SUMMARY:Budget", "DTSTART:20060501T090000", "DTEND:20060501T100000"});
    TodoRecord todo({"SUMMARY:Buy milk"});
    CalendarRecord& record =
        is_event ? static_cast<CalendarRecord&>(event) : static_cast<CalendarRecord&>(todo);
    const uint32_t before = Anchor(OSIF_STORE_CAL).cc;
    OsifAnchor anchor{};
    const std::string id = Add(record, &anchor);
    EXPECT_EQ(CalendarEntries().back(), "M " + std::to_string(before + 1) + " " + id);
    EXPECT_EQ(Modify(id, record, &anchor), kOk);
    EXPECT_EQ(CalendarEntries().back(), "M " + std::to_string(before + 2) + " " + id);
    EXPECT_EQ(POL_DeleteObject(OSIF_STORE_CAL, id.c_str(), &anchor), kOk);
    EXPECT_EQ(CalendarEntries().back(), "H " + std::to_string(before + 3) + " " + id);
    EXPECT_EQ(anchor.cc, before + 3);
  }
}

// What a partner sends.
struct Sent {
  const char* name;
  bool is_event;
  std::initializer_list<std::string_view> lines;
};

const Sent kSent[] = {
    {"Event", true, {"SUMMARY:a", "DTSTART:20060501T090000Z", "DTEND:20060501T100000Z"}},
    {"AllDay", true, {"SUMMARY:a", "DTSTART:20060501", "DTEND:20060502"}},
    {"Reminder",
     true,
     {"SUMMARY:a", "DTSTART:20060501T090000Z", "DTEND:20060501T100000Z",
      "AALARM:20060501T084500Z;;;"}},
    {"Attendees",
     true,
     {"SUMMARY:a", "DTSTART:20060501T090000Z", "DTEND:20060501T100000Z",
      "ATTENDEE:Ann <ann@example.org>", "ATTENDEE:bob@example.org"}},
    {"SeriesWithExceptions",
     true,
     {"SUMMARY:a", "DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:D1 #5",
      "EXDATE:20060502T090000", "EXDATE:20060504T090000"}},
    {"SeriesWithoutEnd",
     true,
     {"SUMMARY:a", "DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:W2 MO WE #0"}},
    {"Task", false, {"SUMMARY:a", "DTSTART:20060501T000000", "DUE:20060503T000000"}},
    {"CompletedTask", false, {"SUMMARY:a", "STATUS:COMPLETED", "COMPLETED:20060502T120000Z"}},
    {"TaskWithReminder", false, {"SUMMARY:a", "DUE:20060503T000000", "AALARM:20060503T084500Z;;;"}},
    {"TaskSeries", false, {"SUMMARY:a", "DTSTART:20060501", "DUE:20060501", "RRULE:W1 MO #4"}},
};

class CalendarLogOf : public CalendarLog,
                      public testing::WithParamInterface<std::tuple<size_t, const char*>> {};

TEST_P(CalendarLogOf, WhatAPartnerStoredWithAnAnchorIsNotToldAgain) {
  const auto [number, zone_name] = GetParam();
  const Sent& sent = kSent[number];
  support::TimeZone zone(zone_name);
  const auto record = [&] {
    return CalendarRecord(sent.is_event ? support::EventText(sent.lines)
                                        : support::TodoText(sent.lines));
  };
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  OsifAnchor anchor{};
  CalendarRecord added = record();
  const std::string id = Add(added, &anchor);
  EXPECT_EQ(Close(OSIF_STORE_CAL), kOk);
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  EXPECT_THAT(CalendarEntries(), ElementsAre("M 1 " + id));
  CalendarRecord modified = record();
  EXPECT_EQ(Modify(id, modified, &anchor), kOk);
  EXPECT_EQ(Close(OSIF_STORE_CAL), kOk);
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  EXPECT_THAT(CalendarEntries(), ElementsAre("M 1 " + id, "M 2 " + id));
}

INSTANTIATE_TEST_SUITE_P(Items, CalendarLogOf,
                         testing::Combine(testing::Range<size_t>(0, std::size(kSent)),
                                          testing::Values("UTC", "America/New_York")),
                         [](const auto& test) {
                           const bool is_utc = std::get<1>(test.param) == std::string_view("UTC");
                           return std::string(kSent[std::get<0>(test.param)].name) +
                                  (is_utc ? "InUtc" : "InNewYork");
                         });

}  // namespace
}  // namespace pol_changelog_calendar_test

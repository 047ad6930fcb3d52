// How much of a zone's history goes out with an object.
#include "dialects/zone_history.h"

#include <gmock/gmock.h>
#include <libical/ical.h>

#include <memory>

#include "dialects/forms.h"
#include "dialects/icalendar.h"
#include "tests/dialects/calendar_support.h"

namespace zone_history_test {
namespace {

using calendar_support::LinesOf;
using calendar_support::Old;
using dialects::CivilTime;
using dialects::ZoneComponent;
using dialects::ZoneHistory;
using dialects::ZoneSince;
using testing::ElementsAre;

ZoneHistory Since(const std::string& name, const CivilTime& time) {
  return ZoneSince(ZoneComponent(name), name, time);
}

TEST(ZoneHistoryOf, TheRulesThatAreInForceHasNothingElse) {
  const ZoneHistory history = Since("Europe/Berlin", {2026, 6, 12, 0, 0, 0});
  EXPECT_EQ(history.text,
            "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\nX-LIC-LOCATION:Europe/Berlin\r\n"
            "BEGIN:DAYLIGHT\r\nTZNAME:CEST\r\nTZOFFSETFROM:+0100\r\nTZOFFSETTO:+0200\r\n"
            "DTSTART:19960331T020000\r\nRRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3\r\nEND:DAYLIGHT\r\n"
            "BEGIN:STANDARD\r\nTZNAME:CET\r\nTZOFFSETFROM:+0200\r\nTZOFFSETTO:+0100\r\n"
            "DTSTART:19961027T030000\r\nRRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10\r\nEND:STANDARD\r\n"
            "END:VTIMEZONE\r\n");
  EXPECT_EQ(history.from, (CivilTime{1996, 3, 31, 2, 0, 0}));
}

TEST(ZoneHistoryOf, AZoneWithoutRulesIsOneOnset) {
  EXPECT_THAT(LinesOf(Since("Asia/Kolkata", {2026, 6, 12, 0, 0, 0}).text,
                      {"BEGIN", "DTSTART", "TZOFFSETTO", "RRULE", "RDATE"}),
              ElementsAre("BEGIN:VTIMEZONE", "BEGIN:STANDARD", "TZOFFSETTO:+0530",
                          "DTSTART:19451015T000000"));
}

TEST(ZoneHistoryOf, AnEarlierTimeGoesBackToIt) {
  const ZoneHistory history = Since("Europe/Berlin", {1985, 1, 1, 0, 0, 0});
  EXPECT_LE(history.from, (CivilTime{1985, 1, 1, 0, 0, 0}));
  EXPECT_GE(history.from, (CivilTime{1980, 1, 1, 0, 0, 0}));
  const ZoneHistory whole = Since("Europe/Berlin", {1890, 1, 1, 0, 0, 0});
  EXPECT_LT(whole.from, (CivilTime{1890, 1, 1, 0, 0, 0}));
  EXPECT_THAT(LinesOf(whole.text, {"DTSTART"}), testing::Contains("DTSTART:18930401T000000"));
}

struct FreeZone {
  void operator()(icaltimezone* zone) const { icaltimezone_free(zone, 1); }
};
using OwnedZone = std::unique_ptr<icaltimezone, FreeZone>;

OwnedZone ZoneOf(const std::string& component) {
  OwnedZone zone(icaltimezone_new());
  EXPECT_NE(icaltimezone_set_component(zone.get(), icalparser_parse_string(component.c_str())), 0);
  return zone;
}

int OffsetAt(icaltimezone* zone, const CivilTime& time) {
  icaltimetype ical = icaltime_null_time();
  ical.year = time.year;
  ical.month = time.month;
  ical.day = time.day;
  ical.hour = time.hour;
  int is_daylight = 0;
  return icaltimezone_get_utc_offset_of_utc_time(zone, &ical, &is_daylight);
}

// By the reader of others, for every third day at two times of it.
TEST(ZoneHistoryOf, EveryZoneTellsTheSameFromItsTimeOn) {
  for (const std::string name :
       {"Europe/Berlin", "Europe/London", "Europe/Lisbon", "Europe/Moscow", "Europe/Istanbul",
        "America/New_York", "America/Sao_Paulo", "America/St_Johns", "America/Caracas",
        "Africa/Casablanca", "Africa/Cairo", "Asia/Kolkata", "Asia/Tehran", "Asia/Pyongyang",
        "Australia/Lord_Howe", "Pacific/Apia", "Antarctica/Troll", "Etc/GMT-3"}) {
    for (const int year : {1950, 1975, 1990, 1999, 2010, 2026}) {
      SCOPED_TRACE(name + " " + std::to_string(year));
      const CivilTime time = {year, 3, 1, 0, 0, 0};
      const OwnedZone whole = ZoneOf(ZoneComponent(name));
      const ZoneHistory history = Since(name, time);
      const OwnedZone part = ZoneOf(history.text);
      const CivilTime begin = std::max(dialects::PlusDays(history.from, 2), {1950, 1, 1, 0, 0, 0});
      EXPECT_LE(history.from, time);
      size_t differences = 0;
      for (int64_t day = 0; day < int64_t{366} * (2036 - begin.year); day += 3) {
        CivilTime then = dialects::PlusDays(begin, day);
        for (const int hour : {0, 12}) {
          then.hour = hour;
          if (OffsetAt(whole.get(), then) != OffsetAt(part.get(), then)) ++differences;
        }
      }
      EXPECT_EQ(differences, 0U) << history.text;
    }
  }
}

// ---- In files ----

class ZonesOfFiles : public testing::Test {
 protected:
  std::string Written(std::initializer_list<std::string_view> starts) {
    settings_.origin = dialects::Origin::kLibrary;
    const auto writer = dialects::MakeCalendarWriter(dialects::Form::kICal20, settings_);
    std::string text = writer->Begin();
    for (const std::string_view start : starts) {
      const std::string line = "DTSTART:" + std::string(start);
      text += writer->Write(Old("VEVENT", {"SUMMARY:x", line, "RRULE:D1 #0"})).text;
    }
    return text + writer->End();
  }

 private:
  dialects::WriterSettings settings_;
  support::TimeZone zone_{"Europe/Berlin"};
};

TEST_F(ZonesOfFiles, AreThoseOfTheFirstObjectWhileTheyTellEnough) {
  EXPECT_THAT(LinesOf(Written({"20260612T070000Z", "20010612T070000Z", "20300612T070000Z"}),
                      {"TZID", "DTSTART"}),
              ElementsAre("TZID:Europe/Berlin", "DTSTART:19960331T020000",
                          "DTSTART:19961027T030000", "DTSTART;TZID=Europe/Berlin:20260612T090000",
                          "DTSTART;TZID=Europe/Berlin:20010612T090000",
                          "DTSTART;TZID=Europe/Berlin:20300612T090000"));
}

TEST_F(ZonesOfFiles, HaveAnotherNameForObjectsThatBeginBefore) {
  const std::string text =
      Written({"20260612T070000Z", "19850612T070000Z", "19900612T070000Z", "20260612T070000Z"});
  EXPECT_THAT(LinesOf(text, {"TZID"}),
              ElementsAre("TZID:Europe/Berlin", "TZID:/osif/1985/Europe/Berlin"));
  EXPECT_THAT(LinesOf(text.substr(text.find("BEGIN:VEVENT")), {"DTSTART"}),
              testing::IsSupersetOf({"DTSTART;TZID=Europe/Berlin:20260612T090000",
                                     "DTSTART;TZID=/osif/1985/Europe/Berlin:19850612T090000",
                                     "DTSTART;TZID=/osif/1985/Europe/Berlin:19900612T090000"}));
  // Its own readers know the zone.
  const auto items = dialects::StrictCalendarItems(calendar_support::CalendarObject(text), {});
  ASSERT_EQ(items.size(), 4U);
  EXPECT_THAT(LinesOf(items[1].text, {"DTSTART"}), ElementsAre("DTSTART:19850612T090000"));
}

TEST_F(ZonesOfFiles, OfCopiesThatLackTheirZoneAreAdded) {
  const dialects::WriterSettings settings;
  const auto writer = dialects::MakeCalendarWriter(dialects::Form::kICal20, settings);
  const std::string text = writer
                               ->Write(calendar_support::Modern(
                                   "VEVENT", {"UID:u", "DTSTAMP:20260101T000000Z", "SUMMARY:x",
                                              "DTSTART;TZID=America/New_York:20260612T090000"}))
                               .text;
  EXPECT_THAT(
      LinesOf(text, {"TZID", "DTSTART"}),
      ElementsAre("TZID:America/New_York", "DTSTART:20070311T020000", "DTSTART:20071104T020000",
                  "DTSTART;TZID=America/New_York:20260612T090000"));
}

}  // namespace
}  // namespace zone_history_test

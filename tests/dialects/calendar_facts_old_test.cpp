// What vCalendar 1.0 of devices holds, row by row: what the strict reader gets of it, and what is said of the rest.
#include <gmock/gmock.h>

#include "tests/dialects/calendar_support.h"

namespace calendar_facts_old_test {
namespace {

using calendar_support::CalendarObject;
using calendar_support::JoinedLines;
using calendar_support::LinesOf;
using calendar_support::Old;
using dialects::StrictObject;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Key;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

using Lines = std::vector<std::string>;

class OldFacts : public calendar_support::StrictCalendar {
 protected:
  static StrictObject Event(const Lines& lines, std::string_view frame = "") {
    return Only(Frame("VEVENT", lines, frame));
  }
  static StrictObject Task(const Lines& lines) { return Only(Frame("VTODO", lines, "")); }

  static dialects::ObjectText Frame(const std::string& component, const Lines& lines,
                                    std::string_view frame) {
    std::string text =
        "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + std::string(frame) + "BEGIN:" + component + "\r\n";
    for (const std::string& line : lines) text += line + "\r\n";
    return CalendarObject(text + "END:" + component + "\r\nEND:VCALENDAR\r\n");
  }

  static Lines Summaries(const std::vector<StrictObject>& items) {
    Lines found;
    for (const StrictObject& item : items) {
      for (const std::string& line : LinesOf(item.text, {"SUMMARY"})) found.push_back(line);
    }
    return found;
  }

  // Of all items together.
  static size_t DroppedOf(const std::vector<StrictObject>& items, const std::string& name) {
    size_t count = 0;
    for (const StrictObject& item : items) {
      for (const auto& [what, times] : item.report.dropped) {
        if (what == name || what.starts_with(name + " ")) count += times;
      }
    }
    return count;
  }
};

// ---- Frame ----

TEST_F(OldFacts, ItemsBeforeAndAfterAStrangerAreKept) {
  for (const std::string stranger : {"VTIMEZONE", "VFREEBUSY", "X-THING", ""}) {
    SCOPED_TRACE(stranger);
    const auto items = Strict(CalendarObject(
        JoinedLines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT", "SUMMARY:a",
                     "DTSTART:20260612T090000", "END:VEVENT", "BEGIN:" + stranger, "SUMMARY:lost",
                     "END:" + stranger, "BEGIN:VTODO", "SUMMARY:b", "END:VTODO", "BEGIN:VEVENT",
                     "SUMMARY:c", "DTSTART:20260612T090000", "END:VEVENT", "END:VCALENDAR"})));
    EXPECT_THAT(Summaries(items), ElementsAre("SUMMARY:a", "SUMMARY:b", "SUMMARY:c"));
    if (stranger.starts_with("VF") || stranger.starts_with("X")) {
      EXPECT_EQ(DroppedOf(items, stranger), 1U);
    }
  }
}

TEST_F(OldFacts, JournalEntryIsANote) {
  const auto items = dialects::StrictCalendarItems(
      Old("VJOURNAL", {"SUMMARY:Day", "DESCRIPTION;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab\\; c"}), {});
  ASSERT_THAT(items, SizeIs(1));
  EXPECT_EQ(items[0].kind, dialects::ObjectKind::kNote);
  EXPECT_THAT(items[0].text, StartsWith("BEGIN:VNOTE\r\nVERSION:1.1\r\n"));
  EXPECT_THAT(LinesOf(items[0].text, {"SUMMARY"}), ElementsAre("SUMMARY:Day"));
}

// ---- Whole days ----

TEST_F(OldFacts, EventIsForTheWholeDayThoughItDoesNotSaySo) {
  const Lines one = {"DTSTART:20260612T000000", "DTEND:20260613T000000",
                     "X-BLUETOOTH-ALLDAYEVENT:TRUE"};
  const Lines two = {"DTSTART:20260612T000000", "DTEND:20260614T000000",
                     "X-BLUETOOTH-ALLDAYEVENT:TRUE"};
  const std::vector<std::pair<Lines, Lines>> rows = {
      {{"DTSTART:20260612T090000", "DTEND:20260612T100000", "X-EPOCAGENDAENTRYTYPE:EVENT"}, one},
      {{"DTSTART:20260612T000000", "DTEND:20260612T000000", "X-EPOCAGENDAENTRYTYPE:EVENT"}, one},
      {{"X-EPOCAGENDAENTRYTYPE:ANNIVERSARY", "DTSTART:20260612T090000"}, one},
      {{"DTSTART:20260612"}, one},
      {{"DTSTART:20260612", "DTEND:20260612"}, one},
      {{"DTSTART:20260612T000000", "DTEND:20260612T235959"}, one},
      {{"DTSTART:20260612T000000", "DTEND:20260612T240000"}, one},
      {{"DTSTART:20260612T000000", "DTEND:20260613T000000"}, one},
      {{"DTSTART:20260612T000000", "DTEND:20260613T235959"}, two},
      {{"DTSTART:20260612T000000", "DTEND:20260612T235900", "X-FUNAMBOL-ALLDAY:1"}, one},
      {{"DTSTART:20260612T000000", "DTEND:20260612T235959", "X-FUNAMBOL-ALLDAY:TRUE"}, one},
      {{"X-MICROSOFT-CDO-ALLDAYEVENT:TRUE", "DTSTART:20260612T000000", "DTEND:20260614T000000"},
       two},
  };
  for (const auto& [lines, times] : rows) {
    SCOPED_TRACE(testing::PrintToString(lines));
    Lines all = {"SUMMARY:x"};
    all.insert(all.end(), lines.begin(), lines.end());
    const StrictObject item = Event(all);
    EXPECT_EQ(Times(item), times);
  }
}

TEST_F(OldFacts, EventOfHoursIsNotForTheWholeDay) {
  for (const std::string line : {"X-EPOCAGENDAENTRYTYPE:APPOINTMENT", "X-FUNAMBOL-ALLDAY:0",
                                 "X-MICROSOFT-CDO-ALLDAYEVENT:FALSE"}) {
    SCOPED_TRACE(line);
    EXPECT_THAT(
        Times(Event({"SUMMARY:x", line, "DTSTART:20260612T090000", "DTEND:20260612T100000"})),
        AnyOf(ElementsAre("DTSTART:20260612T090000", "DTEND:20260612T100000"),
              ElementsAre("DTSTART:20260612T090000", "DTEND:20260612T100000",
                          "X-BLUETOOTH-ALLDAYEVENT:FALSE")));
  }
}

// ---- Start and end ----

TEST_F(OldFacts, EventWithoutAnEndEndsWhenItBegins) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T090000"})),
              ElementsAre("DTSTART:20260612T090000", "DTEND:20260612T090000"));
}

TEST_F(OldFacts, DurationGivesTheEnd) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"PT1H30M", "DTEND:20260612T103000"}, {"PT45M", "DTEND:20260612T094500"},
      {"P1DT1H", "DTEND:20260613T100000"},  {"P1W", "DTEND:20260619T090000"},
      {"PT90S", "DTEND:20260612T090130"},
  };
  for (const auto& [duration, end] : rows) {
    SCOPED_TRACE(duration);
    EXPECT_THAT(Times(Event({"SUMMARY:x", "DURATION:" + duration, "DTSTART:20260612T090000"})),
                ElementsAre("DTSTART:20260612T090000", end));
  }
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T090000Z", "DURATION:PT15M"})),
              ElementsAre("DTSTART:20260612T090000Z", "DTEND:20260612T091500Z"));
}

TEST_F(OldFacts, EventWithoutAStartBeginsAtItsEndOrItsAlarm) {
  const StrictObject by_end = Event({"SUMMARY:x", "DTEND:20260612T100000"});
  EXPECT_THAT(Times(by_end), ElementsAre("DTSTART:20260612T100000", "DTEND:20260612T100000"));
  EXPECT_THAT(by_end.report.guessed, Not(IsEmpty()));
  const StrictObject by_alarm = Event({"SUMMARY:x", "DALARM:20260612T084500"});
  EXPECT_THAT(Times(by_alarm), ElementsAre("DTSTART:20260612T084500", "DTEND:20260612T084500"));
  EXPECT_THAT(by_alarm.report.guessed, Not(IsEmpty()));
}

TEST_F(OldFacts, EventWithNeitherATimeNorATextIsRefused) {
  const StrictObject item = Event({"UID:u", "CLASS:PUBLIC"});
  EXPECT_EQ(item.text, "");
  EXPECT_NE(item.refusal, "");
}

// ---- The sender's zone ----

TEST_F(OldFacts, TimesOfAnotherZoneBecomeUtc) {
  const std::string rule = "DAYLIGHT:TRUE;-04;20260308T020000;20261101T020000;EST;EDT\r\n";
  const std::vector<std::tuple<std::string, std::string, std::string>> rows = {
      {"TZ:-05\r\n" + rule, "20260612T090000", "20260612T130000Z"},
      {"TZ:-05\r\n" + rule, "20260112T090000", "20260112T140000Z"},
      // In these weeks the clocks have been changed there, and not here.
      {"TZ:-05\r\n" + rule, "20260320T090000", "20260320T130000Z"},
      {"TZ:-05\r\n" + rule, "20261028T090000", "20261028T130000Z"},
      {"TZ:-05\r\n" + rule, "20260612T090000Z", "20260612T090000Z"},
      {"TZ:-05\r\nDAYLIGHT:FALSE\r\n", "20260612T090000", "20260612T140000Z"},
      // Without rules those of the device.
      {"TZ:-05\r\n", "20260612T090000", "20260612T130000Z"},
      {"TZ:-05\r\n", "20260112T090000", "20260112T140000Z"},
      {"TZ:+0530\r\nDAYLIGHT:FALSE\r\n", "20260612T090000", "20260612T033000Z"},
      {"TZ:+05:30\r\nDAYLIGHT:FALSE\r\n", "20260612T090000", "20260612T033000Z"},
      {"TZ:+01\r\n", "20260612T090000", "20260612T090000"},
      {"TZ:+01:00\r\n", "20260112T090000", "20260112T090000"},
  };
  for (const auto& [frame, start, strict] : rows) {
    SCOPED_TRACE(frame + start);
    EXPECT_THAT(LinesOf(Event({"SUMMARY:x", "DTSTART:" + start}, frame).text, {"DTSTART"}),
                ElementsAre("DTSTART:" + strict));
  }
}

TEST_F(OldFacts, WholeDaysOfAnotherZoneStayTheirDays) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612"}, "TZ:-05\r\n")),
              ElementsAre("DTSTART:20260612T000000", "DTEND:20260613T000000",
                          "X-BLUETOOTH-ALLDAYEVENT:TRUE"));
}

// ---- Forms of times ----

TEST_F(OldFacts, TimesOfAllFormsAreUnderstood) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"20260612T0800Z", "20260612T080000Z"},
      {"20260612T0800", "20260612T080000"},
      {"20260612T080000-0400", "20260612T120000Z"},
      {"20260612T080000+05:30", "20260612T023000Z"},
      {"2026-06-12T08:30:00Z", "20260612T083000Z"},
      {"2026-06-12T08:30:00", "20260612T083000"},
      {"2026-06-12T08:30:00-04:00", "20260612T123000Z"},
      {" 20260612T080000 ", "20260612T080000"},
  };
  for (const auto& [sent, strict] : rows) {
    SCOPED_TRACE(sent);
    EXPECT_THAT(LinesOf(Event({"SUMMARY:x", "DTSTART:" + sent}).text, {"DTSTART"}),
                ElementsAre("DTSTART:" + strict));
  }
}

// ---- Exceptions, further dates, changed occurrences ----

TEST_F(OldFacts, EveryExceptionOfAListHasALineOfItsOwn) {
  for (const std::string list :
       {"20260619T090000;20260703T090000", "20260619T090000,20260703T090000", "20260619;20260703",
        "20260619T120000Z; 20260703T120000Z"}) {
    SCOPED_TRACE(list);
    const StrictObject item =
        Event({"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:W1 FR #10", "EXDATE:" + list});
    EXPECT_THAT(LinesOf(item.text, {"EXDATE"}),
                ElementsAre(StartsWith("EXDATE:20260619"), StartsWith("EXDATE:20260703")));
    EXPECT_TRUE(item.report.dropped.empty());
  }
}

TEST_F(OldFacts, CategoriesAreOneListWithCommas) {
  EXPECT_THAT(LinesOf(Event({"SUMMARY:x", "DTSTART:20260612T090000", "CATEGORIES:Work;Fun"}).text,
                      {"CATEGORIES"}),
              ElementsAre("CATEGORIES:Work,Fun"));
  EXPECT_THAT(LinesOf(Task({"SUMMARY:x", "CATEGORIES:Work;Fun;Home"}).text, {"CATEGORIES"}),
              ElementsAre("CATEGORIES:Work,Fun,Home"));
}

TEST_F(OldFacts, FurtherDatesAreEventsOfTheirOwn) {
  const auto items =
      Strict(Old("VEVENT", {"UID:u", "SUMMARY:x", "LOCATION:Hall", "DTSTART:20260612T090000",
                            "DTEND:20260612T100000", "RDATE:20260701T110000;20260702T120000"}));
  ASSERT_THAT(items, SizeIs(3));
  EXPECT_THAT(Times(items[0]), ElementsAre("DTSTART:20260612T090000", "DTEND:20260612T100000"));
  EXPECT_THAT(Times(items[1]), ElementsAre("DTSTART:20260701T110000", "DTEND:20260701T120000"));
  EXPECT_THAT(Times(items[2]), ElementsAre("DTSTART:20260702T120000", "DTEND:20260702T130000"));
  for (const StrictObject& item : items) {
    EXPECT_THAT(LinesOf(item.text, {"SUMMARY", "LOCATION", "RRULE"}),
                ElementsAre("SUMMARY:x", "LOCATION:Hall"));
  }
  EXPECT_EQ(items[0].uid, "u");
  EXPECT_NE(items[1].uid, items[0].uid);
  EXPECT_NE(items[2].uid, items[1].uid);
  EXPECT_NE(items[2].uid, items[0].uid);
}

TEST_F(OldFacts, OfVeryManyFurtherDatesTheRestIsReported) {
  std::string text =
      "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:x\r\n"
      "DTSTART:20260612T090000\r\n";
  for (int i = 0; i < 70; ++i) {
    text += "RDATE:20" + std::to_string(27 + i) + "0612T090000\r\n";
  }
  const auto items = Strict(CalendarObject(text + "END:VEVENT\r\nEND:VCALENDAR\r\n"));
  EXPECT_GE(items.size(), 50U);
  EXPECT_LE(items.size(), 51U);
  EXPECT_EQ(items.size() - 1 + DroppedOf(items, "RDATE"), 70U);
}

TEST_F(OldFacts, ExceptionRuleWithinASeriesThatEndsGivesExceptions) {
  for (const std::string rule : {"D2 #5", "D2 #0", "D2 20260620T090000"}) {
    SCOPED_TRACE(rule);
    const auto items = Strict(Frame(
        "VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:D1 #10", "EXRULE:" + rule}, ""));
    ASSERT_THAT(items, SizeIs(1));
    EXPECT_THAT(LinesOf(items[0].text, {"EXDATE"}),
                ElementsAre(StartsWith("EXDATE:20260612"), StartsWith("EXDATE:20260614"),
                            StartsWith("EXDATE:20260616"), StartsWith("EXDATE:20260618"),
                            StartsWith("EXDATE:20260620")));
    EXPECT_EQ(DroppedOf(items, "EXRULE"), 0U);
  }
}

TEST_F(OldFacts, ExceptionRuleThatNeverEndsInASeriesWithoutEndIsReported) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:D1 #0", "EXRULE:D2 #0"});
  EXPECT_THAT(LinesOf(item.text, {"RRULE"}), ElementsAre("RRULE:D1 #0"));
  EXPECT_THAT(item.report.dropped, Contains(Key(StartsWith("EXRULE"))));
}

TEST_F(OldFacts, ChangedOccurrenceIsAnEventOfItsOwnAndAnExceptionOfItsSeries) {
  const Lines series = {
      "BEGIN:VEVENT",          "UID:u",           "SUMMARY:x", "DTSTART:20260612T090000",
      "DTEND:20260612T100000", "RRULE:W1 FR #10", "END:VEVENT"};
  for (const std::string name : {"RECURRENCE-ID", "X-RECURRENCE-ID"}) {
    const Lines change = {"BEGIN:VEVENT",
                          "UID:u",
                          "SUMMARY:x",
                          name + ":20260619T090000",
                          "DTSTART:20260620T140000",
                          "DTEND:20260620T150000",
                          "END:VEVENT"};
    for (const bool change_is_first : {false, true}) {
      SCOPED_TRACE(name + (change_is_first ? " first" : " last"));
      std::string text = "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n";
      for (const Lines* lines :
           change_is_first ? std::vector{&change, &series} : std::vector{&series, &change}) {
        for (const std::string& line : *lines) text += line + "\r\n";
      }
      auto items = Strict(CalendarObject(text + "END:VCALENDAR\r\n"));
      ASSERT_THAT(items, SizeIs(2));
      if (change_is_first) std::swap(items[0], items[1]);
      EXPECT_THAT(
          LinesOf(items[0].text, {"DTSTART", "RRULE", "EXDATE"}),
          ElementsAre("DTSTART:20260612T090000", "RRULE:W1 FR #10", StartsWith("EXDATE:20260619")));
      EXPECT_THAT(LinesOf(items[1].text, {"DTSTART", "DTEND", "RRULE"}),
                  ElementsAre("DTSTART:20260620T140000", "DTEND:20260620T150000"));
      EXPECT_EQ(items[0].uid, "u");
      EXPECT_NE(items[1].uid, "u");
      EXPECT_NE(items[1].uid, "");
    }
  }
}

// ---- Alarms ----

TEST_F(OldFacts, AlarmOfATaskIsAtMidnightOfItsDay) {
  EXPECT_THAT(LinesOf(Task({"SUMMARY:x", "DUE:20260612", "DALARM:20260612T090000"}).text,
                      {"DALARM", "DUE"}),
              ElementsAre("DUE:20260612", "DALARM:20260612T000000"));
  EXPECT_THAT(LinesOf(Task({"SUMMARY:x", "DUE:20260612T180000", "DALARM:20260611T150000"}).text,
                      {"DALARM", "DUE"}),
              ElementsAre("DUE:20260612", "DALARM:20260611T000000"));
}

TEST_F(OldFacts, AlarmOfAnEventIsNotAfterItsStart) {
  struct Row {
    Lines times;
    std::string sent;
    Lines kept;
    bool is_dropped;
  };
  const Lines hours = {"DTSTART:20260612T090000", "DTEND:20260612T100000"};
  const std::vector<Row> rows = {
      {hours, "20260612T084500", {"DALARM:20260612T064500Z"}, false},
      {hours, "20260612T090000", {"DALARM:20260612T070000Z"}, false},
      {hours, "20260612T064500Z", {"DALARM:20260612T064500Z"}, false},
      {hours, "20260612T093000", {"DALARM:20260612T070000Z"}, false},
      {hours, "20260612T110000", {}, true},
      {{"DTSTART:20260612"}, "20260612T080000", {"DALARM:20260612T000000"}, false},
      {{"DTSTART:20260612"}, "20260611T180000", {"DALARM:20260611T180000"}, false},
      {hours, "20260428T090000", {"DALARM:20260428T070000Z"}, false},
      {hours, "20260428T085900", {}, true},
      {hours, "20260101T090000", {}, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.times.front() + " " + row.sent);
    Lines lines = {"SUMMARY:x", "DALARM:" + row.sent + ";;;"};
    lines.insert(lines.end(), row.times.begin(), row.times.end());
    const StrictObject item = Event(lines);
    EXPECT_EQ(LinesOf(item.text, {"DALARM"}), row.kept);
    const auto dropped = Contains(Key(StartsWith("alarm")));
    if (row.is_dropped) {
      EXPECT_THAT(item.report.dropped, dropped);
    } else {
      EXPECT_THAT(item.report.dropped, Not(dropped));
    }
  }
}

TEST_F(OldFacts, AlarmThatIsNoTimeIsLeftOut) {
  for (const std::string alarm : {"00000000T000000", "00000000T000000Z;;;", ";;;", "0", ""}) {
    SCOPED_TRACE(alarm);
    const StrictObject item =
        Event({"SUMMARY:x", "DTSTART:20260612T090000", "DALARM:" + alarm, "LOCATION:y"});
    EXPECT_THAT(LinesOf(item.text, {"DALARM", "AALARM", "LOCATION"}), ElementsAre("LOCATION:y"));
  }
}

TEST_F(OldFacts, SoundingAlarmIsAnAlarm) {
  EXPECT_THAT(LinesOf(Event({"SUMMARY:x", "DTSTART:20260612T090000",
                             "AALARM;TYPE=X-EPOCSOUND;VALUE=URL:20260612T084500;;0;file"})
                          .text,
                      {"DALARM", "AALARM"}),
              ElementsAre("DALARM:20260612T064500Z"));
}

// ---- Days and words of tasks ----

TEST_F(OldFacts, TaskIsDueOnADay) {
  const StrictObject item =
      Task({"SUMMARY:x", "DUE:20260612T150000", "COMPLETED:20260610T080000", "STATUS:COMPLETED"});
  EXPECT_THAT(LinesOf(item.text, {"DUE", "STATUS"}),
              ElementsAre("DUE:20260612", "STATUS:COMPLETED"));
  EXPECT_THAT(item.report.dropped, Contains(testing::Pair(StartsWith("DUE"), 1U)));
  EXPECT_THAT(item.report.dropped, Contains(testing::Pair(StartsWith("COMPLETED"), 1U)));
}

TEST_F(OldFacts, WhatHasNoPlaceIsReported) {
  EXPECT_THAT(Event({"SUMMARY:x", "DTSTART:20260612T090000", "PRIORITY:2"}).report.dropped,
              Contains(Key(StartsWith("PRIORITY"))));
  EXPECT_THAT(Task({"SUMMARY:x", "ATTENDEE:ann@lee.example"}).report.dropped,
              Contains(Key(StartsWith("ATTENDEE"))));
  EXPECT_THAT(Event({"SUMMARY:x", "DTSTART:20260612T090000", "ATTACH;VALUE=URL:file:///a.doc"})
                  .report.dropped,
              Contains(Key(StartsWith("ATTACH"))));
}

TEST_F(OldFacts, WordsOfStatusAreUnderstoodInAllSpellings) {
  for (const std::string word : {"NEEDS ACTION", "NEEDS_ACTION", "NEEDS-ACTION"}) {
    SCOPED_TRACE(word);
    const auto means_it =
        ElementsAre(AnyOf("STATUS:NEEDS ACTION", "STATUS:NEEDS_ACTION", "STATUS:NEEDS-ACTION"));
    EXPECT_THAT(
        LinesOf(Event({"SUMMARY:x", "DTSTART:20260612T090000", "STATUS:" + word}).text, {"STATUS"}),
        means_it);
    const StrictObject task = Task({"SUMMARY:x", "STATUS:" + word});
    EXPECT_THAT(LinesOf(task.text, {"STATUS"}), means_it);
    EXPECT_TRUE(task.report.dropped.empty());
  }
}

TEST_F(OldFacts, PropertiesOfOtherStoresAreLeftOutByTheirNames) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T090000", "UID:0001@a", "SEQUENCE:4",
             "LAST-MODIFIED:20260101T080000Z", "DCREATED:20260101T080000Z", "TRANSP:0",
             "GEO:37.24,-17.87", "X-COLOR:red", "RESOURCES:Projector", "URL:http://a.example/",
             "RELATED-TO:0002@a"});
  EXPECT_EQ(item.text,
            "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:x\r\nDESCRIPTION:\r\n"
            "DTSTART:20260612T090000\r\nDTEND:20260612T090000\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  EXPECT_EQ(item.uid, "0001@a");
  Lines names;
  for (const auto& [name, count] : item.report.dropped) names.push_back(name);
  EXPECT_THAT(names, IsSupersetOf({"SEQUENCE", "LAST-MODIFIED", "DCREATED", "GEO", "X-COLOR",
                                   "RESOURCES", "URL", "RELATED-TO"}));
}

TEST_F(OldFacts, BusyOrFreeIsKept) {
  const auto status = [](const std::string& line) {
    return LinesOf(Event({"SUMMARY:x", "DTSTART:20260612T090000", line}).text, {"STATUS"});
  };
  EXPECT_THAT(status("TRANSP:1"), ElementsAre("STATUS:DECLINED"));
  EXPECT_THAT(status("TRANSP:0"), Not(Contains("STATUS:DECLINED")));
  EXPECT_THAT(status("STATUS:TENTATIVE"), ElementsAre("STATUS:TENTATIVE"));
}

}  // namespace
}  // namespace calendar_facts_old_test

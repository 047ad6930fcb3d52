#include "BtOsif_pol/pol_reminder.h"

#include "tests/BtOsif_pol/calendar_fixture.h"

namespace pol_reminder_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kAfterDue = "OSIF:  Reminder date/time is after the DUE date.";
constexpr const char* kMidnight = "OSIF:  Reminder date/time adjusted to midnight";
constexpr const char* kTooEarly =
    "OSIF:  DALARM 'Reminder date/time' is more than 45 days before the START date.";

class TaskReminder : public CalendarTest {
 protected:
  // "off", or when the task reminds.
  static std::string Reminder(ITask& task) {
    return FlagOf(task, &ITask::get_ReminderSet) ? DateOf(task, &ITask::get_ReminderTime) : "off";
  }
};

class AppointmentReminder : public CalendarTest {
 protected:
  // -1 for none.
  static LONG Minutes(IAppointment& item) {
    return FlagOf(item, &IAppointment::get_ReminderSet)
               ? NumberOf(item, &IAppointment::get_ReminderMinutesBeforeStart)
               : -1;
  }
  // The minutes that an alarm gives an appointment on 1 June 2006 at noon.
  LONG MinutesOf(const std::string& alarm) {
    return Minutes(
        *Appointment({"DTSTART:20060601T120000", "DTEND:20060601T130000", "DALARM:" + alarm}));
  }
};

// ---- Record to task ---------------------------------------------------------------------------------

TEST_F(TaskReminder, IsMovedToTheMidnightOfItsDay) {
  auto task = Task({"DUE:20060510", "DALARM:20060509T143000"});
  EXPECT_EQ(Reminder(*task), "20060509T000000");
  EXPECT_EQ(NumberOf(*task, &ITask::get_ReminderOptions), olDialog);
  EXPECT_THAT(Trace(), ElementsAre(kMidnight));
}

TEST_F(TaskReminder, AtMidnightIsMovedAndToldToo) {
  auto task = Task({"DUE:20060510", "DALARM:20060510T000000"});
  EXPECT_EQ(Reminder(*task), "20060510T000000");
  EXPECT_THAT(Trace(), ElementsAre(kMidnight));
}

TEST_F(TaskReminder, MonthsBeforeTheStartIsTaken) {
  auto task = Task({"DTSTART:20060510", "DUE:20060510", "DALARM:20050101T080000"});
  EXPECT_EQ(Reminder(*task), "20050101T000000");
  EXPECT_THAT(Trace(), ElementsAre(kMidnight));
}

TEST_F(TaskReminder, AfterTheDueDateIsToldAndNotSet) {
  // A task is due at the beginning of its day.
  for (const char* alarm : {"20060510T000001", "20060510T143000", "20060511"}) {
    auto task = Task({"DUE:20060510", "DALARM:" + std::string(alarm)});
    EXPECT_EQ(Reminder(*task), "off") << alarm;
    EXPECT_THAT(Trace(), ElementsAre(kAfterDue));
  }
}

TEST_F(TaskReminder, AfterTheDueDateLeavesTheOneThatIsThere) {
  auto task = NewTask();
  task->put_ReminderSet(-1);
  task->put_ReminderTime(At("20060501T080000"));
  Put({"DUE:20060510", "DALARM:20060511T080000"}, *task);
  EXPECT_EQ(Reminder(*task), "20060501T080000");
}

TEST_F(TaskReminder, OfATaskThatIsNeverDueIsTaken) {
  auto task = Task({"DALARM:20991231T143000"});
  EXPECT_EQ(Reminder(*task), "20991231T000000");
}

TEST_F(TaskReminder, WithoutAnAlarmIsSwitchedOff) {
  for (const char* line : {"SUMMARY:x", "DALARM:", "AALARM:", "DALARM:soon"}) {
    auto task = NewTask();
    task->put_ReminderSet(-1);
    task->put_ReminderTime(At("20060501T080000"));
    Put({line}, *task);
    EXPECT_EQ(Reminder(*task), "off") << line;
  }
}

TEST_F(TaskReminder, BeforeTheFirstDayThatCanBeConvertedIsNone) {
  auto task = NewTask();
  task->put_ReminderSet(-1);
  Put({"DALARM:15001231T080000"}, *task);
  EXPECT_EQ(Reminder(*task), "off");
}

TEST_F(TaskReminder, IsTheDisplayAlarmsElseTheAudioAlarms) {
  EXPECT_EQ(Reminder(*Task({"AALARM:20060501T080000;;3;x", "DALARM:20060502T080000;;3;y"})),
            "20060502T000000");
  EXPECT_EQ(Reminder(*Task({"AALARM:20060501T080000;;3;x"})), "20060501T000000");
  EXPECT_EQ(Reminder(*Task({"AALARM:20060501T080000", "DALARM:;;;x"})), "20060501T000000");
  EXPECT_EQ(Reminder(*Task({"DALARM:20060502T080000", "DALARM:20060503T080000"})),
            "20060502T000000");
}

TEST_F(TaskReminder, AddsTheDialogToItsOptions) {
  auto task = NewTask();
  task->put_ReminderOptions(olLED | olSound);
  Put({"DALARM:20060501T080000"}, *task);
  EXPECT_EQ(NumberOf(*task, &ITask::get_ReminderOptions), olLED | olSound | olDialog);
}

TEST_F(TaskReminder, OfARecurringTaskSavesItFirst) {
  auto recurring = Task({"DTSTART:20060501", "RRULE:D1 #0", "DALARM:20060501"});
  EXPECT_NE(NumberOf(*recurring, &ITask::get_Oid), 0);
  EXPECT_EQ(Reminder(*recurring), "20060501T000000");
  auto single = Task({"DTSTART:20060501", "DALARM:20060501"});
  EXPECT_EQ(NumberOf(*single, &ITask::get_Oid), 0);
}

TEST_F(TaskReminder, InUtcIsTheMidnightOfItsLocalDay) {
  const std::pair<const char*, const char*> zones[] = {{"UTC", "20060501T000000"},
                                                       {"Europe/Berlin", "20060502T000000"},
                                                       {"America/New_York", "20060501T000000"},
                                                       {"Asia/Kolkata", "20060502T000000"},
                                                       {"Australia/Lord_Howe", "20060502T000000"}};
  for (const auto& [name, time] : zones) {
    TimeZone zone(name);
    EXPECT_EQ(Reminder(*Task({"DALARM:20060501T230000Z"})), time) << name;
  }
}

// ---- Record to appointment --------------------------------------------------------------------------

TEST_F(AppointmentReminder, IsTheTimeBeforeTheStart) {
  auto item =
      Appointment({"DTSTART:20060601T120000", "DTEND:20060601T130000", "DALARM:20060601T114500"});
  EXPECT_EQ(Minutes(*item), 15);
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_ReminderOptions), olDialog);
  EXPECT_THAT(Trace(), IsEmpty());
}

struct MinutesCase {
  const char* alarm;
  LONG minutes;
};
void PrintTo(const MinutesCase& alarm, std::ostream* out) { *out << alarm.alarm; }

class AppointmentAlarm : public AppointmentReminder,
                         public testing::WithParamInterface<MinutesCase> {};

TEST_P(AppointmentAlarm, BecomesMinutesWithoutItsSeconds) {
  EXPECT_EQ(MinutesOf(GetParam().alarm), GetParam().minutes);
  EXPECT_THAT(Trace(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Alarms, AppointmentAlarm,
    testing::Values(MinutesCase{"20060601T120000", 0}, MinutesCase{"20060601T115959", 0},
                    MinutesCase{"20060601T115900", 1}, MinutesCase{"20060601T110030", 59},
                    MinutesCase{"20060531T120000", 1440}, MinutesCase{"20060530T103000", 2970},
                    MinutesCase{"20060417T120001", 64799}, MinutesCase{"20060417T120000", 64800},
                    MinutesCase{"20060417T115901", 64800}));

TEST_F(AppointmentReminder, MoreThan45DaysBeforeTheStartIsToldAndNotSet) {
  for (const char* alarm : {"20060417T115900", "20060417T110000", "20060416T120000",
                            "20060401T120000", "19900101T000000"}) {
    EXPECT_EQ(MinutesOf(alarm), -1) << alarm;
    EXPECT_THAT(Trace(), ElementsAre(kTooEarly));
  }
}

TEST_F(AppointmentReminder, AfterTheStartIsToldAndNotSet) {
  for (const char* alarm : {"20060601T120001", "20060601T123000", "20070601T120000"}) {
    EXPECT_EQ(MinutesOf(alarm), -1) << alarm;
    EXPECT_THAT(Trace(), ElementsAre(kAfterDue));
  }
}

TEST_F(AppointmentReminder, ThatCannotBeLeavesTheOneThatIsThere) {
  for (const char* alarm : {"DALARM:20060601T120001", "DALARM:20060401T120000"}) {
    auto item = Saved("20060601T120000", "20060601T130000");
    item->put_ReminderSet(-1);
    item->put_ReminderMinutesBeforeStart(7);
    item->put_ReminderOptions(olLED);
    Put({alarm}, *item);
    EXPECT_EQ(Minutes(*item), 7);
    EXPECT_EQ(NumberOf(*item, &IAppointment::get_ReminderOptions), olLED);
  }
}

TEST_F(AppointmentReminder, WithoutAnAlarmIsSwitchedOff) {
  for (const char* line : {"SUMMARY:x", "DALARM:", "AALARM:;;;x", "DALARM:PT15M"}) {
    auto item = NewAppointment();
    item->put_ReminderSet(-1);
    Put({line}, *item);
    EXPECT_EQ(Minutes(*item), -1) << line;
  }
}

TEST_F(AppointmentReminder, IsTheDisplayAlarmsElseTheAudioAlarms) {
  constexpr const char* kStart = "DTSTART:20060601T120000";
  EXPECT_EQ(Minutes(*Appointment({kStart, "AALARM:20060601T115000", "DALARM:20060601T113000"})),
            30);
  EXPECT_EQ(Minutes(*Appointment({kStart, "AALARM:20060601T115000"})), 10);
  EXPECT_EQ(Minutes(*Appointment({kStart, "AALARM:20060601T115000", "DALARM:;;3"})), 10);
}

TEST_F(AppointmentReminder, AddsTheDialogToItsOptions) {
  auto item = NewAppointment();
  item->put_ReminderOptions(olVibrate);
  Put({"DTSTART:20060601T120000", "DALARM:20060601T114500"}, *item);
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_ReminderOptions), olVibrate | olDialog);
}

TEST_F(AppointmentReminder, IsCountedFromTheMidnightOfAWholeDay) {
  auto item = Appointment(
      {"DTSTART;VALUE=DATE:20060601", "DTEND;VALUE=DATE:20060602", "DALARM:20060531T180000"});
  EXPECT_EQ(Minutes(*item), 360);
}

// ---- Item to record ---------------------------------------------------------------------------------

TEST_F(TaskReminder, GoesOutAsBothAlarms) {
  auto task = NewTask();
  task->put_ReminderTime(At("20060501T083000"));
  EXPECT_THAT(Got(*task).All("dAlarm"), IsEmpty());
  EXPECT_THAT(Got(*task).All("aAlarm"), IsEmpty());
  task->put_ReminderSet(-1);
  EXPECT_THAT(Got(*task).All("dAlarm"), ElementsAre("20060501T083000Z"));
  EXPECT_THAT(Got(*task).All("aAlarm"), ElementsAre("20060501T083000Z"));
}

TEST_F(AppointmentReminder, GoesOutAsBothAlarms) {
  TimeZone zone("Asia/Kolkata");
  auto item = Saved("20060601T120000", "20060601T130000");
  item->put_ReminderMinutesBeforeStart(45);
  EXPECT_THAT(Got(*item).All("dAlarm"), IsEmpty());
  EXPECT_THAT(Got(*item).All("aAlarm"), IsEmpty());
  item->put_ReminderSet(-1);
  EXPECT_THAT(Got(*item).All("dAlarm"), ElementsAre("20060601T054500Z"));
  EXPECT_THAT(Got(*item).All("aAlarm"), ElementsAre("20060601T054500Z"));
}

TEST_F(AppointmentReminder, OfAWholeDayGoesOutInLocalTime) {
  TimeZone zone("Europe/Berlin");
  auto item = Saved("20060601T000000", "20060602T000000");
  item->put_AllDayEvent(-1);
  item->put_ReminderSet(-1);
  item->put_ReminderMinutesBeforeStart(360);
  EXPECT_EQ(Got(*item).Only("dAlarm"), "20060531T180000");
  EXPECT_EQ(Got(*item).Only("aAlarm"), "20060531T180000");
}

// ---- Time zones -------------------------------------------------------------------------------------

struct AlarmCase {
  const char* zone;
  const char* start;  // local
  const char* alarm;  // in UTC
  LONG minutes;       // as the local clocks show them
};
void PrintTo(const AlarmCase& alarm, std::ostream* out) {
  *out << alarm.zone << " " << alarm.alarm;
}

class AlarmOverAChangeOfTheClocks : public AppointmentReminder,
                                    public testing::WithParamInterface<AlarmCase> {};

TEST_P(AlarmOverAChangeOfTheClocks, IsCountedOnTheLocalClocks) {
  TimeZone zone(GetParam().zone);
  const std::string start = GetParam().start;
  auto item = Appointment(
      {"DTSTART:" + start, "DTEND:" + start, "DALARM:" + std::string(GetParam().alarm)});
  EXPECT_EQ(Minutes(*item), GetParam().minutes);
  EXPECT_EQ(Got(*item).Only("dAlarm"), GetParam().alarm);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, AlarmOverAChangeOfTheClocks,
    testing::Values(AlarmCase{"UTC", "20060326T120000", "20060325T120000Z", 1440},
                    AlarmCase{"Europe/Berlin", "20060326T120000", "20060325T110000Z", 1440},
                    AlarmCase{"Europe/Berlin", "20060326T033000", "20060326T003000Z", 120},
                    AlarmCase{"Europe/Berlin", "20061029T120000", "20061028T100000Z", 1440},
                    AlarmCase{"America/New_York", "20060402T120000", "20060401T170000Z", 1440},
                    AlarmCase{"America/New_York", "20061029T120000", "20061028T160000Z", 1440},
                    AlarmCase{"Asia/Kolkata", "20060326T120000", "20060325T063000Z", 1440},
                    AlarmCase{"Australia/Lord_Howe", "20060402T120000", "20060401T010000Z", 1440},
                    AlarmCase{"Australia/Lord_Howe", "20061029T120000", "20061028T013000Z", 1440}));

}  // namespace
}  // namespace pol_reminder_test

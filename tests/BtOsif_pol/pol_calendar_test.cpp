#include "BtOsif_pol/pol_calendar.h"

#include <rapidcheck.h>

#include <ctime>

#include "btosif/osif_generators/vcalendar_writer.h"
#include "tests/BtOsif_pol/calendar_fixture.h"
#include "tests/support/random_text.h"

namespace pol_calendar_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class PolPutTask : public CalendarTest {};
class PolPutAppointment : public CalendarTest {};
class PolGetTask : public CalendarTest {};
class PolGetAppointment : public CalendarTest {};

// ---- Record to task ---------------------------------------------------------------------------------

TEST_F(PolPutTask, WritesEveryFieldToItsProperty) {
  auto task = Task({"SUMMARY:Pay", "CATEGORIES:Home,Money", "DTSTART:20060501", "DUE:20060503",
                    "PRIORITY:1", "STATUS:COMPLETED", "CLASS:PRIVATE", "DESCRIPTION:The bill"});
  EXPECT_EQ(TextOf(*task, &ITask::get_Subject), "Pay");
  EXPECT_EQ(TextOf(*task, &ITask::get_Categories), "Home,Money");
  EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "20060501T000000");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060503T000000");
  EXPECT_EQ(NumberOf(*task, &ITask::get_Importance), 2);
  EXPECT_TRUE(FlagOf(*task, &ITask::get_Complete));
  EXPECT_EQ(NumberOf(*task, &ITask::get_Sensitivity), 2);
  EXPECT_EQ(TextOf(*task, &ITask::get_Body), "The bill");
  EXPECT_THAT(Trace(), IsEmpty());
}

ComPtr<ITask> WithValues(ComPtr<ITask> task) {
  PutText(*task, &ITask::put_Subject, u"Pay");
  PutText(*task, &ITask::put_Categories, u"Home");
  PutText(*task, &ITask::put_Body, u"The bill");
  task->put_StartDate(At("20060501"));
  task->put_DueDate(At("20060503"));
  task->put_Importance(0);
  task->put_Sensitivity(2);
  task->put_Complete(-1);
  return task;
}

TEST_F(PolPutTask, OfAnEmptyRecordLeavesWhatTheTaskHas) {
  auto task = WithValues(NewTask());
  Put({}, *task);
  EXPECT_EQ(TextOf(*task, &ITask::get_Subject), "Pay");
  EXPECT_EQ(TextOf(*task, &ITask::get_Categories), "Home");
  EXPECT_EQ(TextOf(*task, &ITask::get_Body), "The bill");
  EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "20060501T000000");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060503T000000");
  EXPECT_EQ(NumberOf(*task, &ITask::get_Importance), 0);
  EXPECT_EQ(NumberOf(*task, &ITask::get_Sensitivity), 2);
  EXPECT_TRUE(FlagOf(*task, &ITask::get_Complete));
}

TEST_F(PolPutTask, OfEmptyTextsClearsTheCategoriesAndTheCompletionOnly) {
  auto task = WithValues(NewTask());
  Put({"SUMMARY:", "CATEGORIES:", "DTSTART:", "DUE:", "PRIORITY:", "STATUS:", "CLASS:",
       "DESCRIPTION:", "ATTACH:", "RRULE:"},
      *task);
  EXPECT_EQ(TextOf(*task, &ITask::get_Subject), "Pay");
  EXPECT_EQ(TextOf(*task, &ITask::get_Categories), "");
  EXPECT_EQ(TextOf(*task, &ITask::get_Body), "The bill");
  EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "20060501T000000");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060503T000000");
  EXPECT_EQ(NumberOf(*task, &ITask::get_Importance), 0);
  EXPECT_EQ(NumberOf(*task, &ITask::get_Sensitivity), 2);
  EXPECT_FALSE(FlagOf(*task, &ITask::get_Complete));
}

TEST_F(PolPutTask, WithAStartAndNoDueDateIsDueOnItsStart) {
  auto task = Task({"DTSTART:20060501"});
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060501T000000");
  task = Task({"DTSTART:20060501", "DUE:"});
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060501T000000");
}

TEST_F(PolPutTask, WithAStartKeepsADueDateThatTheTaskHas) {
  auto task = NewTask();
  task->put_DueDate(At("20060601"));
  Put({"DTSTART:20060501"}, *task);
  EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "20060501T000000");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060601T000000");
}

TEST_F(PolPutTask, WithADueDateAloneHasNoStart) {
  auto task = Task({"DUE:20060503"});
  EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "none");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060503T000000");
}

TEST_F(PolPutTask, MayBeDueBeforeItStarts) {
  auto task = Task({"DTSTART:20060503", "DUE:20060501"});
  EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "20060503T000000");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060501T000000");
}

TEST_F(PolPutTask, WithDatesThatAreNoneHasNone) {
  auto task = NewTask();
  task->put_StartDate(At("20060501"));
  task->put_DueDate(At("20060501"));
  Put({"DTSTART:soon", "DUE:later"}, *task);
  EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "none");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "none");
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  Error in date 'soon' - cannot convert from 8601",
                                   "OSIF:  Error in date 'later' - cannot convert from 8601"));
}

struct NumberCase {
  const char* text;
  LONG number;
};
void PrintTo(const NumberCase& number, std::ostream* out) { *out << number.text; }

class TaskPriority : public CalendarTest, public testing::WithParamInterface<NumberCase> {};

TEST_P(TaskPriority, BecomesTheImportance) {
  auto task = Task({"PRIORITY:" + std::string(GetParam().text)});
  EXPECT_EQ(NumberOf(*task, &ITask::get_Importance), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Texts, TaskPriority,
                         testing::Values(NumberCase{"1", 2}, NumberCase{"0", 1}, NumberCase{"2", 1},
                                         NumberCase{"3", 0}, NumberCase{"9", 0},
                                         NumberCase{"10", 0}, NumberCase{"1x", 2},
                                         NumberCase{"01", 2}, NumberCase{"99999999999", 0}));

class ItemClass : public CalendarTest, public testing::WithParamInterface<NumberCase> {};

TEST_P(ItemClass, BecomesTheSensitivity) {
  const std::string line = "CLASS:" + std::string(GetParam().text);
  auto task = NewTask();
  auto appointment = NewAppointment();
  // Neither of what the words stand for.
  task->put_Sensitivity(olPersonal);
  appointment->put_Sensitivity(olPersonal);
  Put({line}, *task);
  Put({line}, *appointment);
  EXPECT_EQ(NumberOf(*task, &ITask::get_Sensitivity), GetParam().number);
  EXPECT_EQ(NumberOf(*appointment, &IAppointment::get_Sensitivity), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Texts, ItemClass,
                         testing::Values(NumberCase{"PRIVATE", 2}, NumberCase{"CONFIDENTIAL", 2},
                                         NumberCase{"PUBLIC", 0}, NumberCase{"private", 0},
                                         NumberCase{"SECRET", 0}, NumberCase{"", 1}));

TEST_F(PolPutTask, IsCompletedByTheExactWordOnly) {
  for (const char* status : {"completed", "COMPLETED ", "NEEDS ACTION", "ACCEPTED", ""}) {
    auto task = NewTask();
    task->put_Complete(-1);
    Put({"STATUS:" + std::string(status)}, *task);
    EXPECT_FALSE(FlagOf(*task, &ITask::get_Complete)) << status;
  }
}

TEST_F(PolPutTask, DecodesItsTexts) {
  auto task = Task({"SUMMARY;ENCODING=QUOTED-PRINTABLE:a=3Db", "DESCRIPTION:one=0D=0Atwo\\;three"});
  EXPECT_EQ(TextOf(*task, &ITask::get_Subject), "a=b");
  EXPECT_EQ(TextOf(*task, &ITask::get_Body), "one\r\ntwo;three");
}

TEST_F(PolPutTask, TakesTheFirstValueOfEachField) {
  auto task = Task({"SUMMARY:one", "SUMMARY:two", "DUE:20060501", "DUE:20060601", "PRIORITY:1",
                    "PRIORITY:3", "DESCRIPTION:a", "DESCRIPTION:b"});
  EXPECT_EQ(TextOf(*task, &ITask::get_Subject), "one");
  EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060501T000000");
  EXPECT_EQ(NumberOf(*task, &ITask::get_Importance), 2);
  EXPECT_EQ(TextOf(*task, &ITask::get_Body), "a");
}

// The mark belongs to events: of a task it says neither when it is due nor when it is to be reminded of.
TEST_F(PolPutTask, IsTheSameWithAndWithoutAnAllDayMark) {
  for (const bool has_mark : {false, true}) {
    CalendarRecord record(
        "BEGIN:VTODO\r\nDTSTART;VALUE=DATE:20060501\r\nDUE:20060503T100000\r\n"
        "DALARM:20060502T083000\r\nX-BLUETOOTH-ALLDAYEVENT:TRUE\r\nEND:VTODO\r\n");
    (*record).calendar.tail.event.allDayEvent = has_mark;
    auto task = NewTask();
    pol_PutTask(*record, *task);
    EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), "20060501T000000");
    EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), "20060503T000000");
    EXPECT_TRUE(FlagOf(*task, &ITask::get_ReminderSet));
    EXPECT_EQ(DateOf(*task, &ITask::get_ReminderTime), "20060502T000000");
    EXPECT_FALSE(FlagOf(*task, &ITask::get_IsRecurring));
  }
}

// ---- Body or attachment -----------------------------------------------------------------------------

struct BodyCase {
  std::vector<std::string_view> lines;
  const char* body;
};

class ItemBody : public CalendarTest, public testing::WithParamInterface<BodyCase> {};

TEST_P(ItemBody, IsTheDescriptionUnlessItRepeatsTheSummaryBesideAnAttachment) {
  std::string lines;
  for (std::string_view line : GetParam().lines) lines.append(line).append("\r\n");
  CalendarRecord event("BEGIN:VEVENT\r\n" + lines + "END:VEVENT\r\n");
  CalendarRecord todo("BEGIN:VTODO\r\n" + lines + "END:VTODO\r\n");
  auto appointment = NewAppointment();
  auto task = NewTask();
  PutText(*appointment, &IAppointment::put_Body, u"before");
  PutText(*task, &ITask::put_Body, u"before");
  pol_PutAppointment(*event, *appointment);
  pol_PutTask(*todo, *task);
  EXPECT_EQ(TextOf(*appointment, &IAppointment::get_Body), GetParam().body);
  EXPECT_EQ(TextOf(*task, &ITask::get_Body), GetParam().body);
}

using LineList = std::vector<std::string_view>;

INSTANTIATE_TEST_SUITE_P(
    Records, ItemBody,
    testing::Values(
        BodyCase{LineList{"DESCRIPTION:d"}, "d"},
        BodyCase{LineList{"DESCRIPTION:s", "SUMMARY:s", "ATTACH:a"}, "a"},
        BodyCase{LineList{"DESCRIPTION:=73;x", "SUMMARY;QUOTED-PRINTABLE:=73", "ATTACH:a"}, "=73"},
        BodyCase{LineList{"DESCRIPTION;QUOTED-PRINTABLE:=73", "SUMMARY:s", "ATTACH:a"}, "a"},
        BodyCase{LineList{"DESCRIPTION:d", "SUMMARY:s", "ATTACH:a"}, "d"},
        BodyCase{LineList{"DESCRIPTION:S", "SUMMARY:s", "ATTACH:a"}, "S"},
        BodyCase{LineList{"DESCRIPTION:s", "SUMMARY:s"}, "s"},
        BodyCase{LineList{"DESCRIPTION:s", "SUMMARY:s", "ATTACH:"}, "s"},
        BodyCase{LineList{"DESCRIPTION:s", "ATTACH:a"}, "s"},
        BodyCase{LineList{"SUMMARY:s", "ATTACH:a"}, "before"},
        BodyCase{LineList{"DESCRIPTION:", "SUMMARY:", "ATTACH:a"}, "before"}));

// ---- Record to appointment --------------------------------------------------------------------------

TEST_F(PolPutAppointment, WritesEveryFieldToItsProperty) {
  auto item = Appointment({"SUMMARY:Tea", "LOCATION:Room 1", "CATEGORIES:Work",
                           "DTSTART:20060501T090000Z", "DTEND:20060501T103000Z", "CLASS:PRIVATE",
                           "STATUS:TENTATIVE", "DESCRIPTION:Bring cups"});
  EXPECT_EQ(TextOf(*item, &IAppointment::get_Subject), "Tea");
  EXPECT_EQ(TextOf(*item, &IAppointment::get_Location), "Room 1");
  EXPECT_EQ(TextOf(*item, &IAppointment::get_Categories), "Work");
  EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), "20060501T090000");
  EXPECT_EQ(DateOf(*item, &IAppointment::get_End), "20060501T103000");
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_Duration), 90);
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_Sensitivity), 2);
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_BusyStatus), 1);
  EXPECT_EQ(TextOf(*item, &IAppointment::get_Body), "Bring cups");
  EXPECT_FALSE(FlagOf(*item, &IAppointment::get_AllDayEvent));
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(PolPutAppointment, OfEmptyTextsLeavesWhatTheAppointmentHas) {
  auto item = Saved("20060501T090000", "20060501T100000");
  PutText(*item, &IAppointment::put_Subject, u"Tea");
  PutText(*item, &IAppointment::put_Location, u"Room");
  PutText(*item, &IAppointment::put_Categories, u"Work");
  item->put_BusyStatus(olOutOfOffice);
  Put({}, *item);
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_BusyStatus), olOutOfOffice);
  Put({"SUMMARY:", "LOCATION:", "CATEGORIES:", "DTSTART:", "DTEND:", "CLASS:"}, *item);
  EXPECT_EQ(TextOf(*item, &IAppointment::get_Subject), "Tea");
  EXPECT_EQ(TextOf(*item, &IAppointment::get_Location), "Room");
  EXPECT_EQ(TextOf(*item, &IAppointment::get_Categories), "Work");
  EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), "20060501T090000");
  EXPECT_EQ(DateOf(*item, &IAppointment::get_End), "20060501T100000");
}

TEST_F(PolPutAppointment, MovesToItsNewTimesInEitherDirection) {
  auto item = Saved("20060501T090000", "20060501T100000");
  Put({"DTSTART:20070501T090000", "DTEND:20070501T113000"}, *item);
  EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), "20070501T090000");
  EXPECT_EQ(DateOf(*item, &IAppointment::get_End), "20070501T113000");
  Put({"DTSTART:20050501T090000", "DTEND:20050501T091500"}, *item);
  EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), "20050501T090000");
  EXPECT_EQ(DateOf(*item, &IAppointment::get_End), "20050501T091500");
}

TEST_F(PolPutAppointment, WithAnEndBeforeItsStartKeepsItsStartAndLength) {
  auto item = Appointment({"DTSTART:20060501T100000", "DTEND:20060501T090000"});
  EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), "20060501T100000");
  EXPECT_EQ(DateOf(*item, &IAppointment::get_End), "20060501T110000");
}

TEST_F(PolPutAppointment, ReadsTheHour24AsTheEndOfTheDay) {
  auto item = Appointment({"DTSTART:20060501T230000", "DTEND:20060501T240000"});
  EXPECT_EQ(DateOf(*item, &IAppointment::get_End), "20060502T000000");
}

class EventStatus : public CalendarTest, public testing::WithParamInterface<NumberCase> {};

TEST_P(EventStatus, BecomesTheBusyStatus) {
  auto item = NewAppointment();
  item->put_BusyStatus(olOutOfOffice);
  Put({"STATUS:" + std::string(GetParam().text)}, *item);
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_BusyStatus), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Texts, EventStatus,
                         testing::Values(NumberCase{"TENTATIVE", 1}, NumberCase{"DECLINED", 0},
                                         NumberCase{"NEEDS ACTION", 2}, NumberCase{"CONFIRMED", 2},
                                         NumberCase{"tentative", 2}, NumberCase{"", 2}));

TEST_F(PolPutAppointment, IsAllDayByItsMarkOrByTwoDatesWithoutTime) {
  struct {
    std::vector<std::string_view> lines;
    bool all_day;
  } const cases[] = {
      {{"X-BLUETOOTH-ALLDAYEVENT:TRUE", "DTSTART:20060501T000000", "DTEND:20060501T235959"}, true},
      {{"X-BLUETOOTH-ALLDAYEVENT:TRUE"}, true},
      {{"DTSTART;VALUE=DATE:20060501", "DTEND;VALUE=DATE:20060502"}, true},
      {{"DTSTART;VALUE=DATE:20060501", "DTEND;VALUE=DATE:20060502",
        "X-BLUETOOTH-ALLDAYEVENT:FALSE"},
       true},
      {{"DTSTART;VALUE=DATE:20060501", "DTEND:20060502"}, false},
      {{"DTSTART:20060501", "DTEND;VALUE=DATE:20060502"}, false},
      {{"DTSTART;VALUE=DATE:20060501"}, false},
      {{"DTSTART;VALUE=DATE:20060501", "DTEND;VALUE=DATE:"}, false},
      {{"DTSTART;VALUE=DATE-TIME:20060501", "DTEND;VALUE=DATE-TIME:20060502"}, false},
      {{"DTSTART:20060501T000000", "DTEND:20060501T235959"}, false},
      {{}, false},
  };
  for (const auto& [lines, all_day] : cases) {
    std::string text = "BEGIN:VEVENT\r\n";
    for (std::string_view line : lines) text.append(line).append("\r\n");
    CalendarRecord record(text + "END:VEVENT\r\n");
    for (bool before : {false, true}) {
      auto item = Saved("20060501T090000", "20060501T100000");
      item->put_AllDayEvent(before ? -1 : 0);
      pol_PutAppointment(*record, *item);
      EXPECT_EQ(FlagOf(*item, &IAppointment::get_AllDayEvent), all_day) << text << before;
    }
  }
}

TEST_F(PolPutAppointment, WithoutAttendeesLosesItsRecipients) {
  auto item = NewAppointment();
  AddRecipient(*item, u"Ann", u"a@x.org");
  Put({}, *item);
  EXPECT_THAT(RecipientsOf(*item), IsEmpty());
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  1 attendees will be removed."));
}

TEST_F(PolPutAppointment, ReplacesItsRecipientsByTheAttendees) {
  auto item = NewAppointment();
  AddRecipient(*item, u"Ann", u"a@x.org");
  AddRecipient(*item, u"Bea", u"b@x.org");
  AddRecipient(*item, u"Cid", u"c@x.org");
  Put({"ATTENDEE:Dan <d@x.org>", "ATTENDEE;ROLE=OWNER:e@x.org"}, *item);
  EXPECT_THAT(RecipientsOf(*item), ElementsAre(Pair("Dan", "d@x.org"), Pair("e@x.org", "e@x.org")));
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  3 attendees will be removed."));
}

TEST_F(PolPutAppointment, WithoutRecipientsTellsNothingOfThem) {
  auto item = Appointment({"ATTENDEE:Ann"});
  EXPECT_THAT(RecipientsOf(*item), ElementsAre(Pair("Ann", "Ann")));
  EXPECT_THAT(Trace(), IsEmpty());
}

struct AttendeeCase {
  const char* text;
  const char* name;
  const char* address;
};
void PrintTo(const AttendeeCase& attendee, std::ostream* out) { *out << attendee.text; }

class Attendee : public CalendarTest, public testing::WithParamInterface<AttendeeCase> {};

TEST_P(Attendee, IsSplitIntoNameAndAddress) {
  auto item = Appointment({"ATTENDEE:" + std::string(GetParam().text)});
  EXPECT_THAT(RecipientsOf(*item), ElementsAre(Pair(GetParam().name, GetParam().address)));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Attendee,
    testing::Values(AttendeeCase{"a@x.org", "a@x.org", "a@x.org"},
                    AttendeeCase{"Ann Lee ", "Ann Lee ", "Ann Lee "},
                    AttendeeCase{"Ann > Lee", "Ann > Lee", "Ann > Lee"},
                    AttendeeCase{"Ann Lee <a@x.org>", "Ann Lee", "a@x.org"},
                    AttendeeCase{"Ann Lee<a@x.org", "Ann Lee", "a@x.org"},
                    AttendeeCase{"  Ann   < a@x.org > >> ", "  Ann", " a@x.org"},
                    AttendeeCase{"<a@x.org>", "", "a@x.org"}, AttendeeCase{"Ann <", "Ann", ""},
                    AttendeeCase{"Ann <>", "Ann", ""}, AttendeeCase{"Ann <<a>b>", "Ann", "<a>b"}));

// ---- Task to record ---------------------------------------------------------------------------------

TEST_F(PolGetTask, OfANewTaskHasEveryFieldOnce) {
  auto task = NewTask();
  ReadItem item = Got(*task);
  EXPECT_EQ(item.kind, 2);
  EXPECT_EQ(item.version, "1.0");
  EXPECT_EQ(item.Only("categories"), "");
  EXPECT_EQ(item.Only("completed"), "");
  EXPECT_EQ(item.Only("description"), "");
  EXPECT_EQ(item.Only("due"), "");
  EXPECT_EQ(item.Only("priority"), "2");
  EXPECT_EQ(item.Only("dtStart"), "");
  EXPECT_EQ(item.Only("status"), "NEEDS ACTION");
  EXPECT_EQ(item.Only("summary"), "");
  EXPECT_EQ(item.Only("class"), "PUBLIC");
  EXPECT_THAT(item.fields, SizeIs(9)) << "no alarms and no rule";
}

// A task has no such field: the mark would lie in the record past those that it has.
TEST_F(PolGetTask, LeavesTheAllDayMarkOfTheRecordAlone) {
  auto task = NewTask();
  task->put_StartDate(At("20060501"));
  task->put_DueDate(At("20060501"));
  OwnedObject record(OSIF_STORE_CAL);
  pol_GetTask(*task, *record);
  EXPECT_EQ(record->calendar.tail.event.allDayEvent, 0);
}

TEST_F(PolGetTask, ReadsEveryProperty) {
  auto task = NewTask();
  PutText(*task, &ITask::put_Subject, u"Pay");
  PutText(*task, &ITask::put_Categories, u"Home,Money");
  PutText(*task, &ITask::put_Body, u"one\r\ntwo");
  task->put_StartDate(At("20060501"));
  task->put_DueDate(At("20060503"));
  task->put_Sensitivity(olPrivate);
  task->put_ReminderSet(-1);
  task->put_ReminderTime(At("20060502T083000"));
  ASSERT_EQ(task->Save(), S_OK);
  ReadItem item = Got(*task);
  char id[20];
  std::snprintf(id, sizeof id, "%08x", static_cast<unsigned>(NumberOf(*task, &ITask::get_Oid)));
  EXPECT_EQ(item.luid, id);
  EXPECT_EQ(item.Only("summary"), "Pay");
  EXPECT_EQ(item.Only("categories"), "Home,Money");
  EXPECT_EQ(item.Only("description"), "one=0D=0Atwo");
  EXPECT_THAT(item.fields["description"][0].params, ElementsAre("ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(item.Only("dtStart"), "20060501");
  EXPECT_EQ(item.Only("due"), "20060503");
  EXPECT_EQ(item.Only("class"), "PRIVATE");
  EXPECT_EQ(item.Only("dAlarm"), "20060502T083000Z");
  EXPECT_EQ(item.Only("aAlarm"), "20060502T083000Z");
}

std::string Today() {
  const time_t now = std::time(nullptr);
  tm local = {};
  localtime_r(&now, &local);
  char text[9] = {};
  std::strftime(text, sizeof text, "%Y%m%d", &local);
  return text;
}

TEST_F(PolGetTask, OfACompletedTaskTellsTheDay) {
  auto task = NewTask();
  const std::string before = Today();
  task->put_Complete(-1);
  const std::string after = Today();
  ReadItem item = Got(*task);
  EXPECT_EQ(item.Only("status"), "COMPLETED");
  EXPECT_THAT(item.Only("completed"), testing::AnyOf(before, after));
}

TEST_F(PolGetTask, ReadsTheImportanceBackAsPriority) {
  auto task = NewTask();
  const char* const priorities[] = {"3", "2", "1"};
  for (LONG importance : {0, 1, 2}) {
    task->put_Importance(importance);
    EXPECT_EQ(Got(*task).Only("priority"), priorities[importance]);
  }
}

TEST_F(PolGetTask, ReadsTheSensitivityBackAsClass) {
  auto task = NewTask();
  auto appointment = NewAppointment();
  const char* const classes[] = {"PUBLIC", "", "PRIVATE", ""};
  for (LONG sensitivity : {0, 1, 2, 3}) {
    task->put_Sensitivity(sensitivity);
    appointment->put_Sensitivity(sensitivity);
    EXPECT_EQ(Got(*task).Only("class"), classes[sensitivity]);
    EXPECT_EQ(Got(*appointment).Only("class"), classes[sensitivity]);
  }
}

TEST_F(PolGetTask, EncodesLettersOfItsTextsInTheOutputCharacterSet) {
  auto task = NewTask();
  PutText(*task, &ITask::put_Subject, u"caf\u00e9");
  PutText(*task, &ITask::put_Body, u"caf\u00e9");
  ReadItem item = Got(*task);
  EXPECT_EQ(item.Only("summary"), "caf\xC3\xA9");
  EXPECT_THAT(item.fields["summary"][0].params, ElementsAre("CHARSET=UTF-8"));
  EXPECT_EQ(item.Only("description"), "caf=C3=A9");
  EXPECT_THAT(item.fields["description"][0].params,
              ElementsAre("CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"));
}

// ---- Appointment to record --------------------------------------------------------------------------

TEST_F(PolGetAppointment, ReadsEveryProperty) {
  auto appointment = Saved("20060501T090000", "20060501T103000");
  PutText(*appointment, &IAppointment::put_Subject, u"Tea");
  PutText(*appointment, &IAppointment::put_Location, u"Room 1");
  PutText(*appointment, &IAppointment::put_Categories, u"Work");
  PutText(*appointment, &IAppointment::put_Body, u"a=b");
  appointment->put_BusyStatus(olTentative);
  ReadItem item = Got(*appointment);
  char id[20];
  std::snprintf(id, sizeof id, "%08x",
                static_cast<unsigned>(NumberOf(*appointment, &IAppointment::get_Oid)));
  EXPECT_EQ(item.luid, id);
  EXPECT_EQ(item.kind, 1);
  EXPECT_EQ(item.version, "1.0");
  EXPECT_EQ(item.all_day, 0);
  EXPECT_EQ(item.Only("summary"), "Tea");
  EXPECT_EQ(item.Only("location"), "Room 1");
  EXPECT_EQ(item.Only("categories"), "Work");
  EXPECT_EQ(item.Only("description"), "a=3Db");
  EXPECT_EQ(item.Only("dtStart"), "20060501T090000Z");
  EXPECT_EQ(item.Only("dtEnd"), "20060501T103000Z");
  EXPECT_EQ(item.Only("status"), "TENTATIVE");
  EXPECT_EQ(item.Only("class"), "PUBLIC");
  EXPECT_EQ(item.Only("priority"), "0");
  EXPECT_THAT(item.fields, SizeIs(9)) << "no alarms, attendees or rule";
}

TEST_F(PolGetAppointment, ReadsTheBusyStatusBack) {
  auto appointment = NewAppointment();
  const char* const statuses[] = {"", "TENTATIVE", "NEEDS ACTION", ""};
  for (LONG busy : {0, 1, 2, 3}) {
    appointment->put_BusyStatus(busy);
    EXPECT_EQ(Got(*appointment).Only("status"), statuses[busy]);
  }
}

TEST_F(PolGetAppointment, OfOneWholeDayEndsASecondBeforeMidnight) {
  auto appointment = Saved("20060501T000000", "20060502T000000");
  appointment->put_AllDayEvent(-1);
  ReadItem item = Got(*appointment);
  EXPECT_EQ(item.all_day, 1);
  EXPECT_EQ(item.Only("dtStart"), "20060501T000000");
  EXPECT_EQ(item.Only("dtEnd"), "20060501T235959");
}

TEST_F(PolGetAppointment, OfSeveralWholeDaysEndsASecondBeforeTheLastMidnight) {
  auto appointment = Saved("20060501T000000", "20060504T000000");
  appointment->put_AllDayEvent(-1);
  EXPECT_EQ(Got(*appointment).Only("dtEnd"), "20060503T235959");
}

TEST_F(PolGetAppointment, OfRecurringWholeDaysTakesOneDay) {
  auto appointment = Saved("20060501T000000", "20060504T000000");
  appointment->put_AllDayEvent(-1);
  PatternOf(*appointment)->put_RecurrenceType(olRecursDaily);
  EXPECT_EQ(Got(*appointment).Only("dtEnd"), "20060501T235959");
}

TEST_F(PolGetAppointment, GivesItsRecipientsAsAttendees) {
  auto appointment = NewAppointment();
  AddRecipient(*appointment, u"Ann Lee", u"a@x.org");
  AddRecipient(*appointment, u"b@x.org", u"b@x.org");
  AddRecipient(*appointment, u"Cid", u"");
  AddRecipient(*appointment, u"", u"");
  ReadItem item = Got(*appointment);
  EXPECT_THAT(item.All("attendee"), ElementsAre("Ann Lee <a@x.org>", "b@x.org", "Cid <>", ""));
  for (const auto& value : item.fields["attendee"]) {
    EXPECT_THAT(value.params, ElementsAre("ROLE=ATTENDEE"));
  }
}

TEST_F(PolGetAppointment, OfAttendeesThatWereReceivedGivesThemBack) {
  auto appointment =
      Appointment({"ATTENDEE:Ann Lee <a@x.org>", "ATTENDEE:b@x.org", "ATTENDEE:Cid <>"});
  EXPECT_THAT(Got(*appointment).All("attendee"),
              ElementsAre("Ann Lee <a@x.org>", "b@x.org", "Cid <>"));
}

// ---- Time zones -------------------------------------------------------------------------------------

// A local time, what it is in UTC, and which local time that is (another one for a time that the clocks
// skip).
struct ZoneCase {
  const char* zone;
  const char* local;
  const char* utc;
  const char* back;
};
void PrintTo(const ZoneCase& time, std::ostream* out) { *out << time.zone << " " << time.local; }

class EventTime : public CalendarTest, public testing::WithParamInterface<ZoneCase> {};

TEST_P(EventTime, OfAnAppointmentGoesOutInUtc) {
  TimeZone zone(GetParam().zone);
  auto item = Saved(GetParam().local, GetParam().local);
  EXPECT_EQ(Got(*item).Only("dtStart"), GetParam().utc);
  EXPECT_EQ(Got(*item).Only("dtEnd"), GetParam().utc);
}

TEST_P(EventTime, OfARecordInUtcBecomesTheLocalTime) {
  TimeZone zone(GetParam().zone);
  const std::string utc = GetParam().utc;
  auto item = Appointment({"DTSTART:" + utc, "DTEND:" + utc});
  EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), GetParam().back);
  EXPECT_EQ(DateOf(*item, &IAppointment::get_End), GetParam().back);
}

TEST_P(EventTime, OfARecordInLocalTimeIsKept) {
  TimeZone zone(GetParam().zone);
  auto item = Appointment({"DTSTART:" + std::string(GetParam().local)});
  EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), GetParam().back);
}

TEST_P(EventTime, OfATasksReminderGoesOutInUtc) {
  TimeZone zone(GetParam().zone);
  auto task = NewTask();
  task->put_ReminderSet(-1);
  task->put_ReminderTime(At(GetParam().local));
  EXPECT_EQ(Got(*task).Only("dAlarm"), GetParam().utc);
}

INSTANTIATE_TEST_SUITE_P(
    AroundTheChangesOfTheClocks, EventTime,
    testing::Values(
        ZoneCase{"UTC", "20060326T023000", "20060326T023000Z", "20060326T023000"},
        ZoneCase{"Europe/Berlin", "20060326T015959", "20060326T005959Z", "20060326T015959"},
        ZoneCase{"Europe/Berlin", "20060326T023000", "20060326T013000Z", "20060326T033000"},
        ZoneCase{"Europe/Berlin", "20060326T030000", "20060326T010000Z", "20060326T030000"},
        ZoneCase{"Europe/Berlin", "20061029T015959", "20061028T235959Z", "20061029T015959"},
        ZoneCase{"Europe/Berlin", "20061029T023000", "20061029T003000Z", "20061029T023000"},
        ZoneCase{"Europe/Berlin", "20061029T030000", "20061029T020000Z", "20061029T030000"},
        ZoneCase{"America/New_York", "20060402T015959", "20060402T065959Z", "20060402T015959"},
        ZoneCase{"America/New_York", "20060402T023000", "20060402T073000Z", "20060402T033000"},
        ZoneCase{"America/New_York", "20060402T030000", "20060402T070000Z", "20060402T030000"},
        ZoneCase{"America/New_York", "20061029T005959", "20061029T045959Z", "20061029T005959"},
        ZoneCase{"America/New_York", "20061029T013000", "20061029T053000Z", "20061029T013000"},
        ZoneCase{"America/New_York", "20061029T020000", "20061029T070000Z", "20061029T020000"},
        ZoneCase{"Asia/Kolkata", "20060326T023000", "20060325T210000Z", "20060326T023000"},
        ZoneCase{"Australia/Lord_Howe", "20060402T012959", "20060401T142959Z", "20060402T012959"},
        ZoneCase{"Australia/Lord_Howe", "20060402T014500", "20060401T144500Z", "20060402T014500"},
        ZoneCase{"Australia/Lord_Howe", "20060402T020000", "20060401T153000Z", "20060402T020000"},
        ZoneCase{"Australia/Lord_Howe", "20061029T015959", "20061028T152959Z", "20061029T015959"},
        ZoneCase{"Australia/Lord_Howe", "20061029T021500", "20061028T154500Z", "20061029T024500"},
        ZoneCase{"Australia/Lord_Howe", "20061029T023000", "20061028T153000Z", "20061029T023000"}));

// Days of 24 hours, and days on which the clocks of one of the zones are changed, with the day after each.
constexpr std::pair<const char*, const char*> kDays[] = {
    {"20060501", "20060502"}, {"20060326", "20060327"}, {"20061029", "20061030"},
    {"20060402", "20060403"}, {"20060228", "20060301"}, {"20061231", "20070101"}};

class WholeDay : public CalendarTest, public testing::WithParamInterface<const char*> {};

TEST_P(WholeDay, StaysTheSameDayHoweverItIsWritten) {
  TimeZone zone(GetParam());
  for (const auto& [first, next] : kDays) {
    const std::string day = first;
    const std::pair<std::string, std::string> ends[] = {
        {"DTSTART;VALUE=DATE:" + day, "DTEND;VALUE=DATE:" + day},
        {"DTSTART;VALUE=DATE:" + day, "DTEND;VALUE=DATE:" + std::string(next)},
        {"DTSTART:" + day + "T000000", "DTEND:" + day + "T235959"},
        {"DTSTART:" + day + "T000000", "DTEND:" + day + "T240000"},
        {"DTSTART:" + day, "DTEND:" + std::string(next)}};
    for (const auto& [start, end] : ends) {
      auto item = Appointment({start, end, "X-BLUETOOTH-ALLDAYEVENT:TRUE"});
      EXPECT_EQ(DateOf(*item, &IAppointment::get_Start), day + "T000000") << start << " " << end;
      EXPECT_EQ(NumberOf(*item, &IAppointment::get_Duration), 1440) << start << " " << end;
      ReadItem record = Got(*item);
      EXPECT_EQ(record.Only("dtStart"), day + "T000000") << start << " " << end;
      EXPECT_EQ(record.Only("dtEnd"), day + "T235959") << start << " " << end;
    }
  }
}

TEST_P(WholeDay, OfATaskStaysTheSameDay) {
  TimeZone zone(GetParam());
  for (const auto& [first, next] : kDays) {
    auto task = Task({"DTSTART:" + std::string(first), "DUE:" + std::string(next)});
    EXPECT_EQ(DateOf(*task, &ITask::get_StartDate), std::string(first) + "T000000");
    EXPECT_EQ(Got(*task).Only("dtStart"), first);
    EXPECT_EQ(Got(*task).Only("due"), next);
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, WholeDay, testing::ValuesIn(kFiveZones));

TEST_F(PolPutTask, OfATimeInUtcIsDueOnItsLocalDay) {
  const std::pair<const char*, const char*> days[] = {{"UTC", "20060501T000000"},
                                                      {"Europe/Berlin", "20060502T000000"},
                                                      {"America/New_York", "20060501T000000"},
                                                      {"Asia/Kolkata", "20060502T000000"},
                                                      {"Australia/Lord_Howe", "20060502T000000"}};
  for (const auto& [name, day] : days) {
    TimeZone zone(name);
    auto task = Task({"DUE:20060501T230000Z"});
    EXPECT_EQ(DateOf(*task, &ITask::get_DueDate), day) << name;
  }
}

// ---- Both ways --------------------------------------------------------------------------------------

// The file that an item becomes.
template <typename Item>
std::string FileOf(Item& item, void (*get)(Item&, OsifObject&)) {
  OwnedObject object(OSIF_STORE_CAL);
  get(item, *object);
  object->xIrmcLuid[0] = 0;
  return BytesWritten([&](OsifStream& stream) { VCalendar_Write(stream, *object, 1); });
}

// The component within a calendar's file.
std::string ComponentOf(const std::string& file) {
  const size_t start = file.find("BEGIN:V", 1);
  return file.substr(start, file.find("END:VCALENDAR") - start);
}

class CalendarRoundTrip : public CalendarTest {};

int32_t Below(int32_t bound) { return *rc::gen::inRange<int32_t>(0, bound); }

// In the daytime, when no clocks are changed.
DATE RandomTime() { return At("19800101") + Below(20000) + (8 * 60 + Below(10 * 60)) / 1440.0; }

template <typename Item>
void PutRandomPattern(Item& item) {
  const LONG type = *rc::gen::element<LONG>(-1, 0, 1, 2, 3);
  if (type == olRecursOnce) return;
  auto pattern = PatternOf(item);
  EXPECT_EQ(pattern->put_RecurrenceType(type), S_OK);
  EXPECT_EQ(pattern->put_Interval(1 + Below(20)), S_OK);
  if (Below(2) == 1) {
    EXPECT_EQ(pattern->put_NoEndDate(-1), S_OK);
  } else {
    EXPECT_EQ(pattern->put_Occurrences(1 + Below(20)), S_OK);
  }
}

TEST_F(CalendarRoundTrip, AnAppointmentThatWentOutComesInAsTheSameOne) {
  EXPECT_TRUE(rc::check([this] {
    TimeZone zone(kFiveZones[Below(5)]);
    auto item = NewAppointment();
    PutText(*item, &IAppointment::put_Subject, *AnyWideText());
    PutText(*item, &IAppointment::put_Location, *AnyWideText());
    PutText(*item, &IAppointment::put_Body, *AnyWideText());
    item->put_Start(RandomTime());
    item->put_Duration(Below(180));
    item->put_AllDayEvent(Below(2) == 1 ? -1 : 0);
    item->put_BusyStatus(1 + Below(2));
    item->put_Sensitivity(2 * Below(2));
    item->put_ReminderSet(Below(2) == 1 ? -1 : 0);
    item->put_ReminderMinutesBeforeStart(Below(6 * 60));
    if (Below(2) == 1) AddRecipient(*item, u"Zo\u00eb Lee", u"z@x.org");
    if (Below(2) == 1) AddRecipient(*item, u"a@x.org", u"a@x.org");
    PutRandomPattern(*item);
    const std::string file = FileOf(*item, pol_GetAppointment);
    auto again = NewAppointment();
    CalendarRecord record(ComponentOf(file));
    pol_PutAppointment(*record, *again);
    RC_ASSERT(FileOf(*again, pol_GetAppointment) == file);
    DATE start[2], end[2];
    item->get_Start(&start[0]);
    again->get_Start(&start[1]);
    item->get_End(&end[0]);
    again->get_End(&end[1]);
    RC_ASSERT(ShownDate(start[0]) == ShownDate(start[1]));
    RC_ASSERT(ShownDate(end[0]) == ShownDate(end[1]));
  }));
}

TEST_F(CalendarRoundTrip, ATaskThatWentOutComesInAsTheSameOne) {
  EXPECT_TRUE(rc::check([this] {
    TimeZone zone(kFiveZones[Below(5)]);
    auto task = NewTask();
    PutText(*task, &ITask::put_Subject, *AnyWideText());
    PutText(*task, &ITask::put_Categories, u"Home,Work");
    PutText(*task, &ITask::put_Body, *AnyWideText());
    const DATE start = At("19800101") + Below(20000);
    task->put_StartDate(start);
    task->put_DueDate(start + Below(10));
    task->put_Importance(Below(3));
    task->put_Sensitivity(2 * Below(2));
    task->put_Complete(Below(2) == 1 ? -1 : 0);
    task->put_ReminderSet(Below(2) == 1 ? -1 : 0);
    task->put_ReminderTime(start);
    PutRandomPattern(*task);
    const std::string file = FileOf(*task, pol_GetTask);
    auto again = NewTask();
    CalendarRecord record(ComponentOf(file));
    pol_PutTask(*record, *again);
    RC_ASSERT(FileOf(*again, pol_GetTask) == file);
  }));
}

TEST_F(CalendarRoundTrip, LosesWhatTheWordsOfTheFormatHaveNoRoomFor) {
  auto item = NewAppointment();
  item->put_BusyStatus(olFree);
  item->put_Sensitivity(olPersonal);
  CalendarRecord record(ComponentOf(FileOf(*item, pol_GetAppointment)));
  auto again = NewAppointment();
  pol_PutAppointment(*record, *again);
  EXPECT_EQ(NumberOf(*again, &IAppointment::get_BusyStatus), olBusy);
  EXPECT_EQ(NumberOf(*again, &IAppointment::get_Sensitivity), olNormal);
}

}  // namespace
}  // namespace pol_calendar_test

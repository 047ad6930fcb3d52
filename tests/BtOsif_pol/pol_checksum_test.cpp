// The checksums of appointments and tasks on the device: which properties are fed, and in which order.
// Those of contacts are tested with the snapshots.
#include "BtOsif_pol/pol_checksum.h"

#include "tests/BtOsif_pol/calendar_fixture.h"
#include "tests/support/change_logs.h"

namespace pol_checksum_test {
namespace {

using namespace support;

// What a checksum is to be, put together property by property.
class Expected {
 public:
  Expected& Text(std::u16string_view text) {
    adler_.FeedText(text);
    return *this;
  }
  Expected& Date(DATE date) {
    adler_.FeedDate(date);
    return *this;
  }
  Expected& Number(int32_t number) {
    adler_.Feed(&number, sizeof number);
    return *this;
  }
  uint32_t Value() const { return adler_.Value(); }

 private:
  PlainAdler adler_;
};

class CalendarChecksum : public CalendarTest {
 protected:
  // 1 May 2006, 9 to 10 o'clock.
  ComPtr<IAppointment> Meeting() {
    ComPtr<IAppointment> item = NewAppointment();
    PutText(*item, &IAppointment::put_Subject, u"Budget");
    PutText(*item, &IAppointment::put_Location, u"Room 4");
    PutText(*item, &IAppointment::put_Categories, u"Business");
    PutText(*item, &IAppointment::put_Body, u"Bring figures");
    item->put_Start(kNine);
    item->put_End(kTen);
    item->put_BusyStatus(olOutOfOffice);
    item->put_Sensitivity(olPrivate);
    item->put_ReminderSet(VARIANT_FALSE);
    return item;
  }
  static Expected OfMeeting() {
    Expected expected;
    expected.Text(u"Budget").Text(u"Room 4").Text(u"Business");
    expected.Date(kNine).Number(60).Date(kTen);
    expected.Number(0).Number(3).Number(2).Text(u"Bring figures");
    return expected;
  }

  ComPtr<ITask> Errand() {
    ComPtr<ITask> item = NewTask();
    PutText(*item, &ITask::put_Subject, u"Buy milk");
    PutText(*item, &ITask::put_Categories, u"Home");
    PutText(*item, &ITask::put_Body, u"Two bottles");
    item->put_StartDate(kDay);
    item->put_DueDate(kDay + 2);
    item->put_Importance(olImportanceHigh);
    item->put_Sensitivity(olPersonal);
    item->put_ReminderSet(VARIANT_FALSE);
    return item;
  }
  static Expected OfErrand() {
    Expected expected;
    expected.Text(u"Buy milk").Text(u"Home").Date(kDay).Date(kDay + 2);
    expected.Number(2).Number(1).Text(u"Two bottles");
    return expected;
  }

  // The type, four dates, a flag and seven numbers of a series on three days from 1 May 2006, every day.
  static void AddThreeDays(Expected& expected, DATE start, DATE end, int minutes) {
    expected.Number(olRecursDaily).Date(kDay).Date(start).Date(end).Date(kDay + 2);
    expected.Number(0).Number(3).Number(1).Number(0).Number(0).Number(0).Number(minutes).Number(0);
  }

  static constexpr DATE kDay = 38838.0;  // days from 30 December 1899 to 1 May 2006
  static constexpr DATE kNine = kDay + 9.0 / 24;
  static constexpr DATE kTen = kDay + 10.0 / 24;
};

TEST_F(CalendarChecksum, OfAnAppointmentTakesItsTenPropertiesInTheirOrder) {
  EXPECT_EQ(AppointmentChecksum(*Meeting()), OfMeeting().Value());
}

TEST_F(CalendarChecksum, TakesAFlagThatIsSetAsFourBytesOfOnes) {
  ComPtr<IAppointment> item = NewAppointment();
  item->put_ReminderSet(VARIANT_FALSE);
  item->put_Start(kDay);
  item->put_End(kDay + 1);
  item->put_AllDayEvent(VARIANT_TRUE);
  Expected expected;
  expected.Date(kDay).Number(1440).Date(kDay + 1).Number(-1);
  expected.Number(NumberOf(*item, &IAppointment::get_BusyStatus)).Number(olNormal);
  EXPECT_EQ(AppointmentChecksum(*item), expected.Value());
}

TEST_F(CalendarChecksum, TakesTheTwoSettingsOfAReminderThatIsSet) {
  ComPtr<IAppointment> item = Meeting();
  item->put_ReminderMinutesBeforeStart(15);
  item->put_ReminderOptions(olSound);
  EXPECT_EQ(AppointmentChecksum(*item), OfMeeting().Value()) << "the reminder is not set";
  item->put_ReminderSet(VARIANT_TRUE);
  EXPECT_EQ(AppointmentChecksum(*item), OfMeeting().Number(15).Number(8).Value());
}

TEST_F(CalendarChecksum, TakesTwoTextsOfEachRecipientBeforeTheReminder) {
  ComPtr<IAppointment> item = Meeting();
  AddRecipient(*item, u"Ann", u"ann@example.org");
  AddRecipient(*item, u"Bob", u"bob@example.org");
  item->put_ReminderSet(VARIANT_TRUE);
  item->put_ReminderMinutesBeforeStart(15);
  item->put_ReminderOptions(olSound);
  Expected expected = OfMeeting();
  expected.Text(u"ann@example.org").Text(u"Ann").Text(u"bob@example.org").Text(u"Bob");
  EXPECT_EQ(AppointmentChecksum(*item), expected.Number(15).Number(8).Value());
}

TEST_F(CalendarChecksum, TakesTheRecurrenceOfARecurringItemBeforeItsRecipients) {
  ComPtr<IAppointment> item = Meeting();
  const ComPtr<IRecurrencePattern> pattern = PatternOf(*item);
  pattern->put_RecurrenceType(olRecursDaily);
  pattern->put_Occurrences(3);
  AddRecipient(*item, u"Ann", u"ann@example.org");
  Expected expected = OfMeeting();
  AddThreeDays(expected, 9.0 / 24, 10.0 / 24, 60);
  EXPECT_EQ(AppointmentChecksum(*item), expected.Text(u"ann@example.org").Text(u"Ann").Value());
}

TEST_F(CalendarChecksum, TakesTheDateOfEachExceptionBehindTheRecurrence) {
  ComPtr<IAppointment> item = Meeting();
  const ComPtr<IRecurrencePattern> pattern = PatternOf(*item);
  pattern->put_RecurrenceType(olRecursDaily);
  pattern->put_Occurrences(3);
  ASSERT_EQ(item->Save(), S_OK);
  ComPtr<IAppointment> occurrence;
  ASSERT_EQ(pattern->GetOccurrence(kDay + 1, occurrence.put()), S_OK);
  ASSERT_EQ(occurrence->Delete(), S_OK);
  Expected expected = OfMeeting();
  AddThreeDays(expected, 9.0 / 24, 10.0 / 24, 60);
  EXPECT_EQ(AppointmentChecksum(*item), expected.Date(kNine + 1).Value());
}

TEST_F(CalendarChecksum, OfATaskTakesItsSevenPropertiesInTheirOrder) {
  EXPECT_EQ(TaskChecksum(*Errand()), OfErrand().Value());
}

TEST_F(CalendarChecksum, TakesTheDayOfCompletionOfACompletedTask) {
  ComPtr<ITask> item = Errand();
  item->put_Complete(VARIANT_TRUE);
  DATE completed = DATE_NONE;
  ASSERT_EQ(item->get_DateCompleted(&completed), S_OK);
  ASSERT_NE(completed, DATE_NONE);
  EXPECT_EQ(TaskChecksum(*item), OfErrand().Date(completed).Value());
}

TEST_F(CalendarChecksum, TakesTheReminderOfATaskBehindItsCompletionAndBeforeItsRecurrence) {
  ComPtr<ITask> item = Errand();
  item->put_ReminderSet(VARIANT_TRUE);
  item->put_ReminderTime(kNine);
  item->put_ReminderOptions(olSound);
  EXPECT_EQ(TaskChecksum(*item), OfErrand().Date(kNine).Number(8).Value());

  const ComPtr<IRecurrencePattern> pattern = PatternOf(*item);
  pattern->put_RecurrenceType(olRecursDaily);
  pattern->put_Occurrences(3);
  DATE start = -1;
  DATE end = -1;
  LONG minutes = -1;
  pattern->get_StartTime(&start);
  pattern->get_EndTime(&end);
  pattern->get_Duration(&minutes);
  Expected expected = OfErrand();
  expected.Date(kNine).Number(8);
  AddThreeDays(expected, start, end, minutes);
  EXPECT_EQ(TaskChecksum(*item), expected.Value());
}

}  // namespace
}  // namespace pol_checksum_test

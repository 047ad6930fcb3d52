#include "platform/device/pim/task.h"

#include <cmath>
#include <limits>

#include "platform/device/pim/dates.h"
#include "tests/platform/device/pim/calendar_fixture.h"

namespace task_test {
namespace {

using namespace pim_test;

class PimTask : public PimCalendarTest {
 protected:
  static DATE Completed(ITask& task) { return Read(task, &ITask::get_DateCompleted); }
};

TEST_F(PimTask, IsEmptyAtFirst) {
  ComPtr<ITask> fresh = NewTask();
  for (ComPtr<ITask> task : {fresh, SavedAndLoaded(*fresh)}) {
    for (auto getter : {&ITask::get_Subject, &ITask::get_Categories, &ITask::get_Body,
                        &ITask::get_ReminderSoundFile}) {
      EXPECT_EQ(Get(*task, getter), u"");
    }
    for (auto getter : {&ITask::get_StartDate, &ITask::get_DueDate, &ITask::get_DateCompleted,
                        &ITask::get_ReminderTime}) {
      EXPECT_EQ(Read(*task, getter), 949998.0);
    }
    for (auto getter : {&ITask::get_Complete, &ITask::get_TeamTask, &ITask::get_ReminderSet,
                        &ITask::get_IsRecurring}) {
      EXPECT_EQ(Read(*task, getter), VARIANT_FALSE);
    }
    EXPECT_EQ(Read(*task, &ITask::get_Importance), olImportanceNormal);
    EXPECT_EQ(Read(*task, &ITask::get_Sensitivity), olNormal);
    EXPECT_EQ(Read(*task, &ITask::get_ReminderOptions), 0);
  }
}

TEST_F(PimTask, KeepsEveryTextInItsOwnProperty) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(Put(*task, &ITask::put_Subject, u"Subject \u00E4"), S_OK);
  EXPECT_EQ(Put(*task, &ITask::put_Categories, u"North, South"), S_OK);
  EXPECT_EQ(Put(*task, &ITask::put_Body, u"Body"), S_OK);
  EXPECT_EQ(Put(*task, &ITask::put_ReminderSoundFile, u"Sound"), S_OK);
  ComPtr<ITask> loaded = SavedAndLoaded(*task);
  EXPECT_EQ(Get(*loaded, &ITask::get_Subject), u"Subject \u00E4");
  EXPECT_EQ(Get(*loaded, &ITask::get_Categories), u"North, South");
  EXPECT_EQ(Get(*loaded, &ITask::get_Body), u"Body");
  EXPECT_EQ(Get(*loaded, &ITask::get_ReminderSoundFile), u"Sound");
}

TEST_F(PimTask, KeepsEveryNumberAndFlagInItsOwnProperty) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->put_Importance(olImportanceHigh), S_OK);
  EXPECT_EQ(task->put_Sensitivity(olConfidential), S_OK);
  EXPECT_EQ(task->put_ReminderOptions(olDialog | olRepeat), S_OK);
  EXPECT_EQ(task->put_ReminderSet(1), S_OK);
  ComPtr<ITask> loaded = SavedAndLoaded(*task);
  EXPECT_EQ(Read(*loaded, &ITask::get_Importance), 2);
  EXPECT_EQ(Read(*loaded, &ITask::get_Sensitivity), 3);
  EXPECT_EQ(Read(*loaded, &ITask::get_ReminderOptions), 20);
  EXPECT_EQ(Read(*loaded, &ITask::get_ReminderSet), VARIANT_TRUE);
  EXPECT_EQ(Read(*loaded, &ITask::get_TeamTask), VARIANT_FALSE);
  EXPECT_EQ(loaded->put_TeamTask(VARIANT_TRUE), S_OK);
  EXPECT_EQ(Read(*SavedAndLoaded(*loaded), &ITask::get_TeamTask), VARIANT_TRUE);
}

TEST_F(PimTask, RefusesNumbersThatMeanNothing) {
  ComPtr<ITask> task = NewTask();
  for (LONG bad : {-1, 3}) EXPECT_EQ(task->put_Importance(bad), E_INVALIDARG);
  for (LONG bad : {-1, 4}) EXPECT_EQ(task->put_Sensitivity(bad), E_INVALIDARG);
  for (LONG bad : {-1, 32}) EXPECT_EQ(task->put_ReminderOptions(bad), E_INVALIDARG);
  EXPECT_EQ(Read(*task, &ITask::get_Importance), olImportanceNormal);
}

TEST_F(PimTask, BeginsAndIsDueOnWholeDays) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->put_StartDate(Time(2026, 5, 1, 9, 0)), S_OK);
  EXPECT_EQ(task->put_DueDate(Time(2026, 5, 3, 23, 59, 59)), S_OK);
  ComPtr<ITask> loaded = SavedAndLoaded(*task);
  EXPECT_EQ(Read(*loaded, &ITask::get_StartDate), Day(2026, 5, 1));
  EXPECT_EQ(Read(*loaded, &ITask::get_DueDate), Day(2026, 5, 3));
  EXPECT_EQ(loaded->put_StartDate(DATE_NONE), S_OK);
  EXPECT_EQ(loaded->put_DueDate(DATE_NONE), S_OK);
  EXPECT_EQ(Read(*SavedAndLoaded(*loaded), &ITask::get_StartDate), 949998.0);
  EXPECT_EQ(Read(*loaded, &ITask::get_DueDate), 949998.0);
}

TEST_F(PimTask, MayBeDueBeforeItBegins) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->put_StartDate(Day(2026, 5, 3)), S_OK);
  EXPECT_EQ(task->put_DueDate(Day(2026, 5, 1)), S_OK);
  ComPtr<ITask> loaded = SavedAndLoaded(*task);
  EXPECT_EQ(Read(*loaded, &ITask::get_StartDate), Day(2026, 5, 3));
  EXPECT_EQ(Read(*loaded, &ITask::get_DueDate), Day(2026, 5, 1));
}

TEST_F(PimTask, RefusesWhatIsNoDateAndKeepsWhatItHad) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->put_StartDate(Day(2026, 5, 1)), S_OK);
  for (DATE bad : {-657435.0, 2958466.0, std::nan(""), std::numeric_limits<DATE>::infinity()}) {
    EXPECT_EQ(task->put_StartDate(bad), E_INVALIDARG) << bad;
    EXPECT_EQ(task->put_DueDate(bad), E_INVALIDARG) << bad;
    EXPECT_EQ(task->put_ReminderTime(bad), E_INVALIDARG) << bad;
  }
  EXPECT_EQ(Read(*task, &ITask::get_StartDate), Day(2026, 5, 1));
  EXPECT_EQ(Read(*task, &ITask::get_DueDate), 949998.0);
}

TEST_F(PimTask, IsRemindedOfToTheSecond) {
  ComPtr<ITask> task = NewTask();
  const DATE time = Time(2026, 5, 1, 14, 30, 15);
  EXPECT_EQ(task->put_ReminderTime(time), S_OK);
  EXPECT_EQ(task->put_ReminderSet(VARIANT_TRUE), S_OK);
  EXPECT_EQ(Read(*SavedAndLoaded(*task), &ITask::get_ReminderTime), time);
}

TEST_F(PimTask, IsCompletedToday) {
  ComPtr<ITask> task = NewTask();
  const DATE before = std::floor(device::LocalNow());
  EXPECT_EQ(task->put_Complete(1), S_OK);
  const DATE completed = Completed(*task);
  EXPECT_GE(completed, before);
  EXPECT_LE(completed, std::floor(device::LocalNow()));
  EXPECT_EQ(completed, std::floor(completed));
  ComPtr<ITask> loaded = SavedAndLoaded(*task);
  EXPECT_EQ(Read(*loaded, &ITask::get_Complete), VARIANT_TRUE);
  EXPECT_EQ(Completed(*loaded), completed);
}

TEST_F(PimTask, KeepsTheDayOnWhichItWasCompletedWhenItIsCompletedAgain) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->put_Complete(VARIANT_TRUE), S_OK);
  EXPECT_EQ(task->Save(), S_OK);
  ASSERT_EQ(device::OpenDatabase()->Execute("UPDATE pim_tasks SET date_completed = 46143"),
            SQLITE_OK);
  ComPtr<ITask> loaded = Load<ITask>(Oid(*task));
  EXPECT_EQ(loaded->put_Complete(VARIANT_TRUE), S_OK);
  EXPECT_EQ(Completed(*loaded), 46143.0);
}

TEST_F(PimTask, LosesTheDayWhenItIsOpenAgain) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->put_Complete(VARIANT_TRUE), S_OK);
  EXPECT_EQ(task->Save(), S_OK);
  EXPECT_EQ(task->put_Complete(VARIANT_FALSE), S_OK);
  ComPtr<ITask> loaded = SavedAndLoaded(*task);
  EXPECT_EQ(Read(*loaded, &ITask::get_Complete), VARIANT_FALSE);
  EXPECT_EQ(Completed(*loaded), 949998.0);
}

TEST_F(PimTask, HasNoIdBeforeItsFirstSaveAndKeepsItsIdAfterwards) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(Oid(*task), 0);
  EXPECT_EQ(task->Save(), S_OK);
  const LONG oid = Oid(*task);
  EXPECT_GT(oid, 0);
  EXPECT_EQ(task->Save(), S_OK);
  EXPECT_EQ(Oid(*Load<ITask>(oid)), oid);
  EXPECT_EQ(Count(olFolderTasks), 1);
  EXPECT_EQ(Count(olFolderCalendar), 0);
}

TEST_F(PimTask, CannotBeDeletedUnsavedOrTwiceNorSavedBackToLife) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->Delete(), E_UNEXPECTED);
  EXPECT_EQ(task->Save(), S_OK);
  EXPECT_EQ(task->Delete(), S_OK);
  EXPECT_EQ(task->Delete(), kNotFound);
  EXPECT_EQ(task->Save(), kNotFound);
  EXPECT_EQ(Count(olFolderTasks), 0);
}

TEST_F(PimTask, CopiesItsValuesAndRecurrenceIntoAnUnsavedOne) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(Put(*task, &ITask::put_Subject, u"Sweep"), S_OK);
  EXPECT_EQ(task->put_StartDate(Day(2026, 5, 1)), S_OK);
  EXPECT_EQ(PatternOf(*task)->put_RecurrenceType(olRecursMonthly), S_OK);
  EXPECT_EQ(task->Save(), S_OK);
  ComPtr<ITask> copy;
  ASSERT_EQ(task->Copy(copy.put()), S_OK);
  EXPECT_EQ(Oid(*copy), 0);
  ComPtr<ITask> loaded = SavedAndLoaded(*copy);
  EXPECT_NE(Oid(*loaded), Oid(*task));
  EXPECT_EQ(Get(*loaded, &ITask::get_Subject), u"Sweep");
  EXPECT_EQ(Read(*PatternOf(*loaded), &IRecurrencePattern::get_RecurrenceType), olRecursMonthly);
  EXPECT_EQ(task->Copy(nullptr), E_INVALIDARG);
}

// ---- Recurrence ---------------------------------------------------------------------------------

DATE PatternStart(ITask& task) {
  return Read(*PatternOf(task), &IRecurrencePattern::get_PatternStartDate);
}

TEST_F(PimTask, RecursFromItsStartElseItsDueDateElseToday) {
  ComPtr<ITask> task = NewTask();
  EXPECT_GE(PatternStart(*task), std::floor(device::LocalNow()) - 1);
  EXPECT_LE(PatternStart(*task), std::floor(device::LocalNow()));
  EXPECT_EQ(task->put_DueDate(Day(2026, 5, 3)), S_OK);
  EXPECT_EQ(PatternStart(*task), Day(2026, 5, 3));
  EXPECT_EQ(task->put_StartDate(Day(2026, 5, 1)), S_OK);
  EXPECT_EQ(PatternStart(*task), Day(2026, 5, 1));
}

TEST_F(PimTask, RecursFromTheDayThatWasPutWhateverItsDatesBecome) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(task->put_StartDate(Day(2026, 5, 1)), S_OK);
  ComPtr<IRecurrencePattern> pattern = PatternOf(*task);
  EXPECT_EQ(pattern->put_PatternStartDate(Time(2026, 4, 1, 12, 0)), S_OK);
  EXPECT_EQ(Read(*task, &ITask::get_IsRecurring), VARIANT_FALSE) << "the start alone is none";
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursWeekly), S_OK);
  EXPECT_EQ(Read(*pattern, &IRecurrencePattern::get_DayOfWeekMask), olWednesday);
  EXPECT_EQ(task->put_StartDate(Day(2026, 5, 2)), S_OK);
  ComPtr<ITask> loaded = SavedAndLoaded(*task);
  EXPECT_EQ(PatternStart(*loaded), Day(2026, 4, 1));
  EXPECT_EQ(loaded->put_StartDate(Day(2026, 5, 3)), S_OK);
  EXPECT_EQ(PatternStart(*loaded), Day(2026, 4, 1));
  EXPECT_EQ(loaded->ClearRecurrencePattern(), S_OK);
  EXPECT_EQ(PatternStart(*loaded), Day(2026, 5, 3));
}

TEST_F(PimTask, HasNoTimesNoOccurrencesAndNoExceptions) {
  ComPtr<ITask> task = NewTask();
  ComPtr<IRecurrencePattern> pattern = PatternOf(*task);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(task->Save(), S_OK);
  EXPECT_EQ(Read(*pattern, &IRecurrencePattern::get_StartTime), 0.0);
  EXPECT_EQ(Read(*pattern, &IRecurrencePattern::get_EndTime), 0.0);
  EXPECT_EQ(Read(*pattern, &IRecurrencePattern::get_Duration), 0);
  EXPECT_EQ(pattern->put_StartTime(0.5), E_INVALIDARG);
  EXPECT_EQ(pattern->put_EndTime(0.5), E_INVALIDARG);
  EXPECT_EQ(pattern->put_Duration(30), E_INVALIDARG);
  IAppointment* occurrence = reinterpret_cast<IAppointment*>(1);
  EXPECT_EQ(pattern->GetOccurrence(std::floor(device::LocalNow()), &occurrence), E_INVALIDARG);
  EXPECT_EQ(occurrence, nullptr);
  ComPtr<IExceptions> exceptions = ObjectOf(*pattern, &IRecurrencePattern::get_Exceptions);
  EXPECT_EQ(Read(*exceptions, &IExceptions::get_Count), 0);
}

TEST_F(PimTask, LosesItsRecurrenceAtTheSaveAfterItWasCleared) {
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(PatternOf(*task)->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(Read(*SavedAndLoaded(*task), &ITask::get_IsRecurring), VARIANT_TRUE);
  EXPECT_EQ(task->ClearRecurrencePattern(), S_OK);
  EXPECT_EQ(Read(*task, &ITask::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(Read(*Load<ITask>(Oid(*task)), &ITask::get_IsRecurring), VARIANT_TRUE);
  EXPECT_EQ(Read(*SavedAndLoaded(*task), &ITask::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_patterns"), 0);
}

}  // namespace
}  // namespace task_test

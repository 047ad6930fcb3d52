#include "platform/device/pim/occurrence.h"

#include <chrono>
#include <cmath>

#include "tests/platform/device/pim/calendar_fixture.h"

namespace occurrence_test {
namespace {

using namespace pim_test;
using Pattern = IRecurrencePattern;

class PimOccurrence : public PimCalendarTest {
 protected:
  // A daily series without end from 1 May 2026 on, 9:30 to 11:00, not saved.
  ComPtr<IAppointment> UnsavedSeries() {
    ComPtr<IAppointment> series = NewAppointment(Time(2026, 5, 1, 9, 30), Time(2026, 5, 1, 11, 0));
    EXPECT_EQ(Put(*series, &IAppointment::put_Subject, u"Walk"), S_OK);
    EXPECT_EQ(PatternOf(*series)->put_RecurrenceType(olRecursDaily), S_OK);
    return series;
  }
  ComPtr<IAppointment> Series() {
    ComPtr<IAppointment> series = UnsavedSeries();
    EXPECT_EQ(series->Save(), S_OK);
    return series;
  }

  static ComPtr<IAppointment> Occurrence(IAppointment& series, DATE date) {
    ComPtr<IAppointment> occurrence;
    EXPECT_EQ(PatternOf(series)->GetOccurrence(date, occurrence.put()), S_OK);
    EXPECT_TRUE(occurrence);
    return occurrence;
  }

  static void ExpectNoOccurrence(IAppointment& series, DATE date, HRESULT result = E_INVALIDARG) {
    IAppointment* occurrence = reinterpret_cast<IAppointment*>(1);
    EXPECT_EQ(PatternOf(series)->GetOccurrence(date, &occurrence), result) << date;
    EXPECT_EQ(occurrence, nullptr);
  }

  static ComPtr<IExceptions> Exceptions(IAppointment& series) {
    return ObjectOf(*PatternOf(series), &Pattern::get_Exceptions);
  }

  // The original dates of a series' exceptions.
  static std::vector<DATE> ExceptionDates(IAppointment& series) {
    ComPtr<IExceptions> exceptions = Exceptions(series);
    std::vector<DATE> dates;
    for (int i = 1; i <= Read(*exceptions, &IExceptions::get_Count); ++i) {
      ComPtr<IException> exception;
      EXPECT_EQ(exceptions->Item(i, exception.put()), S_OK);
      dates.push_back(Read(*exception, &IException::get_OriginalDate));
    }
    return dates;
  }

  static void Delete(IAppointment& series, DATE date) {
    EXPECT_EQ(Occurrence(series, date)->Delete(), S_OK);
  }
  static void Rename(IAppointment& series, DATE date, std::u16string_view subject) {
    ComPtr<IAppointment> occurrence = Occurrence(series, date);
    EXPECT_EQ(Put(*occurrence, &IAppointment::put_Subject, subject), S_OK);
    EXPECT_EQ(occurrence->Save(), S_OK);
  }
};

using Dates = std::vector<DATE>;

// ---- Getting ------------------------------------------------------------------------------------

TEST_F(PimOccurrence, HasTheValuesOfItsSeriesOnItsOwnDay) {
  ComPtr<IAppointment> series = UnsavedSeries();
  ComPtr<IRecipient> recipient;
  EXPECT_EQ(
      ObjectOf(*series, &IAppointment::get_Recipients)->Add(Bstr(u"Ann").get(), recipient.put()),
      S_OK);
  EXPECT_EQ(series->Save(), S_OK);
  ComPtr<IAppointment> occurrence = Occurrence(*series, Day(2026, 5, 3));
  EXPECT_EQ(Get(*occurrence, &IAppointment::get_Subject), u"Walk");
  EXPECT_EQ(Read(*occurrence, &IAppointment::get_Start), Time(2026, 5, 3, 9, 30));
  EXPECT_EQ(Read(*occurrence, &IAppointment::get_End), Time(2026, 5, 3, 11, 0));
  EXPECT_EQ(Read(*ObjectOf(*occurrence, &IAppointment::get_Recipients), &IRecipients::get_Count),
            1);
  EXPECT_EQ(Oid(*occurrence), Oid(*series));
  EXPECT_EQ(Read(*series, &IAppointment::get_Start), Time(2026, 5, 1, 9, 30));
}

TEST_F(PimOccurrence, IsThatOfTheDayWhateverTheTime) {
  ComPtr<IAppointment> series = Series();
  for (DATE date : {Day(2026, 5, 3), Time(2026, 5, 3, 9, 30), Time(2026, 5, 3, 23, 59, 59)}) {
    EXPECT_EQ(Read(*Occurrence(*series, date), &IAppointment::get_Start), Time(2026, 5, 3, 9, 30));
  }
}

TEST_F(PimOccurrence, IsNoneWhereTheSeriesDoesNotTakePlace) {
  ComPtr<IAppointment> series = Series();
  ExpectNoOccurrence(*series, Day(2026, 4, 30));
  ExpectNoOccurrence(*series, std::nan(""));
  ExpectNoOccurrence(*series, 1e300);
  EXPECT_EQ(PatternOf(*series)->put_Occurrences(2), S_OK);
  EXPECT_EQ(series->Save(), S_OK);
  Occurrence(*series, Day(2026, 5, 2));
  ExpectNoOccurrence(*series, Day(2026, 5, 3));
}

TEST_F(PimOccurrence, IsNoneOfAnAppointmentThatIsNotSavedOrNotRecurring) {
  ComPtr<IAppointment> series = UnsavedSeries();
  ExpectNoOccurrence(*series, Day(2026, 5, 3), E_UNEXPECTED);
  EXPECT_EQ(series->ClearRecurrencePattern(), S_OK);
  EXPECT_EQ(series->Save(), S_OK);
  ExpectNoOccurrence(*series, Day(2026, 5, 1));
}

TEST_F(PimOccurrence, IsOfThePatternAsItIsSaved) {
  ComPtr<IAppointment> series = Series();
  EXPECT_EQ(PatternOf(*series)->put_Interval(2), S_OK);
  Occurrence(*series, Day(2026, 5, 2));
  EXPECT_EQ(series->Save(), S_OK);
  ExpectNoOccurrence(*series, Day(2026, 5, 2));
  Occurrence(*series, Day(2026, 5, 3));
}

TEST_F(PimOccurrence, IsAWholeDayOfAnAllDaySeries) {
  ComPtr<IAppointment> series = UnsavedSeries();
  EXPECT_EQ(series->put_AllDayEvent(VARIANT_TRUE), S_OK);
  EXPECT_EQ(series->Save(), S_OK);
  ComPtr<IAppointment> occurrence = Occurrence(*series, Time(2026, 5, 3, 9, 30));
  EXPECT_EQ(Read(*occurrence, &IAppointment::get_Start), Day(2026, 5, 3));
  EXPECT_EQ(Read(*occurrence, &IAppointment::get_End), Day(2026, 5, 4));
  EXPECT_EQ(occurrence->Delete(), S_OK);
  EXPECT_EQ(ExceptionDates(*series), Dates{Day(2026, 5, 3)});
}

TEST_F(PimOccurrence, HasNoRecurrenceOfItsOwn) {
  ComPtr<IAppointment> series = Series();
  ComPtr<IAppointment> occurrence = Occurrence(*series, Day(2026, 5, 3));
  EXPECT_EQ(Read(*occurrence, &IAppointment::get_IsRecurring), VARIANT_FALSE);
  IRecurrencePattern* pattern = reinterpret_cast<IRecurrencePattern*>(1);
  EXPECT_EQ(occurrence->GetRecurrencePattern(&pattern), E_UNEXPECTED);
  EXPECT_EQ(pattern, nullptr);
  EXPECT_EQ(occurrence->ClearRecurrencePattern(), S_OK);
  EXPECT_EQ(occurrence->Save(), S_OK);
  EXPECT_EQ(Read(*Load<IAppointment>(Oid(*series)), &IAppointment::get_IsRecurring), VARIANT_TRUE);
}

// ---- Deleting -----------------------------------------------------------------------------------

TEST_F(PimOccurrence, IsAnExceptionOnceItIsDeleted) {
  ComPtr<IAppointment> series = Series();
  Delete(*series, Day(2026, 5, 3));
  ExpectNoOccurrence(*series, Day(2026, 5, 3));
  Occurrence(*series, Day(2026, 5, 2));
  Occurrence(*series, Day(2026, 5, 4));
  ComPtr<IAppointment> loaded = Load<IAppointment>(Oid(*series));
  ExpectNoOccurrence(*loaded, Day(2026, 5, 3));
  ComPtr<IExceptions> exceptions = Exceptions(*loaded);
  ASSERT_EQ(Read(*exceptions, &IExceptions::get_Count), 1);
  ComPtr<IException> exception;
  ASSERT_EQ(exceptions->Item(1, exception.put()), S_OK);
  EXPECT_EQ(Read(*exception, &IException::get_Deleted), VARIANT_TRUE);
  EXPECT_EQ(Read(*exception, &IException::get_OriginalDate), Time(2026, 5, 3, 9, 30));
  IAppointment* appointment = reinterpret_cast<IAppointment*>(1);
  EXPECT_EQ(exception->get_AppointmentItem(&appointment), S_FALSE);
  EXPECT_EQ(appointment, nullptr);
  EXPECT_EQ(Count(olFolderCalendar), 1);
}

TEST_F(PimOccurrence, MayBeTheFirstOfItsSeries) {
  ComPtr<IAppointment> series = Series();
  Delete(*series, Day(2026, 5, 1));
  ExpectNoOccurrence(*series, Day(2026, 5, 1));
  EXPECT_EQ(Read(*SavedAndLoaded(*series), &IAppointment::get_Start), Time(2026, 5, 1, 9, 30));
  EXPECT_EQ(ExceptionDates(*series), Dates{Time(2026, 5, 1, 9, 30)});
}

TEST_F(PimOccurrence, IsDeletedOnlyOnceAndNotSavedBackToLife) {
  ComPtr<IAppointment> series = Series();
  ComPtr<IAppointment> first = Occurrence(*series, Day(2026, 5, 3));
  ComPtr<IAppointment> second = Occurrence(*series, Day(2026, 5, 3));
  EXPECT_EQ(first->Delete(), S_OK);
  EXPECT_EQ(second->Delete(), kNotFound);
  EXPECT_EQ(second->Save(), kNotFound);
  EXPECT_EQ(first->Save(), kNotFound);
  EXPECT_EQ(ExceptionDates(*series).size(), 1u);
}

// ---- Changing -----------------------------------------------------------------------------------

TEST_F(PimOccurrence, IsAnExceptionOnceItIsChangedAndSaved) {
  ComPtr<IAppointment> series = Series();
  ComPtr<IAppointment> occurrence = Occurrence(*series, Day(2026, 5, 3));
  EXPECT_EQ(Put(*occurrence, &IAppointment::put_Subject, u"Run"), S_OK);
  EXPECT_EQ(occurrence->put_Start(Time(2026, 5, 4, 7, 0)), S_OK);
  EXPECT_EQ(ExceptionDates(*series), Dates{});
  EXPECT_EQ(occurrence->Save(), S_OK);

  ComPtr<IException> exception;
  ASSERT_EQ(Exceptions(*series)->Item(1, exception.put()), S_OK);
  EXPECT_EQ(Read(*exception, &IException::get_Deleted), VARIANT_FALSE);
  EXPECT_EQ(Read(*exception, &IException::get_OriginalDate), Time(2026, 5, 3, 9, 30));
  ComPtr<IAppointment> changed = ObjectOf(*exception, &IException::get_AppointmentItem);
  EXPECT_EQ(Get(*changed, &IAppointment::get_Subject), u"Run");
  EXPECT_EQ(Read(*changed, &IAppointment::get_Start), Time(2026, 5, 4, 7, 0));
  EXPECT_EQ(Read(*changed, &IAppointment::get_End), Time(2026, 5, 4, 8, 30));
  EXPECT_EQ(Get(*Load<IAppointment>(Oid(*series)), &IAppointment::get_Subject), u"Walk");
}

TEST_F(PimOccurrence, IsFoundByItsOriginalDayWhenItWasMoved) {
  ComPtr<IAppointment> series = Series();
  ComPtr<IAppointment> occurrence = Occurrence(*series, Day(2026, 5, 3));
  EXPECT_EQ(occurrence->put_Start(Time(2026, 6, 1, 7, 0)), S_OK);
  EXPECT_EQ(occurrence->Save(), S_OK);
  EXPECT_EQ(Read(*Occurrence(*series, Day(2026, 5, 3)), &IAppointment::get_Start),
            Time(2026, 6, 1, 7, 0));
  EXPECT_EQ(Read(*Occurrence(*series, Day(2026, 6, 1)), &IAppointment::get_Start),
            Time(2026, 6, 1, 9, 30));
}

TEST_F(PimOccurrence, IsStillTheSameExceptionWhenItIsChangedAgain) {
  ComPtr<IAppointment> series = Series();
  Rename(*series, Day(2026, 5, 3), u"Run");
  Rename(*series, Day(2026, 5, 3), u"Swim");
  EXPECT_EQ(ExceptionDates(*series).size(), 1u);
  EXPECT_EQ(Get(*Occurrence(*series, Day(2026, 5, 3)), &IAppointment::get_Subject), u"Swim");
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_appointments"), 2);
}

TEST_F(PimOccurrence, KeepsItsOwnValuesWhenTheSeriesChanges) {
  ComPtr<IAppointment> series = Series();
  Rename(*series, Day(2026, 5, 3), u"Run");
  EXPECT_EQ(Put(*series, &IAppointment::put_Subject, u"Stroll"), S_OK);
  EXPECT_EQ(series->put_Start(Time(2026, 5, 1, 10, 0)), S_OK);
  EXPECT_EQ(series->Save(), S_OK);
  EXPECT_EQ(Get(*Occurrence(*series, Day(2026, 5, 3)), &IAppointment::get_Subject), u"Run");
  EXPECT_EQ(Get(*Occurrence(*series, Day(2026, 5, 4)), &IAppointment::get_Subject), u"Stroll");
  EXPECT_EQ(ExceptionDates(*series), Dates{Time(2026, 5, 3, 10, 0)});
}

TEST_F(PimOccurrence, LeavesNothingOfItsChangesWhenItIsDeletedAfterwards) {
  ComPtr<IAppointment> series = Series();
  Rename(*series, Day(2026, 5, 3), u"Run");
  Delete(*series, Day(2026, 5, 3));
  ExpectNoOccurrence(*series, Day(2026, 5, 3));
  EXPECT_EQ(ExceptionDates(*series).size(), 1u);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_appointments"), 1);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_objects"), 1);
}

TEST_F(PimOccurrence, IsNoItemOfTheCalendarWhenItIsChanged) {
  ComPtr<IAppointment> series = Series();
  Rename(*series, Day(2026, 5, 3), u"Run");
  // One more, so that the occurrence's id is not the highest of all.
  ComPtr<IAppointment> later = NewAppointment(Time(2026, 5, 3, 9, 30), Time(2026, 5, 3, 10, 0));
  EXPECT_EQ(Put(*later, &IAppointment::put_Subject, u"Run"), S_OK);
  EXPECT_EQ(later->Save(), S_OK);
  const std::vector<LONG> other = {Oid(*later)};
  EXPECT_EQ(Count(olFolderCalendar), 2);
  EXPECT_EQ(FindAll<IAppointment>(*Items(olFolderCalendar), u"[Subject]=\"Run\""), other);
  EXPECT_EQ(FindAll<IAppointment>(*Items(olFolderCalendar), u"[Start]=\"05/03/2026 09:30\""),
            other);
  const LONG hidden = static_cast<LONG>(Rows("SELECT occurrence FROM pim_exceptions"));
  EXPECT_FALSE(Load<IAppointment>(hidden));
}

TEST_F(PimOccurrence, CopiesIntoAnAppointmentOfItsOwn) {
  ComPtr<IAppointment> series = Series();
  ComPtr<IAppointment> copy;
  ASSERT_EQ(Occurrence(*series, Day(2026, 5, 3))->Copy(copy.put()), S_OK);
  EXPECT_EQ(Oid(*copy), 0);
  ComPtr<IAppointment> loaded = SavedAndLoaded(*copy);
  EXPECT_NE(Oid(*loaded), Oid(*series));
  EXPECT_EQ(Read(*loaded, &IAppointment::get_Start), Time(2026, 5, 3, 9, 30));
  EXPECT_EQ(Read(*loaded, &IAppointment::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(ExceptionDates(*series), Dates{});
}

// ---- Exceptions and their series ----------------------------------------------------------------

class PimExceptions : public PimOccurrence {
 protected:
  // The 2nd and 5th deleted, the 4th changed.
  ComPtr<IAppointment> SeriesWithThree() {
    ComPtr<IAppointment> series = Series();
    Delete(*series, Day(2026, 5, 5));
    Rename(*series, Day(2026, 5, 4), u"Run");
    Delete(*series, Day(2026, 5, 2));
    return series;
  }
};

TEST_F(PimExceptions, AreNoneAtFirst) {
  EXPECT_EQ(ExceptionDates(*UnsavedSeries()), Dates{});
  EXPECT_EQ(ExceptionDates(*Series()), Dates{});
  EXPECT_EQ(ExceptionDates(*NewAppointment()), Dates{});
}

TEST_F(PimExceptions, AreInTheOrderOfTheirDays) {
  EXPECT_EQ(ExceptionDates(*SeriesWithThree()),
            (Dates{Time(2026, 5, 2, 9, 30), Time(2026, 5, 4, 9, 30), Time(2026, 5, 5, 9, 30)}));
}

TEST_F(PimExceptions, AreCountedFromOne) {
  ComPtr<IAppointment> series = SeriesWithThree();
  ComPtr<IExceptions> exceptions = Exceptions(*series);
  for (int index : {-1, 0, 4, 0x7FFFFFFF}) {
    IException* exception = reinterpret_cast<IException*>(1);
    EXPECT_EQ(exceptions->Item(index, &exception), E_INVALIDARG) << index;
    EXPECT_EQ(exception, nullptr);
  }
}

TEST_F(PimExceptions, StayWhenTheSeriesIsSavedWithTheSamePattern) {
  ComPtr<IAppointment> series = SeriesWithThree();
  ComPtr<IAppointment> loaded = SavedAndLoaded(*series);
  ComPtr<Pattern> pattern = PatternOf(*loaded);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(pattern->put_Interval(1), S_OK);
  EXPECT_EQ(pattern->put_NoEndDate(VARIANT_TRUE), S_OK);
  EXPECT_EQ(ExceptionDates(*SavedAndLoaded(*loaded)).size(), 3u);
  EXPECT_EQ(Get(*Occurrence(*loaded, Day(2026, 5, 4)), &IAppointment::get_Subject), u"Run");
}

TEST_F(PimExceptions, GoWhenTheChangedPatternHasTheirDaysNoMore) {
  ComPtr<IAppointment> series = SeriesWithThree();
  EXPECT_EQ(PatternOf(*series)->put_Interval(2), S_OK);
  EXPECT_EQ(ExceptionDates(*Load<IAppointment>(Oid(*series))).size(), 3u) << "not before the Save";
  EXPECT_EQ(ExceptionDates(*SavedAndLoaded(*series)), Dates{Time(2026, 5, 5, 9, 30)});
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_appointments"), 1) << "nor is the changed one kept";
}

TEST_F(PimExceptions, GoWhenTheSeriesMovesPastThem) {
  ComPtr<IAppointment> series = SeriesWithThree();
  EXPECT_EQ(series->put_Start(Time(2026, 5, 5, 9, 30)), S_OK);
  EXPECT_EQ(ExceptionDates(*SavedAndLoaded(*series)), Dates{Time(2026, 5, 5, 9, 30)});
}

TEST_F(PimExceptions, GoWithThePattern) {
  ComPtr<IAppointment> series = SeriesWithThree();
  EXPECT_EQ(series->ClearRecurrencePattern(), S_OK);
  EXPECT_EQ(ExceptionDates(*series), Dates{});
  EXPECT_EQ(series->Save(), S_OK);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_exceptions"), 0);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_objects"), 1);
}

TEST_F(PimExceptions, DoNotComeBackWithThePatternThatWasCleared) {
  ComPtr<IAppointment> series = SeriesWithThree();
  EXPECT_EQ(series->ClearRecurrencePattern(), S_OK);
  EXPECT_EQ(PatternOf(*series)->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(ExceptionDates(*series), Dates{});
  EXPECT_EQ(ExceptionDates(*SavedAndLoaded(*series)), Dates{});
  Occurrence(*series, Day(2026, 5, 2));
}

TEST_F(PimExceptions, GoWithTheSeries) {
  ComPtr<IAppointment> series = SeriesWithThree();
  ComPtr<IAppointment> occurrence = Occurrence(*series, Day(2026, 5, 6));
  ComPtr<IException> changed;
  ASSERT_EQ(Exceptions(*series)->Item(2, changed.put()), S_OK);
  EXPECT_EQ(series->Delete(), S_OK);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_exceptions"), 0);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_appointments"), 0);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_objects"), 0);
  EXPECT_EQ(occurrence->Save(), kNotFound);
  EXPECT_EQ(occurrence->Delete(), kNotFound);
  IAppointment* appointment = reinterpret_cast<IAppointment*>(1);
  EXPECT_EQ(changed->get_AppointmentItem(&appointment), kNotFound);
  EXPECT_EQ(appointment, nullptr);
}

TEST_F(PimExceptions, AreNotThoseOfACopy) {
  ComPtr<IAppointment> series = SeriesWithThree();
  ComPtr<IAppointment> copy;
  ASSERT_EQ(series->Copy(copy.put()), S_OK);
  EXPECT_EQ(ExceptionDates(*SavedAndLoaded(*copy)), Dates{});
  EXPECT_EQ(ExceptionDates(*series).size(), 3u);
}

TEST_F(PimExceptions, RefuseToAnswerIntoNothing) {
  ComPtr<IAppointment> series = SeriesWithThree();
  ComPtr<IExceptions> exceptions = Exceptions(*series);
  EXPECT_EQ(exceptions->Item(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(exceptions->get_Count(nullptr), E_INVALIDARG);
  EXPECT_EQ(exceptions->get_Application(nullptr), E_INVALIDARG);
  ComPtr<IException> exception;
  ASSERT_EQ(exceptions->Item(1, exception.put()), S_OK);
  EXPECT_EQ(exception->get_AppointmentItem(nullptr), E_INVALIDARG);
  EXPECT_EQ(exception->get_OriginalDate(nullptr), E_INVALIDARG);
  EXPECT_EQ(exception->get_Deleted(nullptr), E_INVALIDARG);
  EXPECT_EQ(exception->get_Application(nullptr), E_INVALIDARG);
}

// The seconds that it takes to delete the first occurrences of a daily series, to change its pattern
// so that all stay, and to list them.
class PimManyExceptions : public PimOccurrence {
 protected:
  double SecondsFor(int count) {
    ComPtr<IAppointment> series = Series();
    ComPtr<Pattern> pattern = PatternOf(*series);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
      ComPtr<IAppointment> occurrence;
      EXPECT_EQ(pattern->GetOccurrence(Day(2026, 5, 1) + i, occurrence.put()), S_OK);
      EXPECT_EQ(occurrence->Delete(), S_OK);
    }
    EXPECT_EQ(pattern->put_Occurrences(count + 1), S_OK);
    EXPECT_EQ(series->Save(), S_OK);
    EXPECT_EQ(ExceptionDates(*series).size(), static_cast<size_t>(count));
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return time.count();
  }
};

TEST_F(PimManyExceptions, CostInProportionToTheirNumber) {
  const double few = SecondsFor(1000);
  const double many = SecondsFor(10000);
  EXPECT_LT(many, 40 * few);  // 100 times as much if each cost more the more there are
}

}  // namespace
}  // namespace occurrence_test

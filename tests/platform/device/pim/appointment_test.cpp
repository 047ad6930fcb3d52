#include "platform/device/pim/appointment.h"

#include <cmath>
#include <limits>

#include "platform/device/pim/dates.h"
#include "tests/platform/device/pim/calendar_fixture.h"

namespace appointment_test {
namespace {

using namespace pim_test;

class PimAppointment : public PimCalendarTest {
 protected:
  static DATE Start(IAppointment& item) { return Read(item, &IAppointment::get_Start); }
  static DATE End(IAppointment& item) { return Read(item, &IAppointment::get_End); }
  static LONG Duration(IAppointment& item) { return Read(item, &IAppointment::get_Duration); }

  static void ExpectTimes(IAppointment& item, DATE start, DATE end, LONG duration) {
    EXPECT_EQ(Start(item), start);
    EXPECT_EQ(End(item), end);
    EXPECT_EQ(Duration(item), duration);
  }
};

// ---- Texts --------------------------------------------------------------------------------------

struct TextProperty {
  const char* name;
  const char* column;
  HRESULT (IAppointment::*getter)(BSTR*);
  HRESULT (IAppointment::*setter)(BSTR);
};

const TextProperty kTexts[] = {
    {"Subject", "subject", &IAppointment::get_Subject, &IAppointment::put_Subject},
    {"Location", "location", &IAppointment::get_Location, &IAppointment::put_Location},
    {"Categories", "categories", &IAppointment::get_Categories, &IAppointment::put_Categories},
    {"Body", "body", &IAppointment::get_Body, &IAppointment::put_Body},
    {"ReminderSoundFile", "reminder_sound_file", &IAppointment::get_ReminderSoundFile,
     &IAppointment::put_ReminderSoundFile},
};

class PimAppointmentText : public PimAppointment,
                           public testing::WithParamInterface<TextProperty> {};

INSTANTIATE_TEST_SUITE_P(Every, PimAppointmentText, testing::ValuesIn(kTexts),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimAppointmentText, IsEmptyAndNotNullWhereItWasNeverPut) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Get(*appointment, GetParam().getter), u"");
  EXPECT_EQ(Get(*SavedAndLoaded(*appointment), GetParam().getter), u"");
}

TEST_P(PimAppointmentText, ComesBackInItsOwnPropertyAndNoOther) {
  ComPtr<IAppointment> appointment = NewAppointment();
  const std::u16string value = u"v\u00E4lue \U0001F600";
  EXPECT_EQ(Put(*appointment, GetParam().setter, value), S_OK);
  ComPtr<IAppointment> loaded = SavedAndLoaded(*appointment);
  for (const TextProperty& other : kTexts) {
    EXPECT_EQ(Get(*loaded, other.getter), other.setter == GetParam().setter ? value : u"")
        << other.name;
  }
}

TEST_P(PimAppointmentText, LiesInTheColumnOfItsName) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Put(*appointment, GetParam().setter, u"value"), S_OK);
  EXPECT_EQ(appointment->Save(), S_OK);
  const std::string query = "SELECT COUNT(*) FROM pim_appointments WHERE " +
                            std::string(GetParam().column) + " = 'value'";
  EXPECT_EQ(Rows(query.c_str()), 1);
}

TEST_P(PimAppointmentText, CanBeEmptiedAgain) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Put(*appointment, GetParam().setter, u"value"), S_OK);
  EXPECT_EQ(appointment->Save(), S_OK);
  EXPECT_EQ((appointment.get()->*GetParam().setter)(nullptr), S_OK);
  EXPECT_EQ(Get(*SavedAndLoaded(*appointment), GetParam().getter), u"");
  EXPECT_EQ((appointment.get()->*GetParam().getter)(nullptr), E_INVALIDARG);
}

TEST_F(PimAppointment, KeepsANoteOfFiveMegabytesWhole) {
  std::u16string note;
  while (note.size() < 5'242'880) note += u"Stra\u00DFe \u4E2D\u6587 \U0001F600\r\n";
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Put(*appointment, &IAppointment::put_Body, note), S_OK);
  EXPECT_TRUE(Get(*SavedAndLoaded(*appointment), &IAppointment::get_Body) == note);
}

// ---- Numbers and flags --------------------------------------------------------------------------

struct NumberProperty {
  const char* name;
  HRESULT (IAppointment::*getter)(LONG*);
  HRESULT (IAppointment::*setter)(LONG);
  LONG fresh, lowest, highest;
};

const NumberProperty kNumbers[] = {
    {"BusyStatus", &IAppointment::get_BusyStatus, &IAppointment::put_BusyStatus, 2, 0, 3},
    {"Sensitivity", &IAppointment::get_Sensitivity, &IAppointment::put_Sensitivity, 0, 0, 3},
    {"ReminderMinutesBeforeStart", &IAppointment::get_ReminderMinutesBeforeStart,
     &IAppointment::put_ReminderMinutesBeforeStart, 15, 0, 0x7FFFFFFF},
    {"ReminderOptions", &IAppointment::get_ReminderOptions, &IAppointment::put_ReminderOptions, 0,
     0, 31},
};

class PimAppointmentNumber : public PimAppointment,
                             public testing::WithParamInterface<NumberProperty> {
 protected:
  static LONG Number(IAppointment& item, const NumberProperty& property = GetParam()) {
    return Read(item, property.getter);
  }
};

INSTANTIATE_TEST_SUITE_P(Every, PimAppointmentNumber, testing::ValuesIn(kNumbers),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimAppointmentNumber, HasItsValueFromTheStart) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Number(*appointment), GetParam().fresh);
  EXPECT_EQ(Number(*SavedAndLoaded(*appointment)), GetParam().fresh);
  EXPECT_EQ((appointment.get()->*GetParam().getter)(nullptr), E_INVALIDARG);
}

TEST_P(PimAppointmentNumber, ComesBackInItsOwnPropertyAndNoOther) {
  for (LONG value : {GetParam().lowest, LONG{1}, GetParam().highest}) {
    ComPtr<IAppointment> appointment = NewAppointment();
    EXPECT_EQ((appointment.get()->*GetParam().setter)(value), S_OK);
    ComPtr<IAppointment> loaded = SavedAndLoaded(*appointment);
    for (const NumberProperty& other : kNumbers) {
      EXPECT_EQ(Number(*loaded, other), other.setter == GetParam().setter ? value : other.fresh)
          << other.name;
    }
  }
}

TEST_P(PimAppointmentNumber, RefusesWhatItCannotBeAndKeepsWhatItHad) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ((appointment.get()->*GetParam().setter)(1), S_OK);
  EXPECT_EQ((appointment.get()->*GetParam().setter)(GetParam().lowest - 1), E_INVALIDARG);
  if (GetParam().highest != 0x7FFFFFFF) {
    EXPECT_EQ((appointment.get()->*GetParam().setter)(GetParam().highest + 1), E_INVALIDARG);
  }
  EXPECT_EQ(Number(*appointment), 1);
}

struct FlagProperty {
  const char* name;
  HRESULT (IAppointment::*getter)(VARIANT_BOOL*);
  HRESULT (IAppointment::*setter)(VARIANT_BOOL);
};

const FlagProperty kFlags[] = {
    {"AllDayEvent", &IAppointment::get_AllDayEvent, &IAppointment::put_AllDayEvent},
    {"ReminderSet", &IAppointment::get_ReminderSet, &IAppointment::put_ReminderSet},
};

class PimAppointmentFlag : public PimAppointment,
                           public testing::WithParamInterface<FlagProperty> {};

INSTANTIATE_TEST_SUITE_P(Every, PimAppointmentFlag, testing::ValuesIn(kFlags),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimAppointmentFlag, IsFalseUntilPut) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Read(*appointment, GetParam().getter), VARIANT_FALSE);
  EXPECT_EQ(Read(*SavedAndLoaded(*appointment), GetParam().getter), VARIANT_FALSE);
  EXPECT_EQ((appointment.get()->*GetParam().getter)(nullptr), E_INVALIDARG);
}

TEST_P(PimAppointmentFlag, IsTrueForEverythingButZero) {
  for (VARIANT_BOOL value : {VARIANT_BOOL{1}, VARIANT_TRUE}) {
    ComPtr<IAppointment> appointment = NewAppointment();
    EXPECT_EQ((appointment.get()->*GetParam().setter)(value), S_OK);
    ComPtr<IAppointment> loaded = SavedAndLoaded(*appointment);
    for (const FlagProperty& other : kFlags) {
      EXPECT_EQ(Read(*loaded, other.getter),
                other.setter == GetParam().setter ? VARIANT_TRUE : VARIANT_FALSE);
    }
    EXPECT_EQ((loaded.get()->*GetParam().setter)(VARIANT_FALSE), S_OK);
    EXPECT_EQ(Read(*SavedAndLoaded(*loaded), GetParam().getter), VARIANT_FALSE);
  }
}

// ---- Times --------------------------------------------------------------------------------------

TEST_F(PimAppointment, BeginsWithTheNextFullHourAndTakesOne) {
  const DATE before = device::LocalNow();
  ComPtr<IAppointment> appointment = NewAppointment();
  const DATE after = device::LocalNow();
  const DATE start = Start(*appointment);
  EXPECT_GT(start, before);
  EXPECT_LE(start, after + 1.0 / 24 + 1e-9);
  EXPECT_NEAR(start * 24, std::round(start * 24), 1e-6);
  EXPECT_NEAR(End(*appointment), start + 1.0 / 24, 1e-9);
  EXPECT_EQ(Duration(*appointment), 60);
}

TEST_F(PimAppointment, KeepsItsTimesToTheSecond) {
  const DATE start = Time(2026, 3, 14, 9, 30, 15);
  const DATE end = Time(2026, 3, 14, 10, 45, 59);
  ComPtr<IAppointment> appointment = NewAppointment(start, end);
  ExpectTimes(*appointment, start, end, 75);
  ExpectTimes(*SavedAndLoaded(*appointment), start, end, 75);
}

TEST_F(PimAppointment, MovesItsEndWithItsStart) {
  ComPtr<IAppointment> appointment =
      NewAppointment(Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0));
  EXPECT_EQ(appointment->put_Start(Time(2026, 12, 31, 23, 0)), S_OK);
  ExpectTimes(*appointment, Time(2026, 12, 31, 23, 0), Time(2027, 1, 1, 0, 30), 90);
}

TEST_F(PimAppointment, MovesItsEndWithItsDuration) {
  ComPtr<IAppointment> appointment =
      NewAppointment(Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0));
  EXPECT_EQ(appointment->put_Duration(45), S_OK);
  ExpectTimes(*appointment, Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 10, 15), 45);
  EXPECT_EQ(appointment->put_Duration(0), S_OK);
  ExpectTimes(*appointment, Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 9, 30), 0);
}

TEST_F(PimAppointment, ChangesItsDurationWithItsEnd) {
  ComPtr<IAppointment> appointment =
      NewAppointment(Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0));
  EXPECT_EQ(appointment->put_End(Time(2026, 3, 16, 9, 29, 59)), S_OK);
  ExpectTimes(*appointment, Time(2026, 3, 14, 9, 30), Time(2026, 3, 16, 9, 29, 59), 2 * 1440 - 1);
  EXPECT_EQ(appointment->put_End(Time(2026, 3, 14, 9, 30)), S_OK);
  EXPECT_EQ(Duration(*appointment), 0);
}

TEST_F(PimAppointment, RefusesAnEndBeforeItsStart) {
  ComPtr<IAppointment> appointment =
      NewAppointment(Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0));
  EXPECT_EQ(appointment->put_End(Time(2026, 3, 14, 9, 29, 59)), E_INVALIDDATES);
  EXPECT_EQ(appointment->put_Duration(-1), E_INVALIDARG);
  ExpectTimes(*appointment, Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0), 90);
}

TEST_F(PimAppointment, RefusesWhatIsNoTimeAndKeepsWhatItHad) {
  ComPtr<IAppointment> appointment =
      NewAppointment(Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0));
  for (DATE bad : {-657435.0, 2958466.0, 1e300, std::nan(""), DATE_NONE,
                   std::numeric_limits<DATE>::infinity()}) {
    EXPECT_EQ(appointment->put_Start(bad), E_INVALIDARG) << bad;
    EXPECT_EQ(appointment->put_End(bad), E_INVALIDARG) << bad;
  }
  ExpectTimes(*appointment, Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0), 90);
  EXPECT_EQ(appointment->get_Start(nullptr), E_INVALIDARG);
  EXPECT_EQ(appointment->get_End(nullptr), E_INVALIDARG);
  EXPECT_EQ(appointment->get_Duration(nullptr), E_INVALIDARG);
}

TEST_F(PimAppointment, MayLieAnywhereFromTheYear100To9999) {
  for (const auto& [start, end] : {std::pair(Day(100, 1, 1), Time(100, 1, 1, 1, 0)),
                                   std::pair(Time(9999, 12, 31, 22, 0), Time(9999, 12, 31, 23, 0)),
                                   std::pair(Time(1899, 12, 30, 6, 0), Time(1899, 12, 30, 7, 0))}) {
    ComPtr<IAppointment> appointment = NewAppointment(start, end);
    ExpectTimes(*SavedAndLoaded(*appointment), start, end, 60);
  }
}

// The fraction counts forward there, too: the number of a later time is less.
TEST_F(PimAppointment, HasItsTimesOfDayAlsoBeforeDayZero) {
  const DATE six = Day(1890, 5, 1) - 0.25;
  const DATE half_past_seven = Day(1890, 5, 1) - 0.3125;
  ComPtr<IAppointment> appointment = NewAppointment(six, half_past_seven);
  ExpectTimes(*SavedAndLoaded(*appointment), six, half_past_seven, 90);
  EXPECT_EQ(appointment->put_End(Day(1890, 5, 1)), E_INVALIDDATES);
  EXPECT_EQ(appointment->put_Start(Day(1899, 12, 29) - 0.9375), S_OK) << "22:30";
  ExpectTimes(*appointment, Day(1899, 12, 29) - 0.9375, Day(1899, 12, 30), 90);
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_TRUE), S_OK);
  ExpectTimes(*appointment, Day(1899, 12, 29), Day(1899, 12, 30), 1440);
}

TEST_F(PimAppointment, EndsWithTheLastDayAtTheLatest) {
  ComPtr<IAppointment> appointment = NewAppointment(Day(2026, 1, 1), Day(2027, 1, 1));
  EXPECT_EQ(appointment->put_Start(Time(9999, 12, 31, 12, 0)), S_OK);
  EXPECT_EQ(End(*appointment), 2958466.0);
  EXPECT_EQ(appointment->put_Duration(721), E_INVALIDARG);
  EXPECT_EQ(Duration(*appointment), 720);
}

TEST_F(PimAppointment, CountsAsManyMinutesAsANumberHolds) {
  ComPtr<IAppointment> appointment = NewAppointment(Day(100, 1, 1), Day(9999, 1, 1));
  EXPECT_EQ(Duration(*appointment), 0x7FFFFFFF);
}

struct AllDay {
  const char* name;
  DATE start, end;            // as put
  DATE first_day, day_after;  // as read
};

class PimAllDayEvent : public PimAppointment, public testing::WithParamInterface<AllDay> {};

INSTANTIATE_TEST_SUITE_P(
    Of, PimAllDayEvent,
    testing::Values(AllDay{"MidnightToTheLastSecond", Day(2026, 5, 1), Time(2026, 5, 1, 23, 59, 59),
                           Day(2026, 5, 1), Day(2026, 5, 2)},
                    AllDay{"MidnightToTheNextMidnight", Day(2026, 5, 1), Day(2026, 5, 2),
                           Day(2026, 5, 1), Day(2026, 5, 2)},
                    AllDay{"MidnightToTheSameMidnight", Day(2026, 5, 1), Day(2026, 5, 1),
                           Day(2026, 5, 1), Day(2026, 5, 2)},
                    AllDay{"AnHourOfTheDay", Time(2026, 5, 1, 9, 0), Time(2026, 5, 1, 10, 0),
                           Day(2026, 5, 1), Day(2026, 5, 2)},
                    AllDay{"AnHourAcrossMidnight", Time(2026, 5, 1, 23, 30),
                           Time(2026, 5, 2, 0, 30), Day(2026, 5, 1), Day(2026, 5, 3)},
                    AllDay{"ThreeDaysToTheLastSecond", Day(2026, 5, 1),
                           Time(2026, 5, 3, 23, 59, 59), Day(2026, 5, 1), Day(2026, 5, 4)},
                    AllDay{"ThreeDaysToMidnight", Day(2026, 5, 1), Day(2026, 5, 4), Day(2026, 5, 1),
                           Day(2026, 5, 4)}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimAllDayEvent, TakesWholeDaysUpToTheDayAfter) {
  ComPtr<IAppointment> appointment = NewAppointment(GetParam().start, GetParam().end);
  EXPECT_EQ(appointment->put_AllDayEvent(1), S_OK);
  const LONG minutes = static_cast<LONG>(GetParam().day_after - GetParam().first_day) * 1440;
  ExpectTimes(*appointment, GetParam().first_day, GetParam().day_after, minutes);
  ExpectTimes(*SavedAndLoaded(*appointment), GetParam().first_day, GetParam().day_after, minutes);
}

TEST_P(PimAllDayEvent, IsTheSameWhicheverIsPutFirst) {
  ComPtr<IAppointment> appointment = NewAppointment(Day(2025, 1, 1), Day(2025, 1, 1));
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_TRUE), S_OK);
  EXPECT_EQ(appointment->put_Start(GetParam().start), S_OK);
  EXPECT_EQ(appointment->put_End(GetParam().end), S_OK);
  EXPECT_EQ(Start(*appointment), GetParam().first_day);
  EXPECT_EQ(End(*appointment), GetParam().day_after);
}

TEST_P(PimAllDayEvent, HasItsTimesAgainWhenItIsNoneAfterAll) {
  ComPtr<IAppointment> appointment = NewAppointment(GetParam().start, GetParam().end);
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_TRUE), S_OK);
  EXPECT_EQ(appointment->Save(), S_OK);
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_FALSE), S_OK);
  EXPECT_EQ(Start(*appointment), GetParam().start);
  EXPECT_EQ(End(*appointment), GetParam().end);
  ComPtr<IAppointment> loaded = SavedAndLoaded(*appointment);
  EXPECT_EQ(Start(*loaded), GetParam().start);
  EXPECT_EQ(End(*loaded), GetParam().end);
}

TEST_P(PimAllDayEvent, IsStoredInWholeDays) {
  ComPtr<IAppointment> appointment = NewAppointment(GetParam().start, GetParam().end);
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_TRUE), S_OK);
  ComPtr<IAppointment> loaded = SavedAndLoaded(*appointment);
  EXPECT_EQ(loaded->put_AllDayEvent(VARIANT_FALSE), S_OK);
  EXPECT_EQ(Start(*loaded), GetParam().first_day);
  EXPECT_EQ(End(*loaded), GetParam().day_after);
}

TEST_F(PimAppointment, KeepsItsLengthInDaysWhenAnAllDayEventMoves) {
  ComPtr<IAppointment> appointment = NewAppointment(Time(2026, 5, 1, 9, 0), Time(2026, 5, 2, 8, 0));
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_TRUE), S_OK);
  EXPECT_EQ(appointment->put_Start(Time(2026, 6, 1, 12, 0)), S_OK);
  ExpectTimes(*appointment, Day(2026, 6, 1), Day(2026, 6, 3), 2880);
}

TEST_F(PimAppointment, TurnsFromAllDayIntoTimedWithTimesThatWerePutBefore) {
  ComPtr<IAppointment> stored = NewAppointment(Day(2026, 5, 1), Day(2026, 5, 3));
  EXPECT_EQ(stored->put_AllDayEvent(VARIANT_TRUE), S_OK);
  ComPtr<IAppointment> loaded = SavedAndLoaded(*stored);
  EXPECT_EQ(loaded->put_Start(Time(2026, 5, 7, 9, 0)), S_OK);
  EXPECT_EQ(loaded->put_End(Time(2026, 5, 7, 9, 30)), S_OK);
  EXPECT_EQ(loaded->Save(), S_OK) << "as for exceptions, in between";
  EXPECT_EQ(loaded->put_AllDayEvent(VARIANT_FALSE), S_OK);
  ExpectTimes(*SavedAndLoaded(*loaded), Time(2026, 5, 7, 9, 0), Time(2026, 5, 7, 9, 30), 30);
}

TEST_F(PimAppointment, NeverEndsBeforeItsStartAfterAnAllDayEvent) {
  ComPtr<IAppointment> appointment = NewAppointment(Time(2026, 5, 1, 9, 0), Day(2026, 5, 2));
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_TRUE), S_OK);
  EXPECT_EQ(appointment->put_End(Day(2026, 5, 1)), S_OK);
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_FALSE), S_OK);
  ExpectTimes(*appointment, Time(2026, 5, 1, 9, 0), Time(2026, 5, 1, 9, 0), 0);
}

// ---- Saving -------------------------------------------------------------------------------------

TEST_F(PimAppointment, HasNoIdBeforeItsFirstSaveAndKeepsItsIdAfterwards) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Oid(*appointment), 0);
  EXPECT_EQ(Count(olFolderCalendar), 0);
  EXPECT_EQ(appointment->Save(), S_OK);
  const LONG oid = Oid(*appointment);
  EXPECT_GT(oid, 0);
  EXPECT_EQ(appointment->Save(), S_OK);
  EXPECT_EQ(Oid(*appointment), oid);
  EXPECT_EQ(Oid(*Load<IAppointment>(oid)), oid);
  EXPECT_EQ(Count(olFolderCalendar), 1);
  EXPECT_EQ(Count(olFolderContacts), 0);
  EXPECT_EQ(Count(olFolderTasks), 0);
}

TEST_F(PimAppointment, SharesTheIdsWithAllOtherKinds) {
  const LONG contact = SaveContact();
  ComPtr<IAppointment> appointment = NewAppointment();
  ComPtr<ITask> task = NewTask();
  EXPECT_EQ(appointment->Save(), S_OK);
  EXPECT_EQ(task->Save(), S_OK);
  EXPECT_GT(Oid(*appointment), contact);
  EXPECT_GT(Oid(*task), Oid(*appointment));
  const LONG last = Oid(*task);
  EXPECT_EQ(task->Delete(), S_OK);
  EXPECT_EQ(appointment->Delete(), S_OK);
  EXPECT_GT(SaveContact(), last);
}

TEST_F(PimAppointment, CannotBeDeletedUnsavedOrTwiceNorSavedBackToLife) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(appointment->Delete(), E_UNEXPECTED);
  EXPECT_EQ(appointment->Save(), S_OK);
  EXPECT_EQ(appointment->Delete(), S_OK);
  EXPECT_EQ(appointment->Delete(), kNotFound);
  EXPECT_EQ(appointment->Save(), kNotFound);
  EXPECT_EQ(Count(olFolderCalendar), 0);
}

TEST_F(PimAppointment, CopiesItsValuesRecipientsAndRecurrenceIntoAnUnsavedOne) {
  ComPtr<IAppointment> appointment =
      NewAppointment(Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0));
  EXPECT_EQ(Put(*appointment, &IAppointment::put_Subject, u"Lunch"), S_OK);
  ComPtr<IRecipient> recipient;
  EXPECT_EQ(ObjectOf(*appointment, &IAppointment::get_Recipients)
                ->Add(Bstr(u"Ann").get(), recipient.put()),
            S_OK);
  EXPECT_EQ(PatternOf(*appointment)->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(appointment->Save(), S_OK);
  ComPtr<IAppointment> copy;
  ASSERT_EQ(appointment->Copy(copy.put()), S_OK);
  EXPECT_EQ(Oid(*copy), 0);
  EXPECT_EQ(Put(*recipient, &IRecipient::put_Address, u"a@b"), S_OK);
  ComPtr<IAppointment> loaded = SavedAndLoaded(*copy);
  EXPECT_NE(Oid(*loaded), Oid(*appointment));
  EXPECT_EQ(Get(*loaded, &IAppointment::get_Subject), u"Lunch");
  ExpectTimes(*loaded, Time(2026, 3, 14, 9, 30), Time(2026, 3, 14, 11, 0), 90);
  EXPECT_EQ(Read(*loaded, &IAppointment::get_IsRecurring), VARIANT_TRUE);
  ComPtr<IRecipients> recipients = ObjectOf(*loaded, &IAppointment::get_Recipients);
  ASSERT_EQ(recipients->Item(1, recipient.put()), S_OK);
  EXPECT_EQ(Get(*recipient, &IRecipient::get_Address), u"") << "copied before it was put";
  EXPECT_EQ(appointment->Copy(nullptr), E_INVALIDARG);
}

// Flags are nothing that handhelds look for.
TEST_F(PimAppointment, IsNotFoundByAFlag) {
  ASSERT_EQ(NewAppointment(Day(2002, 7, 1), Day(2002, 7, 2))->Save(), S_OK);
  for (const char16_t* restriction : {u"[AllDayEvent]=\"1\"", u"[ReminderSet]=1"}) {
    IDispatch* item = reinterpret_cast<IDispatch*>(1);
    EXPECT_EQ(Items(olFolderCalendar)->Find(Bstr(restriction).get(), &item), E_INVALIDARG);
    EXPECT_EQ(item, nullptr);
  }
}

}  // namespace
}  // namespace appointment_test

// Items that go out as a file and come in again: what they have become is what they were, and what a file
// has no room for is lost in these ways and in no other.
#include <rapidcheck.h>

#include <cctype>

#include "btosif/osif_generators/vcalendar_writer.h"
#include "tests/BtOsif_pol/stored_items.h"
#include "tests/support/random_text.h"

namespace calendar_round_trip_test {
namespace {

using namespace support;
using testing::ElementsAre;

int32_t Below(int32_t bound) { return *rc::gen::inRange<int32_t>(0, bound); }
bool Maybe() { return Below(2) == 1; }

void Get(IAppointment& item, OsifObject& object) { pol_GetAppointment(item, object); }
void Get(ITask& task, OsifObject& object) { pol_GetTask(task, object); }
void Put(OsifObject& object, IAppointment& item) { pol_PutAppointment(object, item); }
void Put(OsifObject& object, ITask& task) { pol_PutTask(object, task); }

// The file that an item becomes.
template <typename Item>
std::string FileOf(Item& item) {
  OwnedObject object(OSIF_STORE_CAL);
  Get(item, *object);
  return BytesWritten([&](OsifStream& stream) { VCalendar_Write(stream, *object, 1); });
}

// A file's only item, stored anew.
template <typename Item>
void Receive(const std::string& file, Item& item) {
  auto store = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    Put(*object, *static_cast<Item*>(context));
    return 0;
  };
  OsifStream stream = OpenBytes(file);
  EXPECT_EQ(VCalendar_ReadFile(stream, store, &item), OsifResult{OSIF_PARSE_OK}) << file;
  EXPECT_EQ(item.Save(), S_OK) << file;
}

class ItemRoundTrip : public CalendarTest {
 protected:
  // Adds, sends and receives; fails when anything of the item is not what it was.
  void ExpectBack(IAppointment& item) {
    ASSERT_EQ(item.Save(), S_OK);
    ComPtr<IAppointment> again = NewAppointment();
    Receive(FileOf(item), *again);
    RC_ASSERT(StoredLines(*again) == StoredLines(item));
  }
  void ExpectBack(ITask& task) {
    ASSERT_EQ(task.Save(), S_OK);
    ComPtr<ITask> again = NewTask();
    Receive(FileOf(task), *again);
    RC_ASSERT(StoredLines(*again) == StoredLines(task));
  }

  // What becomes of an item.
  TextLines Back(IAppointment& item) {
    EXPECT_EQ(item.Save(), S_OK);
    ComPtr<IAppointment> again = NewAppointment();
    Receive(FileOf(item), *again);
    return StoredLines(*again);
  }
  TextLines Back(ITask& task) {
    EXPECT_EQ(task.Save(), S_OK);
    ComPtr<ITask> again = NewTask();
    Receive(FileOf(task), *again);
    return StoredLines(*again);
  }
};

// ---- Random items -----------------------------------------------------------------------------------

// The local time that a date goes out and comes in as: another one only where the clocks skip it.
DATE OnTheClocks(DATE date) {
  FILETIME utc{};
  DATE local = 0;
  EXPECT_NE(DateToFileTime(date, &utc), 0);
  EXPECT_NE(FileTimeToDate(utc, &local), 0);
  return local;
}

// To the second, over all seasons.
DATE RandomTime() { return OnTheClocks(At("19900101") + Below(15000) + Below(86400) / 86400.0); }

// Of every type. The interval of yearly types does not go out.
template <typename Item>
void PutRandomPattern(Item& item) {
  const LONG type = *rc::gen::element<LONG>(-1, 0, 1, 2, 3, 5, 6);
  if (type == olRecursOnce) return;
  auto pattern = PatternOf(item);
  EXPECT_EQ(pattern->put_RecurrenceType(type), S_OK);
  const bool is_yearly = type == olRecursYearly || type == olRecursYearNth;
  const bool is_nth = type == olRecursMonthNth || type == olRecursYearNth;
  if (!is_yearly) {
    EXPECT_EQ(pattern->put_Interval(1 + Below(999)), S_OK);
  }
  if (type == olRecursWeekly || is_nth) {
    EXPECT_EQ(pattern->put_DayOfWeekMask(1 + Below(127)), S_OK);
  }
  if (is_nth) {
    EXPECT_EQ(pattern->put_Instance(1 + Below(5)), S_OK);
  }
  if (type == olRecursMonthly || type == olRecursYearly) {
    EXPECT_EQ(pattern->put_DayOfMonth(1 + Below(31)), S_OK);
  }
  if (is_yearly) {
    EXPECT_EQ(pattern->put_MonthOfYear(1 + Below(12)), S_OK);
  }
  EXPECT_EQ(Maybe() ? pattern->put_NoEndDate(-1) : pattern->put_Occurrences(1 + Below(30)), S_OK);
}

// Deletes some of the first occurrences of a saved series.
void DeleteSomeOccurrences(IAppointment& item) {
  if (!FlagOf(item, &IAppointment::get_IsRecurring)) return;
  auto pattern = PatternOf(item);
  DATE start = 0;
  EXPECT_EQ(item.get_Start(&start), S_OK);
  for (int days = 0; days < 40; ++days) {
    ComPtr<IAppointment> occurrence;
    if (SUCCEEDED(pattern->GetOccurrence(start + days, occurrence.put())) && Maybe()) {
      EXPECT_EQ(occurrence->Delete(), S_OK);
    }
  }
}

// Without the brackets, and the blanks at the end, that stand between a name and its address.
void AddRandomRecipients(IAppointment& item) {
  const WideText letters = u"aZ0 .@;\\=:\u00eb\u65e5";
  for (int count = Below(4); count > 0; --count) {
    const WideText name = *WideTextOver(letters) + u"n";
    AddRecipient(item, name, Maybe() ? name : *WideTextOver(letters) + u"a");
  }
}

// A text that is not empty: an empty one leaves what the item has.
WideText SomeText() { return u"x" + *AnyWideText(); }

TEST_F(ItemRoundTrip, AnyAppointmentComesBackAsItWas) {
  EXPECT_TRUE(rc::check([this] {
    TimeZone zone(kFiveZones[Below(5)]);
    auto item = NewAppointment();
    PutText(*item, &IAppointment::put_Subject, SomeText());
    PutText(*item, &IAppointment::put_Location, SomeText());
    PutText(*item, &IAppointment::put_Categories, SomeText());
    PutText(*item, &IAppointment::put_Body, SomeText());
    const bool is_all_day = Maybe();
    const DATE start = RandomTime();
    item->put_Start(start);
    EXPECT_EQ(item->put_End(OnTheClocks(start + Below(3000) / 1440.0)), S_OK);
    item->put_AllDayEvent(is_all_day ? -1 : 0);
    item->put_BusyStatus(1 + Below(2));
    item->put_Sensitivity(2 * Below(2));
    // From one to the other side of a change of the clocks a reminder keeps its distance in local time.
    item->put_ReminderSet(Maybe() ? -1 : 0);
    item->put_ReminderMinutesBeforeStart(0);
    AddRandomRecipients(*item);
    PutRandomPattern(*item);
    const bool is_recurring = FlagOf(*item, &IAppointment::get_IsRecurring);
    if (is_all_day && is_recurring) item->put_Duration(0);
    ASSERT_EQ(item->Save(), S_OK);
    DeleteSomeOccurrences(*item);
    ExpectBack(*item);
  }));
}

TEST_F(ItemRoundTrip, AnyTaskComesBackAsItWas) {
  EXPECT_TRUE(rc::check([this] {
    TimeZone zone(kFiveZones[Below(5)]);
    auto task = NewTask();
    PutText(*task, &ITask::put_Subject, SomeText());
    PutText(*task, &ITask::put_Categories, *AnyWideText());
    PutText(*task, &ITask::put_Body, SomeText());
    const DATE start = At("19900101") + Below(15000);
    if (Maybe()) task->put_StartDate(start);
    task->put_DueDate(start + Below(30));
    task->put_Importance(Below(3));
    task->put_Sensitivity(2 * Below(2));
    task->put_Complete(Maybe() ? -1 : 0);
    task->put_ReminderSet(Maybe() ? -1 : 0);
    task->put_ReminderTime(start - Below(100));
    PutRandomPattern(*task);
    ExpectBack(*task);
  }));
}

// Reminders of up to 45 days, where no clocks are changed between them and the start.
TEST_F(ItemRoundTrip, AReminderComesBackToTheMinute) {
  EXPECT_TRUE(rc::check([this] {
    TimeZone zone(*rc::gen::element("UTC", "Asia/Kolkata"));
    auto item = NewAppointment();
    item->put_Start(RandomTime());
    item->put_AllDayEvent(Maybe() ? -1 : 0);
    item->put_ReminderSet(-1);
    item->put_ReminderMinutesBeforeStart(Below(45 * 1440 + 1));
    ExpectBack(*item);
  }));
}

// ---- Around the changes of the clocks ---------------------------------------------------------------

struct ChangeOfClocks {
  const char* zone;
  const char* day;  // of the change
  int before;       // minutes of the day before which all is as on other days
  int first_after;  // and from which it is again
};
void PrintTo(const ChangeOfClocks& change, std::ostream* out) { *out << change.zone << change.day; }

class ItemsAroundAChangeOfTheClocks : public ItemRoundTrip,
                                      public testing::WithParamInterface<ChangeOfClocks> {};

// Of the hours that come twice the first one is meant, and comes back; the end within them too.
TEST_P(ItemsAroundAChangeOfTheClocks, ComeBackAsTheyWere) {
  TimeZone zone(GetParam().zone);
  const DATE day = At(GetParam().day);
  for (int minute = -120; minute < 360; minute += 10) {
    if (minute >= GetParam().before && minute < GetParam().first_after) continue;
    auto item = NewAppointment();
    item->put_Start(day + minute / 1440.0);
    item->put_Duration(0);
    EXPECT_EQ(item->Save(), S_OK);
    const TextLines sent = StoredLines(*item);
    EXPECT_EQ(Back(*item), sent) << minute;
    auto task = NewTask();
    task->put_DueDate(day);
    task->put_ReminderSet(-1);
    task->put_ReminderTime(day);
    EXPECT_EQ(task->Save(), S_OK);
    const TextLines sent_task = StoredLines(*task);
    EXPECT_EQ(Back(*task), sent_task) << minute;
  }
}

// A time that the clocks skip is the one an hour (half an hour) later.
TEST_P(ItemsAroundAChangeOfTheClocks, MoveOutOfTheTimeThatIsSkipped) {
  const ChangeOfClocks& change = GetParam();
  if (change.before == change.first_after) return;
  TimeZone zone(change.zone);
  const int skipped = change.first_after - change.before;
  for (int minute = change.before; minute < change.first_after; minute += 10) {
    auto item = NewAppointment();
    item->put_Start(At(change.day) + minute / 1440.0);
    item->put_Duration(0);
    const std::string moved = ShownDate(At(change.day) + (minute + skipped) / 1440.0);
    EXPECT_THAT(Back(*item), ElementsAre("Start " + moved, "End " + moved)) << minute;
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, ItemsAroundAChangeOfTheClocks,
                         testing::Values(ChangeOfClocks{"UTC", "20060326", 0, 0},
                                         ChangeOfClocks{"Europe/Berlin", "20060326", 120, 180},
                                         ChangeOfClocks{"Europe/Berlin", "20061029", 0, 0},
                                         ChangeOfClocks{"America/New_York", "20060402", 120, 180},
                                         ChangeOfClocks{"America/New_York", "20061029", 0, 0},
                                         ChangeOfClocks{"Asia/Kolkata", "20060326", 0, 0},
                                         ChangeOfClocks{"Australia/Lord_Howe", "20061029", 120,
                                                        150},
                                         ChangeOfClocks{"Australia/Lord_Howe", "20060402", 0, 0}));

// ---- Character sets ---------------------------------------------------------------------------------

struct Charset {
  const char* name;
  const char16_t* text;
};
void PrintTo(const Charset& charset, std::ostream* out) { *out << charset.name; }

class ItemsInCharset : public ItemRoundTrip, public testing::WithParamInterface<Charset> {};

TEST_P(ItemsInCharset, ComeBackAsTheyWere) {
  SetSetting(u"DefaultOutputCharset", Wide(GetParam().name));
  ForgetCharsetChoices();
  const WideText text = u"a=b;" + WideText(GetParam().text) + u"; z";
  auto item = NewAppointment();
  PutText(*item, &IAppointment::put_Subject, text);
  PutText(*item, &IAppointment::put_Location, text);
  PutText(*item, &IAppointment::put_Categories, text);
  PutText(*item, &IAppointment::put_Body, text + u"\r\n" + text);
  AddRecipient(*item, text, u"a.x.org");  // the national sets have no "@"
  EXPECT_EQ(item->Save(), S_OK);
  const TextLines sent = StoredLines(*item);
  EXPECT_EQ(Back(*item), sent);
  auto task = NewTask();
  PutText(*task, &ITask::put_Subject, text);
  PutText(*task, &ITask::put_Categories, text);
  PutText(*task, &ITask::put_Body, text + u"\r\n" + text);
  EXPECT_EQ(task->Save(), S_OK);
  const TextLines sent_task = StoredLines(*task);
  EXPECT_EQ(Back(*task), sent_task);
}

INSTANTIATE_TEST_SUITE_P(
    Charsets, ItemsInCharset,
    testing::Values(
        Charset{"UTF-8", u"\u00FC\u65E5\U0001F600"}, Charset{"US-ASCII", u"\u00FC\u20AC"},
        Charset{"SHIFT-JIS", u"\u65E5\u30BD\u8868\uFF71"}, Charset{"SJIS", u"\u65E5\u30BD\u8868"},
        Charset{"BIG5", u"\u4E2D\u529F\u8A31"}, Charset{"UTF-7", u"\u00FC+\u20AC"},
        Charset{"DIN_66003", u"\u00A7\u00C4\u00DF"}, Charset{"NS_4551-1", u"\u00C6\u00D8\u00E5"},
        Charset{"SEN_850200_B", u"\u00C4\u00D6\u00E5"}, Charset{"CSISO2022JP", u"\u65E5\u3042"},
        Charset{"EUC-KR", u"\uD55C\uAE00"}, Charset{"GB2312", u"\u4E2D\u6587"},
        Charset{"HZ-GB-2312", u"\u4E2D~\u6587"}, Charset{"IBM852", u"\u0141\u0159"},
        Charset{"IBM866", u"\u041F\u0416"}, Charset{"IRV", u"\u00A4\u203E"},
        Charset{"ISO-2022-JP", u"\u65E5\u3042"}, Charset{"ISO-2022-KR", u"\uD55C\uAE00"},
        Charset{"ISO-8859-1", u"\u00FC\u20AC"}, Charset{"ISO-8859-2", u"\u0141\u0159"},
        Charset{"ISO-8859-3", u"\u0109\u0127"}, Charset{"ISO-8859-4", u"\u0100\u0137"},
        Charset{"ISO-8859-5", u"\u041F\u0416"}, Charset{"ISO-8859-6", u"\u0633\u0645"},
        Charset{"ISO-8859-7", u"\u0391\u03BD"}, Charset{"ISO-8859-8", u"\u05E9\u05DD"},
        Charset{"ISO-8859-9", u"\u011F\u015F"}, Charset{"ISO-8859-15", u"\u20AC\u0153"},
        Charset{"KOI8-R", u"\u041F\u0416"}, Charset{"KS_C_5601", u"\uB620\uAE00"},
        Charset{"WINDOWS-1250", u"\u0141\u0159"}, Charset{"WINDOWS-1251", u"\u041F\u0416"},
        Charset{"WINDOWS-1252", u"\u00FC\u20AC"}, Charset{"WINDOWS-1253", u"\u0391\u03BD"},
        Charset{"WINDOWS-1254", u"\u011F\u015F"}, Charset{"WINDOWS-1255", u"\u05E9\u05DD"},
        Charset{"WINDOWS-1256", u"\u0633\u0645"}, Charset{"WINDOWS-1257", u"\u0100\u0137"},
        Charset{"WINDOWS-1258", u"\u0111\u01B0"}, Charset{"WINDOWS-874", u"\u0E44\u0E17"},
        Charset{"X-EUC", u"\u65E5\u3042"}, Charset{"EUC-JP", u"\u65E5\u3042"}),
    [](const auto& row) {
      std::string name = row.param.name;
      for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
      return name;
    });

// ---- What is lost -----------------------------------------------------------------------------------

class LostOnTheWay : public ItemRoundTrip {
 protected:
  ComPtr<IAppointment> Tea() { return Saved("20060501T090000", "20060501T100000"); }
  TextLines Times(std::initializer_list<std::string> more) {
    TextLines lines = {"Start 20060501T090000", "End 20060501T100000"};
    lines.insert(lines.end(), more);
    return lines;
  }
};

TEST_F(LostOnTheWay, FreeAndOutOfOfficeBecomeBusy) {
  for (LONG busy : {olFree, olOutOfOffice}) {
    auto item = Tea();
    item->put_BusyStatus(busy);
    EXPECT_EQ(Back(*item), Times({})) << busy;
  }
}

TEST_F(LostOnTheWay, PersonalAndConfidentialBecomeNormal) {
  for (LONG sensitivity : {olPersonal, olConfidential}) {
    auto item = Tea();
    item->put_Sensitivity(sensitivity);
    EXPECT_EQ(Back(*item), Times({})) << sensitivity;
  }
}

TEST_F(LostOnTheWay, TheLengthOfRecurringWholeDaysBecomesOneDay) {
  auto item = Saved("20060501T000000", "20060504T000000");
  item->put_AllDayEvent(-1);
  PatternOf(*item)->put_RecurrenceType(olRecursMonthly);
  EXPECT_THAT(Back(*item), ElementsAre("Start 20060501T000000", "End 20060502T000000",
                                       "AllDayEvent true", "Pattern type 2 every 1 day 1 forever"));
}

TEST_F(LostOnTheWay, ADailyPatternOfWeekdaysBecomesAWeeklyOneOfTheSameDays) {
  auto item = Tea();
  PatternOf(*item)->put_RecurrenceType(olRecursDaily);
  PatternOf(*item)->put_DayOfWeekMask(62);
  EXPECT_EQ(Back(*item), Times({"Pattern type 1 every 1 mask 62 forever"}));
}

TEST_F(LostOnTheWay, TheIntervalOfAYearlyPatternBecomesOne) {
  auto item = Tea();
  PatternOf(*item)->put_RecurrenceType(olRecursYearly);
  PatternOf(*item)->put_Interval(4);
  EXPECT_EQ(Back(*item), Times({"Pattern type 5 every 1 day 1 month 5 forever"}));
}

// The count of a yearly rule stands before its day and is kept; that of two is never written, and its last
// day tells it.
TEST_F(LostOnTheWay, NothingOfASeriesThatTakesPlaceTwice) {
  for (LONG type : {olRecursDaily, olRecursYearly}) {
    auto item = Tea();
    PatternOf(*item)->put_RecurrenceType(type);
    PatternOf(*item)->put_Occurrences(2);
    ASSERT_EQ(item->Save(), S_OK);
    const TextLines sent = StoredLines(*item);
    EXPECT_EQ(Back(*item), sent);
  }
}

// An exception that was changed goes out like one that was deleted.
TEST_F(LostOnTheWay, AChangedOccurrenceBecomesADeletedOne) {
  auto item = Tea();
  PatternOf(*item)->put_RecurrenceType(olRecursDaily);
  ASSERT_EQ(item->Save(), S_OK);
  ComPtr<IAppointment> occurrence;
  ASSERT_EQ(PatternOf(*item)->GetOccurrence(At("20060503"), occurrence.put()), S_OK);
  ASSERT_EQ(occurrence->put_Start(At("20060503T150000")), S_OK);
  ASSERT_EQ(occurrence->Save(), S_OK);
  auto again = NewAppointment();
  Receive(FileOf(*item), *again);
  EXPECT_THAT(ExceptionsOf(*again), ElementsAre("20060503T090000"));
  EXPECT_NE(PatternOf(*again)->GetOccurrence(At("20060503"), occurrence.put()), S_OK);
}

TEST_F(LostOnTheWay, TheTimeOfATasksReminderBecomesMidnight) {
  auto task = NewTask();
  task->put_DueDate(At("20060510"));
  task->put_ReminderSet(-1);
  task->put_ReminderTime(At("20060509T083000"));
  EXPECT_THAT(Back(*task), ElementsAre("DueDate 20060510T000000", "Reminder 20060509T000000"));
}

TEST_F(LostOnTheWay, ATasksReminderAfterTheBeginningOfItsDueDay) {
  auto task = NewTask();
  task->put_DueDate(At("20060510"));
  task->put_ReminderSet(-1);
  task->put_ReminderTime(At("20060510T083000"));
  EXPECT_THAT(Back(*task), ElementsAre("DueDate 20060510T000000"));
}

TEST_F(LostOnTheWay, AnAppointmentsReminderOfMoreThan45Days) {
  auto item = Tea();
  item->put_ReminderSet(-1);
  item->put_ReminderMinutesBeforeStart(64801);
  EXPECT_EQ(Back(*item), Times({}));
  item->put_ReminderMinutesBeforeStart(64800);
  EXPECT_EQ(Back(*item), Times({"Reminder 64800"}));
}

// The alarm is a time on the local clocks that the clocks skipped: it becomes the one an hour later.
TEST_F(LostOnTheWay, AnHourOfAReminderAtATimeThatTheClocksSkip) {
  TimeZone zone("Europe/Berlin");
  auto item = Saved("20060326T090000", "20060326T100000");
  item->put_ReminderSet(-1);
  item->put_ReminderMinutesBeforeStart(390);
  EXPECT_THAT(Back(*item),
              ElementsAre("Start 20060326T090000", "End 20060326T100000", "Reminder 330"));
}

TEST_F(LostOnTheWay, BlanksAndBracketsAtTheEndsOfRecipients) {
  auto item = Tea();
  AddRecipient(*item, u"Ann  ", u"a@x.org> ");
  AddRecipient(*item, u"Bea <b>", u"b@x.org");
  EXPECT_EQ(Back(*item), Times({"Recipient 'Ann' 'a@x.org'", "Recipient 'Bea' 'b> <b@x.org'"}));
}

// A name with a bracket that is its own address reads as two.
TEST_F(LostOnTheWay, ABracketInANameThatIsItsOwnAddress) {
  auto item = Tea();
  AddRecipient(*item, u"Ann <a@x.org>", u"Ann <a@x.org>");
  EXPECT_EQ(Back(*item), Times({"Recipient 'Ann' 'a@x.org'"}));
}

// DTSTART alone would make a task due.
TEST_F(LostOnTheWay, ATaskThatIsNeverDueIsDueOnItsStart) {
  auto task = NewTask();
  task->put_StartDate(At("20060501"));
  EXPECT_THAT(Back(*task), ElementsAre("StartDate 20060501T000000", "DueDate 20060501T000000"));
}

// COMPLETED is not read: a task that is completed on receipt is completed on that day.
TEST_F(LostOnTheWay, TheDayOnWhichATaskWasCompletedBecomesToday) {
  const std::string before = ShownDate(CurrentTime()).substr(0, 8);
  auto task = Task({"STATUS:COMPLETED", "COMPLETED:20060501T090000"});
  const std::string after = ShownDate(CurrentTime()).substr(0, 8);
  EXPECT_THAT(DateOf(*task, &ITask::get_DateCompleted).substr(0, 8), testing::AnyOf(before, after));
}

}  // namespace
}  // namespace calendar_round_trip_test

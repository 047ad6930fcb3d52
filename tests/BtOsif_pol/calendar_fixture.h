// What the tests of the calendar's mapping share: an open session with the device, its appointments and
// tasks, and their properties as texts.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "BtOsif_pol/pol_calendar.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_date.h"
#include "platform/api/bstr.h"
#include "platform/api/com_ptr.h"
#include "tests/support/calendars.h"
#include "tests/support/dates.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace support {

using TraceTexts = std::vector<std::string>;

// A local date from "20060501T090000" or "20060501".
inline DATE At(const char* text) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  EXPECT_GE(std::sscanf(text, "%4d%2d%2dT%2d%2d%2d", &year, &month, &day, &hour, &minute, &second),
            3);
  SYSTEMTIME time{};
  time.wYear = static_cast<WORD>(year);
  time.wMonth = static_cast<WORD>(month);
  time.wDay = static_cast<WORD>(day);
  time.wHour = static_cast<WORD>(hour);
  time.wMinute = static_cast<WORD>(minute);
  time.wSecond = static_cast<WORD>(second);
  DATE date = 0;
  EXPECT_NE(SystemTimeToDate(time, &date), 0) << text;
  return date;
}

// The local date as "20060501T090000"; "none".
inline std::string ShownDate(DATE date) {
  if (date == DATE_NONE) return "none";
  SYSTEMTIME time{};
  EXPECT_NE(DateToSystemTime(date, &time), 0) << date;
  char text[32];
  std::snprintf(text, sizeof text, "%04d%02d%02dT%02d%02d%02d", time.wYear, time.wMonth, time.wDay,
                time.wHour, time.wMinute, time.wSecond);
  return text;
}

// ---- Properties ----

template <typename Item>
std::string TextOf(Item& item, HRESULT (Item::*get)(BSTR*)) {
  Bstr text;
  EXPECT_EQ((item.*get)(text.put()), S_OK);
  return Narrow(text.view());
}
template <typename Item>
void PutText(Item& item, HRESULT (Item::*put)(BSTR), std::u16string_view text) {
  EXPECT_EQ((item.*put)(Bstr(text).get()), S_OK);
}
template <typename Item>
std::string DateOf(Item& item, HRESULT (Item::*get)(DATE*)) {
  DATE date = 0;
  EXPECT_EQ((item.*get)(&date), S_OK);
  return ShownDate(date);
}
template <typename Item>
LONG NumberOf(Item& item, HRESULT (Item::*get)(LONG*)) {
  LONG number = -99;
  EXPECT_EQ((item.*get)(&number), S_OK);
  return number;
}
template <typename Item>
bool FlagOf(Item& item, HRESULT (Item::*get)(VARIANT_BOOL*)) {
  VARIANT_BOOL flag = 77;
  EXPECT_EQ((item.*get)(&flag), S_OK);
  EXPECT_TRUE(flag == 0 || flag == -1) << flag;
  return flag != 0;
}

// Calls `visit` with each recipient of an appointment.
template <typename Visit>
void ForEachRecipient(IAppointment& item, Visit visit) {
  ComPtr<IRecipients> recipients;
  EXPECT_EQ(item.get_Recipients(recipients.put()), S_OK);
  int count = 0;
  EXPECT_EQ(recipients->get_Count(&count), S_OK);
  for (int i = 1; i <= count; ++i) {
    ComPtr<IRecipient> recipient;
    EXPECT_EQ(recipients->Item(i, recipient.put()), S_OK);
    visit(*recipient);
  }
}

inline std::vector<std::pair<std::string, std::string>> RecipientsOf(IAppointment& item) {
  std::vector<std::pair<std::string, std::string>> pairs;
  ForEachRecipient(item, [&](IRecipient& recipient) {
    pairs.emplace_back(TextOf(recipient, &IRecipient::get_Name),
                       TextOf(recipient, &IRecipient::get_Address));
  });
  return pairs;
}

inline void AddRecipient(IAppointment& item, std::u16string_view name,
                         std::u16string_view address) {
  ComPtr<IRecipients> recipients;
  ASSERT_EQ(item.get_Recipients(recipients.put()), S_OK);
  ComPtr<IRecipient> recipient;
  ASSERT_EQ(recipients->Add(Bstr(name).get(), recipient.put()), S_OK);
  PutText(*recipient, &IRecipient::put_Address, address);
}

template <typename Item>
ComPtr<IRecurrencePattern> PatternOf(Item& item) {
  ComPtr<IRecurrencePattern> pattern;
  EXPECT_EQ(item.GetRecurrencePattern(pattern.put()), S_OK);
  return pattern;
}

// A pattern as "type 1 every 2 mask 10 until 20060501 times 4": what its type has, and its end.
inline std::string ShownPattern(IRecurrencePattern& pattern) {
  const LONG type = NumberOf(pattern, &IRecurrencePattern::get_RecurrenceType);
  if (type == olRecursOnce) return "once";
  auto number = [&](const char* name, HRESULT (IRecurrencePattern::*get)(LONG*)) {
    return std::string(" ") + name + " " + std::to_string(NumberOf(pattern, get));
  };
  std::string text =
      "type " + std::to_string(type) + number("every", &IRecurrencePattern::get_Interval);
  if (type == 1 || type == 3 || type == 6) {
    text += number("mask", &IRecurrencePattern::get_DayOfWeekMask);
  }
  if (type == 2 || type == 5) text += number("day", &IRecurrencePattern::get_DayOfMonth);
  if (type == 3 || type == 6) text += number("nth", &IRecurrencePattern::get_Instance);
  if (type == 5 || type == 6) text += number("month", &IRecurrencePattern::get_MonthOfYear);
  if (FlagOf(pattern, &IRecurrencePattern::get_NoEndDate)) return text + " forever";
  return text + " until " + DateOf(pattern, &IRecurrencePattern::get_PatternEndDate).substr(0, 8) +
         number("times", &IRecurrencePattern::get_Occurrences);
}

// The original dates of an appointment's exceptions.
inline std::vector<std::string> ExceptionsOf(IAppointment& item) {
  std::vector<std::string> dates;
  ComPtr<IExceptions> exceptions;
  EXPECT_EQ(PatternOf(item)->get_Exceptions(exceptions.put()), S_OK);
  int count = 0;
  EXPECT_EQ(exceptions->get_Count(&count), S_OK);
  for (int i = 1; i <= count; ++i) {
    ComPtr<IException> exception;
    EXPECT_EQ(exceptions->Item(i, exception.put()), S_OK);
    dates.push_back(DateOf(*exception, &IException::get_OriginalDate));
  }
  return dates;
}

// ---- Fixture ----

// What the reader says of the records here, which hold only what a test is about.
inline constexpr const char* kIncompleteRecord =
    "OSIF:  Warning - vCalendar does not contain all mandetory properties";

// An open session with a device of its own. The time zone is UTC unless a test says otherwise.
class CalendarTest : public TextTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(POL_Open(), OsifResult{OSIF_OK});
    trace_.Lines();
  }
  void TearDown() override { POL_Close(); }

  template <typename Item>
  ComPtr<Item> NewItem(int type) {
    IDispatch* item = nullptr;
    EXPECT_EQ(pol_Application()->CreateItem(type, &item), S_OK);
    return ComPtr<Item>(static_cast<Item*>(item));
  }
  ComPtr<IAppointment> NewAppointment() { return NewItem<IAppointment>(olAppointmentItem); }
  ComPtr<ITask> NewTask() { return NewItem<ITask>(olTaskItem); }

  // A saved appointment with these times.
  ComPtr<IAppointment> Saved(const char* start, const char* end) {
    ComPtr<IAppointment> item = NewAppointment();
    EXPECT_EQ(item->put_Start(At(start)), S_OK);
    EXPECT_EQ(item->put_End(At(end)), S_OK);
    EXPECT_EQ(item->Save(), S_OK);
    return item;
  }

  // A new item filled from these lines.
  ComPtr<IAppointment> Appointment(std::initializer_list<std::string_view> lines) {
    ComPtr<IAppointment> item = NewAppointment();
    Put(lines, *item);
    return item;
  }
  ComPtr<ITask> Task(std::initializer_list<std::string_view> lines) {
    ComPtr<ITask> item = NewTask();
    Put(lines, *item);
    return item;
  }

  static void Put(std::initializer_list<std::string_view> lines, IAppointment& item) {
    EventRecord record(lines);
    pol_PutAppointment(*record, item);
  }
  static void Put(std::initializer_list<std::string_view> lines, ITask& item) {
    TodoRecord record(lines);
    pol_PutTask(*record, item);
  }

  static ReadItem Got(IAppointment& item) {
    OwnedObject object(OSIF_STORE_CAL);
    pol_GetAppointment(item, *object);
    return ItemOf(*object);
  }
  static ReadItem Got(ITask& item) {
    OwnedObject object(OSIF_STORE_CAL);
    pol_GetTask(item, *object);
    return ItemOf(*object);
  }

  // The trace, without the lines of the message store's adapter and of the reader that made the records.
  TraceTexts Trace() {
    TraceTexts lines;
    for (std::string& line : trace_.Lines()) {
      if (line.rfind("MAPI:", 0) != 0 && line != kIncompleteRecord) {
        lines.push_back(std::move(line));
      }
    }
    return lines;
  }

  TimeZone zone_{"UTC"};
  TraceReceiver trace_;
};

}  // namespace support

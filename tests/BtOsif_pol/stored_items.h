// Appointments and tasks as lines of text: what is stored of them, property by property.
#pragma once

#include <string>
#include <vector>

#include "btosif/osif_util/charset.h"
#include "tests/BtOsif_pol/calendar_fixture.h"

namespace support {

using TextLines = std::vector<std::string>;

template <typename Item>
std::string Utf8Of(Item& item, HRESULT (Item::*get)(BSTR*)) {
  Bstr text;
  EXPECT_EQ((item.*get)(text.put()), S_OK);
  return TextToMultiByte(kUtf8CodePage, WideText(text.view()));
}

class ItemTexts {
 public:
  template <typename Item>
  void Text(const char* name, Item& item, HRESULT (Item::*get)(BSTR*)) {
    const std::string text = Utf8Of(item, get);
    if (!text.empty()) Add(name, text);
  }
  template <typename Item>
  void Date(const char* name, Item& item, HRESULT (Item::*get)(DATE*)) {
    const std::string date = DateOf(item, get);
    if (date != "none") Add(name, date);
  }
  template <typename Item>
  void Number(const char* name, Item& item, HRESULT (Item::*get)(LONG*), LONG usual) {
    const LONG number = NumberOf(item, get);
    if (number != usual) Add(name, std::to_string(number));
  }
  void Add(const char* name, const std::string& text) { lines.push_back(name + (" " + text)); }

  TextLines lines;
};

// What an item holds, save for what is as in a new one.
inline TextLines StoredLines(IAppointment& item) {
  ItemTexts texts;
  texts.Text("Subject", item, &IAppointment::get_Subject);
  texts.Text("Location", item, &IAppointment::get_Location);
  texts.Text("Categories", item, &IAppointment::get_Categories);
  texts.Date("Start", item, &IAppointment::get_Start);
  texts.Date("End", item, &IAppointment::get_End);
  if (FlagOf(item, &IAppointment::get_AllDayEvent)) texts.Add("AllDayEvent", "true");
  texts.Number("BusyStatus", item, &IAppointment::get_BusyStatus, olBusy);
  texts.Number("Sensitivity", item, &IAppointment::get_Sensitivity, olNormal);
  texts.Text("Body", item, &IAppointment::get_Body);
  if (FlagOf(item, &IAppointment::get_ReminderSet)) {
    texts.Number("Reminder", item, &IAppointment::get_ReminderMinutesBeforeStart, -1);
  }
  if (FlagOf(item, &IAppointment::get_IsRecurring)) {
    texts.Add("Pattern", ShownPattern(*PatternOf(item)));
    for (const std::string& date : ExceptionsOf(item)) texts.Add("Exception", date);
  }
  ForEachRecipient(item, [&](IRecipient& recipient) {
    texts.Add("Recipient", "'" + Utf8Of(recipient, &IRecipient::get_Name) + "' '" +
                               Utf8Of(recipient, &IRecipient::get_Address) + "'");
  });
  return texts.lines;
}

inline TextLines StoredLines(ITask& task) {
  ItemTexts texts;
  texts.Text("Subject", task, &ITask::get_Subject);
  texts.Text("Categories", task, &ITask::get_Categories);
  texts.Date("StartDate", task, &ITask::get_StartDate);
  texts.Date("DueDate", task, &ITask::get_DueDate);
  texts.Number("Importance", task, &ITask::get_Importance, olImportanceNormal);
  if (FlagOf(task, &ITask::get_Complete)) texts.Add("Complete", "true");
  texts.Number("Sensitivity", task, &ITask::get_Sensitivity, olNormal);
  texts.Text("Body", task, &ITask::get_Body);
  if (FlagOf(task, &ITask::get_ReminderSet)) {
    texts.Date("Reminder", task, &ITask::get_ReminderTime);
  }
  if (FlagOf(task, &ITask::get_IsRecurring)) {
    texts.Add("Pattern", ShownPattern(*PatternOf(task)));
  }
  return texts.lines;
}

}  // namespace support

// What a device holds, as a page shows it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dialects/calendar_look.h"
#include "dialects/people_page.h"
#include "tools/osif/reporter.h"
#include "tools/osif/setting_values.h"

namespace command {

struct Month {
  int year = 1970;
  int month = 1;  // 1 to 12

  bool operator==(const Month&) const = default;
};

// So many months after another one, or before it.
Month PlusMonths(const Month& month, int months);
dialects::CivilTime FirstDayOf(const Month& month);

// How many months are shown before and after the one that is asked for.
inline constexpr int kMonthsAround = 12;

struct ReportedContact {
  std::string name;
  std::vector<dialects::PageEntry> entries;  // without the name
};

struct ReportedNote {
  std::string name;
  std::string text;
};

struct ReportedMessage {
  std::string subject;
  std::string from;
  std::optional<dialects::CivilTime> time;  // by the clock of the device
  bool is_unread = false;
  dialects::PageItem page;
};

struct ReportedChange {
  int32_t store_id = 0;
  bool is_deleted = false;
  std::optional<dialects::CivilTime> time;  // by the clock of the device
  int32_t counter = 0;
  std::string id;
  std::string name;  // empty where it is not known
};

struct MessageFolder {
  int32_t store_id;
  const char* key;  // in JSON and in the page's addresses
  const char* name;
};
inline constexpr std::array<MessageFolder, 3> kMessageFolders = {{
    {OSIF_STORE_MSG_IN, "inbox", "Inbox"},
    {OSIF_STORE_MSG_SENT, "sent", "Sent"},
    {OSIF_STORE_MSG_OUT, "outbox", "Outbox"},
}};

struct Contents {
  std::string name;          // of the device; may be empty
  dialects::CivilTime made;  // by the clock of the device
  Month month;               // that is shown first
  std::vector<ReportedContact> contacts;
  std::vector<dialects::CalendarLook>
      appointments;  // the occurrences are those of the months that are shown
  std::vector<dialects::CalendarLook> tasks;
  std::vector<ReportedNote> notes;
  std::array<std::vector<ReportedMessage>, kMessageFolders.size()> messages;
  std::vector<ReportedChange> changes;  // the newest first
  std::vector<SettingValue> settings;
  size_t unread = 0;  // objects that could not be read
};

// Looks at the whole device and changes nothing of it. An object that cannot be read is told, and counted; nothing, and a
// message, when a store cannot be gone through, the device is damaged, or the work was interrupted.
std::optional<Contents> ContentsOfDevice(const Month& month, bool with_trace, Reporter& reporter);

}  // namespace command

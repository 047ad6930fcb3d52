// An event, task or journal entry as all versions of calendars have it: what the readers fill and the writers write.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dialects/calendar_frame.h"
#include "dialects/calendar_time.h"
#include "dialects/icalendar.h"
#include "dialects/recurrence.h"
#include "dialects/recurrence_old.h"
#include "dialects/report.h"

namespace dialects {

enum class ItemKind { kEvent, kTask, kJournal };

struct Attendee {
  std::string name;
  std::string address;
};

// An alarm before it is known what it is relative to.
struct Alarm {
  std::optional<Moment> time;      // as an instant,
  std::optional<int64_t> trigger;  // or in seconds after the start, or the end
  bool is_from_end = false;

  bool operator==(const Alarm&) const = default;
};

// A property that the store has no place for. The writers keep it where their form can.
struct OtherLine {
  std::string name;
  std::vector<Parameter> params;
  std::string text;        // UTF-8 without escapes
  bool is_base64 = false;  // the text is in base64, as it was sent
};

// A date of a series: RDATE.
struct ExtraDate {
  Moment start;
  std::optional<int64_t> duration;  // of a period
};

struct CalendarItem {
  ItemKind kind = ItemKind::kEvent;
  bool is_modern = false;
  uint64_t line = 0;
  std::string uid;
  std::string luid;
  std::string summary;
  std::string description;
  std::string location;
  std::string categories;       // names by ","
  bool has_categories = false;  // something is said of them, if only that there are none
  std::string attachment;       // ATTACH that is text
  std::string access;           // CLASS
  std::string status;           // in upper case, as it was sent
  std::string priority;         // digits
  bool is_free = false;         // takes no time of whoever has it (TRANSP)
  bool is_complete = false;
  std::optional<Moment> completed;
  std::optional<Moment> created;
  std::optional<Moment> modified;

  std::optional<Moment> start;
  std::optional<Moment> end;
  std::optional<Moment> due;
  std::optional<int64_t> duration;
  bool is_all_day = false;
  std::vector<Alarm> alarms;    // as they came
  std::optional<Moment> alarm;  // the one that the store has a place for

  // The start by the clock that the rules count on; the same moment, perhaps of another day than the device's.
  CivilTime rule_start;
  std::optional<int64_t> rule_offset;  // of that clock, where it is the sender's of vCalendar 1.0
  std::vector<TimedRule> rules;
  std::vector<TimedRule> exception_rules;
  std::vector<std::string> unknown_rules;  // those that could not be read, as they came
  std::vector<Moment> exceptions;
  std::vector<ExtraDate> extra_dates;
  std::optional<Moment>
      replaces;  // RECURRENCE-ID: the occurrence of the series that this one stands for
  bool replaces_later_ones = false;

  std::vector<Attendee> attendees;
  std::vector<OtherLine> others;
};

// What times of a calendar mean on this device.
class Clock {
 public:
  explicit Clock(ZoneBook& zones) : zones_(zones) {}

  // Seconds of UTC since 1970. A day alone begins at the device's midnight.
  int64_t ToUtc(const Moment& moment) const;
  // What the device's clock shows then.
  CivilTime ToLocal(const Moment& moment) const;
  // The same moment as one of UTC; days alone and local times stay.
  Moment AsUtc(const Moment& moment) const;

  // A civil time of the clock that an item's rules count on, as a moment.
  Moment OfRuleClock(const CalendarItem& item, const CivilTime& time) const;
  // A moment by the clock that an item's rules count on.
  CivilTime ToRuleClock(const CalendarItem& item, const Moment& moment) const;

  // Occurrences of a rule (icalendar.h). A rule that never occurs is looked at for hundreds of years, so a calendar may
  // have a few of them; after these none of its rules has occurrences.
  std::vector<CivilTime> Walk(const RecurRule& rule, const CivilTime& start, size_t limit) const;

 private:
  ZoneBook& zones_;
  mutable int fruitless_walks_left_ = 16;
};

// Reads a component of a calendar; its kind has to be one of the three. What is not understood is reported.
CalendarItem ReadItem(const Component& component, const ReadCalendar& calendar, ZoneBook& zones,
                      OldSense sense, Report& report);

}  // namespace dialects

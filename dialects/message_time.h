// The dates of messages in all the forms that devices give them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "dialects/calendar_time.h"

namespace dialects {

// A part that is 0 was not said.
struct MessageTime : CivilTime {
  MessageTime() { year = month = day = 0; }

  std::optional<int> offset = std::nullopt;  // from UTC, in minutes; without one the time is local
};

// Reads a date: of mail (RFC 5322), ISO 8601, "24.12.2010 18:30:00" with any separators, and seconds or
// milliseconds since 1970. Where only numbers stand, the first is the year when it is above 31; else the day
// comes before the month unless the second number is above 12. Nothing for what is no date.
std::optional<MessageTime> ReadMessageTime(std::string_view text);

// True for a date that the strict reader understands as it stands.
bool IsStrictDate(std::string_view text);

// "Fri, 24 Dec 2010 18:30:00 +0100", without a zone for a local time.
std::string MailDate(const MessageTime& time);

// The same with the zone that this system has at that time, where there is none.
std::string MailDateWithZone(const MessageTime& time);

// "Fri Dec 24 17:30:00 2010" in UTC, as it stands in a mailbox.
std::string MailboxDate(const MessageTime& time);

// "2010-12-24 18:30:00 +0100", for people.
std::string DateForPeople(const MessageTime& time);

}  // namespace dialects

// Dates and times. Stores keep automation dates: days since 30 December 1899 as a double, the fraction the
// time of day, in local time. The formats carry texts: ISO 8601 (basic and extended), the legacy form of
// mail folders, and RFC 822. File times are UTC.
//
// Local times follow the time zone's rules for the date in question. The text functions return non-zero on
// success; a text that cannot be read is traced, but for one that is not RFC 822.
#pragma once

#include <cstddef>

#include "platform/api/win_types.h"

// The stores' mark for "no date": 1 January 4501.
inline constexpr DATE kNoDate = 949998.0;

// Exact conversions between calendar time and automation date, to the second; no time zone is involved.
// 0 for an impossible date or one outside the years 100 to 9999. 24:00:00 is the next midnight.
int SystemTimeToDate(const SYSTEMTIME& time, DATE* date);
int DateToSystemTime(DATE date, SYSTEMTIME* time);

// UTC file time to local date and back; 0 on failure, with the no-date mark or a zero file time.
int FileTimeToDate(const FILETIME& time, DATE* date);
int DateToFileTime(DATE date, FILETIME* time);

// Formats a date: "19991231", with `with_time` "19991231T235959Z" in UTC, or, with `local`, the local time
// without "Z". The no-date mark gives the empty text and 1; a text that does not fit (its terminator
// included in `room`) gives the empty text and 0.
int DateToIso8601(DATE date, char* text, size_t room, bool with_time, bool local);

// Reads a date: "19991231", "19991231T235959", "19991231T235959Z", or the extended "1999-12-31...", of
// whose time only the hour is read. Gives the no-date mark on failure.
int Iso8601ToDate(const char* text, DATE* date);

// The same as a UTC file time, which tells apart the two hours that share local times when the clocks are
// put back. Zero on failure.
int Iso8601ToFileTime(const char* text, FILETIME* time);

// Reads "Wed, Jan 2 10:11:12 2002" or the same without its day name, in local time. Zero on failure.
int LegacyDateToFileTime(const char* text, FILETIME* time);

// Reads "Wed, 02 Jan 2002 10:11:12 +0100" (RFC 822, section 5; RFC 2822, section 3.3), with or without the
// day's name and the seconds. A time without a zone is local, one in a zone that nobody knows is UTC. Zero on
// failure, of which nothing is traced: mail has other forms of dates, which the caller tries next.
int Rfc822ToFileTime(const char* text, FILETIME* time);

// Formats "Wed, 02 Jan 2002 10:11:12 UT" (RFC 822, section 5), as DateToIso8601.
int DateToRfc822(DATE date, char* text, size_t room);

// The present time in UTC in the form "19991231T235959Z".
inline constexpr size_t kTimeStampRoom = 20;
void CurrentTimeStamp(char (&text)[kTimeStampRoom]);

// The present time as an automation date; the no-date mark when it cannot be converted.
DATE CurrentTime();

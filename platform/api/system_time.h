// The clock, and conversions between file times, calendar times and local time.
//
// File times run from 1 January 1601; those beyond 0x7FFFFFFFFFFFFFFF are refused. The functions
// return 0 for failure with ERROR_INVALID_PARAMETER.
#pragma once

#include "platform/api/last_error.h"
#include "platform/api/win_types.h"

#ifndef _WIN32

// The present time in UTC.
void GetSystemTime(SYSTEMTIME* time);
void GetSystemTimeAsFileTime(FILETIME* time);

// Refuses a date that does not exist; the day of the week is ignored.
BOOL SystemTimeToFileTime(const SYSTEMTIME* calendar, FILETIME* time);
// Fills in the day of the week; cuts to milliseconds.
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* calendar);

// UTC to local time and back, by the time zone's rules for that date (not by today's offset).
//
// At a change of the clocks the rules of iCalendar hold (RFC 5545, section 3.3.5): a local time
// that the clocks skip is read with the offset before the change, so that it comes back later by
// what was skipped; a local time that occurs twice means its first occurrence.
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);
BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc);

// -1, 0 or 1: the first time is earlier, the same, later.
LONG CompareFileTime(const FILETIME* first, const FILETIME* second);

inline constexpr LCID LOCALE_USER_DEFAULT = 0x0400;
inline constexpr DWORD DATE_SHORTDATE = 1;
inline constexpr DWORD TIME_FORCE24HOURFORMAT = 8;

// A date and a time of day as the user's locale writes them: the text that the PIM store understands in the
// restriction of a search. The posix system has one locale, "05/10/1961" and "20:30:00". With those flags and
// no format only. Return the length, terminator included; with a `room` of 0 nothing is written. 0 is failure:
// ERROR_INVALID_FLAGS, ERROR_INVALID_PARAMETER, ERROR_INSUFFICIENT_BUFFER.
int GetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME* date, LPCWSTR format, LPWSTR text,
                   int room);
int GetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, LPCWSTR format, LPWSTR text,
                   int room);

#endif

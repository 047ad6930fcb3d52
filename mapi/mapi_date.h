// The Date header of a message (RFC 822, section 5; RFC 2822, section 3.3) as a file time.
#pragma once

#include "platform/api/win_types.h"

// Reads "Wed, 02 Jan 2002 10:11:12 +0100", with or without the day's name and the seconds; an ISO 8601
// date; or the legacy form "Wed, Jan 2 10:11:12 2002". A time without a zone is local. False, with a trace
// line and a zero time, for anything else.
bool mapi_DateToFileTime(const char* text, FILETIME* time);

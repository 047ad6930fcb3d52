// Which of its forms the Date header of a message is in.
#pragma once

#include "platform/api/win_types.h"

// Reads an ISO 8601 date, the mail form "Wed, 02 Jan 2002 10:11:12 +0100" (RFC 822), or the legacy form
// "Wed, Jan 2 10:11:12 2002", tried in this order; blanks around it do not count. A time without a zone is
// local. False, with a trace line and a zero time, for anything else.
bool mapi_DateToFileTime(const char* text, FILETIME* time);

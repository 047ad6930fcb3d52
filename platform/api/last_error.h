// The calling thread's last error number. Functions that fail set it; functions that succeed leave
// it.
#pragma once

#include "platform/api/win_types.h"

#ifndef _WIN32

// The ERROR_ number of the last failure on this thread.
DWORD GetLastError();
void SetLastError(DWORD error);

#endif

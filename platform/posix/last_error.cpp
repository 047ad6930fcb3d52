#include "platform/api/last_error.h"

namespace {
thread_local DWORD last_error = 0;
}  // namespace

DWORD GetLastError() { return last_error; }

void SetLastError(DWORD error) { last_error = error; }

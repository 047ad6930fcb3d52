// The calling process and the passing of time.
#pragma once

#include "platform/api/win_types.h"

#ifndef _WIN32

// The number of the calling process; no other one has it while it lives.
DWORD GetCurrentProcessId();

// Waits for at least this many milliseconds.
void Sleep(DWORD milliseconds);

// Milliseconds since the system was started, the time that it slept included.
uint64_t GetTickCount64();

#endif

// The platform's numbers for the errors of the C library and of the database.
#pragma once

#include "platform/api/win_types.h"

// The ERROR_ number that stands for a value of errno.
LONG ErrorOfErrno(int value);

// Sets the thread's last error from errno, which stays as it is.
void SetLastErrorFromErrno();

// The ERROR_ number that stands for a result code of SQLite.
LONG ErrorOfSqlite(int code);

// The ERROR_ number for the device's database that could not be opened just now.
LONG ErrorOfDevice();

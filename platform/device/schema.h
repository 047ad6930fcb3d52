// The layout of the device's database and the marks by which it is known.
#pragma once

#include <cstdint>

#include "platform/device/database.h"

namespace device {

// PRAGMA user_version of a database made by this version of the program.
inline constexpr int kSchemaVersion = 2;

// PRAGMA application_id ("OSIF"): tells our databases from those of other programs.
inline constexpr int32_t kApplicationId = 0x4F534946;

// Makes all tables in an empty database, or what one of an older version lacks, all or nothing; leaves one of the
// present version as it is, without asking for the write lock. False when that fails, and for a database that
// is neither empty nor one of ours.
bool CreateSchema(Database& database);

}  // namespace device

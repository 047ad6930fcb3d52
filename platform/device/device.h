// The embedded handheld: one folder that holds its registry, stores, documents and temporary files.
//
//   device.db    registry, PIM store, message store
//   Documents/   ink notes
//   Temp/        temporary files
//
// The folder is named by the environment variable OSIF_DEVICE; without it, it is "osif" in the user's
// data directory (XDG_DATA_HOME, else ~/.local/share). It is created on first use.
#pragma once

#include <memory>
#include <string>

#include "platform/device/database.h"

namespace device {

// Why the device's database cannot be used.
enum class OpenError {
  kNone,
  kFolder,   // the folder cannot be made or entered
  kAccess,   // the database cannot be opened, read or written
  kDamaged,  // it is no database, or a broken one
  kNewer,    // a newer version of this program made it
};

// The device's folder as a UTF-8 path without a closing "/".
std::string Folder();

// The device's database, opened (and created, or brought up to the present schema) at the first call
// after a close or a change of OSIF_DEVICE. Null when it cannot be used; Error() then says why. Whoever
// needs it for longer than a call keeps the pointer.
std::shared_ptr<Database> OpenDatabase();

// Why the last OpenDatabase gave null.
OpenError Error();
// A sentence for people: which file, and what is wrong with it. UTF-8.
std::string ErrorText();

// Writes everything into the database file and lets go of it; the next OpenDatabase opens it again.
void CloseDatabase();

}  // namespace device

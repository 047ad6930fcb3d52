// The tables of the PIM store.
//
//   pim_objects    an object id and its folder for every item of every kind; no id is used again
//   pim_contacts, pim_appointments, pim_tasks
//                  the items of each kind, a column for each property
//   pim_patterns   the recurrences of appointments and tasks
//   pim_exceptions the changed and deleted occurrences of appointments
//   pim_recipients the recipients of appointments
//   pim_changes    for each item that was changed or deleted, the number of its last write
//   pim_marks      the moments that somebody wants to know the changes since
//
// What belongs to an item goes with its row in pim_objects.
#pragma once

#include <string>

namespace device {

// The SQL that makes the tables in an empty database, inside the schema's transaction.
std::string PimSchema();

// The same for what version 2 of the schema has in addition to version 1.
std::string PimSchemaSince1();

}  // namespace device

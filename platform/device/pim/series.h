// The recurrence of an item, and the exceptions of an appointment's series, in the database.
//
// The writing functions are for use within a transaction.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/api/pimstore.h"
#include "platform/device/database.h"
#include "platform/device/pim/recurrence.h"

namespace device {

// The tables pim_patterns and pim_exceptions.
const char* SeriesSchema();

// The folder of changed occurrences. No collection shows them, and they go with their exception.
inline constexpr int kOccurrencesFolder = 0;

// An occurrence that was changed or deleted, by the day on which it would have taken place.
struct SeriesException {
  int32_t day = 0;
  int32_t occurrence = 0;  // the object id of the changed appointment; 0 for a deleted one
};

// The saved recurrence of an item; one that is not recurring where there is none.
HRESULT LoadRecurrence(Database& database, int32_t oid, Recurrence* recurrence);

// Saves the recurrence of an item, or that it has none.
HRESULT SaveRecurrence(Database& database, int32_t oid, const Recurrence& recurrence);

// The exceptions of a series, by day.
HRESULT ListExceptions(Database& database, int32_t series,
                       std::vector<SeriesException>* exceptions);

// The exception of a day; S_FALSE when there is none.
HRESULT FindException(Database& database, int32_t series, int32_t day, SeriesException* exception);

// Makes an exception, in the place of the one of the same day.
HRESULT WriteException(Database& database, int32_t series, const SeriesException& exception);

// Drops the exceptions of days on which the series does not take place. Those of one that is not
// recurring are all.
HRESULT DropExceptions(Database& database, int32_t series, const Recurrence& recurrence);

}  // namespace device

// The filled fields of a record, by the names that they have there.
#pragma once

#include <cstdint>

#include "osif.h"
#include "tools/osif/json.h"

namespace command {

// An object of fields. A list is an array of values, each with "params", "components" (decoded; null where
// there is no text) and "raw"; texts are strings, `calendarKind` and `allDayEvent` are numbers and always
// there for the calendar store; "parts" are the parts of a message after the first. Everything but the
// components is byte text: each byte stands as the character of the same number. Empty lists and texts are
// left out. Decoding notes the code page in the record's values.
Json FieldsJson(int32_t store_id, const OsifObject& object);

}  // namespace command

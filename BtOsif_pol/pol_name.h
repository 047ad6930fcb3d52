// The name under which an object of any store is shown to people.
#pragma once

#include "btosif/osif_util/charset.h"
#include "osif.h"

// Empty when the object has none.
WideText pol_ObjectName(int32_t store_id, OsifObject& object);

// What was written to the PIM store, and in which order.
//
// The database itself keeps this, by triggers, so that whoever writes is seen, by these objects or by SQL. An item
// that is new is known by its id: ids only ever grow. One that is changed or deleted later gets a stamp that is
// greater than all before it.
//
// A mark names a moment. It has a number and a token that is drawn when the mark is made and stays in the
// database. So a mark is known only where it was made, and only as long as nothing from before it was lost: a copy
// that went its own way, an older state that was put back, or a database of which a power cut took the end,
// know a mark of that number perhaps, but not the token.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/api/win_types.h"
#include "platform/device/database.h"

namespace device {

// An item that was written to. The folder is 0 when there is no such item any more, the stamp when it was not
// written to again after it was new.
struct ChangedObject {
  int32_t oid;
  int folder;
  int64_t stamp;
};

// The SQL that makes the tables and triggers, in a database that has the tables of the items.
std::string ChangesSchema();

// The stamp of an item, as of a ChangedObject.
HRESULT ReadStamp(Database& database, int32_t oid, int64_t* stamp);

// The mark of this moment.
HRESULT MakeMark(Database& database, std::string* mark);

// The items that were written to after one mark and not after another, by folder and id, each once. S_FALSE, and
// nothing, when one of the marks is not known here.
HRESULT ListChanges(Database& database, const std::string& since, const std::string& until,
                    std::vector<ChangedObject>* changes);

}  // namespace device

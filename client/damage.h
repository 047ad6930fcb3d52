// Notices damage in the device's database where the library's answers hide it: to them, a page that cannot
// be read is an object that is not there.
#pragma once

#include "client/listener.h"

namespace client {

// Begins to watch. To be called before the first database is opened, by the library or by the command.
void WatchForDamage();

// Whether damage has been met so far; tells of it the first time. What the library said meanwhile is not
// to be relied on, and nothing should be changed any more.
bool TellDamage(Listener& listener);

}  // namespace client

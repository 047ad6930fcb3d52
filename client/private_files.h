// The modes of files: what the command makes in the device is its owner's alone.
#pragma once

#include <sys/types.h>

#include "client/listener.h"

namespace client {

// Lets the process make files and folders that nobody else can read. To be called first.
void MakeFilesPrivate();

// Says, once for a device, that others can read its folder.
void TellIfOthersCanRead(Listener& listener);

// The mask that the user had set before: files that he names himself follow it.
mode_t UserMask();

}  // namespace client

// Where another device is: an address of TCP, or a serial line.
#pragma once

#include <string>

#include "obex/transports/sockets.h"

namespace obex {

// Connects to "HOST:PORT", or opens a file such as /dev/rfcomm0. A closed handle where that failed; `why` tells why then.
Handle ConnectTo(const std::string& address, std::string& why);

}  // namespace obex

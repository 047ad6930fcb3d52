// The library's one diagnostic channel: text lines sent as UDP datagrams to port 38182 of a
// receiver that the registry names (HKEY_LOCAL_MACHINE, "Software\Corvane\BTConfig\Debug", DWORD
// "LogIPAddr": the IPv4 address a.b.c.d as the number a*16777216 + b*65536 + c*256 + d; absent or 0
// for none).
//
// A datagram is eight bytes of header and the text. Header, least significant byte first: category
// (16 bits), length of the text in bytes (16 bits), 0 (32 bits). The text has neither terminator
// nor line end.
//
// No failure of the channel is ever reported.
#pragma once

#include <cstdint>

// Reads the receiver's address and opens a socket for it, or closes the one that is open when there
// is no receiver any more. An unchanged address keeps its socket.
void OSIF_TraceInit();

// Whether lines go to a receiver. For work that is done only to be traced.
bool OSIF_IsTraced();

// Sends one line; `category` is 0 for all lines of this library.
//
// The format is that of printf, with the conversions d i u x X c s S p % and their flags, widths,
// precisions and length modifiers. "%s" takes bytes, "%S" (or "%ls") a zero-terminated UTF-16 text,
// which is sent in the system's code page; a null text reads "(null)". Precisions of texts count
// bytes sent. A line is cut after 991 bytes. The thread's last error and errno stay as they are.
void OSIF_Trace(uint16_t category, const char* format, ...);

// Datagram sockets, by the names that both worlds share: socket, bind, sendto, htons, ntohl,
// sockaddr_in.
#pragma once

#ifdef _WIN32
#include <winsock2.h>
#else

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using SOCKET = int;
inline constexpr SOCKET INVALID_SOCKET = -1;

inline int closesocket(SOCKET handle) { return close(handle); }

#endif

// What osifd is told on its command line, or by the same names in a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "obex/packets/connection.h"
#include "obex/services/push_service.h"
#include "obex/transports/stream.h"

namespace daemon_process {

struct Options {
  std::string device;
  std::vector<std::string> tcp;     // addresses
  std::vector<std::string> serial;  // files
  bool pty = false;
  bool bluetooth = false;
  bool is_open_to_others = false;  // TCP on addresses that other machines reach
  std::string password_file;
  obex::PushSettings push;
  obex::PacketLimits packets;
  obex::TimeLimits times;
  size_t connections = 256;          // at once
  size_t connections_of_peer = 256;  // at once, of one address
  size_t connections_a_second = 200;
  bool json = false;
  bool checks = false;

  // Set for a process that serves one connection: its descriptor, and what the peer is called.
  int served = -1;
  std::string peer;
};

// The password that a file holds: its first line. Nothing where there is none.
std::optional<std::string> ReadPassword(const std::string& file);

// The status to end with when the command line was wrong, or only asked for help; nothing to go on.
std::optional<int> ReadOptions(int argc, char** argv, Options& options);

}  // namespace daemon_process

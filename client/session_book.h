// The last sessions of peers with a device: who came, when, what came and went, and why something was refused. Kept as
// lines of JSON in the device's folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace client {

struct SessionEntry {
  std::string peer;     // "tcp 127.0.0.1:40112"
  std::string service;  // "push", "sync"; empty when the peer got to none
  int64_t began = 0;    // seconds since 1970
  int64_t ended = 0;
  size_t added = 0;
  size_t updated = 0;
  size_t deleted = 0;
  size_t sent = 0;
  size_t refused = 0;
  std::vector<std::string> reasons;  // of the first that were refused
  std::string ending;                // "closed by the peer", ...
};

// Reasons that are kept of one session.
inline constexpr size_t kMostReasons = 5;

// Adds an entry at the end; the oldest go when the book is full. False when it cannot be written; errno tells why.
bool AppendSession(const std::string& device_folder, const SessionEntry& entry);

// The newest entries, the oldest of them first. What cannot be read is passed over.
std::vector<SessionEntry> LastSessions(const std::string& device_folder, size_t most);

}  // namespace client

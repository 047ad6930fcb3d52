// What a saved device says of itself: the first member of its archive.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace client {

// The name of the member, and the version of what this program writes and reads.
inline constexpr std::string_view kManifestName = "osif-backup.json";
inline constexpr int kBackupVersion = 1;

struct Member {
  std::string name;  // a path in the device's folder
  int64_t size = 0;
  std::string sha256;  // 64 hexadecimal digits
};

struct Manifest {
  int version = kBackupVersion;
  std::string program;  // the version of the program that wrote it
  std::string created;  // 20261122T080304Z
  int schema = 0;       // of device.db; 0 without one
  std::vector<Member> members;
};

std::string ManifestText(const Manifest& manifest);

// Nothing for a text that is no manifest, with `why_not` filled: another format, a newer version, a member whose name is
// no device's or comes twice, a size that no file has.
std::optional<Manifest> ReadManifest(std::string_view text, std::string& why_not);

}  // namespace client

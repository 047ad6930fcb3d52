// The settings as they stand, for whoever shows them all.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace command {

struct SettingValue {
  std::string name;
  std::optional<std::string> value;  // the default where it is not set; nothing where that has none
  bool is_set = false;
};

// In the order in which "osif settings" shows them. The device is opened, and the library must not have it open.
std::vector<SettingValue> AllSettings();

}  // namespace command

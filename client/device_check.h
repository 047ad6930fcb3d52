// Looks a device through, changes nothing, and says in plain words what is wrong.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace client {

struct DeviceProblem {
  std::string file;  // in the device's folder
  std::string what;
};

struct DeviceCheck {
  std::vector<DeviceProblem> problems;
  // What was looked at.
  size_t databases = 0;
  size_t objects = 0;  // contacts, appointments, tasks and messages
  size_t notes = 0;
  size_t logs = 0;
  size_t entries = 0;  // of the logs
  bool is_there = false;
};

// `tell` hears of each file before it is looked at.
DeviceCheck CheckDeviceFolder(const std::string& device_folder,
                              const std::function<void(const std::string& file)>& tell);

}  // namespace client

// Puts a saved device (client/backup.h) in the place of a device's folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace client {

// A store whose change log begins a new series of counters. Partners know it by its database id, and all that they have
// noted of the old series, of counters that come once more, holds no longer.
struct RenewedLog {
  int32_t store_id = 0;
  std::string former_id;
  std::string id;
};

struct RestoreSettings {
  // Also in the place of a device that holds something.
  bool is_forced = false;
  // What the device itself has agreed with others was saved with it and goes on; this takes it over to the new database
  // ids, in the folder given, before that is put in its place. Empty, or why not.
  std::function<std::string(const std::string& folder, const std::vector<RenewedLog>& logs)>
      take_over = nullptr;
};

struct RestoreReport {
  std::string
      failure;  // empty when the saved device is in its place; else that of before is, as it was
  size_t files = 0;
  int64_t bytes = 0;
  std::string created;        // when it was saved
  bool has_replaced = false;  // a device that held something
};

// Reads the archive from an open file or pipe, whoever made it. Nothing is in its place before all of it was read and
// checked; then it is all at once. The device of before is removed after that. It must not be in use.
RestoreReport RestoreDevice(int handle, const std::string& device_folder,
                            const RestoreSettings& settings);

}  // namespace client

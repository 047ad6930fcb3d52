// A whole device as one file: saved while other programs use it. docs/device.md describes the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace client {

struct BackupReport {
  std::string failure;  // empty when the device was saved
  size_t files = 0;
  int64_t bytes = 0;                  // of the files
  std::vector<std::string> left_out;  // names that are no device's, and links
};

// Saves the device of a folder into a file that takes its place when it is whole and on the disk, readable for its owner
// alone. What fails, and what is interrupted (client/interrupt.h), leaves the file that was there.
BackupReport SaveDevice(const std::string& device_folder, const std::string& file);

// The same into an open file or pipe, to which nothing is written before the archive is whole.
BackupReport SaveDevice(const std::string& device_folder, int handle);

}  // namespace client

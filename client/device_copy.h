// A device copied to another folder while other programs use it, so that what is in it fits together.
#pragma once

#include <string>
#include <vector>

#include "client/device_files.h"

namespace client {

struct DeviceCopy {
  std::string failure;                // empty when the copy is whole
  std::vector<std::string> paths;     // what was copied, in the order of a tidy list
  std::vector<std::string> left_out;  // names that are no device's, and links
};

// Copies into an empty folder: with kAll everything that is worth being kept; with kDocuments the notes, the objects and
// their UIDs, which is what storing an object looks at.
DeviceCopy CopyDevice(const std::string& from, const std::string& to, Parts parts);

}  // namespace client

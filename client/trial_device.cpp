#include "client/trial_device.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "client/database_copy.h"
#include "client/device_copy.h"
#include "platform/device/device.h"

namespace client {
namespace {

constexpr const char* kDeviceVariable = "OSIF_DEVICE";

// Empty, or why not.
std::string Copy(const std::string& from, const std::string& to) {
  std::error_code error;
  if (!std::filesystem::exists(from + "/device.db", error)) return {};
  std::filesystem::create_directory(to, error);
  if (error) return to + ": " + error.message();
  for (const DatabaseKind& kind : kDatabases) {
    const std::vector<std::string> wrong = WhatIsWrong(from, kind, Depth::kSchema);
    if (!wrong.empty()) return from + "/" + std::string(kind.file) + ": " + wrong[0];
  }
  return CopyDevice(from, to, Parts::kDocuments).failure;
}

}  // namespace

TrialDevice::TrialDevice() {
  // The work folder itself is locked, as the folder of a device is while it is opened.
  const std::string copy = folder_.path() + "/device";
  why_not_ = folder_.is_held() ? Copy(device::Folder(), copy) : folder_.why_not();
  if (!why_not_.empty()) return;
  if (const char* former = std::getenv(kDeviceVariable)) former_ = former;
  setenv(kDeviceVariable, copy.c_str(), 1);
  is_set_ = true;
}

TrialDevice::~TrialDevice() {
  if (!is_set_) return;
  device::CloseDatabase();
  if (former_) {
    setenv(kDeviceVariable, former_->c_str(), 1);
  } else {
    unsetenv(kDeviceVariable);
  }
}

}  // namespace client

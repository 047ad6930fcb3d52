// A device folder of a test's own.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <utility>

#include "platform/device/device.h"

// Makes an empty folder and has OSIF_DEVICE name it; closes the device and removes the folder at
// the end.
class TempDevice {
 public:
  TempDevice() {
    std::string pattern = std::filesystem::temp_directory_path() / "osif-test-XXXXXX";
    folder_ = mkdtemp(pattern.data());
    Use();
  }
  ~TempDevice() {
    device::CloseDatabase();
    unsetenv("OSIF_DEVICE");
    std::error_code ignored;
    std::filesystem::permissions(folder_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(folder_, ignored);
  }
  TempDevice(const TempDevice&) = delete;
  TempDevice& operator=(const TempDevice&) = delete;

  // Makes it the present device (again).
  void Use() const { setenv("OSIF_DEVICE", folder_.c_str(), 1); }

  const std::string& folder() const { return folder_; }
  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

 private:
  std::string folder_;
};

// A fixture with a device of its own for each test.
class TempDeviceTest : public testing::Test {
 protected:
  TempDevice device_;
};

// Sets an environment variable (null unsets it) and puts the old value back at the end.
class TempEnvironment {
 public:
  TempEnvironment(std::string name, const char* value) : name_(std::move(name)) {
    if (const char* old = getenv(name_.c_str()); old != nullptr) {
      old_ = old;
      was_set_ = true;
    }
    Set(value);
  }
  ~TempEnvironment() { Set(was_set_ ? old_.c_str() : nullptr); }
  TempEnvironment(const TempEnvironment&) = delete;
  TempEnvironment& operator=(const TempEnvironment&) = delete;

 private:
  void Set(const char* value) {
    if (value == nullptr) {
      unsetenv(name_.c_str());
    } else {
      setenv(name_.c_str(), value, 1);
    }
  }

  std::string name_;
  std::string old_;
  bool was_set_ = false;
};

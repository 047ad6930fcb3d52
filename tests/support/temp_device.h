// A device folder of a test's own.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "platform/device/device.h"
#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

// Makes an empty folder and has OSIF_DEVICE name it; closes the device and removes the folder at
// the end.
class TempDevice {
 public:
  TempDevice() { Use(); }
  ~TempDevice() {
    device::CloseDatabase();
    unsetenv("OSIF_DEVICE");
  }
  TempDevice(const TempDevice&) = delete;
  TempDevice& operator=(const TempDevice&) = delete;

  // Makes it the present device (again).
  void Use() const { setenv("OSIF_DEVICE", folder().c_str(), 1); }

  const std::string& folder() const { return folder_.path(); }
  std::string Path(const std::string& name) const { return folder_.File(name); }

 private:
  support::TempFolder folder_;
};

// A fixture with a device of its own for each test.
class TempDeviceTest : public testing::Test {
 protected:
  TempDevice device_;
};

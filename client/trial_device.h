// A copy of the device on which something is tried that must not change the device itself.
#pragma once

#include <optional>
#include <string>

#include "client/work_folder.h"

namespace client {

class TrialDevice {
 public:
  // Copies objects, settings, UIDs and notes of the device, and makes the copy the device of this process. Where there is
  // no device the copy is a new one. Where that fails why_not() says why, and the device is the one of before.
  TrialDevice();
  // The device is the one of before, and the copy is gone.
  ~TrialDevice();
  TrialDevice(const TrialDevice&) = delete;
  TrialDevice& operator=(const TrialDevice&) = delete;

  const std::string& why_not() const { return why_not_; }

 private:
  const WorkFolder folder_ = WorkFolder::Temporary();
  std::optional<std::string> former_;  // the name of the device in the environment
  std::string why_not_;
  bool is_set_ = false;
};

}  // namespace client

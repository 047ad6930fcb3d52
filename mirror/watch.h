// Waiting for a change of a folder or of the device's stores.
#pragma once

#include <string>

namespace mirror {

class Watch {
 public:
  // Watches the folder of files and the device's folder. Where the system does not tell of changes why_not() says why.
  Watch(const std::string& folder, const std::string& device_folder);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  const std::string& why_not() const { return why_not_; }

  // Waits until something has changed, at most so many milliseconds; false when nothing has, and when it was interrupted.
  bool Wait(int milliseconds);
  // Forgets what has changed so far.
  void Forget();

 private:
  bool Take();

  std::string why_not_;
  int handle_ = -1;
  int folder_ = -1;
  int device_ = -1;
};

}  // namespace mirror

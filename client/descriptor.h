// A file, folder or socket that was opened.
#pragma once

#include <unistd.h>

namespace client {

// Closes it at its end. What could not be opened is kept as -1.
class Descriptor {
 public:
  explicit Descriptor(int handle) : handle_(handle) {}
  ~Descriptor() {
    if (handle_ >= 0) close(handle_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return handle_; }

 private:
  const int handle_;
};

}  // namespace client

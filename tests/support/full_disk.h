// A disk that is full: to a writer, a file that cannot grow.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

namespace support {

// No file grows beyond a size while it lives, neither here nor in a program that is started meanwhile.
class FullDisk {
 public:
  explicit FullDisk(rlim_t size) {
    former_action_ = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &former_);
    const rlimit limit{size, former_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &former_);
    std::signal(SIGXFSZ, former_action_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  // A file of counters (./run coverage) that is written in part would lose what other programs counted.
  TempFolder uncounted_;
  TempEnvironment counters_{"GCOV_PREFIX", uncounted_.path().c_str()};
  rlimit former_{};
  void (*former_action_)(int);
};

}  // namespace support

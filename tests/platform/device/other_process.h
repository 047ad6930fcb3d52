// Another program for tests of what programs do to each other, and of what a killed one leaves.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

#include "platform/api/win_types.h"

namespace pim_test {

// Another process that runs a function, given a place to write to, and ends in `_exit`.
class OtherProcess {
 public:
  explicit OtherProcess(const std::function<void(int)>& work) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ == 0) {
      close(ends[0]);
      work(ends[1]);
      _exit(0);
    }
    close(ends[1]);
    from_child_ = ends[0];
  }
  ~OtherProcess() {
    close(from_child_);
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  // The next number that the process wrote; -1 when it ended without.
  LONG Read() {
    LONG number = -1;
    return read(from_child_, &number, sizeof number) == sizeof number ? number : -1;
  }

 private:
  pid_t child_;
  int from_child_;
};

inline void Tell(int place, LONG number) {
  if (write(place, &number, sizeof number) != sizeof number) _exit(1);
}

}  // namespace pim_test

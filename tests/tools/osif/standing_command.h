// A command that stands still in the middle of its work.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/tools/osif/command_fixture.h"

namespace command_test {

// A command whose output goes into a pipe that soon is full: there it stands until the test reads on.
class StandingCommand {
 public:
  explicit StandingCommand(const std::string& stem) : out_(stem + ".out") {
    EXPECT_EQ(mkfifo(out_.c_str(), 0600), 0);
    // The reader comes first: without one the writer's start would wait.
    pipe_ = open(out_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }
  ~StandingCommand() { Close(); }
  StandingCommand(const StandingCommand&) = delete;
  StandingCommand& operator=(const StandingCommand&) = delete;

  // Waits until it has written something, and reads a little of it.
  void AwaitOutput() {
    pollfd written = {pipe_, POLLIN, 0};
    ASSERT_EQ(poll(&written, 1, 60'000), 1);
    fcntl(pipe_, F_SETFL, 0);
    Read();
  }

  std::string ReadToEnd() {
    while (Read()) continue;
    return text_;
  }

  void Close() {
    if (pipe_ >= 0) close(pipe_);
    pipe_ = -1;
  }

 private:
  bool Read() {
    char buffer[4096];
    const ssize_t size = read(pipe_, buffer, sizeof buffer);
    if (size > 0) text_.append(buffer, static_cast<size_t>(size));
    return size > 0;
  }

  std::string out_;
  int pipe_ = -1;
  std::string text_;
};

}  // namespace command_test

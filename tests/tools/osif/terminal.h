// A command on a terminal, for what it shows and asks there.
#pragma once

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace command_test {

// Runs a program on a terminal of its own, types a text there, and gives all that was shown until the program ended.
inline std::string OnATerminal(std::vector<std::string> command_line,
                               std::vector<std::string> environment, const std::string& typed) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    std::vector<char*> arguments;
    for (std::string& one : command_line) arguments.push_back(one.data());
    arguments.push_back(nullptr);
    std::vector<char*> variables;
    for (std::string& one : environment) variables.push_back(one.data());
    variables.push_back(nullptr);
    execve(arguments[0], arguments.data(), variables.data());
    _exit(127);
  }
  EXPECT_GT(child, 0);
  // It waits in the terminal until it is asked for.
  EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
  std::string shown;
  char buffer[4096];
  for (ssize_t got = 0; (got = read(terminal, buffer, sizeof(buffer))) > 0;) {
    shown.append(buffer, static_cast<size_t>(got));
  }
  waitpid(child, nullptr, 0);
  close(terminal);
  return shown;
}

}  // namespace command_test

// Runs the built command as a user does, each test in a fresh folder with a fresh device.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/built_files.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"

namespace command_test {

using support::BytesOf;
using support::Repeated;

using Json = nlohmann::json;
using Lines = std::vector<std::string>;

// What a run of a program left.
struct Outcome {
  int status = -1;  // 128 and the signal's number for a killed one, -1 when it did not end in time
  std::string out;
  std::string err;

  Lines OutLines() const { return Split(out); }
  Lines ErrLines() const { return Split(err); }

  // The JSON lines of standard output; anything else there fails the test.
  std::vector<Json> JsonLines() const {
    std::vector<Json> lines;
    for (const std::string& line : OutLines()) {
      lines.push_back(Json::parse(line, nullptr, false));
      EXPECT_FALSE(lines.back().is_discarded()) << "no JSON: " << line;
    }
    return lines;
  }

  static Lines Split(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
};

// Where the program's standard error goes.
enum class Errors { kApart, kIntoOutput };

class CommandTest : public testing::Test {
 protected:
  // `extension` is that of the files that Receive writes.
  explicit CommandTest(std::string extension = ".vcf") : extension_(std::move(extension)) {}

  // A path inside the test's folder.
  std::string Path(const std::string& name) const { return place_.File(name); }

  std::string Write(const std::string& name, const std::string& bytes) const {
    support::PutBytes(Path(name), bytes);
    return Path(name);
  }

  // A command line of one of our programs, as this machine has to start it; after the words of another
  // program that starts it.
  static std::vector<std::string> Launched(const std::vector<std::string>& command_line,
                                           std::vector<std::string> start = {}) {
    const std::vector<std::string> launcher = support::Launcher();
    start.insert(start.end(), launcher.begin(), launcher.end());
    start.insert(start.end(), command_line.begin(), command_line.end());
    return start;
  }

  // Runs the command on the test's device. No test may end in a sanitizer's report.
  Outcome Osif(std::vector<std::string> arguments, Errors errors = Errors::kApart) const {
    arguments.insert(arguments.begin(), support::kCommand);
    return Run(Launched(arguments), errors);
  }

  Outcome Run(const std::vector<std::string>& command_line, Errors errors = Errors::kApart) const {
    static int count = 0;
    const std::string stem = Path("run" + std::to_string(++count));
    const pid_t child = Start(command_line, stem, errors);
    Outcome outcome;
    outcome.status = WaitFor(child);
    outcome.out = BytesOf(stem + ".out");
    outcome.err = BytesOf(stem + ".err");
    for (const char* report : {"Sanitizer", "runtime error:"}) {
      EXPECT_THAT(outcome.out + outcome.err, testing::Not(testing::HasSubstr(report)));
    }
    return outcome;
  }

  // Starts a program whose outputs go to STEM.out and STEM.err.
  pid_t Start(const std::vector<std::string>& command_line, const std::string& stem,
              Errors errors = Errors::kApart) const {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (stem + ".out").c_str(), kWrite, 0600);
    if (errors == Errors::kIntoOutput) {
      posix_spawn_file_actions_adddup2(&actions, 1, 2);
    } else {
      posix_spawn_file_actions_addopen(&actions, 2, (stem + ".err").c_str(), kWrite, 0600);
    }
    std::vector<char*> arguments;
    for (const std::string& argument : command_line) {
      arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    std::vector<std::string> environment = Environment();
    std::vector<char*> variables;
    for (std::string& variable : environment) variables.push_back(variable.data());
    variables.push_back(nullptr);
    pid_t child = -1;
    const int error =
        posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    // Whoever kills a program that did not start would mean all processes.
    if (error != 0) throw std::runtime_error(command_line[0] + ": " + std::strerror(error));
    return child;
  }

  static int WaitFor(pid_t child) {
    using std::chrono::steady_clock;
    if (child <= 0) return -1;  // it did not start; no other process is meant
    const auto end = steady_clock::now() + std::chrono::seconds(kSeconds);
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
      if (steady_clock::now() > end) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        ADD_FAILURE() << "the program did not end within " << kSeconds << " seconds";
        return -1;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  // ---- What a test of a store does over and over ------------------------------------------------------

  // Writes a file and has it received.
  Outcome Receive(const std::string& bytes, const Lines& options = {}) const {
    Lines arguments = {"receive", "--strict", Write("received" + extension_, bytes)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Osif(arguments);
  }
  // The file that Receive has written.
  std::string Received() const { return Path("received" + extension_); }

  // Has a file received of which nothing may be refused.
  void Store(const std::string& bytes) const { ASSERT_EQ(Receive(bytes).status, 0); }

  // The lines of an object as it is sent.
  Lines Sent(const std::string& store, const std::string& id) const {
    Lines lines = Osif({"send", store, id}).OutLines();
    for (std::string& line : lines) {
      EXPECT_THAT(line, testing::EndsWith("\r"));
      if (!line.empty()) line.pop_back();
    }
    return lines;
  }

 private:
  support::TempFolder place_;
  std::string extension_;

 protected:
  const std::string folder_ = place_.path();
  std::string device_ = Path("device");
  std::string zone_ = "UTC";  // of the device

 private:
  static constexpr int kSeconds = 120;

  std::vector<std::string> Environment() const {
    std::vector<std::string> variables = {"OSIF_DEVICE=" + device_, "LC_ALL=C.UTF-8", "TZ=" + zone_,
                                          "HOME=" + folder_, "PATH=/usr/bin:/bin"};
    for (const char* name :
         {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "GCOV_ERROR_FILE", "GCOV_PREFIX"}) {
      if (const char* value = std::getenv(name)) {
        variables.push_back(std::string(name) + "=" + value);
      }
    }
    return variables;
  }
};

// Lines as an object file holds them.
inline std::string Joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

// A vCard of these property lines, after VERSION:2.1.
inline std::string Card(const Lines& properties) {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + Joined(properties) + "END:VCARD\r\n";
}

inline const std::string kRefusedCard = "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Old;Card\r\nEND:VCARD\r\n";

}  // namespace command_test

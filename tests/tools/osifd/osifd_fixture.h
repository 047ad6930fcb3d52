// Runs the built service, each test with a fresh device, and looks at the device with the command.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/obex_client.h"
#include "tests/tools/osif/command_fixture.h"

namespace osifd_test {

using command_test::Card;
using command_test::Json;
using command_test::Lines;
using command_test::Outcome;
using support::ObexAnswer;
using support::ObexClient;

class OsifdTest : public command_test::CommandTest {
 protected:
  ~OsifdTest() override { EndService(); }

  // Starts the service on a free port, with these options, too.
  // `start`: what runs it, where something does.
  void StartService(const Lines& options = {}, const Lines& start = {}) {
    Lines command_line = {"--tcp", "127.0.0.1:0"};
    command_line.insert(command_line.end(), options.begin(), options.end());
    StartServiceWith(command_line, start);
    port_ = std::stoi(Said("listening on 127.0.0.1:"));
  }

  // Starts it with these options alone, and waits until it has said something.
  void StartServiceWith(Lines command_line, const Lines& start = {}) {
    stem_ = Path("osifd" + std::to_string(++starts_));
    command_line.insert(command_line.begin(), support::kDaemon);
    service_ = Start(Launched(command_line, start), stem_);
    Await([&] { return support::BytesOf(stem_ + ".out").find('\n') != std::string::npos; },
          "the service's first line");
  }

  // What stands after this on a line of the service's standard output.
  std::string Said(const std::string& before) const {
    for (const std::string& line : Outcome::Split(support::BytesOf(stem_ + ".out"))) {
      if (line.starts_with(before)) return line.substr(before.size());
    }
    ADD_FAILURE() << "the service did not say \"" << before << "\"\n" << Log();
    return "0";
  }

  // What the service has logged so far.
  std::string Log() const { return support::BytesOf(stem_ + ".err"); }

  // Asks the service to end, and waits for it. Its exit status.
  int EndService() {
    if (service_ <= 0) return status_;
    kill(service_, SIGTERM);
    status_ = WaitFor(std::exchange(service_, 0));
    for (const char* report : {"Sanitizer", "runtime error:"}) {
      EXPECT_THAT(Log(), testing::Not(testing::HasSubstr(report)));
    }
    return status_;
  }

  // Waits until something is so, a minute at most.
  static bool Await(const std::function<bool()>& is_so, const std::string& what) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!is_so()) {
      if (std::chrono::steady_clock::now() > end) {
        ADD_FAILURE() << "waited in vain for " << what;
        return false;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
  }
  bool AwaitLog(const std::string& text) const {
    const bool has_come =
        Await([&] { return Log().find(text) != std::string::npos; }, "\"" + text + "\" in the log");
    if (!has_come) ADD_FAILURE() << Log();
    return has_come;
  }

  // The sessions that the device's book has, once there are so many.
  std::vector<Json> Sessions(size_t count) const {
    const auto lines = [&] { return Outcome::Split(support::BytesOf(device_ + "/sessions.log")); };
    Await([&] { return lines().size() >= count; }, std::to_string(count) + " sessions");
    std::vector<Json> sessions;
    for (const std::string& line : lines()) sessions.push_back(Json::parse(line));
    EXPECT_EQ(sessions.size(), count);
    sessions.resize(count);
    return sessions;
  }

  ObexClient Client() const { return ObexClient(port_); }
  ObexClient SyncClient() const {
    ObexClient client(port_);
    EXPECT_EQ(client.ConnectToSync().code, 0xA0);
    return client;
  }

  std::string Count(const std::string& store) const {
    std::string count = Osif({"count", store}).out;
    if (count.ends_with('\n')) count.pop_back();
    return count;
  }

  int port_ = 0;
  pid_t service_ = 0;
  std::string stem_;

 private:
  int starts_ = 0;
  int status_ = -1;
};

inline constexpr int kSuccess = 0xA0;

// An event of these lines, in a calendar of its own.
inline std::string Event(const Lines& lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n" + command_test::Joined(lines) +
         "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

}  // namespace osifd_test

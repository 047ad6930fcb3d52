// osif sessions: who came to the service osifd, as the device's book of sessions has it.
#include <array>
#include <ctime>

#include "client/session_book.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"

namespace command {
namespace {

constexpr uint32_t kMostShown = 1'000'000;

struct SessionsArguments {
  uint32_t count = 20;
};

void DeclareSessions(Declarations& declarations, SessionsArguments& arguments) {
  declarations.Add("--count", arguments.count, "How many of the last ones; 20 without it")
      .Called("NUMBER")
      .Check([](const std::string& text) { return WhatIsWrongWithNumber(text, 1, kMostShown); });
}

std::string TimeText(const char* form, const tm& parts) {
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), form, &parts);
  return text.data();
}

std::string LocalTime(time_t time) {
  tm parts{};
  localtime_r(&time, &parts);
  return TimeText("%Y-%m-%d %H:%M:%S", parts);
}

std::string UtcTime(time_t time) {
  tm parts{};
  gmtime_r(&time, &parts);
  return TimeText("%Y%m%dT%H%M%SZ", parts);
}

// "2 added, 1 refused"; "nothing" where there was none of it.
std::string DeedsText(const SessionEntry& entry) {
  const std::array<std::pair<size_t, const char*>, 5> deeds = {{{entry.added, "added"},
                                                                {entry.updated, "updated"},
                                                                {entry.deleted, "deleted"},
                                                                {entry.sent, "sent"},
                                                                {entry.refused, "refused"}}};
  std::string text;
  for (const auto& [count, name] : deeds) {
    if (count == 0) continue;
    text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
  }
  return text.empty() ? "nothing" : text;
}

void Show(const SessionEntry& entry, Reporter& reporter) {
  const std::string service = entry.service.empty() ? "-" : entry.service;
  reporter.Result({{"began", UtcTime(entry.began)},
                   {"ended", UtcTime(entry.ended)},
                   {"peer", entry.peer},
                   {"service", entry.service},
                   {"added", entry.added},
                   {"updated", entry.updated},
                   {"deleted", entry.deleted},
                   {"sent", entry.sent},
                   {"refused", entry.refused},
                   {"reasons", entry.reasons},
                   {"ending", entry.ending}},
                  LocalTime(entry.began) + "  " + service + "  " + entry.peer + "  " +
                      DeedsText(entry) + "; " + entry.ending);
  for (const std::string& reason : entry.reasons) reporter.Text("    refused: " + reason);
}

// The device is not opened: the book lies beside its database.
void Sessions(const SessionsArguments& arguments, const Options&, Reporter& reporter) {
  for (const SessionEntry& entry : LastSessions(device::Folder(), arguments.count)) {
    Show(entry, reporter);
  }
}

}  // namespace

void AddSessions(const CommandLine& line) {
  AddSubcommand(line, "sessions", "Show the last sessions of peers with the service osifd",
                DeclareSessions, Sessions);
}

}  // namespace command

// osif trace: prints the diagnostic lines that come in, from any device that has this machine's address.
#include <netinet/in.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "client/trace_receiver.h"
#include "tools/osif/commands.h"

namespace command {
namespace {

void ShowLine(const std::string& line, Reporter& reporter) {
  reporter.Result({{"line", line}}, line);
  std::fflush(stdout);
}

struct TraceArguments {
  uint16_t port = kTracePort;
  size_t count = 0;  // 0: it goes on until the command is stopped
};

void DeclareTrace(Declarations& declarations, TraceArguments& arguments) {
  declarations.Add("--port", arguments.port, "The port to listen on, 38182 without it")
      .Called("N")
      .Check([](const std::string& text) { return WhatIsWrongWithNumber(text, 1, UINT16_MAX); });
  declarations.Add("--count", arguments.count, "End after N lines")
      .Called("N")
      .Check([](const std::string& text) { return WhatIsWrongWithNumber(text, 1, INT32_MAX); });
}

void Trace(const TraceArguments& arguments, const Options&, Reporter& reporter) {
  const auto [port, count] = arguments;
  std::optional<TraceReceiver> receiver = TraceReceiver::Listen(INADDR_ANY, port);
  if (!receiver) {
    reporter.Fail("port " + std::to_string(port) + ": " + std::strerror(errno), OSIF_ERR_GENERAL);
    return;
  }
  reporter.Note("listening on port " + std::to_string(port));
  uint32_t lost = 0;
  for (size_t shown = 0; count == 0 || shown < count;) {
    std::string line;
    if (!receiver->Take(line)) {
      receiver->Wait(-1);
      continue;
    }
    if (receiver->lost() != lost) {
      reporter.Note(std::to_string(receiver->lost() - lost) + " lines came too fast and were lost");
      lost = receiver->lost();
    }
    ShowLine(line, reporter);
    ++shown;
  }
}

}  // namespace

void AddTrace(const CommandLine& line) {
  AddSubcommand(line, "trace", "Receive and print diagnostic lines until Ctrl-C", DeclareTrace,
                Trace);
}

}  // namespace command

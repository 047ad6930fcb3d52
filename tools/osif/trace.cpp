// osif trace: prints the diagnostic lines that come in, from any device that has this machine's address.
#include <netinet/in.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "tools/osif/commands.h"
#include "tools/osif/trace_receiver.h"

namespace command {
namespace {

void ShowLine(std::string line, Reporter& reporter) {
  while (!line.empty() && line.back() == '\n') line.pop_back();
  reporter.Result({{"line", line}}, line);
  std::fflush(stdout);
}

// `count` 0 goes on until the command is stopped.
void Trace(uint16_t port, size_t count, Reporter& reporter) {
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

void AddTrace(CLI::App& app, const Options&, Action& action) {
  struct Arguments {
    uint16_t port = kTracePort;
    size_t count = 0;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* subcommand =
      app.add_subcommand("trace", "Receive and print diagnostic lines until Ctrl-C");
  subcommand->add_option("--port", arguments->port, "The port to listen on, 38182 without it")
      ->type_name("N");
  subcommand->add_option("--count", arguments->count, "End after N lines")->type_name("N");
  subcommand->callback([arguments, &action] {
    action = [arguments](Reporter& reporter) {
      Trace(arguments->port, arguments->count, reporter);
    };
  });
}

}  // namespace command

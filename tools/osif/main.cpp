// osif: the first client of the library, as an OBEX service would be.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>

#include "tools/osif/commands.h"
#include "tools/osif/damage.h"

namespace {

using command::Action;
using command::Options;
using command::Reporter;

constexpr const char* kDescription =
    "Exchange contacts, appointments, tasks, notes and messages with the stores of a handheld.";

constexpr const char* kFooter =
    "STORE is pb, cal, note, msg-in, msg-sent or msg-out.\n"
    "Exit status: 0 all well, 1 something failed, 2 wrong usage.\n"
    "In file names \"\\\" separates folders as \"/\" does.";

constexpr void (*kSubcommands[])(const command::CommandLine&) = {
    command::AddReceive, command::AddSend,   command::AddExport,     command::AddList,
    command::AddFind,    command::AddCount,  command::AddDelete,     command::AddParse,
    command::AddChanges, command::AddAnchor, command::AddDatabaseId, command::AddSettings,
    command::AddTrace,
};

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("--device", options.device,
                 "The device's folder (else OSIF_DEVICE, else \"osif\" in the user's data folder)")
      ->type_name("DIR");
  app.add_flag("--json", options.json, "Print one JSON object a line");
  app.add_flag("--trace", options.trace, "Show the library's diagnostic lines as they come");
}

int Run(int argc, char** argv) {
  CLI::App app(kDescription, "osif");
  Options options;
  Action action;
  AddOptions(app, options);
  // Options may stand after the subcommand as well.
  app.fallthrough();
  for (const auto add : kSubcommands) add({app, options, action});
  app.require_subcommand(1);
  app.footer(kFooter);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? command::kAllWell : command::kWrongUsage;
  }
  command::WatchForDamage();
  if (!options.device.empty()) setenv("OSIF_DEVICE", options.device.c_str(), 1);
  Reporter reporter(options.json);
  action(reporter);
  return reporter.Finish();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "osif: %s\n", error.what());
    return command::kFailed;
  }
}

// osif: the first client of the library, as an OBEX service would be.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

#include "client/build_info.h"
#include "client/damage.h"
#include "client/interrupt.h"
#include "client/private_files.h"
#include "tools/osif/commands.h"

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
    command::AddReceive, command::AddSend,    command::AddExport,     command::AddList,
    command::AddFind,    command::AddCount,   command::AddDelete,     command::AddParse,
    command::AddChanges, command::AddAnchor,  command::AddDatabaseId, command::AddSettings,
    command::AddTrace,   command::AddConvert, command::AddNotes,      command::AddShow,
    command::AddPush,    command::AddSync,    command::AddMirror,     command::AddSessions,
    command::AddReport,  command::AddBackup,  command::AddRestore,    command::AddCheck,
};

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("--device", options.device,
                 "The device's folder (else OSIF_DEVICE, else \"osif\" in the user's data folder)")
      ->type_name("DIR");
  app.set_version_flag("--version", client::VersionText("osif"));
  app.add_flag("--json", options.json, "Print one JSON object a line");
  app.add_flag("--trace", options.trace, "Show the library's diagnostic lines as they come");
}

// The command line may be wrong before its options are known.
bool AsksForJson(int argc, char** argv) {
  const auto is = [](const char* word) {
    return [word](const char* argument) { return std::strcmp(argument, word) == 0; };
  };
  char** const end = std::find_if(argv + 1, argv + argc, is("--"));
  return std::any_of(argv + 1, end, is("--json"));
}

// How many letters have to be put in, left out or exchanged to make one word of the other.
size_t Distance(std::string_view from, std::string_view to) {
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < from.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < to.size(); ++j) {
      const size_t exchanged = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

std::string NearestSubcommand(CLI::App& app, const std::string& word) {
  const std::vector<CLI::App*> known = app.get_subcommands([](const CLI::App*) { return true; });
  const auto nearest = std::ranges::min_element(
      known, {}, [&](const CLI::App* one) { return Distance(word, one->get_name()); });
  return (*nearest)->get_name();
}

std::string WhatIsWrong(CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = app.remaining();
  const bool has_subcommand = !app.get_subcommands().empty();
  if (has_subcommand || unknown.empty() || unknown[0].starts_with('-')) return error.what();
  return "there is no subcommand \"" + unknown[0] + "\"; the nearest one is \"" +
         NearestSubcommand(app, unknown[0]) + "\"";
}

int TellWrongUsage(CLI::App& app, const CLI::ParseError& error, bool json) {
  Reporter reporter(json);
  reporter.WrongUsage(WhatIsWrong(app, error));
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  const std::string name = chosen.empty() ? "" : chosen[0]->get_name() + " ";
  reporter.Note("\"osif " + name + "--help\" says more");
  return reporter.Finish();
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
    if (error.get_exit_code() != 0) return TellWrongUsage(app, error, AsksForJson(argc, argv));
    app.exit(error);
    return command::kAllWell;
  }
  command::MakeFilesPrivate();
  command::WatchForDamage();
  if (!options.device.empty()) setenv("OSIF_DEVICE", options.device.c_str(), 1);
  Reporter reporter(options.json);
  action(reporter);
  const int status = reporter.Finish();
  command::EndAsInterrupted();
  return status;
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

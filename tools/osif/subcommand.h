// The frame of a subcommand: a name, a help text, arguments that are declared, and what is done with them
// once the whole command line is understood.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/session.h"
#include "tools/osif/arguments.h"
#include "tools/osif/reporter.h"

namespace command {

using Action = std::function<void(Reporter& reporter)>;

// The options that every subcommand has.
struct Options {
  std::string device;  // the device's folder; empty for the usual one
  bool json = false;
  bool trace = false;
};

// What a subcommand is added to. All three outlive it.
struct CommandLine {
  CLI::App& app;
  const Options& options;  // filled before the action is called
  Action& action;          // that of the subcommand that was chosen
};

// Adds a subcommand that keeps its arguments itself.
void AddSubcommand(const CommandLine& line, const char* name, const char* help,
                   const std::function<void(Declarations&)>& declare,
                   const std::function<void(const Options&, Reporter&)>& run);

// Adds a subcommand. `declare` names its arguments, which the parser fills; `run` gets them filled, with the
// options that every subcommand has.
template <typename Arguments>
void AddSubcommand(const CommandLine& line, const char* name, const char* help,
                   void (*declare)(Declarations& declarations, Arguments& arguments),
                   void (*run)(const Arguments& arguments, const Options& options,
                               Reporter& reporter)) {
  const auto arguments = std::make_shared<Arguments>();
  AddSubcommand(
      line, name, help,
      [arguments, declare](Declarations& declarations) { declare(declarations, *arguments); },
      [arguments, run](const Options& options, Reporter& reporter) {
        run(*arguments, options, reporter);
      });
}

// ---- Arguments that several subcommands have ----------------------------------------------------------

// STORE alone.
struct StoreArgument {
  int32_t store_id = 0;
};
void DeclareStore(Declarations& declarations, StoreArgument& arguments);

// FILE..., --strict and --each.
struct FileArguments {
  std::vector<std::string> files;
  bool strict = false;  // the library gets the bytes as they are
  bool each = false;    // and then every object by itself
};
void DeclareFiles(Declarations& declarations, FileArguments& arguments);

}  // namespace command

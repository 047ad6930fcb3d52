// The subcommands. Each function adds one with its arguments; when it is chosen, it leaves in `action` what
// is to be done once the whole command line is understood.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "tools/osif/reporter.h"
#include "tools/osif/session.h"

namespace command {

using Action = std::function<void(Reporter& reporter)>;

// `options` is filled by then, and outlives the action.
void AddReceive(CLI::App& app, const Options& options, Action& action);
void AddSend(CLI::App& app, const Options& options, Action& action);
void AddExport(CLI::App& app, const Options& options, Action& action);
void AddList(CLI::App& app, const Options& options, Action& action);
void AddFind(CLI::App& app, const Options& options, Action& action);
void AddCount(CLI::App& app, const Options& options, Action& action);
void AddDelete(CLI::App& app, const Options& options, Action& action);
void AddParse(CLI::App& app, const Options& options, Action& action);
void AddChanges(CLI::App& app, const Options& options, Action& action);
void AddAnchor(CLI::App& app, const Options& options, Action& action);
void AddDatabaseId(CLI::App& app, const Options& options, Action& action);
void AddSettings(CLI::App& app, const Options& options, Action& action);
void AddTrace(CLI::App& app, const Options& options, Action& action);

}  // namespace command

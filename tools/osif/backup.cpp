// osif backup and osif restore: a whole device as one file, and back.
//
// A restored device begins new series of change counters, so that partners do not take its next changes for those that they
// know. Its own side of what was agreed, with folders and with partners, was saved with it and is taken over.
#include "client/backup.h"

#include <unistd.h>

#include <string>
#include <vector>

#include "client/input_file.h"
#include "client/interrupt.h"
#include "client/restore.h"
#include "client/texts.h"
#include "mirror/state.h"
#include "obex/client/sync_state.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"

namespace command {
namespace {

std::string FilesText(size_t files, int64_t bytes) {
  return std::to_string(files) + (files == 1 ? " file, " : " files, ") + std::to_string(bytes) +
         " bytes";
}

// ---- backup ---------------------------------------------------------------------------------------

struct BackupArguments {
  std::string file;
};

void DeclareBackup(Declarations& declarations, BackupArguments& arguments) {
  declarations.Add("FILE", arguments.file, "The file to be written; - for standard output")
      .Required();
}

void Backup(const BackupArguments& arguments, const Options&, Reporter& reporter) {
  const bool is_output = arguments.file == "-";
  if (is_output && isatty(STDOUT_FILENO) != 0) {
    return reporter.WrongUsage("a saved device is nothing for a terminal; give a file");
  }
  const std::optional<std::string> file = FileName(arguments.file);
  if (!file) return reporter.WrongUsage("the name is not UTF-8");
  const InterruptWatch watch;
  const std::string folder = device::Folder();
  const BackupReport report =
      is_output ? SaveDevice(folder, STDOUT_FILENO) : SaveDevice(folder, *file);
  // What goes to standard output is the archive alone.
  if (is_output) reporter.SetFailuresInJson(false);
  if (!report.failure.empty()) return reporter.Fail(report.failure, OSIF_OK);
  for (const std::string& path : report.left_out) {
    reporter.Note(folder + "/" + TextOrBytes(path) + " was left out: it is nothing of a device's");
  }
  const std::string text = FilesText(report.files, report.bytes) + " saved";
  if (is_output) return reporter.Note(folder + ": " + text);
  Json left_out = Json::array();
  for (const std::string& path : report.left_out) left_out.push_back(TextOrBytes(path));
  reporter.Result({{"device", folder},
                   {"file", *file},
                   {"files", report.files},
                   {"bytes", report.bytes},
                   {"leftOut", left_out}},
                  *file + ": " + text);
}

// ---- restore --------------------------------------------------------------------------------------

struct RestoreArguments {
  std::string file;
  bool force = false;
};

void DeclareRestore(Declarations& declarations, RestoreArguments& arguments) {
  declarations.Add("FILE", arguments.file, "What \"osif backup\" wrote; - for standard input")
      .Required();
  declarations.AddFlag("--force", arguments.force, "Replace a device that holds something");
}

std::string TakeOver(const std::string& folder, const std::vector<RenewedLog>& logs) {
  for (const RenewedLog& log : logs) {
    std::string why = mirror::TakeOverDatabaseId(folder, log.store_id, log.former_id, log.id);
    if (why.empty()) why = obex::TakeOverDatabaseId(folder, log.store_id, log.former_id, log.id);
    if (!why.empty()) return why;
  }
  return {};
}

void Restore(const RestoreArguments& arguments, const Options&, Reporter& reporter) {
  const InterruptWatch watch;
  const InputFile file(arguments.file);
  if (!file.why_not().empty()) return reporter.Fail(file.name() + ": " + file.why_not(), OSIF_OK);
  const std::string folder = device::Folder();
  const RestoreReport report =
      RestoreDevice(file.handle(), folder, {.is_forced = arguments.force, .take_over = TakeOver});
  if (!report.failure.empty()) {
    return reporter.Fail(file.name() + " was not restored: " + report.failure, OSIF_OK);
  }
  reporter.Result(
      {{"device", folder},
       {"file", file.name()},
       {"saved", report.created},
       {"files", report.files},
       {"bytes", report.bytes},
       {"replaced", report.has_replaced}},
      folder + ": " + FilesText(report.files, report.bytes) + " restored, saved " + report.created);
}

}  // namespace

void AddBackup(const CommandLine& line) {
  AddSubcommand(line, "backup", "Save the whole device as one file, also while it is used",
                DeclareBackup, Backup);
}

void AddRestore(const CommandLine& line) {
  AddSubcommand(line, "restore", "Put a saved device in the place of the device", DeclareRestore,
                Restore);
}

}  // namespace command

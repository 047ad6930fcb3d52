// osif check: whether a device is whole.
#include <string>

#include "client/device_check.h"
#include "client/interrupt.h"
#include "client/texts.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"

namespace command {
namespace {

struct CheckArguments {};

void DeclareCheck(Declarations&, CheckArguments&) {}

std::string Counted(size_t count, const std::string& one) {
  return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

void Check(const CheckArguments&, const Options&, Reporter& reporter) {
  const InterruptWatch watch;
  const std::string folder = device::Folder();
  size_t done = 0;
  const DeviceCheck check = CheckDeviceFolder(folder, [&](const std::string& file) {
    reporter.Progress("looking at " + TextOrBytes(file), done++, 0);
  });
  reporter.SetFailuresInJson(false);
  Json problems = Json::array();
  for (const DeviceProblem& problem : check.problems) {
    const std::string file = TextOrBytes(problem.file);
    problems.push_back({{"file", file.empty() ? Json() : Json(file)}, {"what", problem.what}});
    reporter.Fail(folder + (file.empty() ? "" : "/" + file) + ": " + problem.what, OSIF_OK);
  }
  reporter.JsonLine({{"device", folder},
                     {"whole", check.problems.empty()},
                     {"problems", problems},
                     {"databases", check.databases},
                     {"objects", check.objects},
                     {"notes", check.notes},
                     {"logs", check.logs},
                     {"entries", check.entries}});
  if (!check.problems.empty()) return;
  reporter.Text(folder + ": nothing is wrong (" + Counted(check.databases, "database") + ", " +
                Counted(check.objects, "object") + ", " + Counted(check.notes, "note") + ", " +
                Counted(check.logs, "change log") + " with " +
                (check.entries == 1 ? "1 entry" : std::to_string(check.entries) + " entries") +
                ")");
}

}  // namespace

void AddCheck(const CommandLine& line) {
  AddSubcommand(line, "check", "Say what is wrong with the device, and change nothing",
                DeclareCheck, Check);
}

}  // namespace command

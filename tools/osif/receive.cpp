// osif receive: files of any dialect into the stores.
//
// Each object is read, looked for, then updated or added, before the next one is made out; what was stored stays
// stored when a later object fails, and memory is that of one object. What had to be changed, guessed or dropped is
// gathered and told once a file; with -v, and in JSON, each object says it of itself.
//
// A store's change log is opened when its first object comes, since opening costs a comparison of the whole store; where
// that fails, the objects are stored all the same, without anchors. A dry run does all that on a copy of the device, so that
// what it says is what storing would do, also of what only the store refuses. Asked to stop, the command stores no further object
// and closes its change logs as at any other end.
#include <cerrno>
#include <cstring>
#include <functional>
#include <optional>
#include <string>

#include "client/input_file.h"
#include "client/interrupt.h"
#include "client/object_file.h"
#include "client/store.h"
#include "client/storer.h"
#include "client/texts.h"
#include "client/trial_device.h"
#include "client/uid_table.h"
#include "dialects/object_reader.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"
#include "tools/osif/findings.h"
#include "tools/osif/read_dialects.h"
#include "tools/osif/receive_strict.h"
#include "tools/osif/review.h"

namespace command {
namespace {

struct ReceiveArguments {
  FileArguments files;
  bool adds = false;
  bool reviews = false;
  bool is_verbose = false;
  bool is_dry_run = false;
};

struct Tally {
  size_t added = 0;
  size_t updated = 0;
  size_t skipped = 0;
  size_t refused = 0;
  size_t interrupted = 0;  // objects that came after the command was asked to stop
};

// What all files of a run share.
struct Run {
  const ReceiveArguments& arguments;
  bool tells_each;
  Session& session;
  UidTable& uids;
  Reporter& reporter;
};

class FileReceiver : public dialects::ObjectVisitor {
 public:
  FileReceiver(const std::string& file_name, Run& run)
      : file_name_(file_name),
        run_(run),
        refusals_(file_name, run.tells_each, run.reporter),
        storer_(run.session, run.reporter, PolicyOf(run)) {}

  void OnObject(const dialects::ReadObject& object) override {
    if (WasInterrupted()) {
      ++counts_.interrupted;
      return;
    }
    run_.reporter.Progress(file_name_ + ": object", object.number, 0);
    const std::string name = ObjectName(object.store_id, *object.object);
    const std::string place = PlaceOf(file_name_, object.number, object.line) + QuotedName(name);
    const StoreOutcome stored = storer_.Store(object.store_id, *object.object);
    Count(stored.action);
    if (stored.action == StoreAction::kRefused && stored.result != OSIF_OK) {
      run_.reporter.Fail(
          place + (run_.arguments.is_dry_run ? " would not be stored" : " was not stored"),
          stored.result);
    }
    const bool is_stored =
        stored.action == StoreAction::kAdded || stored.action == StoreAction::kUpdated;
    if (is_stored) {
      KeepUid(object, stored);
      findings_.Add(KindOf(object.store_id), object.report);
    }
    if (!stored.kept_apart_from.empty()) {
      findings_.Add(KindOf(object.store_id), "added beside one of the same name");
    }
    if (stored.anchor != nullptr) {
      last_anchor_ = ", anchor " + AnchorText(object.store_id, *stored.anchor);
    }
    TellOutcome(object, stored, name, place);
  }

  void OnRefused(const dialects::RefusedObject& refused) override {
    ++counts_.refused;
    refusals_.Tell(refused);
    if (!run_.reporter.json()) return;
    Json line = {{"file", file_name_},       {"number", refused.number},
                 {"line", refused.line},     {"store", StoreJson(refused.kind)},
                 {"action", "refused"},      {"id", nullptr},
                 {"name", nullptr},          {"result", "error"},
                 {"reason", refused.reason}, {"anchor", nullptr}};
    PutReport(refused.report, line);
    run_.reporter.JsonLine(line);
  }

  void Summarise() {
    if (counts_.interrupted > 0) {
      run_.reporter.Fail(
          file_name_ + ": interrupted before the last " + ObjectCount(counts_.interrupted),
          OSIF_OK);
    }
    refusals_.Summarise();
    if (!run_.tells_each) findings_.Tell(file_name_, run_.reporter);
    const std::string would_be = WouldBe();
    std::string text = file_name_ + ": " + std::to_string(counts_.added) + would_be + " added, " +
                       std::to_string(counts_.updated) + would_be + " updated, ";
    if (counts_.skipped > 0) text += std::to_string(counts_.skipped) + would_be + " skipped, ";
    text += std::to_string(counts_.refused) + would_be + " refused";
    if (counts_.interrupted > 0) {
      text += ", " + std::to_string(counts_.interrupted) + " not reached";
    }
    run_.reporter.Text(text + last_anchor_);
  }

 private:
  static StorePolicy PolicyOf(Run& run) {
    StorePolicy policy;
    policy.always_adds = run.arguments.adds;
    if (run.arguments.reviews) {
      policy.review = [&run](int32_t store_id, const char* id, OsifObject& object) {
        return Review(store_id, id, object, run.reporter);
      };
    }
    return policy;
  }

  std::string WouldBe() const { return run_.arguments.is_dry_run ? " would be" : ""; }

  void Count(StoreAction action) {
    switch (action) {
      case StoreAction::kAdded:
        ++counts_.added;
        break;
      case StoreAction::kUpdated:
        ++counts_.updated;
        break;
      case StoreAction::kSkipped:
        ++counts_.skipped;
        break;
      case StoreAction::kRefused:
        ++counts_.refused;
        break;
    }
  }

  // An update by an object without a UID leaves the one that is known.
  void KeepUid(const dialects::ReadObject& object, const StoreOutcome& stored) {
    if (object.uid.empty() || uids_failed_) return;
    if (run_.uids.Keep(object.store_id, stored.id.data(), object.uid)) return;
    uids_failed_ = true;
    run_.reporter.Fail("the UIDs are not kept: " + run_.uids.why_not(), OSIF_OK);
  }

  void TellOutcome(const dialects::ReadObject& object, const StoreOutcome& stored,
                   const std::string& name, const std::string& place) {
    // The id that a new object would get is not known before it is there.
    const bool has_id = stored.action == StoreAction::kUpdated ||
                        (stored.action == StoreAction::kAdded && !run_.arguments.is_dry_run);
    if (run_.reporter.json()) {
      Json line = {{"file", file_name_},
                   {"number", object.number},
                   {"line", object.line},
                   {"store", NameOfStore(object.store_id)},
                   {"action", ActionName(stored.action)},
                   {"id", has_id ? Json(IdToOutput(stored.id.data())) : Json()},
                   {"name", name},
                   {"result", ParseResultName(object.result)},
                   {"anchor", AnchorJson(stored.anchor)}};
      PutReport(object.report, line);
      run_.reporter.JsonLine(line);
    } else if (run_.tells_each && stored.action != StoreAction::kRefused) {
      std::string text = place + ":" + WouldBe() + " " + ActionName(stored.action);
      if (has_id) text += " " + IdInStore(object.store_id, stored.id.data());
      if (!stored.kept_apart_from.empty()) {
        text += " beside " + IdInStore(object.store_id, stored.kept_apart_from.c_str());
      }
      const std::string report = ReportText(object.report);
      run_.reporter.Text(report.empty() ? text : text + "; " + report);
    }
  }

  const std::string& file_name_;
  Run& run_;
  Refusals refusals_;
  Storer storer_;
  Findings findings_;
  Tally counts_;
  bool uids_failed_ = false;
  std::string last_anchor_;  // of the newest change; empty while there is none
};

void DeclareReceive(Declarations& declarations, ReceiveArguments& arguments) {
  DeclareFiles(declarations, arguments.files);
  declarations.AddFlag("--add", arguments.adds, "Add every object; update none");
  declarations.AddFlag("--review", arguments.reviews,
                       "Show what an update would overwrite, and ask before it");
  declarations.AddFlag("-v,--verbose", arguments.is_verbose,
                       "Say of each object what became of it");
  declarations.AddFlag("--dry-run", arguments.is_dry_run,
                       "Say what would be stored, and store nothing");
}

void ReceiveFiles(const ReceiveArguments& arguments, const Options& options, Reporter& reporter) {
  // It outlives the session, which closes the change logs.
  const InterruptWatch watch;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  if (arguments.is_dry_run) session.RecordNothing();
  UidTable uids(device::Folder());
  // Between the lines of the trace, each object says where it is.
  Run run{arguments, arguments.is_verbose || options.trace, session, uids, reporter};
  for (const std::string& name : arguments.files.files) {
    if (WasInterrupted()) {
      reporter.Fail(name + ": interrupted before its first object", OSIF_OK);
      continue;
    }
    const InputFile file(name);
    FileReceiver receiver(file.name(), run);
    if (ReadDialects(file, receiver, reporter)) receiver.Summarise();
  }
}

// On the device, or on a copy of it.
void TryOrDo(const ReceiveArguments& arguments, Reporter& reporter,
             const std::function<void()>& receive) {
  std::optional<InterruptWatch> watch;
  std::optional<TrialDevice> trial;
  if (arguments.is_dry_run) {
    watch.emplace();
    trial.emplace();
    if (!trial->why_not().empty()) return reporter.Fail(trial->why_not(), OSIF_OK);
  }
  receive();
}

void Receive(const ReceiveArguments& arguments, const Options& options, Reporter& reporter) {
  if (arguments.files.strict) {
    if (arguments.adds || arguments.reviews) {
      return reporter.WrongUsage("--strict does not go with --add and --review");
    }
    return TryOrDo(arguments, reporter, [&] {
      ReceiveStrictly(arguments.files, arguments.is_dry_run, options, reporter);
    });
  }
  if (arguments.reviews && !CanReview(arguments.files.files)) {
    return reporter.WrongUsage("--review asks on a terminal, and standard input is none");
  }
  TryOrDo(arguments, reporter, [&] { ReceiveFiles(arguments, options, reporter); });
}

}  // namespace

void AddReceive(const CommandLine& line) {
  AddSubcommand(line, "receive", "Store every object of the files: update it where it is known",
                DeclareReceive, Receive);
}

}  // namespace command

// osif mirror: a store and a folder of files, one object each, kept equal both ways.
//
// What a run did is a line, or with --watch a line for each run that did something; what it could not do is a failure each.
// While it watches, the library is opened for each run and closed after it, so that other programs have their turn.
#include <array>
#include <cstdio>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "client/interrupt.h"
#include "client/store.h"
#include "client/texts.h"
#include "mirror/run.h"
#include "mirror/watch.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"

namespace command {
namespace {

// While it watches: at most one run a second, and one from time to time though nothing was told, for what is not told.
constexpr int kBetweenRuns = 1000;       // milliseconds
constexpr int kLongestSilence = 60'000;  // milliseconds

struct MirrorArguments {
  int32_t store_id = 0;
  std::string folder;
  std::string prefer;
  bool force_delete = false;
  bool dry_run = false;
  bool watch = false;
  bool verbose = false;
};

// In the order of mirror::MirrorDone: of one object, in the line of a run, and in JSON.
struct DeedRow {
  const char* word;
  const char* key;
};
constexpr std::array<DeedRow, mirror::kMirrorDeeds> kDeeds = {{
    {"added to the store", "added"},
    {"updated in the store", "updated"},
    {"deleted from the store", "deleted"},
    {"written", "written"},
    {"rewritten", "rewritten"},
    {"removed", "removed"},
    {"paired", "paired"},
}};

mirror::Prefer PreferenceOf(const std::string& word) {
  if (word == "store") return mirror::Prefer::kStore;
  return word == "folder" ? mirror::Prefer::kFolder : mirror::Prefer::kNone;
}

std::string Listed(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// What cannot be done is met by every run of a watch: it is told when it comes up, not again while it lasts.
class Complaints {
 public:
  void BeginRun() { before_ = std::exchange(now_, {}); }
  bool IsNew(const std::string& text) {
    now_.insert(text);
    return !before_.contains(text);
  }

 private:
  std::set<std::string> before_;
  std::set<std::string> now_;
};

class MirrorTeller final : public mirror::MirrorObserver {
 public:
  MirrorTeller(const MirrorArguments& arguments, Complaints& complaints, Reporter& reporter)
      : arguments_(arguments), complaints_(complaints), reporter_(reporter) {}

  void OnDone(mirror::MirrorDone done, const mirror::MirrorObject& object) override {
    if (!arguments_.verbose) return;
    reporter_.Text(NameOf(object) + ": " + WouldBe() + kDeeds[static_cast<size_t>(done)].word);
  }

  void OnConflict(const mirror::MirrorObject& object, const std::vector<std::string>& properties,
                  const std::string& kept_as) override {
    const std::string both = NameOf(object) + ": " + Listed(properties) + " changed on both sides";
    if (arguments_.prefer.empty()) {
      Fail(both + "; --prefer decides");
    } else {
      reporter_.Note(both + ", the " + arguments_.prefer +
                     (arguments_.dry_run ? " would win" : " has won") +
                     (kept_as.empty() ? "" : "; the other is kept as " + kept_as));
    }
  }

  void OnRefused(const mirror::MirrorObject& object, const std::string& why) override {
    Fail(NameOf(object) + ": " + why);
  }

  void OnStays(const mirror::MirrorObject& object, const std::string& what) override {
    const std::string text = NameOf(object) + ": " + what;
    if (complaints_.IsNew(text)) reporter_.Note(text);
  }

  void Fail(const std::string& text) {
    if (complaints_.IsNew(text)) reporter_.Fail(text, OSIF_OK);
  }

  std::string WouldBe() const { return arguments_.dry_run ? "would be " : ""; }

 private:
  std::string NameOf(const mirror::MirrorObject& object) const {
    const std::string store = NameOfStore(arguments_.store_id);
    if (object.id.empty()) return object.name;
    if (object.name.empty()) return store + " " + object.id;
    return object.name + " (" + store + " " + object.id + ")";
  }

  const MirrorArguments& arguments_;
  Complaints& complaints_;
  Reporter& reporter_;
};

std::string TextOf(const mirror::MirrorReport& report, const MirrorTeller& teller) {
  std::string text;
  for (size_t i = 0; i < kDeeds.size(); ++i) {
    if (report.done[i] == 0) continue;
    text += (text.empty() ? "" : ", ") + std::to_string(report.done[i]) + " " + teller.WouldBe() +
            kDeeds[i].word;
  }
  return text.empty() ? "nothing to do" : text;
}

Json JsonOf(const MirrorArguments& arguments, const mirror::MirrorReport& report) {
  Json json = {{"store", NameOfStore(arguments.store_id)}, {"folder", arguments.folder}};
  for (size_t i = 0; i < kDeeds.size(); ++i) json[kDeeds[i].key] = report.done[i];
  json["conflicts"] = report.conflicts;
  json["refused"] = report.refused;
  json["compared"] = report.why_whole.empty() ? "changes" : "all";
  json["complete"] = report.is_complete;
  if (!report.failure.empty()) json["error"] = report.failure;
  return json;
}

// False when there is no use in trying again.
bool RunOnce(const MirrorArguments& arguments, const Options& options, bool is_first,
             Complaints& complaints, Reporter& reporter) {
  complaints.BeginRun();
  MirrorTeller teller(arguments, complaints, reporter);
  mirror::Folder folder(arguments.folder, mirror::EndingOf(arguments.store_id));
  if (!folder.why_not().empty()) {
    teller.Fail(folder.why_not());
    return false;
  }
  Session session(options.trace, reporter);
  if (!session.is_open()) return false;
  mirror::MirrorState state(device::Folder(), arguments.dry_run);
  if (!state.is_open()) {
    teller.Fail(state.why_not());
    return false;
  }
  state.Select(folder.path(), arguments.store_id);
  UidTable uids(device::Folder());
  const mirror::MirrorTools tools{folder, session, uids, state, reporter, teller};
  const mirror::MirrorSettings settings{PreferenceOf(arguments.prefer), arguments.force_delete,
                                        arguments.dry_run};
  reporter.SetFailuresInJson(false);
  const mirror::MirrorReport report = mirror::MirrorRun(arguments.store_id, settings, tools).Run();
  const std::string failure = NameOfStore(arguments.store_id) + ": " + report.failure;
  const bool has_failed_anew = !report.failure.empty() && complaints.IsNew(failure);
  if (has_failed_anew) reporter.Fail(failure, OSIF_OK);
  reporter.SetFailuresInJson(true);
  if (is_first || !report.HasDoneNothing() || has_failed_anew) {
    reporter.JsonLine(JsonOf(arguments, report));
    if (report.is_complete || !report.HasDoneNothing()) {
      reporter.Text(NameOfStore(arguments.store_id) + ": " + TextOf(report, teller));
    }
    // Whoever reads along reads it now, not when the watch ends.
    std::fflush(stdout);
  }
  return true;
}

void Mirror(const MirrorArguments& arguments, const Options& options, Reporter& reporter) {
  const InterruptWatch interrupt;
  Complaints complaints;
  if (!RunOnce(arguments, options, true, complaints, reporter) || !arguments.watch) return;
  mirror::Watch watch(arguments.folder, device::Folder());
  if (!watch.why_not().empty()) return reporter.Fail(watch.why_not(), OSIF_OK);
  // What changed before the watch began is seen by one more run.
  while (!WasInterrupted()) {
    watch.Forget();
    RunOnce(arguments, options, false, complaints, reporter);
    PauseUnlessInterrupted(kBetweenRuns);
    watch.Wait(kLongestSilence);
  }
}

std::string WhatIsWrongWithPreference(const std::string& word) {
  if (word == "store" || word == "folder") return {};
  return "\"" + word + "\" is no side; store and folder are";
}

void DeclareMirror(Declarations& declarations, MirrorArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations
      .Add("FOLDER", arguments.folder,
           "A folder of files, one object each: .vcf for contacts, .ics for the calendar")
      .Required();
  declarations
      .Add("--prefer", arguments.prefer, "Whose change wins where both sides changed the same")
      .Called("store|folder")
      .Check(WhatIsWrongWithPreference);
  declarations.AddFlag("--force-delete", arguments.force_delete,
                       "Delete also when it is more than half of the objects");
  declarations.AddFlag("--dry-run", arguments.dry_run, "Say what would be done, and do nothing");
  declarations.AddFlag("--watch", arguments.watch, "Go on, and run again when something changes");
  declarations.AddFlag("-v,--verbose", arguments.verbose, "Say of each object what was done");
}

// Notes and messages cannot be listed or read back.
void MirrorStore(const MirrorArguments& arguments, const Options& options, Reporter& reporter) {
  if (arguments.store_id != OSIF_STORE_PB && arguments.store_id != OSIF_STORE_CAL) {
    return reporter.WrongUsage(NameOfStore(arguments.store_id) +
                               " cannot be mirrored; pb and cal can");
  }
  Mirror(arguments, options, reporter);
}

}  // namespace

void AddMirror(const CommandLine& line) {
  AddSubcommand(line, "mirror", "Keep a store and a folder of files equal", DeclareMirror,
                MirrorStore);
}

}  // namespace command

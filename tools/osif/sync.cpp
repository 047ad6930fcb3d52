// osif sync: contacts and calendar of this device and of another one, made equal by IrMC synchronisation.
//
// One connection for both stores. What a store's run did is a line; what it could not do is a failure each. A store that
// could not be finished does not keep the next one from its turn, unless the connection is lost.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "btosif/osif_util/stores.h"
#include "client/interrupt.h"
#include "client/store.h"
#include "client/texts.h"
#include "obex/client/address.h"
#include "obex/client/peer.h"
#include "obex/client/sync_run.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"
#include "tools/osif/peer_arguments.h"

namespace command {
namespace {

constexpr std::string_view kSyncTarget = "IRMC-SYNC";
constexpr std::array<int32_t, 2> kSyncStores = {OSIF_STORE_PB, OSIF_STORE_CAL};

struct SyncArguments {
  std::string address;
  std::vector<std::string> stores;
  std::string prefer;
  bool slow = false;
  bool force_delete = false;
  bool dry_run = false;
  std::string password_file;
  bool verbose = false;
};

obex::SyncPreference PreferenceOf(const std::string& word) {
  if (word == "here") return obex::SyncPreference::kHere;
  return word == "there" ? obex::SyncPreference::kThere : obex::SyncPreference::kNone;
}

std::string InBrackets(const std::string& name) { return name.empty() ? "" : " (" + name + ")"; }

const char* SideName(obex::SyncSide side) {
  return side == obex::SyncSide::kHere ? "here" : "there";
}

// What is done to an object, and what it is counted as.
struct DoneRow {
  const char* word;
  size_t obex::SyncReport::*count;
};

// In the order of obex::SyncDone.
constexpr std::array<DoneRow, 5> kDone = {{
    {"received", &obex::SyncReport::received},
    {"sent", &obex::SyncReport::sent},
    {"deleted here", &obex::SyncReport::deleted_here},
    {"deleted there", &obex::SyncReport::deleted_there},
    {"paired", &obex::SyncReport::paired},
}};
constexpr size_t kCounted = 4;  // in the line of every store

class SyncTeller final : public obex::SyncObserver {
 public:
  SyncTeller(int32_t store_id, const SyncArguments& arguments, Reporter& reporter)
      : store_(NameOfStore(store_id)), arguments_(arguments), reporter_(reporter) {}

  void OnDone(obex::SyncDone done, const obex::SyncObject& object) override {
    if (!arguments_.verbose) return;
    const std::string name = object.name.empty() ? "" : " " + object.name;
    reporter_.Text(store_ + " " + KeyOf(object) + name + ": " + WouldBe() +
                   kDone[static_cast<size_t>(done)].word);
  }

  void OnOverruled(obex::SyncSide side, const obex::SyncObject& object,
                   const std::string& text) override {
    if (!arguments_.verbose) return;
    reporter_.Text(store_ + " " + KeyOf(object) + InBrackets(object.name) +
                   ": changed on both sides, " + WouldBe() + "overwritten " + SideName(side) + ":");
    size_t begin = 0;
    while (begin < text.size()) {
      const size_t end = std::min(text.find('\n', begin), text.size());
      reporter_.Text("  " + text.substr(begin, text.find_last_not_of("\r\n", end) + 1 - begin));
      begin = end + 1;
    }
  }

  void OnConflict(const obex::SyncObject& object) override {
    reporter_.Fail(store_ + " " + object.id + InBrackets(object.name) + " and " + object.luid +
                       " there: changed on both sides; --prefer decides",
                   OSIF_OK);
  }

  void OnRefused(const obex::SyncRefusal& refusal) override {
    reporter_.Fail(store_ + " " + KeyOf(refusal.object) + InBrackets(refusal.object.name) +
                       " was refused " + SideName(refusal.side) + ": " + refusal.why,
                   OSIF_OK);
  }

  std::string WouldBe() const { return arguments_.dry_run ? "would be " : ""; }

 private:
  static std::string KeyOf(const obex::SyncObject& object) {
    return object.id.empty() ? object.luid + " there" : object.id;
  }

  const std::string store_;
  const SyncArguments& arguments_;
  Reporter& reporter_;
};

// What all stores of a command's run share.
struct SharedTools {
  obex::Peer& peer;
  Session& session;
  UidTable& uids;
  obex::SyncState& state;
};

class Synchroniser {
 public:
  Synchroniser(const SyncArguments& arguments, const obex::DeviceFacts& partner,
               const SharedTools& tools, Reporter& reporter)
      : arguments_(arguments), partner_(partner), tools_(tools), reporter_(reporter) {}

  // False when the connection is lost.
  bool Synchronise(int32_t store_id) {
    const std::string store = NameOfStore(store_id);
    SyncTeller teller(store_id, arguments_, reporter_);
    const obex::SyncTools tools{tools_.peer,  tools_.session, tools_.uids,
                                tools_.state, reporter_,      teller};
    tools.state.Select(partner_.serial_number, store_id);
    reporter_.SetFailuresInJson(false);
    const obex::SyncSettings settings{PreferenceOf(arguments_.prefer), arguments_.slow,
                                      arguments_.force_delete, arguments_.dry_run};
    const obex::SyncReport report = obex::SyncRun(store_id, settings, tools).Run();
    if (!report.failure.empty()) reporter_.Fail(store + ": " + report.failure, OSIF_OK);
    reporter_.SetFailuresInJson(true);
    if (!report.is_offered) {
      TellMissing(store);
    } else {
      reporter_.JsonLine(JsonOf(store, report));
      if (HasResult(report)) reporter_.Text(store + ": " + TextOf(report, teller));
    }
    return !report.is_lost;
  }

 private:
  void TellMissing(const std::string& store) {
    const std::string text = store + ": " + arguments_.address + " does not offer it";
    const bool is_named = std::ranges::find(arguments_.stores, store) != arguments_.stores.end();
    is_named ? reporter_.Fail(text, OSIF_OK) : reporter_.Note(text);
  }

  // Of a run that ended before it did anything its failure says all.
  static bool HasResult(const obex::SyncReport& report) {
    return report.is_complete ||
           std::ranges::any_of(kDone, [&](const DoneRow& row) { return report.*row.count > 0; });
  }

  std::string TextOf(const obex::SyncReport& report, const SyncTeller& teller) const {
    std::string counts;
    size_t all = report.paired;
    for (size_t i = 0; i < kCounted; ++i) {
      const size_t count = report.*kDone[i].count;
      all += count;
      counts +=
          (i == 0 ? "" : ", ") + std::to_string(count) + " " + teller.WouldBe() + kDone[i].word;
    }
    const std::string equal = ", " + std::to_string(report.equal) + " equal";
    switch (report.kind) {
      case obex::SyncKind::kFirst:
        return "first synchronisation with " + PartnerName() + ": " + counts + equal;
      case obex::SyncKind::kWhole:
        return "compared whole (" + report.why_whole + "): " + counts + equal;
      case obex::SyncKind::kChanges:
        break;
    }
    const bool is_clean = report.is_complete && report.conflicts.empty() && report.refused.empty();
    if (all == 0 && is_clean) return "nothing to do";
    return counts;
  }

  std::string PartnerName() const {
    return (partner_.maker.empty() ? "" : partner_.maker + " ") + partner_.serial_number;
  }

  Json JsonOf(const std::string& store, const obex::SyncReport& report) const {
    static constexpr std::array<const char*, 3> kKinds = {"first", "changes", "slow"};
    Json conflicts = Json::array();
    for (const obex::SyncObject& object : report.conflicts) {
      conflicts.push_back({{"id", object.id}, {"luid", object.luid}, {"name", object.name}});
    }
    Json refused = Json::array();
    for (const obex::SyncRefusal& refusal : report.refused) {
      const bool has_id = !refusal.object.id.empty();
      refused.push_back({{has_id ? "id" : "luid", has_id ? refusal.object.id : refusal.object.luid},
                         {"side", SideName(refusal.side)},
                         {"why", refusal.why}});
    }
    Json json = {{"store", store},
                 {"partner", partner_.serial_number},
                 {"kind", kKinds[static_cast<size_t>(report.kind)]},
                 {"received", report.received},
                 {"sent", report.sent},
                 {"deleted_here", report.deleted_here},
                 {"deleted_there", report.deleted_there},
                 {"paired", report.paired},
                 {"conflicts", std::move(conflicts)},
                 {"refused", std::move(refused)},
                 {"complete", report.is_complete}};
    if (!report.failure.empty()) json["error"] = report.failure;
    return json;
  }

  const SyncArguments& arguments_;
  const obex::DeviceFacts& partner_;
  const SharedTools tools_;
  Reporter& reporter_;
};

std::string WhatIsWrongWithStore(const std::string& word) {
  if (word == "pb" || word == "cal") return {};
  return "\"" + word + "\" cannot be synchronised; pb and cal can";
}

std::string WhatIsWrongWithSide(const std::string& word) {
  if (word == "here" || word == "there") return {};
  return "\"" + word + "\" is no side; here and there are";
}

void DeclareSync(Declarations& declarations, SyncArguments& arguments) {
  declarations
      .Add("ADDRESS", arguments.address,
           "The device: HOST:PORT, a Bluetooth address, or a serial line")
      .Required();
  declarations.Add("STORE", arguments.stores, "pb, cal; both where none is named")
      .Check(WhatIsWrongWithStore);
  declarations
      .Add("--prefer", arguments.prefer, "Whose change wins where both sides changed an object")
      .Called("here|there")
      .Check(WhatIsWrongWithSide);
  declarations.AddFlag("--slow", arguments.slow, "Compare all objects, whatever the logs say");
  declarations.AddFlag("--force-delete", arguments.force_delete,
                       "Delete also when it is more than half of the objects");
  declarations.AddFlag("--dry-run", arguments.dry_run, "Say what would be done, and do nothing");
  declarations.Add("--password-file", arguments.password_file, "Where the device asks for one")
      .Called("FILE");
  declarations.AddFlag("-v,--verbose", arguments.verbose, "Say of each object what was done");
}

std::string WhatIsWrongWithPartner(const obex::DeviceFacts& partner) {
  if (partner.serial_number.empty()) return "tells no serial number";
  return obex::IsThisDevice(partner) ? "is this device itself" : "";
}

bool Wants(const SyncArguments& arguments, int32_t store_id) {
  return arguments.stores.empty() ||
         std::ranges::find(arguments.stores, NameOfStore(store_id)) != arguments.stores.end();
}

// False when the connection is lost.
bool SynchroniseStores(const SyncArguments& arguments, obex::Peer& peer, Session& session,
                       obex::SyncState& state, Reporter& reporter) {
  obex::DeviceFacts partner;
  const obex::RemoteAnswer answer = obex::GetDeviceInfo(peer, partner);
  if (!answer.is_done()) {
    reporter.Fail(arguments.address + ": its device information: " + answer.words, OSIF_OK);
    return !answer.is_lost();
  }
  if (const std::string why = WhatIsWrongWithPartner(partner); !why.empty()) {
    reporter.Fail(arguments.address + " " + why, OSIF_OK);
    return true;
  }
  UidTable uids(device::Folder());
  Synchroniser synchroniser(arguments, partner, {peer, session, uids, state}, reporter);
  for (const int32_t store_id : kSyncStores) {
    if (WasInterrupted()) break;
    if (Wants(arguments, store_id) && !synchroniser.Synchronise(store_id)) return false;
  }
  return true;
}

void Sync(const SyncArguments& arguments, const Options& options, Reporter& reporter) {
  const std::optional<std::string> password = PasswordIn(arguments.password_file, reporter);
  if (!password) return;
  const InterruptWatch watch;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  obex::SyncState state(device::Folder(), arguments.dry_run);
  if (!state.why_not().empty()) return reporter.Fail(state.why_not(), OSIF_OK);
  std::string why;
  const obex::Line line = obex::ConnectTo(arguments.address, obex::BluetoothService::kSync, why);
  if (!line.is_open()) return reporter.Fail(arguments.address + ": " + why, OSIF_OK);
  obex::Peer peer(line.handle(), kPeerPatience);
  if (const obex::Reply reply = peer.Connect(kSyncTarget, *password); !reply.is_success()) {
    return reporter.Fail(arguments.address + ": " + obex::ReplyText(reply), OSIF_OK);
  }
  // A serial line stays when this program ends: the partner is told that it is over.
  if (SynchroniseStores(arguments, peer, session, state, reporter)) peer.Disconnect();
}

}  // namespace

void AddSync(const CommandLine& line) {
  AddSubcommand(line, "sync", "Make this device and another one equal", DeclareSync, Sync);
}

}  // namespace command

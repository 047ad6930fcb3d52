// osif receive --strict: what an object push service does with a file that it got.
//
// Each object is looked for, then updated or added, while the library lends it; what was stored stays stored
// when a later object fails. The library hands on the worst result so far, so after a first warning the
// results of a file's records are not their own. They are learnt by reading the objects one by one
// (OwnResults), and before the library is opened: then nothing of that reading comes into the trace, and each
// of its lines is shown once. With --each the objects are read one by one anyway. A store's change log is
// opened when its first object comes, since opening costs a comparison of the whole store; where that fails,
// the objects are stored all the same, without anchors.
//
// Asked to stop, it stores no further object, says how far it came, and closes its change logs as at any other
// end: a log that is not closed has to be compared with the store anew, and what was stored here would be told
// twice.
#include "tools/osif/receive_strict.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/content_type.h"
#include "btosif/osif_util/stores.h"
#include "client/interrupt.h"
#include "client/object_file.h"
#include "client/records.h"
#include "client/store.h"
#include "client/storer.h"
#include "client/texts.h"

namespace command {
namespace {

struct Counts {
  size_t added = 0;
  size_t updated = 0;
  size_t refused = 0;
  size_t unreached = 0;
  size_t warnings = 0;
  size_t uncertain = 0;  // of the warnings
};

// The names of a message's parts that have one; none for other objects. The message store has a place for a
// message's text alone, so the content of these is lost.
std::vector<std::string> LostContents(const FileRecord& record) {
  std::vector<std::string> names;
  if (KindOfStore(record.store_id) != StoreKind::kMessages) return names;
  for (const MessagePart* part = &record.object->message.part; part != nullptr;
       part = part->nextPart) {
    const std::optional<std::string> name = AttachmentName(part->contentType);
    if (name) names.push_back(ToOutput(MultiByteToText(NativeCodePage(), *name)));
  }
  return names;
}

// What became of a record.
struct ReceiveOutcome {
  const char* action = nullptr;  // "added", "updated" or "refused"
  std::string name;
  const char* id = nullptr;                     // null for a refused one
  const OsifAnchor* anchor = nullptr;           // null without a change log
  std::vector<std::string> lost_contents = {};  // the names of the parts whose content was not kept
};

// Stores the records of one file.
class Receiver : public FileVisitor {
 public:
  struct Manner {
    bool tells_all = false;  // also people see a line for each object
    bool is_dry_run = false;
  };

  Receiver(const std::string& file_name, Manner manner, Session& session, Reporter& reporter)
      : file_name_(file_name),
        manner_(manner),
        storer_(session, reporter, {.is_strict = true}),
        reporter_(reporter) {}

  void OnRecord(const FileRecord& record) override {
    if (WasInterrupted()) {
      ++interrupted_;
      return;
    }
    const std::string name = ObjectName(record.store_id, *record.object);
    const std::string place = PlaceOf(file_name_, record.number, record.line) + QuotedName(name);
    TellWarning(record, place);

    const StoreOutcome stored = storer_.Store(record.store_id, *record.object);
    if (stored.action == StoreAction::kRefused) {
      ++counts_.refused;
      if (stored.result != OSIF_OK)
        reporter_.Fail(place + (manner_.is_dry_run ? " would not be stored" : " was not stored"),
                       stored.result);
      TellOutcome(record, {.action = "refused", .name = name});
      return;
    }
    ++(stored.action == StoreAction::kUpdated ? counts_.updated : counts_.added);
    if (stored.anchor != nullptr) {
      last_anchor_ = ", anchor " + AnchorText(record.store_id, *stored.anchor);
    }
    const char* action = ActionName(stored.action);
    const std::vector<std::string> lost = LostContents(record);
    TellLostContents(lost, place);
    // The id that a new object would get is not known before it is there.
    const bool has_id = !manner_.is_dry_run || stored.action == StoreAction::kUpdated;
    TellOutcome(record, {action, name, has_id ? stored.id.data() : nullptr, stored.anchor, lost});
    if (manner_.tells_all) {
      reporter_.Text(place + ":" + WouldBe() + " " + action +
                     (has_id ? " " + IdInStore(record.store_id, stored.id.data()) : ""));
    }
  }

  void OnRefused(size_t number, ObjectKind kind) override {
    ++counts_.refused;
    const std::optional<int32_t> store_id = StoreOf(kind);
    reporter_.JsonLine({{"file", file_name_},
                        {"number", number},
                        {"store", store_id ? Json(NameOfStore(*store_id)) : Json()},
                        {"action", "refused"},
                        {"id", nullptr},
                        {"name", nullptr},
                        {"result", "error"},
                        {"anchor", nullptr}});
  }

  void OnUnreached(size_t count) override { counts_.unreached += count; }

  void Summarise() {
    if (interrupted_ > 0) {
      counts_.unreached += interrupted_;
      reporter_.Fail(file_name_ + ": interrupted before the last " + ObjectCount(interrupted_),
                     OSIF_OK);
    }
    if (counts_.uncertain > 0) {
      reporter_.Note(file_name_ + ": a warning may hold for " + std::to_string(counts_.uncertain) +
                     " more behind it in its calendar as well");
    }
    const std::string would_be = WouldBe();
    std::string text = file_name_ + ": " + std::to_string(counts_.added) + would_be + " added, " +
                       std::to_string(counts_.updated) + would_be + " updated, " +
                       std::to_string(counts_.refused) + would_be + " refused";
    if (counts_.unreached > 0) text += ", " + std::to_string(counts_.unreached) + " not reached";
    if (counts_.warnings > 0) text += "; " + std::to_string(counts_.warnings) + " with a warning";
    if (counts_.refused + counts_.warnings > 0 && !manner_.tells_all)
      text += " (--trace shows why)";
    reporter_.Text(text + last_anchor_);
  }

 private:
  std::string WouldBe() const { return manner_.is_dry_run ? " would be" : ""; }

  void TellLostContents(const std::vector<std::string>& names, const std::string& place) {
    for (const std::string& name : names) {
      reporter_.Note(place + ": the content of \"" + OneLine(name) + "\" was not kept");
    }
  }

  void TellWarning(const FileRecord& record, const std::string& place) {
    if (record.result == OSIF_PARSE_OK) return;
    if (record.is_certain) {
      ++counts_.warnings;
      reporter_.Note(place + ": " + CodeText(record.result) + " (code " +
                     std::to_string(record.result) + ")");
    } else {
      ++counts_.uncertain;
    }
  }

  // Hardly any object has contents that were not kept, so the others have no such key.
  void TellOutcome(const FileRecord& record, const ReceiveOutcome& outcome) {
    if (!reporter_.json()) return;
    Json line = {{"file", file_name_},
                 {"number", record.number},
                 {"store", NameOfStore(record.store_id)},
                 {"action", outcome.action},
                 {"id", outcome.id == nullptr ? Json() : Json(IdToOutput(outcome.id))},
                 {"name", outcome.name},
                 {"result", ParseResultName(record.result)},
                 {"anchor", AnchorJson(outcome.anchor)}};
    if (!outcome.lost_contents.empty()) line["notKept"] = outcome.lost_contents;
    reporter_.JsonLine(line);
  }

  const std::string& file_name_;
  const Manner manner_;
  Storer storer_;
  Reporter& reporter_;
  Counts counts_;
  size_t interrupted_ = 0;   // records that came after the command was asked to stop
  std::string last_anchor_;  // of the newest change; empty while there is none
};

}  // namespace

void ReceiveStrictly(const FileArguments& arguments, bool is_dry_run, const Options& options,
                     Reporter& reporter) {
  const std::vector<ObjectFile> files(arguments.files.begin(), arguments.files.end());
  std::vector<std::vector<RecordResult>> results(files.size());
  if (!arguments.each) std::ranges::transform(files, results.begin(), OwnResults);
  // It outlives the session, which closes the change logs.
  const InterruptWatch watch;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  if (is_dry_run) session.RecordNothing();
  for (size_t i = 0; i < files.size(); ++i) {
    if (WasInterrupted()) {
      reporter.Fail(files[i].name() + ": interrupted before its first object", OSIF_OK);
      continue;
    }
    // Between the lines of the trace, each object says where it is.
    Receiver receiver(arguments.files[i], {options.trace, is_dry_run}, session, reporter);
    ReadObjectFile(files[i], arguments.each, results[i], receiver, reporter);
    receiver.Summarise();
  }
}

}  // namespace command

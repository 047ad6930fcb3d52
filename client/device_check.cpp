// Each file is read as it stands, without a lock, which would be a change. Other programs may be writing it: what seems to be
// wrong with a log counts only if it is still so after a moment. What a program that was killed leaves and the next opening
// puts in order is nothing wrong: half a line at the end of a log that was left open, files that were about to be
// exchanged. What makes the next opening give a new database id is.
#include "client/device_check.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/change_log_counter.h"
#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/stores.h"
#include "client/database_copy.h"
#include "client/device_files.h"
#include "client/interrupt.h"
#include "client/texts.h"
#include "platform/device/ink/reader.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr int kLooks = 3;
constexpr std::chrono::milliseconds kBetweenLooks{200};

// Of one file no more than this many problems are told.
constexpr size_t kMostOfAFile = 5;

std::optional<std::string> BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string{std::istreambuf_iterator<char>(file), {}};
}

// ---- Change logs ------------------------------------------------------------------------------------------------

// An entry as it is written: its kind, its counter, its time, and its object.
struct Line {
  bool is_entry = false;
  uint32_t counter = 0;
};

std::string_view TakeField(std::string_view& line) {
  const size_t end = std::min(line.find(':'), line.size());
  const std::string_view field = line.substr(0, end);
  line.remove_prefix(std::min(end + 1, line.size()));
  return field;
}

Line ReadLine(std::string_view text) {
  if (text.ends_with('\r')) text.remove_suffix(1);
  const std::string_view kind = TakeField(text);
  const std::string_view counter = TakeField(text);
  const std::string_view time = TakeField(text);
  Line line;
  const auto [end, error] =
      std::from_chars(counter.data(), counter.data() + counter.size(), line.counter);
  const bool is_kind = kind == "M" || kind == "H" || kind == "D";
  const bool is_number = error == std::errc() && end == counter.data() + counter.size();
  line.is_entry = is_kind && is_number && line.counter > 0 && !time.empty() && !text.empty();
  return line;
}

struct LogFound {
  std::vector<DeviceProblem> problems;
  bool is_there = false;
  size_t entries = 0;
};

// Looks at one log, with the files beside it.
class LogLook {
 public:
  LogLook(const std::string& device_folder, const std::string& folder, int32_t store_id)
      : device_folder_(device_folder), folder_(folder), store_id_(store_id) {}

  LogFound Look() {
    const std::optional<std::string> log = BytesOf(PathOf("change"));
    found_.is_there = log.has_value();
    if (!found_.is_there) return found_;
    LookAtEntries(*log);
    LookAtDatabaseId();
    LookAtSnapshot();
    LookAtCounter();
    return found_;
  }

 private:
  std::string NameOf(const std::string& kind) const {
    return folder_ + "/pol_" + StoreName(store_id_) + "_" + kind + ".log";
  }
  std::string PathOf(const std::string& kind) const { return device_folder_ + "/" + NameOf(kind); }
  bool Has(const std::string& kind) const {
    std::error_code error;
    return fs::exists(PathOf(kind), error);
  }

  void Tell(const std::string& kind, const std::string& what) {
    found_.problems.push_back({NameOf(kind), what});
  }

  void LookAtEntries(std::string_view log) {
    size_t number = 0;
    while (!log.empty()) {
      const size_t end = log.find('\n');
      ++number;
      if (end == std::string_view::npos) {
        // Notes and messages have no marker of a log that is open: theirs may always have been left so.
        const bool has_marker = store_id_ == OSIF_STORE_PB || store_id_ == OSIF_STORE_CAL;
        if (has_marker && !Has("open")) Tell("change", "its last line has no end");
        return;
      }
      LookAtLine(log.substr(0, end), number);
      log.remove_prefix(end + 1);
    }
  }

  void LookAtLine(std::string_view text, size_t number) {
    const Line line = ReadLine(text);
    const std::string place = "line " + std::to_string(number);
    if (!line.is_entry) {
      TellLimited(place + " is no entry; what stands after it is not told");
    } else if (line.counter <= newest_) {
      TellLimited(place + " has the counter " + std::to_string(line.counter) + " after " +
                  std::to_string(newest_));
    }
    if (!line.is_entry) return;
    ++found_.entries;
    newest_ = std::max(newest_, line.counter);
  }

  void TellLimited(const std::string& what) {
    if (++told_ <= kMostOfAFile) Tell("change", what);
    if (told_ == kMostOfAFile + 1) Tell("change", "there is more of that kind");
  }

  // Half an id is one that was never told, and goes.
  void LookAtDatabaseId() {
    const std::optional<std::string> bytes = BytesOf(PathOf("databaseid"));
    if (!bytes) return;
    const std::string_view id = std::string_view(*bytes).substr(0, bytes->find_first_of("\r\n"));
    const bool is_id = id.size() == kRandomIdLength && std::ranges::all_of(id, [](char c) {
                         return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
                       });
    if (!is_id) Tell("databaseid", "it holds no database id");
  }

  void LookAtSnapshot() {
    const std::optional<std::string> bytes = BytesOf(PathOf("object"));
    if (!bytes) return;
    std::string_view rest = *bytes;
    size_t wrong = 0;
    while (!rest.empty()) {
      const size_t end = std::min(rest.find('\n'), rest.size());
      if (!IsOfSnapshot(rest.substr(0, end))) ++wrong;
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (wrong > 0) {
      Tell("object", std::to_string(wrong) + " of its lines are none, and what they were about" +
                         " is told again");
    }
  }

  static bool IsOfSnapshot(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::string_view id = TakeField(line);
    const auto is_all = [](std::string_view text, int (*is)(int)) {
      return !text.empty() && std::ranges::all_of(text, [is](char c) {
        return is(static_cast<unsigned char>(c)) != 0;
      });
    };
    return is_all(id, std::isxdigit) && is_all(line, std::isdigit);
  }

  // While the log is open, counters are kept as handed out before they are.
  void LookAtCounter() {
    if (!Has("counter")) return;
    KeptCounter counter;
    counter.Open(store_id_, ToWide(device_folder_ + "/" + folder_));
    if (counter.IsAhead(newest_)) {
      Tell("counter",
           "the log lacks entries that partners were told of, or it is damaged; all of"
           " them will synchronise anew");
    }
  }

  const std::string& device_folder_;
  const std::string folder_;  // in the device's
  const int32_t store_id_;
  LogFound found_;
  size_t told_ = 0;
  uint32_t newest_ = 0;
};

class Checking {
 public:
  Checking(const std::string& folder, const std::function<void(const std::string&)>& tell,
           DeviceCheck& check)
      : folder_(folder), tell_(tell), check_(check) {}

  void Run() {
    std::error_code error;
    check_.is_there = fs::is_directory(folder_, error);
    if (!check_.is_there) return Tell("", "there is no device");
    for (const DatabaseKind& kind : kDatabases) LookAtDatabase(kind);
    const SeenFiles seen = LookAtFiles(folder_, Parts::kAll);
    if (!seen.failure.empty()) Tell("", seen.failure);
    for (const std::string& path : seen.left_out) Tell(path, "it is nothing of a device's");
    for (const SeenFile& file : seen.files) LookAtNote(file.path);
    for (size_t store = 0; store < kStoreRows.size(); ++store) {
      const auto store_id = static_cast<int32_t>(store);
      LookAtLog("Sync", store_id);
      LookAtLog(std::string("Sync/") + StoreName(store_id), store_id);
    }
    if (WasInterrupted()) Tell("", "interrupted before everything was looked at");
  }

 private:
  void Tell(const std::string& file, const std::string& what) {
    check_.problems.push_back({file, what});
  }

  void LookAtDatabase(const DatabaseKind& kind) {
    const std::string name(kind.file);
    std::error_code error;
    if (WasInterrupted()) return;
    if (!fs::exists(folder_ + "/" + name, error)) {
      if (name == kDeviceDatabase.file) Tell(name, "it is not there");
      return;
    }
    tell_(name);
    ++check_.databases;
    const std::vector<std::string> wrong = WhatIsWrong(folder_, kind, Depth::kWhole);
    for (const std::string& what : wrong) Tell(name, what);
    if (name != kDeviceDatabase.file) return;
    constexpr const char* kCount =
        "SELECT (SELECT count(*) FROM pim_objects) + (SELECT count(*) FROM mapi_messages)";
    check_.objects = static_cast<size_t>(AskDatabase(folder_ + "/" + name, kCount).value_or(0));
  }

  // Other documents are their users' own.
  void LookAtNote(const std::string& path) {
    if (!path.starts_with("Documents/") || WasInterrupted()) return;
    if (!EqualsIgnoringCase(fs::path(path).extension().string(), ".pwi")) return;
    tell_(path);
    ++check_.notes;
    const std::optional<std::string> bytes = BytesOf(folder_ + "/" + path);
    std::error_code error;
    if (!bytes && !fs::exists(folder_ + "/" + path, error)) return;
    if (!bytes) {
      Tell(path, "it cannot be read");
    } else if (!device::ReadInkDocument(*bytes)) {
      Tell(path, "it is no ink document");
    }
  }

  void LookAtLog(const std::string& log_folder, int32_t store_id) {
    if (WasInterrupted()) return;
    LogFound found = LogLook(folder_, log_folder, store_id).Look();
    for (int again = 1; again < kLooks && !found.problems.empty(); ++again) {
      std::this_thread::sleep_for(kBetweenLooks);
      found = LogLook(folder_, log_folder, store_id).Look();
    }
    if (found.is_there) ++check_.logs;
    check_.entries += found.entries;
    check_.problems.insert(check_.problems.end(), found.problems.begin(), found.problems.end());
  }

  const std::string& folder_;
  const std::function<void(const std::string&)>& tell_;
  DeviceCheck& check_;
};

}  // namespace

DeviceCheck CheckDeviceFolder(const std::string& device_folder,
                              const std::function<void(const std::string& file)>& tell) {
  DeviceCheck check;
  Checking(device_folder, tell, check).Run();
  return check;
}

}  // namespace client

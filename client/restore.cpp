// Everything is unpacked into a work folder beside the device's, summed up and looked through there. Then the two folders
// change places in one step of the file system, so that there is no moment at which a part of both is there, or none. What a
// process that was killed has left, be it half a device that was to come or one that was to go, lies in that work folder and
// goes with the next one.
//
// A program that has the old device open would go on writing to what is being removed. So both are held meanwhile: the
// database by a lock that nobody else gets who has it open, the folder by the one that is asked for before it is opened.
#include "client/restore.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>

#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/stores.h"
#include "client/archive.h"
#include "client/database_copy.h"
#include "client/descriptor.h"
#include "client/device_files.h"
#include "client/digest.h"
#include "client/interrupt.h"
#include "client/manifest.h"
#include "client/temp_file.h"
#include "client/texts.h"
#include "client/work_folder.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kLargestManifest = int64_t{64} << 20;  // bytes
constexpr int kPatience = 2'000;                         // milliseconds, for another program
constexpr std::chrono::milliseconds kPause{20};

std::string Named(const std::string& name) { return "\"" + TextOrBytes(name) + "\""; }

// ---- What is there -------------------------------------------------------------------------------------------

// How many rows people have made.
constexpr const char* kCountRows =
    "SELECT (SELECT count(*) FROM pim_objects) + (SELECT count(*) FROM mapi_messages)"
    " + (SELECT count(*) FROM registry_values)";

bool HoldsSomething(const std::string& folder) {
  std::error_code error;
  const SeenFiles seen = LookAtFiles(folder, Parts::kAll);
  const bool has_files = std::ranges::any_of(seen.files, [](const SeenFile& file) {
    const bool is_log = file.path.starts_with("Sync/");
    return !is_log || (file.path.ends_with("_change.log") && file.size > 0);
  });
  if (!seen.failure.empty() || has_files || !seen.left_out.empty()) return true;
  for (const DatabaseKind& kind : kDatabases) {
    const std::string path = folder + "/" + std::string(kind.file);
    if (!fs::exists(path, error)) continue;
    // One that cannot be asked may hold anything.
    const bool is_side = kind.file != kDeviceDatabase.file;
    if (is_side || AskDatabase(path, kCountRows).value_or(1) > 0) return true;
  }
  return false;
}

// A folder that was named by mistake is not replaced, whatever is asked for.
std::string WhyNoDevice(const std::string& folder) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(folder, error);
  if (status.type() == fs::file_type::not_found) return {};
  if (status.type() != fs::file_type::directory) return folder + ": it is no folder";
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (!IsDeviceName(name)) {
      return folder + ": it holds " + Named(name) + ", which is nothing of a device's";
    }
  }
  return error ? folder + ": " + error.message() : std::string();
}

// ---- Unpacking -----------------------------------------------------------------------------------------------

class Unpacking {
 public:
  Unpacking(int handle, const std::string& folder) : archive_(handle), folder_(folder) {}

  // Empty, or what is wrong with the archive.
  std::string Run(RestoreReport& report) {
    std::string why = TakeManifest();
    if (why.empty()) why = HasRoom();
    while (why.empty() && archive_.Next()) why = Unpack();
    if (why.empty()) why = archive_.why_not();
    if (why.empty() && !missing_.empty()) {
      why = Named(missing_.begin()->first) + " is not in it";
    }
    report.created = manifest_.created;
    report.files = manifest_.members.size();
    for (const Member& member : manifest_.members) report.bytes += member.size;
    return why;
  }

 private:
  std::string TakeManifest() {
    if (!archive_.Next()) {
      return archive_.why_not().empty() ? "it is no saved device" : archive_.why_not();
    }
    if (archive_.name() != kManifestName || !archive_.is_file()) return "it is no saved device";
    if (archive_.size() > kLargestManifest) return "its list of members is too long";
    std::string text;
    const bool is_read = archive_.Read([&](std::string_view bytes) {
      text += bytes;
      return static_cast<int64_t>(text.size()) <= kLargestManifest;
    });
    if (!is_read)
      return archive_.why_not().empty() ? "its list of members is too long" : archive_.why_not();
    std::string why;
    std::optional<Manifest> manifest = ReadManifest(text, why);
    if (!manifest) return why;
    manifest_ = std::move(*manifest);
    if (manifest_.schema > device::kSchemaVersion)
      return "a newer version of this program has made the device";
    for (const Member& member : manifest_.members) missing_[member.name] = &member;
    return missing_.contains("device.db") ? std::string() : "\"device.db\" is not in it";
  }

  // What it says that it brings has to fit on the disk, and it brings no more than that.
  std::string HasRoom() const {
    struct statvfs disk {};
    if (statvfs(folder_.c_str(), &disk) != 0) return std::strerror(errno);
    uint64_t wanted = 0;
    for (const Member& member : manifest_.members) wanted += static_cast<uint64_t>(member.size);
    const uint64_t room = uint64_t{disk.f_bavail} * disk.f_frsize;
    if (wanted <= room) return {};
    return "its " + std::to_string(wanted) + " bytes do not fit on the disk, which has room for " +
           std::to_string(room);
  }

  std::string Unpack() {
    if (WasInterrupted()) return "interrupted";
    const std::string name = archive_.name();
    const auto place = missing_.find(name);
    if (place == missing_.end()) return Named(name) + " is not in its list, or is there twice";
    const Member& member = *place->second;
    missing_.erase(place);
    if (!archive_.is_file() || archive_.size() != member.size) {
      return Named(name) + " is not the file of its list";
    }
    std::error_code error;
    const fs::path path = folder_ + "/" + name;
    fs::create_directories(path.parent_path(), error);
    if (error) return Named(name) + ": " + error.message();
    const Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.get() < 0) return Named(name) + ": " + std::strerror(errno);
    return Fill(file.get(), member);
  }

  std::string Fill(int file, const Member& member) {
    Sha256Sum sum;
    int64_t size = 0;
    std::string why;
    archive_.Read([&](std::string_view bytes) {
      size += static_cast<int64_t>(bytes.size());
      sum.Add(bytes);
      if (size > member.size) {
        why = Named(member.name) + " is longer than its list says";
      } else if (WasInterrupted()) {
        why = "interrupted";
      } else if (!WriteAll(file, bytes)) {
        why = Named(member.name) + ": " + std::strerror(errno);
      }
      return why.empty();
    });
    if (why.empty()) why = archive_.why_not();
    if (!why.empty()) return why;
    if (size != member.size || sum.Take() != member.sha256) {
      return Named(member.name) + " is not what was saved";
    }
    const int64_t modified = archive_.modified();
    const std::array<timespec, 2> times = {timespec{0, UTIME_OMIT},
                                           timespec{modified / 1'000'000'000, 0}};
    futimens(file, times.data());
    return {};
  }

  ArchiveReader archive_;
  const std::string& folder_;
  Manifest manifest_;
  std::map<std::string, const Member*> missing_;
};

// ---- What was unpacked ---------------------------------------------------------------------------------------

std::string CheckDatabases(const std::string& folder) {
  for (const DatabaseKind& kind : kDatabases) {
    const std::vector<std::string> wrong = WhatIsWrong(folder, kind, Depth::kQuick);
    if (!wrong.empty()) return "its " + std::string(kind.file) + ": " + wrong[0];
  }
  return {};
}

// The store of a file with a database id, by its name.
std::optional<int32_t> StoreOfDatabaseId(std::string_view path) {
  constexpr std::string_view kBefore = "pol_";
  constexpr std::string_view kAfter = "_databaseid.log";
  const std::string_view name = path.substr(path.rfind('/') + 1);
  if (!name.starts_with(kBefore) || !name.ends_with(kAfter) || !path.starts_with("Sync/")) {
    return std::nullopt;
  }
  return StoreOfName(name.substr(kBefore.size(), name.size() - kBefore.size() - kAfter.size()));
}

// Counters that come once more must not be taken for those of before.
std::string RenewDatabaseIds(const std::string& folder, std::vector<RenewedLog>& logs) {
  for (const SeenFile& file : LookAtFiles(folder, Parts::kAll).files) {
    const std::optional<int32_t> store_id = StoreOfDatabaseId(file.path);
    if (!store_id) continue;
    const std::string path = folder + "/" + file.path;
    RenewedLog log{*store_id, {}, {}};
    {
      std::ifstream former(path, std::ios::binary);
      std::getline(former, log.former_id);
    }
    if (log.former_id.ends_with('\r')) log.former_id.pop_back();
    char id[kRandomIdLength + 1];
    MakeRandomId(id);
    log.id = id;
    const Descriptor renewed(open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (!WriteAll(renewed.get(), log.id + "\n")) return file.path + ": " + std::strerror(errno);
    logs.push_back(std::move(log));
  }
  return {};
}

// ---- Putting it in place -------------------------------------------------------------------------------------

struct Close {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using Connection = std::unique_ptr<sqlite3, Close>;

// The old device, which nobody has open while this lives.
class HeldDevice {
 public:
  // `why` says what is in the way. One that holds something is held only where that may go.
  HeldDevice(const std::string& folder, const std::function<std::string()>& may_go,
             std::string& why)
      : folder_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatience);
    while (flock(folder_.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK) break;  // a file system without such locks
      if (std::chrono::steady_clock::now() > end) {
        why = folder + ": another program is opening it";
        return;
      }
      std::this_thread::sleep_for(kPause);
    }
    // From here on nobody opens it. Whoever has it open, and adds something now, is found next.
    why = may_go();
    for (const DatabaseKind& kind : kDatabases) {
      if (!why.empty() || IsHeld(folder + "/" + std::string(kind.file))) continue;
      why = folder + ": another program uses it; nothing was changed";
    }
  }

 private:
  // A lock that excludes all others, also those that only have the database open. A file that is no database is in
  // nobody's use.
  bool IsHeld(const std::string& path) {
    std::error_code error;
    if (!fs::exists(path, error)) return true;
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    Connection database(opened);
    if (result != SQLITE_OK) return true;
    sqlite3_busy_timeout(opened, kPatience);
    // Its log goes as it is. By its name another file may be meant when it is closed.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_exec(opened, "PRAGMA locking_mode=EXCLUSIVE", nullptr, nullptr, nullptr);
    const int begun = sqlite3_exec(opened, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
    databases_.push_back(std::move(database));
    return (begun & 0xFF) != SQLITE_BUSY;
  }

  const Descriptor folder_;
  std::vector<Connection> databases_;
};

std::string ErrorOfExchange(const std::string& folder) {
  if (errno == EINVAL || errno == ENOSYS) {
    return folder + ": its file system cannot exchange two folders; restore into a new folder";
  }
  return folder + ": " + std::strerror(errno);
}

void FlushFolder(const std::string& folder) {
  const Descriptor handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (handle.get() >= 0) fsync(handle.get());
}

class Restoring {
 public:
  Restoring(const std::string& device, const RestoreSettings& settings, RestoreReport& report)
      : device_(device), settings_(settings), report_(report) {}

  std::string Run(int handle) {
    std::string why = MayReplace();
    if (!why.empty()) return why;
    const fs::path place(device_);
    const WorkFolder work(place.parent_path() /
                          ("." + place.filename().string() + ".osif-restore"));
    if (!work.is_held()) return work.why_not();
    why = Unpacking(handle, work.path()).Run(report_);
    if (why.empty()) why = CheckDatabases(work.path());
    if (!why.empty()) return why;
    why = Prepare(work.path());
    if (why.empty() && syncfs(work.handle()) != 0) why = std::strerror(errno);
    return why.empty() ? PutInPlace(work.path()) : why;
  }

 private:
  std::string MayReplace() {
    std::string why = WhyNoDevice(device_);
    if (!why.empty()) return why;
    report_.has_replaced = HoldsSomething(device_);
    if (!report_.has_replaced || settings_.is_forced) return {};
    return device_ + ": there is a device that holds something; --force replaces it";
  }

  std::string Prepare(const std::string& folder) const {
    for (const char* name : {"/Documents", "/Temp"}) mkdir((folder + name).c_str(), S_IRWXU);
    std::vector<RenewedLog> logs;
    std::string why = RenewDatabaseIds(folder, logs);
    if (why.empty() && settings_.take_over) why = settings_.take_over(folder, logs);
    return why;
  }

  std::string PutInPlace(const std::string& work) {
    std::error_code error;
    if (!fs::exists(device_, error)) {
      if (renameat2(AT_FDCWD, work.c_str(), AT_FDCWD, device_.c_str(), RENAME_NOREPLACE) != 0) {
        return ErrorOfExchange(device_);
      }
      FlushFolder(fs::path(device_).parent_path());
      return {};
    }
    std::string why;
    // Somebody may have put something in since it was looked at first.
    const HeldDevice held(
        device_, [&] { return MayReplace(); }, why);
    if (why.empty() && WasInterrupted()) why = "interrupted";
    if (!why.empty()) return why;
    if (renameat2(AT_FDCWD, work.c_str(), AT_FDCWD, device_.c_str(), RENAME_EXCHANGE) != 0) {
      return ErrorOfExchange(device_);
    }
    FlushFolder(fs::path(device_).parent_path());
    return {};
  }

  const std::string& device_;
  const RestoreSettings& settings_;
  RestoreReport& report_;
};

}  // namespace

RestoreReport RestoreDevice(int handle, const std::string& device_folder,
                            const RestoreSettings& settings) {
  RestoreReport report;
  std::error_code error;
  const fs::path wanted = fs::absolute(device_folder, error);
  fs::create_directories(wanted.parent_path(), error);
  if (error) {
    report.failure = device_folder + ": " + error.message();
    return report;
  }
  // A link that leads to the device stays, and leads to the new one.
  const std::string place = fs::weakly_canonical(wanted, error).string();
  report.failure = Restoring(error ? wanted.string() : place, settings, report).Run(handle);
  return report;
}

}  // namespace client

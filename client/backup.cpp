// A copy of the device is made first, quickly, since other programs wait for it; it is checked, since what cannot be put
// back is no backup, then summed up, and only then packed. All that lies in a work folder beside the file, where there has
// to be room for the file as well, and goes with it.
#include "client/backup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <system_error>

#include "client/archive.h"
#include "client/database_copy.h"
#include "client/device_copy.h"
#include "client/digest.h"
#include "client/interrupt.h"
#include "client/manifest.h"
#include "client/object_file_name.h"
#include "client/temp_file.h"
#include "client/work_folder.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr size_t kBlock = size_t{1} << 16;

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &utc);
  return text;
}

int64_t ModifiedOf(const struct stat& state) {
  return int64_t{state.st_mtim.tv_sec} * 1'000'000'000 + state.st_mtim.tv_nsec;
}

// Hands over the bytes of an open file. Empty, or why not.
std::string ReadAll(int handle, const std::string& name,
                    const std::function<bool(std::string_view)>& take) {
  std::string buffer(kBlock, '\0');
  for (;;) {
    if (WasInterrupted()) return "interrupted";
    const ssize_t got = read(handle, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return name + ": " + std::strerror(errno);
    if (got == 0 || !take(std::string_view(buffer).substr(0, static_cast<size_t>(got)))) return {};
  }
}

// A file of the copy, opened to be read.
class CopiedFile {
 public:
  explicit CopiedFile(const std::string& path)
      : handle_(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)) {
    if (handle_ >= 0) fstat(handle_, &state_);
  }
  ~CopiedFile() {
    if (handle_ >= 0) close(handle_);
  }
  CopiedFile(const CopiedFile&) = delete;
  CopiedFile& operator=(const CopiedFile&) = delete;

  int handle() const { return handle_; }
  const struct stat& state() const { return state_; }

 private:
  const int handle_;
  struct stat state_ {};
};

class Saving {
 public:
  Saving(const std::string& device_folder, const std::string& work_folder)
      : device_(device_folder), copy_(work_folder + "/device"), file_(work_folder + "/archive") {}

  // Makes the archive in the work folder. False, with the reason in the report, where that failed.
  bool Run(BackupReport& report) {
    report.failure = MakeCopy(report);
    if (report.failure.empty()) report.failure = CheckCopy();
    if (report.failure.empty()) report.failure = SumUp(report);
    if (report.failure.empty()) report.failure = Pack();
    return report.failure.empty();
  }

  const std::string& file() const { return file_; }

 private:
  std::string MakeCopy(BackupReport& report) {
    std::error_code error;
    if (!fs::exists(device_ + "/device.db", error)) return device_ + ": there is no device";
    fs::create_directory(copy_, error);
    if (error) return copy_ + ": " + error.message();
    DeviceCopy copied = CopyDevice(device_, copy_, Parts::kAll);
    report.left_out = std::move(copied.left_out);
    paths_ = std::move(copied.paths);
    return copied.failure;
  }

  std::string CheckCopy() const {
    for (const DatabaseKind& kind : kDatabases) {
      const std::vector<std::string> wrong = WhatIsWrong(copy_, kind, Depth::kQuick);
      if (!wrong.empty()) {
        return device_ + "/" + std::string(kind.file) + ": " + wrong[0] + "; nothing was saved";
      }
    }
    return {};
  }

  std::string SumUp(BackupReport& report) {
    manifest_.program = OSIF_VERSION;
    manifest_.created = Now();
    manifest_.schema = SchemaVersionOf(copy_, kDeviceDatabase);
    for (const std::string& path : paths_) {
      const CopiedFile file(copy_ + "/" + path);
      Sha256Sum sum;
      const std::string why = ReadAll(file.handle(), path, [&](std::string_view bytes) {
        sum.Add(bytes);
        return true;
      });
      if (!why.empty()) return why;
      manifest_.members.push_back({path, file.state().st_size, sum.Take()});
      report.bytes += file.state().st_size;
    }
    report.files = paths_.size();
    return {};
  }

  std::string Pack() const {
    const int handle = open(file_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (handle < 0) return file_ + ": " + std::strerror(errno);
    ArchiveWriter archive(handle);
    std::string why = PackInto(archive);
    if (why.empty() && !archive.Finish()) why = archive.why_not();
    if (why.empty() && fsync(handle) != 0) why = std::strerror(errno);
    close(handle);
    return why;
  }

  std::string PackInto(ArchiveWriter& archive) const {
    const std::string text = ManifestText(manifest_);
    const std::string name(kManifestName);
    const auto now = static_cast<int64_t>(std::time(nullptr)) * 1'000'000'000;
    if (!archive.Begin(name, static_cast<int64_t>(text.size()), now) || !archive.Add(text)) {
      return archive.why_not();
    }
    for (const Member& member : manifest_.members) {
      const CopiedFile file(copy_ + "/" + member.name);
      if (!archive.Begin(member.name, member.size, ModifiedOf(file.state()))) {
        return archive.why_not();
      }
      const std::string why = ReadAll(file.handle(), member.name,
                                      [&](std::string_view bytes) { return archive.Add(bytes); });
      if (!why.empty() || !archive.why_not().empty()) return why + archive.why_not();
    }
    return {};
  }

  const std::string& device_;
  const std::string copy_;
  const std::string file_;
  std::vector<std::string> paths_;
  Manifest manifest_;
};

// Links are followed: it is the file that they lead to that is replaced.
fs::path PlaceOf(const std::string& file) {
  std::error_code error;
  fs::path place = fs::weakly_canonical(fs::absolute(file, error), error);
  return error ? fs::path(file) : place;
}

bool LiesIn(const fs::path& place, const std::string& folder) {
  const fs::path whole = PlaceOf(folder);
  const auto [end, ignored] = std::ranges::mismatch(whole, place);
  return end == whole.end();
}

// A file is put in place whole, or not at all; that it is there is on the disk with its folder.
std::string PutInPlace(const std::string& from, const fs::path& place) {
  if (rename(from.c_str(), place.c_str()) != 0) return place.string() + ": " + std::strerror(errno);
  const int folder = open(place.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    fsync(folder);
    close(folder);
  }
  return {};
}

}  // namespace

BackupReport SaveDevice(const std::string& device_folder, const std::string& file) {
  BackupReport report;
  const fs::path place = PlaceOf(file);
  report.failure = WhyNoOutputFile(place.string());
  if (report.failure.empty() && LiesIn(place, device_folder)) {
    report.failure = "it lies in the device's folder";
  }
  if (!report.failure.empty()) {
    report.failure = file + ": " + report.failure;
    return report;
  }
  const WorkFolder work(place.parent_path() / ("." + place.filename().string() + ".osif-backup"));
  if (!work.is_held()) {
    report.failure = work.why_not();
    return report;
  }
  Saving saving(device_folder, work.path());
  if (saving.Run(report)) report.failure = PutInPlace(saving.file(), place);
  return report;
}

BackupReport SaveDevice(const std::string& device_folder, int handle) {
  BackupReport report;
  const WorkFolder work = WorkFolder::Temporary();
  if (!work.is_held()) {
    report.failure = work.why_not();
    return report;
  }
  Saving saving(device_folder, work.path());
  if (!saving.Run(report)) return report;
  const CopiedFile archive(saving.file());
  bool is_written = true;
  report.failure = ReadAll(archive.handle(), saving.file(), [&](std::string_view bytes) {
    is_written = WriteAll(handle, bytes);
    return is_written;
  });
  if (!is_written) report.failure = std::strerror(errno);
  return report;
}

}  // namespace client

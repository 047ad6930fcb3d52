#include "client/session_book.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

#include "client/temp_file.h"
#include "client/texts.h"

namespace client {
namespace {

using Json = nlohmann::ordered_json;

constexpr off_t kLargestBook = 1 << 20;  // bytes, before its older half goes

std::string FileOf(const std::string& device_folder) { return device_folder + "/sessions.log"; }

Json ToJson(const SessionEntry& entry) {
  return {{"peer", entry.peer},       {"service", entry.service}, {"began", entry.began},
          {"ended", entry.ended},     {"added", entry.added},     {"updated", entry.updated},
          {"deleted", entry.deleted}, {"sent", entry.sent},       {"refused", entry.refused},
          {"reasons", entry.reasons}, {"ending", entry.ending}};
}

SessionEntry FromJson(const Json& json) {
  SessionEntry entry;
  entry.peer = json.value("peer", "");
  entry.service = json.value("service", "");
  entry.began = json.value("began", int64_t{0});
  entry.ended = json.value("ended", int64_t{0});
  entry.added = json.value("added", size_t{0});
  entry.updated = json.value("updated", size_t{0});
  entry.deleted = json.value("deleted", size_t{0});
  entry.sent = json.value("sent", size_t{0});
  entry.refused = json.value("refused", size_t{0});
  entry.reasons = json.value("reasons", std::vector<std::string>{});
  entry.ending = json.value("ending", "");
  return entry;
}

// Keeps the newer half. Whoever reads meanwhile has the old file open.
bool HalveBook(const std::string& file) {
  std::ifstream old(file, std::ios::binary);
  old.seekg(kLargestBook / 2);
  std::string rest;
  std::getline(old, rest);  // the rest of a line
  rest.assign(std::istreambuf_iterator<char>(old), {});
  const std::string beside = file + ".new";
  const int handle = open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (handle < 0) return false;
  const bool is_written = WriteAll(handle, rest);
  close(handle);
  return is_written && rename(beside.c_str(), file.c_str()) == 0;
}

}  // namespace

bool AppendSession(const std::string& device_folder, const SessionEntry& entry) {
  const std::string file = FileOf(device_folder);
  // Several sessions may end at once; the lock is on a file that stays.
  const int lock = open((file + ".lock").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (lock >= 0) flock(lock, LOCK_EX);
  struct stat state {};
  if (stat(file.c_str(), &state) == 0 && state.st_size > kLargestBook) HalveBook(file);
  const int handle = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  const std::string line =
      ToJson(entry).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
  const bool is_written = handle >= 0 && WriteAll(handle, line);
  if (handle >= 0) close(handle);
  if (lock >= 0) close(lock);
  return is_written;
}

std::vector<SessionEntry> LastSessions(const std::string& device_folder, size_t most) {
  std::vector<SessionEntry> entries;
  std::ifstream file(FileOf(device_folder));
  for (std::string line; std::getline(file, line);) {
    const Json json = Json::parse(line, nullptr, false);
    if (!json.is_object()) continue;
    try {
      entries.push_back(FromJson(json));
    } catch (const Json::exception&) {
      continue;  // a value of another type
    }
  }
  if (entries.size() > most) {
    entries.erase(entries.begin(), entries.end() - static_cast<long>(most));
  }
  return entries;
}

}  // namespace client

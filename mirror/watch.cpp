// The system tells of names in watched folders. Of the device's folder only the database counts, to the log of which every
// commit is written; the files that this program itself keeps there change with each run.
#include "mirror/watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>

#include "client/interrupt.h"

namespace mirror {
namespace {

constexpr uint32_t kFolderEvents = IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE |
                                   IN_DELETE_SELF | IN_MOVE_SELF | IN_ATTRIB;
constexpr uint32_t kDeviceEvents = IN_MODIFY | IN_MOVED_TO;

bool IsDatabase(std::string_view name) { return name == "device.db" || name == "device.db-wal"; }

}  // namespace

Watch::Watch(const std::string& folder, const std::string& device_folder)
    : handle_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (handle_ >= 0) folder_ = inotify_add_watch(handle_, folder.c_str(), kFolderEvents);
  if (folder_ >= 0) device_ = inotify_add_watch(handle_, device_folder.c_str(), kDeviceEvents);
  if (device_ < 0) why_not_ = std::string("changes cannot be watched: ") + std::strerror(errno);
}

Watch::~Watch() {
  if (handle_ >= 0) close(handle_);
}

// Whether anything of what the system has told so far counts.
bool Watch::Take() {
  alignas(inotify_event) std::array<char, 16 * 1024> buffer;
  bool counts = false;
  for (;;) {
    const ssize_t size = read(handle_, buffer.data(), buffer.size());
    if (size <= 0) return counts;
    for (size_t place = 0; place < static_cast<size_t>(size);) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + place, sizeof event);
      const std::string_view name = event.len == 0 ? "" : buffer.data() + place + sizeof event;
      const bool is_of_device = event.wd == device_;
      counts = counts || !is_of_device || IsDatabase(name);
      place += sizeof event + event.len;
    }
  }
}

bool Watch::Wait(int milliseconds) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    std::array<pollfd, 2> ready = {
        {{handle_, POLLIN, 0}, {client::InterruptDescriptor(), POLLIN, 0}}};
    // What the watch is told of other files does not end the waiting.
    if (left <= 0 || poll(ready.data(), ready.size(), static_cast<int>(left)) <= 0) return false;
    if (client::WasInterrupted()) return false;
    if (Take()) return true;
  }
}

void Watch::Forget() { Take(); }

}  // namespace mirror

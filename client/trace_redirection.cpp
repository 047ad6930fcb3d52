#include "client/trace_redirection.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>
#include <string>

#include "client/registry_value.h"
#include "platform/device/device.h"

namespace client {
namespace {

// Waits for a byte or the other side's end.
void WaitFor(int handle) {
  char byte;
  while (read(handle, &byte, 1) < 0 && errno == EINTR) continue;
}

void PutBack(const std::optional<uint32_t>& former) {
  if (former) {
    WriteRegistryNumber(kDebugKey, kLogAddressName, *former);
  } else {
    RemoveRegistryValue(kDebugKey, kLogAddressName);
  }
}

// The helper's whole life.
void Redirect(uint32_t address, int ready, int go_back) {
  for (const int stop : {SIGINT, SIGTERM, SIGHUP}) std::signal(stop, SIG_IGN);
  // The folder itself is locked by the database's opening, so another one stands for the trace.
  const std::string folder = device::Folder() + "/Temp";
  const int lock = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (lock >= 0) flock(lock, LOCK_EX);
  const std::optional<uint32_t> former = ReadRegistryNumber(kDebugKey, kLogAddressName);
  WriteRegistryNumber(kDebugKey, kLogAddressName, address);
  device::CloseDatabase();
  close(ready);
  WaitFor(go_back);
  PutBack(former);
  device::CloseDatabase();
}

}  // namespace

TraceRedirection::TraceRedirection(uint32_t address) {
  int ready[2];
  int back[2];
  if (pipe2(ready, O_CLOEXEC) != 0) return;
  if (pipe2(back, O_CLOEXEC) != 0) {
    close(ready[0]);
    close(ready[1]);
    return;
  }
  helper_ = fork();
  if (helper_ == 0) {
    close(ready[0]);
    close(back[1]);
    Redirect(address, ready[1], back[0]);
    _exit(0);
  }
  close(ready[1]);
  close(back[0]);
  if (helper_ > 0) WaitFor(ready[0]);
  close(ready[0]);
  go_back_ = back[1];
}

TraceRedirection::~TraceRedirection() {
  if (go_back_ >= 0) close(go_back_);
  if (helper_ > 0) {
    while (waitpid(helper_, nullptr, 0) < 0 && errno == EINTR) continue;
  }
}

}  // namespace client

// osifd: the service that phones and handhelds push objects to and synchronise with.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>

#include "client/private_files.h"
#include "platform/device/device.h"
#include "tools/osifd/check.h"
#include "tools/osifd/log.h"
#include "tools/osifd/options.h"
#include "tools/osifd/served.h"
#include "tools/osifd/supervisor.h"

namespace {

using daemon_process::Level;
using daemon_process::Log;
using daemon_process::Options;

constexpr int kWrongUsage = 2;

// Tells systemd that peers may come.
void TellReady() {
  const char* name = std::getenv("NOTIFY_SOCKET");
  if (name == nullptr) return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (std::strlen(name) >= sizeof address.sun_path) return;
  std::strcpy(address.sun_path, name);
  if (address.sun_path[0] == '@') address.sun_path[0] = '\0';
  const int handle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  constexpr char kReady[] = "READY=1";
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(name));
  sendto(handle, kReady, sizeof kReady - 1, MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&address),
         size);
  close(handle);
}

// A new device is made before the first peer comes: many at once would get in each other's way. One that cannot be used is
// told at the start.
bool MakeDevice(const Log& log) {
  if (device::OpenDatabase() == nullptr) {
    log.Write(Level::kError, device::ErrorText());
    return false;
  }
  device::CloseDatabase();
  return true;
}

int Run(const Options& options, char** argv) {
  if (!options.device.empty()) setenv("OSIF_DEVICE", options.device.c_str(), 1);
  const Log log(options.json);
  if (options.served >= 0) return daemon_process::ServeConnection(options, log);
  client::MakeFilesPrivate();
  if (options.checks) return daemon_process::CheckMachine(options);
  if (options.tcp.empty() && options.serial.empty() && !options.pty && !options.bluetooth) {
    std::fprintf(stderr, "osifd: nobody could reach it: --tcp, --serial, --pty or --bluetooth\n");
    return kWrongUsage;
  }
  if (!MakeDevice(log)) return 1;
  daemon_process::Supervisor supervisor(options, log, argv);
  if (!supervisor.Open()) return 1;
  TellReady();
  supervisor.Run();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Options options;
    if (const auto status = daemon_process::ReadOptions(argc, argv, options)) return *status;
    return Run(options, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "osifd: %s\n", error.what());
    return 1;
  }
}

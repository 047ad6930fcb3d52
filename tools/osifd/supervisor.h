// The process that accepts connections, and starts a process for each. It never looks at what peers send.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "obex/transports/sockets.h"
#include "tools/osifd/log.h"
#include "tools/osifd/options.h"

namespace obex {
class BluetoothProfiles;
}

namespace daemon_process {

class Supervisor {
 public:
  // `argv`: the command line, with which the processes are started, too.
  Supervisor(const Options& options, const Log& log, char** argv);
  ~Supervisor();

  // Opens what peers come by. False when something cannot be opened; that was logged.
  bool Open();

  // Until SIGTERM or SIGINT; what still runs then is asked to end, and waited for.
  void Run();

 private:
  using Clock = std::chrono::steady_clock;

  // A serial line or a pty: one process after the other serves it.
  struct Line {
    std::string name;
    obex::Handle handle;
    obex::Handle other_side;  // of a pty
    bool is_serial = false;
    pid_t pid = 0;
    Clock::time_point next_start;
  };

  bool HasPassword() const;
  bool OpenTcp();
  bool OpenLines();
  bool OpenBluetooth();
  int WaitTime() const;
  void Accept(int listener);
  void StartLines();
  // The process that serves the descriptor; 0 when there is none.
  pid_t Start(int handle, const std::string& peer);
  void Reap();
  void EndAll();
  bool MayAccept() const;
  size_t CountOf(const std::string& address) const;
  void TakeBluetooth(int handle, const std::string& device);

  const Options& options_;
  const Log& log_;
  char** const argv_;
  obex::Handle signals_;
  std::vector<obex::Handle> listeners_;
  std::vector<Line> lines_;
  std::unique_ptr<obex::BluetoothProfiles> bluetooth_;
  std::map<pid_t, std::string> running_;  // the addresses of peers by the processes that serve them
  Clock::time_point second_;              // the rate is counted in it
  size_t accepted_ = 0;
};

}  // namespace daemon_process

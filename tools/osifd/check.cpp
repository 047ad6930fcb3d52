#include "tools/osifd/check.h"

#include <cstdio>
#include <string>

#include "client/damage.h"
#include "obex/transports/bluetooth.h"
#include "obex/transports/sockets.h"
#include "osif.h"
#include "platform/device/device.h"

namespace daemon_process {
namespace {

class Checks {
 public:
  // `why` is empty where it works.
  void Tell(const std::string& what, const std::string& why, bool is_wanted) {
    std::printf("%-12s %s\n", (what + ":").c_str(), why.empty() ? "works" : why.c_str());
    if (is_wanted && !why.empty()) status_ = 1;
  }
  int status() const { return status_; }

 private:
  int status_ = 0;
};

std::string WhyNoDevice() {
  if (device::OpenDatabase() == nullptr) return device::ErrorText();
  device::CloseDatabase();
  return {};
}

std::string WhyNoTcp(const std::string& address) {
  std::string bound;
  std::string why = "no address; such as 127.0.0.1:6500";
  const auto read = obex::ReadTcpAddress(address);
  if (read && obex::ListenTcp(*read, bound, why).is_open()) return {};
  return why;
}

std::string WhyNoLine(const std::string& file) {
  std::string why;
  return obex::OpenSerialLine(file, why).is_open() ? std::string() : why;
}

std::string WhyNoPty() {
  std::string name;
  std::string why;
  obex::Handle other_side;
  return obex::OpenPty(name, other_side, why).is_open() ? std::string() : why;
}

std::string WhyNoPassword(const std::string& file) {
  return ReadPassword(file) ? "" : "no password is in it";
}

}  // namespace

int CheckMachine(const Options& options) {
  Checks checks;
  checks.Tell("device " + device::Folder(), WhyNoDevice(), true);
  checks.Tell("tcp", WhyNoTcp("127.0.0.1:0"), false);
  for (const std::string& address : options.tcp) {
    checks.Tell("tcp " + address, WhyNoTcp(address), true);
  }
  for (const std::string& file : options.serial) {
    checks.Tell("serial " + file, WhyNoLine(file), true);
  }
  checks.Tell("pty", WhyNoPty(), options.pty);
  checks.Tell("bluetooth", obex::WhyNoBluetooth(), options.bluetooth);
  if (!options.password_file.empty()) {
    checks.Tell("password " + options.password_file, WhyNoPassword(options.password_file), true);
  }
  return checks.status();
}

}  // namespace daemon_process

// Where another device is: an address of TCP or of Bluetooth, or a serial line.
#pragma once

#include <memory>
#include <string>

#include "obex/transports/bluetooth_line.h"
#include "obex/transports/sockets.h"

namespace obex {

// A way to another device, closed when it goes out of scope.
class Line {
 public:
  Line() = default;
  explicit Line(Handle handle) : handle_(std::move(handle)) {}
  explicit Line(std::unique_ptr<BluetoothLine> bluetooth) : bluetooth_(std::move(bluetooth)) {}

  bool is_open() const { return bluetooth_ != nullptr || handle_.is_open(); }
  // Stays the line's.
  int handle() const { return bluetooth_ != nullptr ? bluetooth_->handle() : handle_.get(); }

 private:
  Handle handle_;
  std::unique_ptr<BluetoothLine> bluetooth_;
};

// Connects to "HOST:PORT" or to a Bluetooth address ("00:11:22:33:44:55"), whose service it is to be, or opens a file such
// as /dev/rfcomm0. A closed line where that failed; `why` tells why then.
Line ConnectTo(const std::string& address, BluetoothService service, std::string& why);

}  // namespace obex

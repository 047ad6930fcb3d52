// Lines to the services of other devices, through BlueZ: it looks up the channel, pairs and connects.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

namespace obex {

enum class BluetoothService { kPush, kSync };

// True for six bytes in hexadecimal: "00:11:22:33:44:55".
bool IsBluetoothAddress(std::string_view text);

class BluetoothLine {
 public:
  // Connects to a device that BlueZ knows by its address. Null where that failed or took too long; `why` tells why then.
  static std::unique_ptr<BluetoothLine> Open(const std::string& address, BluetoothService service,
                                             std::chrono::seconds patience, std::string& why);
  // Ends the connection.
  virtual ~BluetoothLine() = default;

  // The connected socket; stays the line's.
  virtual int handle() const = 0;
};

}  // namespace obex

// Object push (0x1105) and IrMC synchronisation (0x1104) as profiles of BlueZ, over the system's bus.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace obex {

class BluetoothProfiles {
 public:
  // A connection that BlueZ accepted: its socket, lent until this returns, and the device's address.
  using OnConnection = std::function<void(int handle, const std::string& device)>;
  using OnNote = std::function<void(const std::string& text)>;

  // Registers both profiles now, or as soon as BlueZ is there, and anew whenever it comes back. Null when there is no
  // system bus; `why` tells why then.
  static std::unique_ptr<BluetoothProfiles> Open(OnConnection on_connection, OnNote on_note,
                                                 std::string& why);
  virtual ~BluetoothProfiles() = default;

  // For poll(): what to wait for, and for how many milliseconds at most (-1: for ever).
  virtual int handle() const = 0;
  virtual short events() const = 0;
  virtual int timeout() const = 0;
  // Does what there is to do on the bus.
  virtual void Process() = 0;
};

// Why Bluetooth cannot be used here; empty when it can.
std::string WhyNoBluetooth();

}  // namespace obex

#include "obex/client/address.h"

#include <chrono>

namespace obex {
namespace {

constexpr std::chrono::seconds kBluetoothPatience{60};  // pairing may ask the owner

}  // namespace

Line ConnectTo(const std::string& address, BluetoothService service, std::string& why) {
  if (address.starts_with('/')) return Line(OpenSerialLine(address, why));
  if (IsBluetoothAddress(address)) {
    return Line(BluetoothLine::Open(address, service, kBluetoothPatience, why));
  }
  if (const auto tcp = ReadTcpAddress(address)) return Line(ConnectTcp(*tcp, why));
  why = "no address; such as 192.168.1.5:6500, 00:11:22:33:44:55 or /dev/rfcomm0";
  return {};
}

}  // namespace obex

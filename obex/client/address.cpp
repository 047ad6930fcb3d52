#include "obex/client/address.h"

namespace obex {

Handle ConnectTo(const std::string& address, std::string& why) {
  if (address.starts_with('/')) return OpenSerialLine(address, why);
  const auto tcp = ReadTcpAddress(address);
  if (tcp) return ConnectTcp(*tcp, why);
  why = "no address; such as 192.168.1.5:6500 or /dev/rfcomm0";
  return Handle();
}

}  // namespace obex

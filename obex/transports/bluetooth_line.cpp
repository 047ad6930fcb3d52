// BlueZ connects for whoever has registered a profile of the role "client" and hands the socket over by a call of its own.
// That call comes while ConnectProfile() is waited for, so the bus is served by a thread meanwhile. The registration lives
// as long as the line: with it BlueZ ends the connection.
#include "obex/transports/bluetooth_line.h"

#include <sdbus-c++/sdbus-c++.h>

#include <future>
#include <map>
#include <utility>

#include "obex/transports/sockets.h"

namespace obex {
namespace {

using Properties = std::map<std::string, sdbus::Variant>;
using Interfaces = std::map<std::string, Properties>;

constexpr const char* kService = "org.bluez";
constexpr const char* kDevice = "org.bluez.Device1";
constexpr const char* kProfileManager = "org.bluez.ProfileManager1";
constexpr const char* kOwnPath = "/osif/line";

const char* UuidOf(BluetoothService service) {
  return service == BluetoothService::kPush ? "00001105-0000-1000-8000-00805f9b34fb"
                                            : "00001104-0000-1000-8000-00805f9b34fb";
}

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

std::string InUpperCase(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

// The device of an address, of all that BlueZ knows; empty without one.
sdbus::ObjectPath FindDevice(sdbus::IConnection& connection, const std::string& address) {
  const auto root = sdbus::createProxy(connection, kService, "/");
  std::map<sdbus::ObjectPath, Interfaces> objects;
  root->callMethod("GetManagedObjects")
      .onInterface("org.freedesktop.DBus.ObjectManager")
      .storeResultsTo(objects);
  for (const auto& [path, interfaces] : objects) {
    const auto device = interfaces.find(kDevice);
    if (device == interfaces.end()) continue;
    const auto property = device->second.find("Address");
    if (property == device->second.end() || !property->second.containsValueOfType<std::string>()) {
      continue;
    }
    if (InUpperCase(property->second.get<std::string>()) == address) return path;
  }
  return {};
}

class Line final : public BluetoothLine {
 public:
  ~Line() override { connection_->leaveEventLoop(); }

  // Throws what the bus and BlueZ say; empty when it is connected, else why not.
  std::string Connect(const std::string& address, BluetoothService service,
                      std::chrono::seconds patience) {
    Export();
    connection_->enterEventLoopAsync();
    const sdbus::ObjectPath path = FindDevice(*connection_, InUpperCase(address));
    if (path.empty()) return "BlueZ knows no such device; pair it first";
    Register(service);
    const auto device = sdbus::createProxy(*connection_, kService, path);
    device->callMethod("ConnectProfile")
        .onInterface(kDevice)
        .withTimeout(patience)
        .withArguments(std::string(UuidOf(service)));
    std::future<Handle> coming = socket_.get_future();
    if (coming.wait_for(patience) != std::future_status::ready) return "BlueZ gave no connection";
    handle_ = coming.get();
    return {};
  }

  int handle() const override { return handle_.get(); }

 private:
  void Export() {
    profile_ = sdbus::createObject(*connection_, kOwnPath);
    const char* const interface = "org.bluez.Profile1";
    profile_->registerMethod("NewConnection")
        .onInterface(interface)
        .implementedAs([this](const sdbus::ObjectPath&, sdbus::UnixFd socket, const Properties&) {
          // A second one would be of another device.
          if (!std::exchange(is_connected_, true)) socket_.set_value(Handle(socket.release()));
        });
    profile_->registerMethod("RequestDisconnection")
        .onInterface(interface)
        .implementedAs([](const sdbus::ObjectPath&) {});  // the socket is closed, which is noticed
    profile_->registerMethod("Release").onInterface(interface).implementedAs([] {});
    profile_->registerMethod("Cancel").onInterface(interface).implementedAs([] {});
    profile_->finishRegistration();
  }

  void Register(BluetoothService service) {
    const Properties options = {
        {"Role", sdbus::Variant(std::string("client"))},
        {"RequireAuthentication", sdbus::Variant(true)},
        {"AutoConnect", sdbus::Variant(false)},
    };
    const auto manager = sdbus::createProxy(*connection_, kService, "/org/bluez");
    manager->callMethod("RegisterProfile")
        .onInterface(kProfileManager)
        .withArguments(sdbus::ObjectPath(kOwnPath), std::string(UuidOf(service)), options);
  }

  std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSystemBusConnection();
  std::unique_ptr<sdbus::IObject> profile_;
  std::promise<Handle> socket_;
  bool is_connected_ = false;  // of the thread that serves the bus
  Handle handle_;
};

}  // namespace

bool IsBluetoothAddress(std::string_view text) {
  if (text.size() != 17) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (i % 3 == 2 ? text[i] != ':' : !IsHexDigit(text[i])) return false;
  }
  return true;
}

std::unique_ptr<BluetoothLine> BluetoothLine::Open(const std::string& address,
                                                   BluetoothService service,
                                                   std::chrono::seconds patience,
                                                   std::string& why) {
  try {
    auto line = std::make_unique<Line>();
    why = line->Connect(address, service, patience);
    if (why.empty()) return line;
  } catch (const sdbus::Error& error) {
    why = error.getMessage();
  }
  return nullptr;
}

}  // namespace obex

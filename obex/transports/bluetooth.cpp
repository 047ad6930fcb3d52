// BlueZ may come later, go and come back, and so may the bus: the profiles are registered whenever it appears. Calls to it
// do not wait for their answers, so that a BlueZ that hangs does not keep others from being served.
#include "obex/transports/bluetooth.h"

#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <utility>

namespace obex {
namespace {

using Clock = std::chrono::steady_clock;
using Variants = std::map<std::string, sdbus::Variant>;

constexpr const char* kBluez = "org.bluez";
constexpr const char* kBluezObject = "/org/bluez";
constexpr const char* kManager = "org.bluez.ProfileManager1";
constexpr const char* kProfile = "org.bluez.Profile1";
constexpr const char* kBus = "org.freedesktop.DBus";
constexpr std::chrono::milliseconds kBusPause{1000};  // before the bus is looked for again

struct ProfileRow {
  const char* path;
  const char* uuid;
  const char* name;
  uint16_t channel;
  bool asks_owner;     // whether a paired device may come without being asked for each time
  const char* record;  // what it tells devices of itself; the channel is that of the row
};

// Push takes every format (0xFF: anything). BlueZ's own record for synchronisation says contacts alone (0x01); this
// service has the calendar (0x03), too.
constexpr std::array<ProfileRow, 2> kProfiles = {{
    {"/osifd/push", "00001105-0000-1000-8000-00805f9b34fb", "OBEX Object Push", 9, false,
     R"(<?xml version="1.0" encoding="UTF-8" ?><record>
<attribute id="0x0001"><sequence><uuid value="0x1105"/></sequence></attribute>
<attribute id="0x0004"><sequence><sequence><uuid value="0x0100"/></sequence>
<sequence><uuid value="0x0003"/><uint8 value="0x09"/></sequence>
<sequence><uuid value="0x0008"/></sequence></sequence></attribute>
<attribute id="0x0005"><sequence><uuid value="0x1002"/></sequence></attribute>
<attribute id="0x0009"><sequence><sequence><uuid value="0x1105"/><uint16 value="0x0100"/></sequence></sequence></attribute>
<attribute id="0x0100"><text value="OBEX Object Push"/></attribute>
<attribute id="0x0303"><sequence><uint8 value="0x01"/><uint8 value="0x02"/><uint8 value="0x03"/><uint8 value="0x04"/>
<uint8 value="0x05"/><uint8 value="0x06"/><uint8 value="0xff"/></sequence></attribute></record>)"},
    {"/osifd/sync", "00001104-0000-1000-8000-00805f9b34fb", "IrMC Synchronisation", 14, true,
     R"(<?xml version="1.0" encoding="UTF-8" ?><record>
<attribute id="0x0001"><sequence><uuid value="0x1104"/></sequence></attribute>
<attribute id="0x0004"><sequence><sequence><uuid value="0x0100"/></sequence>
<sequence><uuid value="0x0003"/><uint8 value="0x0e"/></sequence>
<sequence><uuid value="0x0008"/></sequence></sequence></attribute>
<attribute id="0x0005"><sequence><uuid value="0x1002"/></sequence></attribute>
<attribute id="0x0009"><sequence><sequence><uuid value="0x1104"/><uint16 value="0x0100"/></sequence></sequence></attribute>
<attribute id="0x0100"><text value="IrMC Synchronisation"/></attribute>
<attribute id="0x0301"><sequence><uint8 value="0x01"/><uint8 value="0x03"/></sequence></attribute></record>)"},
}};

// "00:11:22:33:44:55" of "/org/bluez/hci0/dev_00_11_22_33_44_55".
std::string AddressOf(const std::string& device_path) {
  const size_t begin = device_path.rfind("dev_");
  std::string address = begin == std::string::npos ? device_path : device_path.substr(begin + 4);
  for (char& c : address) c = c == '_' ? ':' : c;
  return address;
}

class Profiles final : public BluetoothProfiles {
 public:
  Profiles(OnConnection on_connection, OnNote on_note)
      : on_connection_(std::move(on_connection)), on_note_(std::move(on_note)) {}

  // Throws where there is no bus.
  void Connect() {
    connection_ = sdbus::createSystemBusConnection();
    for (const ProfileRow& row : kProfiles) objects_.push_back(NewObject(row));
    bus_ = sdbus::createProxy(*connection_, kBus, "/org/freedesktop/DBus");
    bus_->uponSignal("NameOwnerChanged")
        .onInterface(kBus)
        .call([this](const std::string& name, const std::string&, const std::string& owner) {
          if (name != kBluez) return;
          if (owner.empty()) return on_note_("BlueZ is gone");
          Register();
        });
    bus_->finishRegistration();
    manager_ = sdbus::createProxy(*connection_, kBluez, kBluezObject);
    Register();
  }

  int handle() const override {
    return connection_ == nullptr ? -1 : connection_->getEventLoopPollData().fd;
  }
  short events() const override {
    constexpr short kNoEvents = 0;  // of the handle that is none
    return connection_ == nullptr ? kNoEvents : connection_->getEventLoopPollData().events;
  }
  int timeout() const override {
    if (connection_ == nullptr) return static_cast<int>(kBusPause.count());
    return connection_->getEventLoopPollData().getPollTimeout();
  }

  void Process() override {
    try {
      if (connection_ == nullptr) {
        if (Clock::now() < next_try_) return;
        Connect();
        on_note_("the system bus is back");
      }
      while (connection_->processPendingRequest()) continue;
    } catch (const sdbus::Error& error) {
      if (connection_ != nullptr) on_note_("the system bus is gone: " + error.getMessage());
      Disconnect();
    }
  }

 private:
  void Disconnect() {
    objects_.clear();
    manager_.reset();
    bus_.reset();
    connection_.reset();
    next_try_ = Clock::now() + kBusPause;
  }

  std::unique_ptr<sdbus::IObject> NewObject(const ProfileRow& row) {
    std::unique_ptr<sdbus::IObject> object = sdbus::createObject(*connection_, row.path);
    object->registerMethod("NewConnection")
        .onInterface(kProfile)
        .implementedAs(
            [this](const sdbus::ObjectPath& device, const sdbus::UnixFd& socket, const Variants&) {
              on_connection_(socket.get(), AddressOf(device));
            });
    object->registerMethod("RequestDisconnection")
        .onInterface(kProfile)
        .implementedAs([](const sdbus::ObjectPath&) {});  // the socket is closed, which is noticed
    object->registerMethod("Release").onInterface(kProfile).implementedAs([] {});
    object->registerMethod("Cancel").onInterface(kProfile).implementedAs([] {});
    object->finishRegistration();
    return object;
  }

  void Register() {
    for (const ProfileRow& row : kProfiles) {
      const Variants options = {
          {"Name", sdbus::Variant(std::string(row.name))},
          {"Role", sdbus::Variant(std::string("server"))},
          {"Channel", sdbus::Variant(row.channel)},
          {"RequireAuthentication", sdbus::Variant(true)},
          {"RequireAuthorization", sdbus::Variant(row.asks_owner)},
          {"AutoConnect", sdbus::Variant(false)},
          {"ServiceRecord", sdbus::Variant(std::string(row.record))},
      };
      manager_->callMethodAsync("RegisterProfile")
          .onInterface(kManager)
          .withArguments(sdbus::ObjectPath(row.path), std::string(row.uuid), options)
          .uponReplyInvoke([this, &row](const sdbus::Error* error) { TellRegistered(row, error); });
    }
  }

  void TellRegistered(const ProfileRow& row, const sdbus::Error* error) {
    on_note_(error == nullptr
                 ? std::string(row.name) + " is registered"
                 : std::string(row.name) + " is not registered: " + error->getMessage());
  }

  const OnConnection on_connection_;
  const OnNote on_note_;
  std::unique_ptr<sdbus::IConnection> connection_;
  std::vector<std::unique_ptr<sdbus::IObject>> objects_;
  std::unique_ptr<sdbus::IProxy> bus_;
  std::unique_ptr<sdbus::IProxy> manager_;
  Clock::time_point next_try_;
};

}  // namespace

std::unique_ptr<BluetoothProfiles> BluetoothProfiles::Open(OnConnection on_connection,
                                                           OnNote on_note, std::string& why) {
  try {
    auto profiles = std::make_unique<Profiles>(std::move(on_connection), std::move(on_note));
    profiles->Connect();
    return profiles;
  } catch (const sdbus::Error& error) {
    why = error.getMessage();
    return nullptr;
  }
}

std::string WhyNoBluetooth() {
  try {
    const auto connection = sdbus::createSystemBusConnection();
    const auto bus = sdbus::createProxy(*connection, kBus, "/org/freedesktop/DBus");
    bool has_owner = false;
    bus->callMethod("NameHasOwner")
        .onInterface(kBus)
        .withArguments(std::string(kBluez))
        .storeResultsTo(has_owner);
    return has_owner ? "" : "BlueZ is not running";
  } catch (const sdbus::Error& error) {
    return "no system bus: " + error.getMessage();
  }
}

}  // namespace obex

// Bluetooth, with a BlueZ that is none on a bus of the test's own.
#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::bluetooth_test {
namespace {

using testing::HasSubstr;

class OsifdBluetooth : public OsifdTest {
 protected:
  void SetUp() override {
    for (const char* program : {"/usr/bin/python3", "/usr/bin/dbus-daemon"}) {
      if (!std::filesystem::exists(program)) GTEST_SKIP() << program << " is not installed";
    }
    if (Run({"/usr/bin/python3", "-c", "import dbus, dbusmock"}).status != 0) {
      GTEST_SKIP() << "python3-dbusmock is not installed";
    }
  }

  // What a scenario of bluez.py saw, which starts a program of ours. It ends by itself.
  std::string Saw(const std::string& scenario, const Lines& program = {support::kDaemon}) {
    std::filesystem::create_directory(Path("bus"));
    outcome_ = Run(
        Launched(program, {"/usr/bin/python3", support::kSources + "/tests/tools/osifd/bluez.py",
                           Path("bus"), scenario}));
    EXPECT_EQ(outcome_.status, 0) << outcome_.err;
    return outcome_.out;
  }

  Outcome outcome_;
};

TEST_F(OsifdBluetooth, RegistersBothProfilesWithTheirRecords) {
  EXPECT_EQ(Saw("registration"),
            "/osifd/push 00001105-0000-1000-8000-00805f9b34fb\n"
            "  AutoConnect 0\n"
            "  Channel 9\n"
            "  Name OBEX Object Push\n"
            "  RequireAuthentication 1\n"
            "  RequireAuthorization 0\n"
            "  Role server\n"
            "  0x0001 0x1105\n"
            "  0x0004 0x0100,0x0003,0x09,0x0008\n"
            "  0x0009 0x1105,0x0100\n"
            "  0x0301 none\n"
            "  0x0303 0x01,0x02,0x03,0x04,0x05,0x06,0xff\n"
            "/osifd/sync 00001104-0000-1000-8000-00805f9b34fb\n"
            "  AutoConnect 0\n"
            "  Channel 14\n"
            "  Name IrMC Synchronisation\n"
            "  RequireAuthentication 1\n"
            "  RequireAuthorization 1\n"
            "  Role server\n"
            "  0x0001 0x1104\n"
            "  0x0004 0x0100,0x0003,0x0e,0x0008\n"
            "  0x0009 0x1104,0x0100\n"
            "  0x0301 0x01,0x03\n"
            "  0x0303 none\n");
}

TEST_F(OsifdBluetooth, ServesConnectionsThatBlueZHandsOver) {
  EXPECT_EQ(Saw("connection"),
            "connect A0\nput A0\nconnect A0\ncounter 1\ndisconnect A0\nstatus 0\n"
            "bluetooth 00:11:22:33:44:55: added, store pb, id 00000001, name Ann Lee\n"
            "bluetooth 00:11:22:33:44:55: closed by the peer\n"
            "bluetooth 00:11:22:33:44:55: closed by the peer\n"
            "bluetooth 00:11:22:33:44:55: connected to push\n"
            "bluetooth 00:11:22:33:44:55: connected to sync\n");
  EXPECT_EQ(Sessions(2)[0]["peer"], "bluetooth 00:11:22:33:44:55");
}

TEST_F(OsifdBluetooth, RegistersWheneverBlueZAppears) {
  EXPECT_EQ(Saw("later"), "put A0\nstatus 0\n");
}

TEST_F(OsifdBluetooth, OutlivesTheBus) { EXPECT_EQ(Saw("bus_loss"), "put A0\nput A0\nstatus 0\n"); }

TEST_F(OsifdBluetooth, SaysWhenBlueZRefuses) {
  EXPECT_EQ(Saw("refusal"), "status 0\n");
  EXPECT_THAT(outcome_.err,
              HasSubstr("OBEX Object Push is not registered: UUID already registered"));
}

// ---- The other way: to a device ---------------------------------------------------------------------------------------

const Lines kPush = {support::kCommand, "push", "pb", "00000001", "--to", "00:11:22:33:44:55"};

TEST_F(OsifdBluetooth, PushesToADeviceThatBlueZConnectsTo) {
  Store(Card({"N:Lee;Ann"}));
  EXPECT_EQ(Saw("line", kPush),
            "/osif/line 00001105-0000-1000-8000-00805f9b34fb AutoConnect=0 RequireAuthentication=1 "
            "Role=client\n"
            "to 00001105-0000-1000-8000-00805f9b34fb\n"
            "asked 80\nasked 02\nasked 82\nasked 81\n"
            "pb 00000001: sent to 00:11:22:33:44:55\n"
            "status 0\n");
}

TEST_F(OsifdBluetooth, SaysWhyADeviceCannotBeReached) {
  Store(Card({"N:Lee;Ann"}));
  EXPECT_EQ(Saw("no_line", kPush),
            "osif: 00:11:22:33:44:55: BlueZ knows no such device; pair it first\nstatus 1\n"
            "osif: 00:11:22:33:44:55: Host is down\nstatus 1\n");
}

}  // namespace
}  // namespace osifd_test::bluetooth_test

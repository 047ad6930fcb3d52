// Devices that cannot be used, and the settings in those that can.
#include <sqlite3.h>

#include "tests/support/registry_values.h"
#include "tests/support/temp_device.h"
#include "tests/tools/osif/command_fixture.h"

namespace command_test::device_test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

class CommandDevice : public CommandTest {
 protected:
  void ExpectRefused(const std::string& named) const {
    for (const char* subcommand : {"list", "count", "anchor"}) {
      const Outcome outcome = Osif({subcommand, "pb", "--json"});
      EXPECT_EQ(outcome.status, 1);
      EXPECT_THAT(outcome.err, HasSubstr(named));
      EXPECT_THAT(outcome.err, EndsWith("General PIM Error (code 14)\n"));
      ASSERT_THAT(outcome.JsonLines(), SizeIs(1));
      EXPECT_EQ(outcome.JsonLines()[0]["code"], 14);
    }
    const std::string card = Write("card.vcf", Card({"N:Lee;Ann"}));
    EXPECT_EQ(Osif({"receive", "--strict", card}).status, 1);
    EXPECT_EQ(Osif({"delete", "pb", "1"}).status, 1);
    EXPECT_EQ(Osif({"settings"}).status, 1);
    EXPECT_EQ(Osif({"settings", "CountryCode", "7"}).status, 1);
  }
};

TEST_F(CommandDevice, AFolderThatCannotBeMadeIsNamed) {
  device_ = Write("file", "no folder") + "/device";
  ExpectRefused(device_);
}

TEST_F(CommandDevice, AFileInItsPlaceIsNamedAndLeftAsItIs) {
  device_ = Write("file", "no folder");
  ExpectRefused(device_);
  EXPECT_EQ(BytesOf(device_), "no folder");
}

TEST_F(CommandDevice, AFolderThatNobodyMayMakeIsNamed) {
  device_ = "/proc/osif-device";
  ExpectRefused(device_);
}

TEST_F(CommandDevice, ADamagedDatabaseIsNamedAndLeftAsItIs) {
  Osif({"count", "pb"});
  const std::string bytes = "this is no database, " + std::string(8192, '?');
  const std::string file = Write("device/device.db", bytes);
  ExpectRefused(file);
  EXPECT_EQ(BytesOf(file), bytes);
}

TEST_F(CommandDevice, ADatabaseOfANewerVersionIsNamedAndLeftAsItIs) {
  Osif({"receive", "--strict", Write("a.vcf", Card({"N:Lee;Ann"}))});
  const std::string file = device_ + "/device.db";
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, "PRAGMA user_version = 999", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);
  const std::string bytes = BytesOf(file);
  ExpectRefused(file);
  EXPECT_THAT(Osif({"count", "pb"}).err, HasSubstr("newer"));
  EXPECT_EQ(BytesOf(file), bytes);
}

TEST_F(CommandDevice, ParsingNeedsNoDevice) {
  device_ = Write("file", "no folder") + "/device";
  EXPECT_EQ(Osif({"parse", "--strict", Write("a.vcf", Card({"N:Lee;Ann"}))}).status, 0);
}

// ---- Who can read it ----------------------------------------------------------------------------------

unsigned ModeOf(const std::filesystem::path& path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

TEST_F(CommandDevice, IsMadeForItsOwnerAloneWhateverTheMaskIs) {
  const std::string samples = support::kSources + "/samples/";
  ASSERT_EQ(Run(Launched({support::kCommand, "receive", "--strict", samples + "plain.vcf",
                          samples + "note.vnt", samples + "calendar.vcs"},
                         {"/bin/sh", "-c", "umask 0; exec \"$@\"", "sh"}))
                .status,
            0);
  EXPECT_EQ(ModeOf(device_), 0700u);
  size_t files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(device_)) {
    EXPECT_EQ(ModeOf(entry.path()), entry.is_directory() ? 0700u : 0600u) << entry.path();
    if (entry.is_regular_file()) ++files;
  }
  EXPECT_GE(files, 4u);  // the database, a note, two logs
}

TEST_F(CommandDevice, AFolderThatOthersCanReadIsToldOnce) {
  ASSERT_EQ(Osif({"count", "pb"}).err, "");
  std::filesystem::permissions(device_, std::filesystem::perms(0755));
  const Outcome outcome = Osif({"count", "pb"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "osif: others can look into the device's folder '" + device_ +
                             "'; \"chmod 700\" on it keeps them out\n");
  EXPECT_EQ(Osif({"count", "pb"}).err, "");
}

// ---- What cannot be read or written -------------------------------------------------------------------

// A command that may do no more than the modes of files allow, also when the superuser runs the tests.
class CommandWithoutPrivileges : public CommandDevice {
 protected:
  Outcome Plain(Lines arguments) const {
    arguments.insert(arguments.begin(), support::kCommand);
    if (geteuid() != 0) return Run(Launched(arguments));
    return Run(
        Launched(arguments, {"/usr/bin/setpriv", "--bounding-set=-dac_override,-dac_read_search",
                             "--inh-caps=-dac_override,-dac_read_search"}));
  }

  // Whether this machine lets us give up the privileges.
  bool IsPossible() const {
    const std::string file = Write("forbidden", "");
    std::filesystem::permissions(file, std::filesystem::perms::none);
    if (geteuid() != 0) return true;
    if (!std::filesystem::exists("/usr/bin/setpriv")) return false;
    return Run({"/usr/bin/setpriv", "--bounding-set=-dac_override,-dac_read_search",
                "--inh-caps=-dac_override,-dac_read_search", "/bin/cat", file})
               .status == 1;
  }
};

TEST_F(CommandWithoutPrivileges, AFileThatMayNotBeReadIsNamedWithTheSystemsReason) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  const std::string file = Write("secret.vcf", Card({"N:Lee;Ann"}));
  std::filesystem::permissions(file, std::filesystem::perms::none);
  for (const char* subcommand : {"receive", "find", "parse"}) {
    const Outcome outcome = Plain({subcommand, file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "osif: " + file + ": Permission denied: Could not open the file (code 7)\n");
  }
}

TEST_F(CommandWithoutPrivileges, AFolderThatMayNotBeWrittenIsNamedWithTheSystemsReason) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  Store(Card({"N:Lee;Ann"}));
  std::filesystem::create_directory(Path("closed"));
  std::filesystem::permissions(Path("closed"), std::filesystem::perms(0555));
  const Outcome outcome = Plain({"export", "pb", "-o", Path("closed/all.vcf")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: " + Path("closed/all.vcf") +
                             ": Permission denied: Could not open the file (code 7)\n");
}

TEST_F(CommandWithoutPrivileges, ADeviceThatMayNotBeWrittenIsNamedWithTheSystemsReason) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  Store(Card({"N:Lee;Ann"}));
  std::filesystem::permissions(device_, std::filesystem::perms(0500));
  const Outcome outcome = Plain({"receive", "--strict", Received()});
  std::filesystem::permissions(device_, std::filesystem::perms(0700));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: The device's database '" + device_ +
                "/device.db' cannot be used: Permission denied.: General PIM Error (code 14)\n");
}

// Each opens the device's database, which cannot be done without writing beside it.
TEST_F(CommandWithoutPrivileges, WhatOnlyReadsSaysWhyADeviceThatMayNotBeWrittenCannotBeUsed) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  Store(Card({"N:Lee;Ann"}));
  ASSERT_EQ(Osif({"changes", "pb"}).status, 0);  // its log is closed, and in order
  std::filesystem::permissions(device_, std::filesystem::perms(0500));
  for (const Lines& arguments :
       {Lines{"list", "pb"}, Lines{"count", "pb"}, Lines{"find", "--strict", Received()},
        Lines{"send", "pb", "1"}, Lines{"export", "pb", "-o", Path("all.vcf")},
        Lines{"changes", "pb"}, Lines{"anchor", "pb"}, Lines{"database-id", "pb"},
        Lines{"settings"}}) {
    const Outcome outcome = Plain(arguments);
    EXPECT_EQ(outcome.status, 1) << arguments[0];
    EXPECT_EQ(outcome.out, "") << arguments[0];
    EXPECT_EQ(outcome.err,
              "osif: The device's database '" + device_ +
                  "/device.db' cannot be used: Permission denied.: General PIM Error (code 14)\n")
        << arguments[0];
  }
  std::filesystem::permissions(device_, std::filesystem::perms(0700));
  EXPECT_FALSE(std::filesystem::exists(Path("all.vcf")));
}

TEST_F(CommandDevice, OnAFileSystemThatIsOnlyReadIsNamedWithTheSystemsReasonByEveryCommand) {
  Store(Card({"N:Lee;Ann"}));
  if (!std::filesystem::exists("/usr/bin/unshare")) GTEST_SKIP() << "no way to mount";
  const std::string mount = "mount --bind " + device_ + " " + device_ +
                            " 2> /dev/null && mount -o remount,bind,ro " + device_ +
                            " 2> /dev/null || exit 77; \"$@\"";
  for (const Lines& arguments : {Lines{"receive", "--strict", Received()}, Lines{"list", "pb"},
                                 Lines{"send", "pb", "1"}, Lines{"changes", "pb"}}) {
    Lines line = arguments;
    line.insert(line.begin(), support::kCommand);
    const Outcome outcome =
        Run(Launched(line, {"/usr/bin/unshare", "--mount", "/bin/sh", "-c", mount, "sh"}));
    if (outcome.status != 0 && outcome.err.find("osif:") == std::string::npos) {
      GTEST_SKIP() << "nothing can be mounted here";
    }
    EXPECT_EQ(outcome.status, 1) << arguments[0];
    EXPECT_EQ(outcome.err, "osif: The device's database '" + device_ +
                               "/device.db' cannot be used: Read-only file system.: General PIM "
                               "Error (code 14)\n")
        << arguments[0];
  }
}

// ---- settings -----------------------------------------------------------------------------------------

TEST_F(CommandDevice, SettingsShowsAllWithTheirDefaults) {
  const std::vector<Json> lines = Osif({"settings", "--json"}).JsonLines();
  std::vector<std::pair<std::string, Json>> shown;
  for (const Json& line : lines) {
    EXPECT_EQ(line["set"], false);
    EXPECT_EQ(line["value"], line["default"]);
    shown.emplace_back(line["name"], line["value"]);
  }
  using Pair = std::pair<std::string, Json>;
  EXPECT_THAT(
      shown,
      ElementsAre(Pair{"MinorClass", 4}, Pair{"DeviceName", ""}, Pair{"UsePocketPCName", 1},
                  Pair{"SecurityType", 2}, Pair{"MaxSimultConnections", 1}, Pair{"CountryCode", 0},
                  Pair{"DontShowAdvanced", 0}, Pair{"ForceDevClassMajor", 0},
                  Pair{"ForceDevClassMinor", 0}, Pair{"UnnamedDeviceName", "<No Name>"},
                  Pair{"NoSleepingWhileConnected", 0}, Pair{"DefaultStatusDll", nullptr},
                  Pair{"DefaultPropertiesDll", nullptr}, Pair{"DefaultInputCharset", ""},
                  Pair{"DefaultOutputCharset", ""}, Pair{"DoNotSendMsftProperties", 0},
                  Pair{"BusinessCard", ""}, Pair{"LogIPAddr", "0.0.0.0"}));
}

TEST_F(CommandDevice, ASettingIsWrittenAndReadBack) {
  EXPECT_EQ(Osif({"settings", "DefaultInputCharset", "Shift-JIS"}).out,
            "DefaultInputCharset = \"Shift-JIS\"\n");
  EXPECT_EQ(Osif({"settings", "defaultinputcharset"}).out, "DefaultInputCharset = \"Shift-JIS\"\n");
  EXPECT_EQ(Osif({"settings", "CountryCode", "0x10"}).out, "CountryCode = 16\n");
  EXPECT_EQ(Osif({"settings", "LogIPAddr", "10.1.2.3"}).out, "LogIPAddr = 10.1.2.3\n");
  EXPECT_EQ(
      Osif({"settings", "LogIPAddr", "--json"}).JsonLines().at(0),
      (Json{{"name", "LogIPAddr"}, {"value", "10.1.2.3"}, {"default", "0.0.0.0"}, {"set", true}}));
}

// Its other readers may take the text up to its terminator, whatever its size is.
TEST_F(CommandDevice, ATextIsStoredWithItsTerminator) {
  const TempDevice device;
  device_ = device.folder();
  Osif({"settings", "DeviceName", "Ann"});
  const support::Stored stored =
      support::Get(u"Software\\Corvane\\BTConfig\\General", u"DeviceName");
  EXPECT_EQ(stored.type, DWORD{REG_SZ});
  EXPECT_EQ(stored.Text(), std::u16string(u"Ann\0", 4));
}

TEST_F(CommandDevice, ACharsetIsTakenInAnyCaseAndEmptyAndNativeToo) {
  for (const char* name : {"utf-8", "ISO-8859-1", "native", ""}) {
    const Outcome outcome = Osif({"settings", "DefaultOutputCharset", name});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, std::string("DefaultOutputCharset = \"") + name + "\"\n");
  }
}

TEST_F(CommandDevice, ARefusedValueLeavesTheOldOne) {
  Osif({"settings", "DefaultOutputCharset", "UTF-8"});
  EXPECT_EQ(Osif({"settings", "DefaultOutputCharset", "KLINGON"}).status, 2);
  EXPECT_EQ(Osif({"settings", "DefaultOutputCharset"}).out, "DefaultOutputCharset = \"UTF-8\"\n");
}

TEST_F(CommandDevice, TheCardOfTheOwnerIsAnIdOrNone) {
  EXPECT_EQ(Osif({"settings", "BusinessCard", "0000001f"}).out, "BusinessCard = \"0000001f\"\n");
  for (const char* text : {"1", "0000001F", "0000001g", "00000001f", "Ann"}) {
    EXPECT_EQ(Osif({"settings", "BusinessCard", text}).status, 2) << text;
  }
  EXPECT_EQ(Osif({"settings", "BusinessCard"}).out, "BusinessCard = \"0000001f\"\n");
  EXPECT_EQ(Osif({"settings", "BusinessCard", ""}).out, "BusinessCard = \"\"\n");
}

TEST_F(CommandDevice, ATextLongerThanItsReadersRoomIsRefused) {
  EXPECT_EQ(Osif({"settings", "UnnamedDeviceName", std::string(49, 'x')}).status, 0);
  const Outcome outcome = Osif({"settings", "UnnamedDeviceName", std::string(50, 'x')});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("49 characters at most"));
}

TEST_F(CommandDevice, TheLibraryObeysTheVendorPropertiesSetting) {
  Osif({"receive", "--strict", Write("a.vcf", Card({"N:Lee;Ann"}))});
  EXPECT_THAT(Osif({"send", "pb", "1"}).out, HasSubstr("\r\nX-MICROSOFT-OFFICELOC:"));
  Osif({"settings", "DoNotSendMsftProperties", "1"});
  EXPECT_THAT(Osif({"send", "pb", "1"}).out, testing::Not(HasSubstr("X-MICROSOFT-")));
}

TEST_F(CommandDevice, TheLibraryObeysTheInputCharsetSetting) {
  Osif({"settings", "DefaultInputCharset", "Shift-JIS"});
  const std::string file =
      Write("a.vcf", Card({"N;ENCODING=QUOTED-PRINTABLE:=8A=CF"}));  // U+89B3 in Shift-JIS
  Osif({"receive", "--strict", file});
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  \u89B3\n");
  EXPECT_EQ(
      Osif({"parse", "--strict", "--json", file}).JsonLines().at(0)["fields"]["n"][0]["components"],
      Json::array({"\u89B3"}));
}

}  // namespace
}  // namespace command_test::device_test

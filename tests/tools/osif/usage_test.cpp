#include "tests/tools/osif/command_fixture.h"

namespace command_test {
namespace {

using testing::HasSubstr;
using testing::Not;

class CommandUsage : public CommandTest {};

TEST_F(CommandUsage, HelpNamesEverySubcommand) {
  const Outcome help = Osif({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* name : {"receive", "send", "export", "list", "find", "count", "delete", "parse",
                           "changes", "anchor", "database-id", "settings", "trace"}) {
    EXPECT_THAT(help.out, HasSubstr(std::string("\n  ") + name + " ")) << name;
  }
}

TEST_F(CommandUsage, ADeviceFolderIsNotMadeForHelpOrWrongUsage) {
  Osif({"--help"});
  Osif({"list", "fridge"});
  EXPECT_FALSE(std::filesystem::exists(device_));
}

TEST_F(CommandUsage, TheDeviceOptionPicksTheFolder) {
  EXPECT_EQ(Osif({"--device", Path("other"), "count", "pb"}).out, "0\n");
  EXPECT_TRUE(std::filesystem::exists(Path("other/device.db")));
  EXPECT_FALSE(std::filesystem::exists(device_));
}

TEST_F(CommandUsage, GlobalOptionsMayStandOnEitherSideOfTheSubcommand) {
  const std::string expected = "{\"store\":\"pb\",\"count\":0}\n";
  EXPECT_EQ(Osif({"--json", "count", "pb"}).out, expected);
  EXPECT_EQ(Osif({"count", "pb", "--json"}).out, expected);
}

class CommandHelp : public CommandTest, public testing::WithParamInterface<const char*> {};

TEST_P(CommandHelp, EverySubcommandExplainsItself) {
  const Outcome help = Osif({GetParam(), "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr(std::string("osif ") + GetParam()));
  EXPECT_EQ(help.err, "");
}

INSTANTIATE_TEST_SUITE_P(Subcommands, CommandHelp,
                         testing::Values("receive", "send", "export", "list", "find", "count",
                                         "delete", "parse", "changes", "anchor", "database-id",
                                         "settings", "trace"),
                         [](const auto& row) {
                           std::string name = row.param;
                           std::erase(name, '-');
                           return name;
                         });

struct WrongLine {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;  // a part of it
};

class WrongUsage : public CommandTest, public testing::WithParamInterface<WrongLine> {};

TEST_P(WrongUsage, EndsWithStatusTwoAndAMessage) {
  const Outcome outcome = Osif(GetParam().arguments);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WrongUsage,
    testing::Values(
        WrongLine{"NoSubcommand", {}, "subcommand is required"},
        WrongLine{"UnknownSubcommand", {"steal", "pb"}, "subcommand is required"},
        WrongLine{"UnknownOption", {"list", "pb", "--backwards"}, "--backwards"},
        WrongLine{"UnknownStore", {"list", "fridge"}, "there is no store \"fridge\""},
        WrongLine{"StoreByNumber", {"list", "0"}, "there is no store \"0\""},
        WrongLine{"MissingStore", {"count"}, "STORE is required"},
        WrongLine{"MissingFile", {"receive"}, "FILE is required"},
        WrongLine{"MissingId", {"send", "pb"}, "ID is required"},
        WrongLine{"ExportWithoutFile", {"export", "pb"}, "--output is required"},
        WrongLine{
            "BothAnchors", {"changes", "pb", "--since", "1", "--since-time", "x"}, "excludes"},
        WrongLine{"CounterNoNumber", {"changes", "pb", "--since", "soon"}, "soon"},
        WrongLine{"LongTime",
                  {"changes", "pb", "--since-time", "20050314T101500.0000Z"},
                  "19 characters"},
        WrongLine{"PortTooLarge", {"trace", "--port", "70000"}, "70000"},
        WrongLine{"UnknownSetting", {"settings", "Colour"}, "there is no setting \"Colour\""},
        WrongLine{"SettingNoNumber", {"settings", "MinorClass", "four"}, "takes a number"},
        WrongLine{"SettingNoCharset",
                  {"settings", "DefaultOutputCharset", "KLINGON"},
                  "DefaultOutputCharset takes the name of a character set (UTF-8, US-ASCII, "},
        WrongLine{"SettingNoInputCharset",
                  {"settings", "DefaultInputCharset", "UTF-8 "},
                  "DefaultInputCharset takes the name of a character set"},
        WrongLine{"SettingNoFlag",
                  {"settings", "DoNotSendMsftProperties", "2"},
                  "DoNotSendMsftProperties takes 0 or 1"},
        WrongLine{"SettingNoAddress", {"settings", "LogIPAddr", "1.2.3"}, "takes an address"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace command_test

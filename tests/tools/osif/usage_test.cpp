#include "tests/tools/osif/command_fixture.h"

namespace command_test::usage_test {
namespace {

using testing::HasSubstr;

class CommandUsage : public CommandTest {};

TEST_F(CommandUsage, HelpNamesEverySubcommand) {
  const Outcome help = Osif({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* name :
       {"receive", "send",   "export",      "list",     "find",   "count",   "delete",  "parse",
        "changes", "anchor", "database-id", "settings", "trace",  "convert", "notes",   "show",
        "push",    "sync",   "mirror",      "sessions", "report", "backup",  "restore", "check"}) {
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
                                         "settings", "trace", "convert", "notes", "show", "push",
                                         "sync", "mirror", "sessions", "report", "backup",
                                         "restore", "check"),
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
  EXPECT_THAT(outcome.ErrLines(), testing::Each(testing::StartsWith("osif: ")));
  EXPECT_FALSE(std::filesystem::exists(device_));
}

TEST_P(WrongUsage, IsAnObjectInJson) {
  std::vector<std::string> arguments = GetParam().arguments;
  arguments.insert(arguments.begin(), "--json");
  const Outcome outcome = Osif(arguments);
  EXPECT_EQ(outcome.status, 2);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_THAT("osif: " + lines[0]["error"].get<std::string>() + "\n",
              HasSubstr(GetParam().message));
  EXPECT_EQ(lines[0]["code"], nullptr);
  EXPECT_EQ(lines[0]["text"], "Wrong usage");
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WrongUsage,
    testing::Values(
        WrongLine{"NoSubcommand", {}, "subcommand is required"},
        WrongLine{"UnknownSubcommand",
                  {"steal", "pb"},
                  "osif: there is no subcommand \"steal\"; the nearest one is \"send\"\n"},
        WrongLine{"MisspeltSubcommand",
                  {"recieve", "a.vcf"},
                  "osif: there is no subcommand \"recieve\"; the nearest one is \"receive\"\n"},
        WrongLine{"SubcommandWithALetterTooMany",
                  {"fiend", "a.vcf"},
                  "osif: there is no subcommand \"fiend\"; the nearest one is \"find\"\n"},
        WrongLine{"SubcommandAfterALetterTooMany",
                  {"sfind", "a.vcf"},
                  "osif: there is no subcommand \"sfind\"; the nearest one is \"find\"\n"},
        WrongLine{"UnknownOption", {"list", "pb", "--backwards"}, "--backwards"},
        WrongLine{"UnknownStore", {"list", "fridge"}, "there is no store \"fridge\""},
        WrongLine{"StoreByNumber", {"list", "0"}, "there is no store \"0\""},
        WrongLine{"MissingStore", {"count"}, "STORE is required"},
        WrongLine{"MissingFile", {"receive"}, "FILE is required"},
        WrongLine{"MissingId", {"send", "pb"}, "ID is required"},
        WrongLine{"ExportWithoutFile", {"export", "pb"}, "--output or --split is required"},
        WrongLine{"BothAnchors",
                  {"changes", "pb", "--since", "1", "--since-time", "20260101"},
                  "excludes"},
        WrongLine{"CounterNoNumber", {"changes", "pb", "--since", "soon"}, "soon"},
        WrongLine{"LongTime",
                  {"changes", "pb", "--since-time", "20050314T101500.0000Z"},
                  "\"20050314T101500.0000Z\" is no time such as 20050314T101500Z"},
        WrongLine{"WordForATime", {"changes", "pb", "--since-time", "foo"}, "\"foo\" is no time"},
        WrongLine{"DateWithHyphens",
                  {"changes", "pb", "--since-time", "2026-01-01"},
                  "\"2026-01-01\" is no time"},
        WrongLine{"CharacterAfterTheDigits",
                  {"changes", "pb", "--since-time", "2026010:"},
                  "\"2026010:\" is no time"},
        WrongLine{"CharacterBeforeTheDigits",
                  {"changes", "pb", "--since-time", "2026012/"},
                  "\"2026012/\" is no time"},
        WrongLine{"ThirteenthMonth",
                  {"changes", "pb", "--since-time", "20261301T000000Z"},
                  "\"20261301T000000Z\" is no time"},
        WrongLine{"TwentyFifthHour",
                  {"changes", "pb", "--since-time", "20260101T250000"},
                  "\"20260101T250000\" is no time"},
        WrongLine{"SixtiethMinute",
                  {"changes", "pb", "--since-time", "20260101T236000"},
                  "\"20260101T236000\" is no time"},
        WrongLine{"SixtiethSecond",
                  {"changes", "pb", "--since-time", "20260101T235960"},
                  "\"20260101T235960\" is no time"},
        WrongLine{"ThirtiethOfFebruary",
                  {"changes", "pb", "--since-time", "20260230"},
                  "\"20260230\" is no time"},
        WrongLine{"CounterAndALetter", {"changes", "pb", "--since", "5x"}, "\"5x\" is no number"},
        WrongLine{"NegativeCounter", {"changes", "pb", "--since=-1"}, "\"-1\" is no number"},
        WrongLine{"PortTooLarge", {"trace", "--port", "70000"}, "\"70000\" is no number from 1 to"},
        WrongLine{"PortZero", {"trace", "--port", "0"}, "\"0\" is no number from 1 to 65535"},
        WrongLine{"CountZero", {"trace", "--count", "0"}, "\"0\" is no number from 1 to"},
        WrongLine{"NegativeCount", {"trace", "--count=-1"}, "\"-1\" is no number from 1 to"},
        WrongLine{"IdWithAName", {"delete", "pb", "3.vcf"}, "\"3.vcf\" is no id of pb: it takes"},
        WrongLine{"IdWithABlank", {"delete", "pb", "5 6"}, "\"5 6\" is no id of pb"},
        WrongLine{"IdThatBeginsAsOne", {"send", "cal", "ALL"}, "\"ALL\" is no id of cal"},
        WrongLine{"IdWithAPrefix", {"send", "pb", "0x1"}, "\"0x1\" is no id of pb"},
        WrongLine{
            "LongId", {"send", "pb", "000000001"}, "it has more than eight hexadecimal digits"},
        WrongLine{"EmptyId", {"delete", "cal", ""}, "\"\" is no id of cal: it is empty"},
        WrongLine{"OddIdOfAMessage",
                  {"send", "msg-in", "123"},
                  "\"123\" is no id of msg-in: it has an odd number of hexadecimal digits"},
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
        WrongLine{"SettingNoId", {"settings", "BusinessCard", "1"}, "takes the id of a contact"},
        WrongLine{"SessionsOfNoNumber", {"sessions", "--count", "x"}, "--count"},
        WrongLine{"SynchronisationOfNotes",
                  {"sync", "127.0.0.1:1", "note"},
                  "\"note\" cannot be synchronised; pb and cal can"},
        WrongLine{"NoSide",
                  {"sync", "127.0.0.1:1", "--prefer", "me"},
                  "\"me\" is no side; here and there are"},
        WrongLine{"SettingNoAddress", {"settings", "LogIPAddr", "1.2.3"}, "takes an address"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace command_test::usage_test

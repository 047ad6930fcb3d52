// osif receive --dry-run: says what would be stored, and stores nothing.
#include <map>

#include "tests/tools/osif/command_fixture.h"

namespace command_test::receive_dry_run_test {
namespace {

std::string Sample(const std::string& name) {
  return std::string(support::kSources) + "/samples/" + name;
}

class CommandDryRun : public CommandTest {
 protected:
  using Files = std::map<std::string, std::string>;

  Files FilesOfDevice() const {
    Files files;
    if (!std::filesystem::exists(device_)) return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(device_)) {
      files[entry.path()] = entry.is_regular_file() ? BytesOf(entry.path()) : "no file";
    }
    return files;
  }

  // Nothing of the device may be changed by it, nor left over.
  Outcome Try(Lines arguments) const {
    const Files before = FilesOfDevice();
    const std::string temporary = Path("tmp");
    std::filesystem::create_directory(temporary);
    arguments.insert(arguments.begin(), {"receive", "--dry-run"});
    arguments.insert(arguments.begin(), support::kCommand);
    const Outcome outcome = Run(Launched(arguments, {"/usr/bin/env", "TMPDIR=" + temporary}));
    EXPECT_EQ(FilesOfDevice(), before);
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
    return outcome;
  }
};

TEST_F(CommandDryRun, SaysWhatStoringWouldDoAndDoesNot) {
  Store(Card({"N:Lee;Ann"}));
  const std::string file =
      Write("in.vcf", Card({"N:Lee;Ann", "TITLE:Captain"}) + Card({"N:Ray;Bob"}) +
                          "BEGIN:VCARD\r\nVERSION:2.1\r\nREV:2020\r\nEND:VCARD\r\n");
  const Outcome outcome = Try({file});
  EXPECT_EQ(outcome.out, file + ": 1 would be added, 1 would be updated, 1 would be refused\n");
  EXPECT_EQ(outcome.err, "osif: " + file +
                             ": object 3 (line 10) was refused: nothing to store: no name, number, "
                             "address or text\n");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
}

TEST_F(CommandDryRun, SaysOfEachObjectWhatWouldBecomeOfIt) {
  Store(Card({"N:Lee;Ann"}));
  const std::string file = Write("in.vcf", Card({"N:Lee;Ann"}) + Card({"N:Ray;Bob"}));
  EXPECT_EQ(Try({"-v", file}).OutLines(),
            (Lines{file + ": object 1 (line 1) \"Ann Lee\": would be updated pb 00000001",
                   file + ": object 2 (line 5) \"Bob Ray\": would be added",
                   file + ": 1 would be added, 1 would be updated, 0 would be refused"}));
  const std::vector<Json> lines = Try({"--json", file}).JsonLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["action"], "updated");
  EXPECT_EQ(lines[0]["id"], "00000001");
  EXPECT_EQ(lines[1]["action"], "added");
  EXPECT_EQ(lines[1]["id"], Json());
  EXPECT_EQ(lines[1]["anchor"], Json());
}

// What the run does later follows from what it has done before.
TEST_F(CommandDryRun, SaysTheSameAsTheRunItself) {
  Store(Card({"N:Lee;Ann", "TEL;HOME:1234567"}));
  const Lines files = {Write("same.vcf", Card({"N:Fox;Carl"}) + Card({"N:Fox;Carl"}) +
                                             Card({"N:Lee;Ann", "TEL;HOME:7654321"})),
                       Sample("modern.vcf"),
                       Sample("old-backup.vcf"),
                       Sample("invitation.ics"),
                       Sample("note.vnt"),
                       Sample("sms-backup.vmg")};
  const auto actions = [](const Outcome& outcome) {
    Lines lines;
    for (const Json& line : outcome.JsonLines()) {
      lines.push_back(line.value("action", "?") + " " + line.value("name", "?"));
    }
    return lines;
  };
  for (const Lines& options : {Lines{}, Lines{"--add"}}) {
    Lines arguments = {"--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), files.begin(), files.end());
    const Outcome trial = Try(arguments);
    arguments.insert(arguments.begin(), "receive");
    const Outcome done = Osif(arguments);
    EXPECT_EQ(actions(trial), actions(done));
    EXPECT_EQ(trial.err, done.err);
    EXPECT_EQ(trial.status, done.status);
  }
}

TEST_F(CommandDryRun, KeepsNoUid) {
  const std::string file =
      Write("in.vcf",
            "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:ann\r\nN:Lee;Ann;;;\r\nFN:Ann Lee\r\nEND:VCARD\r\n");
  ASSERT_EQ(Osif({"receive", Write("b.vcf", Card({"N:Ray;Bob"}))}).status, 0);
  EXPECT_EQ(Try({file}).status, 0);
}

TEST_F(CommandDryRun, MakesNoDevice) {
  const Outcome outcome = Try({Sample("plain.vcf")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_FALSE(std::filesystem::exists(device_));
}

TEST_F(CommandDryRun, GoesWithStrict) {
  Store(Card({"N:Lee;Ann"}));
  const std::string file = Write("in.vcf", Card({"N:Lee;Ann"}) + Card({"N:Ray;Bob"}));
  EXPECT_EQ(Try({"--strict", file}).out,
            file + ": 1 would be added, 1 would be updated, 0 would be refused\n");
}

TEST_F(CommandDryRun, NamesTheDeviceThatCannotBeUsed) {
  Store(Card({"N:Lee;Ann"}));
  support::PutBytes(device_ + "/device.db",
                    "no database, but as long as the header of one would be, "
                    "which is a hundred bytes and no fewer");
  const Outcome outcome = Try({Received()});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, testing::StartsWith("osif: " + device_ + "/device.db: "));
}

}  // namespace
}  // namespace command_test::receive_dry_run_test

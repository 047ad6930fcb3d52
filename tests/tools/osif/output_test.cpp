// Where objects come from and where they go: standard input and output, pipes, terminals, full disks, and a
// user who has enough.
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <map>

#include "tests/support/full_disk.h"
#include "tests/tools/osif/command_fixture.h"
#include "tests/tools/osif/standing_command.h"

namespace command_test::output_test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class CommandOutput : public CommandTest {
 protected:
  // Runs a line of the shell in which "$@" is the command with these arguments.
  Outcome Shell(const std::string& line, Lines arguments) const {
    arguments.insert(arguments.begin(), support::kCommand);
    return Run(Launched(arguments, {"/bin/sh", "-c", line, "sh"}));
  }

  // The files of the test's folder whose name a command has made up.
  Lines LeftBeside() const {
    Lines names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      const std::string name = entry.path().filename();
      if (name.starts_with(".")) names.push_back(name);
    }
    return names;
  }

  void StoreTwo() const { Store(Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"})); }

  // The two objects as they are sent.
  std::string BothSent() const {
    return Osif({"send", "pb", "1"}).out + Osif({"send", "pb", "2"}).out;
  }
};

// ---- Standard input -----------------------------------------------------------------------------------

TEST_F(CommandOutput, AHyphenIsStandardInputForEverySubcommandThatReads) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  EXPECT_THAT(Shell("cat " + file + " | \"$@\"", {"receive", "--strict", "-"}).out,
              StartsWith("-: 2 added, 0 updated, 0 refused, "));
  EXPECT_THAT(Shell("\"$@\" < " + file, {"receive", "--strict", "--each", "-"}).out,
              StartsWith("-: 0 added, 2 updated, 0 refused, "));
  EXPECT_EQ(Shell("cat " + file + " | \"$@\"", {"find", "--strict", "-"}).out,
            "1  pb 00000001  Ann Lee\n2  pb 00000002  Ole Berg\n");
  EXPECT_THAT(Shell("cat " + file + " | \"$@\"", {"parse", "--strict", "-"}).OutLines().back(),
              "-: OK");
  EXPECT_EQ(Shell("cat " + file + " | \"$@\"", {"receive", "--strict", "-", "--json"})
                .JsonLines()
                .at(1)["file"],
            "-");
}

TEST_F(CommandOutput, APipeIsReadLikeAFile) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole", "X-A:1"}));
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const Outcome outcome = Shell("cat " + file + " > " + Path("pipe") + " & \"$@\"",
                                {"receive", "--strict", Path("pipe")});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, StartsWith(Path("pipe") + ": 2 added, 0 updated, 0 refused; 1 with"));
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000002  Ole Berg\n");
}

TEST_F(CommandOutput, APipeWithoutAnObjectIsRefusedAsSuchAFileIs) {
  const Outcome outcome = Shell("echo nothing | \"$@\"", {"receive", "--strict", "-"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: -: The stream of data does not contain a valid object (code 8)\n");
}

TEST_F(CommandOutput, APipeWithoutAnEndIsRefusedInsteadOfHeldInMemory) {
  const Outcome outcome = Shell("\"$@\" < /dev/zero", {"parse", "--strict", "-"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, StartsWith("osif: -: more than a pipe may bring"));
}

TEST_F(CommandOutput, ALineOfMoreThan64MegabytesOfAPipeIsRefusedBeforeItIsHeldWhole) {
  const std::string endless_line = "{ printf 'BEGIN:VCARD\\r\\n'; head -c 70000000 /dev/zero; } | ";
  const Outcome outcome = Shell(endless_line + "\"$@\"", {"receive", "--strict", "-"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: -: more than a pipe may bring (1 GB, and 64 MB in a line): The stream of data "
            "does not contain a valid object (code 8)\n");
}

TEST_F(CommandOutput, APipeMayBringAGigabyteAndNotAByteMore) {
  const std::string lines = "yes $(printf %01000d 0) | head -c ";
  const std::string refused = ": The stream of data does not contain a valid object (code 8)\n";
  const Outcome all = Shell(lines + "1073741824 | \"$@\"", {"receive", "--strict", "-"});
  EXPECT_EQ(all.err, "osif: -" + refused);
  const Outcome more = Shell(lines + "1073741825 | \"$@\"", {"receive", "--strict", "-"});
  EXPECT_EQ(more.err, "osif: -: more than a pipe may bring (1 GB, and 64 MB in a line)" + refused);
}

// ---- Standard output ----------------------------------------------------------------------------------

TEST_F(CommandOutput, AHyphenIsStandardOutputAndWhatIsSaidGoesToStandardError) {
  StoreTwo();
  const Outcome outcome = Osif({"export", "pb", "-o", "-"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, BothSent());
  EXPECT_EQ(outcome.err, "osif: standard output: 2 objects\n");
  EXPECT_EQ(Osif({"send", "pb", "1", "-o", "-"}).out, Osif({"send", "pb", "1"}).out);
}

TEST_F(CommandOutput, TheNameOfStandardOutputNeitherOverwritesNorErases) {
  StoreTwo();
  const std::string both = BothSent();
  const std::string file = Path("out");
  for (const std::string& name : {std::string("/dev/stdout"), std::string("/dev/fd/1"), file}) {
    ASSERT_EQ(Shell("\"$@\" > " + file, {"export", "pb", "-o", name}).status, 0) << name;
    EXPECT_EQ(BytesOf(file), both) << name;
    support::PutBytes(file, "before\n");
    ASSERT_EQ(Shell("\"$@\" >> " + file, {"export", "pb", "-o", name}).status, 0) << name;
    EXPECT_EQ(BytesOf(file), "before\n" + both) << name;
  }
  EXPECT_EQ(Shell("\"$@\" | cat", {"export", "pb", "-o", "/dev/stdout"}).out, both);
}

TEST_F(CommandOutput, AStandardOutputWithoutRoomIsNamedWithTheSystemsReason) {
  StoreTwo();
  for (const Lines& arguments : {Lines{"send", "pb", "1"}, Lines{"export", "pb", "-o", "-"}}) {
    const Outcome outcome = Shell("\"$@\" > /dev/full", arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "osif: standard output: No space left on device: General failure (code 1)\n");
  }
}

// ---- JSON ---------------------------------------------------------------------------------------------

TEST_F(CommandOutput, SendInJsonIsOneObjectWithTheTextAsAField) {
  StoreTwo();
  const std::string text = Osif({"send", "pb", "1"}).out;
  EXPECT_THAT(
      Osif({"send", "pb", "1", "--json"}).JsonLines(),
      ElementsAre(Json{{"store", "pb"}, {"id", "00000001"}, {"file", nullptr}, {"text", text}}));
  const std::string file = Path("one.vcf");
  EXPECT_THAT(
      Osif({"send", "pb", "1", "--json", "-o", file}).JsonLines(),
      ElementsAre(Json{{"store", "pb"}, {"id", "00000001"}, {"file", file}, {"text", text}}));
  EXPECT_EQ(BytesOf(file), text);
}

TEST_F(CommandOutput, ExportToStandardOutputInJsonIsAnObjectForEachAndTheCount) {
  StoreTwo();
  const Outcome outcome = Osif({"export", "pb", "--json", "-o", "-"});
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_EQ(lines[0]["text"], Osif({"send", "pb", "1"}).out);
  EXPECT_EQ(lines[1]["id"], "00000002");
  EXPECT_EQ(lines[2], (Json{{"store", "pb"}, {"file", "-"}, {"count", 2}}));
  EXPECT_EQ(outcome.err, "");
}

// ---- Files that are whole or not there ----------------------------------------------------------------

// Two cards whose texts are longer than any other file that the command writes meanwhile.
class CommandFullDisk : public CommandOutput {
 protected:
  CommandFullDisk() {
    const std::string note = "NOTE:" + std::string(200'000, 'x');
    Store(Card({"N:Lee;Ann", note}) + Card({"N:Kim;Eva", note}));
    size_of_one_ = Osif({"send", "pb", "1"}).out.size();
  }

  size_t size_of_one_ = 0;
};

TEST_F(CommandFullDisk, AnExportLeavesTheOldFileNamesTheCauseAndPrintsNoSuccess) {
  for (const size_t room : {size_of_one_, size_of_one_ + 150'000, 2 * size_of_one_ - 1}) {
    const std::string file = Write("all.vcf", "old");
    {
      const support::FullDisk full(room);
      const Outcome outcome = Osif({"export", "pb", "-o", file});
      EXPECT_EQ(outcome.status, 1) << room;
      EXPECT_EQ(outcome.err, "osif: " + file + ": File too large: General failure (code 1)\n");
      EXPECT_EQ(outcome.out, "") << room;
    }
    EXPECT_EQ(BytesOf(file), "old") << room;
    EXPECT_THAT(LeftBeside(), SizeIs(0));
  }
}

TEST_F(CommandFullDisk, AnObjectThatTheLibraryCouldNotWriteIsNotSent) {
  const std::string file = Write("one.vcf", "old");
  {
    const support::FullDisk full(size_of_one_ - 1);
    const Outcome outcome = Osif({"send", "pb", "00000001", "-o", file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "osif: pb 00000001 could not be written whole: File too large: General failure "
              "(code 1)\n");
  }
  EXPECT_EQ(BytesOf(file), "old");
}

// Files in memory cannot grow either.
TEST_F(CommandOutput, AnObjectForWhichThereIsNoRoomByItselfIsNamedAndTheNextIsRead) {
  const std::string file =
      Write("a.vcf", Card({"N:Lee;Ann", "NOTE:" + std::string(100'000, 'x')}) + Card({"N:Berg"}));
  const support::FullDisk full(90'000);
  const Outcome outcome = Osif({"parse", "--strict", "--each", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: " + file + ": object 1 (line 1): File too large: General failure (code 1)\n");
  EXPECT_THAT(outcome.OutLines(),
              ElementsAre("object 2 (line 6): pb, Parsing successful", "  version: 2.1",
                          "  n: Berg", file + ": General failure"));
}

TEST_F(CommandFullDisk, ADiskWithRoomForAllIsNoHindrance) {
  const support::FullDisk almost_full(2 * size_of_one_);
  EXPECT_EQ(Osif({"export", "pb", "-o", Path("all.vcf")}).status, 0);
  EXPECT_EQ(BytesOf(Path("all.vcf")).size(), 2 * size_of_one_);
}

TEST_F(CommandFullDisk, ADiskThatReallyIsFullIsSaidToHaveNoSpace) {
  const std::string disk = Path("disk");
  std::filesystem::create_directory(disk);
  const std::string mount =
      "mount -t tmpfs -o size=300k none " + disk + " 2> /dev/null || exit 77; ";
  if (!std::filesystem::exists("/usr/bin/unshare")) GTEST_SKIP() << "no way to mount";
  Lines line = Launched({support::kCommand, "export", "pb", "-o", disk + "/all.vcf"},
                        {"/usr/bin/unshare", "--mount", "/bin/sh", "-c",
                         mount + "echo old > " + disk + "/all.vcf; \"$@\"; status=$?; cat " + disk +
                             "/all.vcf; ls -A " + disk + "; exit $status",
                         "sh"});
  const Outcome outcome = Run(line);
  if (outcome.status != 0 && outcome.err.find("osif:") == std::string::npos) {
    GTEST_SKIP() << "nothing can be mounted here";
  }
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: " + disk + "/all.vcf: No space left on device: General failure (code 1)\n");
  EXPECT_EQ(outcome.out, "old\nall.vcf\n");
}

TEST_F(CommandOutput, AFileKeepsItsModeAndALinkItsPlace) {
  StoreTwo();
  const std::string file = Write("real.vcf", "old");
  ASSERT_EQ(chmod(file.c_str(), 0640), 0);
  std::filesystem::create_symlink(file, Path("link.vcf"));
  ASSERT_EQ(Osif({"export", "pb", "-o", Path("link.vcf")}).status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link.vcf")));
  EXPECT_EQ(BytesOf(file), BothSent());
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(file).permissions()), 0640u);
}

TEST_F(CommandOutput, ANewFileHasTheModeThatTheUsersMaskLeaves) {
  StoreTwo();
  ASSERT_EQ(Shell("umask 027; exec \"$@\"", {"export", "pb", "-o", Path("new.vcf")}).status, 0);
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(Path("new.vcf")).permissions()), 0640u);
}

// The new file beside it has a short name and can be made; to take its place is what fails.
TEST_F(CommandOutput, AFileThatCannotTakeItsPlaceIsNoSuccessAndLeavesNothingBeside) {
  StoreTwo();
  const std::string file = Path(std::string(256, 'x'));
  const Outcome outcome = Osif({"export", "pb", "-o", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "osif: " + file + ": File name too long: General failure (code 1)\n");
  EXPECT_THAT(LeftBeside(), SizeIs(0));
}

// ---- Interruptions ------------------------------------------------------------------------------------

class CommandInterrupted : public CommandOutput {
 protected:
  // Whoever runs the tests in the background may have these signals ignored, and programs inherit that.
  CommandInterrupted() {
    for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, SIG_DFL);
  }

  static constexpr int kContacts = 300;

  // Contacts with names so long that their lines fill a pipe.
  std::string Contacts() const {
    std::string cards;
    for (int i = 0; i < kContacts; ++i) {
      cards += Card({"N:" + std::string(1000, 'x') + ";Ann" + std::to_string(i)});
    }
    return Write("many.vcf", cards);
  }

  // Expects that each stored contact is in the log once, and that the log goes on without a gap.
  void ExpectEachToldOnce(size_t stored) const {
    const std::vector<Json> changes = Osif({"changes", "pb", "--json"}).JsonLines();
    ASSERT_THAT(changes, SizeIs(stored));
    for (size_t i = 0; i < stored; ++i) EXPECT_EQ(changes[i]["cc"], i + 1);
    EXPECT_EQ(Osif({"anchor", "pb", "--json"}).JsonLines().at(0)["cc"], stored);
  }
};

TEST_F(CommandInterrupted, ReceiveSaysWhatItHasStoredAndClosesItsLogs) {
  for (const int signal : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(signal);
    device_ = Path("device" + std::to_string(signal));
    const std::string stem = Path("receive" + std::to_string(signal));
    StandingCommand standing(stem);
    const pid_t child =
        Start(Launched({support::kCommand, "receive", "--strict", "--json", Contacts()}), stem);
    standing.AwaitOutput();
    ASSERT_EQ(kill(child, signal), 0);
    Outcome outcome;
    outcome.out = standing.ReadToEnd();
    EXPECT_EQ(WaitFor(child), 128 + signal);
    const std::vector<Json> lines = outcome.JsonLines();
    ASSERT_GT(lines.size(), 1u);
    const size_t stored = lines.size() - 1;
    ASSERT_LT(stored, size_t{kContacts});
    const std::string said = Path("many.vcf") + ": interrupted before the last " +
                             std::to_string(kContacts - stored) + " objects";
    EXPECT_EQ(lines.back()["error"], said);
    EXPECT_EQ(BytesOf(stem + ".err"), "osif: " + said + "\n");
    EXPECT_EQ(Osif({"count", "pb"}).out, std::to_string(stored) + "\n");
    ExpectEachToldOnce(stored);
  }
}

TEST_F(CommandInterrupted, ReceiveGoesOnAtASignalThatItsCallerHasItIgnore) {
  const std::string stem = Path("receive");
  StandingCommand standing(stem);
  void (*const former)(int) = std::signal(SIGHUP, SIG_IGN);
  const pid_t child =
      Start(Launched({support::kCommand, "receive", "--strict", "--json", Contacts()}), stem);
  std::signal(SIGHUP, former);
  standing.AwaitOutput();
  ASSERT_EQ(kill(child, SIGHUP), 0);
  standing.ReadToEnd();
  EXPECT_EQ(WaitFor(child), 0);
  EXPECT_EQ(Osif({"count", "pb"}).out, std::to_string(kContacts) + "\n");
}

TEST_F(CommandInterrupted, ReceiveClosesItsLogsAlsoWhenNobodyReadsItsOutputAnyMore) {
  const std::string stem = Path("receive");
  StandingCommand standing(stem);
  const pid_t child =
      Start(Launched({support::kCommand, "receive", "--strict", "--json", Contacts()}), stem);
  standing.AwaitOutput();
  standing.Close();
  EXPECT_EQ(WaitFor(child), 128 + SIGPIPE);
  const size_t stored = std::stoul(Osif({"count", "pb"}).out);
  ASSERT_GT(stored, 0u);
  ASSERT_LT(stored, size_t{kContacts});
  ExpectEachToldOnce(stored);
}

// The new file beside the old one tells that the export has begun. Should it be at its end before the signal
// comes, it is tried again.
TEST_F(CommandInterrupted, AnExportLeavesTheOldFileAndNothingBeside) {
  ASSERT_EQ(Osif({"receive", "--strict", Contacts()}).status, 0);
  const std::string file = Path("all.vcf");
  int status = 0;
  for (int tries = 0; tries < 20 && status == 0; ++tries) {
    Write("all.vcf", "old");
    const pid_t child =
        Start(Launched({support::kCommand, "export", "pb", "-o", file}), Path("export"));
    while (LeftBeside().empty() && BytesOf(file) == "old") continue;
    kill(child, SIGINT);
    status = WaitFor(child);
  }
  EXPECT_EQ(status, 128 + SIGINT);
  EXPECT_EQ(BytesOf(Path("export.err")), "osif: " + file + ": interrupted\n");
  EXPECT_EQ(BytesOf(Path("export.out")), "");
  EXPECT_EQ(BytesOf(file), "old");
  EXPECT_THAT(LeftBeside(), SizeIs(0));
}

// ---- Terminals ----------------------------------------------------------------------------------------

// What a peer may write to steer a terminal: controls of one and of two bytes, overrides and isolates of the
// writing direction, separators of lines and paragraphs.
const std::map<std::string, std::string> kSteering = {
    {"Escape", "\x1B"},          {"Bell", "\x07"},
    {"Delete", "\x7F"},          {"Csi", "\xC2\x9B"},
    {"Override", "\u202E"},      {"Embedding", "\u202A"},
    {"Isolate", "\u2066"},       {"PopIsolate", "\u2069"},
    {"LineSeparator", "\u2028"}, {"ParagraphSeparator", "\u2029"},
};

class CommandTerminal : public CommandOutput {
 protected:
  CommandTerminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(grantpt(master_), 0);
    EXPECT_EQ(unlockpt(master_), 0);
    slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  ~CommandTerminal() override {
    close(master_);
    close(slave_);
  }

  // What the terminal gets when a stream of the command goes there.
  std::string Shown(const char* stream, const Lines& arguments) const {
    EXPECT_EQ(
        Shell("exec \"$@\" " + std::string(stream) + "> " + ptsname(master_), arguments).status, 0);
    std::string text;
    char buffer[4096];
    for (pollfd waiting{master_, POLLIN, 0}; poll(&waiting, 1, 200) > 0;) {
      const ssize_t size = read(master_, buffer, sizeof buffer);
      if (size <= 0) break;
      text.append(buffer, static_cast<size_t>(size));
    }
    return text;
  }

  void SetColumns(unsigned short columns) const {
    const winsize size{24, columns, 0, 0};
    ASSERT_EQ(ioctl(slave_, TIOCSWINSZ, &size), 0);
  }

  static std::string Evil() {
    std::string title = "TITLE;CHARSET=UTF-8:";
    std::string name = "N;CHARSET=UTF-8:Evil";
    for (const auto& [what, bytes] : kSteering) {
      name += bytes;
      title += bytes;
    }
    return Card({name + ";Ann", title, "X-ODD:1"});
  }

 private:
  int master_;
  int slave_;
};

TEST_F(CommandTerminal, NothingThatAPeerWroteSteersItInWhatIsSaid) {
  const std::string file = Write("evil.vcf", Evil());
  const std::vector<Lines> uses = {{"parse", "--strict", file},
                                   {"receive", "--strict", "--trace", file},
                                   {"receive", "--strict", file},
                                   {"list", "pb"},
                                   {"changes", "pb"},
                                   {"find", "--strict", file}};
  for (const Lines& arguments : uses) {
    const Outcome outcome = Osif(arguments);
    for (const auto& [what, bytes] : kSteering) {
      EXPECT_THAT(outcome.out + outcome.err, Not(HasSubstr(bytes))) << arguments[0] << " " << what;
    }
    EXPECT_THAT(outcome.out + outcome.err, HasSubstr("Evil")) << arguments[0];
  }
}

TEST_F(CommandTerminal, JsonEscapesWhatSteersIt) {
  Store(Evil());
  for (const Lines& arguments :
       {Lines{"list", "pb", "--json"}, Lines{"parse", "--strict", "--json", Received()}}) {
    const Outcome outcome = Osif(arguments);
    for (const auto& [what, bytes] : kSteering) {
      EXPECT_THAT(outcome.out, Not(HasSubstr(bytes))) << what;
    }
    EXPECT_THAT(outcome.out, HasSubstr("\\u202e"));
    EXPECT_THAT(outcome.out, HasSubstr("\\u009b"));
  }
  std::string steering;
  for (const auto& [what, bytes] : kSteering) steering += bytes;
  EXPECT_EQ(Osif({"list", "pb", "--json"}).JsonLines().at(0)["name"], "Ann Evil" + steering);
}

// A subject is sent as it was received.
const std::string kEvilMessage =
    "BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-TYPE:INET\r\nX-BT-FOLDER:INBOX\r\nBEGIN:VENV\r\nBEGIN:"
    "VBODY\r\n"
    "Date:Fri, 13 Mar 2026 07:15:00 "
    "UT\r\nFrom:a@example.org\r\nSubject:Evil\x1B[2J\u202E\r\n\r\nx\r\n"
    "END:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n";

TEST_F(CommandTerminal, SendShowsTheTextThereWithoutWhatSteersItUnlessRawIsAskedFor) {
  const std::string id = Receive(kEvilMessage, {"--json"}).JsonLines().at(0)["id"];
  ASSERT_THAT(Osif({"send", "msg-in", id}).out, HasSubstr("Evil\x1B[2J"));
  EXPECT_THAT(Shown("1", {"send", "msg-in", id}), HasSubstr("Evil [2J"));
  EXPECT_THAT(Shown("1", {"send", "msg-in", id, "-o", "-"}), Not(HasSubstr("\x1B")));
  EXPECT_THAT(Shown("1", {"send", "msg-in", id, "--raw"}), HasSubstr("Evil\x1B[2J"));
}

TEST_F(CommandTerminal, ProgressStaysWithinItsWidth) {
  SetColumns(40);
  const std::string name = "long-" + std::string(200, 'n') + ".vcf";
  std::string cards;
  for (int i = 0; i < 50; ++i) cards += Card({"N:Lee;Ann" + std::to_string(i)});
  const std::string shown = Shown("2", {"receive", "--strict", Write(name, cards)});
  size_t lines = 0;
  for (size_t at = shown.find("\x1B[K"); at != std::string::npos;
       at = shown.find("\x1B[K", at + 1)) {
    const std::string line = shown.substr(at + 3, shown.find('\r', at) - at - 3);
    if (line.empty()) continue;
    ++lines;
    EXPECT_LE(line.size(), 39u);
    EXPECT_THAT(line, EndsWith(" of 50"));
  }
  EXPECT_GT(lines, 0u);
}

// ---- Files that take what they ask for ----------------------------------------------------------------

TEST_F(CommandOutput, AFileOfFiveGigabytesWithoutAnObjectIsRefusedInLittleMemory) {
  const std::string file = Write("large.vcf", "");
  std::filesystem::resize_file(file, uintmax_t{5} << 30);
  for (const char* subcommand : {"receive", "parse"}) {
    const pid_t child =
        Start(Launched({support::kCommand, subcommand, "--strict", file}), Path(subcommand));
    int status = 0;
    rusage used{};
    ASSERT_EQ(wait4(child, &status, 0, &used), child);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_LT(used.ru_maxrss, 512 * 1024) << subcommand;  // in units of 1,024 bytes
    EXPECT_EQ(BytesOf(Path(subcommand) + ".err"),
              "osif: " + file +
                  ": line 1 is longer than 64 MB: The stream of data does not contain a "
                  "valid object (code 8)\n");
  }
}

TEST_F(CommandOutput, ALineOfMoreThan64MegabytesIsRefusedBeforeAnythingIsStored) {
  const std::string file =
      Write("long.vcf", Card({"N:Lee;Ann"}) + "BEGIN:VCARD\r\nVERSION:2.1\r\nNOTE:" +
                            std::string(67'108'864, 'x') + "\r\n");
  for (const Lines& arguments :
       {Lines{"receive", "--strict", file}, Lines{"receive", "--strict", "--each", file}}) {
    const Outcome outcome = Osif(arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr(file + ": line 7 is longer than 64 MB"));
  }
  EXPECT_EQ(Osif({"count", "pb"}).out, "0\n");
}

}  // namespace
}  // namespace command_test::output_test

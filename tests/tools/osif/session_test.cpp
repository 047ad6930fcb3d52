// What the command does with the device's database while the library has it open.
#include "tests/tools/osif/standing_command.h"

namespace command_test::session_test {
namespace {

class CommandSession : public CommandTest {
 protected:
  // How often a process has the device's database open.
  size_t OpeningsOfTheDatabase(pid_t process) const {
    const std::filesystem::path database = std::filesystem::canonical(device_ + "/device.db");
    size_t openings = 0;
    for (const auto& handle :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
      std::error_code closed;
      if (std::filesystem::read_symlink(handle.path(), closed) == database) ++openings;
    }
    return openings;
  }
};

// Showing an id takes the system's character set, which may stand in the registry. Were the command to look there
// only now, or to keep the database from the beginning, it would close it beside the library.
TEST_F(CommandSession, OnlyTheLibraryHasTheDatabaseOpenWhileIdsAreShown) {
  std::string cards;
  for (int i = 0; i < 100; ++i) {
    cards += Card({"N:" + std::string(1000, 'x') + ";Ann" + std::to_string(i)});
  }
  Store(cards);
  StandingCommand standing(Path("list"));
  const pid_t lister = Start(Launched({support::kCommand, "list", "pb"}), Path("list"));
  standing.AwaitOutput();
  EXPECT_EQ(OpeningsOfTheDatabase(lister), 1u);
  EXPECT_THAT(standing.ReadToEnd(), testing::StartsWith("00000001  "));
  EXPECT_EQ(WaitFor(lister), 0);
}

}  // namespace
}  // namespace command_test::session_test

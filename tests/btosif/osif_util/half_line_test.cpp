#include "btosif/osif_util/half_line.h"

#include "platform/posix/fault_injection.h"
#include "tests/btosif/osif_util/change_log_fixture.h"

namespace half_line_test {
namespace {

using support::BytesOf;
using support::FileExists;
using support::PutBytes;
using support::Wide;

class HalfLine : public support::ChangeLogFolderTest {};

TEST_F(HalfLine, AtTheEndOfALogIsDroppedAndNoOther) {
  const std::string long_line(5000, 'f');
  const std::pair<std::string, std::string> logs[] = {
      {"M:1:t:a\nM:2:t", "M:1:t:a\n"},
      {"M:1:t:a\nM:2:t:b", "M:1:t:a\n"},
      {"M:1", ""},
      {"M:1:t:a\n", "M:1:t:a\n"},
      {"M:1:t:a\ngarbage\n", "M:1:t:a\ngarbage\n"},
      {"M:1:t:a\n" + long_line, "M:1:t:a\n"},
      {"M:1:t:a\n" + long_line + "\n", "M:1:t:a\n" + long_line + "\n"},
      {"M:1:t:a\n" + std::string(600, '\0'), "M:1:t:a\n"},
      {long_line, ""},
      {"", ""},
  };
  for (const auto& [before, after] : logs) {
    PutBytes(LogPath(), before);
    EXPECT_TRUE(DropHalfLine(Wide(LogPath())));
    EXPECT_EQ(BytesOf(LogPath()), after) << before;
  }
}

TEST_F(HalfLine, OfALogThatIsNotThereNeedsNoLog) {
  EXPECT_TRUE(DropHalfLine(Wide(LogPath())));
  EXPECT_FALSE(FileExists(LogPath()));
}

TEST_F(HalfLine, OfAnOpenLogIsReplacedByWhatIsAppendedNext) {
  OsifStream log = OpenLog("M:1:t:a\nM:2");
  FILE_DoNotBuffer(log);
  EXPECT_TRUE(DropHalfLine(log));
  EXPECT_EQ(FILE_WriteLine(log, "M:2:t:b"), 0);
  FILE_Close(log, u"log");
  EXPECT_EQ(BytesOf(LogPath()), "M:1:t:a\nM:2:t:b\n");
}

TEST_F(HalfLine, StaysWhereNothingCanBeCut) {
  PutBytes(LogPath(), "M:1:t:a\nM:2");
  FailSettingEnds(true);
  EXPECT_FALSE(DropHalfLine(Wide(LogPath())));
  FailSettingEnds(false);
  EXPECT_EQ(BytesOf(LogPath()), "M:1:t:a\nM:2");
}

TEST_F(HalfLine, ThatIsNoneLeavesTheFileUntouched) {
  PutBytes(LogPath(), "M:1:t:a\n");
  const auto before = std::filesystem::last_write_time(LogPath());
  FailSettingEnds(true);
  EXPECT_TRUE(DropHalfLine(Wide(LogPath())));
  FailSettingEnds(false);
  EXPECT_EQ(std::filesystem::last_write_time(LogPath()), before);
}

}  // namespace
}  // namespace half_line_test

#include "btosif/osif_util/change_log_superseded.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "btosif/osif_util/change_log_entry.h"
#include "tests/btosif/osif_util/change_log_fixture.h"

namespace change_log_superseded_test {
namespace {

using support::EntryLine;
using support::EntryLines;
using support::JoinedLines;
using support::LineOf;
using support::MakeEntry;
using testing::ElementsAre;

class SupersededEntries : public support::ChangeLogFolderTest {
 protected:
  // For each line of the log that is an entry, whether a later one supersedes it.
  std::vector<bool> Superseded(std::string_view bytes) {
    OsifStream log = OpenLog(bytes);
    FILE_Rewind(log);
    std::vector<bool> superseded;
    SupersededLines lines;
    ChangeLogEntry entry;
    for (;;) {
      const OsifResult result = OSIF_ReadClEntry(&log, &entry);
      if (result == OSIF_ERR_EOF) return superseded;
      if (result == OSIF_OK) superseded.push_back(OSIF_ClEntryIsSuperseded(log, lines));
    }
  }
};

TEST_F(SupersededEntries, AnEntryIsSupersededByALaterLineOfItsObject) {
  EXPECT_THAT(Superseded("M:1:t:a\nM:2:t:b\nM:3:t:a\n"), ElementsAre(true, false, false));
}

TEST_F(SupersededEntries, AnEntryIsSupersededWhateverTheLaterKind) {
  EXPECT_THAT(Superseded("M:1:t:a\nH:2:t:a\n"), ElementsAre(true, false));
  EXPECT_THAT(Superseded("H:1:t:a\nM:2:t:a\n"), ElementsAre(true, false));
  EXPECT_THAT(Superseded("H:1:t:a\nD:2:t:a\n"), ElementsAre(true, false));
}

TEST_F(SupersededEntries, IdsAreComparedExactlyAndByCase) {
  EXPECT_THAT(Superseded("M:1:t:0a\nM:2:t:0A\nM:3:t:0a \nM:4:t:a\n"),
              ElementsAre(false, false, false, false));
}

TEST_F(SupersededEntries, ALineThatIsNoEntryEndsWhatCountsAsLater) {
  EXPECT_THAT(Superseded("M:1:t:a\nM:2:t:b\nM:3:t:a\ngarbage\nM:4:t:b\n"),
              ElementsAre(true, false, false, false));
}

TEST_F(SupersededEntries, TheTestLeavesThePositionOfTheLogAsItWas) {
  OsifStream log = OpenLog("M:1:t:a\nM:2:t:b\nM:3:t:a\n");
  FILE_Rewind(log);
  SupersededLines lines;
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_TRUE(OSIF_ClEntryIsSuperseded(log, lines));
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(LineOf(entry), "M:2:t:b");
  EXPECT_FALSE(OSIF_ClEntryIsSuperseded(log, lines));
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(LineOf(entry), "M:3:t:a");
}

TEST_F(SupersededEntries, AnEntryThatWasAppendedLaterSupersedesToo) {
  OsifStream log = OpenLog("M:1:t:a\n");
  FILE_Rewind(log);
  SupersededLines lines;
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_FALSE(OSIF_ClEntryIsSuperseded(log, lines));

  const ChangeLogEntry later = MakeEntry('H', 2, "a", "t");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &later), OsifResult{OSIF_OK});
  lines.LogHasGrown();
  FILE_Rewind(log);
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_TRUE(OSIF_ClEntryIsSuperseded(log, lines));
}

// What the test says of each entry when it is asked the long way: by reading on to the first line that
// names the same object or is none.
std::vector<bool> SupersededTheLongWay(const std::vector<std::string>& lines) {
  std::vector<bool> superseded;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i][0] != 'M') continue;
    size_t later = i + 1;
    while (later < lines.size() && lines[later][0] == 'M' &&
           lines[later].substr(lines[later].rfind(':')) != lines[i].substr(lines[i].rfind(':'))) {
      ++later;
    }
    superseded.push_back(later < lines.size() && lines[later][0] == 'M');
  }
  return superseded;
}

TEST_F(SupersededEntries, TheTestAnswersForEveryLogAsReadingOnDoes) {
  std::mt19937 random(20050314);
  for (int round = 0; round < 300; ++round) {
    const int objects = 1 + static_cast<int>(random() % 8);
    const int garbage_in = 1 + static_cast<int>(random() % 30);
    std::vector<std::string> lines;
    for (auto i = static_cast<int>(random() % 40); i > 0; --i) {
      const bool is_garbage = random() % garbage_in == 0;
      lines.push_back(is_garbage ? "X:no entry"
                                 : EntryLine('M', i, "id" + std::to_string(random() % objects)));
    }
    ASSERT_EQ(Superseded(JoinedLines(lines)), SupersededTheLongWay(lines)) << JoinedLines(lines);
  }
}

TEST_F(SupersededEntries, AHundredThousandLinesAreTestedInOneGo) {
  std::string bytes = EntryLines(1, 50000);
  bytes += EntryLines(25001, 75000);  // 25,001 to 50,000 once more
  const std::vector<bool> superseded = Superseded(bytes);
  ASSERT_EQ(superseded.size(), 100000u);
  EXPECT_EQ(std::count(superseded.begin(), superseded.end(), true), 25000);
  EXPECT_FALSE(superseded[24999]);
  EXPECT_TRUE(superseded[25000]);
}

}  // namespace
}  // namespace change_log_superseded_test

#include "client/logged_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/bytes.h"
#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

namespace logged_changes_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LoggedChanges : public testing::Test {
 protected:
  void Put(const std::string& name, const std::string& lines) const {
    const std::string file = place_.File("Sync/" + name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    support::PutBytes(file, lines);
  }

  // The ids of all entries, each after its kind.
  static std::vector<std::string> Ids() {
    std::vector<std::string> ids;
    for (const ChangeLogEntry& entry : client::LoggedChanges(OSIF_STORE_PB)) {
      ids.push_back(std::string(1, static_cast<char>(entry.kind)) + " " + entry.objectId);
    }
    return ids;
  }

 private:
  support::TempFolder place_;
  TempEnvironment device_{"OSIF_DEVICE", place_.path().c_str()};
};

TEST_F(LoggedChanges, AreNoneWithoutALog) { EXPECT_THAT(Ids(), IsEmpty()); }

TEST_F(LoggedChanges, AreAllEntriesOfTheStoresOwnFolder) {
  Put("pb/pol_pb_change.log",
      "M:1:20260314T101500Z:00000001\nM:2:20260314T101501Z:00000002\nH:3:20260314T101502Z:"
      "00000001\n");
  Put("pol_pb_change.log", "M:1:20260314T101500Z:0000000f\n");
  EXPECT_THAT(Ids(), ElementsAre("M 00000001", "M 00000002", "H 00000001"));
}

TEST_F(LoggedChanges, AreThoseOfTheFolderOfAllStoresWhereTheStoreHasNoneOfItsOwn) {
  Put("pol_pb_change.log", "M:1:20260314T101500Z:0000000f\n");
  EXPECT_THAT(Ids(), ElementsAre("M 0000000f"));
}

TEST_F(LoggedChanges, EndAtALineThatIsNone) {
  Put("pb/pol_pb_change.log",
      "M:1:20260314T101500Z:00000001\nnonsense\nM:2:20260314T101501Z:00000002\n");
  EXPECT_THAT(Ids(), ElementsAre("M 00000001"));
}

}  // namespace
}  // namespace logged_changes_test

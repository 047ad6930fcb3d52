// The change logs of a device that is brought up to date: what it kept no track of is found by comparing.
#include <gmock/gmock.h>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_session.h"
#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/sql_program.h"
#include "tests/support/version_1_device.h"

namespace pol_upgraded_device_test {
namespace {

using support::BytesOf;
using support::LinesOf;
using support::SqlProgram;
using testing::ElementsAre;

constexpr OsifResult kOk = OSIF_OK;

struct StoreRow {
  int32_t id;
  const char* name;
  const char* database_id;
};
constexpr StoreRow kStores[] = {{OSIF_STORE_PB, "pb", "1x0i83tn"},
                                {OSIF_STORE_CAL, "cal", "k6cnxuuq"}};

class UpgradedDevice : public TempDeviceTest {
 protected:
  UpgradedDevice() { support::MakeVersion1Device(device_.folder()); }
  ~UpgradedDevice() override { support::CloseAllLogs(); }

  std::string Path(const StoreRow& store, const char* kind) const {
    return device_.Path(std::string("Sync/") + store.name + "/pol_" + store.name + "_" + kind +
                        ".log");
  }
  // The counter of the newest entry.
  uint32_t Reopen(const StoreRow& store) {
    EXPECT_EQ(POL_Open(), kOk);
    const std::string folder = device_.Path(std::string("Sync/") + store.name);
    EXPECT_EQ(POL_CL_Open(store.id, support::Wide(folder).c_str()), kOk);
    OsifAnchor anchor{};
    EXPECT_EQ(POL_CL_GetCurrentAnchor(store.id, &anchor), kOk);
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(store.id, id), kOk);
    EXPECT_STREQ(id, store.database_id);
    EXPECT_EQ(POL_CL_Close(store.id), kOk);
    return anchor.cc;
  }
  std::vector<std::string> NewEntries(const StoreRow& store) const {
    std::vector<std::string> entries = LinesOf(Path(store, "change"));
    entries.erase(entries.begin(), entries.begin() + 2);
    for (std::string& entry : entries) {
      entry = entry.substr(0, 4) + entry.substr(entry.rfind(':') + 1);
    }
    return entries;
  }
};

TEST_F(UpgradedDevice, TellsNothingNewAtTheFirstOpening) {
  for (const StoreRow& store : kStores) {
    const std::string log = BytesOf(Path(store, "change"));
    const std::string snapshot = BytesOf(Path(store, "object"));
    EXPECT_EQ(Reopen(store), 2u);
    EXPECT_EQ(BytesOf(Path(store, "change")), log);
    EXPECT_EQ(BytesOf(Path(store, "object")), snapshot);
    EXPECT_TRUE(support::FileExists(Path(store, "mark")));
  }
}

TEST_F(UpgradedDevice, TellsAtTheNextOpeningWhatWasWrittenSince) {
  for (const StoreRow& store : kStores) Reopen(store);
  SqlProgram().Run(
      "UPDATE pim_contacts SET body='x' WHERE oid=2; DELETE FROM pim_objects WHERE oid=1;"
      "UPDATE pim_recipients SET name='x'; UPDATE pim_tasks SET body='x'");
  EXPECT_EQ(Reopen(kStores[0]), 4u);
  EXPECT_EQ(Reopen(kStores[1]), 4u);
  EXPECT_THAT(NewEntries(kStores[0]), ElementsAre("M:3:00000002", "H:4:00000001"));
  EXPECT_THAT(NewEntries(kStores[1]), ElementsAre("M:3:00000003", "M:4:00000004"));
}

TEST_F(UpgradedDevice, TellsAtTheFirstOpeningWhatWasWrittenBefore) {
  SqlProgram().Run(
      "UPDATE pim_contacts SET body='x' WHERE oid=2; DELETE FROM pim_objects WHERE oid=1;"
      "UPDATE pim_patterns SET occurrences=6; DELETE FROM pim_objects WHERE oid=4");
  EXPECT_EQ(Reopen(kStores[0]), 4u);
  EXPECT_EQ(Reopen(kStores[1]), 4u);
  EXPECT_THAT(NewEntries(kStores[0]), ElementsAre("M:3:00000002", "H:4:00000001"));
  EXPECT_THAT(NewEntries(kStores[1]), ElementsAre("M:3:00000003", "H:4:00000004"));
}

TEST_F(UpgradedDevice, LooksAtTheNextOpeningAtWhatWasWrittenAlone) {
  for (const StoreRow& store : kStores) Reopen(store);
  support::RunUnseen("UPDATE pim_contacts SET body='x'; UPDATE pim_tasks SET body='x'");
  for (const StoreRow& store : kStores) EXPECT_EQ(Reopen(store), 2u);
}

}  // namespace
}  // namespace pol_upgraded_device_test

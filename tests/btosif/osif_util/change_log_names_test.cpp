#include "btosif/osif_util/change_log_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <utility>

namespace change_log_names_test {
namespace {

TEST(LogFileName, IsMadeOfFolderStoreAndKind) {
  EXPECT_EQ(LogFileName(0, u"\\Sync\\", LogFileKind::kChange), u"\\Sync\\pol_pb_change.log");
  EXPECT_EQ(LogFileName(1, u"\\Sync\\", LogFileKind::kObject), u"\\Sync\\pol_cal_object.log");
  EXPECT_EQ(LogFileName(4, u"\\Sync\\", LogFileKind::kDatabaseId),
            u"\\Sync\\pol_msg-sent_databaseid.log");
  EXPECT_EQ(LogFileName(9, u"\\Sync\\", LogFileKind::kChange), u"\\Sync\\pol_unknown_change.log");
}

TEST(LogFileName, HasABackslashAddedWhereTheFolderDoesNotEndInOne) {
  EXPECT_EQ(LogFileName(0, u"\\Sync", LogFileKind::kChange), u"\\Sync\\pol_pb_change.log");
  EXPECT_EQ(LogFileName(0, u"/home/ann/Sync", LogFileKind::kChange),
            u"/home/ann/Sync\\pol_pb_change.log");
}

TEST(LogFileName, OfAnEmptyFolderIsTheBareFileName) {
  EXPECT_EQ(LogFileName(3, u"", LogFileKind::kChange), u"pol_msg-in_change.log");
}

TEST(LogFileName, Takes260CharactersOfTheFolderAndNoMore) {
  for (size_t length : {259u, 260u, 261u, 5000u}) {
    const WideText folder(length, u'd');
    EXPECT_EQ(LogFileName(0, folder, LogFileKind::kChange),
              WideText(std::min<size_t>(length, 260), u'd') + u"\\pol_pb_change.log")
        << length;
  }
}

TEST(LogFolderFiles, AreNamedForTheWholeFolder) {
  EXPECT_EQ(LogFolderInUseName(u"\\Sync"), u"\\Sync\\pol_in_use.log");
  EXPECT_EQ(LogFolderTurnName(u"\\Sync\\"), u"\\Sync\\pol_turn.log");
  EXPECT_EQ(LogFolderUserName(u""), u"pol_user.log");
}

TEST(LogFileName, NamesEachKindOfFile) {
  const std::pair<LogFileKind, WideText> names[] = {
      {LogFileKind::kChange, u"pol_pb_change.log"},
      {LogFileKind::kObject, u"pol_pb_object.log"},
      {LogFileKind::kDatabaseId, u"pol_pb_databaseid.log"},
      {LogFileKind::kOpen, u"pol_pb_open.log"},
      {LogFileKind::kPurging, u"pol_pb_purging.log"},
      {LogFileKind::kNewObject, u"pol_pb_newobject.log"},
      {LogFileKind::kCounter, u"pol_pb_counter.log"},
      {LogFileKind::kCut, u"pol_pb_cut.log"},
  };
  for (const auto& [kind, name] : names) EXPECT_EQ(LogFileName(0, u"", kind), name);
}

TEST(TempLogName, IsOneForAllStoresOfAFolder) {
  EXPECT_EQ(TempLogName(u"\\Sync"), u"\\Sync\\temp_change.log");
  EXPECT_EQ(TempLogName(u"\\Sync\\"), u"\\Sync\\temp_change.log");
  EXPECT_EQ(TempLogName(u""), u"temp_change.log");
}

}  // namespace
}  // namespace change_log_names_test

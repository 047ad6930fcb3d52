// What the tests of the change log interface share: a device with an open session and an empty folder for
// change logs, which are closed at the end.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_util/charset.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/other_program.h"
#include "tests/support/text_test.h"

namespace support {

// The field of a log line, counted from 0.
inline std::string Field(const std::string& line, int number) {
  size_t begin = 0;
  for (; number > 0; --number) begin = line.find(':', begin) + 1;
  return line.substr(begin, line.find(':', begin) - begin);
}

// The stores without a PIM folder: their logs hold what the library does, and what a test writes into them.
inline constexpr int32_t kMailStore = OSIF_STORE_MSG_IN;

inline void CloseAllLogs() {
  POL_Open();
  for (int32_t store_id = 0; store_id < 6; ++store_id) POL_CL_Close(store_id);
  POL_Close();
}

class ChangeLogTest : public TextTest {
 protected:
  ChangeLogTest() {
    std::filesystem::create_directory(device_.Path("Sync"));
    EXPECT_EQ(POL_Open(), OsifResult{OSIF_OK});
  }
  ~ChangeLogTest() override { CloseAllLogs(); }

  std::string Path(const std::string& name) const { return device_.Path("Sync/" + name); }
  WideText Folder() const { return Wide(device_.Path("Sync")); }
  std::string ContactLog() const { return Path("pol_pb_change.log"); }
  std::string MailLog() const { return Path("pol_msg-in_change.log"); }

  OsifResult Open(int32_t store_id = OSIF_STORE_PB) {
    return POL_CL_Open(store_id, Folder().c_str());
  }
  OsifResult Close(int32_t store_id = OSIF_STORE_PB) { return POL_CL_Close(store_id); }

  // Opens the log of a store that is not compared with anything, with these bytes in it.
  void OpenMailLog(std::string_view bytes) {
    PutBytes(MailLog(), bytes);
    EXPECT_EQ(Open(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  }

  OsifAnchor Anchor(int32_t store_id = OSIF_STORE_PB) {
    OsifAnchor anchor{};
    EXPECT_EQ(POL_CL_GetCurrentAnchor(store_id, &anchor), OsifResult{OSIF_OK});
    return anchor;
  }

  // The log's entries without their time stamps: "M 1 00000001".
  std::vector<std::string> Entries(const std::string& path) const {
    std::vector<std::string> entries;
    for (const std::string& line : LinesOf(path)) {
      const size_t second = line.find(':', 2);
      entries.push_back(line.substr(0, 1) + " " + line.substr(2, second - 2) + " " +
                        line.substr(line.rfind(':') + 1));
    }
    return entries;
  }
  std::vector<std::string> ContactEntries() const { return Entries(ContactLog()); }

  // What a partner with this anchor is told: each entry as its line, and at the end the result that ended
  // it; "gap" first when there is one.
  std::vector<std::string> ChangesSince(const OsifAnchor& anchor, int32_t store_id = kMailStore) {
    std::vector<std::string> told;
    ChangeLogEntry entry{};
    OsifResult result = POL_CL_GetFirstEntry(store_id, &anchor, &entry);
    if (result == OSIF_ERR_CL_GAP) told.push_back("gap");
    while (result == OSIF_OK || result == OSIF_ERR_CL_GAP) {
      told.push_back(LineOf(entry));
      result = POL_CL_GetNextEntry(store_id, &entry);
    }
    told.push_back(result == OSIF_ERR_EOF ? "end" : "result " + std::to_string(result));
    return told;
  }
};

}  // namespace support

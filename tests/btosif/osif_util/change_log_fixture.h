// What the tests of the change log's files share: a device with an empty folder for change logs.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "btosif/osif_file.h"
#include "btosif/osif_util/charset.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"

namespace support {

class ChangeLogFolderTest : public TextTest {
 protected:
  ChangeLogFolderTest() { std::filesystem::create_directory(Path("")); }

  std::string Path(const std::string& name) const { return device_.Path("Sync/" + name); }
  std::string LogPath() const { return Path("pol_pb_change.log"); }
  WideText Folder() const { return Wide(device_.Path("Sync")); }

  // A stream over a log of these bytes, as the change logs are opened.
  OsifStream OpenLog(std::string_view bytes = {}) {
    PutBytes(LogPath(), bytes);
    return support::Open(LogPath(), u"a+");
  }
};

}  // namespace support

// The fixture of what reads settings or writes to the trace: a device of its own, nothing remembered from
// the test before.
#pragma once

#include <filesystem>

#include "btosif/osif_util/charset.h"
#include "tests/support/settings.h"
#include "tests/support/temp_device.h"

namespace support {

class TextTest : public TempDeviceTest {
 protected:
  TextTest() {
    SetSystemCodePage(1252);
    ForgetCharsetChoices();
  }
  ~TextTest() override { ForgetCharsetChoices(); }

  std::filesystem::path device_folder() const { return device_.folder(); }
};

}  // namespace support

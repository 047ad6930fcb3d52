// Contacts in the device's own PIM, through an open session.
#pragma once

#include <string>

#include "BtOsif_pol/pol_dispatch.h"
#include "BtOsif_pol/pol_session.h"
#include "tests/support/pol_fixture.h"

namespace support {

class ContactsOnDevice : public TempDeviceTest {
 protected:
  void SetUp() override { ASSERT_EQ(Code(POL_Open()), OSIF_OK); }
  void TearDown() override { POL_Close(); }

  // Adds a contact; its id.
  static std::string Add(ContactRecord record) {
    IdBuffer id;
    EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_PB, record.get(), id.text, nullptr)), OSIF_OK);
    return id.text;
  }
};

}  // namespace support

// What the library answers for objects that it does not handle yet. This file goes when they come.
#include "osif.h"
#include "tests/support/osif_fixture.h"

namespace {

using namespace support;

TEST_F(OsifTest, DoesNotStoreCalendarItemsYet) {
  OutsideObject item(OSIF_STORE_CAL);
  char id[OSIF_ID_SIZE] = "";
  EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_CAL, &item, id, nullptr)), OSIF_ERR_NOT_IMPLEMENTED);
}

TEST_F(OsifTest, DoesNotStoreMessagesYet) {
  for (int32_t store_id : {OSIF_STORE_MSG_IN, OSIF_STORE_MSG_SENT, OSIF_STORE_MSG_OUT}) {
    OutsideObject message(store_id);
    char id[OSIF_ID_SIZE] = "";
    EXPECT_EQ(Code(OSIF_AddObject(store_id, &message, id, nullptr)), OSIF_ERR_NOT_IMPLEMENTED);
  }
}

}  // namespace

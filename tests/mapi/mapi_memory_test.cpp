// What the adapter does when memory is short where it says so.
#include "tests/mapi/mapi_fixture.h"
#include "tests/support/failing_new.h"

namespace mapi_memory_test {
namespace {

using namespace support;
using testing::ElementsAre;

class MapiMemory : public OpenFakeMapiTest {
 protected:
  ~MapiMemory() override { StopFailing(); }

  static void FailNext() { FailNew(1); }
  static void StopFailing() { FailNew(0); }
};

// The list of recipients is what needs memory first after the flags.
TEST_F(MapiMemory, NoMemoryForTheListOfRecipientsIsSilentAndFailsNothing) {
  MailRecord record;
  record.Folder("INBOX").To("somebody.with.a.long.name@example.org; another.long.name@example.org");
  mapi_.Fail("message.SetProps", MAPI_E_CALL_FAILED);
  mapi_.When("message.SetProps", FailNext);
  EXPECT_EQ(Code(MAPI_AddMail(*record, nullptr)), OSIF_OK);
  StopFailing();
  EXPECT_EQ(mapi_.Count("message.ModifyRecipients"), 0);
  EXPECT_THAT(
      Trace(),
      ElementsAre("MAPI:  MAPI_AddMail() Folder:INBOX",
                  "MAPI:  lpMessage->SetProps(PR_MESSAGE_FLAG) failed with code: 0x80004005",
                  "       MAPI_AddMail() returns 0"));
  EXPECT_EQ(mapi_.Created().saves, 1);
}

TEST_F(MapiMemory, NoMemoryForABodyIsToldWithItsSizeAndLeavesTheBodyEmpty) {
  FakeMail& mail = mapi_.Keep(mapi_.inbox, "\x01", {FakeValue::Text(PR_SUBJECT, u"Lunch")});
  mail.SetBody(std::u16string(700, u'x'));
  mapi_.When("stream.Stat", FailNext);
  MailRecord record;
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "01", *record)), OSIF_OK);
  StopFailing();
  EXPECT_THAT(Trace(), ElementsAre(testing::StartsWith("MAPI:  MAPI_GetMailById("),
                                   "MAPI:  Unable to allocate buffer for stream data (size=1400)"));
  EXPECT_EQ(record->part.bodyText, nullptr);
  EXPECT_STREQ(record->subject, "Lunch");
  EXPECT_EQ(mapi_.Count("message.GetRecipientTable"), 1);
}

}  // namespace
}  // namespace mapi_memory_test

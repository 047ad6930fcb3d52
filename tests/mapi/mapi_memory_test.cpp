// What the adapter does when memory is short where it says so.
#include <cstdlib>
#include <new>
#include <utility>

#include "tests/mapi/mapi_fixture.h"

namespace {
thread_local bool next_new_fails = false;
}  // namespace

void* operator new(size_t size) {
  if (!std::exchange(next_new_fails, false)) {
    if (void* memory = std::malloc(size ? size : 1)) return memory;
  }
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return std::exchange(next_new_fails, false) ? nullptr : std::malloc(size ? size : 1);
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace {

using namespace support;
using testing::ElementsAre;

class MapiMemory : public OpenFakeMapiTest {
 protected:
  ~MapiMemory() override { StopFailing(); }

  static void FailNext() { next_new_fails = true; }
  static void StopFailing() { next_new_fails = false; }
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
  EXPECT_THAT(Trace(),
              testing::Contains("MAPI:  Unable to allocate buffer for stream data (size=1400)"));
  EXPECT_EQ(record->part.bodyText, nullptr);
  EXPECT_STREQ(record->subject, "Lunch");
  EXPECT_EQ(mapi_.Count("message.GetRecipientTable"), 1);
}

}  // namespace

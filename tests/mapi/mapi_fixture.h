// What the tests of the message store adapter have in common: a device, its trace, the fake
// messaging store, and message records.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/owned_text.h"
#include "mapi/mapi_mail.h"
#include "mapi/mapi_session.h"
#include "platform/device/mail/session.h"
#include "tests/support/dates.h"
#include "tests/support/fake_mapi.h"
#include "tests/support/result_code.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace support {

// A message's record. A longer text than its field is a fault of the test.
class MailRecord {
 public:
  template <size_t kRoom>
  MailRecord& Set(char (OsifMessage::*field)[kRoom], std::string_view text) {
    Copy((object_->message.*field), text);
    return *this;
  }
  MailRecord& Folder(std::string_view name) { return Set(&OsifMessage::xBtFolder, name); }
  MailRecord& Subject(std::string_view text) { return Set(&OsifMessage::subject, text); }
  MailRecord& Date(std::string_view text) { return Set(&OsifMessage::date, text); }
  MailRecord& From(std::string_view text) { return Set(&OsifMessage::from, text); }
  MailRecord& To(std::string_view text) { return Set(&OsifMessage::to, text); }
  MailRecord& Cc(std::string_view text) { return Set(&OsifMessage::ccAddresses, text); }
  MailRecord& Status(std::string_view text) { return Set(&OsifMessage::xIrmcStatus, text); }
  MailRecord& Body(std::string_view text, std::string_view type = "",
                   std::string_view encoding = "") {
    MessagePart& part = object_->message.part;
    Copy(part.contentType, type);
    Copy(part.contentTransferEncoding, encoding);
    part.bodyText = CopyText(text).release();
    return *this;
  }

  OsifObject& operator*() { return *object_; }
  OsifMessage* operator->() { return &object_->message; }
  OsifObject* get() { return object_.get(); }

 private:
  template <size_t kRoom>
  static void Copy(char (&field)[kRoom], std::string_view text) {
    EXPECT_LT(text.size(), kRoom);
    field[text.copy(field, kRoom - 1)] = '\0';
  }

  OwnedObject object_{OSIF_STORE_MSG_IN};
};

// The room of an id, filled with a text that is seen when nothing was written, and what lies behind it.
struct MailId {
  char text[OSIF_ID_SIZE] = "before";
  char behind[16] = "untouched";
};

// A device whose code page is 1252, its trace, and no session.
class MapiAdapterTest : public TextTest {
 protected:
  void TearDown() override {
    MAPI_DeInit();
    while (device::MapiUses() > 0) MAPIUninitialize();  // of logons that failed
  }

  // Makes another code page the system's.
  static void UseSystemCodePage(uint32_t code_page) {
    SetSystemCodePage(code_page);
    ForgetCharsetChoices();
  }

  TraceLines Trace() { return trace_->Lines(); }

  std::optional<TraceReceiver> trace_{std::in_place};  // without it nothing is traced
};

// The same with the fake in the place of the device's messaging.
class FakeMapiTest : public MapiAdapterTest {
 protected:
  // The session is up; nothing of that is in the calls and in the trace.
  void Open() {
    ASSERT_EQ(Code(mapi_Initialize()), OSIF_OK);
    Forget();
  }
  void Forget() {
    mapi_.Calls();
    trace_->Lines();
  }

  // A session, but no folder.
  void OpenWithoutFolders() {
    mapi_.Fail("session.OpenMsgStore", MAPI_E_CALL_FAILED);
    Open();
    mapi_.Mend();
  }

  // A message like the record, which is new; what came into the store.
  FakeMail& Add(MailRecord& record) {
    EXPECT_EQ(Code(MAPI_AddMail(*record, nullptr)), OSIF_OK);
    return mapi_.Created();
  }

  FakeMapi mapi_;
};

// The same with the session up.
class OpenFakeMapiTest : public FakeMapiTest {
 protected:
  void SetUp() override { Open(); }
};

inline bool operator==(const FakeRecipient& left, const FakeRecipient& right) {
  return left.type == right.type && left.address == right.address &&
         left.address_type == right.address_type;
}

// A file time as one number of 100-nanosecond intervals.
inline uint64_t Ticks(const FILETIME& time) {
  return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

}  // namespace support

// Of the same namespace as the type, so that a failure shows it.
inline bool operator==(const FILETIME& left, const FILETIME& right) {
  return support::Ticks(left) == support::Ticks(right);
}

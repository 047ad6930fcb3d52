// What the tests of the PIM adapter have in common: a device, the trace, a fake PIM, and contact records made
// from the lines of a vCard.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_parsers/vcard_reader.h"
#include "btosif/osif_util/object_record.h"
#include "tests/support/fake_pim.h"
#include "tests/support/files.h"
#include "tests/support/result_code.h"
#include "tests/support/temp_device.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace support {

// A contact's record with what these property lines say.
class ContactRecord {
 public:
  ContactRecord(std::initializer_list<std::string_view> lines) {
    OsifStream stream = OpenBytes("VERSION:2.1\r\n" + Lines(lines) + "END:VCARD\r\n");
    VCard_ReadOne(stream, *object_);
  }

  // One more value, its parameters and components as they stand.
  ContactRecord& With(PropertyValue* OsifContact::*list,
                      std::initializer_list<std::string_view> params,
                      std::initializer_list<std::string_view> components) {
    PropertyValue* value = PropertyValue_Append(object_->contact.*list);
    for (std::string_view param : params) PropertyValue_AddParam(value, param);
    size_t index = 0;
    for (std::string_view text : components) {
      PropertyValue_SetComponent(value, CopyText(text), index++);
    }
    return *this;
  }

  OsifObject& operator*() { return *object_; }
  OsifObject* operator->() { return object_.get(); }
  OsifObject* get() { return object_.get(); }

 private:
  OwnedObject object_{OSIF_STORE_PB};
};

// A closed session over a fake PIM.
class PolTest : public testing::Test {
 protected:
  void TearDown() override { POL_Close(); }

  void Open() {
    ASSERT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK));
    trace_.Lines();
  }

  TraceLines Trace() { return PimLines(trace_); }

  TempDevice device_;
  TraceReceiver trace_;
  FakePim pim_;
};

// An open session over a fake PIM.
class OpenPolTest : public PolTest {
 protected:
  void SetUp() override { Open(); }
};

// The room of an id, filled with a text that is seen when nothing was written.
struct IdBuffer {
  explicit IdBuffer(std::string_view before = "before") { before.copy(text, sizeof text - 1); }
  char text[OSIF_ID_SIZE] = "";
};

}  // namespace support

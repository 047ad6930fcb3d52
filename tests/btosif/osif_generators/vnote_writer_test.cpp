#include "btosif/osif_generators/vnote_writer.h"

#include <gtest/gtest.h>

#include <string>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/property_value.h"
#include "platform/utf8.h"
#include "tests/support/change_logs.h"
#include "tests/support/temp_device.h"

namespace {

class VNoteWriter : public TempDeviceTest {
 protected:
  VNoteWriter() { CopyBounded(note_->version, "1.1"); }

  void Add(PropertyValue* OsifNote::*list, const char* text) {
    PropertyValue_SetComponent(PropertyValue_Append(note_->note.*list), CopyText(text), 0);
  }

  std::string Written(uint8_t write_luid) {
    const std::string path = device_.Path("note.vnt");
    OsifStream stream;
    EXPECT_EQ(FILE_Open(stream, FromUtf8(path).c_str(), u"w", LineEnd::kCrLf), 0);
    EXPECT_EQ(VNote_Write(stream, *note_, write_luid), OsifResult{OSIF_OK});
    EXPECT_EQ(FILE_Close(stream, u"note.vnt"), 0);
    return support::BytesOf(path);
  }

  OwnedObject note_{OSIF_STORE_NOTE};
};

TEST_F(VNoteWriter, WritesTheBodyLineEvenWithoutABody) {
  EXPECT_EQ(Written(0), "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:\r\nEND:VNOTE\r\n");
}

TEST_F(VNoteWriter, WritesEveryListInItsOrder) {
  Add(&OsifNote::class_, "PRIVATE");
  Add(&OsifNote::categories, "Home");
  Add(&OsifNote::body, "text");
  Add(&OsifNote::summary, "name");
  Add(&OsifNote::lastModified, "20260102T000000Z");
  Add(&OsifNote::dCreated, "20260101T000000Z");
  EXPECT_EQ(Written(0),
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nDCREATED:20260101T000000Z\r\n"
            "LAST-MODIFIED:20260102T000000Z\r\nSUMMARY:name\r\nBODY:text\r\nCATEGORIES:Home\r\n"
            "CLASS:PRIVATE\r\nEND:VNOTE\r\n");
}

TEST_F(VNoteWriter, WritesTheIdWhenItIsAskedForAndThere) {
  EXPECT_EQ(Written(1), "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:\r\nEND:VNOTE\r\n");
  CopyBounded(note_->xIrmcLuid, "name");
  EXPECT_EQ(Written(1),
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:\r\nX-IRMC-LUID:name\r\nEND:VNOTE\r\n");
}

}  // namespace

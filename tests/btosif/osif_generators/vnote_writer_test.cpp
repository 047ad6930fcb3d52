#include "btosif/osif_generators/vnote_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/property_value.h"
#include "platform/posix/fault_injection.h"
#include "platform/utf8.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/temp_device.h"
#include "tests/support/trace_receiver.h"

namespace vnote_writer_test {
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

TEST_F(VNoteWriter, WritesTheBodyLineOfARecordWithoutABody) {
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
  EXPECT_EQ(Written(1), "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:\r\nX-IRMC-LUID:name\r\nEND:VNOTE\r\n");
}

TEST_F(VNoteWriter, WritesNoIdUnlessItIsAskedFor) {
  CopyBounded(note_->xIrmcLuid, "name");
  EXPECT_EQ(Written(0), "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:\r\nEND:VNOTE\r\n");
}

TEST_F(VNoteWriter, WritesTheVersionOfTheRecordWhateverItIs) {
  CopyBounded(note_->version, "");
  EXPECT_EQ(Written(0), "BEGIN:VNOTE\r\nVERSION:\r\nBODY:\r\nEND:VNOTE\r\n");
}

TEST_F(VNoteWriter, WritesEveryValueOfAList) {
  Add(&OsifNote::body, "one");
  Add(&OsifNote::body, "two");
  Add(&OsifNote::class_, "A");
  Add(&OsifNote::class_, "B");
  EXPECT_EQ(Written(0),
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:one\r\nBODY:two\r\nCLASS:A\r\nCLASS:B\r\n"
            "END:VNOTE\r\n");
}

TEST_F(VNoteWriter, BreaksABodyBehindEachOfItsEncodedLineFeeds) {
  Add(&OsifNote::body, "one=0D=0Atwo=0D=0A");
  PropertyValue_AddParam(note_->note.body, "ENCODING=QUOTED-PRINTABLE");
  EXPECT_EQ(Written(0),
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY;ENCODING=QUOTED-PRINTABLE:one=0D=0A=\r\n"
            "two=0D=0A\r\nEND:VNOTE\r\n");
}

// ---- Failures ----

TEST_F(VNoteWriter, TellsTheTraceOnlyThatItCouldNotWrite) {
  Add(&OsifNote::summary, "name");
  OsifStream read_only = support::OpenBytes("x");
  support::TraceReceiver trace;
  EXPECT_EQ(VNote_Write(read_only, *note_, 1), OsifResult{OSIF_OK});
  const std::string line = "OSIF:  Unable to put vNote string to file";
  EXPECT_THAT(trace.Lines(), testing::ElementsAre(line, line,  // BEGIN, VERSION
                                                  "OSIF:  Unable to put string to file",  // SUMMARY
                                                  line, line));  // BODY, END
}

TEST_F(VNoteWriter, GoesOnBehindALineForWhichMemoryIsShort) {
  Add(&OsifNote::summary, "name");
  const std::vector<std::string> lines = {"BEGIN:VNOTE\r\n", "VERSION:1.1\r\n", "SUMMARY:name\r\n",
                                          "BODY:\r\n", "END:VNOTE\r\n"};
  for (size_t missing = 0; missing < lines.size(); ++missing) {
    std::string expected;
    for (size_t i = 0; i < lines.size(); ++i) {
      if (i != missing) expected += lines[i];
    }
    support::TraceReceiver trace;
    EXPECT_EQ(support::BytesWritten([&](OsifStream& stream) {
                FailAllocation(static_cast<int>(missing) + 1);
                EXPECT_EQ(VNote_Write(stream, *note_, 1), OsifResult{OSIF_OK});
                FailAllocation(0);
              }),
              expected);
    EXPECT_THAT(trace.Lines(),
                testing::ElementsAre("OSIF:  Insufficient memory to generate vNote string"));
  }
}

}  // namespace
}  // namespace vnote_writer_test

#include "btosif/osif_parsers/vnote_reader.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "btosif/osif_util/property_value.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kNoEnd =
    "OSIF:  Error - vNote missing END tag or does not contain required VERSION property";

// What one read of a text gave.
struct Outcome {
  struct Item {
    int32_t store_id;
    OsifResult result;
    std::string version;
    std::string luid;
    std::vector<std::string> bodies;
    std::string summary;
  };
  OsifResult result = 0;
  std::vector<Item> notes;
};

int32_t Take(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
  Outcome::Item item = {store_id, result, object->version, object->xIrmcLuid, {}, {}};
  for (const PropertyValue& body : Values(object->note.body)) {
    item.bodies.emplace_back(ComponentText(&body, 0));
  }
  item.summary = ComponentText(object->note.summary, 0);
  static_cast<Outcome*>(context)->notes.push_back(item);
  return 0;
}

class VNoteReader : public support::TextTest {
 protected:
  Outcome Read(const std::string& text) {
    Outcome outcome;
    OsifStream stream = support::OpenBytes(text);
    outcome.result = VNote_ReadFile(stream, Take, &outcome);
    return outcome;
  }
};

std::string Note(const std::string& lines) {
  return "BEGIN:VNOTE\r\n" + lines + "END:VNOTE\r\n";
}

const std::string kVersion = "VERSION:1.1\r\n";
constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

TEST_F(VNoteReader, DeliversANoteToTheNoteStore) {
  const Outcome outcome =
      Read(Note(kVersion + "X-IRMC-LUID:abc\r\nSUMMARY:Name\r\nBODY:one\r\nbody;X:two;lost\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_EQ(outcome.notes[0].store_id, OSIF_STORE_NOTE);
  EXPECT_EQ(outcome.notes[0].result, kOk);
  EXPECT_EQ(outcome.notes[0].version, "1.1");
  EXPECT_EQ(outcome.notes[0].luid, "abc");
  EXPECT_EQ(outcome.notes[0].summary, "Name");
  EXPECT_THAT(outcome.notes[0].bodies, ElementsAre("one", "two"));
}

TEST_F(VNoteReader, RefusesANoteWithoutVersionAlthoughItsEndIsPresent) {
  support::TraceReceiver trace;
  const Outcome outcome = Read(Note("BODY:x\r\n"));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.notes, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoEnd));
}

TEST_F(VNoteReader, RefusesANoteWithoutItsEnd) {
  support::TraceReceiver trace;
  EXPECT_EQ(Read("BEGIN:VNOTE\r\n" + kVersion + "BODY:x\r\n").result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoEnd));
}

TEST_F(VNoteReader, AcceptsVersionsUpTo11) {
  for (const char* version : {"1.1", "1.0", "0.5"}) {
    EXPECT_EQ(Read(Note("VERSION:" + std::string(version) + "\r\n")).result, kOk) << version;
  }
}

TEST_F(VNoteReader, RefusesVersionsAbove11AndThoseThatAreNoNumber) {
  for (const std::string version : {"0", "1.2", "2.1", "new"}) {
    support::TraceReceiver trace;
    EXPECT_EQ(Read(Note("VERSION:" + version + "\r\n")).result, kError) << version;
    EXPECT_THAT(trace.Lines(),
                Contains("OSIF:  Error - vNote version '" + version + "' is not supported"));
  }
}

TEST_F(VNoteReader, IgnoresABodyInsideANestedObject) {
  const Outcome outcome =
      Read(Note(kVersion + "BEGIN:VCARD\r\nBODY:inner\r\nEND:VCARD\r\nBODY:outer\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_THAT(outcome.notes[0].bodies, ElementsAre("outer"));
}

TEST_F(VNoteReader, WarnsOfUnknownPropertiesAndBlankLines) {
  support::TraceReceiver trace;
  const Outcome outcome = Read(Note(kVersion + "X-COLOUR:red\r\n\r\nBODY:x\r\n"));
  EXPECT_EQ(outcome.result, kWarning);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_EQ(outcome.notes[0].result, kWarning);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - Parser encountered unknown property: 'X-COLOUR'",
                          "OSIF:  Warning - Parser encounted a blank line in vNote"));
}

TEST_F(VNoteReader, KeepsAWarningForTheNotesBehind) {
  const Outcome outcome = Read(Note(kVersion + "X-COLOUR:red\r\n") + Note(kVersion));
  ASSERT_EQ(outcome.notes.size(), 2u);
  EXPECT_EQ(outcome.notes[1].result, kWarning);
}

TEST_F(VNoteReader, KeepsNotesThatWereDeliveredBeforeOneThatIsRefused) {
  const Outcome outcome = Read(Note(kVersion) + Note("VERSION:9\r\n") + Note(kVersion));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_EQ(outcome.notes.size(), 1u);
}

TEST_F(VNoteReader, RefusesAFileThatBeginsWithAnotherObject) {
  support::TraceReceiver trace;
  EXPECT_EQ(Read("BEGIN:VCARD\r\nEND:VCARD\r\n").result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vNote does not have a BEGIN tag"));
}

TEST_F(VNoteReader, TakesTheTypeOfAnObjectInAnyCase) {
  EXPECT_EQ(Read("begin:vnote\r\n" + kVersion + "end:vnote\r\n").notes.size(), 1u);
}

TEST_F(VNoteReader, ReadsWithoutACallback) {
  OsifStream stream = support::OpenBytes(Note(kVersion));
  EXPECT_EQ(VNote_ReadFile(stream, nullptr, nullptr), kOk);
}

}  // namespace

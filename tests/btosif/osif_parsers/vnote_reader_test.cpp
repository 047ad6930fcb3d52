#include "btosif/osif_parsers/vnote_reader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "btosif/osif_util/property_value.h"
#include "platform/posix/fault_injection.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace vnote_reader_test {
namespace {

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
    // By property name, each value of each list as "PARAM;PARAM:text"; lists without values are not there.
    std::map<std::string, std::vector<std::string>> lists;
  };
  OsifResult result = 0;
  std::vector<Item> notes;
};

std::vector<std::string> ValuesOf(PropertyValue* list) {
  std::vector<std::string> texts;
  for (const PropertyValue& value : Values(list)) {
    std::string text;
    for (const std::string& param : support::ParamsOf(value)) text += param + ";";
    EXPECT_EQ(support::ComponentsOf(value).size(), 1u);
    texts.push_back(text + ":" + std::string(ComponentText(&value, 0)));
  }
  return texts;
}

void KeepLists(const OsifNote& note, Outcome::Item& item) {
  const std::pair<const char*, PropertyValue*> lists[] = {{"DCREATED", note.dCreated},
                                                          {"LAST-MODIFIED", note.lastModified},
                                                          {"CATEGORIES", note.categories},
                                                          {"CLASS", note.class_},
                                                          {"BODY", note.body},
                                                          {"SUMMARY", note.summary}};
  for (const auto& [name, list] : lists) {
    if (list != nullptr) item.lists[name] = ValuesOf(list);
  }
}

int32_t Take(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
  Outcome::Item item = {store_id, result, object->version, object->xIrmcLuid, {}, {}, {}};
  for (const PropertyValue& body : Values(object->note.body)) {
    item.bodies.emplace_back(ComponentText(&body, 0));
  }
  item.summary = ComponentText(object->note.summary, 0);
  KeepLists(object->note, item);
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

std::string Note(const std::string& lines) { return "BEGIN:VNOTE\r\n" + lines + "END:VNOTE\r\n"; }

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

TEST_F(VNoteReader, AcceptsVersion11) {
  const Outcome outcome = Read(Note("VERSION:1.1\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_EQ(outcome.notes[0].version, "1.1");
}

TEST_F(VNoteReader, RefusesVersion0) {
  support::TraceReceiver trace;
  const Outcome outcome = Read(Note("VERSION:0\r\n"));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.notes, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vNote version '0' is not supported"));
}

TEST_F(VNoteReader, AcceptsEveryVersionUpTo11) {
  for (const char* version : {"1.1", "1.10", "1.0", "1", "0.5", " 1.1", "1.1 of 1998", "0.01"}) {
    EXPECT_EQ(Read(Note("VERSION:" + std::string(version) + "\r\n")).result, kOk) << version;
  }
}

TEST_F(VNoteReader, RefusesVersionsAbove11AndThoseThatAreNoNumber) {
  for (const std::string version : {"0", "1.11", "1.2", "2.1", "new", "0.0", ""}) {
    support::TraceReceiver trace;
    EXPECT_EQ(Read(Note("VERSION:" + version + "\r\n")).result, kError) << version;
    EXPECT_THAT(trace.Lines(),
                ElementsAre("OSIF:  Error - vNote version '" + version + "' is not supported"));
  }
}

TEST_F(VNoteReader, IgnoresABodyInsideANestedBlock) {
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

// ---- Properties ----

TEST(NotePropertyIndex, NumbersThePropertiesWithoutRegardToCase) {
  const char* names[] = {"BEGIN",   "X-IRMC-LUID", "VERSION",    "DCREATED", "LAST-MODIFIED",
                         "SUMMARY", "BODY",        "CATEGORIES", "CLASS",    "END"};
  int number = 0;
  for (std::string name : names) {
    EXPECT_EQ(static_cast<int>(NotePropertyIndex(name)), ++number) << name;
    for (char& c : name) c = c == '-' ? c : static_cast<char>(c | 0x20);
    EXPECT_EQ(static_cast<int>(NotePropertyIndex(name)), number) << name;
  }
}

TEST(NotePropertyIndex, Is0ForAnyOtherName) {
  for (const char* name : {"", "BOD", "BODYS", "N", "UID", "X-IRMC-LUI"}) {
    EXPECT_EQ(static_cast<int>(NotePropertyIndex(name)), 0) << name;
  }
}

TEST_F(VNoteReader, KeepsEachListPropertyWithItsParameters) {
  const Outcome outcome =
      Read(Note(kVersion + "DCREATED:20260101\r\nLAST-MODIFIED;X=1:20260102\r\nSUMMARY:name\r\n"
                           "BODY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:a=C3=A4\r\n"
                           "CATEGORIES:Home\r\nCLASS:PRIVATE\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  using List = std::vector<std::string>;
  EXPECT_EQ(
      outcome.notes[0].lists,
      (std::map<std::string, List>{{"DCREATED", {":20260101"}},
                                   {"LAST-MODIFIED", {"X=1;:20260102"}},
                                   {"SUMMARY", {":name"}},
                                   {"BODY", {"CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE;:a=C3=A4"}},
                                   {"CATEGORIES", {":Home"}},
                                   {"CLASS", {":PRIVATE"}}}));
}

TEST_F(VNoteReader, AddsUpRepeatedPropertiesInTheirOrder) {
  std::string lines;
  for (const char* name : {"DCREATED", "LAST-MODIFIED", "SUMMARY", "BODY", "CATEGORIES", "CLASS"}) {
    for (const char* value : {"1", "2", "3"}) lines += std::string(name) + ":" + value + "\r\n";
  }
  const Outcome outcome = Read(Note(kVersion + lines));
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_EQ(outcome.notes[0].lists.size(), 6u);
  for (const auto& [name, values] : outcome.notes[0].lists) {
    EXPECT_THAT(values, ElementsAre(":1", ":2", ":3")) << name;
  }
}

TEST_F(VNoteReader, CutsTheIdToItsField) {
  for (size_t length : {510u, 511u, 512u, 100000u}) {
    const Outcome outcome =
        Read(Note(kVersion + "X-IRMC-LUID:" + std::string(length, '7') + "\r\n"));
    EXPECT_EQ(outcome.result, kOk) << length;
    ASSERT_EQ(outcome.notes.size(), 1u);
    EXPECT_EQ(outcome.notes[0].luid, std::string(std::min<size_t>(length, 511), '7'));
    EXPECT_EQ(outcome.notes[0].version, "1.1");
  }
}

TEST_F(VNoteReader, CutsTheVersionToItsField) {
  for (size_t zeros : {20u, 21u, 22u, 1000u}) {
    const std::string version = "1.1" + std::string(zeros, '0');
    const Outcome outcome = Read(Note("VERSION:" + version + "\r\n"));
    EXPECT_EQ(outcome.result, kOk) << zeros;
    ASSERT_EQ(outcome.notes.size(), 1u);
    EXPECT_EQ(outcome.notes[0].version, version.substr(0, 24));
  }
}

TEST_F(VNoteReader, TakesTheLastOfSeveralIdsAndVersions) {
  const Outcome outcome =
      Read(Note("VERSION:1.0\r\nVERSION:1.1\r\nX-IRMC-LUID:first\r\nX-IRMC-LUID:second\r\n"));
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_EQ(outcome.notes[0].version, "1.1");
  EXPECT_EQ(outcome.notes[0].luid, "second");
}

TEST_F(VNoteReader, KnowsItsPropertiesByTheirNamesInAnyCase) {
  const Outcome outcome = Read(Note("Version:1.1\r\nbody:x\r\nSummary:name\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_THAT(outcome.notes[0].bodies, ElementsAre("x"));
}

// ---- Nested blocks ----

TEST_F(VNoteReader, TakesNoPropertyInsideANestedBlock) {
  const Outcome outcome = Read(
      Note(kVersion + "BEGIN:X\r\nX-IRMC-LUID:inner\r\nVERSION:9.9\r\nDCREATED:1\r\nCLASS:1\r\n"
                      "LAST-MODIFIED:1\r\nSUMMARY:1\r\nBODY:1\r\nCATEGORIES:1\r\nEND:X\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_EQ(outcome.notes[0].luid, "");
  EXPECT_EQ(outcome.notes[0].version, "1.1");
  EXPECT_THAT(outcome.notes[0].lists, IsEmpty());
}

TEST_F(VNoteReader, CountsAVersionInANestedBlockAsSeen) {
  const Outcome outcome = Read(Note("BEGIN:VCARD\r\nVERSION:2.1\r\nEND:VCARD\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_EQ(outcome.notes[0].version, "");
}

TEST_F(VNoteReader, WarnsOfUnknownPropertiesInsideANestedBlock) {
  support::TraceReceiver trace;
  EXPECT_EQ(Read(Note(kVersion + "BEGIN:VCARD\r\nFN:Ann\r\nEND:VCARD\r\n")).result, kWarning);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - Parser encountered unknown property: 'FN'"));
}

TEST_F(VNoteReader, EndsWithTheBlockThatItBeganWhateverTheNames) {
  const Outcome outcome = Read(Note(kVersion + "BEGIN:X\r\nEND:VNOTE\r\nBODY:outer\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_THAT(outcome.notes[0].bodies, ElementsAre("outer"));
}

TEST_F(VNoteReader, RefusesANoteWhoseNestedBlockTakesItsEnd) {
  support::TraceReceiver trace;
  EXPECT_EQ(Read(Note(kVersion + "BEGIN:X\r\n")).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoEnd));
}

TEST_F(VNoteReader, ReadsAHundredThousandNestedBlocks) {
  const Outcome outcome =
      Read(Note(kVersion + support::Repeated("BEGIN:X\r\n", 100000) + "BODY:inner\r\n" +
                support::Repeated("END:X\r\n", 100000) + "BODY:outer\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_EQ(outcome.notes.size(), 1u);
  EXPECT_THAT(outcome.notes[0].bodies, ElementsAre("outer"));
}

// ---- Files ----

TEST_F(VNoteReader, RefusesAnEmptyFile) {
  support::TraceReceiver trace;
  EXPECT_EQ(Read("").result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vNote does not have a BEGIN tag"));
}

TEST_F(VNoteReader, RefusesAStreamAtItsEndWithoutAWord) {
  OsifStream stream = support::OpenBytes(Note(kVersion));
  EXPECT_EQ(VNote_ReadFile(stream, nullptr, nullptr), kOk);
  support::TraceReceiver trace;
  EXPECT_EQ(VNote_ReadFile(stream, nullptr, nullptr), kError);
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VNoteReader, RefusesAFileThatBeginsWithABlankLine) {
  support::TraceReceiver trace;
  EXPECT_EQ(Read("\r\n" + Note(kVersion)).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vNote does not have a BEGIN tag"));
}

TEST_F(VNoteReader, EndsInSilenceAtWhatIsNoNoteBehindOne) {
  for (const char* behind : {"\r\n", "BEGIN:VCARD\r\n", "BODY:x\r\n", "END:VNOTE\r\n"}) {
    support::TraceReceiver trace;
    const Outcome outcome = Read(Note(kVersion) + behind + Note(kVersion));
    EXPECT_EQ(outcome.result, kOk) << behind;
    EXPECT_EQ(outcome.notes.size(), 1u) << behind;
    EXPECT_THAT(trace.Lines(), IsEmpty()) << behind;
  }
}

TEST_F(VNoteReader, EndsWithTheWarningOfAnEarlierNote) {
  EXPECT_EQ(Read(Note(kVersion + "UID:1\r\n") + Note(kVersion) + "\r\n").result, kWarning);
}

TEST_F(VNoteReader, ReadsALastLineWithoutALineEnd) {
  const Outcome outcome = Read("BEGIN:VNOTE\nVERSION:1.1\nBODY:x\nEND:VNOTE");
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.notes.size(), 1u);
}

TEST_F(VNoteReader, StopsAtOnceAtAVersionThatItRefuses) {
  support::TraceReceiver trace;
  EXPECT_EQ(Read(Note("VERSION:2\r\nX-COLOUR:red\r\n")).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vNote version '2' is not supported"));
}

TEST_F(VNoteReader, BeginsEachNoteWithAnEmptyRecord) {
  const Outcome outcome =
      Read(Note(kVersion + "X-IRMC-LUID:1\r\nSUMMARY:a\r\nBODY:b\r\nCLASS:c\r\n") +
           Note(kVersion + "CATEGORIES:d\r\n"));
  ASSERT_EQ(outcome.notes.size(), 2u);
  EXPECT_EQ(outcome.notes[1].luid, "");
  EXPECT_EQ(outcome.notes[1].lists.size(), 1u);
}

// ---- Memory shortage ----

// Two buffers for a file, then one for each line that is folded.
struct Shortage {
  Outcome outcome;
  std::vector<std::string> trace;
};

class VNoteReaderShortage : public VNoteReader {
 protected:
  Shortage ReadWithout(int nth, const std::string& text) {
    support::TraceReceiver trace;
    FailAllocation(nth);
    Outcome outcome = Read(text);
    FailAllocation(0);
    return {std::move(outcome), trace.Lines()};
  }
};

TEST_F(VNoteReaderShortage, OfItsBuffersIsToldAndReturned) {
  for (int nth : {1, 2}) {
    const Shortage shortage = ReadWithout(nth, Note(kVersion));
    EXPECT_EQ(shortage.outcome.result, OsifResult{OSIF_ERR_NO_MEMORY}) << nth;
    EXPECT_THAT(shortage.outcome.notes, IsEmpty());
    EXPECT_THAT(shortage.trace, ElementsAre("OSIF:  Error - Memory allocation error"));
  }
}

TEST_F(VNoteReaderShortage, OfALineBetweenNotesIsAnErrorAndKeepsWhatWasDelivered) {
  const std::string folded_begin = "BEGIN:\r\n VNOTE\r\n";
  const Shortage shortage =
      ReadWithout(3, Note(kVersion) + folded_begin + kVersion + "END:VNOTE\r\n");
  EXPECT_EQ(shortage.outcome.result, kError);
  EXPECT_EQ(shortage.outcome.notes.size(), 1u);
}

TEST_F(VNoteReaderShortage, OfALineOfANoteIsAWarning) {
  const Shortage shortage = ReadWithout(3, Note(kVersion + "CLASS:a\r\n b\r\n"));
  EXPECT_EQ(shortage.outcome.result, kWarning);
  ASSERT_EQ(shortage.outcome.notes.size(), 1u);
  EXPECT_EQ(shortage.outcome.notes[0].result, kWarning);
  EXPECT_THAT(shortage.outcome.notes[0].lists, IsEmpty());
}

TEST_F(VNoteReaderShortage, AtAnyPointIsReportedOrLeavesAnOrderlyRecord) {
  const std::string text =
      Note(kVersion + "SUMMARY:a\r\nBODY;CHARSET=UTF-8:b\r\n c\r\n") + Note(kVersion);
  for (int nth = 1; nth <= 60; ++nth) {
    const Shortage shortage = ReadWithout(nth, text);
    const OsifResult result = shortage.outcome.result;
    EXPECT_TRUE(result == kOk || result == kWarning || result == kError ||
                result == OsifResult{OSIF_ERR_NO_MEMORY})
        << result;
    EXPECT_LE(shortage.outcome.notes.size(), 2u);
    EXPECT_THAT(shortage.trace, testing::Each(testing::StartsWith("OSIF:  "))) << nth;
  }
}

}  // namespace
}  // namespace vnote_reader_test

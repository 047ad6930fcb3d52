#include "BtOsif_pol/pol_snapshot.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "BtOsif_pol/pol_checksum.h"
#include "platform/posix/fault_injection.h"
#include "tests/support/change_logs.h"
#include "tests/support/fake_pim.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace pol_snapshot_test {
namespace {

using support::BytesOf;
using support::ContactTexts;
using support::FakeContact;
using support::FakePim;
using support::FileExists;
using support::PlainAdler;
using support::PutBytes;
using support::TraceReceiver;
using support::Wide;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

using Entries = std::vector<std::pair<uint32_t, uint32_t>>;

Entries EntriesOf(CPoomEntries& snapshot) {
  Entries entries;
  uint32_t id = 0;
  uint32_t checksum = 0;
  for (bool more = snapshot.first(&id, &checksum); more; more = snapshot.next(&id, &checksum)) {
    entries.emplace_back(id, checksum);
  }
  return entries;
}

// ---- The list ---------------------------------------------------------------------------------------

TEST(Snapshot, OfNothingHasNoEntry) {
  CPoomEntries snapshot;
  uint32_t id = 7;
  uint32_t checksum = 8;
  EXPECT_EQ(snapshot.size(), 0u);
  EXPECT_FALSE(snapshot.first(&id, &checksum));
  EXPECT_FALSE(snapshot.next(&id, &checksum));
  EXPECT_FALSE(snapshot.find(7, &checksum));
}

TEST(Snapshot, WalksItsEntriesInTheOrderInWhichTheyWereAdded) {
  CPoomEntries snapshot;
  snapshot.put(9, 90);
  snapshot.put(1, 10);
  snapshot.put(0xFFFFFFFF, 0xFFFFFFFE);
  EXPECT_THAT(EntriesOf(snapshot), ElementsAre(std::pair(9u, 90u), std::pair(1u, 10u),
                                               std::pair(0xFFFFFFFFu, 0xFFFFFFFEu)));
}

TEST(Snapshot, NextBeforeAnyFirstStartsAtTheBeginning) {
  CPoomEntries snapshot;
  snapshot.put(9, 90);
  snapshot.put(1, 10);
  uint32_t id = 0;
  uint32_t checksum = 0;
  EXPECT_TRUE(snapshot.next(&id, &checksum));
  EXPECT_EQ(id, 9u);
  EXPECT_TRUE(snapshot.next(&id, &checksum));
  EXPECT_EQ(id, 1u);
  EXPECT_FALSE(snapshot.next(&id, &checksum));
  EXPECT_TRUE(snapshot.first(&id, &checksum)) << "first starts again";
  EXPECT_EQ(id, 9u);
  EXPECT_EQ(checksum, 90u);
}

TEST(Snapshot, FindGivesTheChecksumOfAnId) {
  CPoomEntries snapshot;
  snapshot.put(9, 90);
  snapshot.put(1, 10);
  uint32_t checksum = 0;
  EXPECT_TRUE(snapshot.find(1, &checksum));
  EXPECT_EQ(checksum, 10u);
  EXPECT_FALSE(snapshot.find(2, &checksum));
}

TEST(Snapshot, PutGivesAnIdAnotherChecksumAtItsPlace) {
  CPoomEntries snapshot;
  snapshot.put(9, 90);
  snapshot.put(1, 10);
  snapshot.put(9, 91);
  EXPECT_THAT(EntriesOf(snapshot), ElementsAre(std::pair(9u, 91u), std::pair(1u, 10u)));
  EXPECT_EQ(snapshot.size(), 2u);
}

TEST(Snapshot, RemoveTakesOneEntryAway) {
  CPoomEntries snapshot;
  for (uint32_t id = 1; id <= 4; ++id) snapshot.put(id, id * 10);
  snapshot.remove(2);
  snapshot.remove(77);
  EXPECT_EQ(snapshot.size(), 3u);
  EXPECT_THAT(EntriesOf(snapshot), testing::UnorderedElementsAre(
                                       std::pair(1u, 10u), std::pair(3u, 30u), std::pair(4u, 40u)));
  uint32_t checksum = 0;
  EXPECT_FALSE(snapshot.find(2, &checksum));
  EXPECT_TRUE(snapshot.find(4, &checksum));
  EXPECT_EQ(checksum, 40u);
}

TEST(Snapshot, ClearLeavesNothing) {
  CPoomEntries snapshot;
  snapshot.put(9, 90);
  snapshot.clear();
  uint32_t checksum = 0;
  EXPECT_EQ(snapshot.size(), 0u);
  EXPECT_FALSE(snapshot.find(9, &checksum));
  EXPECT_THAT(EntriesOf(snapshot), IsEmpty());
}

TEST(Snapshot, AHundredThousandEntriesAreFoundAndRemovedInOneGo) {
  CPoomEntries snapshot;
  for (uint32_t id = 1; id <= 100000; ++id) snapshot.put(id, id ^ 0xABCD);
  uint32_t checksum = 0;
  uint32_t found = 0;
  for (uint32_t id = 1; id <= 100000; ++id) {
    if (snapshot.find(id, &checksum) && checksum == (id ^ 0xABCD)) ++found;
  }
  EXPECT_EQ(found, 100000u);
  for (uint32_t id = 1; id <= 100; ++id) snapshot.remove(id * 7);
  EXPECT_EQ(snapshot.size(), 99900u);
}

// ---- Checksums --------------------------------------------------------------------------------------

// The texts of a contact in the order of their getters.
constexpr const char* kTextsInOrder[] = {"BusinessFaxNumber",
                                         "CompanyName",
                                         "Department",
                                         "Email1Address",
                                         "MobileTelephoneNumber",
                                         "OfficeLocation",
                                         "PagerNumber",
                                         "BusinessTelephoneNumber",
                                         "JobTitle",
                                         "HomeTelephoneNumber",
                                         "Email2Address",
                                         "Spouse",
                                         "Email3Address",
                                         "Home2TelephoneNumber",
                                         "HomeFaxNumber",
                                         "CarTelephoneNumber",
                                         "AssistantName",
                                         "AssistantTelephoneNumber",
                                         "Children",
                                         "Categories",
                                         "WebPage",
                                         "Business2TelephoneNumber",
                                         "Title",
                                         "FirstName",
                                         "MiddleName",
                                         "LastName",
                                         "Suffix",
                                         "HomeAddressStreet",
                                         "HomeAddressCity",
                                         "HomeAddressState",
                                         "HomeAddressPostalCode",
                                         "HomeAddressCountry",
                                         "OtherAddressStreet",
                                         "OtherAddressCity",
                                         "OtherAddressState",
                                         "OtherAddressPostalCode",
                                         "OtherAddressCountry",
                                         "BusinessAddressStreet",
                                         "BusinessAddressCity",
                                         "BusinessAddressState",
                                         "BusinessAddressPostalCode",
                                         "BusinessAddressCountry",
                                         "RadioTelephoneNumber",
                                         "FileAs",
                                         "Body"};
constexpr int kTextCount = 45;
static_assert(std::size(kTextsInOrder) == kTextCount);

uint32_t ChecksumOf(ContactTexts texts, std::map<std::string, DATE> dates = {}) {
  ComPtr<FakeContact> contact(new FakeContact({1, std::move(texts), std::move(dates)}));
  return ContactChecksum(*contact);
}

// The checksum when the nth text in order (counted from 1) is absent: the fake allocates one string for
// each text that is asked for.
uint32_t ChecksumWithAbsentText(int nth, const ContactTexts& texts) {
  FailAllocation(nth);
  const uint32_t checksum = ChecksumOf(texts);
  FailAllocation(0);
  return checksum;
}

class Checksum : public testing::Test {
 protected:
  FakePim pim_;
};

TEST_F(Checksum, IsAdler32OverDatesAsDoublesAndTextsAsTheirUnitsLowByteFirst) {
  // Both numbers were computed by another implementation of Adler-32 over bytes laid out by hand.
  EXPECT_EQ(ChecksumOf({}), 541066381u);
  EXPECT_EQ(ChecksumOf({{"CompanyName", u"Lee & Sons"},
                        {"MobileTelephoneNumber", u"+49 170 1234567"},
                        {"FirstName", u"Ann"},
                        {"LastName", u"Lee"},
                        {"Body", u"g\u00FCnstig\r\n\u4E2D"}},
                       {{"Birthday", 22251.0}}),
            2291339550u);
}

TEST_F(Checksum, TakesTheTwoDatesAndThenThe45TextsInTheOrderOfTheirGetters) {
  ContactTexts texts;
  PlainAdler expected;
  expected.FeedDate(100.5);
  expected.FeedDate(200.25);
  for (const char* name : kTextsInOrder) {
    texts[name] = u"text of " + Wide(name);
    expected.FeedText(texts[name]);
  }
  EXPECT_EQ(ChecksumOf(texts, {{"Birthday", 100.5}, {"Anniversary", 200.25}}), expected.Value());
}

TEST_F(Checksum, ChangesWithEveryProperty) {
  const uint32_t before = ChecksumOf({});
  for (const char* name : kTextsInOrder) EXPECT_NE(ChecksumOf({{name, u"a"}}), before) << name;
  for (const char* name : {"Birthday", "Anniversary"}) {
    EXPECT_NE(ChecksumOf({}, {{name, 1.0}}), before) << name;
  }
}

TEST_F(Checksum, IsTheSameForTheSameContent) {
  const ContactTexts texts = {{"FirstName", u"Ann"}, {"Body", u"Call back"}};
  EXPECT_EQ(ChecksumOf(texts), ChecksumOf(texts));
}

TEST_F(Checksum, TakesATextOfAnyLengthWhole) {
  // Beyond 5552 bytes the sums are reduced in between.
  const std::u16string text(100000, u'\uFFFF');
  PlainAdler expected;
  expected.FeedDate(DATE_NONE);
  expected.FeedDate(DATE_NONE);
  expected.FeedText(text);
  EXPECT_EQ(ChecksumOf({{"Body", text}}), expected.Value());
}

TEST_F(Checksum, StartsAgainAtAnAbsentText) {
  const ContactTexts texts = {
      {"CompanyName", u"Lee & Sons"}, {"FileAs", u"Lee, Ann"}, {"Body", u"Call back"}};
  EXPECT_EQ(ChecksumWithAbsentText(45, texts), 1u) << "nothing comes after Body";
  EXPECT_EQ(ChecksumWithAbsentText(44, texts), 516424494u) << "only Body counts";
  EXPECT_EQ(ChecksumWithAbsentText(43, texts), 1637483949u) << "FileAs and Body count";
}

TEST_F(Checksum, DoesNotNoticeAChangeInATextThatAnAbsentOneFollows) {
  const ContactTexts before = {{"CompanyName", u"Lee & Sons"}, {"Body", u"Call back"}};
  const ContactTexts after = {{"CompanyName", u"Lee & Daughters"}, {"Body", u"Call back"}};
  EXPECT_NE(ChecksumOf(before), ChecksumOf(after));
  EXPECT_EQ(ChecksumWithAbsentText(3, before), ChecksumWithAbsentText(3, after));
  EXPECT_NE(ChecksumWithAbsentText(1, before), ChecksumWithAbsentText(1, after))
      << "the absent text comes first";
}

TEST_F(Checksum, AnEmptyTextIsNoAbsentOne) {
  EXPECT_EQ(ChecksumOf({{"Body", u""}}), ChecksumOf({}));
  EXPECT_NE(ChecksumOf({}), ChecksumWithAbsentText(45, {}));
}

// ---- From the PIM -----------------------------------------------------------------------------------

class PoomSnapshot : public support::TextTest {
 protected:
  PoomSnapshot() { CreateFake(); }

  void CreateFake() { support::CreateFakeApplication(IID_IPOutlookApp, application_.put_void()); }

  FakePim pim_;
  ComPtr<IPOutlookApp> application_;
  CPoomEntries snapshot_;
};

TEST_F(PoomSnapshot, OfTheContactsHoldsTheIdAndTheChecksumOfEach) {
  pim_.next_oid = 0x1a2f4;
  const ContactTexts ann = {{"FirstName", u"Ann"}};
  const ContactTexts bob = {{"FirstName", u"Bob"}};
  pim_.Keep(ann);
  pim_.Keep(bob);
  EXPECT_TRUE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
  EXPECT_THAT(EntriesOf(snapshot_), ElementsAre(std::pair(0x1a2f4u, ChecksumOf(ann)),
                                                std::pair(0x1a2f5u, ChecksumOf(bob))));
  EXPECT_THAT(pim_.folders_asked, ElementsAre(10));
}

TEST_F(PoomSnapshot, OfAnEmptyStoreIsEmpty) {
  EXPECT_TRUE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
  EXPECT_EQ(snapshot_.size(), 0u);
}

TEST_F(PoomSnapshot, OfTheCalendarTakesTheAppointmentsAndThenTheTasks) {
  EXPECT_TRUE(snapshot_.getFromPoom(OSIF_STORE_CAL, application_.get()));
  EXPECT_THAT(pim_.folders_asked, ElementsAre(9, 13));
}

TEST_F(PoomSnapshot, ReleasesWhatItObtained) {
  pim_.Keep({{"FirstName", u"Ann"}});
  const int before = pim_.live_objects;
  EXPECT_TRUE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
  EXPECT_EQ(pim_.live_objects, before);
}

TEST_F(PoomSnapshot, TellsTheTraceWhatItReads) {
  TraceReceiver trace;
  EXPECT_TRUE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
  EXPECT_THAT(
      trace.Lines(),
      ElementsAre(MatchesRegex("OSIF:  CPoomEntries::getFromPoom\\(store_id=0, pPolApp=.+\\)"),
                  MatchesRegex("OSIF:  CPoomEntries::getEntriesFromFolder\\(pPolApp=.+, "
                               "olFolderType=10\\)")));
}

TEST_F(PoomSnapshot, RefusesTheStoresThatHaveNone) {
  for (int32_t store_id : {2, 3, 4, 5, 6, -1}) {
    TraceReceiver trace;
    EXPECT_FALSE(snapshot_.getFromPoom(store_id, application_.get())) << store_id;
    const std::string number = std::to_string(store_id);
    EXPECT_THAT(
        trace.Lines(),
        ElementsAre(
            StartsWith("OSIF:  CPoomEntries::getFromPoom(store_id=" + number + ", pPolApp="),
            "OSIF:  CPoomEntries::getFromPoom - Invalid store ID: " + number + "."));
  }
  EXPECT_THAT(pim_.folders_asked, IsEmpty());
}

TEST_F(PoomSnapshot, NeedsAnApplication) {
  TraceReceiver trace;
  EXPECT_FALSE(snapshot_.getFromPoom(OSIF_STORE_PB, nullptr));
  EXPECT_THAT(trace.Lines(),
              ElementsAre(StartsWith("OSIF:  CPoomEntries::getFromPoom(store_id=0, pPolApp="),
                          "OSIF:  CPoomEntries::getFromPoom - Poom Interface not opened."));
}

TEST_F(PoomSnapshot, FailsWithoutAFolder) {
  TraceReceiver trace;
  pim_.faults.get_default_folder = E_FAIL;
  EXPECT_FALSE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
  EXPECT_THAT(trace.Lines(),
              ElementsAre(StartsWith("OSIF:  CPoomEntries::getFromPoom(store_id=0, pPolApp="),
                          StartsWith("OSIF:  CPoomEntries::getEntriesFromFolder(pPolApp="),
                          "OSIF:  CPoomEntries::getEntriesFromFolder - GetDefaultFolder failed "
                          "(0x80004005)"));
}

TEST_F(PoomSnapshot, FailsWithoutTheItemsOfAFolder) {
  TraceReceiver trace;
  pim_.faults.get_items = E_OUTOFMEMORY;
  EXPECT_FALSE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
  EXPECT_THAT(
      trace.Lines(),
      ElementsAre(StartsWith("OSIF:  CPoomEntries::getFromPoom(store_id=0, pPolApp="),
                  StartsWith("OSIF:  CPoomEntries::getEntriesFromFolder(pPolApp="),
                  "OSIF:  CPoomEntries::getEntriesFromFolder - get_Items failed (0x8007000e)"));
}

TEST_F(PoomSnapshot, FailsWithoutTheCountOfTheItems) {
  pim_.faults.get_count = E_FAIL;
  EXPECT_FALSE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
}

TEST_F(PoomSnapshot, FailsWithoutOneOfTheItems) {
  pim_.Keep({{"FirstName", u"Ann"}});
  pim_.faults.item = E_FAIL;
  EXPECT_FALSE(snapshot_.getFromPoom(OSIF_STORE_PB, application_.get()));
}

TEST_F(PoomSnapshot, AppendsTheItemsOfOneFolder) {
  snapshot_.put(99, 1);
  pim_.Keep({{"FirstName", u"Ann"}});
  EXPECT_TRUE(snapshot_.getEntriesFromFolder(application_.get(), olFolderContacts));
  EXPECT_THAT(EntriesOf(snapshot_),
              ElementsAre(std::pair(99u, 1u), std::pair(1u, ChecksumOf({{"FirstName", u"Ann"}}))));
}

// ---- The object log ---------------------------------------------------------------------------------

class ObjectLog : public support::TextTest {
 protected:
  ObjectLog() { std::filesystem::create_directory(Path("")); }

  std::string Path(const std::string& name) const { return device_.Path("Sync/" + name); }
  std::string LogPath() const { return Path("pol_pb_object.log"); }
  WideText Folder() const { return Wide(device_.Path("Sync")); }

  Entries Read(std::string_view bytes) {
    PutBytes(LogPath(), bytes);
    EXPECT_TRUE(snapshot_.getFromFile(OSIF_STORE_PB, Folder()));
    return EntriesOf(snapshot_);
  }

  CPoomEntries snapshot_;
};

TEST_F(ObjectLog, HasALineForEachEntryInTheirOrder) {
  snapshot_.put(0x1a2f4, 2812543071);
  snapshot_.put(1, 0);
  snapshot_.put(0xFFFFFFFF, 4294967295);
  EXPECT_TRUE(snapshot_.saveToFile(OSIF_STORE_PB, Folder()));
  EXPECT_EQ(BytesOf(LogPath()), "0001a2f4:2812543071\n00000001:0\nffffffff:4294967295\n");
}

TEST_F(ObjectLog, OfAnEmptySnapshotIsEmpty) {
  PutBytes(LogPath(), "00000001:1\n");
  EXPECT_TRUE(snapshot_.saveToFile(OSIF_STORE_PB, Folder()));
  EXPECT_EQ(BytesOf(LogPath()), "");
}

TEST_F(ObjectLog, IsNamedByItsStore) {
  snapshot_.put(1, 2);
  EXPECT_TRUE(snapshot_.saveToFile(OSIF_STORE_CAL, Folder() + u"\\"));
  EXPECT_EQ(BytesOf(Path("pol_cal_object.log")), "00000001:2\n");
  EXPECT_FALSE(FileExists(LogPath()));
}

TEST_F(ObjectLog, IsTheOnlyFileThatIsLeftOfSavingIt) {
  snapshot_.put(1, 2);
  EXPECT_TRUE(snapshot_.saveToFile(OSIF_STORE_PB, Folder()));
  EXPECT_TRUE(snapshot_.saveToFile(OSIF_STORE_PB, Folder()));
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(Path(""))) {
    names.push_back(file.path().filename());
  }
  EXPECT_THAT(names, ElementsAre("pol_pb_object.log"));
}

TEST_F(ObjectLog, ReadsBackAChecksumOf32Bits) {
  EXPECT_THAT(Read("0001a2f4:4294967295\n"), ElementsAre(std::pair(0x1a2f4u, 4294967295u)));
}

TEST_F(ObjectLog, ReadsBackWhatItSaved) {
  for (uint32_t i = 1; i <= 1000; ++i) snapshot_.put(i * 4294967u, i * 2654435761u);
  const Entries saved = EntriesOf(snapshot_);
  EXPECT_TRUE(snapshot_.saveToFile(OSIF_STORE_PB, Folder()));
  CPoomEntries read;
  EXPECT_TRUE(read.getFromFile(OSIF_STORE_PB, Folder()));
  EXPECT_EQ(EntriesOf(read), saved);
}

TEST_F(ObjectLog, IsReadInPlaceOfWhatTheSnapshotHeld) {
  snapshot_.put(9, 90);
  EXPECT_THAT(Read("00000001:10\n"), ElementsAre(std::pair(1u, 10u)));
  uint32_t checksum = 0;
  EXPECT_FALSE(snapshot_.find(9, &checksum));
}

TEST_F(ObjectLog, ThatIsMissingIsAnEmptySnapshot) {
  snapshot_.put(9, 90);
  EXPECT_TRUE(snapshot_.getFromFile(OSIF_STORE_PB, Folder()));
  EXPECT_EQ(snapshot_.size(), 0u);
  EXPECT_TRUE(snapshot_.getFromFile(OSIF_STORE_PB, Wide(device_.Path("no such folder"))));
}

TEST_F(ObjectLog, HasLinesWithoutAColonSkipped) {
  EXPECT_THAT(Read("garbage\n00000001:10\n\n00000002\n00000003:30\n"),
              ElementsAre(std::pair(1u, 10u), std::pair(3u, 30u)));
}

TEST_F(ObjectLog, HasALineWithoutAnIdSkipped) {
  EXPECT_THAT(Read("xyz:10\n:20\n00000003:30\n"), ElementsAre(std::pair(3u, 30u)));
}

TEST_F(ObjectLog, TakesIdsInEitherCaseAndOfFewerDigits) {
  EXPECT_THAT(Read("0001A2F4:1\n2a:2\nFFFFFFFF:3\n 0x2b:4\n"),
              ElementsAre(std::pair(0x1a2f4u, 1u), std::pair(0x2au, 2u), std::pair(0xFFFFFFFFu, 3u),
                          std::pair(0x2bu, 4u)));
}

TEST_F(ObjectLog, TakesCrLfAndALastLineWithoutALineEnd) {
  EXPECT_THAT(Read("00000001:10\r\n00000002:20"),
              ElementsAre(std::pair(1u, 10u), std::pair(2u, 20u)));
}

TEST_F(ObjectLog, GivesTheChecksumOfTheFirstLineOfAnId) {
  EXPECT_EQ(Read("00000001:10\n00000001:20\n").size(), 2u);
  uint32_t checksum = 0;
  EXPECT_TRUE(snapshot_.find(1, &checksum));
  EXPECT_EQ(checksum, 10u);
}

TEST_F(ObjectLog, WithGarbageAndLongLinesAndNumbersThatRunOverIsReadWithoutHarm) {
  std::string bytes = "00000001:10\n" + std::string(1 << 20, 'z') + "\n";
  bytes += std::string(600, 'f') + ":1\n";
  bytes += "00000002:" + std::string(400, '9') + "\n";
  bytes += std::string("\0\0:\0\xFF\xFE\n", 7);
  bytes += "-1:5\n00000003:30\n";
  Read(bytes);
  uint32_t checksum = 0;
  EXPECT_TRUE(snapshot_.find(1, &checksum));
  EXPECT_EQ(checksum, 10u);
  EXPECT_TRUE(snapshot_.find(3, &checksum));
  EXPECT_EQ(checksum, 30u);
}

TEST_F(ObjectLog, OfAHundredThousandLinesIsReadInOneGo) {
  std::string bytes;
  for (int i = 1; i <= 100000; ++i) {
    char line[32];
    std::snprintf(line, sizeof line, "%08x:%u\n", static_cast<unsigned>(i),
                  static_cast<unsigned>(i) * 3);
    bytes += line;
  }
  Read(bytes);
  EXPECT_EQ(snapshot_.size(), 100000u);
  uint32_t checksum = 0;
  EXPECT_TRUE(snapshot_.find(100000, &checksum));
  EXPECT_EQ(checksum, 300000u);
}

TEST_F(ObjectLog, TellsTheTraceWhatIsReadAndWritten) {
  PutBytes(LogPath(), "");
  TraceReceiver trace;
  EXPECT_TRUE(snapshot_.getFromFile(OSIF_STORE_PB, u"\\Sync"));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  CPoomEntries::getFromFile(store_id=0, pszPath='\\Sync')",
                          "OSIF:  Unable to open file '\\Sync\\pol_pb_object.log' in mode 'r'"));
  EXPECT_TRUE(snapshot_.saveToFile(OSIF_STORE_PB, Folder()));
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  CPoomEntries::saveToFile(store_id=0, pszPath='" +
                                         device_.Path("Sync") + "')"));
}

TEST_F(ObjectLog, StaysAsItWasWhenTheDiskIsFull) {
  PutBytes(LogPath(), "00000001:2\n");
  for (uint32_t id = 1; id <= 100; ++id) snapshot_.put(id, 7);
  const support::FullDisk full(100);
  EXPECT_FALSE(snapshot_.saveToFile(OSIF_STORE_PB, Folder()));
  EXPECT_EQ(BytesOf(LogPath()), "00000001:2\n");
}

TEST_F(ObjectLog, ThatCannotBeWrittenIsToldInTheTrace) {
  snapshot_.put(1, 2);
  TraceReceiver trace;
  EXPECT_FALSE(snapshot_.saveToFile(OSIF_STORE_PB, Wide(device_.Path("no such folder"))));
  EXPECT_THAT(
      trace.Lines(),
      ElementsAre(StartsWith("OSIF:  CPoomEntries::saveToFile(store_id=0, pszPath='"),
                  StartsWith("OSIF:  Unable to open file '"),
                  "OSIF:  CPoomEntries::saveToFile - Couldn't open object log file (code=1)."));
}

}  // namespace
}  // namespace pol_snapshot_test

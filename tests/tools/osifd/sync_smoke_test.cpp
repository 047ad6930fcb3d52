// osif sync between two devices, of which one is served: what people do with it day by day.
#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::sync_smoke_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// The served device is the test's own; the command works on another one.
class SyncSmoke : public OsifdTest {
 protected:
  void StoreHere(const Lines& lines, const std::string& way = "--add") const {
    EXPECT_EQ(Osif({"--device", here_, "receive", way, Write("here.vcf", Card(lines))}).status, 0);
  }
  void StoreThere(const Lines& lines, const std::string& way = "--add") const {
    EXPECT_EQ(Osif({"receive", way, Write("there.vcf", Card(lines))}).status, 0);
  }

  // Serves the other device for one run.
  Outcome Sync(Lines options = {}) {
    StartService();
    options.insert(options.begin(),
                   {"--device", here_, "sync", "127.0.0.1:" + std::to_string(port_)});
    Outcome outcome = Osif(options);
    EndService();
    return outcome;
  }

  // A store as one line for each object, without what only numbers it.
  Lines All(const std::string& device, const std::string& store = "pb") const {
    const bool is_card = store == "pb";
    const std::string file = Path("all");
    EXPECT_EQ(Osif({"--device", device, "export", store, "-o", file, "--as",
                    is_card ? "vcard21" : "vcal10"})
                  .status,
              0);
    Lines objects;
    for (const std::string& line : Outcome::Split(support::BytesOf(file))) {
      const std::string begin = is_card ? "BEGIN:VCARD" : "BEGIN:VEVENT";
      if (line.starts_with(begin)) objects.emplace_back();
      const bool is_content = !line.starts_with("X-IRMC-LUID") && !line.starts_with("UID") &&
                              !line.starts_with("END:VCALENDAR");
      if (objects.empty() || !is_content) continue;
      objects.back() += line;
    }
    std::sort(objects.begin(), objects.end());
    return objects;
  }
  void ExpectEqual(size_t count, const std::string& store = "pb") const {
    const Lines here = All(here_, store);
    EXPECT_EQ(here, All(device_, store));
    EXPECT_EQ(here.size(), count);
  }

  const std::string here_ = Path("here");
};

TEST_F(SyncSmoke, MakesTwoDevicesEqualTheFirstTime) {
  StoreHere({"N:Lee;Ann", "TEL;CELL:1"});
  StoreHere({"N:Ray;Bob", "TEL;CELL:2"});
  StoreThere({"TEL;CELL:1", "N:Lee;Ann"});
  StoreThere({"N:Kay;Cid", "TEL;CELL:3"});
  const Outcome first = Sync();
  EXPECT_EQ(first.status, 0) << first.err;
  ASSERT_EQ(first.OutLines().size(), 2U);
  EXPECT_THAT(first.OutLines()[0], StartsWith("pb: first synchronisation with OSIF "));
  EXPECT_THAT(first.OutLines()[0],
              HasSubstr(": 1 received, 1 sent, 0 deleted here, 0 deleted there, 1 equal"));
  ExpectEqual(3);
  const Outcome second = Sync();
  EXPECT_EQ(second.status, 0);
  EXPECT_EQ(second.out, "pb: nothing to do\ncal: nothing to do\n");
}

TEST_F(SyncSmoke, TakesChangesBothWays) {
  StoreHere({"N:Lee;Ann", "TEL;CELL:1", "NOTE:old"});
  StoreHere({"N:Ray;Bob", "TEL;CELL:2"});
  StoreThere({"N:Kay;Cid", "TEL;CELL:3"});
  Sync();
  StoreHere({"N:Lee;Ann", "TEL;CELL:1", "NOTE:new"}, "-v");
  StoreThere({"N:Kay;Cid", "TEL;CELL:3", "TITLE:Cook"}, "-v");
  StoreThere({"N:Moe;Dan", "TEL;CELL:4"});
  EXPECT_EQ(Osif({"--device", here_, "delete", "pb", "2"}).status, 0);
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "pb: 2 received, 1 sent, 0 deleted here, 1 deleted there\n");
  ExpectEqual(3);
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncSmoke, TakesTheCalendarAndComparesItWholeWhenAsked) {
  const std::string tea =
      Event({"SUMMARY:Tea", "DTSTART:20050314T101500Z", "DTEND:20050314T111500Z"});
  const std::string sup =
      Event({"SUMMARY:Sup", "DTSTART:20050314T181500Z", "DTEND:20050314T191500Z"});
  Osif({"--device", here_, "receive", Write("tea.vcs", tea)});
  Osif({"receive", Write("sup.vcs", sup)});
  EXPECT_THAT(Sync({"cal"}).out, HasSubstr(": 1 received, 1 sent,"));
  ExpectEqual(2, "cal");
  const Outcome slow = Sync({"cal", "--slow"});
  EXPECT_EQ(slow.status, 0);
  EXPECT_EQ(slow.out,
            "cal: compared whole (as asked): 0 received, 0 sent, 0 deleted here, 0 deleted there, "
            "2 equal\n");
}

TEST_F(SyncSmoke, LeavesAConflictUntilASideIsPreferred) {
  StoreHere({"N:Lee;Ann", "TEL;CELL:1"});
  Sync();
  StoreHere({"N:Lee;Ann", "TEL;CELL:1", "NOTE:here"}, "-v");
  StoreThere({"N:Lee;Ann", "TEL;CELL:1", "NOTE:there"}, "-v");
  for (int run = 0; run < 2; ++run) {
    const Outcome outcome = Sync({"pb"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(
        outcome.ErrLines(),
        ElementsAre("osif: pb 00000001 (Ann Lee) and 00000001 there: changed on both sides; "
                    "--prefer decides"));
  }
  EXPECT_NE(All(here_), All(device_));
  const Outcome outcome = Sync({"pb", "--prefer", "there", "-v"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("overwritten here:"));
  EXPECT_THAT(outcome.out, HasSubstr("  NOTE:here"));
  ExpectEqual(1);
  EXPECT_THAT(All(here_).at(0), HasSubstr("NOTE:there"));
}

TEST_F(SyncSmoke, DoesNothingInADryRun) {
  StoreHere({"N:Lee;Ann"});
  StoreThere({"N:Ray;Bob"});
  const Outcome outcome = Sync({"pb", "--dry-run", "-v"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.OutLines(), ElementsAre("pb 00000001 there Bob Ray: would be received",
                                              "pb 00000001 Ann Lee: would be sent",
                                              HasSubstr("1 would be received, 1 would be sent")));
  EXPECT_FALSE(std::filesystem::exists(here_ + "/sync.db"));
  EXPECT_EQ(All(here_).size(), 1U);
  EXPECT_EQ(All(device_).size(), 1U);
}

TEST_F(SyncSmoke, AsksBeforeItDeletesMostOfAStore) {
  Lines ids;
  for (int i = 1; i <= 5; ++i) {
    StoreHere({"N:Lee;Ann" + std::to_string(i), "TEL;CELL:" + std::to_string(i)});
    ids.push_back(std::to_string(i));
  }
  Sync();
  Lines all = {"--device", here_, "delete", "pb"};
  all.insert(all.end(), ids.begin(), ids.end());
  EXPECT_EQ(Osif(all).status, 0);
  const Outcome refused = Sync({"pb"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("5 of 5 objects would be deleted there, nothing was done; "
                                     "--force-delete does it"));
  EXPECT_EQ(Count("pb"), "5");
  EXPECT_EQ(Sync({"pb", "--force-delete"}).out,
            "pb: 0 received, 0 sent, 0 deleted here, 5 deleted there\n");
  EXPECT_EQ(Count("pb"), "0");
}

TEST_F(SyncSmoke, TellsInJsonWhatAStoresRunDid) {
  StoreHere({"N:Lee;Ann"});
  StartService();
  const Outcome outcome =
      Osif({"--device", here_, "--json", "sync", "127.0.0.1:" + std::to_string(port_), "pb"});
  ASSERT_EQ(outcome.JsonLines().size(), 1U);
  Json json = outcome.JsonLines().at(0);
  EXPECT_EQ(json["partner"].get<std::string>().size(), 16U);
  json.erase("partner");
  EXPECT_EQ(json, Json::parse(R"({"store":"pb","kind":"first","received":0,"sent":1,
      "deleted_here":0,"deleted_there":0,"paired":0,"conflicts":[],"refused":[],"complete":true})"));
}

TEST_F(SyncSmoke, DoesNotSynchroniseADeviceWithItself) {
  StartService();
  const Outcome outcome = Osif({"sync", "127.0.0.1:" + std::to_string(port_)});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("is this device itself"));
}

TEST_F(SyncSmoke, KnowsNoOtherStoresAndNoOtherSides) {
  EXPECT_EQ(Osif({"sync", "127.0.0.1:1", "note"}).status, 2);
  EXPECT_EQ(Osif({"sync", "127.0.0.1:1", "--prefer", "me"}).status, 2);
  EXPECT_EQ(Osif({"sync"}).status, 2);
  EXPECT_EQ(Osif({"sync", "127.0.0.1:1"}).status, 1);
}

}  // namespace
}  // namespace osifd_test::sync_smoke_test

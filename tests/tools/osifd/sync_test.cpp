// Synchronisation as a peer sees it: the names, the texts and the answers of IrMC 1.1.
#include <regex>

#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::sync_test {
namespace {

using support::ObexParameters;
using support::ObexTag;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr uint8_t kMostCounter = 0x11;
constexpr uint8_t kHardDelete = 0x12;

const std::string kAnn = Card({"N:Lee;Ann", "TEL;WORK;VOICE:123"});
const std::string kBob = Card({"N:Ray;Bob"});
const std::string kTea =
    Event({"SUMMARY:Tea", "DTSTART:20050314T101500Z", "DTEND:20050314T111500Z"});
const std::string kTask =
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:Sweep\r\nEND:VTODO\r\nEND:"
    "VCALENDAR\r\n";

class OsifdSync : public OsifdTest {
 protected:
  OsifdSync() { StartService(); }

  static std::string Body(ObexClient& client, const std::string& name) {
    const ObexAnswer answer = client.Get(name);
    EXPECT_EQ(answer.code, kSuccess) << name;
    return answer.body;
  }

  // The value of a "FIELD:value" line.
  static std::string Field(const std::string& text, const std::string& field) {
    for (const std::string& line : Outcome::Split(text)) {
      if (line.starts_with(field + ":")) {
        return line.substr(field.size() + 1, line.find('\r') - field.size() - 1);
      }
    }
    ADD_FAILURE() << "no " << field << " in\n" << text;
    return {};
  }

  // The lines of a change log after its head.
  static std::string Changes(ObexClient& client, const std::string& name) {
    std::string text = Body(client, name);
    const size_t head = text.find("\r\nMaximum-Records:");
    EXPECT_NE(head, std::string::npos) << text;
    return text.substr(text.find("\r\n", head + 2) + 2);
  }

  static std::string Add(ObexClient& client, const std::string& object) {
    const bool is_card = object.starts_with("BEGIN:VCARD");
    const ObexAnswer answer =
        client.Put(is_card ? "telecom/pb/luid/.vcf" : "telecom/cal/luid/.vcs", object);
    EXPECT_EQ(answer.code, kSuccess);
    return answer.luid();
  }
};

// ---- The connection ---------------------------------------------------------------------------------------------

TEST_F(OsifdSync, IsAnsweredWithAnIdAndTheTargetAsItself) {
  ObexClient client = Client();
  const ObexAnswer answer = client.ConnectToSync();
  EXPECT_EQ(answer.code, kSuccess);
  EXPECT_EQ(answer.headers.substr(0, 1), "\xCB");
  EXPECT_EQ(answer.Find(0x4A), "IRMC-SYNC");
}

TEST_F(OsifdSync, OfAnotherTargetIsForbiddenAndLogged) {
  ObexClient client = Client();
  EXPECT_EQ(client.Connect("IRMC-PARTY").code, 0xC3);
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["refused"], 1);
  EXPECT_EQ(session["reasons"], Json::array({"a service that is not offered"}));
}

// ---- What a device says of itself ---------------------------------------------------------------------------------

TEST_F(OsifdSync, ShowsTheDevice) {
  ObexClient client = SyncClient();
  const std::string text = Body(client, "telecom/devinfo.txt");
  const std::string number = Field(text, "SN");
  EXPECT_TRUE(std::regex_match(number, std::regex("[0-9a-f]{16}"))) << number;
  const std::string version = Field(text, "SW-VERSION");
  EXPECT_THAT(Osif({"--version"}).out, testing::StartsWith("osif " + version + "\n"));
  EXPECT_EQ(text, "MANU:OSIF\r\nMOD:osifd\r\nSW-VERSION:" + version +
                      "\r\nIRMC-VERSION:1.1\r\nSN:" + number +
                      "\r\nPB-TYPE-TX:VCARD2.1\r\nPB-TYPE-RX:VCARD2.1\r\n"
                      "CAL-TYPE-TX:VCAL1.0\r\nCAL-TYPE-RX:VCAL1.0\r\n"
                      "MSG-TYPE-TX:NONE\r\nMSG-TYPE-RX:VMSG1.1\r\n"
                      "NOTE-TYPE-TX:NONE\r\nNOTE-TYPE-RX:VNOTE1.1\r\n"
                      "INBOX:MULTIPLE\r\nMSG-SENT-BOX:NO\r\n");
}

TEST_F(OsifdSync, KeepsItsSerialNumberAndNoOtherDeviceHasIt) {
  ObexClient client = SyncClient();
  const std::string number = Field(Body(client, "telecom/devinfo.txt"), "SN");
  EndService();
  StartService();
  ObexClient again = SyncClient();
  EXPECT_EQ(Field(Body(again, "telecom/devinfo.txt"), "SN"), number);
  EndService();
  StartService({"--device", Path("other")});
  ObexClient other = SyncClient();
  EXPECT_NE(Field(Body(other, "telecom/devinfo.txt"), "SN"), number);
}

TEST_F(OsifdSync, ShowsTheTimeOfTheMachineInUtc) {
  ObexClient client = SyncClient();
  const std::string text = Body(client, "telecom/rtc.txt");
  EXPECT_TRUE(std::regex_match(text, std::regex("20[0-9]{6}T[0-9]{6}Z\r\n"))) << text;
  EXPECT_EQ(client.Put("telecom/rtc.txt", "20050314T101500\r\n").code, 0xC3);
}

TEST_F(OsifdSync, ShowsWhatAStoreOffers) {
  ObexClient client = SyncClient();
  Add(client, kAnn);
  Add(client, kBob);
  const std::string rest = "Maximum-Records:1000000\r\nIEL:16\r\nHD:YES\r\nSAT:CC\r\nDID:";
  const std::string contacts = Body(client, "telecom/pb/info.log");
  const std::string calendar = Body(client, "telecom/cal/info.log");
  client.Disconnect();
  const auto id = [&](const std::string& store) {
    return Osif({"database-id", store}).OutLines().at(0);
  };
  EXPECT_EQ(contacts, "Total-Records:2\r\nLast-Used-Index:2\r\n" + rest + id("pb") + "\r\n");
  EXPECT_EQ(calendar, "Total-Records:0\r\nLast-Used-Index:0\r\n" + rest + id("cal") + "\r\n");
}

// ---- Whole stores and positions -----------------------------------------------------------------------------------

TEST_F(OsifdSync, GivesAllContactsOneAfterTheOtherWithTheirIds) {
  Store(kAnn + kBob);
  ObexClient client = SyncClient();
  EXPECT_EQ(Body(client, "telecom/pb.vcf"),
            Card({"N:Lee;Ann;;;", "TEL;WORK;VOICE:123", "X-IRMC-LUID:00000001"}) +
                Card({"N:Ray;Bob;;;", "X-IRMC-LUID:00000002"}));
}

TEST_F(OsifdSync, GivesTheCalendarInOneFrameWithAnIdInEachItem) {
  Store(kTea + kTask);
  ObexClient client = SyncClient();
  const std::string text = Body(client, "telecom/cal.vcs");
  Lines frame;
  for (const std::string& line : Outcome::Split(text)) {
    for (const char* kept : {"BEGIN:", "END:", "SUMMARY:", "X-IRMC-LUID:", "VERSION:"}) {
      if (line.starts_with(kept)) frame.push_back(line);
    }
  }
  EXPECT_THAT(frame, ElementsAre("BEGIN:VCALENDAR\r", "VERSION:1.0\r", "BEGIN:VEVENT\r",
                                 "SUMMARY:Tea\r", "X-IRMC-LUID:00000001\r", "END:VEVENT\r",
                                 "BEGIN:VTODO\r", "SUMMARY:Sweep\r", "X-IRMC-LUID:00000002\r",
                                 "END:VTODO\r", "END:VCALENDAR\r"));
}

TEST_F(OsifdSync, GivesAnEmptyTextForAnEmptyStore) {
  ObexClient client = SyncClient();
  EXPECT_EQ(Body(client, "telecom/pb.vcf"), "");
  EXPECT_EQ(Body(client, "telecom/cal.vcs"), "");
}

TEST_F(OsifdSync, GivesMoreThanAPacketHolds) {
  std::string cards;
  Lines expected;
  for (int i = 0; i < 200; ++i) {
    const std::string name = "N:Family" + std::to_string(i) + ";";
    cards += Card({name, "NOTE:" + std::string(100, 'x')});
    expected.push_back(name + ";;;\r");
  }
  Store(cards);
  ObexClient client = SyncClient();
  Lines names;
  for (const std::string& line : Outcome::Split(Body(client, "telecom/pb.vcf"))) {
    if (line.starts_with("N:")) names.push_back(line);
  }
  EXPECT_EQ(names, expected);
}

TEST_F(OsifdSync, GivesAnObjectByItsPosition) {
  Store(kAnn + kBob);
  ObexClient client = SyncClient();
  EXPECT_EQ(Body(client, "telecom/pb/2.vcf"), Card({"N:Ray;Bob;;;", "X-IRMC-LUID:00000002"}));
  EXPECT_EQ(client.Get("telecom/pb/3.vcf").code, 0xC4);
  EXPECT_EQ(client.Put("telecom/pb/2.vcf", kAnn).code, 0xC3);
  EXPECT_EQ(client.Put("telecom/pb.vcf", kAnn).code, 0xC3);
}

TEST_F(OsifdSync, GivesTheOwnersCardAsNumberZeroAndFirstOfAll) {
  Store(kAnn + kBob);
  ObexClient before = SyncClient();
  EXPECT_EQ(before.Get("telecom/pb/0.vcf").code, 0xC4);
  before.Disconnect();
  Osif({"settings", "BusinessCard", "00000002"});
  ObexClient client = SyncClient();
  const std::string bob = Card({"N:Ray;Bob;;;", "X-IRMC-LUID:00000002"});
  EXPECT_EQ(Body(client, "telecom/pb/0.vcf"), bob);
  EXPECT_EQ(Body(client, "telecom/pb.vcf"),
            Card({"N:Ray;Bob;;;"}) +
                Card({"N:Lee;Ann;;;", "TEL;WORK;VOICE:123", "X-IRMC-LUID:00000001"}) + bob);
  EXPECT_EQ(client.Get("telecom/cal/0.vcs").code, 0xC4);
}

// ---- Names ----------------------------------------------------------------------------------------------------------

TEST_F(OsifdSync, TakesNamesInAnyCaseAndWithASlashBefore) {
  Store(kBob);
  ObexClient client = SyncClient();
  EXPECT_EQ(Body(client, "/Telecom/PB/Luid/00000001.VCF"),
            Card({"N:Ray;Bob;;;", "X-IRMC-LUID:00000001"}));
}

TEST_F(OsifdSync, DoesNotFindWhatIsNotOfTheTree) {
  Store(kBob);
  ObexClient client = SyncClient();
  for (const char* name : {"",
                           "telecom",
                           "telecom/",
                           "telecom/pb",
                           "telecom/pb/luid/.vcf",
                           "telecom/pb/luid/1.vcf",
                           "telecom/pb/luid/00000009.vcf",
                           "telecom/pb/luid/../1.vcf",
                           "telecom/../device.db",
                           "telecom/pb/luid/x.log",
                           "telecom/cal/luid/00000001.vcf",
                           "telecom/ich.vcf",
                           "device.db",
                           "telecom/nt.vnt",
                           "telecom/nt.vcf",
                           "telecom/nt/info.log",
                           "telecom/nt/luid/0.log",
                           "telecom/msg/in.vmg",
                           "telecom/msg/in/info.log",
                           "telecom/msg/in/1.vmg",
                           "telecom/msg/in/luid/00000001.vmg",
                           "telecom/msg/in/luid/cc.log",
                           "telecom/mmh.vmg"}) {
    EXPECT_EQ(client.Get(name).code, 0xC4) << name;
  }
  for (const char* name : {"telecom/push.txt", "telecom/nt/luid/.vnt", "telecom/msg/out.vmg",
                           "telecom/pb/info.log", "one.vcf"}) {
    EXPECT_EQ(client.Put(name, kAnn).code, 0xC4) << name;
  }
  client.Disconnect();
  EXPECT_EQ(Count("pb"), "1");
}

// ---- Change logs ------------------------------------------------------------------------------------------------------

TEST_F(OsifdSync, CountsChangesAndListsThemByTheirLatest) {
  ObexClient client = SyncClient();
  EXPECT_EQ(Body(client, "telecom/pb/luid/cc.log"), "0\r\n");
  const std::string ann = Add(client, kAnn);
  const std::string bob = Add(client, kBob);
  client.Put("telecom/pb/luid/" + ann + ".vcf", Card({"N:Lee;Anna", "TEL;WORK;VOICE:123"}));
  client.Delete("telecom/pb/luid/" + bob + ".vcf", ObexParameters(ObexTag(kHardDelete, {})));
  EXPECT_EQ(Body(client, "telecom/pb/luid/cc.log"), "4\r\n");

  const std::string number = Field(Body(client, "telecom/devinfo.txt"), "SN");
  const std::string database = Field(Body(client, "telecom/pb/info.log"), "DID");
  EXPECT_EQ(Body(client, "telecom/pb/luid/0.log"),
            "SN:" + number + "\r\nDID:" + database +
                "\r\nTotal-Records:1\r\nMaximum-Records:1000000\r\n"
                "M:3::00000001\r\nH:4::00000002\r\n");
  EXPECT_EQ(Changes(client, "telecom/pb/luid/3.log"), "H:4::00000002\r\n");
  EXPECT_EQ(Changes(client, "telecom/pb/luid/4.log"), "");
}

TEST_F(OsifdSync, ListsWhatOthersChangedBeforeItsFirstLook) {
  Store(kAnn);
  ObexClient client = SyncClient();
  EXPECT_EQ(Changes(client, "telecom/pb/luid/0.log"), "M:1::00000001\r\n");
}

TEST_F(OsifdSync, AnswersACounterThatNeverWasWithAStar) {
  ObexClient client = SyncClient();
  Add(client, kAnn);
  EXPECT_EQ(Changes(client, "telecom/pb/luid/2.log"), "*\r\n");
  EXPECT_EQ(Changes(client, "telecom/pb/luid/4294967295.log"), "*\r\n");
}

// The log keeps 250 changes.
TEST_F(OsifdSync, AnswersAGapWithAStar) {
  ObexClient client = SyncClient();
  const std::string ann = Add(client, kAnn);
  for (int i = 0; i < 300; ++i) Add(client, Card({"N:Family" + std::to_string(i) + ";"}));
  client.Disconnect();  // the log is cut when it is closed
  ASSERT_EQ(client.ConnectToSync().code, kSuccess);
  EXPECT_EQ(Changes(client, "telecom/pb/luid/0.log"), "*\r\n");
  EXPECT_EQ(Changes(client, "telecom/pb/luid/1.log"), "*\r\n");
  EXPECT_EQ(Changes(client, "telecom/pb/luid/300.log"), "M:301::0000012d\r\n");
}

// ---- Adding, changing, deleting ---------------------------------------------------------------------------------------

TEST_F(OsifdSync, AnswersAnAdditionWithTheNewIdThenTheCounter) {
  ObexClient client = SyncClient();
  Add(client, kBob);
  const ObexAnswer answer = client.Put("telecom/pb/luid/.vcf", kAnn);
  EXPECT_EQ(answer.code, kSuccess);
  EXPECT_EQ(answer.Find(0x4C), ObexTag(0x01, "00000002") + ObexTag(0x02, "2"));
  EXPECT_EQ(Body(client, "telecom/pb/luid/00000002.vcf"),
            Card({"N:Lee;Ann;;;", "TEL;WORK;VOICE:123", "X-IRMC-LUID:00000002"}));
  client.Disconnect();
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Bob Ray\n00000002  Ann Lee\n");
}

TEST_F(OsifdSync, AddsOneMoreOfWhatIsThereAlready) {
  ObexClient client = SyncClient();
  EXPECT_EQ(Add(client, kAnn), "00000001");
  EXPECT_EQ(Add(client, kAnn), "00000002");
}

TEST_F(OsifdSync, AddsEventsAndTasks) {
  ObexClient client = SyncClient();
  EXPECT_EQ(Add(client, kTea), "00000001");
  EXPECT_EQ(Add(client, kTask), "00000002");
  const std::string tea = Body(client, "telecom/cal/luid/00000001.vcs");
  EXPECT_TRUE(tea.starts_with("BEGIN:VCALENDAR\r\nVERSION:1.0\r\n")) << tea;
  EXPECT_THAT(
      tea, HasSubstr("\r\nSUMMARY:Tea\r\nDTSTART:20050314T101500Z\r\nDTEND:20050314T111500Z\r\n"));
  EXPECT_TRUE(tea.ends_with("\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n")) << tea;
  client.Disconnect();
  EXPECT_EQ(Osif({"--json", "list", "cal"}).JsonLines(),
            (std::vector<Json>{{{"store", "cal"},
                                {"id", "00000001"},
                                {"name", "Tea"},
                                {"kind", "event"},
                                {"start", "20050314T101500Z"}},
                               {{"store", "cal"},
                                {"id", "00000002"},
                                {"name", "Sweep"},
                                {"kind", "todo"},
                                {"start", nullptr}}}));
}

TEST_F(OsifdSync, KeepsTheIdOfWhatIsChanged) {
  ObexClient client = SyncClient();
  const std::string ann = Add(client, kAnn);
  const ObexAnswer answer = client.Put("telecom/pb/luid/" + ann + ".vcf",
                                       Card({"N:Lee;Anna", "TEL;WORK;VOICE:123", "TEL;CELL:45"}));
  EXPECT_EQ(answer.Find(0x4C), ObexTag(0x01, ann) + ObexTag(0x02, "2"));
  EXPECT_EQ(Body(client, "telecom/pb/luid/" + ann + ".vcf"),
            Card({"N:Lee;Anna;;;", "TEL;WORK;VOICE:123", "TEL;CELL:45", "X-IRMC-LUID:" + ann}));
}

TEST_F(OsifdSync, TakesAwayWhatAChangedContactLacks) {
  ObexClient client = SyncClient();
  const std::string ann =
      Add(client, Card({"N:Lee;Ann", "TEL;WORK;VOICE:123", "NOTE:likes tea", "TITLE:Cook"}));
  const ObexAnswer answer =
      client.Put("telecom/pb/luid/" + ann + ".vcf", Card({"N:Lee;Ann", "TITLE:Cook"}));
  EXPECT_EQ(answer.code, kSuccess);
  EXPECT_EQ(Body(client, "telecom/pb/luid/" + answer.luid() + ".vcf"),
            Card({"N:Lee;Ann;;;", "TITLE:Cook", "X-IRMC-LUID:" + answer.luid()}));
  EXPECT_EQ(Body(client, "telecom/pb/luid/cc.log"), answer.counter() + "\r\n");
  client.Disconnect();
  EXPECT_EQ(Osif({"list", "pb"}).out, answer.luid() + "  Ann Lee\n");
}

TEST_F(OsifdSync, TakesAwayANumberThatHasMoved) {
  ObexClient client = SyncClient();
  const std::string ann = Add(client, Card({"N:Lee;Ann", "TEL;WORK;VOICE:123"}));
  const ObexAnswer answer =
      client.Put("telecom/pb/luid/" + ann + ".vcf", Card({"N:Lee;Ann", "TEL;HOME;VOICE:123"}));
  EXPECT_EQ(Body(client, "telecom/pb/luid/" + answer.luid() + ".vcf"),
            Card({"N:Lee;Ann;;;", "TEL;HOME;VOICE:123", "X-IRMC-LUID:" + answer.luid()}));
}

TEST_F(OsifdSync, TakesAwayWhatAChangedEventLacks) {
  ObexClient client = SyncClient();
  const std::string tea =
      Add(client, Event({"SUMMARY:Tea", "DTSTART:20050314T101500Z", "DTEND:20050314T111500Z",
                         "LOCATION:Garden", "RRULE:W1 MO #0", "DALARM:20050314T100000Z"}));
  const ObexAnswer answer = client.Put("telecom/cal/luid/" + tea + ".vcs", kTea);
  EXPECT_EQ(answer.code, kSuccess);
  const std::string now = Body(client, "telecom/cal/luid/" + answer.luid() + ".vcs");
  EXPECT_THAT(now, HasSubstr("\r\nSUMMARY:Tea\r\n"));
  for (const char* gone : {"LOCATION", "RRULE", "DALARM"}) EXPECT_THAT(now, Not(HasSubstr(gone)));
  client.Disconnect();
  EXPECT_EQ(Count("cal"), "1");
}

TEST_F(OsifdSync, AChangedEventWithTheSameFieldsKeepsItsId) {
  ObexClient client = SyncClient();
  const std::string tea = Add(client, kTea);
  const std::string as_sent = Body(client, "telecom/cal/luid/" + tea + ".vcs");
  const ObexAnswer answer = client.Put("telecom/cal/luid/" + tea + ".vcs",
                                       std::regex_replace(as_sent, std::regex("Tea"), "Cake"));
  EXPECT_EQ(answer.luid(), tea);
  EXPECT_EQ(answer.counter(), "2");
}

TEST_F(OsifdSync, DeletesInWhicheverWayItIsAsked) {
  ObexClient client = SyncClient();
  const std::string hard = ObexParameters(ObexTag(kHardDelete, {}));
  const std::string most = ObexTag(kMostCounter, "99");
  const std::string empty_end = support::ObexBytes(0x49, {});
  int counter = 0;
  for (const std::string& headers :
       {std::string(), hard, hard + support::ObexLength(0) + empty_end,
        ObexParameters(most + ObexTag(kHardDelete, {})), ObexParameters(most), empty_end}) {
    const std::string id = Add(client, kAnn);
    const ObexAnswer answer = client.Delete("telecom/pb/luid/" + id + ".vcf", headers);
    EXPECT_EQ(answer.code, kSuccess);
    counter += 2;
    EXPECT_EQ(answer.Find(0x4C), ObexTag(0x01, id) + ObexTag(0x02, std::to_string(counter)));
    EXPECT_EQ(client.Get("telecom/pb/luid/" + id + ".vcf").code, 0xC4);
  }
  client.Disconnect();
  EXPECT_EQ(Count("pb"), "0");
}

TEST_F(OsifdSync, DoesNotFindWhatIsGone) {
  ObexClient client = SyncClient();
  const std::string name = "telecom/pb/luid/" + Add(client, kAnn) + ".vcf";
  client.Delete(name);
  EXPECT_EQ(client.Delete(name).code, 0xC4);
  EXPECT_EQ(client.Put(name, kBob).code, 0xC4);
  EXPECT_EQ(client.Get(name).code, 0xC4);
  EXPECT_EQ(Body(client, "telecom/pb/luid/cc.log"), "2\r\n");
}

TEST_F(OsifdSync, RefusesWhatIsNoObjectOfTheStore) {
  ObexClient client = SyncClient();
  EXPECT_EQ(client.Put("telecom/pb/luid/.vcf", "Hello").code, 0xC0);
  EXPECT_EQ(client.Put("telecom/pb/luid/.vcf", kTea).code, 0xC0);
  EXPECT_EQ(client.Put("telecom/pb/luid/.vcf", "").code, 0xC0);
  EXPECT_EQ(Body(client, "telecom/pb/luid/cc.log"), "0\r\n");
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["refused"], 3);
  EXPECT_EQ(session["reasons"][1], "pb: an object for another store");
}

// ---- Others ---------------------------------------------------------------------------------------------------------

TEST_F(OsifdSync, AChangeAfterAnotherThanThePeerKnowsIsAConflict) {
  ObexClient client = SyncClient();
  const auto most = [](const char* counter) {
    return ObexParameters(ObexTag(kMostCounter, counter));
  };
  EXPECT_EQ(client.Put("telecom/pb/luid/.vcf", kAnn, most("1")).code, kSuccess);
  EXPECT_EQ(client.Put("telecom/pb/luid/.vcf", kBob, most("1")).code, 0xC9);
  EXPECT_EQ(client.Put("telecom/pb/luid/00000001.vcf", kBob, most("1")).code, 0xC9);
  EXPECT_EQ(client.Delete("telecom/pb/luid/00000001.vcf", most("1")).code, 0xC9);
  EXPECT_EQ(Body(client, "telecom/pb/luid/cc.log"), "1\r\n");
  EXPECT_EQ(client.Delete("telecom/pb/luid/00000001.vcf", most("2")).code, kSuccess);
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["reasons"][0], "pb: the store was changed by others");
  EXPECT_EQ(session["refused"], 3);
}

TEST_F(OsifdSync, OfAStoreThatAnotherSynchronisesIsTurnedAway) {
  ObexClient first = SyncClient();
  Body(first, "telecom/pb/info.log");
  ObexClient second = SyncClient();
  EXPECT_EQ(second.Get("telecom/pb/info.log").code, 0xD3);
  EXPECT_EQ(second.Put("telecom/pb/luid/.vcf", kAnn).code, 0xD3);
  Body(second, "telecom/cal/info.log");
  EXPECT_EQ(first.Get("telecom/cal/info.log").code, 0xD3);
  first.Disconnect();
  Body(second, "telecom/pb/info.log");
  second.Close();
  const std::vector<Json> sessions = Sessions(1);
  EXPECT_EQ(sessions[0]["reasons"],
            Json::array({"pb: the store is in use", "pb: the store is in use"}));
}

TEST_F(OsifdSync, IsBookedWithWhatCameAndWent) {
  ObexClient client = SyncClient();
  const std::string ann = Add(client, kAnn);
  const std::string bob = Add(client, kBob);
  client.Put("telecom/pb/luid/" + bob + ".vcf", Card({"N:Ray;Bobby"}));
  client.Get("telecom/pb/luid/" + bob + ".vcf");
  client.Delete("telecom/pb/luid/" + ann + ".vcf");
  client.Disconnect();
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_TRUE(session["peer"].get<std::string>().starts_with("tcp 127.0.0.1:"));
  EXPECT_EQ(session["service"], "sync");
  EXPECT_EQ(session["added"], 2);
  EXPECT_EQ(session["updated"], 1);
  EXPECT_EQ(session["deleted"], 1);
  EXPECT_EQ(session["sent"], 1);
  EXPECT_EQ(session["refused"], 0);
  EXPECT_EQ(session["ending"], "closed by the peer");
  EXPECT_LE(session["began"].get<int64_t>(), session["ended"].get<int64_t>());
}

}  // namespace
}  // namespace osifd_test::sync_test

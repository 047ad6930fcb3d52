// Object push as a peer sees it, and what the owner finds afterwards.
#include <algorithm>

#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::push_test {
namespace {

using support::ObexType;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

const std::string kAnn = Card({"N:Lee;Ann", "TEL;WORK;VOICE:123"});
const std::string kBob = Card({"N:Ray;Bob"});

class OsifdPush : public OsifdTest {
 protected:
  // A connection to the default service.
  ObexClient PushClient() const {
    ObexClient client(port_);
    EXPECT_EQ(client.Connect().code, kSuccess);
    return client;
  }

  Lines FilesOf(const std::string& folder) const {
    Lines files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      files.push_back(entry.path().filename());
    }
    return files;
  }
};

// ---- What is stored ---------------------------------------------------------------------------------------------

TEST_F(OsifdPush, StoresAContactAndAnswersWhenItIsStored) {
  StartService();
  ObexClient client = Client();
  const ObexAnswer connected = client.Connect();
  EXPECT_EQ(connected.code, kSuccess);
  EXPECT_EQ(connected.headers, "");
  EXPECT_EQ(client.Put("ann.vcf", kAnn).code, kSuccess);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
  EXPECT_THAT(Sent("pb", "00000001"), testing::Contains("TEL;WORK;VOICE:123"));
}

// The disk is one of the service's own, which nobody else sees.
TEST_F(OsifdPush, OnAFullDiskIsAnsweredSoAndCostsNothingThatIsStored) {
  std::filesystem::create_directory(device_);
  const Lines on_small_disk = {"/usr/bin/unshare",
                               "--mount",
                               "/bin/sh",
                               "-c",
                               "mount -t tmpfs -o size=1500k none '" + device_ +
                                   "' || { echo no mount; exit 77; }; exec \"$@\"",
                               "sh"};
  if (!std::filesystem::exists(on_small_disk[0])) GTEST_SKIP() << "no way to mount";
  if (Run({"/usr/bin/unshare", "--mount", "/bin/sh", "-c", "mount -t tmpfs none " + device_})
          .status != 0) {
    GTEST_SKIP() << "nothing can be mounted here";
  }
  StartService({}, on_small_disk);
  ObexClient client = PushClient();
  EXPECT_EQ(client.Put("ann.vcf", kAnn).code, kSuccess);
  std::string many;
  for (int i = 0; i < 2000; ++i) {
    many += Card({"N:Many;Number" + std::to_string(i), "NOTE:" + std::string(900, 'x')});
  }
  EXPECT_EQ(client.Put("many.vcf", many).code, 0xE0);
  client.Disconnect();
  ObexClient reader = SyncClient();
  EXPECT_THAT(reader.Get("telecom/pb/luid/00000001.vcf").body, HasSubstr("N:Lee;Ann"));
}

TEST_F(OsifdPush, NeedsNoConnect) {
  StartService();
  ObexClient client = Client();
  EXPECT_EQ(client.Put("ann.vcf", kAnn).code, kSuccess);
  EXPECT_EQ(Count("pb"), "1");
}

TEST_F(OsifdPush, UpdatesWhatIsThereAlready) {
  StartService();
  ObexClient client = PushClient();
  client.Put("ann.vcf", kAnn);
  EXPECT_EQ(client.Put("ann.vcf", Card({"N:Lee;Ann", "TEL;WORK;VOICE:123", "TITLE:Cook"})).code,
            kSuccess);
  EXPECT_EQ(Count("pb"), "1");
  EXPECT_THAT(Sent("pb", "00000001"), testing::Contains("TITLE:Cook"));
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["service"], "push");
  EXPECT_EQ(session["added"], 1);
  EXPECT_EQ(session["updated"], 1);
}

TEST_F(OsifdPush, StoresSeveralObjectsOfOneBodyInTheirStores) {
  StartService();
  ObexClient client = PushClient();
  const std::string note = "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:Milk\r\nEND:VNOTE\r\n";
  EXPECT_EQ(
      client.Put("all.vcf", kAnn + Event({"SUMMARY:Tea", "DTSTART:20050314T101500Z"}) + note + kBob)
          .code,
      kSuccess);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000003  Bob Ray\n");
  EXPECT_THAT(Osif({"list", "cal"}).out, HasSubstr("00000002  event  20050314T101500Z  Tea"));
  EXPECT_THAT(Osif({"notes"}).out, HasSubstr("Milk"));
}

TEST_F(OsifdPush, StoresNotes) {
  StartService();
  ObexClient client = PushClient();
  EXPECT_EQ(client
                .Put("list.vnt", "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:Milk\r\nEND:VNOTE\r\n",
                     ObexType("text/x-vnote"))
                .code,
            kSuccess);
  EXPECT_EQ(Osif({"notes", "Milk"}).out, "Milk\n");
}

TEST_F(OsifdPush, StoresMessages) {
  StartService();
  ObexClient client = PushClient();
  const std::string message =
      "BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-BOX:INBOX\r\n"
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nTEL:123\r\nEND:VCARD\r\n"
      "BEGIN:VENV\r\nBEGIN:VBODY\r\nHello\r\nEND:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n";
  EXPECT_EQ(client.Put("one.vmg", message, ObexType("text/x-vmsg")).code, kSuccess);
  client.Close();
  EXPECT_EQ(Sessions(1).at(0)["added"], 1);
  AwaitLog("added, store msg-in, id ");
}

struct Dialect {
  const char* name;
  const char* type;
  std::string bytes;
  const char* store;
  const char* object;  // its name
};

class OsifdDialect : public OsifdPush, public testing::WithParamInterface<Dialect> {};

TEST_P(OsifdDialect, IsStored) {
  StartService();
  ObexClient client = PushClient();
  EXPECT_EQ(client.Put("object", GetParam().bytes, ObexType(GetParam().type)).code, kSuccess);
  const std::vector<Json> stored = Osif({"--json", "list", GetParam().store}).JsonLines();
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0]["name"], GetParam().object);
}

INSTANTIATE_TEST_SUITE_P(
    All, OsifdDialect,
    testing::Values(
        Dialect{"VCard30", "text/vcard",
                "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lee;Ann;;;\r\nFN:Ann Lee\r\nEND:VCARD\r\n", "pb",
                "Ann Lee"},
        Dialect{"VCard40", "text/vcard; charset=utf-8",
                "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:J\xC3\xB6rg "
                "Lee\r\nN:Lee;J\xC3\xB6rg;;;\r\nEND:VCARD\r\n",
                "pb", "J\xC3\xB6rg Lee"},
        Dialect{"LinesOfOtherSystems", "TEXT/X-VCARD",
                "BEGIN:VCARD\nVERSION:2.1\nN:Lee;Ann\nEND:VCARD\n", "pb", "Ann Lee"},
        Dialect{"ICalendar20", "text/calendar",
                "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:x\r\nBEGIN:VEVENT\r\nUID:1@x\r\n"
                "DTSTAMP:20050314T101500Z\r\nDTSTART:20050314T101500Z\r\nSUMMARY:Tea\r\n"
                "END:VEVENT\r\nEND:VCALENDAR\r\n",
                "cal", "Tea"},
        Dialect{"WithoutAType", "", "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nEND:VCARD\r\n",
                "pb", "Ann Lee"},
        Dialect{"OfAnyType", "application/octet-stream",
                "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nEND:VCARD\r\n", "pb", "Ann Lee"}),
    [](const auto& row) { return row.param.name; });

// ---- What is refused --------------------------------------------------------------------------------------------

TEST_F(OsifdPush, RefusesWithACodeAndKeepsTheReason) {
  StartService();
  ObexClient client = PushClient();
  EXPECT_EQ(client.Put("photo.jpg", "\xFF\xD8\xFF", ObexType("image/jpeg")).code, 0xCF);
  EXPECT_EQ(client.Put("letter.txt", "Hello").code, 0xCF);
  EXPECT_EQ(client.Put("empty.vcf", "").code, 0xCF);
  EXPECT_EQ(client.Delete("ann.vcf").code, 0xC3);
  EXPECT_EQ(client.Put("/Telecom/pb/luid/.vcf", kAnn).code, 0xC3);
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["refused"], 5);
  EXPECT_EQ(session["reasons"],
            Json::array({"objects of type image/jpeg are not taken", "no object is in it",
                         "nothing is in it", "to delete is for those who synchronise",
                         "/Telecom/pb/luid/.vcf is for those who synchronise"}));
  for (const Json& reason : session["reasons"]) {
    EXPECT_THAT(Log(), HasSubstr("refused, reason " + reason.get<std::string>() + "\n"));
  }
  EXPECT_EQ(Count("pb"), "0");
}

TEST_F(OsifdPush, LooksAtANameThatComesAfterTheBody) {
  StartService();
  ObexClient client = PushClient();
  EXPECT_EQ(client.Exchange(0x02, support::ObexBytes(0x48, kAnn)).code, 0x90);
  EXPECT_EQ(
      client.PutHeaders(support::ObexName("telecom/pb/luid/.vcf") + support::ObexBytes(0x49, {}))
          .code,
      0xC3);
  EXPECT_EQ(client.Exchange(0x02, support::ObexBytes(0x48, kAnn)).code, 0x90);
  EXPECT_EQ(client.PutHeaders(ObexType("image/jpeg") + support::ObexBytes(0x49, {})).code, 0xCF);
  EXPECT_EQ(Count("pb"), "0");
}

TEST_F(OsifdPush, StoresTheGoodObjectsOfABodyAndTellsOfTheBadOne) {
  StartService();
  ObexClient client = PushClient();
  const std::string cut =
      "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
  const int code = client.Put("all.vcf", kAnn + cut + kBob).code;
  EXPECT_EQ(code, 0xC0);
  EXPECT_EQ(Count("pb"), "2");
  client.Close();
  EXPECT_EQ(Sessions(1).at(0)["refused"], 1);
}

TEST_F(OsifdPush, WhatWasAbortedIsNotStored) {
  StartService();
  ObexClient client = PushClient();
  EXPECT_EQ(
      client.Exchange(0x02, support::ObexName("ann.vcf") + support::ObexBytes(0x48, kAnn)).code,
      0x90);
  EXPECT_EQ(client.Exchange(0xFF, {}).code, kSuccess);
  EXPECT_EQ(client.Put("bob.vcf", kBob).code, kSuccess);
  EXPECT_EQ(
      client.Exchange(0x02, support::ObexName("ann.vcf") + support::ObexBytes(0x48, kAnn)).code,
      0x90);
  client.Close();
  EXPECT_EQ(Sessions(1).at(0)["added"], 1);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Bob Ray\n");
}

TEST_F(OsifdPush, WhatAPeerSendsDoesNotSteerATerminal) {
  StartService();
  ObexClient client = PushClient();
  client.Put("x", "x", ObexType("image/\x1B[2Jx\ny"));
  client.Close();
  Sessions(1);
  EXPECT_THAT(Log(), HasSubstr("objects of type image/ [2Jx y are not taken"));
}

// ---- The owner's card -------------------------------------------------------------------------------------------

TEST_F(OsifdPush, GivesTheOwnersCardAndNothingElse) {
  StartService();
  Store(kAnn + kBob);
  ObexClient client = PushClient();
  const std::string type = ObexType("text/x-vcard");
  EXPECT_EQ(client.GetHeaders(type).code, 0xC4);
  Osif({"settings", "BusinessCard", "00000002"});
  const ObexAnswer card = client.GetHeaders(type);
  EXPECT_EQ(card.code, kSuccess);
  EXPECT_EQ(card.body, Card({"N:Ray;Bob;;;"}));
  EXPECT_EQ(card.Find(0xC3), std::string({0, 0, 0, static_cast<char>(card.body.size())}));
  EXPECT_EQ(client.Get("", type).body, card.body);
  EXPECT_EQ(client.Get("bob.vcf", type).code, 0xC3);
  EXPECT_EQ(client.GetHeaders(ObexType("text/x-vcardx")).code, 0xC3);
  EXPECT_EQ(client.GetHeaders(ObexType("text/x-vcalendar")).code, 0xC3);
  EXPECT_EQ(client.GetHeaders({}).code, 0xC3);
  EXPECT_EQ(client.Get("telecom/pb.vcf").code, 0xC3);
  Osif({"delete", "pb", "00000002"});
  EXPECT_EQ(client.GetHeaders(type).code, 0xC4);
}

// ---- Waiting ------------------------------------------------------------------------------------------------------

TEST_F(OsifdPush, WaitsForAStoreThatIsSynchronised) {
  StartService();
  ObexClient holder = SyncClient();
  EXPECT_EQ(holder.Get("telecom/pb/info.log").code, kSuccess);
  std::thread pushing([&] {
    ObexClient client = PushClient();
    EXPECT_EQ(client.Put("ann.vcf", kAnn).code, kSuccess);
  });
  AwaitLog("connected to push");
  EXPECT_EQ(holder.Put("telecom/pb/luid/.vcf", kBob).code, kSuccess);
  holder.Disconnect();
  pushing.join();
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Bob Ray\n00000002  Ann Lee\n");
}

// ---- The inbox ----------------------------------------------------------------------------------------------------

TEST_F(OsifdPush, IsKeptAsItCameBesideTheStore) {
  const std::string inbox = Path("inbox");
  std::filesystem::create_directory(inbox);
  StartService({"--inbox", inbox});
  ObexClient client = PushClient();
  const std::string old = "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann;;;\nFN:Ann\nEND:VCARD\n";
  EXPECT_EQ(client.Put("ann.vcf", old).code, kSuccess);
  EXPECT_EQ(client.Put("ann.vcf", kBob).code, kSuccess);
  EXPECT_EQ(Count("pb"), "2");
  EXPECT_THAT(FilesOf(inbox), UnorderedElementsAre("ann.vcf", "1-ann.vcf"));
  EXPECT_EQ(support::BytesOf(inbox + "/ann.vcf"), old);
  EXPECT_EQ(support::BytesOf(inbox + "/1-ann.vcf"), kBob);
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(inbox + "/ann.vcf").permissions(),
            perms::owner_read | perms::owner_write);
}

TEST_F(OsifdPush, IsKeptAndNotStoredWithInboxOnly) {
  const std::string inbox = Path("inbox");
  std::filesystem::create_directory(inbox);
  StartService({"--inbox", inbox, "--inbox-only"});
  ObexClient client = PushClient();
  EXPECT_EQ(client.Put("notes.txt", "Hello", ObexType("text/plain")).code, kSuccess);
  EXPECT_EQ(client.Put("ann.vcf", kAnn).code, kSuccess);
  EXPECT_EQ(Count("pb"), "0");
  EXPECT_THAT(FilesOf(inbox), UnorderedElementsAre("notes.txt", "ann.vcf"));
}

TEST_F(OsifdPush, IsKeptInTheInboxAloneWhateverItsNameIs) {
  const std::string inbox = Path("inbox");
  std::filesystem::create_directory(inbox);
  StartService({"--inbox", inbox, "--inbox-only"});
  ObexClient client = PushClient();
  for (const char* name : {"../../a.vcf", "/etc/b.vcf", "C:\\windows\\c.vcf", "..", ".d", "e\nf",
                           "", "telecom.vcf", "$(g)"}) {
    EXPECT_EQ(client.Put(name, "x").code, kSuccess) << name;
  }
  const std::u16string long_name(300, u'\u00F6');
  client.PutHeaders(support::ObexText(0x01, long_name) + support::ObexBytes(0x49, "x"));
  client.PutHeaders(support::ObexText(0x01, u"h\u202Efcv.exe") + support::ObexBytes(0x49, "x"));
  std::string cut;
  for (int i = 0; i < 50; ++i) cut += "\u00F6";
  EXPECT_THAT(FilesOf(inbox),
              UnorderedElementsAre("a.vcf", "b.vcf", "c.vcf", "_.", "_d", "e_f", "object",
                                   "telecom.vcf", "__g_", cut, "h_fcv.exe"));
}

}  // namespace
}  // namespace osifd_test::push_test

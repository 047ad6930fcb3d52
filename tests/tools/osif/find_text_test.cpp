// osif find TEXT: what holds a text, in all stores that can be read.
#include "tests/tools/osif/command_fixture.h"

namespace command_test::find_text_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CommandFindText : public CommandTest {
 protected:
  void Receive(const std::string& name, const std::string& text) const {
    const Outcome outcome = Osif({"receive", Write(name, text)});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }
  Lines Found(const std::string& text, const Lines& options = {}) const {
    Lines arguments = {"find", text};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = Osif(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.OutLines();
  }
};

TEST_F(CommandFindText, ShowsStoreIdNameAndProperties) {
  Store(Card({"N:Lee;Ann", "ORG:Harbour", "TEL;CELL:+1 555 0101", "NOTE:Met at the harbour"}) +
        Card({"N:Ray;Bob"}));
  EXPECT_THAT(Found("harbour"), ElementsAre("pb 00000001  Ann Lee  (org, note)"));
  EXPECT_THAT(Found("555 01"), ElementsAre("pb 00000001  Ann Lee  (tel)"));
  EXPECT_EQ(
      Osif({"find", "harbour", "--json"}).JsonLines(),
      (std::vector<Json>{
          {{"store", "pb"}, {"id", "00000001"}, {"name", "Ann Lee"}, {"found", {"org", "note"}}}}));
}

TEST_F(CommandFindText, FindsANameInEitherOrder) {
  Store(Card({"N:Lee;Ann"}) + Card({"N:Ray;Bob"}));
  EXPECT_THAT(Found("ann lee"), ElementsAre("pb 00000001  Ann Lee  (n)"));
  EXPECT_THAT(Found("Lee Ann"), ElementsAre("pb 00000001  Ann Lee  (n)"));
}

TEST_F(CommandFindText, DoesNotLookAtCaseOrAccents) {
  Store(Card({"N;CHARSET=UTF-8:M\xC3\xBC\xC3\x9Fig;J\xC3\xB6rg"}) +
        Card({"N;CHARSET=UTF-8:Fen\xC3\xAAtre;Aur\xC3\xA9lie"}));
  const std::string first = "pb 00000001  J\xC3\xB6rg M\xC3\xBC\xC3\x9Fig  (n)";
  EXPECT_THAT(Found("jorg"), ElementsAre(first));
  EXPECT_THAT(Found("J\xC3\x96RG"), ElementsAre(first));
  EXPECT_THAT(Found("MUSSIG"), ElementsAre(first));
  EXPECT_THAT(Found("fen\xC3\xAAtre").size(), 1u);
  EXPECT_THAT(Found("fenetre").size(), 1u);
}

TEST_F(CommandFindText, LooksThroughAllStores) {
  Store(Card({"N:Tide;High"}));
  Receive("a.ics",
          "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:1\r\nDTSTART:20260314T101500Z\r\n"
          "DTEND:20260314T111500Z\r\nSUMMARY:Boat\r\nLOCATION:At high tide\r\nEND:VEVENT\r\n"
          "BEGIN:VTODO\r\nUID:2\r\nSUMMARY:Ask for the tide\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
  Receive("a.vnt",
          "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:Beach\r\nBODY:low Tide at six\r\nEND:VNOTE\r\n");
  Receive(
      "a.vmg",
      "BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-TYPE:MSG\r\nX-BT-FOLDER:INBOX\r\n"
      "BEGIN:VENV\r\nBEGIN:VBODY\r\nDate: Mon, 14 Mar 2005 10:15:00 GMT\r\nFrom: "
      "ann@example.org\r\n"
      "Subject: Sailing\r\nMIME-Version: 1.0\r\nContent-Type: text/plain\r\n\r\n"
      "The tide will not wait.\r\nEND:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n");
  const Lines found = Found("tide");
  ASSERT_EQ(found.size(), 5u) << testing::PrintToString(found);
  EXPECT_EQ(found[0], "pb 00000001  High Tide  (n)");
  EXPECT_EQ(found[1], "cal 00000002  Boat (At high tide)  (location)");
  EXPECT_EQ(found[2], "cal 00000003  Ask for the tide  (summary)");
  EXPECT_EQ(found[3], "note Beach  Beach  (body)");
  EXPECT_THAT(found[4],
              testing::MatchesRegex("msg-in [0-9A-F]+  ann@example.org - Sailing  \\(text\\)"));
  EXPECT_THAT(Found("sailing"), ElementsAre(testing::EndsWith("Sailing  (subject)")));
  EXPECT_THAT(Found("ann@example"), ElementsAre(testing::EndsWith("Sailing  (from)")));
}

TEST_F(CommandFindText, SaysThatNothingWasFound) {
  Store(Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"find", "nobody"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "osif: nothing holds \"nobody\"\n");
}

TEST_F(CommandFindText, ANameOfAFileIsAFileUnlessItIsSaidToBeAText) {
  Store(Card({"N:Lee;Ann", "NOTE:see " + Path("received.vcf")}));
  EXPECT_THAT(Found(Received()), ElementsAre("1  pb 00000001  Ann Lee"));
  EXPECT_THAT(Found(Received(), {"--text"}), ElementsAre("pb 00000001  Ann Lee  (note)"));
}

TEST_F(CommandFindText, AnEmptyTextIsWrongUsage) {
  for (const char* text : {"", "  ", "\xCC\x81"}) {
    const Outcome outcome = Osif({"find", text, "--text"});
    EXPECT_EQ(outcome.status, 2) << text;
    EXPECT_THAT(outcome.err, HasSubstr("the text is empty"));
  }
  EXPECT_EQ(Osif({"find", "a", "--text", "--strict"}).status, 2);
}

TEST_F(CommandFindText, MakesNoLogsOfMessagesThatAreNotThere) {
  Store(Card({"N:Lee;Ann"}));
  EXPECT_THAT(Found("lee").size(), 1u);
  EXPECT_FALSE(std::filesystem::exists(device_ + "/Sync/msg-in"));
}

}  // namespace
}  // namespace command_test::find_text_test

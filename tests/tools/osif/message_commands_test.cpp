// Each subcommand on the three message stores. They can be written to, searched, and read by id, but not
// walked.
#include "tests/tools/osif/hostile_files.h"

namespace command_test::message_commands_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr const char* kStores[] = {"msg-in", "msg-sent", "msg-out"};
// No message ever had this id.
constexpr char kUnknownId[] = "000000004F534D0500000000000000FF";

// A body with these headers and this content.
std::string Body(const Lines& headers, const Lines& content) {
  return "BEGIN:VBODY\r\n" + Joined(headers) + "\r\n" + Joined(content) + "END:VBODY\r\n";
}
std::string Envelope(const std::string& body) { return "BEGIN:VENV\r\n" + body + "END:VENV\r\n"; }
std::string Wrapped(const Lines& properties, const std::string& inner) {
  return "BEGIN:VMSG\r\nVERSION:1.1\r\n" + Joined(properties) + inner + "END:VMSG\r\n";
}

constexpr char kDate[] = "Date:Fri, 13 Mar 2026 08:15:00 +0100";

// A message of that folder, of nine lines.
std::string Message(const std::string& folder, const std::string& subject,
                    const std::string& text = "Hello") {
  return Wrapped({"X-BT-FOLDER:" + folder}, Envelope(Body({kDate, "Subject:" + subject}, {text})));
}

// A message whose body has no envelope.
const std::string kRefusedMessage = Wrapped({}, Body({}, {"lost"}));

class CommandMessage : public CommandTest {
 protected:
  CommandMessage() : CommandTest(".vmg") {}

  // The ids of a file's messages, which are stored.
  Lines Store(const std::string& bytes) const {
    const Outcome outcome = Receive(bytes, {"--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    Lines ids;
    for (const Json& line : outcome.JsonLines()) ids.push_back(line["id"]);
    return ids;
  }
};

// ---- receive ------------------------------------------------------------------------------------------

TEST_F(CommandMessage, ReceiveStoresTheThreeMessagesOfTheSample) {
  const std::string file = support::kSources + "/samples/messages.vmg";
  const Outcome outcome = Osif({"receive", "--strict", "--json", file});
  EXPECT_EQ(outcome.status, 0);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(3));
  const char* names[] = {"petra.novak@example.org - Thursday's meeting",
                         "anna.smith@example.org - Re: Thursday's meeting",
                         "anna.smith@example.org - Plans"};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(lines[i]["number"], i + 1);
    EXPECT_EQ(lines[i]["store"], kStores[i]);
    EXPECT_EQ(lines[i]["action"], "added");
    EXPECT_THAT(lines[i]["id"].get<std::string>(), MatchesRegex("[0-9A-F]{32}"));
    EXPECT_EQ(lines[i]["name"], names[i]);
    EXPECT_EQ(lines[i]["result"], "ok");
    EXPECT_EQ(lines[i]["anchor"]["cc"], 1);
  }
}

struct FolderCase {
  const char* folder;
  const char* store;
};

class CommandMessageFolder : public CommandMessage,
                             public testing::WithParamInterface<FolderCase> {};

TEST_P(CommandMessageFolder, ChoosesTheStore) {
  const std::vector<Json> lines =
      Receive(Message(GetParam().folder, "Lunch"), {"--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0]["store"], GetParam().store);
  for (const char* store : kStores) {
    EXPECT_EQ(Osif({"changes", store}).OutLines().size(),
              store == std::string(GetParam().store) ? 1u : 0u);
  }
  const std::string id = lines[0]["id"];
  EXPECT_EQ(Osif({"find", "--strict", Received()}).out,
            "1  " + std::string(GetParam().store) + " " + id + "  Lunch\n");
}

INSTANTIATE_TEST_SUITE_P(Folders, CommandMessageFolder,
                         testing::Values(FolderCase{"INBOX", "msg-in"},
                                         FolderCase{"SENTBOX", "msg-sent"},
                                         FolderCase{"sentbox", "msg-sent"},
                                         FolderCase{"OUTBOX", "msg-out"},
                                         FolderCase{"OutBox", "msg-out"}, FolderCase{"", "msg-in"},
                                         FolderCase{"DRAFTS", "msg-in"}));

TEST_F(CommandMessage, AnIdMayBeGivenInSmallLettersToo) {
  const std::string id = Store(Message("INBOX", "Lunch")).at(0);
  std::string small = id;
  for (char& c : small) c = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
  EXPECT_NE(small, id) << "an id without letters tells nothing";
  EXPECT_EQ(Sent("msg-in", small), Sent("msg-in", id));
}

TEST_F(CommandMessage, ReceiveUpdatesTheMessageOfTheSameDateAndSubjectInItsFolder) {
  const Lines ids = Store(Message("INBOX", "Lunch"));
  const Outcome outcome = Receive(Message("INBOX", "Lunch", "Bye"));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, MatchesRegex(Received() + ": 0 added, 1 updated, 0 refused, " +
                                        "anchor msg-in 2 [0-9]+T[0-9]+Z\n"));
  EXPECT_THAT(Sent("msg-in", ids.at(0)), testing::Contains("Bye"));
}

TEST_F(CommandMessage, ReceiveAddsAMessageOfAnotherSubjectDateOrFolder) {
  Store(Message("INBOX", "Lunch"));
  const std::string later = Wrapped(
      {}, Envelope(Body({"Date:Fri, 13 Mar 2026 08:15:01 +0100", "Subject:Lunch"}, {"Hello"})));
  EXPECT_THAT(Receive(Message("INBOX", "lunch") + later + Message("OUTBOX", "Lunch")).out,
              HasSubstr(": 3 added, 0 updated"));
}

TEST_F(CommandMessage, ReceiveStoresAMessageWithAWarning) {
  const Outcome outcome =
      Receive(Wrapped({"X-A:1"}, Envelope(Body({kDate, "Subject:Lunch"}, {"Hello"}))));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err,
            "osif: " + Received() + ": object 1 (line 1) \"Lunch\": Parsing warning (code 19)\n");
}

TEST_F(CommandMessage, ReceiveSaysWhatARefusedMessageCostAndEachRecoversTheRest) {
  const std::string bytes =
      Message("INBOX", "Lunch") + kRefusedMessage + Message("SENTBOX", "Dinner");
  Outcome outcome = Receive(bytes);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre(
          "osif: " + Received() + ": object 2 (line 13) was refused: Parsing error (code 20)",
          "osif: " + Received() +
              ": 1 object was not reached, from line 20 on (--each reads every object by "
              "itself): Parsing error (code 20)"));
  EXPECT_THAT(outcome.out, HasSubstr(": 1 added, 0 updated, 1 refused, 1 not reached"));
  outcome = Receive(bytes, {"--each"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr(": 1 added, 1 updated, 1 refused (--trace shows why), "
                                     "anchor msg-sent 1 "));
}

TEST_F(CommandMessage, ARefusedMessageHasNoStoreInJson) {
  const std::vector<Json> lines = Receive(kRefusedMessage, {"--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0]["code"], 20);
  EXPECT_EQ(lines[1]["action"], "refused");
  EXPECT_EQ(lines[1]["store"], nullptr);
}

TEST_F(CommandMessage, TextLikeAMessageInABodyIsNoMessage) {
  const Lines ids = Store(Wrapped(
      {}, Envelope(Body({kDate, "Subject:Lunch"}, {"BEGIN:VMSG", "END:VMSG", "BEGIN:VCARD"}))));
  EXPECT_THAT(ids, SizeIs(1));
}

// ---- send ---------------------------------------------------------------------------------------------

TEST_F(CommandMessage, SendWritesTheMessageWithItsIdFolderAndTheTimeInUtc) {
  const Lines ids = Store(
      Wrapped({"X-IRMC-STATUS:UNREAD", "X-IRMC-TYPE:INET", "X-BT-FOLDER:SENTBOX"},
              Envelope(Body({kDate, "From:ann@example.org", "To:bob@example.org",
                             "Cc:cat@example.org", "Subject:Lunch", "Content-Type:text/plain"},
                            {"At noon?", "Ann"}))));
  EXPECT_THAT(
      Sent("msg-sent", ids.at(0)),
      ElementsAre("BEGIN:VMSG", "VERSION:1.1", "X-IRMC-STATUS:READ", "X-IRMC-TYPE:MSG",
                  "X-IRMC-LUID:" + ids.at(0), "X-BT-FOLDER:SENTBOX", "BEGIN:VENV", "BEGIN:VBODY",
                  "Date:Fri, 13 Mar 2026 07:15:00 UT", "From:ann@example.org", "To:bob@example.org",
                  "Cc:cat@example.org", "Subject:Lunch", "Content-Type:text/plain", "", "At noon?",
                  "Ann", "END:VBODY", "END:VENV", "END:VMSG"));
}

TEST_F(CommandMessage, WhatWasSentIsReceivedAndFoundOnAnotherDevice) {
  const Lines ids = Store(Message("OUTBOX", "Lunch"));
  const std::string file = Path("one.vmg");
  ASSERT_EQ(Osif({"send", "msg-out", ids.at(0), "-o", file}).status, 0);
  const std::string other = Path("other");
  EXPECT_THAT(Osif({"--device", other, "receive", "--strict", file}).out,
              HasSubstr("anchor msg-out 1 "));
  EXPECT_THAT(Osif({"--device", other, "find", "--strict", Received()}).out,
              MatchesRegex("1  msg-out [0-9A-F]{32}  Lunch\n"));
}

TEST_F(CommandMessage, IdsThatAreNoneAreRefusedByEachCommand) {
  Store(Message("INBOX", "Lunch"));
  const std::string file = Write("one.vmg", "old");
  // Among them one of odd length, one with a letter that is no digit, and one that is no text at all.
  for (const std::string id : {"", "zebra", "-", "1", "\xFF", "000000004F534D05000000000000000x"}) {
    const Outcome outcome = Osif({"send", "-o", file, "--", "msg-in", id});
    EXPECT_EQ(outcome.status, 2) << id;
    EXPECT_THAT(outcome.err, HasSubstr("\" is no id of msg-in: it ")) << id;
  }
  for (const std::string id : {kUnknownId, "00", "00000000000000000000000000000000"}) {
    const Outcome outcome = Osif({"send", "msg-in", id, "-o", file});
    EXPECT_EQ(outcome.status, 1) << id;
    EXPECT_EQ(outcome.err, "osif: msg-in " + id + ": General PIM Error (code 14)\n");
  }
  EXPECT_EQ(BytesOf(file), "old");
}

TEST_F(CommandMessage, AnIdOfAMillionDigitsIsRefused) {
  const Outcome outcome = Osif({"send", "msg-in", std::string(100'000, 'A')});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("osif: msg-in AAAA"));
}

// ---- find ---------------------------------------------------------------------------------------------

TEST_F(CommandMessage, FindLooksForDateAndSubjectInTheMessagesOwnFolder) {
  const Lines ids = Store(Message("INBOX", "Lunch") + Message("SENTBOX", "Dinner"));
  const std::string file =
      Write("find.vmg", Message("INBOX", "Dinner") + Message("SENTBOX", "Dinner", "other text") +
                            Message("OUTBOX", "Lunch") + Message("INBOX", "Lunch"));
  const Outcome outcome = Osif({"find", "--strict", "--json", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(
      outcome.JsonLines(),
      ElementsAre(Json{{"number", 1}, {"store", "msg-in"}, {"id", nullptr}, {"name", "Dinner"}},
                  Json{{"number", 2}, {"store", "msg-sent"}, {"id", ids.at(1)}, {"name", "Dinner"}},
                  Json{{"number", 3}, {"store", "msg-out"}, {"id", nullptr}, {"name", "Lunch"}},
                  Json{{"number", 4}, {"store", "msg-in"}, {"id", ids.at(0)}, {"name", "Lunch"}}));
}

// ---- What the stores do not offer ---------------------------------------------------------------------

TEST_F(CommandMessage, ListingCountingExportingAndDeletingAreNotImplemented) {
  const Lines ids =
      Store(Message("INBOX", "Lunch") + Message("SENTBOX", "Lunch") + Message("OUTBOX", "Lunch"));
  const std::string file = Write("all.vmg", "old");
  for (size_t i = 0; i < 3; ++i) {
    const std::string store = kStores[i];
    const std::vector<Lines> uses = {
        {"list", store}, {"count", store}, {"export", store, "-o", file}};
    for (const Lines& arguments : uses) {
      const Outcome outcome = Osif(arguments);
      EXPECT_EQ(outcome.status, 1) << arguments[0];
      EXPECT_EQ(outcome.out, "") << arguments[0];
      EXPECT_EQ(outcome.err, "osif: " + store + ": Not Implemented (code 16)\n") << arguments[0];
    }
    const Outcome outcome = Osif({"delete", store, ids.at(i)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "osif: " + store + " " + ids.at(i) + ": Not Implemented (code 16)\n");
    EXPECT_EQ(Osif({"send", store, ids.at(i)}).status, 0);
    EXPECT_THAT(Osif({"changes", store}).OutLines(), SizeIs(1));
  }
  EXPECT_EQ(BytesOf(file), "old");
}

TEST_F(CommandMessage, WhatIsNotImplementedIsToldInJson) {
  EXPECT_THAT(Osif({"count", "msg-out", "--json"}).JsonLines(),
              ElementsAre(Json{{"error", "msg-out"}, {"code", 16}, {"text", "Not Implemented"}}));
  EXPECT_THAT(Osif({"delete", "msg-in", "00", "--json"}).JsonLines(),
              ElementsAre(Json{{"error", "msg-in 00"}, {"code", 16}, {"text", "Not Implemented"}}));
}

// ---- changes and anchors ------------------------------------------------------------------------------

TEST_F(CommandMessage, ChangesTellsEachMessageOnceWithItsNameInTheLogOfItsStore) {
  const Lines ids =
      Store(Message("INBOX", "Lunch") + Message("INBOX", "Dinner") + Message("SENTBOX", "Tea"));
  Store(Message("INBOX", "Lunch", "again"));
  const std::vector<Json> lines = Osif({"changes", "msg-in", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0]["kind"], "M");
  EXPECT_EQ(lines[0]["cc"], 2);
  EXPECT_EQ(lines[0]["id"], ids.at(1));
  EXPECT_EQ(lines[0]["name"], "Dinner");
  EXPECT_EQ(lines[1]["cc"], 3);
  EXPECT_EQ(lines[1]["id"], ids.at(0));
  EXPECT_EQ(lines[1]["name"], "Lunch");
  EXPECT_THAT(Osif({"changes", "msg-sent"}).out,
              MatchesRegex("M  1  [0-9]+T[0-9]+Z  " + ids.at(2) + "  Tea\n"));
  EXPECT_THAT(Osif({"changes", "msg-in", "--since", "2"}).OutLines(), SizeIs(1));
  EXPECT_THAT(Osif({"anchor", "msg-in"}).out, MatchesRegex("3  [0-9]{8}T[0-9]{6}Z\n"));
  EXPECT_THAT(Osif({"anchor", "msg-sent"}).out, MatchesRegex("1  [0-9]{8}T[0-9]{6}Z\n"));
  EXPECT_THAT(Osif({"anchor", "msg-out", "--json"}).JsonLines(),
              ElementsAre(Json{{"store", "msg-out"}, {"cc", 0}, {"ts", ""}}));
}

TEST_F(CommandMessage, ReceiveSaysWhichNamedContentsAreNotKept) {
  const std::string file =
      Write("a.vmg",
            Wrapped({}, Envelope(Body({"Subject:One", "Content-Type:multipart/mixed; boundary=b"},
                                      {"--b", "Content-Type:text/plain", "", "first", "--b",
                                       "Content-Type:image/jpeg; name=\"a b.jpg\"", "", "x", "--b",
                                       "Content-Type:text/html; filename=c.html", "", "y", "--b",
                                       "Content-Type:text/plain; name=d.txt", "", "z", "--b--"}))) +
                Wrapped({}, Envelope(Body({"Subject:Two", "Content-Type:text/plain; name=e.txt"},
                                          {"lost"}))) +
                Message("INBOX", "Three"));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err,
            "osif: " + file +
                ": object 1 (line 1) \"One\": the content of \"a b.jpg\" was not kept\n"
                "osif: " +
                file +
                ": object 1 (line 1) \"One\": the content of \"d.txt\" was not kept\n"
                "osif: " +
                file + ": object 2 (line 28) \"Two\": the content of \"e.txt\" was not kept\n");
  EXPECT_THAT(outcome.out, HasSubstr("3 added"));
}

TEST_F(CommandMessage, ReceiveTellsInJsonWhichNamedContentsAreNotKept) {
  const std::string two_named =
      Wrapped({}, Envelope(Body({"Subject:One", "Content-Type:multipart/mixed; boundary=b"},
                                {"--b", "Content-Type:text/plain", "", "first", "--b",
                                 "Content-Type:image/jpeg; name=\"a\u00E9 b.jpg\"", "", "x", "--b",
                                 "Content-Type:text/plain; name=d.txt", "", "z", "--b--"})));
  const std::string bytes = two_named + Message("INBOX", "Two");
  for (const char* action : {"added", "updated"}) {
    const std::vector<Json> lines = Receive(bytes, {"--json"}).JsonLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0]["name"], "One");
    EXPECT_EQ(lines[0]["action"], action);
    EXPECT_EQ(lines[0].value("notKept", Json()), Json::array({"a\u00E9 b.jpg", "d.txt"}));
    EXPECT_EQ(lines[1]["name"], "Two");
    EXPECT_FALSE(lines[1].contains("notKept"));
  }
}

// ---- parse --------------------------------------------------------------------------------------------

TEST_F(CommandMessage, ParseShowsEveryFieldOfAMultipartMessage) {
  const std::string file = Write(
      "a.vmg",
      Wrapped({"X-IRMC-LUID:7", "X-IRMC-STATUS:READ", "X-IRMC-TYPE:INET", "X-BT-FOLDER:OUTBOX"},
              Envelope(Body({kDate, "From:ann@example.org", "To:bob@example.org",
                             "Cc:cat@example.org", "Reply-To:dan@example.org", "Subject:Caf\xE9",
                             "Mime-Version:1.0", "Content-Type:multipart/mixed; boundary=\"b\""},
                            {"--b", "Content-Type:text/plain", "Content-Transfer-Encoding:8bit", "",
                             "first", "--b", "Content-Type:text/html", "", "second", "--b",
                             "Content-Transfer-Encoding:base64", "", "eA==", "--b--"}))));
  const std::vector<Json> lines = Osif({"parse", "--strict", "--json", file}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(
      lines[0],
      (Json{{"store", "msg-out"},
            {"result", "ok"},
            {"fields",
             {{"version", "1.1"},
              {"xIrmcLuid", "7"},
              {"xIrmcStatus", "READ"},
              {"xIrmcType", "INET"},
              {"xBtFolder", "OUTBOX"},
              {"date", "Fri, 13 Mar 2026 08:15:00 +0100"},
              {"from", "ann@example.org"},
              {"to", "bob@example.org"},
              {"ccAddresses", "cat@example.org"},
              {"replyTo", "dan@example.org"},
              {"subject", "Caf\u00E9"},
              {"mimeVersion", "1.0"},
              {"contentType", "text/plain"},
              {"contentTransferEncoding", "8bit"},
              {"bodyText", "first\n"},
              {"parts",
               {{{"contentType", "text/html"}}, {{"contentTransferEncoding", "base64"}}}}}}}));
  EXPECT_EQ(lines[1], (Json{{"file", file}, {"code", 0}, {"text", "OK"}}));
}

TEST_F(CommandMessage, ParseShowsWhereAnAttachmentWasAndLeavesNoneBehind) {
  const std::string file =
      Write("a.vmg", Wrapped({}, Envelope(Body({"Content-Type:text/plain; name=\"list.txt\""},
                                               {"ground floor"}))));
  const Json fields = Osif({"parse", "--strict", "--json", file}).JsonLines().at(0)["fields"];
  EXPECT_THAT(fields["attachmentFile"].get<std::string>(), testing::EndsWith("list.txt"));
  EXPECT_FALSE(fields.contains("bodyText"));
  Store(BytesOf(file));
  EXPECT_TRUE(std::filesystem::is_empty(device_ + "/Temp"));
}

TEST_F(CommandMessage, ParseWithEachShowsTheMessagesBehindARefusedOne) {
  const std::string file = Write("a.vmg", kRefusedMessage + "\r\n" + Message("SENTBOX", "Lunch"));
  EXPECT_THAT(Osif({"parse", "--strict", "--json", file}).JsonLines(), SizeIs(1));
  const Outcome outcome = Osif({"parse", "--strict", "--each", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_EQ(lines[0]["error"], file + ": object 1 (line 1) was refused");
  EXPECT_EQ(lines[1]["store"], "msg-sent");
  EXPECT_EQ(lines[1]["fields"]["subject"], "Lunch");
  EXPECT_EQ(lines[2]["code"], 20);
}

// ---- Hostile files ------------------------------------------------------------------------------------

using CommandHostileMessage = HostileTest<CommandMessage>;

TEST_P(CommandHostileMessage, IsNamedWithAReasonAndLeavesTheStoredMessageAsItWas) {
  const std::string id = Store(Message("INBOX", "Lunch")).at(0);
  const Lines before = Sent("msg-in", id);
  ExpectRefused();
  EXPECT_EQ(Sent("msg-in", id), before);
  EXPECT_THAT(Osif({"changes", "msg-in"}).OutLines(), SizeIs(1));
  std::error_code missing;
  EXPECT_FALSE(std::filesystem::exists(device_ + "/Temp", missing) &&
               !std::filesystem::is_empty(device_ + "/Temp"));
}

const std::string kOpenMessage = "BEGIN:VMSG\r\nVERSION:1.1\r\n";
const std::string kOpenBody = kOpenMessage + "BEGIN:VENV\r\nBEGIN:VBODY\r\n" + kDate + "\r\n";
const std::string kOpenMultipart = kOpenBody + "Content-Type:multipart/mixed; boundary=b\r\n\r\n";

INSTANTIATE_TEST_SUITE_P(
    Files, CommandHostileMessage,
    testing::Values(
        HostileFile{"CutInAHeader", kOpenBody + "Subj", kNoEnd},
        HostileFile{"CutInItsText", kOpenBody + "\r\nHel", kNoEnd},
        HostileFile{"CutInASoftLineBreak", kOpenBody + "\r\nHel=\r\n", kNoEnd},
        HostileFile{"CutInAnAttachment",
                    kOpenBody + "Content-Type:text/plain; name=a.txt\r\n\r\nHel", kNoEnd},
        HostileFile{"BinaryText", kOpenBody + "\r\n" + std::string(100'000, '\0'), kNoEnd},
        HostileFile{"LongLineCut", kOpenBody + "\r\n" + std::string(1'000'000, 'x'), kNoEnd},
        HostileFile{"LongHeaderCut", kOpenBody + "Subject:" + std::string(1'000'000, 'x'), kNoEnd},
        HostileFile{"LongBoundaryCut",
                    kOpenBody + "Content-Type:multipart/mixed; boundary=" +
                        std::string(1'000'000, 'b') + "\r\n\r\n--b\r\n",
                    kNoEnd},
        HostileFile{
            "TenThousandPartsCut",
            kOpenMultipart + Repeated("--b\r\nContent-Type:text/plain\r\n\r\nx\r\n", 10'000),
            kNoEnd},
        HostileFile{"DeepNestingOpen", kOpenMessage + Repeated("BEGIN:VENV\r\n", 100'000), kNoEnd},
        HostileFile{
            "DeepNestingWithoutABody",
            Wrapped({}, Repeated("BEGIN:VENV\r\n", 10'000) + Repeated("END:VENV\r\n", 10'000)),
            kRefused},
        HostileFile{"NestedMessages", Wrapped({}, Message("INBOX", "Lost")), kRefused},
        HostileFile{"Binary",
                    std::string("\x00\x01\xFF\xFE\x00"
                                "BEGIN:VMSG\r\n",
                                17),
                    kNoObject}),
    NameOfHostile);

TEST_F(CommandMessage, AMessageOfTenThousandPartsKeepsTheTextOfItsFirst) {
  const std::string id =
      Store(Wrapped({}, Envelope(Body(
                            {kDate, "Subject:Many", "Content-Type:multipart/mixed; boundary=b"},
                            {"--b", "", "first",
                             Repeated("--b\r\nContent-Type:text/html\r\n\r\nx\r\n", 9'999) +
                                 "--b--"}))))
          .at(0);
  const Lines sent = Sent("msg-in", id);
  EXPECT_THAT(sent, testing::Contains("first"));
  EXPECT_THAT(sent, testing::Not(testing::Contains("x")));
  const Json fields = Osif({"parse", "--strict", "--json", Received()}).JsonLines().at(0)["fields"];
  EXPECT_THAT(fields["parts"], SizeIs(9'999));
}

TEST_F(CommandMessage, ALineOfAMillionBytesIsStoredAndSentWhole) {
  const std::string line(1'000'000, 'x');
  const std::string id = Store(Message("INBOX", "Long", line)).at(0);
  EXPECT_THAT(Sent("msg-in", id), testing::Contains(line));
}

TEST_F(CommandMessage, AMessageInTenThousandEnvelopesIsStored) {
  const std::string id = Store(Wrapped({}, Repeated("BEGIN:VENV\r\n", 10'000) +
                                               Body({kDate, "Subject:Deep"}, {"Hello"}) +
                                               Repeated("END:VENV\r\n", 10'000)))
                             .at(0);
  EXPECT_THAT(Sent("msg-in", id), testing::Contains("Subject:Deep"));
}

TEST_F(CommandMessage, AHeaderOfAMillionBytesIsCutWithAWarning) {
  const Outcome outcome = Receive(Message("INBOX", std::string(1'000'000, 's')), {"--json"});
  EXPECT_EQ(outcome.status, 0);
  const Json line = outcome.JsonLines().at(0);
  EXPECT_EQ(line["result"], "warning");
  EXPECT_EQ(line["name"], std::string(1023, 's'));
}

}  // namespace
}  // namespace command_test::message_commands_test

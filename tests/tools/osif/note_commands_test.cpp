// Each subcommand on the note store. A note is known by its name; the store can be written to and searched,
// but neither walked nor read.
#include "tests/tools/osif/hostile_files.h"

namespace command_test::note_commands_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::UnorderedElementsAre;

std::string Note(const Lines& properties) {
  return "BEGIN:VNOTE\r\nVERSION:1.1\r\n" + Joined(properties) + "END:VNOTE\r\n";
}

const std::string kShopping = Note({"SUMMARY:Shopping", "BODY:Apples"});
const std::string kWithoutVersion = "BEGIN:VNOTE\r\nSUMMARY:Old\r\nBODY:x\r\nEND:VNOTE\r\n";

class CommandNote : public CommandTest {
 protected:
  CommandNote() : CommandTest(".vnt") {}

  // The names of the files in the device's documents folder.
  Lines Documents() const {
    Lines names;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(device_ + "/Documents", missing)) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  // The id that find tells for the only note of a file; "-" when it is not found.
  std::string Found(const std::string& note) const {
    const std::vector<Json> lines =
        Osif({"find", "--strict", "--json", Write("find.vnt", note)}).JsonLines();
    EXPECT_THAT(lines, SizeIs(1));
    if (lines.size() != 1) return "";
    return lines[0]["id"].is_null() ? "-" : lines[0]["id"].get<std::string>();
  }
};

// ---- receive and find ---------------------------------------------------------------------------------

TEST_F(CommandNote, ReceiveMakesADocumentOfEachNote) {
  const Outcome outcome = Receive(kShopping + Note({"SUMMARY:Garden", "BODY:Roses"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, MatchesRegex(Received() + ": 2 added, 0 updated, 0 refused, " +
                                        "anchor note 2 [0-9]+T[0-9]+Z\n"));
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(Documents(), UnorderedElementsAre("Shopping.pwi", "Garden.pwi"));
}

TEST_F(CommandNote, ReceiveTellsTheNameAsTheId) {
  const std::vector<Json> lines = Receive(kShopping, {"--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0]["number"], 1);
  EXPECT_EQ(lines[0]["store"], "note");
  EXPECT_EQ(lines[0]["action"], "added");
  EXPECT_EQ(lines[0]["id"], "Shopping");
  EXPECT_EQ(lines[0]["name"], "Shopping");
  EXPECT_EQ(lines[0]["result"], "ok");
  EXPECT_EQ(lines[0]["anchor"]["cc"], 1);
}

TEST_F(CommandNote, ReceiveReplacesTheNoteOfTheSameName) {
  Store(kShopping);
  const std::string before = BytesOf(device_ + "/Documents/Shopping.pwi");
  EXPECT_THAT(Receive(Note({"SUMMARY:Shopping", "BODY:" + std::string(5000, 'x')})).out,
              HasSubstr(": 0 added, 1 updated, 0 refused, anchor note 2 "));
  EXPECT_THAT(Documents(), ElementsAre("Shopping.pwi"));
  EXPECT_GT(BytesOf(device_ + "/Documents/Shopping.pwi").size(), before.size() + 4000);
}

TEST_F(CommandNote, ANameWithSignsThatNoFileMayHaveIsFoundByItsFullText) {
  const std::string note = Note({"SUMMARY:a/b\\\\c?", "BODY:x"});
  EXPECT_EQ(Receive(note, {"--json"}).JsonLines().at(0)["id"], "a/b\\c?");
  EXPECT_THAT(Documents(), ElementsAre("abc.pwi"));
  EXPECT_EQ(Found(note), "a/b\\c?");
}

TEST_F(CommandNote, ANameBeyondAsciiIsShownAsItIs) {
  const std::string note =
      Note({"SUMMARY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Caf=C3=A9", "BODY:"});
  EXPECT_EQ(Receive(note, {"--json"}).JsonLines().at(0)["id"], "Caf\u00E9");
  EXPECT_THAT(Documents(), ElementsAre("Caf\u00E9.pwi"));
  EXPECT_EQ(Osif({"find", "--strict", Received()}).out, "1  note Caf\u00E9  Caf\u00E9\n");
}

TEST_F(CommandNote, ANameOfPathPartsStaysInTheDocumentsFolder) {
  Store(Note({"SUMMARY:../../etc/evil", "BODY:x"}));
  EXPECT_THAT(Documents(), ElementsAre("....etcevil.pwi"));
}

TEST_F(CommandNote, FindTellsWhichNotesAreThere) {
  Store(kShopping);
  const std::string file =
      Write("find.vnt", Note({"SUMMARY:Garden", "BODY:Apples"}) +
                            Note({"SUMMARY:Shopping", "BODY:"}) + Note({"BODY:Apples"}));
  const Outcome outcome = Osif({"find", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "1  not found  Garden\n2  note Shopping  Shopping\n3  not found  \n");
}

TEST_F(CommandNote, ANoteWithoutANameIsNotStoredAndTheOnesAroundItAre) {
  for (const Lines& options : {Lines{}, Lines{"--each"}}) {
    const Outcome outcome =
        Receive(kShopping + Note({"BODY:nameless"}) + Note({"SUMMARY:Garden", "BODY:"}), options);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "osif: " + Received() +
                               ": object 2 (line 6) was not stored: The object is missing a "
                               "required field (code 10)\n");
    EXPECT_THAT(outcome.out, HasSubstr(", 1 refused (--trace shows why), anchor note "));
    EXPECT_THAT(Documents(), UnorderedElementsAre("Shopping.pwi", "Garden.pwi"));
  }
}

TEST_F(CommandNote, ReceiveSaysWhatANoteWithoutVersionCostAndEachRecoversTheRest) {
  const std::string bytes = kShopping + kWithoutVersion + Note({"SUMMARY:Garden", "BODY:"});
  Outcome outcome = Receive(bytes);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre(
          "osif: " + Received() + ": object 2 (line 6) was refused: Parsing error (code 20)",
          "osif: " + Received() +
              ": 1 object was not reached, from line 10 on (--each reads every object by "
              "itself): Parsing error (code 20)"));
  EXPECT_THAT(Documents(), ElementsAre("Shopping.pwi"));
  outcome = Receive(bytes, {"--each"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr(": 1 added, 1 updated, 1 refused"));
  EXPECT_THAT(Documents(), UnorderedElementsAre("Shopping.pwi", "Garden.pwi"));
}

TEST_F(CommandNote, ANoteWithAWarningIsStored) {
  const Outcome outcome = Receive(Note({"SUMMARY:Shopping", "X-A:1", "BODY:Apples"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "osif: " + Received() +
                             ": object 1 (line 1) \"Shopping\": Parsing warning (code 19)\n");
  EXPECT_THAT(Documents(), ElementsAre("Shopping.pwi"));
}

// ---- What the store does not offer --------------------------------------------------------------------

TEST_F(CommandNote, ListingCountingAndExportingAreNotImplemented) {
  Store(kShopping);
  const std::string file = Write("all.vnt", "old");
  const std::vector<Lines> uses = {
      {"list", "note"}, {"count", "note"}, {"export", "note", "-o", file}};
  for (const Lines& arguments : uses) {
    const Outcome outcome = Osif(arguments);
    EXPECT_EQ(outcome.status, 1) << arguments[0];
    EXPECT_EQ(outcome.out, "") << arguments[0];
    EXPECT_EQ(outcome.err, "osif: note: Not Implemented (code 16)\n") << arguments[0];
  }
  EXPECT_EQ(BytesOf(file), "old");
}

TEST_F(CommandNote, SendingAndDeletingAreNotImplementedWhetherOrNotTheNoteIsThere) {
  Store(kShopping);
  const std::string file = Write("one.vnt", "old");
  for (const char* id : {"Shopping", "Garden", "00000001", "../Shopping"}) {
    const std::vector<Lines> uses = {
        {"send", "note", id}, {"send", "note", id, "-o", file}, {"delete", "note", id}};
    for (const Lines& arguments : uses) {
      const Outcome outcome = Osif(arguments);
      EXPECT_EQ(outcome.status, 1) << arguments[0];
      EXPECT_EQ(outcome.out, "") << arguments[0];
      EXPECT_EQ(outcome.err, "osif: note " + std::string(id) + ": Not Implemented (code 16)\n");
    }
  }
  EXPECT_EQ(BytesOf(file), "old");
  EXPECT_EQ(Found(kShopping), "Shopping");
  EXPECT_THAT(Osif({"changes", "note"}).OutLines(), SizeIs(1));
}

TEST_F(CommandNote, WhatIsNotImplementedIsToldInJson) {
  const Json refusal = {{"code", 16}, {"text", "Not Implemented"}};
  for (const auto& [arguments, place] :
       std::vector<std::pair<Lines, std::string>>{{{"list", "note"}, "note"},
                                                  {{"send", "note", "a"}, "note a"},
                                                  {{"delete", "note", "a"}, "note a"}}) {
    Lines with_json = arguments;
    with_json.push_back("--json");
    Json expected = refusal;
    expected["error"] = place;
    EXPECT_THAT(Osif(with_json).JsonLines(), ElementsAre(expected));
  }
}

// ---- changes and anchors ------------------------------------------------------------------------------

TEST_F(CommandNote, ChangesTellsEachNoteOnceByItsId) {
  Store(kShopping + Note({"SUMMARY:Garden", "BODY:"}));
  Store(kShopping);
  // A note cannot be fetched, so nothing is known of it but its id.
  EXPECT_THAT(Osif({"changes", "note"}).OutLines(),
              ElementsAre(MatchesRegex("M  2  [0-9]+T[0-9]+Z  Garden"),
                          MatchesRegex("M  3  [0-9]+T[0-9]+Z  Shopping")));
  const std::vector<Json> lines = Osif({"changes", "note", "--since", "2", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0]["kind"], "M");
  EXPECT_EQ(lines[0]["cc"], 3);
  EXPECT_EQ(lines[0]["id"], "Shopping");
  EXPECT_EQ(lines[0]["name"], nullptr);
  EXPECT_THAT(Osif({"anchor", "note"}).out, MatchesRegex("3  [0-9]{8}T[0-9]{6}Z\n"));
}

TEST_F(CommandNote, ANameWithALineBreakMakesNoChangesOfItsOwn) {
  Store(Note({"SUMMARY;ENCODING=QUOTED-PRINTABLE:x=0D=0AH:5:20260101T000000Z:evil", "BODY:"}) +
        kShopping);
  const std::vector<Json> lines = Osif({"changes", "note", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0]["kind"], "M");
  EXPECT_EQ(lines[0]["id"], "x");
  EXPECT_EQ(lines[1]["id"], "Shopping");
}

// ---- parse --------------------------------------------------------------------------------------------

TEST_F(CommandNote, ParseShowsEveryField) {
  const std::string file = Write(
      "a.vnt", Note({"X-IRMC-LUID:7", "DCREATED:20261120T090000Z", "LAST-MODIFIED:20261121",
                     "SUMMARY:Shopping", "BODY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Caf=C3=A9",
                     "CATEGORIES:Home", "CATEGORIES:Food", "CLASS:PRIVATE"}));
  const auto value = [](const char* text) {
    return Json{{"params", Json::array()}, {"components", {text}}, {"raw", {text}}};
  };
  const std::vector<Json> lines = Osif({"parse", "--strict", "--json", file}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0], (Json{{"store", "note"},
                            {"result", "ok"},
                            {"fields",
                             {{"version", "1.1"},
                              {"xIrmcLuid", "7"},
                              {"dCreated", {value("20261120T090000Z")}},
                              {"lastModified", {value("20261121")}},
                              {"summary", {value("Shopping")}},
                              {"body",
                               {{{"params", {"CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"}},
                                 {"components", {"Caf\u00E9"}},
                                 {"raw", {"Caf=C3=A9"}}}}},
                              {"categories", {value("Home"), value("Food")}},
                              {"class", {value("PRIVATE")}}}}}));
  EXPECT_EQ(lines[1], (Json{{"file", file}, {"code", 0}, {"text", "OK"}}));
  EXPECT_THAT(Documents(), SizeIs(0));
}

TEST_F(CommandNote, ParseWithEachShowsTheNotesBehindARefusedOne) {
  const std::string file = Write("a.vnt", kWithoutVersion + "\r\n" + kShopping);
  const Outcome outcome = Osif({"parse", "--strict", "--each", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_EQ(lines[0]["error"], file + ": object 1 (line 1) was refused");
  EXPECT_EQ(lines[1]["fields"]["summary"][0]["components"][0], "Shopping");
  EXPECT_EQ(lines[2]["code"], 20);
}

// ---- Hostile files ------------------------------------------------------------------------------------

using CommandHostileNote = HostileTest<CommandNote>;

TEST_P(CommandHostileNote, IsNamedWithAReasonAndLeavesTheStoredNoteAsItWas) {
  Store(kShopping);
  const std::string before = BytesOf(device_ + "/Documents/Shopping.pwi");
  ExpectRefused();
  EXPECT_THAT(Documents(), ElementsAre("Shopping.pwi"));
  EXPECT_EQ(BytesOf(device_ + "/Documents/Shopping.pwi"), before);
  EXPECT_THAT(Osif({"changes", "note"}).OutLines(), SizeIs(1));
}

const std::string kOpenNote = "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:Shopping\r\n";

INSTANTIATE_TEST_SUITE_P(
    Files, CommandHostileNote,
    testing::Values(
        HostileFile{"CutInALine", kOpenNote + "BODY:App", kNoEnd},
        HostileFile{"CutInAnEncodedByte", kOpenNote + "BODY;ENCODING=QUOTED-PRINTABLE:Caf=C",
                    kNoEnd},
        HostileFile{"CutInASoftLineBreak", kOpenNote + "BODY;ENCODING=QUOTED-PRINTABLE:a=\r\n",
                    kNoEnd},
        HostileFile{"LongLineCut", kOpenNote + "BODY:" + std::string(1'000'000, 'x'), kNoEnd},
        HostileFile{"LongVersion",
                    "BEGIN:VNOTE\r\nVERSION:" + std::string(1'000'000, '9') + "\r\nEND:VNOTE\r\n",
                    kRefused},
        HostileFile{"TenThousandCategoriesCut", kOpenNote + Repeated("CATEGORIES:a\r\n", 10'000),
                    kNoEnd},
        HostileFile{"DeepNestingOpen", kOpenNote + Repeated("BEGIN:X\r\n", 100'000), kNoEnd},
        HostileFile{"ZeroBytes", kOpenNote + std::string(100'000, '\0'), kNoEnd},
        HostileFile{"Binary",
                    std::string("\x00\x01\xFF\xFE\x00"
                                "BEGIN:VNOTE\r\n",
                                18),
                    kNoObject}),
    NameOfHostile);

TEST_F(CommandNote, ABodyOfAMillionBytesAndNestedObjectsDoNotHinderANote) {
  Store(Note({"SUMMARY:Long", "BODY:" + std::string(1'000'000, 'x')}) +
        Note({"SUMMARY:Deep",
              Repeated("BEGIN:X\r\n", 50'000) + Repeated("END:X\r\n", 50'000) + "BODY:"}));
  EXPECT_THAT(Documents(), UnorderedElementsAre("Long.pwi", "Deep.pwi"));
  EXPECT_GT(BytesOf(device_ + "/Documents/Long.pwi").size(), 1'000'000u);
}

TEST_F(CommandNote, ANameOfAMillionBytesIsCut) {
  Store(Note({"SUMMARY:" + std::string(1'000'000, 'x'), "BODY:"}) + kShopping);
  EXPECT_THAT(Documents(), SizeIs(2));
  const std::vector<Json> lines = Osif({"changes", "note", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0]["id"], std::string(478, 'x'));
  EXPECT_EQ(lines[1]["id"], "Shopping");
}

}  // namespace
}  // namespace command_test::note_commands_test

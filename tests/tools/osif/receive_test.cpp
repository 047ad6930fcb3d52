#include "tests/tools/osif/hostile_files.h"

namespace command_test::receive_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

class CommandReceive : public CommandTest {
 protected:
  // The names in the contact store, in its order.
  Lines Names() const {
    Lines names;
    for (const Json& line : Osif({"list", "pb", "--json"}).JsonLines()) {
      names.push_back(line["name"]);
    }
    return names;
  }
};

TEST_F(CommandReceive, AddsEveryCardOfAFileAndSaysHowMany) {
  const std::string file = Write("two.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, MatchesRegex(file + ": 2 added, 0 updated, 0 refused, anchor pb 2 " +
                                        "[0-9]{8}T[0-9]{6}Z\n"));
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

TEST_F(CommandReceive, UpdatesACardThatTheStoreKnows) {
  const std::string first = Write("first.vcf", Card({"N:Lee;Ann", "TITLE:Pilot"}));
  const std::string second = Write("second.vcf", Card({"N:Lee;Ann", "TITLE:Captain"}));
  Osif({"receive", "--strict", first});
  EXPECT_THAT(Osif({"receive", "--strict", second}).out,
              MatchesRegex(second + ": 0 added, 1 updated, 0 refused, anchor pb 2 .*\n"));
  EXPECT_EQ(Osif({"count", "pb"}).out, "1\n");
  EXPECT_THAT(Osif({"send", "pb", "1"}).out, HasSubstr("\r\nTITLE:Captain\r\n"));
}

TEST_F(CommandReceive, TellsEachObjectInJson) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}));
  const std::vector<Json> lines = Osif({"receive", "--strict", "--json", file}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  const Json& line = lines[0];
  EXPECT_EQ(line["file"], file);
  EXPECT_EQ(line["number"], 1);
  EXPECT_EQ(line["store"], "pb");
  EXPECT_EQ(line["action"], "added");
  EXPECT_EQ(line["id"], "00000001");
  EXPECT_EQ(line["name"], "Ann Lee");
  EXPECT_EQ(line["result"], "ok");
  EXPECT_TRUE(line.contains("anchor"));
  EXPECT_THAT(line, SizeIs(8));
  EXPECT_EQ(Osif({"receive", "--strict", "--json", file}).JsonLines().at(0)["action"], "updated");
}

TEST_F(CommandReceive, GivesTheAnchorOfEachChange) {
  const std::string file = Write("two.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  const std::vector<Json> lines = Osif({"receive", "--strict", "--json", file}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0]["anchor"]["cc"], 1);
  EXPECT_EQ(lines[1]["anchor"]["cc"], 2);
  EXPECT_THAT(std::string(lines[1]["anchor"]["ts"]), testing::MatchesRegex("[0-9]+T[0-9]+Z"));
}

TEST_F(CommandReceive, NamesEachObjectWithAWarningOfItsOwn) {
  const std::string file = Write("w.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole", "X-A:1"}) +
                                              Card({"N:Cruz;Eva"}) + Card({"N:Dahl;Per", "X-B:1"}));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre(
          "osif: " + file + ": object 2 (line 5) \"Ole Berg\": Parsing warning (code 19)",
          "osif: " + file + ": object 4 (line 14) \"Per Dahl\": Parsing warning (code 19)"));
  EXPECT_THAT(outcome.out, HasSubstr(": 4 added, 0 updated, 0 refused; 2 with a warning "
                                     "(--trace shows why), anchor pb 4 "));
}

TEST_F(CommandReceive, SaysThatTheEventsBehindOneWithAWarningInTheirCalendarAreUncertain) {
  const std::string event = "BEGIN:VEVENT\r\nSUMMARY:a\r\nDTSTART:20260313T100000\r\n";
  const std::string file =
      Write("w.vcs", "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + event + "X-A:1\r\nEND:VEVENT\r\n" +
                         event + "END:VEVENT\r\nEND:VCALENDAR\r\n");
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre(
          testing::HasSubstr(": object 1 (line 3) \"a\": Parsing warning (code 19)"),
          "osif: " + file + ": a warning may hold for 1 more behind it in its calendar as well"));
}

TEST_F(CommandReceive, TellsEachTraceLineOnceThoughTheFileIsLookedAtBefore) {
  const std::string file = Write("w.vcf", Card({"N:Lee;Ann", "X-A:1"}) + Card({"N:Berg;Ole"}));
  const std::string lines = Osif({"receive", "--strict", "--trace", file}).err;
  const std::string unknown = "Parser encountered unknown property: 'X-A'";
  const size_t first = lines.find(unknown);
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(lines.find(unknown, first + 1), std::string::npos);
}

TEST_F(CommandReceive, WithEachAWarningIsTheObjectsOwn) {
  const std::string file = Write(
      "w.vcf", Card({"N:Lee;Ann", "X-A:1"}) + Card({"N:Berg;Ole"}) + Card({"N:Cruz;Eva", "X-A:1"}));
  std::vector<std::string> results;
  for (const Json& line : Osif({"receive", "--strict", "--each", "--json", file}).JsonLines()) {
    results.push_back(line["result"]);
  }
  EXPECT_THAT(results, ElementsAre("warning", "ok", "warning"));
}

TEST_F(CommandReceive, SaysWhatABlankLineBetweenTwoCardsCost) {
  const std::string file = Write(
      "blank.vcf", Card({"N:Lee;Ann"}) + "\r\n" + Card({"N:Berg;Ole"}) + Card({"N:Cruz;Eva"}));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre("osif: " + file +
                  ": 2 objects were not reached, from line 6 on, because line 5 between the "
                  "objects is blank (--each reads every object by itself)"));
  EXPECT_THAT(outcome.out,
              HasSubstr(": 1 added, 0 updated, 0 refused, 2 not reached, anchor pb 1 "));
  EXPECT_THAT(Names(), ElementsAre("Ann Lee"));
}

TEST_F(CommandReceive, SaysWhatARefusedCardCost) {
  const std::string file =
      Write("refused.vcf", Card({"N:Lee;Ann"}) + kRefusedCard + Card({"N:Berg;Ole"}));
  const Outcome outcome = Osif({"receive", "--strict", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre("osif: " + file + ": object 2 (line 5) was refused: Parsing error (code 20)",
                  "osif: " + file +
                      ": 1 object was not reached, from line 9 on (--each reads every object by "
                      "itself): Parsing error (code 20)"));
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(4));
  EXPECT_EQ(lines[1]["error"], file + ": object 2 (line 5) was refused");
  EXPECT_EQ(lines[1]["code"], 20);
  EXPECT_EQ(lines[1]["text"], "Parsing error");
  EXPECT_EQ(lines[2]["number"], 2);
  EXPECT_EQ(lines[2]["action"], "refused");
  EXPECT_EQ(lines[2]["id"], nullptr);
  EXPECT_EQ(lines[3]["code"], 20);
}

TEST_F(CommandReceive, EachRecoversWhatStandsBehindABlankLineARefusedCardAndAnUnfinishedOne) {
  const std::string file =
      Write("bad.vcf", Card({"N:Lee;Ann"}) + "\r\n" + kRefusedCard + Card({"N:Berg;Ole"}) +
                           "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Cut;Off\r\n" + Card({"N:Cruz;Eva"}));
  const Outcome outcome = Osif({"receive", "--strict", "--each", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre("osif: " + file + ": object 2 (line 6) was refused: Parsing error (code 20)",
                  "osif: " + file +
                      ": object 4 (line 14) was refused; it has no END: Parsing error (code 20)"));
  EXPECT_THAT(outcome.out, HasSubstr(": 3 added, 0 updated, 2 refused"));
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg", "Eva Cruz"));
}

TEST_F(CommandReceive, TextOutsideOfObjectsIsReported) {
  const std::string file =
      Write("junk.vcf", Card({"N:Lee;Ann"}) + "\r\nhello\r\n" + Card({"N:Berg;Ole"}));
  const Outcome outcome = Osif({"receive", "--strict", "--each", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr(": the text on line 6 belongs to no object and was left out"));
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

TEST_F(CommandReceive, SaysWhereTheReasonsAreForAWarningAndARefusalTogether) {
  const std::string file =
      Write("both.vcf", Card({"N:Lee;Ann", "X-A:1"}) +
                            "BEGIN:VCARD\r\nVERSION:9\r\nN:Berg;Ole\r\nEND:VCARD\r\n");
  EXPECT_THAT(Osif({"receive", "--strict", "--each", file}).out,
              HasSubstr(" 1 refused; 1 with a warning (--trace shows why), anchor"));
}

TEST_F(CommandReceive, TellsItsFaultsInTheOrderOfTheFile) {
  const Outcome outcome =
      Osif({"receive", "--strict", "--each",
            Write("two.vcf", Card({"N:Lee;Ann"}) + "Dear Sir,\n" +
                                 "BEGIN:VCARD\r\nVERSION:9\r\nN:Berg;Ole\r\nEND:VCARD\r\n")});
  EXPECT_EQ(outcome.status, 1);
  const size_t text = outcome.err.find("the text on line 5 belongs to no object");
  const size_t card = outcome.err.find("object 2 (line 6)");
  ASSERT_NE(text, std::string::npos) << outcome.err;
  ASSERT_NE(card, std::string::npos) << outcome.err;
  EXPECT_LT(text, card);
}

TEST_F(CommandReceive, BlankLinesBehindTheLastCardAreNothingToSpeakOf) {
  const std::string file = Write("end.vcf", Card({"N:Lee;Ann"}) + "\r\n \r\n\t\n");
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(CommandReceive, ACardInsideACardIsNoObjectOfItsOwn) {
  const std::string file = Write("agent.vcf", Card({"N:Lee;Ann", "AGENT:", "BEGIN:VCARD",
                                                    "VERSION:2.1", "N:Inner;One", "END:VCARD"}) +
                                                  Card({"N:Berg;Ole"}));
  Osif({"receive", "--strict", "--each", file});
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

TEST_F(CommandReceive, ABeginInsideAFoldedOrSoftBrokenValueIsNoObject) {
  const std::string file = Write(
      "folded.vcf", Card({"N:Lee;Ann", "NOTE:see", " BEGIN:VCARD",
                          "TITLE;ENCODING=QUOTED-PRINTABLE:a=", "BEGIN:VCARD=", "END:VCARD"}) +
                        Card({"N:Berg;Ole"}));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

TEST_F(CommandReceive, GoesOnWithTheNextFileAfterOneThatFails) {
  const std::string good = Write("good.vcf", Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"receive", "--strict", Path("missing.vcf"), good});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee"));
}

TEST_F(CommandReceive, ABackslashInAFileNameSeparatesFolders) {
  std::filesystem::create_directory(Path("cards"));
  Write("cards/a.vcf", Card({"N:Lee;Ann"}));
  EXPECT_EQ(Osif({"receive", "--strict", folder_ + "\\cards\\a.vcf"}).status, 0);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee"));
}

TEST_F(CommandReceive, AFileNameBeyondAsciiIsFound) {
  const std::string file = Write("кот \xF0\x9F\x98\xBA.vcf", Card({"N:Lee;Ann"}));
  EXPECT_EQ(Osif({"receive", "--strict", file}).status, 0);
}

TEST_F(CommandReceive, AFileNameThatIsNotUtf8IsSaidToBeSo) {
  const std::string file = Write("\xFF.vcf", Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("the name is not UTF-8"));
}

// So that nothing stays behind in it, however the command ends.
TEST_F(CommandReceive, EachNeedsNoFolderForTemporaryFiles) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  // Nobody may make a file there.
  EXPECT_EQ(Run(Launched({support::kCommand, "receive", "--strict", "--each", file},
                         {"/usr/bin/env", "TMPDIR=/proc"}))
                .status,
            0);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

// ---- Files that are none, or are hostile --------------------------------------------------------------

TEST_F(CommandReceive, AMissingFileIsNamed) {
  const Outcome outcome = Osif({"receive", "--strict", "--json", Path("none.vcf")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: " + Path("none.vcf") +
                             ": No such file or directory: Could not open the file (code 7)\n");
  EXPECT_EQ(outcome.JsonLines().at(0),
            (Json{{"error", Path("none.vcf") + ": No such file or directory"},
                  {"code", 7},
                  {"text", "Could not open the file"}}));
}

TEST_F(CommandReceive, ADirectoryIsSaidToBeOne) {
  const Outcome outcome = Osif({"receive", "--strict", folder_});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: " + folder_ + ": Is a directory: Could not open the file (code 7)\n");
}

struct BadFile {
  const char* name;
  std::string bytes;
};

class CommandReceiveBadFile : public CommandTest, public testing::WithParamInterface<BadFile> {};

TEST_P(CommandReceiveBadFile, IsNoValidObject) {
  const std::string file = Write("bad.vcf", GetParam().bytes);
  for (const char* subcommand : {"receive", "find"}) {
    const Outcome outcome = Osif({subcommand, "--strict", file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "osif: " + file + ": The stream of data does not contain a valid object (code 8)\n");
  }
  EXPECT_EQ(Osif({"receive", "--strict", "--each", file}).status, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Files, CommandReceiveBadFile,
    testing::Values(BadFile{"Empty", ""},
                    BadFile{"Binary", std::string("\x7F"
                                                  "ELF\x02\x01\x01\0\0",
                                                  9)},
                    BadFile{"OnlyZeros", std::string(100000, '\0')}, BadFile{"Text", "Dear Sir,\n"},
                    BadFile{"WideText", std::string("B\0E\0G\0I\0N\0:\0V\0C\0A\0R\0D\0", 22)}),
    [](const auto& row) { return row.param.name; });

TEST_F(CommandReceive, AFileOfAnUnknownKindIsNoValidObjectAndItsObjectsAreCounted) {
  const std::string file =
      Write("journal.obj", "BEGIN:VJOURNAL\r\nEND:VJOURNAL\r\n" + Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              HasSubstr(": The stream of data does not contain a valid object (code 8)"));
  EXPECT_THAT(outcome.err, HasSubstr(": 2 objects were not reached, from line 1 on"));
  EXPECT_EQ(Osif({"receive", "--strict", "--each", file}).status, 1);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee"));
}

TEST_F(CommandReceive, ACardCutOffAtAnyByteIsRefusedOrStoredWhole) {
  const std::string card = Card({"N:Lee;Ann"});
  const size_t whole = card.size() - std::string(":VCARD\r\n").size();  // the word END is enough
  for (size_t size = 12; size < card.size(); size += 3) {
    const Outcome outcome = Osif({"receive", "--strict", Write("cut.vcf", card.substr(0, size))});
    EXPECT_EQ(outcome.status, size >= whole ? 0 : 1) << size;
  }
}

TEST_F(CommandReceive, ZeroBytesInsideALineEndItsText) {
  const std::string file = Write("zero.vcf", Card({std::string("N:Lee\0;Ann", 10)}));
  EXPECT_EQ(Osif({"receive", "--strict", file}).status, 0);
  EXPECT_THAT(Names(), ElementsAre("Lee"));
}

TEST_F(CommandReceive, ALineOfTenMillionBytesIsRead) {
  const std::string file =
      Write("long.vcf",
            Card({"N:Lee;Ann", "NOTE:" + std::string(10'000'000, 'x')}) + Card({"N:Berg;Ole"}));
  EXPECT_EQ(Osif({"receive", "--strict", file}).status, 0);
  EXPECT_EQ(Osif({"receive", "--strict", "--each", file}).status, 0);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

TEST_F(CommandReceive, AParameterOfAMillionBytesIsRead) {
  const std::string file =
      Write("parameter.vcf", Card({"N:Lee;Ann", "TEL;X=" + std::string(1'000'000, 'p') + ":1"}));
  EXPECT_EQ(Osif({"receive", "--strict", file}).status, 0);
}

TEST_F(CommandReceive, AHundredThousandNestedBeginsAreSkipped) {
  const std::string nested = "BEGIN:VCARD\nVERSION:2.1\nN:Lee;Ann\n" +
                             Repeated("BEGIN:X\n", 100'000) + Repeated("END:X\n", 100'000);
  const std::string file = Write("nested.vcf", nested + "END:VCARD\n" + Card({"N:Berg;Ole"}));
  EXPECT_EQ(Osif({"receive", "--strict", "--each", file}).status, 0);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

TEST_F(CommandReceive, AHundredThousandOpenBeginsAreOneRefusedObject) {
  const std::string file =
      Write("open.vcf", "BEGIN:VCARD\nVERSION:2.1\nN:Lee;Ann\n" + Repeated("BEGIN:X\n", 100'000));
  const Outcome outcome = Osif({"receive", "--strict", "--each", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.ErrLines(), SizeIs(1));
  EXPECT_THAT(outcome.err, HasSubstr("object 1 (line 1) was refused; it has no END"));
}

using CommandReceiveHostileFile = HostileTest<CommandReceive>;

TEST_P(CommandReceiveHostileFile, IsNamedWithAReasonAndLeavesTheContactsAsTheyWere) {
  ASSERT_EQ(
      Osif({"receive", "--strict", Write("before.vcf", Card({"N:Lee;Ann", "TEL:555"}))}).status, 0);
  const std::string before = Osif({"send", "pb", "1"}).out;
  ExpectRefused();
  EXPECT_THAT(Names(), ElementsAre("Ann Lee"));
  EXPECT_EQ(Osif({"send", "pb", "1"}).out, before);
  EXPECT_EQ(Osif({"changes", "pb"}).OutLines().size(), 1u);
}

const std::string kOpenCard = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\n";

INSTANTIATE_TEST_SUITE_P(
    Files, CommandReceiveHostileFile,
    testing::Values(
        HostileFile{"CutInALine", kOpenCard + "TITLE:Pil", kNoEnd},
        HostileFile{"CutInAnEncodedByte", kOpenCard + "TITLE;ENCODING=QUOTED-PRINTABLE:M=C3=B",
                    kNoEnd},
        HostileFile{"CutBehindASoftLineBreak", kOpenCard + "TITLE;ENCODING=QUOTED-PRINTABLE:M=\r\n",
                    kNoEnd},
        HostileFile{"LongLineAlone", std::string(10'000'000, 'x'), kNoObject},
        HostileFile{"LongLineCut", kOpenCard + "NOTE:" + std::string(10'000'000, 'x'), kNoEnd},
        HostileFile{"NestedBegins", kOpenCard + Repeated("BEGIN:VCARD\r\n", 10'000), kNoEnd},
        HostileFile{"LongParameterCut", kOpenCard + "TEL;X=" + std::string(1'000'000, 'p'), kNoEnd},
        HostileFile{"NulBytes", kOpenCard + std::string(1000, '\0'), kNoEnd}),
    NameOfHostile);

TEST_F(CommandReceive, AMessageOnATerminalHoldsNoControlCharacters) {
  const std::string file = Write("escape.vcf", Card({"N:Evil\x1B[2J;Ann", "X-A:1"}));
  const Outcome outcome = Osif({"receive", "--strict", file});
  EXPECT_THAT(outcome.err, Not(HasSubstr("\x1B")));
  EXPECT_THAT(outcome.err, HasSubstr("Evil [2J"));
}

}  // namespace
}  // namespace command_test::receive_test

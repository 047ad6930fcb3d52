#include <cstdio>

#include "tests/tools/osif/command_fixture.h"
#include "tests/tools/osif/terminal.h"

namespace command_test::receive_dialects_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Le;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

std::string Card3(const Lines& properties) {
  return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + Joined(properties) + "END:VCARD\r\n";
}

class CommandReceiveDialects : public CommandTest {
 protected:
  Lines Names() const {
    Lines names;
    for (const Json& line : Osif({"list", "pb", "--json"}).JsonLines()) {
      names.push_back(line["name"]);
    }
    return names;
  }

  // The only line about the only object of a file.
  Json Told(const std::string& bytes, const Lines& options = {}) const {
    Lines arguments = {"receive", "--json", Write("told.vcf", bytes)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const std::vector<Json> lines = Osif(arguments).JsonLines();
    return lines.empty() ? Json() : lines.front();
  }

  std::string Sent(const std::string& id) const { return Osif({"send", "pb", id}).out; }
};

TEST_F(CommandReceiveDialects, AModernCardWithAGroupAndALabelIsStoredWhole) {
  const std::string file =
      Write("new.vcf", Card3({"N:Lee;Ann;;;", "FN:Ann Lee", "item1.TEL:+1 555 0100",
                              "item1.X-ABLabel:_$!<Mobile>!$_"}));
  EXPECT_EQ(Osif({"receive", file}).status, 0);
  EXPECT_THAT(Sent("1"), HasSubstr("\r\nTEL;CELL:+1 555 0100\r\n"));
}

TEST_F(CommandReceiveDialects, TellsInJsonWhatWasChangedGuessedAndDropped) {
  const Json line = Told(
      Card3({"FN:Ann Lee", "item1.TEL;TYPE=cell:1", "NICKNAME:Annie", "X-HANDSET-RINGTONE:1"}));
  EXPECT_EQ(line["action"], "added");
  EXPECT_EQ(line["line"], 1);
  EXPECT_THAT(line["changed"], testing::Contains("group prefix"));
  EXPECT_THAT(line["guessed"], ElementsAre("name from FN"));
  EXPECT_EQ(line["dropped"], Json::parse(R"([{"property": "NICKNAME", "count": 1},
                                             {"property": "X-HANDSET-RINGTONE", "count": 1}])"));
}

TEST_F(CommandReceiveDialects, SaysOnceAFileWhatWasDroppedFromManyCards) {
  std::string cards;
  for (int i = 0; i < 1204; ++i) {
    cards += Card({"N:Lee;" + std::to_string(i), "X-HANDSET-RINGTONE:1"});
  }
  const std::string file = Write("many.vcf", cards);
  const Outcome outcome = Osif({"receive", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "osif: " + file + ": 1,204 cards: X-HANDSET-RINGTONE dropped\n");
  EXPECT_THAT(outcome.out,
              StartsWith(file + ": 1204 added, 0 updated, 0 refused, anchor pb 1204 "));
}

TEST_F(CommandReceiveDialects, SaysNoMoreThanTwentyLinesWhateverAFileHolds) {
  std::string cards;
  for (int i = 0; i < 100; ++i) {
    cards += Card({"N:Lee;" + std::to_string(i), "X-ODD-" + std::to_string(i) + ":1"});
    cards += "BEGIN:VCARD\r\nVERSION:2.1\r\nEND:VCARD\r\n";
  }
  const Outcome outcome = Osif({"receive", Write("odd.vcf", cards)});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.ErrLines().size() + outcome.OutLines().size(), Le(20U));
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(": 93 more were refused (-v shows each)\n"),
                                 HasSubstr(": 90 more kinds of changes (-v shows each object)\n")));
}

TEST_F(CommandReceiveDialects, SaysOfEachObjectWhatBecameOfItWhenAsked) {
  const std::string file = Write("two.vcf", Card({"N:Lee;Ann", "X-ODD:1"}) + Card({"N:Berg;Ole"}));
  EXPECT_THAT(
      Osif({"receive", "-v", file}).OutLines(),
      ElementsAre(file + ": object 1 (line 1) \"Ann Lee\": added pb 00000001; X-ODD dropped",
                  file + ": object 2 (line 6) \"Ole Berg\": added pb 00000002",
                  StartsWith(file + ": 2 added, 0 updated, 0 refused")));
}

TEST_F(CommandReceiveDialects, ARefusalSaysItsReasonItsLineAndItsObject) {
  const std::string file = Write(
      "bad.vcf", Card({"N:Lee;Ann"}) + "BEGIN:VCARD\r\nVERSION:2.1\r\nREV:2020\r\nEND:VCARD\r\n" +
                     Card({"N:Berg;Ole"}));
  const Outcome outcome = Osif({"receive", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: " + file +
                             ": object 2 (line 5) was refused: nothing to store: no name, number, "
                             "address or text\n");
  EXPECT_THAT(outcome.out, StartsWith(file + ": 2 added, 0 updated, 1 refused"));
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
}

TEST_F(CommandReceiveDialects, ARefusalIsALineInJsonWithItsReason) {
  const std::string file = Write("bad.vcf", "BEGIN:VCARD\r\nVERSION:2.1\r\nEND:VCARD\r\n");
  const std::vector<Json> lines = Osif({"receive", "--json", file}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_THAT(lines[0]["error"], HasSubstr("was refused: nothing to store"));
  EXPECT_EQ(lines[1]["action"], "refused");
  EXPECT_EQ(lines[1]["reason"], "nothing to store: no name, number, address or text");
  EXPECT_EQ(lines[1]["number"], 1);
  EXPECT_EQ(lines[1]["store"], "pb");
  EXPECT_EQ(lines[1]["id"], nullptr);
}

TEST_F(CommandReceiveDialects, ObjectsOfAllKindsMayStandInOneFile) {
  const std::string file =
      Write("all.txt", "hello\r\n" + Card({"N:Lee;Ann"}) +
                           "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nSUMMARY:Walk\r\n"
                           "DTSTART:20260301T080000Z\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n\r\n" +
                           Card3({"N:Berg;Ole;;;", "FN:Ole Berg"}));
  const Outcome outcome = Osif({"receive", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "osif: " + file + ": 1 line belongs to no object, the first is line 1\n");
  EXPECT_THAT(Names(), ElementsAre("Ann Lee", "Ole Berg"));
  EXPECT_EQ(Osif({"count", "cal"}).out, "1\n");
}

TEST_F(CommandReceiveDialects, WithoutAnyObjectAFileFails) {
  const std::string file = Write("none.txt", "hello\nworld\n");
  const Outcome outcome = Osif({"receive", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr(file + ": no object is in it"));
}

TEST_F(CommandReceiveDialects, TwoPeopleOfOneNameInOneFileStayTwo) {
  EXPECT_EQ(Osif({"receive", Write("two.vcf", Card({"N:Lee;Ann", "TITLE:Pilot"}) +
                                                  Card({"N:Lee;Ann", "TITLE:Cook"}))})
                .status,
            0);
  EXPECT_EQ(Osif({"count", "pb"}).out, "2\n");
  EXPECT_THAT(Sent("1"), HasSubstr("TITLE:Pilot"));
  EXPECT_THAT(Sent("2"), HasSubstr("TITLE:Cook"));
}

TEST_F(CommandReceiveDialects, AnotherFileUpdatesWhomItKnows) {
  Osif({"receive", Write("a.vcf", Card({"N:Lee;Ann", "TITLE:Pilot"}))});
  const std::string file = Write("b.vcf", Card({"N:Lee;Ann", "TITLE:Cook"}));
  EXPECT_THAT(Osif({"receive", file}).out, StartsWith(file + ": 0 added, 1 updated, 0 refused"));
  EXPECT_EQ(Osif({"count", "pb"}).out, "1\n");
}

TEST_F(CommandReceiveDialects, WhoSharesNoNumberAndNoAddressIsSomebodyElse) {
  Osif({"receive", Write("a.vcf", Card({"N:Lee;Ann", "TEL;CELL:0151 5550100",
                                        "EMAIL;INTERNET:ann@a.example"}))});
  const std::string file =
      Write("b.vcf", Card({"N:Lee;Ann", "TEL;HOME:0151 5559999", "EMAIL;INTERNET:lee@b.example"}));
  const Outcome outcome = Osif({"receive", file});
  EXPECT_THAT(outcome.out, StartsWith(file + ": 1 added, 0 updated, 0 refused"));
  EXPECT_EQ(outcome.err, "osif: " + file + ": 1 card: added beside one of the same name\n");
  EXPECT_THAT(Sent("1"), HasSubstr("0151 5550100"));
}

TEST_F(CommandReceiveDialects, ANumberWithItsCountryOrAnAddressInCapitalsIsTheSame) {
  Osif({"receive", Write("a.vcf", Card({"N:Lee;Ann", "TEL;CELL:0151 5550100"}) +
                                      Card({"N:Berg;Ole", "EMAIL;INTERNET:ole@a.example"}))});
  const std::string file =
      Write("b.vcf", Card({"N:Lee;Ann", "TEL;CELL:+49 151 555-0100"}) +
                         Card({"N:Berg;Ole", "EMAIL;INTERNET:OLE@A.example", "TEL;HOME:1"}));
  EXPECT_THAT(Osif({"receive", file}).out, StartsWith(file + ": 0 added, 2 updated, 0 refused"));
}

TEST_F(CommandReceiveDialects, WithoutNumbersOnOneSideTheNameDecides) {
  Osif({"receive", Write("a.vcf", Card({"N:Lee;Ann", "TITLE:Pilot"}))});
  const std::string file = Write("b.vcf", Card({"N:Lee;Ann", "TEL;CELL:1"}));
  EXPECT_THAT(Osif({"receive", file}).out, StartsWith(file + ": 0 added, 1 updated, 0 refused"));
}

TEST_F(CommandReceiveDialects, AddNeverUpdates) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}));
  Osif({"receive", file});
  EXPECT_THAT(Osif({"receive", "--add", file}).out,
              StartsWith(file + ": 1 added, 0 updated, 0 refused"));
  EXPECT_EQ(Osif({"count", "pb"}).out, "2\n");
}

TEST_F(CommandReceiveDialects, StrictlyTheLibraryGetsTheBytesAsTheyAre) {
  const std::string file = Write("new.vcf", Card3({"N:Lee;Ann;;;", "FN:Ann Lee"}));
  EXPECT_EQ(Osif({"receive", "--strict", file}).status, 1);
  EXPECT_EQ(Osif({"count", "pb"}).out, "0\n");
}

TEST_F(CommandReceiveDialects, AFileReadTwiceAddsNothingTheSecondTime) {
  const std::string file =
      Write("new.vcf", Card3({"FN:Jo van Doe", "TEL:1"}) + Card({"ORG:Works", "TEL;WORK:2"}) +
                           Card3({"N:;;;;", "FN:", "EMAIL:x@a.example"}));
  EXPECT_THAT(Osif({"receive", file}).out, StartsWith(file + ": 3 added, 0 updated, 0 refused"));
  EXPECT_THAT(Osif({"receive", file}).out, StartsWith(file + ": 0 added, 3 updated, 0 refused"));
}

TEST_F(CommandReceiveDialects, AUidComesBackWithTheObjectThatBroughtIt) {
  Osif({"receive", Write("a.vcf", Card3({"UID:4711-ann", "N:Lee;Ann;;;", "FN:Ann Lee"}))});
  EXPECT_THAT(Osif({"send", "pb", "1", "--as", "vcard30"}).out, HasSubstr("\r\nUID:4711-ann\r\n"));
}

TEST_F(CommandReceiveDialects, AnObjectWithoutAUidHasTheSameOneEachTime) {
  Osif({"receive", Write("a.vcf", Card({"N:Lee;Ann"}))});
  const std::string id = Osif({"database-id", "pb"}).OutLines().at(0);
  const std::string sent = Osif({"send", "pb", "1", "--as", "vcard40"}).out;
  EXPECT_THAT(sent, HasSubstr("\r\nUID;VALUE=text:osif-pb-" + id + "-00000001\r\n"));
  EXPECT_EQ(Osif({"send", "pb", "1", "--as", "vcard40"}).out, sent);
}

// ---- Before something is overwritten ------------------------------------------------------------------

TEST_F(CommandReceiveDialects, ReviewNeedsATerminal) {
  const Outcome outcome = Osif({"receive", "--review", Write("a.vcf", Card({"N:Lee;Ann"}))});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("--review asks on a terminal"));
}

TEST_F(CommandReceiveDialects, ReviewShowsFieldByFieldWhatWouldBeOverwrittenAndAsks) {
  const std::string before = Card({"N:Lee;Ann", "TITLE:Pilot", "TEL;CELL:1"});
  const std::string after = Card({"N:Lee;Ann", "TITLE:Cook", "TEL;CELL:1"});
  struct Row {
    std::string answer;
    std::string counts;
    std::string objects;
  };
  for (const Row& row : {Row{"u\n", "0 added, 1 updated, 0 refused", "1\n"},
                         Row{"x\na\n", "1 added, 0 updated, 0 refused", "2\n"},
                         Row{"s\n", "0 added, 0 updated, 1 skipped, 0 refused", "1\n"},
                         Row{"\x04", "0 added, 0 updated, 1 skipped, 0 refused", "1\n"}}) {
    SCOPED_TRACE(row.answer);
    std::filesystem::remove_all(device_);
    Osif({"receive", Write("a.vcf", before)});
    const std::string shown =
        OnATerminal(Launched({support::kCommand, "receive", "--review", Write("b.vcf", after)}),
                    {"OSIF_DEVICE=" + device_, "LC_ALL=C.UTF-8"}, row.answer);
    EXPECT_THAT(shown, AllOf(HasSubstr("pb 00000001 \"Ann Lee\" is stored already:"),
                             HasSubstr("  title: \"Pilot\" becomes \"Cook\""),
                             Not(HasSubstr("  tel:")), HasSubstr(row.counts)));
    EXPECT_EQ(Osif({"count", "pb"}).out, row.objects);
  }
}

TEST_F(CommandReceiveDialects, ReviewDoesNotAskWhereNothingWouldChange) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann", "TITLE:Pilot"}));
  Osif({"receive", file});
  const std::string shown = OnATerminal(Launched({support::kCommand, "receive", "--review", file}),
                                        {"OSIF_DEVICE=" + device_, "LC_ALL=C.UTF-8"}, "");
  EXPECT_THAT(shown, AllOf(Not(HasSubstr("stored already")), HasSubstr("1 updated")));
}

// ---- The other readers ----------------------------------------------------------------------------------

TEST_F(CommandReceiveDialects, FindAndParseTakeEveryFormToo) {
  const std::string file = Write("new.vcf", Card3({"FN:Ann Lee", "TEL;TYPE=cell:1"}));
  Osif({"receive", file});
  EXPECT_EQ(Osif({"find", file}).out, "1  pb 00000001  Ann Lee\n");
  const Outcome parsed = Osif({"parse", file});
  EXPECT_EQ(parsed.status, 0);
  EXPECT_THAT(parsed.OutLines().front(),
              MatchesRegex("object 1 \\(line 1\\): pb, name from FN guessed.*"));
  EXPECT_EQ(parsed.OutLines().back(), file + ": OK");
  EXPECT_EQ(Osif({"parse", "--json", file}).JsonLines().at(0)["guessed"],
            Json::parse("[\"name from FN\"]"));
}

TEST_F(CommandReceiveDialects, AFileThatCannotBeReadSaysWhy) {
  const Outcome outcome = Osif({"receive", Path("missing.vcf")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("missing.vcf: No such file or directory"));
}

TEST_F(CommandReceiveDialects, StandardInputMayBringModernCards) {
  const std::string file = Write("new.vcf", Card3({"FN:Ann Lee"}));
  EXPECT_EQ(Run({"/bin/sh", "-c",
                 "cat '" + file + "' | '" + std::string(support::kCommand) + "' receive -"})
                .status,
            0);
  EXPECT_THAT(Names(), ElementsAre("Ann Lee"));
}

}  // namespace
}  // namespace command_test::receive_dialects_test

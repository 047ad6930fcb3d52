#include <sys/stat.h>

#include "tests/tools/osif/command_fixture.h"

namespace command_test::convert_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class CommandConvert : public CommandTest {
 protected:
  const std::string card_ = Write("a.vcf", Card({"N:Lee;Ann", "TEL;CELL:1", "NICKNAME:Annie"}));
};

TEST_F(CommandConvert, WritesThirtyYearsOldCardsForTodaysPrograms) {
  const Outcome outcome = Osif({"convert", card_, "--to", "vcard40"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              AllOf(StartsWith("BEGIN:VCARD\r\nVERSION:4.0\r\n"), HasSubstr("\r\nN:Lee;Ann;;;\r\n"),
                    HasSubstr("\r\nFN:Ann Lee\r\n"), HasSubstr("\r\nTEL;TYPE=cell:1\r\n"),
                    HasSubstr("\r\nNICKNAME:Annie\r\n"), EndsWith("END:VCARD\r\n")));
}

TEST_F(CommandConvert, WritesVersion3WhereNobodySaysWhich) {
  EXPECT_THAT(Osif({"convert", card_}).out, StartsWith("BEGIN:VCARD\r\nVERSION:3.0\r\n"));
}

TEST_F(CommandConvert, MakesNoDevice) {
  EXPECT_EQ(Osif({"convert", card_}).status, 0);
  EXPECT_FALSE(std::filesystem::exists(device_));
}

TEST_F(CommandConvert, TakesTheFormFromTheEndingOfTheOutput) {
  const std::string calendar =
      Write("a.vcs",
            "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nDTSTART:20260301T080000Z\r\n"
            "DTEND:20260301T090000Z\r\nSUMMARY:Walk\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  const Outcome outcome = Osif({"convert", calendar, "-o", Path("out.ics")});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, Path("out.ics") + ": 1 object\n");
  EXPECT_THAT(BytesOf(Path("out.ics")),
              AllOf(HasSubstr("\r\nVERSION:2.0\r\n"), HasSubstr("\r\nSUMMARY:Walk\r\n")));
}

TEST_F(CommandConvert, PutsTheEventsOfManyFilesIntoOneCalendar) {
  Lines arguments = {"convert", "--to", "ical20"};
  for (const char* name : {"One", "Two"}) {
    arguments.push_back(Write(std::string(name) + ".vcs",
                              "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n"
                              "DTSTART:20260301T080000Z\r\nSUMMARY:" +
                                  std::string(name) + "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"));
  }
  const Lines lines = Osif(arguments).OutLines();
  EXPECT_EQ(std::ranges::count(lines, "BEGIN:VCALENDAR\r"), 1);
  EXPECT_EQ(std::ranges::count(lines, "BEGIN:VEVENT\r"), 2);
  EXPECT_EQ(std::ranges::count(lines, "END:VCALENDAR\r"), 1);
}

TEST_F(CommandConvert, SaysWhatAFormCannotHold) {
  const std::string file =
      Write("b.vcf", "BEGIN:VCARD\r\nVERSION:2.1\r\nEND:VCARD\r\n" + Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"convert", "--to", "eml", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre(
          "osif: " + file + ": object 1 (line 1) was refused: it cannot be written as eml",
          "osif: " + file + ": object 2 (line 4) was refused: it cannot be written as eml"));
}

TEST_F(CommandConvert, AnUnknownFormIsWrongUsageAndNamesTheKnownOnes) {
  const Outcome outcome = Osif({"convert", "--to", "vcard50", card_});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("there is no form \"vcard50\"; the forms are vcard21, "
                                     "vcard30, vcard40, vcal10, ical20, vnote, vmsg, eml, mbox, "
                                     "txt, html"));
}

TEST_F(CommandConvert, TakesTheFilesOfFoldersWhenAsked) {
  mkdir(Path("old").c_str(), 0700);
  mkdir(Path("old/deep").c_str(), 0700);
  Write("old/b.vcf", Card({"N:Berg;Ole"}));
  Write("old/deep/c.vcf", Card({"N:Cole;Ida"}));
  const Outcome outcome = Osif({"convert", "-r", Path("old"), "-o", Path("all.vcf")});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, Path("all.vcf") + ": 2 objects\n");
  EXPECT_THAT(BytesOf(Path("all.vcf")), AllOf(HasSubstr("N:Berg;Ole"), HasSubstr("N:Cole;Ida")));
  EXPECT_EQ(Osif({"convert", Path("old")}).status, 1);
}

TEST_F(CommandConvert, AFileThatIsNoneDoesNotCostTheOthers) {
  const Outcome outcome = Osif({"convert", Path("missing.vcf"), card_, "-o", Path("out.vcf")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("missing.vcf: No such file or directory"));
  EXPECT_THAT(BytesOf(Path("out.vcf")), HasSubstr("Lee;Ann"));
}

TEST_F(CommandConvert, AFileThatWasThereIsKeptWhenThereIsNoObjectForIt) {
  const std::string kept = Write("kept.vcf", "old");
  const Outcome outcome = Osif({"convert", Write("empty.vcf", ""), "-o", kept});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre(
          "osif: " + Path("empty.vcf") +
              ": no object is in it: The stream of data does not contain a valid object (code 8)",
          "osif: " + kept +
              ": not written, as there is no object for it: "
              "The stream of data does not contain a valid object (code 8)"));
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(BytesOf(kept), "old");
}

TEST_F(CommandConvert, AnOutputWithoutRoomIsSaidOnce) {
  const Outcome outcome =
      Run({"/bin/sh", "-c",
           "'" + std::string(support::kCommand) + "' convert '" + card_ + "' > /dev/full"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: standard output: No space left on device: General failure (code 1)\n");
}

TEST_F(CommandConvert, StandardInputAndOutputAreADash) {
  const Outcome outcome = Run({"/bin/sh", "-c",
                               "cat '" + card_ + "' | '" + std::string(support::kCommand) +
                                   "' convert - -o - --to vcard21"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, StartsWith("BEGIN:VCARD\r\nVERSION:2.1\r\n"));
}

TEST_F(CommandConvert, SaysOfEachObjectInJsonWhatWasChanged) {
  const std::vector<Json> lines =
      Osif({"convert", "--json", card_, "-o", Path("out.vcf"), "--to", "vcard40"}).JsonLines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0]["number"], 1);
  EXPECT_TRUE(lines[0].contains("dropped"));
  EXPECT_EQ(lines[1]["count"], 1);
}

// ---- The same forms out of the stores -------------------------------------------------------------------

class CommandForms : public CommandTest {
 protected:
  void SetUp() override { Store(Card({"N:Lee;Ann", "TEL;CELL:1"}) + Card({"N:Berg;Ole"})); }
};

TEST_F(CommandForms, SendWritesAContactWithoutTheLinesOfAbsentValues) {
  const Lines lines = Osif({"send", "pb", "1", "--as", "vcard30"}).OutLines();
  EXPECT_EQ(lines.front(), "BEGIN:VCARD\r");
  EXPECT_EQ(lines.at(1), "VERSION:3.0\r");
  EXPECT_EQ(lines.back(), "END:VCARD\r");
  for (const std::string& line : lines) EXPECT_THAT(line, Not(EndsWith(":\r"))) << line;
}

TEST_F(CommandForms, SendSaysThatAStoreDoesNotHaveAForm) {
  const Outcome outcome = Osif({"send", "pb", "1", "--as", "mbox"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("an object of pb cannot be written as mbox"));
}

TEST_F(CommandForms, ExportWritesEveryObjectInTheForm) {
  EXPECT_EQ(Osif({"export", "pb", "-o", Path("all.vcf"), "--as", "vcard40"}).status, 0);
  const Lines lines = Outcome::Split(BytesOf(Path("all.vcf")));
  EXPECT_EQ(std::ranges::count(lines, "VERSION:4.0\r"), 2);
}

TEST_F(CommandForms, ExportPutsEachObjectIntoAFileOfItsOwn) {
  const Outcome outcome = Osif({"export", "pb", "--split", Path("cards"), "--as", "vcard30"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, Path("cards") + ": 2 objects\n");
  EXPECT_THAT(BytesOf(Path("cards/00000001.vcf")), HasSubstr("\r\nFN:Ann Lee\r\n"));
  EXPECT_THAT(BytesOf(Path("cards/00000002.vcf")), HasSubstr("\r\nFN:Ole Berg\r\n"));
}

TEST_F(CommandForms, ExportNeedsAFileOrAFolderAndNotBoth) {
  EXPECT_EQ(Osif({"export", "pb"}).status, 2);
  EXPECT_EQ(Osif({"export", "pb", "-o", Path("a"), "--split", Path("b")}).status, 2);
}

// ---- Notes, for which the library cannot be asked ----------------------------------------------------------

class CommandNotes : public CommandTest {
 protected:
  CommandNotes() : CommandTest(".vnt") {}
};

TEST_F(CommandNotes, AreListedAndPrintedFromTheDevicesFolder) {
  Store(
      "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:List\r\n"
      "BODY;ENCODING=QUOTED-PRINTABLE:milk=0D=0Abread\r\nEND:VNOTE\r\n");
  EXPECT_EQ(Osif({"notes"}).out, "List\n");
  EXPECT_EQ(Osif({"notes", "List"}).out, "milk\nbread\n");
  const std::vector<Json> lines = Osif({"notes", "--json"}).JsonLines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0]["name"], "List");
  EXPECT_EQ(lines[0]["text"], "milk\r\nbread");
}

TEST_F(CommandNotes, ThatAreNotThereOrNoneFail) {
  EXPECT_EQ(Osif({"notes"}).status, 0);
  EXPECT_EQ(Osif({"notes", "None"}).status, 1);
  EXPECT_EQ(Osif({"notes", "../device"}).status, 1);
  Write("device/Documents/bad.pwi", "no ink");
  EXPECT_THAT(Osif({"notes", "bad"}).err, HasSubstr("bad.pwi is no ink document"));
}

TEST_F(CommandNotes, CannotBeExportedByTheLibraryAndThatIsSaid) {
  EXPECT_THAT(Osif({"export", "note", "-o", Path("n.vnt")}).err, HasSubstr("Not Implemented"));
}

// ---- show ---------------------------------------------------------------------------------------------------

TEST_F(CommandForms, ShowNamesEveryFieldForPeople) {
  const Outcome outcome = Osif({"show", "pb", "1"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("Ann"), HasSubstr("Lee"), HasSubstr(": 1\n")));
  EXPECT_EQ(Osif({"show", "pb", "99"}).status, 1);
}

TEST_F(CommandForms, TheVersionIsTold) {
  const Outcome outcome = Osif({"--version"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(
      outcome.out,
      testing::MatchesRegex("osif [0-9]+\\.[0-9]+\\.[0-9]+\n"
                            "built with [A-Za-z]+ [0-9.]+, SQLite [0-9.]+, ICU [0-9.]+, "
                            "libical [0-9.]+, libarchive [0-9.]+, Nettle [0-9.]+, zlib [0-9.]+\n"));
}

}  // namespace
}  // namespace command_test::convert_test

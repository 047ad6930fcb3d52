// The files in samples/ do what the documents say of them.
#include "tests/tools/osif/command_fixture.h"

namespace command_test::samples_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string Sample(const std::string& name) { return support::kSources + "/samples/" + name; }

class Samples : public CommandTest {
 protected:
  Json FieldsOf(const std::string& name, size_t object) const {
    return Osif({"parse", "--strict", "--json", Sample(name)}).JsonLines().at(object)["fields"];
  }
};

TEST_F(Samples, QuotedPrintableCardsAreDecodedFromUtf8AndLatin1) {
  const Json utf8 = FieldsOf("quoted-printable.vcf", 0);
  EXPECT_EQ(utf8["n"][0]["components"], Json::array({"M\u00FC\u00DFig", "J\u00F6rg"}));
  EXPECT_EQ(
      utf8["note"][0]["components"][0],
      "The parcel goes to the neighbour\r\n\u2013 second floor, left \u2013\r\nwhen nobody opens.");
  const Json latin1 = FieldsOf("quoted-printable.vcf", 1);
  EXPECT_EQ(latin1["n"][0]["components"], Json::array({"Fen\u00EAtre", "Aur\u00E9lie"}));
}

TEST_F(Samples, TheShiftJisCardIsDecoded) {
  const Json fields = FieldsOf("shift-jis.vcf", 0);
  EXPECT_EQ(fields["n"][0]["components"], Json::array({"\u898B\u672C", "\u82B1\u5B50"}));
  EXPECT_EQ(fields["adr"][0]["components"][2], "\u8868\u753A\u4E00\u4E01\u76EE");
}

TEST_F(Samples, TheAddressBookHoldsFiveContacts) {
  EXPECT_EQ(Osif({"receive", "--strict", Sample("address-book.vcf")}).status, 0);
  EXPECT_EQ(Osif({"list", "pb"}).out,
            "00000001  Tunde Abara\n00000002  Carla Bellini\n00000003  Oriol Castell\n"
            "00000004  Fiona Dunmore\n00000005  Nils Eriksen\n");
}

TEST_F(Samples, TheChangedCardUpdatesThePlainOne) {
  Osif({"receive", "--strict", Sample("plain.vcf")});
  EXPECT_THAT(Osif({"receive", "--strict", Sample("changed.vcf")}).out,
              HasSubstr("0 added, 1 updated"));
  EXPECT_THAT(Osif({"send", "pb", "1"}).out, HasSubstr("+1 555 0199"));
}

TEST_F(Samples, OneCardOfMixedVersionsIsRefused) {
  const Outcome outcome = Osif({"receive", "--strict", "--each", Sample("mixed-versions.vcf")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("2 added, 0 updated, 1 refused"));
}

TEST_F(Samples, TheCProgramAddsAFileAndPrintsTheIds) {
  const Outcome outcome = Run(Launched({support::kAddFile, Sample("warning.vcf")}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.OutLines(),
              ElementsAre("store 0: 00000001", "store 0: 00000002 (something was not understood)",
                          "store 0: 00000003 (something was not understood)", "3 added"));
  EXPECT_EQ(Osif({"count", "pb"}).out, "3\n");
}

TEST_F(Samples, TheCProgramBuildsOneObjectOfEachKindAndStoresThem) {
  const Outcome outcome = Run(Launched({support::kBuildObjects}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  const Lines lines = outcome.OutLines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "store 0: 00000001");
  EXPECT_EQ(lines[1], "store 1: 00000002");
  EXPECT_EQ(lines[2], "store 2: Shopping");
  EXPECT_TRUE(lines[3].starts_with("store 3: ")) << lines[3];

  const std::string card = Osif({"send", "pb", "1"}).out;
  EXPECT_THAT(card, HasSubstr("\r\nN:Novak;Petra\r\n"));
  EXPECT_THAT(card, HasSubstr("\r\nTEL;CELL:+420 555 0143\r\n"));
  const std::string event = Osif({"send", "cal", "2"}).out;
  EXPECT_THAT(event, HasSubstr("\r\nSUMMARY:Choir\r\n"));
  EXPECT_THAT(event, HasSubstr("\r\nRRULE:W1 TH #10"));
  EXPECT_THAT(event, HasSubstr("The blue folder\r\n"));
  const std::string message = Osif({"send", "msg-in", lines[3].substr(9)}).out;
  EXPECT_THAT(message, HasSubstr("\r\nFrom:petra.novak@example.org\r\n"));
  EXPECT_THAT(message, HasSubstr("\r\nSee you at seven.\r\n"));
}

TEST_F(Samples, TheCProgramSaysWhatFailed) {
  const Outcome missing = Run(Launched({support::kAddFile, Path("none.vcf")}));
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, Path("none.vcf") + ": Could not open the file (code 7)\n");
  EXPECT_EQ(Run(Launched({support::kAddFile})).status, 2);
}

}  // namespace
}  // namespace command_test::samples_test

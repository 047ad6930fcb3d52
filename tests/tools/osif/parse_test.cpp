#include "tests/tools/osif/command_fixture.h"

namespace command_test::parse_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class CommandParse : public CommandTest {
 protected:
  // The fields of the only object of a file.
  Json FieldsOf(const std::string& bytes) const {
    const std::vector<Json> lines =
        Osif({"parse", "--strict", "--json", Write("one.obj", bytes)}).JsonLines();
    EXPECT_THAT(lines, SizeIs(2));
    return lines.at(0)["fields"];
  }
};

Json Value(const Json& params, const Json& components, const Json& raw) {
  return {{"params", params}, {"components", components}, {"raw", raw}};
}

TEST_F(CommandParse, ShowsEachObjectAndThenTheFilesCode) {
  const std::string file = Write("two.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg", "X-A:1"}));
  const Outcome outcome = Osif({"parse", "--strict", "--json", file});
  EXPECT_EQ(outcome.status, 0);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_EQ(lines[0], (Json{{"store", "pb"},
                            {"result", "ok"},
                            {"fields",
                             {{"version", "2.1"},
                              {"n", {Value(Json::array(), {"Lee", "Ann"}, {"Lee", "Ann"})}}}}}));
  EXPECT_EQ(lines[1]["result"], "warning");
  EXPECT_EQ(lines[2], (Json{{"file", file}, {"code", 0}, {"text", "OK"}}));
}

TEST_F(CommandParse, ComponentsAreDecodedAndRawOnesAreNot) {
  const Json fields = FieldsOf(Card({"N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;"}));
  EXPECT_EQ(fields["n"], Json::array({Value({"CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"},
                                            {"M\u00FCller", ""}, {"M=C3=BCller", ""})}));
}

TEST_F(CommandParse, RawBytesAreShownAsTheCharactersOfTheirNumbers) {
  const Json fields = FieldsOf(Card({"N;CHARSET=UTF-8:M\xC3\xBCller"}));
  EXPECT_EQ(fields["n"][0]["raw"], Json::array({"M\u00C3\u00BCller"}));
  EXPECT_EQ(fields["n"][0]["components"], Json::array({"M\u00FCller"}));
  const Json others = FieldsOf(Card({"N:a\x7E\x7F\x80\xBF\xC0\xFF"}));
  EXPECT_EQ(others["n"][0]["raw"], Json::array({"a\x7E\x7F\xC2\x80\xC2\xBF\xC3\x80\xC3\xBF"}));
}

TEST_F(CommandParse, AComponentThatIsNotThereIsNull) {
  const Json fields = FieldsOf(Card({"N:Lee", "DEPT:Radar"}));
  EXPECT_EQ(fields["org"][0]["components"], Json::array({nullptr, "Radar"}));
  EXPECT_EQ(fields["org"][0]["raw"], Json::array({nullptr, "Radar"}));
}

TEST_F(CommandParse, AnUnpairedSurrogateBecomesTheReplacementCharacter) {
  const Json fields = FieldsOf(Card({"N;CHARSET=UTF-16LE;ENCODING=QUOTED-PRINTABLE:=00=D8A=00"}));
  EXPECT_TRUE(fields["n"][0]["components"][0].is_string());
}

TEST_F(CommandParse, TheLuidIsByteText) {
  EXPECT_EQ(FieldsOf(Card({"N:Lee",
                           "X-IRMC-LUID:\xE9"
                           "1"}))["xIrmcLuid"],
            "\u00E9"
            "1");
}

TEST_F(CommandParse, TouchesNoStore) {
  Osif({"parse", "--strict", Write("a.vcf", Card({"N:Lee;Ann"}))});
  EXPECT_EQ(Osif({"count", "pb"}).out, "0\n");
}

TEST_F(CommandParse, ShowsPeopleTheFieldsByName) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann", "TEL;HOME:555"}));
  EXPECT_THAT(Osif({"parse", "--strict", file}).OutLines(),
              ElementsAre("object 1 (line 1): pb, Parsing successful", "  version: 2.1",
                          "  n: Lee; Ann", "  tel: 555  [HOME]", file + ": OK"));
}

TEST_F(CommandParse, ARefusedFileHasItsCodeInTheLastLine) {
  const std::string file = Write("refused.vcf", kRefusedCard);
  const Outcome outcome = Osif({"parse", "--strict", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.JsonLines(),
              ElementsAre(Json{{"file", file}, {"code", 20}, {"text", "Parsing error"}}));
  EXPECT_THAT(outcome.err, HasSubstr("object 1 (line 1) was refused"));
}

TEST_F(CommandParse, EachKnowsWhichObjectAWarningIsOf) {
  const std::string file =
      Write("two.vcf", Card({"N:Lee;Ann", "X-A:1"}) + Card({"N:Berg;Ole", "X-A:1"}));
  EXPECT_THAT(Osif({"parse", "--strict", file}).out, HasSubstr("(here or in an object before it)"));
  EXPECT_THAT(Osif({"parse", "--strict", "--each", file}).out,
              testing::Not(HasSubstr("(here or in an object before it)")));
}

TEST_F(CommandParse, AResultIsUncertainOnlyAfterAWarning) {
  const std::string file =
      Write("three.vcf", Card({"N:Lee"}) + Card({"N:Berg", "X-A:1"}) + Card({"N:Cruz"}));
  EXPECT_THAT(
      Osif({"parse", "--strict", file}).OutLines(),
      ElementsAre("object 1 (line 1): pb, Parsing successful", "  version: 2.1", "  n: Lee",
                  "object 2 (line 5): pb, Parsing warning", "  version: 2.1", "  n: Berg",
                  "object 3 (line 10): pb, Parsing warning (here or in an object before it)",
                  "  version: 2.1", "  n: Cruz", file + ": OK"));
}

TEST_F(CommandParse, EachShowsTheObjectsBehindARefusedOne) {
  const std::string file =
      Write("bad.vcf", Card({"N:Lee;Ann", "X-A:1"}) + kRefusedCard + "\r\n" + Card({"N:Berg;Ole"}));
  const Outcome outcome = Osif({"parse", "--strict", "--each", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(4));
  EXPECT_EQ(lines[0]["result"], "warning");
  EXPECT_EQ(lines[1]["error"], file + ": object 2 (line 6) was refused");
  EXPECT_EQ(lines[2]["fields"]["n"][0]["components"], Json::array({"Berg", "Ole"}));
  EXPECT_EQ(lines[2]["result"], "ok");
  EXPECT_EQ(lines[3]["code"], 20);
}

TEST_F(CommandParse, ACardOfFiveMillionBytesIsShownWhole) {
  const Json fields = FieldsOf(Card({"N:Lee;Ann", "NOTE:" + std::string(5'000'000, 'x')}));
  EXPECT_EQ(std::string(fields["note"][0]["components"][0]).size(), 5'000'000u);
}

}  // namespace
}  // namespace command_test::parse_test

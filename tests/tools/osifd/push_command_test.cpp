// osif push against the service: what one device sends, the other has.
#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::push_command_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class PushCommand : public OsifdTest {
 protected:
  // Stores a card on another device, and gives its id there.
  std::string StoreElsewhere(const Lines& lines) {
    EXPECT_EQ(Osif({"--device", elsewhere_, "receive", Write("card.vcf", Card(lines))}).status, 0);
    return Json::parse(
        Osif({"--device", elsewhere_, "--json", "list", "pb"}).OutLines().back())["id"];
  }
  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  const std::string elsewhere_ = Path("elsewhere");
};

TEST_F(PushCommand, SendsAContactWithAllThatItHas) {
  StartService();
  const std::string id = StoreElsewhere({"N;CHARSET=UTF-8:M\xC3\xBCller;Ann", "TEL;CELL:123"});
  const Outcome outcome = Osif({"--device", elsewhere_, "push", "pb", id, "--to", Address()});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "pb " + id + ": sent to " + Address() + "\n");
  const std::string stored = Osif({"send", "pb", "1", "--as", "vcard40"}).out;
  EXPECT_THAT(stored, HasSubstr("\r\nN:M\xC3\xBCller;Ann;;;\r\n"));
  EXPECT_THAT(stored, HasSubstr("\r\nTEL;TYPE=cell:123\r\n"));
}

TEST_F(PushCommand, SaysAPasswordWhereItIsAsked) {
  const std::string right = Write("right", "secret\n");
  StartService({"--password-file", right});
  const std::string id = StoreElsewhere({"N:Lee;Ann"});
  const Lines push = {"--device", elsewhere_, "push", "pb", id, "--to", Address()};
  EXPECT_THAT(Osif(push).err, HasSubstr("a password is wanted"));
  Lines with = push;
  with.insert(with.end(), {"--password-file", Write("wrong", "guess\n")});
  EXPECT_EQ(Osif(with).status, 1);
  EXPECT_EQ(Count("pb"), "0");
  with.back() = right;
  EXPECT_EQ(Osif(with).status, 0);
  EXPECT_EQ(Count("pb"), "1");
}

TEST_F(PushCommand, SaysWhoCannotBeReached) {
  const std::string id = StoreElsewhere({"N:Lee;Ann"});
  const Outcome outcome = Osif({"--device", elsewhere_, "push", "pb", id, "--to", "127.0.0.1:1"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.ErrLines(), ElementsAre("osif: 127.0.0.1:1: Connection refused"));
  EXPECT_EQ(Osif({"--device", elsewhere_, "push", "pb", id, "--to", "nowhere"}).status, 1);
}

TEST_F(PushCommand, GoesOnAfterAnObjectThatIsRefused) {
  StartService({"--max-body", "300"});
  const std::string large = StoreElsewhere({"N:Lee;Ann", "NOTE:" + std::string(400, 'x')});
  const std::string small = StoreElsewhere({"N:Ray;Bob"});
  const Outcome outcome =
      Osif({"--device", elsewhere_, "push", "pb", large, small, "--to", Address()});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.ErrLines(), ElementsAre("osif: pb " + large + " was not taken: too large"));
  EXPECT_EQ(outcome.out, "pb " + small + ": sent to " + Address() + "\n");
  EXPECT_EQ(Count("pb"), "1");
}

}  // namespace
}  // namespace osifd_test::push_command_test

#include "obex/packets/authentication.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "tests/obex/packets/packet_bytes.h"

namespace authentication_test {
namespace {

using obex::Authenticator;
using obex::ChallengeOf;
using obex::Digest;
using obex::DigestOf;
using obex::ResponseTo;
using obex_test::Bytes;
using obex_test::Hex;

constexpr std::string_view kFirst = "0123456789abcdef";
constexpr std::string_view kSecond = "ABCDEFGHIJKLMNOP";

// MD5 of the nonce, ":secret".
constexpr const char* kFirstDigest = "8A 20 E9 61 FA 54 15 81 25 36 15 92 E0 A9 5A 43";
constexpr const char* kSecondDigest = "30 1E FE 0B F3 79 33 C6 FD 1D F0 3A 53 ED 19 E4";

Digest Nonce(std::string_view text) {
  Digest nonce{};
  std::ranges::copy(text, nonce.begin());
  return nonce;
}

// Challenges with the first nonce, then with the second.
Authenticator Knowing(std::string password) {
  return Authenticator(std::move(password),
                       [count = 0]() mutable { return Nonce(count++ == 0 ? kFirst : kSecond); });
}

std::string Tagged(std::string_view tag, std::string_view digest) {
  return Bytes(std::string(tag) + " 10 " + std::string(digest));
}

TEST(Digests, AreOfTheNonceAColonAndThePassword) {
  const Digest digest = DigestOf(kFirst, "secret");
  EXPECT_EQ(Hex({digest.data(), digest.size()}), kFirstDigest);
}

TEST(Digests, MayBeOfAnEmptyPassword) {
  const Digest digest = DigestOf(kFirst, "");
  EXPECT_EQ(Hex({digest.data(), digest.size()}), "9E E8 34 53 D5 6A 30 77 69 1F 48 2A 12 6B 53 7B");
}

TEST(Challenges, HaveTheNonceAlone) {
  EXPECT_EQ(Hex(ChallengeOf(Nonce(kFirst))),
            "00 10 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66");
}

TEST(Responses, HaveTheDigestAndTheNonceThatTheyAnswer) {
  EXPECT_EQ(Hex(ResponseTo(Bytes("00 10") + std::string(kFirst), "secret")),
            "00 10 " + std::string(kFirstDigest) +
                " 02 10 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66");
}

TEST(Responses, AnswerAChallengeThatAlsoSaysForWhatItIs) {
  const std::string challenge =
      Bytes("01 01 02  02 05 00 6D 69 6E 65  00 10") + std::string(kFirst);
  EXPECT_EQ(Hex(ResponseTo(challenge, "secret")).substr(0, 53),
            "00 10 " + std::string(kFirstDigest));
}

TEST(Responses, AreNoneToAMalformedChallenge) {
  EXPECT_EQ(ResponseTo("", "secret"), "");
  EXPECT_EQ(ResponseTo(Bytes("01 01 00"), "secret"), "");
  EXPECT_EQ(ResponseTo(Bytes("00 0F") + std::string(15, 'n'), "secret"), "");
  EXPECT_EQ(ResponseTo(Bytes("00 11") + std::string(17, 'n'), "secret"), "");
  EXPECT_EQ(ResponseTo(Bytes("00 10") + std::string(15, 'n'), "secret"), "");
}

TEST(AnAuthenticator, AcceptsWhatAnswersItsChallenge) {
  Authenticator ours = Knowing("secret");
  EXPECT_EQ(ours.NewChallenge(), ChallengeOf(Nonce(kFirst)));
  EXPECT_TRUE(ours.Accepts(Tagged("00", kFirstDigest)));
}

TEST(AnAuthenticator, AcceptsTheAnswerOfAnother) {
  Authenticator ours = Knowing("secret");
  const Authenticator theirs = Knowing("secret");
  EXPECT_TRUE(ours.Accepts(theirs.Answer(ours.NewChallenge())));
}

TEST(AnAuthenticator, RefusesTheAnswerOfWhoeverHasAnotherPassword) {
  Authenticator ours = Knowing("secret");
  const Authenticator theirs = Knowing("Secret");
  EXPECT_FALSE(ours.Accepts(theirs.Answer(ours.NewChallenge())));
}

TEST(AnAuthenticator, RefusesADigestThatIsWrongInAnyByte) {
  for (size_t i = 0; i < 16; ++i) {
    Authenticator ours = Knowing("secret");
    ours.NewChallenge();
    std::string response = Tagged("00", kFirstDigest);
    response[2 + i] ^= 0x01;
    EXPECT_FALSE(ours.Accepts(response)) << i;
  }
}

TEST(AnAuthenticator, RefusesWhatHasNoDigestOrOneOfAnotherSize) {
  for (const std::string& response :
       {std::string(), Bytes("00 00"), Tagged("01", kFirstDigest),
        Bytes("00 0F" + std::string(kFirstDigest).substr(0, 44)),
        Bytes("00 11" + std::string(kFirstDigest) + "00"), Bytes("00 10 8A 20")}) {
    Authenticator ours = Knowing("secret");
    ours.NewChallenge();
    EXPECT_FALSE(ours.Accepts(response)) << Hex(response);
  }
}

TEST(AnAuthenticator, AcceptsNothingBeforeItHasChallenged) {
  Authenticator ours = Knowing("secret");
  EXPECT_FALSE(ours.Accepts(Tagged("00", kFirstDigest)));
  EXPECT_FALSE(ours.Accepts(Tagged("00", "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00")));
}

TEST(AnAuthenticator, AcceptsTheAnswerToAChallengeOnce) {
  Authenticator ours = Knowing("secret");
  ours.NewChallenge();
  EXPECT_TRUE(ours.Accepts(Tagged("00", kFirstDigest)));
  EXPECT_FALSE(ours.Accepts(Tagged("00", kFirstDigest)));
}

TEST(AnAuthenticator, TakesBackItsChallengeWithAWrongAnswer) {
  Authenticator ours = Knowing("secret");
  ours.NewChallenge();
  EXPECT_FALSE(ours.Accepts(Tagged("00", kSecondDigest)));
  EXPECT_FALSE(ours.Accepts(Tagged("00", kFirstDigest)));
}

TEST(AnAuthenticator, AcceptsTheAnswerToItsLastChallengeAlone) {
  Authenticator ours = Knowing("secret");
  ours.NewChallenge();
  EXPECT_EQ(ours.NewChallenge(), ChallengeOf(Nonce(kSecond)));
  EXPECT_FALSE(ours.Accepts(Tagged("00", kFirstDigest)));
}

TEST(AnAuthenticator, AcceptsTheAnswerToItsSecondChallenge) {
  Authenticator ours = Knowing("secret");
  ours.NewChallenge();
  ours.NewChallenge();
  EXPECT_TRUE(ours.Accepts(Tagged("00", kSecondDigest)));
}

}  // namespace
}  // namespace authentication_test

#include "client/digest.h"

#include <gtest/gtest.h>

namespace digest_test {
namespace {

// The values of FIPS 180-4's examples.
TEST(Sha256, IsTheOneOfTheStandard) {
  EXPECT_EQ(client::Sha256("abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(client::Sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

// The same digest, by another program: printf abc | openssl dgst -sha256 -binary | base64
TEST(Sha256, InBase64IsAsPoliciesHaveIt) {
  EXPECT_EQ(client::Sha256Base64("abc"), "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=");
}

}  // namespace
}  // namespace digest_test

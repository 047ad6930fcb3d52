#include "obex/packets/authentication.h"

#include <nettle/md5.h>
#include <nettle/memops.h>

#include <utility>

#include "obex/packets/headers.h"

namespace obex {
namespace {

constexpr uint8_t kNonceTag = 0x00;     // of a challenge
constexpr uint8_t kDigestTag = 0x00;    // of a response
constexpr uint8_t kAnsweredTag = 0x02;  // of a response: the nonce that it answers

void Add(md5_ctx& context, std::string_view bytes) {
  md5_update(&context, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
}

std::string_view BytesOf(const Digest& digest) { return {digest.data(), digest.size()}; }

}  // namespace

Digest DigestOf(std::string_view nonce, std::string_view password) {
  md5_ctx context;
  md5_init(&context);
  Add(context, nonce);
  Add(context, ":");
  Add(context, password);
  Digest digest{};
  md5_digest(&context, digest.size(), reinterpret_cast<uint8_t*>(digest.data()));
  return digest;
}

std::string ChallengeOf(const Digest& nonce) {
  std::string list;
  AppendTag(list, kNonceTag, BytesOf(nonce));
  return list;
}

std::string ResponseTo(std::string_view challenge, std::string_view password) {
  const std::optional<std::string_view> nonce = FindTag(challenge, kNonceTag);
  if (!nonce || nonce->size() != Digest().size()) return {};
  std::string list;
  AppendTag(list, kDigestTag, BytesOf(DigestOf(*nonce, password)));
  AppendTag(list, kAnsweredTag, *nonce);
  return list;
}

Authenticator::Authenticator(std::string password, std::function<Digest()> random)
    : password_(std::move(password)), random_(std::move(random)) {}

std::string Authenticator::NewChallenge() {
  nonce_ = random_();
  return ChallengeOf(*nonce_);
}

// The digest is compared in a time that does not tell how much of it was right. A response need not say which nonce it
// answers.
bool Authenticator::Accepts(std::string_view response) {
  const std::optional<Digest> nonce = std::exchange(nonce_, std::nullopt);
  const std::optional<std::string_view> digest = FindTag(response, kDigestTag);
  if (!nonce || !digest || digest->size() != nonce->size()) return false;
  const Digest expected = DigestOf(BytesOf(*nonce), password_);
  return memeql_sec(digest->data(), expected.data(), expected.size()) != 0;
}

}  // namespace obex

// Challenge and response with a password that both sides know and that does not go over the wire (OBEX 1.2, 3.5).
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace obex {

using Digest = std::array<char, 16>;

// MD5 of the nonce, a colon and the password.
Digest DigestOf(std::string_view nonce, std::string_view password);

// The values of the headers. A challenge asks for no user's name and allows everything.
std::string ChallengeOf(const Digest& nonce);
std::string ResponseTo(std::string_view challenge, std::string_view password);

// One side's password, and the challenge that it waits to see answered.
class Authenticator {
 public:
  // `random` gives 16 bytes that nobody can foretell, others each time.
  Authenticator(std::string password, std::function<Digest()> random);

  // A new challenge; only the answer to the last one counts, and once.
  std::string NewChallenge();
  // True when a response answers the challenge.
  bool Accepts(std::string_view response);
  // What answers the other side's challenge; empty for one that is malformed.
  std::string Answer(std::string_view challenge) const { return ResponseTo(challenge, password_); }

 private:
  const std::string password_;
  const std::function<Digest()> random_;
  std::optional<Digest> nonce_;
};

}  // namespace obex

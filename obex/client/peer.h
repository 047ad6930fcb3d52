// The other side of a connection: asks a server, as phones do. One request at a time; each waits for its answer.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "obex/packets/codes.h"

namespace obex {

// What may stand before the body of a request. Empty is left out.
struct Wanted {
  std::string name = {};        // UTF-8
  std::string type = {};        // MIME
  std::string parameters = {};  // application parameters
};

// What a server answered. `error` says, in words, why there is no answer: the connection is lost, or was too slow.
struct Reply {
  Code code = Code::kInternalError;
  std::string body = {};
  std::string parameters = {};
  std::string error = {};

  bool is_success() const { return error.empty() && code == Code::kSuccess; }
};

// The words for a reply that is no success.
std::string ReplyText(const Reply& reply);

class Peer {
 public:
  // The descriptor stays its owner's.
  Peer(int handle, std::chrono::seconds patience) : handle_(handle), patience_(patience) {}

  // CONNECT, to a target or the default service. Where the server asks for a password, it is tried once.
  Reply Connect(std::string_view target, std::string_view password);

  Reply Get(const Wanted& wanted);
  // Gives up on answers whose body is larger.
  static constexpr size_t kLargestBody = size_t{256} << 20;
  // A GET packet by packet: the first answer, and the next one as long as the code is kContinue. The body is that of the
  // packet. Whoever does not want the rest aborts.
  Reply GetFirst(const Wanted& wanted);
  Reply GetNext();
  void Abort();

  Reply Put(const Wanted& wanted, std::string_view body);
  // A PUT without any body: a deletion.
  Reply Delete(const Wanted& wanted);

  void Disconnect();

 private:
  std::string HeadersOf(const Wanted& wanted) const;
  Reply AskForBody(std::string_view headers);
  Reply Ask(Opcode opcode, std::string_view rest);
  Reply AskConnect(std::string_view target, std::string_view response);
  bool SendAll(std::string_view bytes, Reply& reply);
  bool ReadAll(char* into, size_t length, Reply& reply);
  bool WaitFor(short event, Reply& reply);
  void TakeHeaders(std::string_view bytes, Reply& reply);

  const int handle_;
  const std::chrono::seconds patience_;
  size_t most_ = 255;  // bytes of a packet that the server takes
  std::optional<uint32_t> connection_id_;
  std::string challenge_;  // of the last answer
  size_t got_ = 0;         // bytes of the body of the GET that runs
  size_t empty_ = 0;       // packets of it in a row that had none
};

}  // namespace obex

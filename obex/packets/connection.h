// One side of an OBEX connection, the server's, as a machine that takes bytes and gives bytes (OBEX 1.2). It has no
// descriptor, no thread and no clock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "obex/packets/authentication.h"
#include "obex/packets/headers.h"
#include "obex/packets/service.h"

namespace obex {

// What a peer may send. Beyond it a request is refused.
struct PacketLimits {
  uint16_t packet = 32'767;    // bytes of a packet: told to the peer, and held
  size_t headers = 65'536;     // bytes of all headers of one request but its body
  size_t name = 512;           // characters (UTF-16 units)
  uint64_t body = 16'777'216;  // bytes
};

// The least that either side may tell, and what is sent before anything was told.
inline constexpr uint16_t kLeastPacket = 255;

class Connection {
 public:
  // The service outlives it. With an authenticator nothing is done for a peer that does not know the password: it is
  // challenged until it has answered in a request of any kind, and finished with after three wrong answers. Its own
  // challenges are answered then.
  Connection(Service& service, const PacketLimits& limits,
             std::unique_ptr<Authenticator> authenticator = nullptr);
  // What runs is dropped.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Bytes that came. While HasPacket() nothing more should be read, so that what waits here stays below two packets.
  void Feed(std::string_view bytes);

  // True when Answer() has something to answer.
  bool HasPacket() const;
  // True when a part of a packet has come.
  bool IsInPacket() const { return !Waiting().empty(); }

  // The answer to the next packet; nothing while it is not whole. Each packet has one answer of at most the size that
  // the peer told.
  std::optional<std::string> Answer();

  // True when the connection has to be closed after the last answer: nothing sensible can follow.
  bool is_finished() const { return is_finished_; }

 private:
  enum class Running { kNothing, kPut, kRefusedPut, kGetRequest, kGetAnswer };

  // The headers of one packet that are for the connection itself, and its body.
  struct Packet {
    std::string target;
    std::optional<std::string> challenge;
    std::optional<std::string> challenge_response;
    std::optional<uint32_t> connection_id;
    std::string body;
    bool has_body = false;
    bool has_other = false;  // any header of the request but a body
  };

  std::string_view Waiting() const { return std::string_view(waiting_).substr(answered_); }
  std::string AnswerTo(Opcode opcode, std::string_view bytes);
  std::string AnswerConnect(std::string_view bytes);
  std::string AnswerDisconnect(std::string_view bytes);
  std::string AnswerPut(std::string_view bytes, bool is_final);
  std::string AnswerGet(std::string_view bytes, bool is_final);
  std::string AnswerSetPath(std::string_view bytes);
  std::string Refuse(Code code);
  std::string RefuseBroken(Opcode opcode);
  std::string Connected(Code code, const std::string& headers);
  Code TakePiece(const Packet& packet);
  std::string FinishPut();
  std::string RefusePut(Code code, bool is_final);
  std::string NextOfBody();

  Code ReadHeaders(std::string_view bytes, Packet& packet);
  Code TakeHeader(const Header& header, Packet& packet);
  Code TakeName(std::string_view bytes);
  Code MayServe(const Packet& packet);
  Code MayGoOn(const Packet& packet) const;
  bool IsForOther(const Packet& packet) const;
  bool IsAuthentic(const Packet& packet);
  std::string TakeProof();
  std::string ChallengeFor(Code refusal);
  void Begin(Running running);
  void DropRunning();
  void CloseService();

  Service& service_;
  const PacketLimits limits_;
  const std::unique_ptr<Authenticator> authenticator_;
  std::string waiting_;  // what came last
  size_t answered_ = 0;  // bytes of it
  bool is_finished_ = false;

  bool is_open_ = false;  // the service, for this peer
  bool is_authentic_ = false;
  int wrong_responses_ = 0;
  std::optional<std::string> peer_challenge_;  // that is not answered yet
  std::string proof_;                          // the answer to it
  std::optional<uint32_t> connection_id_;
  uint16_t peer_packet_ = kLeastPacket;

  Running running_ = Running::kNothing;
  Request request_;
  size_t header_bytes_ = 0;
  uint64_t body_bytes_ = 0;
  bool has_body_ = false;
  Code refusal_ = Code::kSuccess;  // of kRefusedPut
  GetAnswer answer_;               // of kGetAnswer
};

}  // namespace obex

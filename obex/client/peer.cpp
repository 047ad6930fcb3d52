#include "obex/client/peer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "obex/packets/authentication.h"
#include "obex/packets/connection.h"
#include "obex/packets/headers.h"

namespace obex {
namespace {

constexpr size_t kPacketHead = 3;
constexpr size_t kConnectFields = 4;
constexpr size_t kBodyHead = 3;
constexpr uint16_t kOwnPacket = 32'767;
constexpr char kVersion = 0x10;
constexpr size_t kMostEmptyAnswers = 1000;

struct CodeRow {
  Code code;
  const char* text;
};

constexpr std::array<CodeRow, 13> kCodes = {{
    {Code::kBadRequest, "bad request"},
    {Code::kUnauthorized, "a password is wanted, or this one is wrong"},
    {Code::kForbidden, "forbidden"},
    {Code::kNotFound, "not found"},
    {Code::kConflict, "conflict: the store was changed by others"},
    {Code::kTooLarge, "too large"},
    {Code::kUnsupportedType, "objects of this type are not taken"},
    {Code::kInternalError, "internal error"},
    {Code::kNotImplemented, "not implemented"},
    {Code::kUnavailable, "busy with another session"},
    {Code::kDatabaseFull, "full"},
    {Code::kDatabaseLocked, "locked"},
    {Code::kContinue, "an answer out of turn"},
}};

}  // namespace

std::string ReplyText(const Reply& reply) {
  if (!reply.error.empty()) return reply.error;
  const auto* row = std::ranges::find(kCodes, reply.code, &CodeRow::code);
  if (row != kCodes.end()) return row->text;
  return "answer " + std::to_string(static_cast<int>(reply.code));
}

// ---- Bytes --------------------------------------------------------------------------------------------------

bool Peer::WaitFor(short event, Reply& reply) {
  pollfd wanted{handle_, event, 0};
  int ready = 0;
  do {
    ready = poll(&wanted, 1, static_cast<int>(std::chrono::milliseconds(patience_).count()));
  } while (ready < 0 && errno == EINTR);
  if (ready == 0) reply.error = "no answer in time";
  if (ready < 0) reply.error = std::strerror(errno);
  return ready > 0;
}

bool Peer::SendAll(std::string_view bytes, Reply& reply) {
  while (!bytes.empty()) {
    const ssize_t count = write(handle_, bytes.data(), bytes.size());
    if (count > 0) {
      bytes.remove_prefix(static_cast<size_t>(count));
    } else if (count < 0 && errno != EAGAIN && errno != EINTR) {
      reply.error = std::strerror(errno);
      return false;
    } else if (!WaitFor(POLLOUT, reply)) {
      return false;
    }
  }
  return true;
}

bool Peer::ReadAll(char* into, size_t length, Reply& reply) {
  for (size_t done = 0; done < length;) {
    if (!WaitFor(POLLIN, reply)) return false;
    const ssize_t count = read(handle_, into + done, length - done);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (count <= 0) {
      reply.error = count == 0 ? "the connection was closed" : std::strerror(errno);
      return false;
    }
    done += static_cast<size_t>(count);
  }
  return true;
}

// ---- Requests -----------------------------------------------------------------------------------------------

Reply Peer::Ask(Opcode opcode, std::string_view rest) {
  Reply reply;
  std::string packet(1, static_cast<char>(opcode));
  AppendShort(packet, static_cast<uint16_t>(kPacketHead + rest.size()));
  packet += rest;
  std::array<char, kPacketHead> head{};
  if (!SendAll(packet, reply) || !ReadAll(head.data(), head.size(), reply)) return reply;
  const size_t length = ShortAt({head.data(), head.size()}, 1);
  if (length < kPacketHead) {
    reply.error = "the answer is none";
    return reply;
  }
  std::string answer(length - kPacketHead, '\0');
  if (!ReadAll(answer.data(), answer.size(), reply)) return reply;
  reply.code = static_cast<Code>(head[0]);
  std::string_view headers = answer;
  if (opcode == Opcode::kConnect) {
    if (answer.size() < kConnectFields) {
      reply.error = "the answer is none";
      return reply;
    }
    most_ = std::max<size_t>(ShortAt(answer, 2), kLeastPacket);
    headers.remove_prefix(kConnectFields);
  }
  TakeHeaders(headers, reply);
  return reply;
}

void Peer::TakeHeaders(std::string_view bytes, Reply& reply) {
  HeaderReader reader(bytes);
  while (const std::optional<Header> header = reader.Next()) {
    if (header->Is(HeaderId::kBody) || header->Is(HeaderId::kEndOfBody)) {
      reply.body += header->bytes;
    }
    if (header->Is(HeaderId::kParameters)) reply.parameters = header->bytes;
    if (header->Is(HeaderId::kChallenge)) challenge_ = header->bytes;
    if (header->Is(HeaderId::kConnectionId)) connection_id_ = header->number;
  }
  if (reader.is_malformed()) reply.error = "the answer is none";
}

Reply Peer::Connect(std::string_view target, std::string_view password) {
  Reply reply = AskConnect(target, {});
  if (reply.code != Code::kUnauthorized || challenge_.empty() || password.empty()) return reply;
  return AskConnect(target, ResponseTo(challenge_, password));
}

Reply Peer::AskConnect(std::string_view target, std::string_view response) {
  std::string rest(1, kVersion);
  rest += '\0';
  AppendShort(rest, kOwnPacket);
  if (!target.empty()) AppendBytes(rest, HeaderId::kTarget, target);
  if (!response.empty()) AppendBytes(rest, HeaderId::kChallengeResponse, response);
  return Ask(Opcode::kConnect, rest);
}

// The id of the connection is the first one.
std::string Peer::HeadersOf(const Wanted& wanted) const {
  std::string headers;
  if (connection_id_) AppendNumber(headers, HeaderId::kConnectionId, *connection_id_);
  if (!wanted.name.empty()) AppendText(headers, HeaderId::kName, wanted.name);
  if (!wanted.type.empty()) AppendBytes(headers, HeaderId::kType, wanted.type + '\0');
  if (!wanted.parameters.empty()) AppendBytes(headers, HeaderId::kParameters, wanted.parameters);
  return headers;
}

Reply Peer::Get(const Wanted& wanted) {
  std::string body;
  Reply reply = GetFirst(wanted);
  for (;;) {
    body += reply.body;
    if (!reply.error.empty() || reply.code != Code::kContinue) break;
    reply = GetNext();
  }
  reply.body = std::move(body);
  return reply;
}

Reply Peer::GetFirst(const Wanted& wanted) {
  got_ = 0;
  empty_ = 0;
  return AskForBody(HeadersOf(wanted));
}

Reply Peer::GetNext() { return AskForBody({}); }

// A server may have nothing to give for a while, but not for ever.
Reply Peer::AskForBody(std::string_view headers) {
  Reply reply = Ask(Opcode::kGetFinal, headers);
  got_ += reply.body.size();
  empty_ = reply.body.empty() ? empty_ + 1 : 0;
  if (got_ > kLargestBody) reply.error = "the answer is too large";
  if (empty_ > kMostEmptyAnswers) reply.error = "the answer has no end";
  return reply;
}

void Peer::Abort() {
  std::string headers;
  if (connection_id_) AppendNumber(headers, HeaderId::kConnectionId, *connection_id_);
  Ask(Opcode::kAbort, headers);
}

// The headers are in a packet of their own, which every server's least packet has room for unless the name is very long.
Reply Peer::Put(const Wanted& wanted, std::string_view body) {
  std::string headers = HeadersOf(wanted);
  AppendNumber(headers, HeaderId::kLength, static_cast<uint32_t>(body.size()));
  Reply reply = Ask(Opcode::kPut, headers);
  const size_t room = most_ - kPacketHead - kBodyHead;
  while (reply.error.empty() && reply.code == Code::kContinue) {
    const std::string_view piece = body.substr(0, room);
    body.remove_prefix(piece.size());
    std::string rest;
    AppendBytes(rest, body.empty() ? HeaderId::kEndOfBody : HeaderId::kBody, piece);
    reply = Ask(body.empty() ? Opcode::kPutFinal : Opcode::kPut, rest);
    if (body.empty()) break;
  }
  return reply;
}

Reply Peer::Delete(const Wanted& wanted) { return Ask(Opcode::kPutFinal, HeadersOf(wanted)); }

void Peer::Disconnect() {
  std::string headers;
  if (connection_id_) AppendNumber(headers, HeaderId::kConnectionId, *connection_id_);
  Ask(Opcode::kDisconnect, headers);
  connection_id_.reset();
}

}  // namespace obex

// A packet is collected until it is whole, then answered; one request runs at a time. A PUT that was refused before its
// end leaves its code behind: a peer that goes on sending all the same has to be told so again, and what it sends must
// not be taken for a new object. A new request has a header beside its body. Whatever ends a request early drops it
// first, so that the service is never asked two things at a time.
#include "obex/packets/connection.h"

#include <utility>

#include "platform/utf8.h"

namespace obex {
namespace {

constexpr size_t kPacketHead = 3;       // the code, and the packet's length
constexpr size_t kConnectFields = 4;    // version, flags, the longest packet
constexpr size_t kSetPathFields = 2;    // flags, constants
constexpr size_t kBodyHead = 3;         // of a body header
constexpr size_t kLongestTarget = 128;  // bytes that an answer to the most modest peer can repeat
constexpr int kMostWrongResponses = 3;  // then guessing costs a connection
constexpr char kVersion = 0x10;         // 1.0
constexpr uint32_t kFirstId = 1;        // the only one: a connection serves one target at a time
constexpr uint8_t kUpFlag = 1;          // of SETPATH

size_t LengthOf(std::string_view packet) { return ShortAt(packet, 1); }

std::string Response(Code code, std::string_view rest) {
  std::string packet(1, static_cast<char>(code));
  AppendShort(packet, static_cast<uint16_t>(kPacketHead + rest.size()));
  packet += rest;
  return packet;
}

std::string WithoutZeros(std::string_view text) {
  return std::string(text.substr(0, text.find_last_not_of('\0') + 1));
}

}  // namespace

Connection::Connection(Service& service, const PacketLimits& limits,
                       std::unique_ptr<Authenticator> authenticator)
    : service_(service), limits_(limits), authenticator_(std::move(authenticator)) {}

Connection::~Connection() { DropRunning(); }

// A length that no packet may have is answered at once: what comes after it cannot be found.
bool Connection::HasPacket() const {
  const std::string_view waiting = Waiting();
  if (is_finished_ || waiting.size() < kPacketHead) return false;
  const size_t length = LengthOf(waiting);
  return length < kPacketHead || length > limits_.packet || waiting.size() >= length;
}

void Connection::Feed(std::string_view bytes) {
  waiting_.erase(0, answered_);
  answered_ = 0;
  waiting_ += bytes;
}

std::optional<std::string> Connection::Answer() {
  if (!HasPacket()) return std::nullopt;
  const size_t length = LengthOf(Waiting());
  const auto opcode = static_cast<Opcode>(Waiting()[0]);
  if (length < kPacketHead || length > limits_.packet) {
    is_finished_ = true;
    DropRunning();
    return RefuseBroken(opcode);
  }
  const std::string_view packet = Waiting().substr(0, length);
  answered_ += length;
  return AnswerTo(opcode, packet.substr(kPacketHead));
}

// What stands where no such packet may.
std::string Connection::RefuseBroken(Opcode opcode) {
  return opcode == Opcode::kConnect ? Connected(Code::kBadRequest, {})
                                    : Response(Code::kBadRequest, {});
}

std::string Connection::AnswerTo(Opcode opcode, std::string_view bytes) {
  const bool is_put = opcode == Opcode::kPut || opcode == Opcode::kPutFinal;
  const bool is_get = opcode == Opcode::kGet || opcode == Opcode::kGetFinal;
  if (running_ == Running::kPut && !is_put && opcode != Opcode::kAbort) {
    RefusePut(Code::kBadRequest, false);
    return RefuseBroken(opcode);
  }
  if (!is_put && !is_get) DropRunning();
  switch (opcode) {
    case Opcode::kConnect:
      return AnswerConnect(bytes);
    case Opcode::kPut:
    case Opcode::kPutFinal:
      return AnswerPut(bytes, opcode == Opcode::kPutFinal);
    case Opcode::kGet:
    case Opcode::kGetFinal:
      return AnswerGet(bytes, opcode == Opcode::kGetFinal);
    case Opcode::kSetPath:
      return AnswerSetPath(bytes);
    case Opcode::kDisconnect:
      return AnswerDisconnect(bytes);
    case Opcode::kAbort:
      return Response(Code::kSuccess, {});
  }
  return Refuse(Code::kNotImplemented);
}

// ---- CONNECT ------------------------------------------------------------------------------------------------

// Its answers have their fields, also those that refuse.
std::string Connection::Connected(Code code, const std::string& headers) {
  std::string rest(1, kVersion);
  rest += '\0';
  AppendShort(rest, limits_.packet);
  return Response(code, rest + headers);
}

std::string Connection::AnswerConnect(std::string_view bytes) {
  CloseService();
  if (bytes.size() < kConnectFields || ShortAt(bytes, 2) < kLeastPacket) {
    is_finished_ = true;
    return Connected(Code::kBadRequest, {});
  }
  peer_packet_ = ShortAt(bytes, 2);
  Packet packet;
  Begin(Running::kNothing);
  const Code read = ReadHeaders(bytes.substr(kConnectFields), packet);
  if (read != Code::kContinue) return Connected(read, {});

  if (!IsAuthentic(packet)) {
    return Connected(Code::kUnauthorized, ChallengeFor(Code::kUnauthorized));
  }
  if (packet.target.size() > kLongestTarget) return Connected(Code::kForbidden, {});
  const Code opened = service_.Open(packet.target);
  if (opened != Code::kSuccess) return Connected(opened, {});
  is_open_ = true;
  std::string headers;
  if (!packet.target.empty()) {
    connection_id_ = kFirstId;
    AppendNumber(headers, HeaderId::kConnectionId, kFirstId);
    AppendBytes(headers, HeaderId::kWho, packet.target);
  }
  return Connected(Code::kSuccess, headers + TakeProof());
}

// ---- Passwords ----------------------------------------------------------------------------------------------

// A peer's own challenge is answered once that peer has said the password, and not before: whoever does not know it could
// have this side answer the challenge that it was given itself.
bool Connection::IsAuthentic(const Packet& packet) {
  if (authenticator_ == nullptr) return true;
  if (packet.challenge) peer_challenge_ = packet.challenge;
  if (packet.challenge_response) {
    is_authentic_ = authenticator_->Accepts(*packet.challenge_response);
    if (!is_authentic_ && ++wrong_responses_ == kMostWrongResponses) is_finished_ = true;
  }
  if (is_authentic_ && peer_challenge_) {
    proof_ = authenticator_->Answer(*std::exchange(peer_challenge_, std::nullopt));
  }
  return is_authentic_;
}

// The header that answers the peer's challenge, in one answer.
std::string Connection::TakeProof() {
  std::string header;
  if (!proof_.empty()) AppendBytes(header, HeaderId::kChallengeResponse, std::exchange(proof_, {}));
  return header;
}

// The header for a refusal, where it is one to a peer that has to say the password.
std::string Connection::ChallengeFor(Code refusal) {
  std::string header;
  if (refusal == Code::kUnauthorized && authenticator_ != nullptr && !is_authentic_) {
    AppendBytes(header, HeaderId::kChallenge, authenticator_->NewChallenge());
  }
  return header;
}

// ---- DISCONNECT ---------------------------------------------------------------------------------------------

std::string Connection::AnswerDisconnect(std::string_view bytes) {
  Packet packet;
  Begin(Running::kNothing);
  Code code = ReadHeaders(bytes, packet);
  if (code == Code::kContinue) code = MayGoOn(packet);
  if (code != Code::kContinue) return Refuse(code);
  CloseService();
  is_authentic_ = false;
  peer_challenge_.reset();
  peer_packet_ = kLeastPacket;
  return Response(Code::kSuccess, {});
}

void Connection::CloseService() {
  if (is_open_) service_.Close();
  is_open_ = false;
  connection_id_.reset();
}

// ---- Headers ------------------------------------------------------------------------------------------------

// kContinue where all is well.
Code Connection::ReadHeaders(std::string_view bytes, Packet& packet) {
  HeaderReader reader(bytes);
  while (const std::optional<Header> header = reader.Next()) {
    const Code code = TakeHeader(*header, packet);
    if (code != Code::kContinue) return code;
  }
  return reader.is_malformed() ? Code::kBadRequest : Code::kContinue;
}

Code Connection::TakeHeader(const Header& header, Packet& packet) {
  if (header.Is(HeaderId::kBody) || header.Is(HeaderId::kEndOfBody)) {
    packet.body += header.bytes;
    packet.has_body = true;
    return Code::kContinue;
  }
  if (header.Is(HeaderId::kConnectionId)) {
    packet.connection_id = header.number;
    return Code::kContinue;
  }
  packet.has_other = true;
  header_bytes_ += header.size;
  if (header_bytes_ > limits_.headers) return Code::kTooLarge;
  switch (static_cast<HeaderId>(header.id)) {
    case HeaderId::kName:
      return TakeName(header.bytes);
    case HeaderId::kType:
      request_.type = WithoutZeros(header.bytes);
      break;
    case HeaderId::kLength:
      request_.length = header.number;
      break;
    case HeaderId::kParameters:
      request_.parameters = header.bytes;
      break;
    case HeaderId::kTarget:
      packet.target = header.bytes;
      break;
    case HeaderId::kChallenge:
      packet.challenge = header.bytes;
      break;
    case HeaderId::kChallengeResponse:
      packet.challenge_response = header.bytes;
      break;
    default:
      break;
  }
  return Code::kContinue;
}

Code Connection::TakeName(std::string_view bytes) {
  request_.name = TextOfHeader(bytes);
  if (!request_.name) return Code::kBadRequest;
  const bool is_too_long = Utf16Length(*request_.name) > limits_.name;
  return is_too_long ? Code::kBadRequest : Code::kContinue;
}

bool Connection::IsForOther(const Packet& packet) const {
  return packet.connection_id && packet.connection_id != connection_id_;
}

// Whether a packet goes on with the request that runs. The id belongs to the packet: some peers give it in each.
Code Connection::MayGoOn(const Packet& packet) const {
  return IsForOther(packet) ? Code::kUnavailable : Code::kContinue;
}

// Whether something may be asked. A peer that has not connected speaks to the default service, unless it has to say a
// password.
Code Connection::MayServe(const Packet& packet) {
  if (!IsAuthentic(packet)) return Code::kUnauthorized;
  if (IsForOther(packet)) return Code::kUnavailable;
  if (is_open_) return Code::kContinue;
  const Code opened = service_.Open({});
  is_open_ = opened == Code::kSuccess;
  return is_open_ ? Code::kContinue : opened;
}

// ---- PUT ----------------------------------------------------------------------------------------------------

std::string Connection::AnswerPut(std::string_view bytes, bool is_final) {
  const bool is_first = running_ != Running::kPut;
  const bool was_refused = running_ == Running::kRefusedPut;
  if (is_first) Begin(Running::kPut);
  Packet packet;
  Code code = ReadHeaders(bytes, packet);
  if (was_refused && !packet.has_other && packet.has_body) code = refusal_;
  if (code == Code::kContinue) code = is_first ? MayServe(packet) : MayGoOn(packet);
  if (code == Code::kContinue) code = TakePiece(packet);
  if (code != Code::kContinue) return RefusePut(code, is_final);
  return is_final ? FinishPut() : Response(Code::kContinue, TakeProof());
}

Code Connection::TakePiece(const Packet& packet) {
  has_body_ = has_body_ || packet.has_body;
  const bool is_too_long = packet.body.size() > limits_.body - body_bytes_;
  if (is_too_long || request_.length.value_or(0) > limits_.body) return Code::kTooLarge;
  if (packet.body.empty()) return Code::kContinue;
  body_bytes_ += packet.body.size();
  const Code code = service_.TakeBody(request_, packet.body);
  if (code != Code::kContinue) body_bytes_ = 0;  // the service has let go of it
  return code;
}

std::string Connection::FinishPut() {
  running_ = Running::kNothing;
  const BodyForm form = !has_body_         ? BodyForm::kNone
                        : body_bytes_ == 0 ? BodyForm::kEmpty
                                           : BodyForm::kSome;
  const PutAnswer answer = service_.FinishPut(request_, form);
  std::string headers = TakeProof();
  if (!answer.parameters.empty()) AppendBytes(headers, HeaderId::kParameters, answer.parameters);
  return Response(answer.code, headers);
}

std::string Connection::RefusePut(Code code, bool is_final) {
  DropRunning();
  if (!is_final) {
    running_ = Running::kRefusedPut;
    refusal_ = code;
  }
  return Response(code, ChallengeFor(code));
}

// ---- GET ----------------------------------------------------------------------------------------------------

std::string Connection::AnswerGet(std::string_view bytes, bool is_final) {
  const bool is_answering = running_ == Running::kGetAnswer;
  const bool is_first = !is_answering && running_ != Running::kGetRequest;
  if (is_first) Begin(Running::kGetRequest);
  Packet packet;
  Code code = ReadHeaders(bytes, packet);
  if (code == Code::kContinue) code = is_first ? MayServe(packet) : MayGoOn(packet);
  if (code != Code::kContinue) return Refuse(code);
  if (is_answering) return NextOfBody();
  if (!is_final) return Response(Code::kContinue, TakeProof());

  answer_ = service_.Get(request_);
  if (answer_.code != Code::kSuccess || answer_.body == nullptr) return Refuse(answer_.code);
  running_ = Running::kGetAnswer;
  return NextOfBody();
}

// A piece that fills its packet may be the last one; then an empty one follows.
std::string Connection::NextOfBody() {
  std::string headers = TakeProof();
  if (const auto length = std::exchange(answer_.length, std::nullopt)) {
    AppendNumber(headers, HeaderId::kLength, *length);
  }
  std::string piece(peer_packet_ - kPacketHead - headers.size() - kBodyHead, '\0');
  const std::optional<size_t> count = answer_.body->Read(piece.data(), piece.size());
  if (!count) return Refuse(Code::kInternalError);
  const bool is_last = *count < piece.size();
  piece.resize(*count);
  AppendBytes(headers, is_last ? HeaderId::kEndOfBody : HeaderId::kBody, piece);
  if (is_last) DropRunning();
  return Response(is_last ? Code::kSuccess : Code::kContinue, headers);
}

// ---- The rest -----------------------------------------------------------------------------------------------

// There is one folder, the root: all names are absolute.
std::string Connection::AnswerSetPath(std::string_view bytes) {
  if (bytes.size() < kSetPathFields) return Refuse(Code::kBadRequest);
  const bool goes_up = (static_cast<uint8_t>(bytes[0]) & kUpFlag) != 0;
  Packet packet;
  Begin(Running::kNothing);
  Code code = ReadHeaders(bytes.substr(kSetPathFields), packet);
  if (code == Code::kContinue) code = MayServe(packet);
  if (code != Code::kContinue) return Refuse(code);
  const bool is_root = request_.name ? request_.name->empty() : goes_up;
  return Response(is_root ? Code::kSuccess : Code::kNotFound, TakeProof());
}

std::string Connection::Refuse(Code code) {
  DropRunning();
  return Response(code, ChallengeFor(code));
}

void Connection::Begin(Running running) {
  DropRunning();
  running_ = running;
  proof_.clear();
  request_ = {};
  header_bytes_ = 0;
}

void Connection::DropRunning() {
  if (running_ == Running::kPut && body_bytes_ > 0) service_.Drop();
  running_ = Running::kNothing;
  body_bytes_ = 0;
  has_body_ = false;
  answer_ = {};
}

}  // namespace obex

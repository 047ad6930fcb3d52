#include "tests/support/obex_client.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace support {
namespace {

constexpr int kPatience = 60'000;  // milliseconds
constexpr uint16_t kOwnRoom = 4096;

std::string Short(size_t number) {
  return {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
}

size_t ShortOf(std::string_view bytes) {
  return static_cast<uint8_t>(bytes[0]) * 256u + static_cast<uint8_t>(bytes[1]);
}

std::string Packet(uint8_t opcode, std::string_view rest) {
  return std::string(1, static_cast<char>(opcode)) + Short(3 + rest.size()).append(rest);
}

}  // namespace

std::string ObexText(uint8_t id, std::u16string_view text) {
  std::string bytes;
  for (const char16_t unit : text) bytes += Short(unit);
  return ObexBytes(id, bytes + std::string(2, '\0'));
}

// An empty name has no end either.
std::string ObexName(std::string_view ascii) {
  if (ascii.empty()) return ObexBytes(0x01, {});
  return ObexText(0x01, std::u16string(ascii.begin(), ascii.end()));
}

std::string ObexBytes(uint8_t id, std::string_view bytes) {
  return std::string(1, static_cast<char>(id)) + Short(3 + bytes.size()).append(bytes);
}

std::string ObexNumber(uint8_t id, uint32_t number) {
  return std::string(1, static_cast<char>(id)) + Short(number >> 16) + Short(number & 0xFFFF);
}

std::string ObexTag(uint8_t tag, std::string_view value) {
  std::string triplet = {static_cast<char>(tag), static_cast<char>(value.size())};
  return triplet.append(value);
}

std::optional<std::string> ObexAnswer::Find(uint8_t id) const {
  for (std::string_view rest = headers; rest.size() >= 2;) {
    const auto form = static_cast<uint8_t>(rest[0]) >> 6;
    const size_t size = form == 3 ? 5 : form == 2 ? 2 : ShortOf(rest.substr(1));
    const size_t begin = form >= 2 ? 1 : 3;
    if (size < begin || size > rest.size()) break;
    if (static_cast<uint8_t>(rest[0]) == id) return std::string(rest.substr(begin, size - begin));
    rest.remove_prefix(size);
  }
  return std::nullopt;
}

std::string ObexAnswer::Parameter(uint8_t tag) const {
  const std::string tags = Find(0x4C).value_or("");
  for (std::string_view rest = tags; rest.size() >= 2;) {
    const size_t size = static_cast<uint8_t>(rest[1]);
    if (static_cast<uint8_t>(rest[0]) == tag) return std::string(rest.substr(2, size));
    rest.remove_prefix(std::min(rest.size(), 2 + size));
  }
  return {};
}

ObexClient::ObexClient(int port) : handle_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(connect(handle_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

ObexClient::~ObexClient() { Close(); }

ObexClient::ObexClient(ObexClient&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)),
      room_(other.room_),
      connection_id_(std::move(other.connection_id_)) {}

void ObexClient::Close() {
  if (handle_ >= 0) close(handle_);
  handle_ = -1;
}

void ObexClient::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t count = send(handle_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == ENOTSOCK) count = write(handle_, bytes.data(), bytes.size());
    if (count <= 0) return;  // the answer that does not come tells
    bytes.remove_prefix(static_cast<size_t>(count));
  }
}

bool ObexClient::ReadAll(char* into, size_t size) {
  while (size > 0) {
    pollfd wanted = {handle_, POLLIN, 0};
    const int ready = poll(&wanted, 1, kPatience);
    EXPECT_EQ(ready, 1) << "no answer";
    const ssize_t count = ready == 1 ? read(handle_, into, size) : 0;
    if (count <= 0) return false;
    into += count;
    size -= static_cast<size_t>(count);
  }
  return true;
}

bool ObexClient::AwaitClose() {
  char byte = 0;
  return !ReadAll(&byte, 1) && !testing::Test::HasFailure();
}

ObexAnswer ObexClient::Receive(bool is_of_connect) {
  ObexAnswer answer;
  std::string head(3, '\0');
  if (!ReadAll(head.data(), head.size())) return answer;
  std::string rest(std::max<size_t>(ShortOf(std::string_view(head).substr(1)), 3) - 3, '\0');
  if (!ReadAll(rest.data(), rest.size())) return answer;
  answer.code = static_cast<uint8_t>(head[0]);
  if (is_of_connect && rest.size() >= 4) {
    answer.longest_packet = static_cast<int>(ShortOf(std::string_view(rest).substr(2)));
    rest.erase(0, 4);
  }
  answer.headers = std::move(rest);
  answer.body = answer.Find(0x48).value_or("") + answer.Find(0x49).value_or("");
  return answer;
}

ObexAnswer ObexClient::Exchange(uint8_t opcode, std::string_view rest) {
  Send(Packet(opcode, rest));
  return Receive(opcode == 0x80);
}

ObexAnswer ObexClient::Connect(std::string_view target, std::string_view more_headers) {
  std::string rest = std::string("\x10\0", 2) + Short(kOwnRoom);
  if (!target.empty()) rest += ObexBytes(0x46, target);
  const ObexAnswer answer = Exchange(0x80, rest.append(more_headers));
  if (answer.longest_packet > 0) room_ = static_cast<size_t>(answer.longest_packet);
  const auto id = answer.Find(0xCB);
  connection_id_ = id ? "\xCB" + *id : std::string();
  return answer;
}

std::string ObexClient::First(std::string_view headers) const {
  return connection_id_ + std::string(headers);
}

ObexAnswer ObexClient::Put(std::string_view name, std::string_view body,
                           std::string_view more_headers) {
  std::string headers = First(ObexName(name)) + std::string(more_headers);
  const size_t piece = room_ - 6;
  ObexAnswer answer = Exchange(0x02, headers);
  for (; answer.code == 0x90 && !body.empty(); body.remove_prefix(std::min(piece, body.size()))) {
    answer = Exchange(0x02, ObexBytes(0x48, body.substr(0, piece)));
  }
  return answer.code == 0x90 ? Exchange(0x82, ObexBytes(0x49, {})) : answer;
}

ObexAnswer ObexClient::Delete(std::string_view name, std::string_view more_headers) {
  return PutHeaders(First(ObexName(name)) + std::string(more_headers));
}

ObexAnswer ObexClient::Get(std::string_view name, std::string_view more_headers) {
  return GetHeaders(First(ObexName(name)) + std::string(more_headers));
}

ObexAnswer ObexClient::GetHeaders(std::string_view headers) {
  ObexAnswer answer = Exchange(0x83, headers);
  std::string body = answer.body;
  std::string all_headers = answer.headers;
  while (answer.code == 0x90) {
    answer = Exchange(0x83, {});
    body += answer.body;
    all_headers += answer.headers;
  }
  answer.body = std::move(body);
  answer.headers = std::move(all_headers);
  return answer;
}

}  // namespace support

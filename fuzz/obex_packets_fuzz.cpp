// A connection that gets any bytes, cut anywhere. Each packet has one answer, of at most what the peer told; the service
// is asked what it may be asked and nothing else; and what it finishes is the body of that one request.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "obex/packets/connection.h"
#include "platform/utf8.h"

namespace {

using obex::Code;

void Check(bool is_so) {
  if (!is_so) abort();
}

// The first bytes of the input.
struct Settings {
  explicit Settings(std::string_view bytes) : flags(At(bytes, 0)), text_size(At(bytes, 1) * 8U) {
    cuts = At(bytes, 2);
    if ((flags & 0x04) != 0) limits = {.packet = 300, .headers = 100, .name = 8, .body = 64};
  }
  static uint8_t At(std::string_view bytes, size_t place) {
    return static_cast<uint8_t>(bytes[place]);
  }

  bool has_password() const { return (flags & 0x01) != 0; }
  bool is_length_known() const { return (flags & 0x02) != 0; }
  int refused_piece() const { return flags >> 3 & 0x03; }  // of a body; 0: none
  bool refuses_targets() const { return (flags & 0x20) != 0; }
  bool refuses_gets() const { return (flags & 0x40) != 0; }
  bool fails_to_read() const { return (flags & 0x80) != 0; }

  static constexpr size_t kSize = 3;

  uint8_t flags;
  size_t text_size;
  uint32_t cuts;  // where the bytes are cut; 0: nowhere
  obex::PacketLimits limits;
};

class Text : public obex::BodySource {
 public:
  Text(size_t size, bool fails) : left_(size), fails_(fails) {}
  std::optional<size_t> Read(char* into, size_t room) override {
    Check(room > 0);
    if (fails_ && left_ < room) return std::nullopt;
    const size_t count = std::min(left_, room);
    std::fill_n(into, count, 't');
    left_ -= count;
    return count;
  }

 private:
  size_t left_;
  const bool fails_;
};

// Aborts where it is asked something that it may not be asked.
class Service : public obex::Service {
 public:
  explicit Service(const Settings& settings) : settings_(settings) {}

  Code Open(std::string_view target) override {
    Check(taken_.empty());
    ++asked;
    is_open_ = target.empty() || !settings_.refuses_targets();
    return is_open_ ? Code::kSuccess : Code::kForbidden;
  }

  Code TakeBody(const obex::Request& request, std::string_view bytes) override {
    CheckRequest(request);
    Check(!bytes.empty());
    taken_ += bytes;
    Check(taken_.size() <= settings_.limits.body);
    if (++pieces_ != settings_.refused_piece()) return Code::kContinue;
    taken_.clear();
    pieces_ = 0;
    return Code::kDatabaseFull;
  }

  obex::PutAnswer FinishPut(const obex::Request& request, obex::BodyForm form) override {
    CheckRequest(request);
    Check((form == obex::BodyForm::kSome) == !taken_.empty());
    has_body = form != obex::BodyForm::kNone;
    finished = std::exchange(taken_, {});
    pieces_ = 0;
    return {Code::kSuccess, std::string(request.name ? 200 : 0, 'p')};
  }

  obex::GetAnswer Get(const obex::Request& request) override {
    CheckRequest(request);
    Check(taken_.empty());
    if (settings_.refuses_gets()) return {Code::kNotFound};
    std::optional<uint32_t> length;
    if (settings_.is_length_known()) length = static_cast<uint32_t>(settings_.text_size);
    return {Code::kSuccess, std::make_unique<Text>(settings_.text_size, settings_.fails_to_read()),
            length};
  }

  void Close() override {
    Check(is_open_ && taken_.empty());
    is_open_ = false;
  }

  void Drop() override {
    Check(is_open_ && !taken_.empty());
    taken_.clear();
    pieces_ = 0;
  }

  size_t held() const { return taken_.size(); }

  int asked = 0;                        // how often it was opened
  std::optional<std::string> finished;  // by the last packet
  bool has_body = false;                // what was finished

 private:
  void CheckRequest(const obex::Request& request) const {
    Check(is_open_);
    const obex::PacketLimits& limits = settings_.limits;
    Check(!request.name || Utf16Length(*request.name) <= limits.name);
    Check(request.type.size() + request.parameters.size() <= limits.headers);
  }

  const Settings& settings_;
  bool is_open_ = false;
  std::string taken_;
  int pieces_ = 0;
};

size_t NumberAt(std::string_view bytes, size_t place) {
  return static_cast<size_t>(static_cast<uint8_t>(bytes[place])) << 8 |
         static_cast<uint8_t>(bytes[place + 1]);
}

// The bytes of all body headers of a packet, up to where it is damaged; nothing without one.
std::optional<std::string> BodyOf(std::string_view headers) {
  std::optional<std::string> body;
  while (!headers.empty()) {
    const auto id = static_cast<uint8_t>(headers[0]);
    size_t size = id >= 0xC0 ? 5 : 2;
    if (id < 0x80) {
      if (headers.size() < 3) break;
      size = NumberAt(headers, 1);
      if (size < 3) break;
    }
    if (headers.size() < size) break;
    if (id == 0x48 || id == 0x49) body = body.value_or("").append(headers.substr(3, size - 3));
    headers.remove_prefix(size);
  }
  return body;
}

// What is known of a connection from outside: the packets that were sent, and their answers.
class Witness {
 public:
  Witness(std::string_view sent, const Settings& settings, Service& service)
      : rest_(sent), settings_(settings), service_(service) {}

  // The next answer, with everything that may have come before it.
  void See(const std::string& answer, bool is_finished) {
    Check(rest_.size() >= 3 && answer.size() >= 3);
    Check(NumberAt(answer, 1) == answer.size());
    const size_t length = NumberAt(rest_, 1);
    if (length < 3 || length > settings_.limits.packet) {
      Check(answer[0] == '\xC0' && is_finished && service_.held() == 0);
      rest_ = {};
      return;
    }
    Check(rest_.size() >= length);
    const std::string_view packet = rest_.substr(0, length);
    rest_.remove_prefix(length);
    SeeAnswer(packet, answer);
    if (is_finished) rest_ = {};
  }

  // Nothing is left that should have been answered.
  void CheckAllAnswered() const {
    if (rest_.size() < 3) return;
    const size_t length = NumberAt(rest_, 1);
    Check(length >= 3 && length <= settings_.limits.packet && rest_.size() < length);
  }

 private:
  void SeeAnswer(std::string_view packet, const std::string& answer) {
    const auto opcode = static_cast<uint8_t>(packet[0]);
    const auto code = static_cast<uint8_t>(answer[0]);
    const bool is_put = (opcode & 0x7F) == 0x02;
    const bool is_get = (opcode & 0x7F) == 0x03;
    if (opcode == 0x80) SeeConnect(packet, code);
    Check(answer.size() <= told_);
    Check(code != 0x90 || is_put || is_get);
    Check(code != 0x90 || opcode != 0x82);
    Check(opcode != 0x02 || code != 0xA0);

    if (!is_put_running_) body_.reset();
    const std::optional<std::string> piece = is_put ? BodyOf(packet.substr(3)) : std::nullopt;
    if (piece) body_ = body_.value_or("") + *piece;
    if (service_.finished) {
      Check(opcode == 0x82 &&
            *std::exchange(service_.finished, std::nullopt) == body_.value_or(""));
      Check(service_.has_body == body_.has_value());
    } else {
      Check(opcode != 0x82 || code >= 0xC0);
    }
    is_put_running_ = is_put && code == 0x90;
    Check(is_put_running_ || service_.held() == 0);
    if (opcode == 0x81 && code == 0xA0) told_ = 255;
  }

  // One in the middle of a PUT is refused, and is none.
  void SeeConnect(std::string_view packet, uint8_t code) {
    if (packet.size() < 7 || NumberAt(packet, 5) < 255) return Check(code == 0xC0);
    if (is_put_running_) return Check(code == 0xC0);
    told_ = NumberAt(packet, 5);
  }

  std::string_view rest_;
  const Settings& settings_;
  Service& service_;
  size_t told_ = 255;
  bool is_put_running_ = false;
  std::optional<std::string> body_;  // of the PUT
};

constexpr std::string_view kPassword = "secret";

// The first is that of the seeds; each is another one.
obex::Digest Nonce(int number) {
  obex::Digest nonce{};
  std::string_view("0123456789abcdef").copy(nonce.data(), nonce.size());
  nonce[15] = static_cast<char>(nonce[15] + number);
  return nonce;
}

// Whether the bytes hold the answer to one of the challenges.
bool SaysPassword(std::string_view bytes, int challenges) {
  for (int i = 0; i < challenges; ++i) {
    const obex::Digest nonce = Nonce(i);
    const obex::Digest digest = obex::DigestOf({nonce.data(), nonce.size()}, kPassword);
    if (bytes.find(std::string_view(digest.data(), digest.size())) != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < Settings::kSize) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const Settings settings(input);
  const std::string_view sent = input.substr(Settings::kSize);

  int challenges = 0;
  std::unique_ptr<obex::Authenticator> authenticator;
  if (settings.has_password()) {
    authenticator = std::make_unique<obex::Authenticator>(std::string(kPassword),
                                                          [&] { return Nonce(challenges++); });
  }
  Service service(settings);
  {
    obex::Connection connection(service, settings.limits, std::move(authenticator));
    Witness witness(sent, settings, service);
    uint32_t cuts = settings.cuts;
    for (size_t fed = 0; fed < sent.size() && !connection.is_finished();) {
      cuts = cuts * 1'664'525 + (cuts == 0 ? 0 : 1'013'904'223);
      const size_t piece = cuts == 0 ? sent.size() : 1 + (cuts >> 24) % 19;
      connection.Feed(sent.substr(fed, piece));
      fed = std::min(sent.size(), fed + piece);
      while (connection.HasPacket()) {
        const std::optional<std::string> answer = connection.Answer();
        Check(answer.has_value());
        witness.See(*answer, connection.is_finished());
        Check(!settings.has_password() || service.asked == 0 ||
              SaysPassword(sent.substr(0, fed), challenges));
      }
      Check(!connection.Answer().has_value());
    }
    if (!connection.is_finished()) witness.CheckAllAnswered();
  }
  Check(service.held() == 0);
  return 0;
}

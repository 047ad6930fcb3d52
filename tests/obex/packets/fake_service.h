// A service that writes down what it is asked, and a peer that asks it through a connection.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "obex/packets/connection.h"
#include "tests/obex/packets/packet_bytes.h"

namespace obex_test {

class TextBody : public obex::BodySource {
 public:
  // Reading fails when `readable` bytes have been read.
  TextBody(std::string text, size_t readable) : text_(std::move(text)), readable_(readable) {}

  std::optional<size_t> Read(char* into, size_t room) override {
    if (read_ >= readable_) return std::nullopt;
    const size_t count = text_.copy(into, room, read_);
    read_ += count;
    return count;
  }

 private:
  const std::string text_;
  const size_t readable_;
  size_t read_ = 0;
};

class FakeService : public obex::Service {
 public:
  static constexpr size_t kAll = ~size_t{0};

  obex::Code Open(std::string_view target) override {
    calls.push_back("open " + (target.empty() ? "push" : std::string(target)));
    return open_code;
  }

  obex::Code TakeBody(const obex::Request& request, std::string_view bytes) override {
    calls.push_back("body " + NameOf(request) + ": " + std::string(bytes));
    if (body_code == obex::Code::kContinue) taken += bytes;
    return body_code;
  }

  obex::PutAnswer FinishPut(const obex::Request& request, obex::BodyForm form) override {
    constexpr const char* kForms[] = {"none", "empty", "some"};
    calls.push_back("finish " + NameOf(request) + ": " + kForms[static_cast<size_t>(form)]);
    last = request;
    stored.push_back(std::exchange(taken, {}));
    return put_answer;
  }

  obex::GetAnswer Get(const obex::Request& request) override {
    calls.push_back("get " + NameOf(request));
    last = request;
    if (get_code != obex::Code::kSuccess) return {get_code};
    std::optional<uint32_t> length;
    if (is_length_known) length = static_cast<uint32_t>(text.size());
    return {get_code, std::make_unique<TextBody>(text, readable), length};
  }

  void Close() override { calls.push_back("close"); }

  void Drop() override {
    calls.push_back("drop");
    taken.clear();
  }

  // What it was asked since this was called last.
  std::vector<std::string> Asked() { return std::exchange(calls, {}); }

  obex::Code open_code = obex::Code::kSuccess;
  obex::Code body_code = obex::Code::kContinue;
  obex::PutAnswer put_answer = {obex::Code::kSuccess};
  obex::Code get_code = obex::Code::kSuccess;
  std::string text = "text";  // of every GET
  bool is_length_known = false;
  size_t readable = kAll;

  std::vector<std::string> calls;
  std::vector<std::string> stored;
  obex::Request last;

 private:
  static std::string NameOf(const obex::Request& request) {
    return !request.name ? "(no name)" : request.name->empty() ? "(empty)" : *request.name;
  }

  std::string taken;
};

class Peer {
 public:
  explicit Peer(const obex::PacketLimits& limits = {},
                std::unique_ptr<obex::Authenticator> authenticator = nullptr)
      : connection_(std::make_unique<obex::Connection>(service, limits, std::move(authenticator))) {
  }

  // The answers to what is sent, with " | " between them.
  std::string Ask(std::string_view bytes) {
    std::string shown;
    for (const std::string& answer : Answers(bytes)) {
      shown += (shown.empty() ? "" : " | ") + Hex(answer);
    }
    return shown;
  }

  // The same, the first byte of each answer alone.
  std::string Codes(std::string_view bytes) {
    std::string codes;
    for (const std::string& answer : Answers(bytes)) {
      codes += (codes.empty() ? "" : " ") + Hex(answer.substr(0, 1));
    }
    return codes;
  }

  // With nothing left of it in what the service was asked.
  void ConnectTo(std::string_view target, size_t room = 1024) {
    Ask(Connect(room, target.empty() ? "" : Target(target)));
    service.Asked();
  }

  void Lose() { connection_.reset(); }

  bool is_finished() const { return connection_->is_finished(); }
  obex::Connection& connection() { return *connection_; }

  FakeService service;

 private:
  static constexpr size_t kMostAnswers = 100;  // to one piece, so that every test ends

  std::vector<std::string> Answers(std::string_view bytes) {
    connection_->Feed(bytes);
    std::vector<std::string> answers;
    while (const std::optional<std::string> answer = connection_->Answer()) {
      answers.push_back(*answer);
      if (answers.size() == kMostAnswers) break;
    }
    return answers;
  }

  std::unique_ptr<obex::Connection> connection_;
};

// A PUT with all of its body, in one packet.
inline std::string WholePut(std::string_view name, std::string_view body) {
  return Packet(kPutFinal, Name(name) + EndOfBody(body));
}

}  // namespace obex_test

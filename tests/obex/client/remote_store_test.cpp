// Asking another device for its stores, whose answers may be any.
#include "obex/client/remote_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "obex/packets/headers.h"
#include "osif.h"

namespace remote_store_test {
namespace {

using obex::AppendBytes;
using obex::AppendShort;
using obex::AppendTag;
using obex::HeaderId;
using obex::Peer;
using obex::RemoteAnswer;
using obex::RemoteStore;
using obex::RemoteWritten;
using testing::ElementsAre;

constexpr char kContinue = '\x90';
constexpr char kSuccess = '\xA0';

std::string Packet(char code, const std::string& headers = {}) {
  std::string packet(1, code);
  AppendShort(packet, static_cast<uint16_t>(3 + headers.size()));
  return packet + headers;
}
std::string WithBody(char code, const std::string& body) {
  std::string headers;
  AppendBytes(headers, code == kSuccess ? HeaderId::kEndOfBody : HeaderId::kBody, body);
  return Packet(code, headers);
}
std::string WithParameters(const std::string& luid, const std::string& counter) {
  std::string parameters;
  AppendTag(parameters, 0x01, luid);
  AppendTag(parameters, 0x02, counter);
  std::string headers;
  AppendBytes(headers, HeaderId::kParameters, parameters);
  return Packet(kSuccess, headers);
}

// A device that gives these answers one after the other, whatever it is asked, and then nothing but the last one, or, where
// there is none, hangs up.
class Answering {
 public:
  explicit Answering(std::vector<std::string> answers, bool repeats_last = false) {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_), 0);
    thread_ = std::thread([this, answers = std::move(answers), repeats_last] {
      for (size_t i = 0; TakeRequest(); i += i + 1 < answers.size() || !repeats_last ? 1 : 0) {
        if (i >= answers.size()) break;
        if (send(ends_[1], answers[i].data(), answers[i].size(), MSG_NOSIGNAL) < 0) break;
      }
      shutdown(ends_[1], SHUT_RDWR);
    });
  }
  ~Answering() {
    shutdown(ends_[0], SHUT_RDWR);
    thread_.join();
    close(ends_[0]);
    close(ends_[1]);
  }
  Answering(const Answering&) = delete;
  Answering& operator=(const Answering&) = delete;

  int handle() const { return ends_[0]; }

 private:
  bool TakeRequest() const {
    std::string head(3, '\0');
    if (!TakeBytes(head)) return false;
    std::string rest(obex::ShortAt(head, 1) - head.size(), '\0');
    return TakeBytes(rest);
  }
  bool TakeBytes(std::string& bytes) const {
    for (size_t done = 0; done < bytes.size();) {
      const ssize_t count = read(ends_[1], bytes.data() + done, bytes.size() - done);
      if (count <= 0) return false;
      done += static_cast<size_t>(count);
    }
    return true;
  }

  int ends_[2] = {-1, -1};
  std::thread thread_;
};

constexpr std::chrono::seconds kPatience{20};

struct Asked {
  explicit Asked(std::vector<std::string> answers, bool repeats_last = false)
      : device(std::move(answers), repeats_last) {}

  Answering device;
  Peer peer{device.handle(), kPatience};
  RemoteStore store{OSIF_STORE_PB, peer};
};

std::string Card(const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "END:VCARD\r\n";
}

TEST(RemoteStoreAnswers, GiveAWholeStoreInPiecesObjectByObject) {
  const std::string ann = Card("N:Lee;Ann\r\n");
  const std::string bob = Card("N:Ray;Bob\r\n");
  Asked asked({WithBody(kContinue, ann.substr(0, 9)), Packet(kContinue),
               WithBody(kContinue, ann.substr(9) + bob.substr(0, 1)),
               WithBody(kSuccess, bob.substr(1))});
  std::vector<std::string> objects;
  const RemoteAnswer answer = asked.store.GetAll([&](std::string text) {
    objects.push_back(std::move(text));
    return true;
  });
  EXPECT_TRUE(answer.is_done()) << answer.words;
  EXPECT_THAT(objects, ElementsAre(ann, bob));
}

TEST(RemoteStoreAnswers, OfAWholeStoreMayBeEmptyButNotWithoutSense) {
  const auto all = [](const std::string& body) {
    Asked asked({WithBody(kSuccess, body)});
    return asked.store.GetAll([](const std::string&) { return true; }).kind;
  };
  EXPECT_EQ(all(""), RemoteAnswer::Kind::kDone);
  EXPECT_EQ(all(std::string(2000, 'x')), RemoteAnswer::Kind::kSenseless);
}

TEST(RemoteStoreAnswers, ThatAreRefusedOrLostGiveNoWholeStore) {
  const auto all = [](std::vector<std::string> answers) {
    Asked asked(std::move(answers));
    return asked.store.GetAll([](const std::string&) { return true; });
  };
  const RemoteAnswer refused = all({WithBody('\xC4', Card("N:x\r\n"))});
  EXPECT_EQ(refused.kind, RemoteAnswer::Kind::kRefused);
  EXPECT_EQ(refused.words, "not found");
  EXPECT_EQ(all({WithBody(kContinue, Card("N:x\r\n"))}).kind, RemoteAnswer::Kind::kLost);
  EXPECT_EQ(all({}).kind, RemoteAnswer::Kind::kLost);
}

TEST(RemoteStoreAnswers, WithoutEndEnd) {
  Asked asked({Packet(kContinue)}, true);
  uint32_t counter = 0;
  const RemoteAnswer answer = asked.store.GetCounter(counter);
  EXPECT_EQ(answer.kind, RemoteAnswer::Kind::kLost);
  EXPECT_EQ(answer.words, "the answer has no end");
}

TEST(RemoteStoreAnswers, ThatAreNoCounterMakeNoSense) {
  for (const char* text : {"", "x", "-1", "4294967296"}) {
    Asked asked({WithBody(kSuccess, text)});
    uint32_t counter = 7;
    EXPECT_EQ(asked.store.GetCounter(counter).kind, RemoteAnswer::Kind::kSenseless) << text;
    EXPECT_EQ(counter, 7U);
  }
}

TEST(RemoteStoreAnswers, ToAChangeTellTheIdAndTheCounter) {
  Asked asked({Packet(kContinue), WithParameters("00A7", "12")});
  const RemoteWritten written = asked.store.Add(Card("N:x\r\n"), 11);
  EXPECT_TRUE(written.answer.is_done());
  EXPECT_EQ(written.luid, "00A7");
  EXPECT_EQ(written.counter, 12U);
}

TEST(RemoteStoreAnswers, ToAChangeThatTellNothingLeaveTheId) {
  Asked asked({Packet(kContinue), Packet(kSuccess)});
  const RemoteWritten written = asked.store.Change("B2", Card("N:x\r\n"), 11);
  EXPECT_TRUE(written.answer.is_done());
  EXPECT_EQ(written.luid, "B2");
  EXPECT_FALSE(written.counter);
}

TEST(RemoteStoreAnswers, ToAnAdditionHaveToTellAnId) {
  for (const std::string& luid : {std::string(), std::string("../x"), std::string("a b")}) {
    Asked asked({Packet(kContinue), WithParameters(luid, "12")});
    EXPECT_EQ(asked.store.Add(Card("N:x\r\n"), 11).answer.kind, RemoteAnswer::Kind::kSenseless)
        << luid;
  }
  Asked asked({Packet(kContinue), WithParameters("1", "99999999999")});
  EXPECT_EQ(asked.store.Add(Card("N:x\r\n"), 11).answer.kind, RemoteAnswer::Kind::kSenseless);
}

}  // namespace
}  // namespace remote_store_test

// Each request is one of the tree's names. What an answer says is read before it is used; one that cannot be used is told
// from one that was refused.
#include "obex/client/remote_store.h"

#include <algorithm>
#include <utility>

#include "obex/client/whole_store.h"
#include "obex/packets/headers.h"
#include "osif.h"

namespace obex {
namespace {

constexpr uint8_t kLuidTag = 0x01;
constexpr uint8_t kCounterTag = 0x02;
constexpr uint8_t kMostCounterTag = 0x11;
constexpr uint8_t kHardDeleteTag = 0x12;
constexpr size_t kLargestEmptyStore = 1024;

RemoteAnswer AnswerOf(const Reply& reply) {
  if (reply.is_success()) return {};
  const auto kind = reply.error.empty() ? RemoteAnswer::Kind::kRefused : RemoteAnswer::Kind::kLost;
  return {kind, reply.code, ReplyText(reply)};
}

RemoteAnswer Senseless(const std::string& what) {
  return {RemoteAnswer::Kind::kSenseless, Code::kSuccess, what + " makes no sense"};
}

// The body of an answer that is read as it comes.
class AnswerBody {
 public:
  AnswerBody(Peer& peer, const Wanted& wanted) : peer_(peer), reply_(peer.GetFirst(wanted)) {}

  size_t Read(char* into, size_t room) {
    while (given_ == reply_.body.size() && HasMore()) {
      reply_ = peer_.GetNext();
      given_ = 0;
    }
    // What is refused has no objects, whatever its body.
    if (!HasMore() && !reply_.is_success()) return 0;
    const size_t count = reply_.body.copy(into, room, given_);
    given_ += count;
    return count;
  }

  bool HasMore() const { return reply_.error.empty() && reply_.code == Code::kContinue; }
  const Reply& reply() const { return reply_; }

 private:
  Peer& peer_;
  Reply reply_;  // of the packet that is read
  size_t given_ = 0;
};

// The counter is meant to be what this change will make it, at most.
std::string ParametersAfter(uint32_t counter) {
  std::string parameters;
  AppendTag(parameters, kMostCounterTag, std::to_string(uint64_t{counter} + 1));
  return parameters;
}

}  // namespace

RemoteAnswer GetDeviceInfo(Peer& peer, DeviceFacts& facts) {
  const Reply reply = peer.Get({"telecom/devinfo.txt"});
  if (reply.is_success()) facts = ReadDeviceInfo(reply.body);
  return AnswerOf(reply);
}

RemoteStore::RemoteStore(int32_t store_id, Peer& peer)
    : store_id_(store_id),
      peer_(peer),
      folder_(store_id == OSIF_STORE_PB ? "telecom/pb" : "telecom/cal"),
      extension_(store_id == OSIF_STORE_PB ? ".vcf" : ".vcs") {}

std::string RemoteStore::NameOf(const std::string& luid) const {
  return folder_ + "/luid/" + luid + extension_;
}

RemoteAnswer RemoteStore::GetText(const std::string& name, std::string& text) {
  Reply reply = peer_.Get({name});
  text = std::move(reply.body);
  return AnswerOf(reply);
}

RemoteAnswer RemoteStore::GetInfo(StoreFacts& facts) {
  std::string text;
  RemoteAnswer answer = GetText(folder_ + "/info.log", text);
  if (answer.is_done()) facts = ReadStoreInfo(text);
  return answer;
}

RemoteAnswer RemoteStore::GetChangesAfter(uint32_t counter, RemoteChanges& changes) {
  std::string text;
  RemoteAnswer answer = GetText(folder_ + "/luid/" + std::to_string(counter) + ".log", text);
  if (!answer.is_done()) return answer;
  std::optional<RemoteChanges> read = ReadChanges(text);
  if (!read) return Senseless("the partner's change log");
  changes = std::move(*read);
  return {};
}

RemoteAnswer RemoteStore::GetCounter(uint32_t& counter) {
  std::string text;
  RemoteAnswer answer = GetText(folder_ + "/luid/cc.log", text);
  if (!answer.is_done()) return answer;
  const std::optional<uint32_t> read = ReadCounter(text);
  if (!read) return Senseless("the partner's change counter");
  counter = *read;
  return {};
}

RemoteAnswer RemoteStore::GetObject(const std::string& luid, std::string& text) {
  return GetText(NameOf(luid), text);
}

RemoteAnswer RemoteStore::GetAll(const std::function<bool(std::string text)>& take) {
  AnswerBody body(peer_, {folder_ + extension_});
  size_t bytes = 0;
  WholeStore whole(store_id_, [&](char* into, size_t room) {
    const size_t count = body.Read(into, room);
    bytes += count;
    return count;
  });
  bool has_objects = false;
  while (std::optional<std::string> object = whole.Next()) {
    has_objects = true;
    if (take(std::move(*object))) continue;
    if (body.HasMore()) peer_.Abort();
    return {};
  }
  // A text without objects says nothing; an empty store has none, or a frame.
  const RemoteAnswer answer = AnswerOf(body.reply());
  const bool makes_sense = has_objects || bytes <= kLargestEmptyStore;
  return answer.is_done() && !makes_sense ? Senseless("the partner's whole store") : answer;
}

RemoteWritten RemoteStore::Add(std::string_view text, uint32_t counter) {
  return WrittenOf(peer_.Put({NameOf({}), {}, ParametersAfter(counter)}, text), {});
}

RemoteWritten RemoteStore::Change(const std::string& luid, std::string_view text,
                                  uint32_t counter) {
  return WrittenOf(peer_.Put({NameOf(luid), {}, ParametersAfter(counter)}, text), luid);
}

RemoteWritten RemoteStore::Delete(const std::string& luid, uint32_t counter) {
  std::string parameters = ParametersAfter(counter);
  AppendTag(parameters, kHardDeleteTag, {});
  return WrittenOf(peer_.Delete({NameOf(luid), {}, parameters}), luid);
}

// A device that does not say which id a changed object has left it the one that it had.
RemoteWritten RemoteStore::WrittenOf(const Reply& reply, const std::string& luid) {
  RemoteWritten written{AnswerOf(reply), luid, std::nullopt};
  if (!written.answer.is_done()) return written;
  if (const auto told = FindTag(reply.parameters, kLuidTag); told && !told->empty()) {
    const std::string_view end("\0 \r\n", 4);
    written.luid = told->substr(0, told->find_last_not_of(end) + 1);
  }
  if (const auto told = FindTag(reply.parameters, kCounterTag)) {
    written.counter = ReadCounter(told->substr(0, told->find('\0')));
    if (!written.counter) written.answer = Senseless("the partner's change counter");
  }
  if (!IsRemoteLuid(written.luid)) written.answer = Senseless("the id of the object there");
  return written;
}

}  // namespace obex

// A thread waits for connections while a test does something, and serves one after the other. A request is collected from all
// of its packets, answered as a whole, and cut into packets again: what is odd about a phone is odd about whole requests.
#include "tests/support/irmc_phone.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <thread>
#include <utility>

namespace support {
namespace {

constexpr size_t kRoom = 1024;  // of a packet
constexpr int kContinue = 0x90;

size_t ShortOf(std::string_view bytes, size_t place) {
  return static_cast<uint8_t>(bytes[place]) * 256u + static_cast<uint8_t>(bytes[place + 1]);
}

std::string Short(size_t number) {
  return {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
}

std::string Bytes(uint8_t id, std::string_view bytes) {
  return std::string(1, static_cast<char>(id)) + Short(3 + bytes.size()).append(bytes);
}

std::string Tag(uint8_t tag, std::string_view value) {
  return std::string{static_cast<char>(tag), static_cast<char>(value.size())}.append(value);
}

std::string Packet(int code, std::string_view rest) {
  return std::string(1, static_cast<char>(code)) + Short(3 + rest.size()).append(rest);
}

// The names of the tree are of ASCII.
std::string NameOf(std::string_view units) {
  std::string name;
  for (size_t i = 1; i < units.size(); i += 2) {
    if (units[i] != '\0') name += units[i];
  }
  return name;
}

std::string Without(std::string text, std::string_view line_begin) {
  for (size_t place; (place = text.find(line_begin)) != std::string::npos;) {
    text.erase(place, text.find('\n', place) + 1 - place);
  }
  return text;
}

}  // namespace

std::optional<std::string> PhoneRequest::Parameter(uint8_t tag) const {
  for (std::string_view rest = parameters; rest.size() >= 2;) {
    const size_t size = static_cast<uint8_t>(rest[1]);
    if (static_cast<uint8_t>(rest[0]) == tag) return std::string(rest.substr(2, size));
    rest.remove_prefix(std::min(rest.size(), 2 + size));
  }
  return std::nullopt;
}

// ---- A store ------------------------------------------------------------------------------------------------------

std::string PhoneStore::NewLuid() {
  char luid[16];
  std::snprintf(luid, sizeof luid, "0000E%07X", static_cast<unsigned>(++last_luid_));
  return luid;
}

void PhoneStore::Log(char kind, const std::string& luid) {
  std::erase_if(log_, [&](const Entry& entry) { return entry.luid == luid; });
  log_.push_back({kind, ++counter_, luid});
}

std::string PhoneStore::Add(const std::string& text) {
  const std::string luid = NewLuid();
  objects_[luid] = text;
  Log('M', luid);
  return luid;
}

void PhoneStore::Change(const std::string& luid, const std::string& text) {
  objects_.at(luid) = text;
  Log('M', luid);
}

void PhoneStore::Delete(const std::string& luid) {
  Log('H', luid);  // first: the id may be the one of the object itself
  objects_.erase(luid);
}

void PhoneStore::StartAnew(const std::string& id) {
  database_id = id;
  counter_ = 0;
  log_.clear();
  for (const auto& [luid, text] : std::exchange(objects_, {})) Add(text);
}

std::string PhoneStore::WithId(const std::string& luid) const {
  std::string text = objects_.at(luid);
  size_t end = text.rfind("END:V");
  if (!frame_.empty()) end = text.rfind("END:V", end - 1);
  return text.insert(end, "X-IRMC-LUID:" + luid + "\r\n");
}

// Of a calendar the items alone, in one frame.
std::string PhoneStore::Whole() const {
  if (objects_.empty()) return {};
  std::string items;
  for (const auto& [luid, text] : objects_) {
    std::string item = WithId(luid);
    if (!frame_.empty()) {
      const size_t begin = item.find("BEGIN:V", 1);
      item = item.substr(begin, item.rfind("END:" + frame_) - begin);
    }
    items += item;
  }
  if (frame_.empty()) return items;
  return "BEGIN:" + frame_ + "\r\nVERSION:1.0\r\n" + items + "END:" + frame_ + "\r\n";
}

std::string PhoneStore::Changes(uint32_t after) const {
  if (has_forgotten || after > counter_) return "*\r\n";
  std::string text;
  for (const Entry& entry : log_) {
    if (entry.counter <= after) continue;
    text += std::string(1, entry.kind) + ":" + std::to_string(entry.counter) + "::" + entry.luid +
            "\r\n";
  }
  return text;
}

// `place`: what stands after "telecom/pb".
PhoneAnswer PhoneStore::Get(const std::string& place) const {
  if (place == extension_) return {0xA0, Whole()};
  if (place == "/info.log") {
    return {0xA0, "Total-Records:" + std::to_string(objects_.size()) +
                      "\r\nMaximum-Records:380\r\nIEL:8\r\nHD:YES\r\nSAT:CC\r\n"};
  }
  if (place == "/luid/cc.log") return {0xA0, std::to_string(counter_) + "\r\n"};
  if (!place.starts_with("/luid/")) return {0xC4};
  const std::string file = place.substr(6);
  const std::string stem = file.substr(0, file.find('.'));
  if (file.ends_with(extension_)) {
    return objects_.contains(stem) ? PhoneAnswer{0xA0, WithId(stem)} : PhoneAnswer{0xC4};
  }
  if (!file.ends_with(".log")) return {0xC4};
  return {0xA0, Changes(static_cast<uint32_t>(std::stoul(stem)))};
}

PhoneAnswer PhoneStore::Put(const std::string& luid, const PhoneRequest& request) {
  const auto most = request.Parameter(0x11);
  if (most && counter_ + 1 > std::stoul(*most)) return {0xC9};
  if (!luid.empty() && !objects_.contains(luid)) return {0xC4};
  std::string now = luid;
  if (request.body.empty()) {
    if (luid.empty()) return {0xC0};
    Delete(luid);
  } else {
    if (renames && !luid.empty()) objects_.erase(luid);
    if (luid.empty() || renames) now = NewLuid();
    objects_[now] = Without(request.body, "X-IRMC-LUID:");
    Log('M', now);
  }
  counter_ += static_cast<uint32_t>(step - 1);
  if (!log_.empty()) log_.back().counter = counter_;
  return {0xA0, {}, Tag(0x01, now) + Tag(0x02, std::to_string(counter_))};
}

// ---- The phone ----------------------------------------------------------------------------------------------------

// A connection: requests come out of its packets, and answers go into packets.
class IrmcPhone::Line {
 public:
  explicit Line(int handle) : handle_(handle) {}

  // The next GET or PUT; nothing when the other side is gone.
  std::optional<PhoneRequest> Next() {
    PhoneRequest request;
    for (;;) {
      const auto packet = Read();
      if (!packet) return std::nullopt;
      const auto opcode = static_cast<uint8_t>((*packet)[0]);
      const std::string_view rest = std::string_view(*packet).substr(3);
      switch (opcode) {
        case 0x80:
          room_ = ShortOf(rest, 2);
          Send(Packet(0xA0, std::string("\x10\0", 2) + Short(kRoom) +
                                std::string("\xCB\0\0\0\7", 5) + Bytes(0x4A, "IRMC-SYNC")));
          break;
        case 0x81:
        case 0xFF:
          Send(Packet(0xA0, {}));
          break;
        case 0x02:
        case 0x03:
        case 0x82:
        case 0x83:
          request.is_put = (opcode & 1) == 0;
          Take(rest, request);
          if ((opcode & 0x80) != 0) return request;
          Send(Packet(kContinue, {}));
          break;
        default:
          Send(Packet(0xD1, {}));
      }
    }
  }

  // False when the other side is gone.
  bool Answer(const PhoneAnswer& answer) {
    std::string headers;
    if (!answer.parameters.empty()) headers = Bytes(0x4C, answer.parameters);
    if (answer.code != 0xA0 || answer.body.empty()) {
      if (answer.code == 0xA0 && headers.empty()) headers = Bytes(0x49, {});
      return Send(Packet(answer.code, headers));
    }
    std::string_view rest = answer.body;
    const size_t most = std::min(room_, kRoom) - 10;
    for (; rest.size() > most; rest.remove_prefix(most)) {
      if (!Send(Packet(kContinue, Bytes(0x48, rest.substr(0, most)))) || !Read()) return false;
    }
    return Send(Packet(0xA0, Bytes(0x49, rest)));
  }

 private:
  std::optional<std::string> Read() const {
    std::string packet(3, '\0');
    if (!ReadAll(packet.data(), 3)) return std::nullopt;
    packet.resize(std::max<size_t>(ShortOf(packet, 1), 3));
    if (!ReadAll(packet.data() + 3, packet.size() - 3)) return std::nullopt;
    return packet;
  }

  bool ReadAll(char* into, size_t size) const {
    while (size > 0) {
      const ssize_t count = recv(handle_, into, size, 0);
      if (count <= 0) return false;
      into += count;
      size -= static_cast<size_t>(count);
    }
    return true;
  }

  bool Send(std::string_view bytes) const {
    return send(handle_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
  }

  static void Take(std::string_view headers, PhoneRequest& request) {
    while (!headers.empty()) {
      const auto id = static_cast<uint8_t>(headers[0]);
      const size_t size = id >= 0xC0 ? 5 : id >= 0x80 ? 2 : ShortOf(headers, 1);
      const std::string_view value = id >= 0x80 ? "" : headers.substr(3, size - 3);
      if (id == 0x01) request.name = NameOf(value);
      if (id == 0x48 || id == 0x49) request.body += value;
      if (id == 0x4C) request.parameters = value;
      headers.remove_prefix(size);
    }
  }

  const int handle_;
  size_t room_ = 255;
};

IrmcPhone::IrmcPhone() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), size), 0);
  EXPECT_EQ(listen(listener_, 8), 0);
  EXPECT_EQ(getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size), 0);
  port_ = ntohs(address.sin_port);
}

IrmcPhone::~IrmcPhone() { close(listener_); }

void IrmcPhone::ServeWhile(const std::function<void()>& something) {
  const int stop = eventfd(0, EFD_CLOEXEC);
  std::thread server([&] {
    for (;;) {
      pollfd handles[] = {{listener_, POLLIN, 0}, {stop, POLLIN, 0}};
      poll(handles, 2, -1);
      if ((handles[1].revents & POLLIN) != 0) return;
      const int handle = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (handle < 0) continue;
      Serve(handle);
      close(handle);
    }
  });
  something();
  const uint64_t one = 1;
  EXPECT_EQ(write(stop, &one, sizeof one), static_cast<ssize_t>(sizeof one));
  server.join();
  close(stop);
}

void IrmcPhone::Serve(int handle) {
  Line line(handle);
  while (const auto request = line.Next()) {
    requests.push_back(*request);
    if (hangs_up_at > 0 && static_cast<size_t>(hangs_up_at) == requests.size()) return;
    const PhoneAnswer answer = AnswerTo(*request);
    if (request->is_put && loses_answers_to_puts) return;
    if (!line.Answer(answer)) return;
  }
}

PhoneAnswer IrmcPhone::AnswerTo(const PhoneRequest& request) {
  if (instead) {
    if (const auto answer = instead(request)) return *answer;
  }
  if (request.name == "telecom/devinfo.txt") {
    return {0xA0,
            "MANU:Maker\r\nMOD:Phone\r\nSW-VERSION:1\r\nIRMC-VERSION:1.1\r\nSN:" + serial_number +
                "\r\nPB-TYPE-TX:VCARD2.1\r\nPB-TYPE-RX:VCARD2.1\r\nCAL-TYPE-TX:VCAL1.0\r\n"
                "CAL-TYPE-RX:VCAL1.0\r\n"};
  }
  for (auto& [folder, store] : {std::pair<std::string, PhoneStore&>{"telecom/pb", contacts},
                                std::pair<std::string, PhoneStore&>{"telecom/cal", calendar}}) {
    if (!request.name.starts_with(folder + "/") && request.name != folder + store.extension_) {
      continue;
    }
    const std::string place = request.name.substr(folder.size());
    if (request.is_put) {
      const std::string begin = "/luid/";
      if (!place.starts_with(begin) || !place.ends_with(store.extension_)) return {0xC3};
      return store.Put(
          place.substr(begin.size(), place.size() - begin.size() - store.extension_.size()),
          request);
    }
    PhoneAnswer answer = store.Get(place);
    if (place.starts_with("/luid/") && place.ends_with(".log") && place != "/luid/cc.log") {
      answer.body.insert(0, "SN:" + serial_number + "\r\nDID:" + store.database_id +
                                "\r\nTotal-Records:" + std::to_string(store.objects_.size()) +
                                "\r\nMaximum-Records:380\r\n");
    }
    return answer;
  }
  return {0xC4};
}

}  // namespace support

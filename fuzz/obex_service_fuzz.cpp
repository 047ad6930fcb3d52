// A peer's session with the whole service, on a device of its own that is the same for each input. The bytes choose requests,
// names of the tree, bodies and how they are cut, so that most requests make sense; some are raw bytes. Each packet has one
// answer. A write to a store either is answered with the object's id and the counter, and then it has happened, or it has
// changed nothing; at the end whatever the stores hold can be read, counted the same everywhere, and changing an object to
// what it is already leaves it as it is.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "obex/packets/connection.h"
#include "obex/services/object_service.h"
#include "platform/device/device.h"

namespace {

namespace fs = std::filesystem;

using obex::Code;
using obex::HeaderId;
using obex::Opcode;

void Check(bool is_so) {
  if (!is_so) abort();
}

class Silent : public obex::Journal {
 public:
  void Tell(obex::Deed, int32_t, const std::string&, const std::string&) override {}
  void Begin(std::string_view) override {}
  void Fail(const std::string&, OsifResult) override {}
  void Note(const std::string&) override {}
  void Progress(const std::string&, size_t, size_t) override {}
  void TraceLine(const std::string&) override {}
  void SetBeforeLine(std::function<void()>) override {}
};

// ---- What is likely to be sent ------------------------------------------------------------------------------------

// '#' stands for a number, '@' for eight digits.
constexpr std::array kNames = {"telecom/pb/luid/.vcf",
                               "telecom/cal/luid/.vcs",
                               "telecom/pb/luid/@.vcf",
                               "telecom/cal/luid/@.vcs",
                               "telecom/pb/luid/#.log",
                               "telecom/cal/luid/#.log",
                               "telecom/pb.vcf",
                               "telecom/cal.vcs",
                               "telecom/pb/info.log",
                               "telecom/cal/info.log",
                               "telecom/pb/luid/cc.log",
                               "telecom/cal/luid/cc.log",
                               "telecom/pb/#.vcf",
                               "telecom/cal/#.vcs",
                               "telecom/devinfo.txt",
                               "telecom/rtc.txt",
                               "telecom/nt/luid/.vnt",
                               "telecom/msg/in/#.vmg",
                               "card.vcf",
                               ""};

constexpr std::array<std::string_view, 8> kTypes = {"",
                                                    "text/x-vcard",
                                                    "text/x-vcalendar",
                                                    "text/x-vnote",
                                                    "text/x-vmsg",
                                                    "text/calendar",
                                                    "text/plain",
                                                    "image/png"};

constexpr std::array<std::string_view, 9> kBodies = {
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=UTF-8:M\xC3\xBCller;Ann;B;Dr.;Jr.\r\nFN:Ann\r\nTEL;"
    "WORK;VOICE:123\r\n"
    "TEL;CELL:+49 170 "
    "1\r\nTEL;HOME;FAX:4\r\nEMAIL;INTERNET:a@b.de\r\nADR;HOME;ENCODING=QUOTED-PRINTABLE:;;A=0D=0AB;"
    "C;"
    "D;1;E\r\nORG:Firm;Dept\r\nTITLE:Cook\r\nBDAY:1980-02-29\r\nURL:http://x.y\r\nNOTE:likes "
    "tea\r\nCATEGORIES:X\r\n"
    "REV:20050314T101500Z\r\nEND:VCARD\r\n",
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Ray;Bob\r\nEND:VCARD\r\n",
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:Tea\r\nDTSTART:20050314T101500Z\r\n"
    "DTEND:20050314T111500Z\r\nRRULE:W1 MO WE 20060101T000000Z\r\nEXDATE:20050321T101500Z\r\n"
    "DALARM:20050314T100000Z;;;Ring\r\nLOCATION:Garden\r\nATTENDEE;ROLE=ATTENDEE:a@b."
    "de\r\nCATEGORIES:X;Y\r\n"
    "CLASS:PRIVATE\r\nDESCRIPTION:long\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n",
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:Sweep\r\nDUE:"
    "20050314T000000\r\nPRIORITY:1\r\n"
    "STATUS:COMPLETED\r\nCOMPLETED:20050315T000000Z\r\nAALARM:20050313T100000Z\r\nEND:VTODO\r\nEND:"
    "VCALENDAR\r\n",
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nTZ:+0100\r\nBEGIN:VEVENT\r\nSUMMARY:Day\r\nDTSTART:"
    "20050314\r\n"
    "DTEND:20050315\r\nX-BLUETOOTH-ALLDAYEVENT:TRUE\r\nRRULE:YM1 3 "
    "#0\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n",
    "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:Milk\r\nEND:VNOTE\r\n",
    "BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-TYPE:SMS\r\nX-IRMC-BOX:"
    "INBOX\r\nBEGIN:VCARD\r\n"
    "VERSION:2.1\r\nN:Ray\r\nTEL:1\r\nEND:VCARD\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nDate:"
    "20050314T101500Z\r\nHi\r\n"
    "END:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n",
    "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:u1\r\nN:Lee;Ann;;;\r\nFN:Ann "
    "Lee\r\nTEL;TYPE=cell,work:5\r\nEND:VCARD\r\n",
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:u2\r\nSUMMARY:Cake\r\nDTSTART;VALUE="
    "DATE:20050314\r\n"
    "RRULE:FREQ=WEEKLY;BYDAY=MO\r\nBEGIN:VALARM\r\nTRIGGER:-PT15M\r\nACTION:DISPLAY\r\nEND:"
    "VALARM\r\nEND:VEVENT\r\n"
    "END:VCALENDAR\r\n"};

// The fuzzer's bytes as choices; zeros after the last.
class Choices {
 public:
  Choices(const uint8_t* bytes, size_t size) : rest_(reinterpret_cast<const char*>(bytes), size) {}
  bool is_empty() const { return rest_.empty(); }
  uint8_t Byte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<uint8_t>(rest_[0]);
    rest_.remove_prefix(1);
    return byte;
  }
  std::string_view Bytes(size_t most) {
    const std::string_view bytes = rest_.substr(0, most);
    rest_.remove_prefix(bytes.size());
    return bytes;
  }
  template <class Table>
  auto Of(const Table& table) {
    return table[Byte() % table.size()];
  }

 private:
  std::string_view rest_;
};

std::string NameFrom(Choices& choices) {
  const uint8_t choice = choices.Byte();
  if ((choice & 0x80) != 0) return std::string(choices.Bytes(choice & 0x7F));
  std::string name = kNames[choice % kNames.size()];
  std::array<char, 16> digits{};
  for (const auto& [sign, form] : {std::pair{'#', "%u"}, std::pair{'@', "%08x"}}) {
    if (const size_t place = name.find(sign); place != std::string::npos) {
      std::snprintf(digits.data(), digits.size(), form, unsigned{choices.Byte()});
      name.replace(place, 1, digits.data());
    }
  }
  return name;
}

// One of the objects, as it is or with bytes of the fuzzer in place of some of its own; or the fuzzer's bytes alone.
std::string BodyFrom(Choices& choices) {
  const uint8_t choice = choices.Byte();
  if ((choice & 0x80) != 0) return std::string(choices.Bytes(size_t{choices.Byte()} * 4));
  std::string body(kBodies[(choice & 0x3F) % kBodies.size()]);
  if ((choice & 0x40) == 0) return body;
  const size_t place = body.size() * choices.Byte() / 256;
  const size_t removed = choices.Byte() & 0x3F;
  return body.replace(place, removed, choices.Bytes(choices.Byte()));
}

std::string ParametersFrom(Choices& choices) {
  const uint8_t choice = choices.Byte();
  std::string parameters;
  if ((choice & 1) != 0) obex::AppendTag(parameters, 0x11, std::to_string(choices.Byte()));
  if ((choice & 2) != 0) obex::AppendTag(parameters, 0x12, {});
  if ((choice & 4) != 0) parameters += choices.Bytes(choices.Byte() & 0x1F);
  std::string headers;
  if (!parameters.empty()) obex::AppendBytes(headers, HeaderId::kParameters, parameters);
  return headers;
}

// ---- The device ---------------------------------------------------------------------------------------------------

std::string FileBytes(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What an answer says, all its packets taken together.
struct Answer {
  Code code = Code::kInternalError;
  std::string body;
  std::string parameters;
};

class Peer {
 public:
  Peer() { Reconnect(); }

  void Reconnect() {
    connection_.reset();
    service_ = std::make_unique<obex::ObjectService>(
        obex::PushSettings{.most_objects = 20, .patience = 0}, journal_);
    connection_ = std::make_unique<obex::Connection>(*service_, limits_);
    is_sync_ = is_between_ = false;
  }

  // Any bytes; afterwards nothing is known of what runs.
  void SendRaw(std::string_view bytes) {
    connection_->Feed(bytes);
    is_sync_ = is_between_ = false;
    while (connection_->HasPacket()) Check(connection_->Answer().has_value());
    if (connection_->is_finished()) Reconnect();
  }

  Answer Connect(std::string_view target) {
    std::string headers("\x10\x00", 2);
    obex::AppendShort(headers, 0xFFFF);
    if (!target.empty()) obex::AppendBytes(headers, HeaderId::kTarget, target);
    // Where raw bytes wait for the rest of their packet this is that rest.
    const bool is_known = !connection_->IsInPacket();
    Answer answer = Exchange(Opcode::kConnect, headers, 4);
    is_between_ = is_known && answer.code != Code::kBadRequest;
    is_sync_ = is_between_ && !target.empty() && answer.code == Code::kSuccess;
    return answer;
  }

  Answer Get(const std::string& name, std::string_view type = {}) {
    Answer answer = Exchange(Opcode::kGetFinal, HeadersOf(name, type));
    while (answer.code == Code::kContinue) {
      Answer next = Exchange(Opcode::kGetFinal, {});
      answer.code = next.code;
      answer.body += next.body;
    }
    return answer;
  }

  // `end`: 0 a body's end with its last piece, 1 an empty one, 2 no end.
  Answer Put(const std::string& headers, std::string_view body, size_t piece, int end) {
    Answer answer;
    std::string packet = headers;
    while (body.size() > piece) {
      obex::AppendBytes(packet, HeaderId::kBody, body.substr(0, piece));
      body.remove_prefix(piece);
      answer = Exchange(Opcode::kPut, packet);
      if (answer.code != Code::kContinue) return answer;
      packet.clear();
    }
    if (end == 0) obex::AppendBytes(packet, HeaderId::kEndOfBody, body);
    if (end == 1) {
      if (!body.empty()) obex::AppendBytes(packet, HeaderId::kBody, body);
      obex::AppendBytes(packet, HeaderId::kEndOfBody, {});
    }
    if (end == 2 && !body.empty()) obex::AppendBytes(packet, HeaderId::kBody, body);
    return Exchange(Opcode::kPutFinal, packet);
  }

  // One packet and its answer.
  Answer Exchange(Opcode opcode, std::string_view rest, size_t fields = 0) {
    std::string packet(1, static_cast<char>(opcode));
    obex::AppendShort(packet, static_cast<uint16_t>(3 + rest.size()));
    connection_->Feed(packet.append(rest));
    Answer answer;
    int count = 0;
    while (connection_->HasPacket()) {
      const std::optional<std::string> bytes = connection_->Answer();
      Check(bytes.has_value() && bytes->size() >= 3 && obex::ShortAt(*bytes, 1) == bytes->size());
      answer = Read(*bytes, ++count == 1 ? fields : 0);
    }
    Check(count == 1 || !is_between_);
    if (connection_->is_finished()) Reconnect();
    return answer;
  }

  static std::string HeadersOf(const std::string& name, std::string_view type) {
    std::string headers;
    obex::AppendText(headers, HeaderId::kName, name);
    if (!type.empty()) obex::AppendBytes(headers, HeaderId::kType, std::string(type) + '\0');
    return headers;
  }

  bool is_sync() const { return is_sync_; }
  void Forget() { is_sync_ = is_between_ = false; }

 private:
  Answer Read(std::string_view bytes, size_t fields) const {
    Answer answer{static_cast<Code>(bytes[0]), {}, {}};
    if (bytes.size() < 3 + fields) return answer;
    obex::HeaderReader reader(bytes.substr(3 + fields));
    while (const auto header = reader.Next()) {
      if (header->Is(HeaderId::kBody) || header->Is(HeaderId::kEndOfBody))
        answer.body += header->bytes;
      if (header->Is(HeaderId::kParameters)) answer.parameters = header->bytes;
    }
    Check(!is_between_ || !reader.is_malformed());
    return answer;
  }

  static constexpr obex::PacketLimits limits_{
      .packet = 2'000, .headers = 4'000, .name = 64, .body = 20'000};
  Silent journal_;
  std::unique_ptr<obex::ObjectService> service_;
  std::unique_ptr<obex::Connection> connection_;
  bool is_sync_ = false;     // connected to synchronise
  bool is_between_ = false;  // no request runs
};

// A contact, an event and a task; the same for each input.
class Device {
 public:
  Device() {
    fuzz::UseOwnDevice();
    folder_ = device::Folder();
    Peer peer;
    peer.Connect({});
    for (const size_t body : {0, 2, 3}) peer.Put({}, kBodies[body], 1'000, 1);
    peer.Reconnect();
    device::CloseDatabase();
    bytes_ = FileBytes(folder_ + "/device.db");
    Check(!bytes_.empty());
  }

  void Reset() const {
    device::CloseDatabase();
    for (const char* name : {"/Sync", "/uids.db", "/uids.db-wal", "/uids.db-shm", "/device.db-wal",
                             "/device.db-shm"}) {
      std::error_code ignored;
      fs::remove_all(folder_ + name, ignored);
    }
    for (const auto& note : fs::directory_iterator(folder_ + "/Documents"))
      fs::remove_all(note.path());
    std::ofstream(folder_ + "/device.db", std::ios::binary)
        .write(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
  }

 private:
  std::string folder_;
  std::string bytes_;
};

// ---- What must be so ----------------------------------------------------------------------------------------------

struct Store {
  std::string folder;
  std::string extension;

  std::string Object(std::string_view luid) const {
    return folder + "/luid/" + std::string(luid) + extension;
  }
};

const std::array kStores = {Store{"telecom/pb", ".vcf"}, Store{"telecom/cal", ".vcs"}};

std::string Counter(Peer& peer, const Store& store) {
  const Answer answer = peer.Get(store.folder + "/luid/cc.log");
  Check(answer.code == Code::kSuccess);
  return answer.body;
}

std::string TagOf(const Answer& answer, uint8_t tag) {
  return std::string(obex::FindTag(answer.parameters, tag).value_or(""));
}

// A PUT to a store while the peer synchronises: it has happened, or changed nothing.
void CheckedPut(Peer& peer, const std::string& name, const std::string& headers,
                std::string_view body, size_t piece, int end) {
  const Store& store = kStores[name.find("/cal") == std::string::npos ? 0 : 1];
  const std::string before = Counter(peer, store);
  const Answer answer = peer.Put(headers, body, piece, end);
  if (!peer.is_sync()) return;
  const std::string after = Counter(peer, store);
  if (answer.code != Code::kSuccess) {
    Check(answer.code >= Code::kBadRequest && answer.parameters.empty());
    // An object that could not be replaced may have been changed before that was known.
    Check(after == before || answer.code == Code::kInternalError);
    return;
  }
  const std::string luid = TagOf(answer, 0x01);
  Check(luid.size() == 8 && luid.find_first_not_of("0123456789abcdef") == std::string::npos);
  Check(TagOf(answer, 0x02) + "\r\n" == after && after != before);
  const Code expected = body.empty() ? Code::kNotFound : Code::kSuccess;
  Check(peer.Get(store.Object(luid)).code == expected);
}

std::vector<std::string> LuidsIn(std::string_view text) {
  constexpr std::string_view kBefore = "\r\nX-IRMC-LUID:";
  std::vector<std::string> luids;
  for (size_t place = text.find(kBefore); place != std::string_view::npos;
       place = text.find(kBefore, place + 1)) {
    const size_t begin = place + kBefore.size();
    luids.emplace_back(text.substr(begin, text.find('\r', begin) - begin));
  }
  return luids;
}

std::string FieldOf(const std::string& text, const std::string& field) {
  const size_t place = text.find(field + ":");
  Check(place != std::string::npos);
  const size_t begin = place + field.size() + 1;
  return text.substr(begin, text.find('\r', begin) - begin);
}

// What a whole store says, its log, its count and its single objects agree.
void CheckStore(const Store& store) {
  Peer peer;
  Check(peer.Connect("IRMC-SYNC").code == Code::kSuccess);
  const std::string info = peer.Get(store.folder + "/info.log").body;
  const Answer whole = peer.Get(store.folder + store.extension);
  Check(whole.code == Code::kSuccess);
  const std::vector<std::string> luids = LuidsIn(whole.body);
  Check(std::to_string(luids.size()) == FieldOf(info, "Total-Records"));
  Check(std::set(luids.begin(), luids.end()).size() == luids.size());
  for (const std::string& luid : luids) {
    const Answer object = peer.Get(store.Object(luid));
    Check(object.code == Code::kSuccess && LuidsIn(object.body) == std::vector{luid});
    const Answer again = peer.Put(Peer::HeadersOf(store.Object(luid), {}), object.body, 1'500, 0);
    Check(again.code == Code::kSuccess && TagOf(again, 0x01) == luid);
    Check(peer.Get(store.Object(luid)).body == object.body);
  }
}

// ---- A session ----------------------------------------------------------------------------------------------------

void PutOnce(Peer& peer, Choices& choices) {
  const std::string name = NameFrom(choices);
  const std::string headers = Peer::HeadersOf(name, choices.Of(kTypes)) + ParametersFrom(choices);
  const uint8_t form = choices.Byte();
  const std::string body = (form & 0x07) == 7 ? std::string() : BodyFrom(choices);
  const size_t piece = (form & 0x80) == 0 ? 1'000 : 1 + choices.Byte();
  const int end = (form >> 4) % 3;
  if (peer.is_sync() && name.find("/luid/") != std::string::npos &&
      name.find("/nt/") == std::string::npos) {
    CheckedPut(peer, name, headers, body, piece, end);
  } else {
    peer.Put(headers, body, piece, end);
  }
}

void Step(Peer& peer, Choices& choices) {
  switch (choices.Byte() % 16) {
    case 0:
    case 1:
      peer.Connect("IRMC-SYNC");
      break;
    case 2:
      peer.Connect({});
      break;
    case 3:
      peer.Exchange(Opcode::kDisconnect, {});
      peer.Forget();
      break;
    case 4:
      peer.Exchange(Opcode::kAbort, {});
      break;
    case 5:
      peer.Reconnect();
      break;
    case 6:
      peer.SendRaw(choices.Bytes(choices.Byte()));
      break;
    case 7:  // a PUT that stays unfinished
      peer.Exchange(Opcode::kPut, Peer::HeadersOf(NameFrom(choices), choices.Of(kTypes)));
      peer.Forget();
      break;
    case 8:  // a GET that is not read to its end
      peer.Exchange(Opcode::kGetFinal, Peer::HeadersOf(NameFrom(choices), {}));
      break;
    case 9:
    case 10:
    case 11: {
      const std::string name = NameFrom(choices);
      peer.Get(name, choices.Of(kTypes));
      break;
    }
    default:
      PutOnce(peer, choices);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Device device;
  device.Reset();
  Choices choices(data, size);
  {
    Peer peer;
    constexpr int kMostSteps = 20;
    for (int i = 0; i < kMostSteps && !choices.is_empty(); ++i) Step(peer, choices);
  }
  // The whole check costs most of a run, and says nothing new of stores that nobody wrote to.
  const std::shared_ptr<device::Database> database = device::OpenDatabase();
  Check(database != nullptr);
  if (!database->HasWritten()) return 0;
  for (const Store& store : kStores) CheckStore(store);
  return 0;
}

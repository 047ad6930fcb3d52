// A phone that others synchronise with (IrMC 1.1, levels 2 and 4, over TCP), as another maker would have built it: it shares
// nothing with the service, keeps what it is sent byte by byte, and can be as odd as a test wants it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace support {

// A GET or a PUT that came, of however many packets.
struct PhoneRequest {
  bool is_put = false;
  std::string name;
  std::string body;
  std::string parameters;

  // The value of a tag in the parameters; nothing without it.
  std::optional<std::string> Parameter(uint8_t tag) const;
};

struct PhoneAnswer {
  int code = 0xA0;
  std::string body = {};
  std::string parameters = {};
};

class PhoneStore {
 public:
  PhoneStore(std::string frame, std::string extension)
      : frame_(std::move(frame)), extension_(std::move(extension)) {}

  // What its owner does on the phone itself. Texts are without an id.
  std::string Add(const std::string& text);
  void Change(const std::string& luid, const std::string& text);
  void Delete(const std::string& luid);
  // Its log gets an entry, though nothing was changed.
  void Touch(const std::string& luid) { Log('M', luid); }
  // Another database, with the same objects under other ids and a log that begins anew.
  void StartAnew(const std::string& database_id);

  const std::map<std::string, std::string>& objects() const { return objects_; }
  uint32_t counter() const { return counter_; }

  // ---- How it is ----
  std::string database_id = "e0829bds";
  bool has_forgotten = false;  // its log knows nothing of the past
  int step = 1;                // of the counter, for each change that is written to it
  bool renames = false;        // a changed object gets a new id

 private:
  friend class IrmcPhone;
  struct Entry {
    char kind;
    uint32_t counter;
    std::string luid;
  };

  PhoneAnswer Get(const std::string& place) const;
  PhoneAnswer Put(const std::string& luid, const PhoneRequest& request);
  std::string Changes(uint32_t after) const;
  std::string Whole() const;
  std::string WithId(const std::string& luid) const;
  std::string NewLuid();
  void Log(char kind, const std::string& luid);

  const std::string frame_;  // around the items of a stream; empty where there is none
  const std::string extension_;
  std::map<std::string, std::string> objects_;
  std::vector<Entry> log_;
  uint32_t counter_ = 0;
  int last_luid_ = 0;
};

class IrmcPhone {
 public:
  IrmcPhone();
  ~IrmcPhone();
  IrmcPhone(const IrmcPhone&) = delete;
  IrmcPhone& operator=(const IrmcPhone&) = delete;

  int port() const { return port_; }

  // It answers whoever connects while something is done, one after the other. What it holds may be looked at and changed
  // before and after that, not meanwhile.
  void ServeWhile(const std::function<void()>& something);

  PhoneStore contacts{"", ".vcf"};
  PhoneStore calendar{"VCALENDAR", ".vcs"};
  std::string serial_number = "351956003653753";
  // What it answers instead; nothing where it answers as it is.
  std::function<std::optional<PhoneAnswer>(const PhoneRequest&)> instead;
  // The connection is closed instead of an answer to this request, counted from 1; 0 for never.
  int hangs_up_at = 0;
  // The connection is closed after a PUT was carried out, instead of an answer.
  bool loses_answers_to_puts = false;
  // That came, since this was cleared last.
  std::vector<PhoneRequest> requests;

 private:
  class Line;
  void Serve(int handle);
  PhoneAnswer AnswerTo(const PhoneRequest& request);

  int listener_;
  int port_ = 0;
};

}  // namespace support

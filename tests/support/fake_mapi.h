// A messaging store that tests can look into and tell to fail: it takes the place of the device's
// session.
//
// Every call is written down with the arguments that matter ("folder.OpenEntry(0A,11)": entry ids,
// tags, flags and sizes in hexadecimal digits, numbers of rows in decimal ones) and may be told to
// answer with a result instead of doing its work. The end of each object is written down too
// ("~folder"). What is set in a message stays readable in its FakeMail.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/api/cemapi.h"
#include "tests/support/fake_mapi_values.h"

namespace support {

// ---- What the store holds -----------------------------------------------------------------------

struct FakeRecipient {
  LONG type = MAPI_TO;
  std::u16string address{};
  std::u16string address_type = u"SMTP";
};

struct FakeMail {
  std::string id{};
  std::map<ULONG, FakeValue> values{};  // by the tag's identifier
  std::optional<std::string> body{};    // as bytes
  std::vector<FakeRecipient> recipients{};
  int saves = 0;
  ULONG type = MAPI_MESSAGE;  // what OpenEntry says that it is

  void Put(FakeValue value);
  bool Has(ULONG tag) const { return values.count(PROP_ID(tag)) != 0; }
  // The value of a property that was put, or an empty one.
  FakeValue Get(ULONG tag) const;
  std::u16string Text(ULONG tag) const { return Get(tag).text; }
  // The body as text, the terminator with it.
  std::u16string BodyText() const;
  void SetBody(std::u16string_view text);
};

using FakeMailPtr = std::shared_ptr<FakeMail>;

struct FakeFolderData {
  std::string id;
  std::vector<FakeMailPtr> mails{};
  ULONG type = MAPI_FOLDER;  // what the store's OpenEntry says that it is
};

// What GetLastError tells; a text without a value is a null pointer.
struct FakeError {
  std::optional<std::u16string> error{};
  std::optional<std::u16string> component{};
  ULONG low_level = 0;
  ULONG version = 0;
  ULONG context = 0;
};

// What the fake holds, what it was asked, and what it is to fail at. One at a time; all its objects
// must have been released when it goes.
class FakeMapi {
 public:
  FakeMapi();
  ~FakeMapi();
  FakeMapi(const FakeMapi&) = delete;
  FakeMapi& operator=(const FakeMapi&) = delete;

  // From now on a call ("stores.QueryRows"; with its arguments, "message.SetProps(37001F)", only
  // that one) answers this. With `nth` only the nth such call does.
  void Fail(const std::string& call, HRESULT result, int nth = 0);
  // No call fails any more.
  void Mend() { faults_.clear(); }

  // Does something at the end of the calls of a name, also of those that fail.
  void When(const std::string& call, std::function<void()> action);

  // The calls since the last call of Calls.
  std::vector<std::string> Calls() { return std::exchange(calls_, {}); }
  // How often a call was made since then, whatever its arguments.
  int Count(const std::string& call) const;
  // The objects of a kind that are not released: "session", "store", "folder", "message", "stream",
  // and the tables "stores", "contents" and "recipients".
  int Live(const std::string& kind) const;

  // A stored message at the end of a folder.
  FakeMail& Keep(FakeFolderData& folder, std::string id, FakeValues values = {});
  // The message of the one CreateMessage that there was.
  FakeMail& Created();

  FakeFolderData inbox{"\xF1"};
  FakeFolderData sent{"\xF2"};
  FakeFolderData outbox{"\xF3"};
  std::vector<FakeValues> stores;  // the rows of the table of stores
  std::map<ULONG, FakeValue> store_values;
  std::vector<FakeMailPtr> created;
  std::string next_id = "\x0A\xFF\x01";  // the entry id of the next new message
  std::optional<FakeError> error;        // null when GetLastError has nothing to tell
  SCODE problem = S_OK;                  // of every property that is set from now on
  bool gives_no_rows = false;            // QueryRows succeeds with null
  bool gives_no_ids = false;        // a message has no entry id: it comes back under another type
  bool gives_no_values = false;     // GetProps of a message succeeds with 0 values and null
  bool gives_empty_values = false;  // GetProps of a message succeeds with 0 values and an array
  std::optional<uint64_t> stated_size;  // what Stat says instead of the truth
  // A row of the recipient table instead of the true ones.
  std::optional<FakeValues> recipient_row_form;

  // ---- For the objects of the fake ----

  HRESULT Call(const std::string& name, const std::string& arguments = "");
  void Begin(const std::string& kind) { ++live_[kind]; }
  void End(const std::string& kind);
  HRESULT GetLastError(const std::string& name, HRESULT result, ULONG flags, LPMAPIERROR* record);

  static inline FakeMapi* current = nullptr;

 private:
  struct Fault {
    HRESULT result;
    int nth;
    int calls;
  };
  HRESULT Answer(const std::string& name);

  std::map<std::string, Fault> faults_;
  std::map<std::string, std::function<void()>> actions_;
  std::vector<std::string> calls_;
  std::map<std::string, int> live_;
};

}  // namespace support

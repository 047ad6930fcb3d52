// The registry lives in the device's database. A key handle is a path that has been opened before: paths are
// kept for good, so that one that is opened again and again, and perhaps never closed, costs nothing. Answers
// are remembered for as long as nothing was written to the database: some settings are asked for with every
// object.
//
// Every call asks for the database anew, so that a handle outlives the database's closing and a change of the
// device's folder. A key is looked up by its whole path with the case folded; a value by its key's row and
// its folded name. A write is one statement, or for a key and its parents one transaction: it is there whole
// or not at all.

#include "platform/api/registry.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "platform/device/device.h"
#include "platform/posix/error_numbers.h"

namespace {

constexpr size_t kLongestPart = 255;  // characters of one part of a path
constexpr size_t kLongestValueName = 16383;
constexpr DWORD kLargestValue = 1 << 20;  // bytes
constexpr size_t kLongestKept = 1024;     // bytes of an answer that is remembered
constexpr std::u16string_view kRoot = u"HKEY_LOCAL_MACHINE";

using device::Database;
using device::Statement;

std::u16string Folded(std::u16string_view text) {
  std::u16string folded(text.size() * 3, u'\0');  // no character folds to more than three units
  UErrorCode error = U_ZERO_ERROR;
  const int32_t length =
      u_strFoldCase(folded.data(), static_cast<int32_t>(folded.size()), text.data(),
                    static_cast<int32_t>(text.size()), U_FOLD_CASE_DEFAULT, &error);
  if (U_FAILURE(error)) return std::u16string(text);
  folded.resize(static_cast<size_t>(length));
  return folded;
}

std::u16string_view View(LPCWSTR text) { return text == nullptr ? std::u16string_view() : text; }

// ---- Handles -----------------------------------------------------------------------------------

std::set<std::u16string>& OpenedPaths() {
  static std::set<std::u16string> paths;
  return paths;
}

HKEY HandleOf(const std::u16string& path) {
  const std::u16string& kept = *OpenedPaths().insert(path).first;
  return reinterpret_cast<HKEY>(const_cast<std::u16string*>(&kept));
}

// The path that a handle stands for; nothing for what is no handle.
std::optional<std::u16string> PathOf(HKEY key) {
  if (key == HKEY_LOCAL_MACHINE) return std::u16string(kRoot);
  for (const std::u16string& path : OpenedPaths()) {
    if (reinterpret_cast<HKEY>(const_cast<std::u16string*>(&path)) == key) return path;
  }
  return std::nullopt;
}

// Appends the parts of a subkey's path to `path`. False when a part is too long.
bool AppendParts(std::u16string_view subkey, std::u16string& path) {
  while (!subkey.empty()) {
    const size_t end = std::min(subkey.find(u'\\'), subkey.size());
    if (end > kLongestPart) return false;
    if (end > 0) path.append(u"\\").append(subkey.substr(0, end));
    subkey.remove_prefix(std::min(end + 1, subkey.size()));
  }
  return true;
}

// ---- The database ------------------------------------------------------------------------------

LONG LastErrorOf(Database& database) {
  const LONG error = ErrorOfSqlite(database.LastError());
  return error == ERROR_SUCCESS ? ERROR_GEN_FAILURE : error;
}

// A value, or that there is none.
struct ValueAnswer {
  bool exists = false;
  DWORD type = 0;
  std::string data;
};

// How the opening of a key ended, with the parent and the subkey as they were given.
struct OpenedSubkey {
  HKEY parent = nullptr;
  std::u16string subkey;
  LSTATUS status = ERROR_SUCCESS;
  HKEY key = nullptr;

  bool Answers(HKEY asked_parent, std::u16string_view asked) const {
    return asked_parent != nullptr && asked_parent == parent && asked == subkey;
  }
};

// What the database last answered, by the texts of the questions.
class Answers {
 public:
  // Those that still hold for a database, and room for new ones.
  static Answers& Of(const std::shared_ptr<Database>& database) {
    static Answers answers;
    const std::optional<device::CommitMark> mark = database->Mark();
    const bool hold = mark && mark == answers.mark_ && answers.database_.lock() == database;
    if (!hold || answers.values.size() + answers.keys.size() >= kMost) {
      answers.keys.clear();
      answers.values.clear();
      answers.last_opened = {};
      answers.database_ = database;
      answers.mark_ = mark;
    }
    return answers;
  }

  std::map<std::u16string, bool, std::less<>> keys;  // whether a path exists
  std::map<std::u16string, ValueAnswer, std::less<>> values;
  OpenedSubkey last_opened;  // whoever asks with every object asks for the same key

 private:
  static constexpr size_t kMost = 256;

  std::weak_ptr<Database> database_;
  std::optional<device::CommitMark> mark_;
};

// The row number of a key; 0 when there is none, with `error` telling whether that is all.
int64_t FindKey(Database& database, std::u16string_view path, LONG* error) {
  Statement find = database.Prepare("SELECT id FROM registry_keys WHERE folded_path=?1");
  const int step = find.Bind(1, Folded(path)).Step();
  *error = step == SQLITE_ROW || step == SQLITE_DONE ? ERROR_SUCCESS : LastErrorOf(database);
  return step == SQLITE_ROW ? find.Integer(0) : 0;
}

bool KeyExists(const std::shared_ptr<Database>& database, std::u16string_view path, LONG* error) {
  *error = ERROR_SUCCESS;
  if (path == kRoot) return true;
  auto& known = Answers::Of(database).keys;
  if (const auto answer = known.find(path); answer != known.end()) return answer->second;
  const bool exists = FindKey(*database, path, error) != 0;
  if (*error == ERROR_SUCCESS) known.emplace(path, exists);
  return exists;
}

// True when the key was not there before.
bool InsertKey(Database& database, std::u16string_view path, LONG* error) {
  Statement insert =
      database.Prepare("INSERT OR IGNORE INTO registry_keys(folded_path, path) VALUES(?1, ?2)");
  if (!insert.Bind(1, Folded(path)).Bind(2, path).Run()) {
    *error = LastErrorOf(database);
    return false;
  }
  return database.Changes() > 0;
}

// Makes a key and its missing parents, from the root on, in one transaction: no key is ever without its
// parent. True when the key itself is new.
bool InsertKeyAndParents(Database& database, const std::u16string& path, LONG* error) {
  *error = ERROR_SUCCESS;
  device::Transaction transaction(database);
  if (!transaction.is_open()) {
    *error = LastErrorOf(database);
    return false;
  }
  bool is_new = false;
  for (size_t end = kRoot.size(); end != std::u16string::npos && *error == ERROR_SUCCESS;) {
    end = path.find(u'\\', end + 1);
    is_new = InsertKey(database, std::u16string_view(path).substr(0, end), error);
  }
  if (*error == ERROR_SUCCESS && !transaction.Commit()) *error = LastErrorOf(database);
  return is_new;
}

// What the functions on values need: the database and the key's row in it.
struct OpenedKey {
  std::shared_ptr<Database> database;
  int64_t row = 0;
};

LONG Resolve(HKEY key, OpenedKey& opened) {
  const std::optional<std::u16string> path = PathOf(key);
  if (!path) return ERROR_INVALID_HANDLE;
  opened.database = device::OpenDatabase();
  if (opened.database == nullptr) return ErrorOfDevice();
  LONG error = ERROR_SUCCESS;
  opened.row = FindKey(*opened.database, *path, &error);
  if (error != ERROR_SUCCESS) return error;
  return opened.row == 0 ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

// Opens or creates rootpath\subkey; shared by the two functions that do.
LONG CompletePath(HKEY key, LPCWSTR subkey, HKEY* result, std::u16string& path) {
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  const std::optional<std::u16string> parent = PathOf(key);
  if (!parent) return ERROR_INVALID_HANDLE;
  path.reserve(parent->size() + View(subkey).size() + 1);
  path = *parent;
  return AppendParts(View(subkey), path) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

// Fills in what is stored under a name. A missing key has no values.
LONG FindValue(Database& database, std::u16string_view path, std::u16string_view name,
               ValueAnswer& answer) {
  LONG error = ERROR_SUCCESS;
  const int64_t row = FindKey(database, path, &error);
  if (error != ERROR_SUCCESS || row == 0) return error;
  Statement find =
      database.Prepare("SELECT type, data FROM registry_values WHERE key=?1 AND folded_name=?2");
  const int step = find.Bind(1, row).Bind(2, Folded(name)).Step();
  if (step == SQLITE_DONE) return ERROR_SUCCESS;
  if (step != SQLITE_ROW) return LastErrorOf(database);
  answer = {true, static_cast<DWORD>(find.Integer(0)), std::string(find.Bytes(1))};
  return ERROR_SUCCESS;
}

// Hands a stored value out by the rules of RegQueryValueExW.
LONG CopyValue(std::string_view value, BYTE* data, DWORD* size) {
  const DWORD room = size == nullptr ? 0 : *size;
  if (size != nullptr) *size = static_cast<DWORD>(value.size());
  if (data == nullptr) return ERROR_SUCCESS;
  if (value.size() > room) return ERROR_MORE_DATA;
  if (!value.empty()) std::memcpy(data, value.data(), value.size());
  return ERROR_SUCCESS;
}

LONG GiveValue(const ValueAnswer& answer, DWORD* type, BYTE* data, DWORD* size) {
  if (!answer.exists) return ERROR_FILE_NOT_FOUND;
  if (type != nullptr) *type = answer.type;
  return CopyValue(answer.data, data, size);
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subkey, DWORD /*options*/, REGSAM /*access*/,
                      HKEY* result) {
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  const std::shared_ptr<Database> database = device::OpenDatabase();
  // The answers are of what was committed before the question, whatever is committed meanwhile.
  OpenedSubkey* last = database == nullptr ? nullptr : &Answers::Of(database).last_opened;
  if (last != nullptr && last->Answers(key, View(subkey))) {
    *result = last->key;
    return last->status;
  }
  std::u16string path;
  LONG error = CompletePath(key, subkey, result, path);
  if (error != ERROR_SUCCESS) return error;
  if (database == nullptr) return ErrorOfDevice();
  if (KeyExists(database, path, &error)) {
    *result = path == kRoot ? HKEY_LOCAL_MACHINE : HandleOf(path);
  } else if (error == ERROR_SUCCESS) {
    error = ERROR_FILE_NOT_FOUND;
  } else {
    return error;
  }
  *last = {key, std::u16string(View(subkey)), error, *result};
  return error;
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subkey, DWORD /*reserved*/, LPWSTR /*class_name*/,
                        DWORD /*options*/, REGSAM /*access*/, void* /*security*/, HKEY* result,
                        DWORD* disposition) {
  std::u16string path;
  LONG error = CompletePath(key, subkey, result, path);
  if (error != ERROR_SUCCESS) return error;
  const std::shared_ptr<Database> database = device::OpenDatabase();
  if (database == nullptr) return ErrorOfDevice();
  const bool is_new = InsertKeyAndParents(*database, path, &error);
  if (error != ERROR_SUCCESS) return error;
  *result = HandleOf(path);
  if (disposition != nullptr) *disposition = is_new ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  return ERROR_SUCCESS;
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* size) {
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
  const std::optional<std::u16string> path = PathOf(key);
  if (!path) return ERROR_INVALID_HANDLE;
  const std::shared_ptr<Database> database = device::OpenDatabase();
  if (database == nullptr) return ErrorOfDevice();

  auto& known = Answers::Of(database).values;
  std::u16string question = *path;
  question.append(1, u'\0').append(View(name));
  if (const auto answer = known.find(question); answer != known.end()) {
    return GiveValue(answer->second, type, data, size);
  }
  ValueAnswer answer;
  const LONG error = FindValue(*database, *path, View(name), answer);
  if (error != ERROR_SUCCESS) return error;
  const LONG result = GiveValue(answer, type, data, size);
  if (answer.data.size() <= kLongestKept) known.emplace(std::move(question), std::move(answer));
  return result;
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size) {
  const bool is_named = View(name).size() <= kLongestValueName;
  if (reserved != 0 || !is_named || size > kLargestValue || (data == nullptr && size > 0)) {
    return ERROR_INVALID_PARAMETER;
  }
  OpenedKey opened;
  if (const LONG error = Resolve(key, opened); error != ERROR_SUCCESS) return error;
  Statement store = opened.database->Prepare(
      "INSERT INTO registry_values(key, folded_name, name, type, data) VALUES(?1, ?2, ?3, ?4, ?5) "
      "ON CONFLICT(key, folded_name) DO UPDATE SET type=?4, data=?5");
  store.Bind(1, opened.row).Bind(2, Folded(View(name))).Bind(3, View(name));
  store.Bind(4, int64_t{type}).BindBlob(5, data, size);
  return store.Run() ? ERROR_SUCCESS : LastErrorOf(*opened.database);
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name) {
  OpenedKey opened;
  if (const LONG error = Resolve(key, opened); error != ERROR_SUCCESS) return error;
  Statement remove =
      opened.database->Prepare("DELETE FROM registry_values WHERE key=?1 AND folded_name=?2");
  if (!remove.Bind(1, opened.row).Bind(2, Folded(View(name))).Run()) {
    return LastErrorOf(*opened.database);
  }
  return opened.database->Changes() > 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

LSTATUS RegCloseKey(HKEY key) { return PathOf(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; }

// Of a series with changed occurrences the store gets the series, with an exception for each of them: the changed ones have
// no place of their own there, and stay in the file. They are told from the series by their UIDs, since what is made of an
// override has a UID of its own.
#include "mirror/file_object.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "btosif/osif_util/charset.h"
#include "client/digest.h"
#include "dialects/charsets.h"
#include "dialects/content_line.h"
#include "dialects/object_splitter.h"
#include "dialects/strict_object.h"
#include "dialects/value_text.h"
#include "osif.h"

namespace mirror {
namespace {

constexpr std::string_view kUidName = "UID";

dialects::ObjectKind KindOf(int32_t store_id) {
  return store_id == OSIF_STORE_PB ? dialects::ObjectKind::kCard : dialects::ObjectKind::kCalendar;
}

bool IsItem(int32_t store_id, std::string_view what) {
  if (store_id == OSIF_STORE_PB) return what == "VCARD";
  return what == "VEVENT" || what == "VTODO" || what == "VJOURNAL";
}

// Reads a text as a file.
class TextSource {
 public:
  explicit TextSource(std::string_view text) : text_(text) {}
  size_t operator()(char* into, size_t room) {
    const size_t count = text_.copy(into, room);
    text_.remove_prefix(count);
    return count;
  }

 private:
  std::string_view text_;
};

// The items of a file: their UIDs, each once, an empty one for those without; and how many there are.
struct FileItems {
  std::set<std::string> uids;
  size_t count = 0;
};

FileItems ItemsOf(int32_t store_id, std::string_view text) {
  FileItems items;
  dialects::Report ignored;
  std::optional<std::string> uid;  // of the item that is being read
  size_t depth = 0;                // of components inside of the item
  for (const dialects::ContentLine& line :
       dialects::ReadContentLines(text, 1, dialects::kModernLines, ignored)) {
    if (line.name == "BEGIN") {
      if (uid) {
        ++depth;
      } else if (IsItem(store_id, line.value)) {
        uid.emplace();
      }
    } else if (line.name == "END" && uid) {
      if (depth > 0) {
        --depth;
      } else {
        items.uids.insert(*std::exchange(uid, std::nullopt));
        ++items.count;
      }
    } else if (uid && depth == 0 && line.name == kUidName && uid->empty()) {
      uid = dialects::Unescaped(line.value, dialects::Escapes::kModern);
    }
  }
  return items;
}

FileObject Refused(std::string why) {
  FileObject object;
  object.refusal = std::move(why);
  return object;
}

std::string TheObject(int32_t store_id) { return store_id == OSIF_STORE_PB ? "card" : "calendar"; }

// Whether the last frame that a text closes is its outermost. What was cut off, or is still being written, lacks lines that
// would be taken for deleted.
bool IsWhole(int32_t store_id, std::string_view text) {
  bool is_end = false;
  std::string what;
  while (!text.empty()) {
    const std::string_view line = dialects::TakePhysicalLine(text);
    if (dialects::IsFrameLine(line, "BEGIN", what)) is_end = false;
    if (dialects::IsFrameLine(line, "END", what)) {
      is_end = what == (store_id == OSIF_STORE_PB ? "VCARD" : "VCALENDAR");
    }
  }
  return is_end;
}

// The one object of a file; what is wrong otherwise in `why`.
std::optional<dialects::ObjectText> OnlyObject(int32_t store_id, std::string_view text,
                                               std::string& why) {
  dialects::ObjectSplitter splitter{TextSource(text)};
  std::optional<dialects::ObjectText> object = splitter.Next();
  if (!object || object->kind != KindOf(store_id)) {
    why = "holds no " + TheObject(store_id);
  } else if (!object->refusal.empty()) {
    why = object->refusal;
  } else if (!IsWhole(store_id, text)) {
    why = "has no END";
  } else if (splitter.Next()) {
    why = "holds more than one object";
  }
  if (!why.empty()) return std::nullopt;
  return object;
}

// What the store gets of the objects that were made of a file with so many items. More objects than items are those into
// which a series was taken apart.
void Choose(std::vector<dialects::StrictObject> objects, size_t items, FileObject& file) {
  if (objects.size() > std::max<size_t>(items, 1)) {
    file.stays = "stays in the file: the store cannot hold its recurrence";
    return;
  }
  size_t overrides = 0;
  std::vector<dialects::StrictObject> own;
  for (dialects::StrictObject& object : objects) {
    if (!file.uid.empty() && !object.uid.empty() && object.uid != file.uid) {
      ++overrides;
    } else {
      own.push_back(std::move(object));
    }
  }
  if (own.size() == 1 && !own.front().text.empty() &&
      own.front().kind != dialects::ObjectKind::kNote) {
    file.strict = std::move(own.front().text);
    if (overrides > 0) {
      file.stays = std::to_string(overrides) + " changed occurrence" + (overrides == 1 ? "" : "s") +
                   (overrides == 1 ? " stays" : " stay") + " in the file";
    }
    return;
  }
  if (own.empty()) {
    file.stays = "stays in the file: the store cannot hold it";
  } else if (own.front().kind == dialects::ObjectKind::kNote) {
    file.stays = "stays in the file: it is a journal entry";
  } else {
    file.stays = "stays in the file: " + own.front().refusal;
  }
}

bool IsPlainName(std::string_view uid) {
  constexpr size_t kLongestName = 200;  // with its ending and ".tmp" below what file systems allow
  const auto is_plain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_.-+").find(c) != std::string_view::npos;
  };
  return !uid.empty() && uid.size() <= kLongestName && uid.front() != '.' &&
         std::ranges::all_of(uid, is_plain);
}

}  // namespace

std::string_view EndingOf(int32_t store_id) { return store_id == OSIF_STORE_PB ? ".vcf" : ".ics"; }

FileObject ReadFileObject(int32_t store_id, std::string_view text) {
  if (!dialects::IsUtf8(text)) return Refused("is not UTF-8");
  std::string why;
  const std::optional<dialects::ObjectText> object = OnlyObject(store_id, text, why);
  if (!object) return Refused(std::move(why));
  const FileItems items = ItemsOf(store_id, object->text);
  if (items.uids.size() > 1) return Refused("holds objects of several UIDs");
  if (items.count > 1 && items.uids.contains("")) return Refused("holds more than one object");
  FileObject file;
  if (!items.uids.empty()) file.uid = *items.uids.begin();
  Choose(dialects::StrictObjects(*object, {InputCodePage()}), items.count, file);
  return file;
}

std::string UidOfFile(int32_t store_id, std::string_view text) {
  const FileItems items = ItemsOf(store_id, text);
  return items.uids.size() == 1 ? *items.uids.begin() : std::string();
}

// A card's first line after BEGIN has to be its VERSION, so the UID goes to the end; an event's UID goes to its beginning,
// since other components may follow inside of it.
std::string WithUid(int32_t store_id, std::string_view text, std::string_view uid) {
  const bool is_card = store_id == OSIF_STORE_PB;
  std::string_view rest = text;
  std::string what;
  while (!rest.empty()) {
    const size_t begin = text.size() - rest.size();
    const std::string_view line = dialects::TakePhysicalLine(rest);
    if (!dialects::IsFrameLine(line, is_card ? "END" : "BEGIN", what) || !IsItem(store_id, what)) {
      continue;
    }
    const size_t after = text.size() - rest.size();
    const std::string_view line_end = text.find('\r') == std::string_view::npos ? "\n" : "\r\n";
    std::string result(text);
    std::string added = "UID:" + dialects::EscapedModern(uid);
    added += line_end;
    return result.insert(is_card ? begin : after, added);
  }
  return std::string(text);
}

std::string MakeUid(std::string_view name, std::string_view text) {
  constexpr size_t kDigits = 32;
  std::string both(name);
  both.append(1, '\0').append(text);
  return "osif-" + client::Sha256(both).substr(0, kDigits);
}

std::string FileNameOf(int32_t store_id, std::string_view uid, std::string_view otherwise) {
  return std::string(IsPlainName(uid) ? uid : otherwise).append(EndingOf(store_id));
}

}  // namespace mirror

// Cards are taken apart as those of any file are. A calendar that holds a whole store may be too large for that: its items
// are taken line by line. What the calendar says of all of them (its version, a zone) goes into the frame of each.
#include "obex/client/whole_store.h"

#include <string_view>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/line_rules.h"
#include "dialects/content_line.h"
#include "dialects/object_splitter.h"
#include "osif.h"

namespace obex {
namespace {

constexpr size_t kLargestFrame = size_t{64} * 1024;
constexpr std::string_view kItems[] = {"VEVENT", "VTODO"};

bool IsItem(std::string_view what) {
  for (const std::string_view item : kItems) {
    if (what == item) return true;
  }
  return false;
}

std::string_view WithoutBreak(std::string_view line) {
  return line.substr(0, line.find_last_not_of("\r\n") + 1);
}

}  // namespace

class WholeStore::Objects {
 public:
  virtual ~Objects() = default;
  virtual std::optional<std::string> Next() = 0;
};

class WholeStore::Cards final : public Objects {
 public:
  explicit Cards(dialects::ByteSource bytes) : splitter_(std::move(bytes)) {}

  std::optional<std::string> Next() override {
    std::optional<dialects::ObjectText> object = splitter_.Next();
    if (!object) return std::nullopt;
    return object->had_end ? std::move(object->text) : std::string();
  }

 private:
  dialects::ObjectSplitter splitter_;
};

class WholeStore::Items final : public Objects {
 public:
  explicit Items(dialects::ByteSource bytes) : lines_(std::move(bytes)) {}

  std::optional<std::string> Next() override {
    item_.clear();
    std::string inside;  // the item that is open
    for (dialects::FileLine line; lines_.Next(line);) {
      const bool is_value = is_value_;
      is_value_ = GoesOn(line);
      const std::string_view bare = WithoutBreak(line.bytes);
      std::string what;
      if (inside.empty()) {
        if (!is_value && dialects::IsFrameLine(bare, "BEGIN", what) && IsItem(what)) {
          inside = what;
          item_ = line.bytes;
        } else {
          AddToFrame(line.bytes);
        }
        continue;
      }
      if (item_.size() <= dialects::kLargestObject) item_ += line.bytes;
      if (!is_value && dialects::IsFrameLine(bare, "END", what) && what == inside) return Framed();
    }
    if (inside.empty()) return std::nullopt;
    return std::string();
  }

 private:
  // Whether the next line is text of a value, whatever it looks like.
  bool GoesOn(const dialects::FileLine& line) {
    const std::string_view bytes = WithoutBreak(line.bytes);
    if (!is_value_ && line.is_whole_start) {
      const std::string_view head = bytes.substr(0, bytes.find(':'));
      is_encoded_ = ContainsIgnoringCase(head, "QUOTED-PRINTABLE");
    }
    return is_encoded_ && EndsInSoftBreak(bytes);
  }

  void AddToFrame(std::string_view line) {
    std::string what;
    const std::string_view bare = WithoutBreak(line);
    const bool is_end = dialects::IsFrameLine(bare, "END", what) && what == "VCALENDAR";
    if (is_end || dialects::IsFrameLine(bare, "BEGIN", what)) {
      frame_.clear();
    } else if (frame_.size() + line.size() <= kLargestFrame) {
      frame_ += line;
    }
  }

  std::string Framed() {
    if (item_.size() > dialects::kLargestObject) return {};
    return "BEGIN:VCALENDAR\r\n" + frame_ + std::exchange(item_, {}) + "END:VCALENDAR\r\n";
  }

  dialects::FileLines lines_;
  std::string frame_;  // the lines of the calendar itself so far
  std::string item_;
  bool is_value_ = false;
  bool is_encoded_ = false;
};

WholeStore::WholeStore(int32_t store_id, dialects::ByteSource bytes) {
  if (store_id == OSIF_STORE_PB) {
    objects_ = std::make_unique<Cards>(std::move(bytes));
  } else {
    objects_ = std::make_unique<Items>(std::move(bytes));
  }
}

WholeStore::~WholeStore() = default;

std::optional<std::string> WholeStore::Next() { return objects_->Next(); }

}  // namespace obex

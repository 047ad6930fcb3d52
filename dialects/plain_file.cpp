#include "dialects/plain_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "dialects/object_splitter.h"
#include "dialects/plain_object.h"

namespace dialects {
namespace {

// Of a regular file that is at its start; 0 for others.
int64_t SizeOf(int handle) {
  struct stat state {};
  if (fstat(handle, &state) != 0 || !S_ISREG(state.st_mode)) return 0;
  return lseek(handle, 0, SEEK_CUR) == 0 ? state.st_size : 0;
}

// Gives the bytes of a file, and leaves its position.
class BytesFromStart {
 public:
  explicit BytesFromStart(int handle) : handle_(handle) {}

  size_t operator()(char* into, size_t room) {
    ssize_t got = 0;
    do {
      got = pread(handle_, into, room, place_);
    } while (got < 0 && errno == EINTR);
    place_ += std::max<ssize_t>(got, 0);
    return static_cast<size_t>(std::max<ssize_t>(got, 0));
  }

 private:
  int handle_;
  off_t place_ = 0;
};

bool IsPlainCardObject(const ObjectText& object) {
  return object.kind == ObjectKind::kCard && object.refusal.empty() && IsPlain(object);
}

}  // namespace

std::optional<std::vector<TextLength>> PlainCardsOfFile(int handle) {
  const int64_t size = SizeOf(handle);
  if (size <= 0 || size > kLargestPlainFile) return std::nullopt;
  ObjectSplitter splitter{BytesFromStart(handle)};
  std::vector<TextLength> cards;
  std::vector<TextLength> more;
  size_t bytes = 0;
  for (;;) {
    bytes += splitter.TakePlainCards(more).size();
    cards.insert(cards.end(), more.begin(), more.end());
    const uint64_t line = splitter.next_line();
    const std::optional<ObjectText> object = splitter.Next();
    if (!object) break;
    if (!IsPlainCardObject(*object)) return std::nullopt;
    cards.push_back({object->text.size(), splitter.next_line() - line});
    bytes += object->text.size();
  }
  // What is left over stood between the cards.
  if (bytes != static_cast<size_t>(size)) return std::nullopt;
  return cards;
}

}  // namespace dialects

#include "obex/services/answers.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "platform/device/device.h"

namespace obex {
namespace {

class TextSource final : public PieceSource {
 public:
  explicit TextSource(std::string text) : text_(std::move(text)) {}

 private:
  std::optional<std::string> Next() override {
    if (text_.empty()) return std::nullopt;
    return std::exchange(text_, {});
  }

  std::string text_;
};

struct CodeRow {
  OsifResult result;
  Code code;
};

constexpr std::array<CodeRow, 10> kCodes = {{
    {OSIF_OK, Code::kSuccess},
    {OSIF_ERR_NOT_FOUND, Code::kNotFound},
    {OSIF_ERR_INVALID_ID, Code::kNotFound},
    {OSIF_ERR_INVALID_STREAM, Code::kUnsupportedType},
    {OSIF_ERR_MISSING_FIELD, Code::kBadRequest},
    {OSIF_PARSE_ERROR, Code::kBadRequest},
    {OSIF_ERR_NOT_IMPLEMENTED, Code::kNotImplemented},
    {OSIF_ERR_TYPE_NOT_SUPPORTED, Code::kUnsupportedType},
    {OSIF_ERR_NO_MEMORY, Code::kDatabaseFull},
    {OSIF_ERR_CL_NOT_OPENED, Code::kUnavailable},
}};

// The library says of a full disk no more than that the store failed.
bool IsDiskFull() {
  constexpr uint64_t kLeastRoom = 65'536;  // bytes; a database grows by pages
  struct statvfs disk {};
  return statvfs(device::Folder().c_str(), &disk) == 0 &&
         uint64_t{disk.f_bavail} * disk.f_frsize < kLeastRoom;
}

}  // namespace

GetAnswer AnswerWith(std::string text) {
  const auto length = static_cast<uint32_t>(text.size());
  return {Code::kSuccess, std::make_unique<TextSource>(std::move(text)), length};
}

std::optional<size_t> PieceSource::Read(char* into, size_t room) {
  size_t filled = 0;
  while (filled < room) {
    if (given_ == piece_.size()) {
      std::optional<std::string> next = Next();
      if (has_failed_) return std::nullopt;
      if (!next) break;
      piece_ = std::move(*next);
      given_ = 0;
    }
    const size_t count = std::min(room - filled, piece_.size() - given_);
    piece_.copy(into + filled, count, given_);
    filled += count;
    given_ += count;
  }
  return filled;
}

Code CodeOf(OsifResult result) {
  const auto* row = std::ranges::find(kCodes, result, &CodeRow::result);
  if (row != kCodes.end()) return row->code;
  return IsDiskFull() ? Code::kDatabaseFull : Code::kInternalError;
}

}  // namespace obex

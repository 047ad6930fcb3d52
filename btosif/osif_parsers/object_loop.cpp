#include "btosif/osif_parsers/object_loop.h"

#include <cstring>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/decimal_number.h"

void ObjectDelivery::Deliver(OsifResult object_result) {
  Add(object_result);
  if (callback_ != nullptr) callback_(store_id_, object_.get(), result_, context_);
  Clear();
}

void ObjectDelivery::ClearFrame() {
  if (object_->xIrmcLuid[0] != '\0') {
    std::memset(object_->xIrmcLuid, 0, sizeof object_->xIrmcLuid);
  }
  std::memset(object_->version, 0, sizeof object_->version);
}

bool IsType(std::string_view value, std::string_view word) {
  size_t matched = 0;
  for (const char c : value) {
    if (IsBlankOrTab(c)) continue;
    if (matched == word.size() || AsciiUpper(c) != word[matched]) return false;
    ++matched;
  }
  return matched == word.size();
}

bool IsSupportedVersion(std::string_view version, double newest) {
  const double number = DecimalNumber(version);
  return number != 0 && number <= newest;
}

bool LineCursor::Next() {
  while (goes_on_ && !FILE_Eof(stream_)) {
    const PropertyLine::Kind kind = line_.Read(stream_);
    if (kind == PropertyLine::Kind::kProperty) return true;
    if (kind == PropertyLine::Kind::kBlank) OSIF_Trace(0, blank_line_message_);
    result_ = OSIF_PARSE_WARNING;
  }
  return false;
}

void LineCursor::WarnOfName(const char* message) {
  OSIF_Trace(0, message, line_.name().data());
  result_ = OSIF_PARSE_WARNING;
}

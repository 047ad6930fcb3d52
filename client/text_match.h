// Whether a text holds another as people see it: without regard to case, to accents and to how blanks are written.
#pragma once

#include <string>
#include <string_view>

#include "btosif/osif_util/charset.h"

namespace client {

class TextMatch {
 public:
  // `wanted` is UTF-8.
  explicit TextMatch(std::string_view wanted);

  // Nothing but blanks and accents is wanted: that would be everywhere.
  bool is_empty() const { return wanted_.empty(); }

  bool IsIn(WideView text);

 private:
  WideText wanted_;
  WideText folded_;  // of the text that is looked at
};

}  // namespace client

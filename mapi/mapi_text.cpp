#include "mapi/mapi_text.h"

#include <algorithm>
#include <string_view>

#include "platform/api/codepage.h"

namespace {

constexpr size_t kLongestText = 2048;

}  // namespace

WideText mapi_HeaderText(const char* text) {
  std::string_view rest = text;
  rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
  return MultiByteToText(GetACP(), rest).substr(0, kLongestText);
}

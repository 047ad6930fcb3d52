#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>
namespace mirror {
enum class Prefer { kNone, kStore, kFolder };
struct MergeInput {
  int32_t store_id;
  std::string_view before;
  std::string_view after;
  std::string_view base;
  std::string_view file;
  Prefer prefer = Prefer::kNone;
};
struct Merged {
  std::string text;
  std::vector<std::string> conflicts;
  std::vector<std::string> left;
};
Merged MergeStoreChange(const MergeInput& input);
std::string ContentKey(std::string_view text);
}

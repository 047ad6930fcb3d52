// A file, what a store shows of it, and changes of that.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dialects/forms.h"
#include "dialects/strict_object.h"
#include "mirror/merge.h"
#include "osif.h"

namespace merge_support {

// The first is replaced by the second.
using TextEdit = std::pair<std::string_view, std::string_view>;
using TextEdits = std::vector<TextEdit>;

inline std::string Lines(std::initializer_list<std::string_view> lines) {
  std::string text;
  for (const std::string_view line : lines) text.append(line).append("\r\n");
  return text;
}

// A text with each edit made once. An edit of what is not there is a failure.
inline std::string Edited(std::string text, const TextEdits& edits) {
  for (const auto& [what, with] : edits) {
    const size_t at = text.find(what);
    if (at == std::string::npos) {
      ADD_FAILURE() << what << " is not in\n" << text;
      continue;
    }
    text.replace(at, what.size(), with);
  }
  return text;
}

// When the files of the tests were written, and what the store shows of them.
inline constexpr std::string_view kStamp = "20251202T080000Z";

// What the store shows of the first object of a file: brought to it, and written for others.
inline std::string StoreView(int32_t store, std::string_view file) {
  const bool is_card = store == OSIF_STORE_PB;
  dialects::ObjectText object;
  object.kind = is_card ? dialects::ObjectKind::kCard : dialects::ObjectKind::kCalendar;
  object.text = file;
  object.has_byte_order_mark = true;
  const std::vector<dialects::StrictObject> strict = dialects::StrictObjects(object, {});
  if (strict.empty() || !strict.front().refusal.empty()) return {};
  dialects::WriterSettings settings;
  settings.origin = dialects::Origin::kLibrary;
  settings.uid = "osif-1-1";
  const auto writer = is_card ? dialects::MakeCardWriter(dialects::Form::kVCard30, settings)
                              : dialects::MakeCalendarWriter(dialects::Form::kICal20, settings);
  object.text = strict.front().text;
  std::string text = writer->Begin();
  text += writer->Write(object).text;
  text += writer->End();
  const size_t stamp = text.find("\nDTSTAMP:");
  if (stamp != std::string::npos) text.replace(stamp + 9, kStamp.size(), kStamp);
  return text;
}

// A folder's file and the changes that both sides have made since they agreed.
struct Sides {
  int32_t store = OSIF_STORE_PB;
  std::string base;
  TextEdits of_store;  // of what the store shows
  TextEdits of_file;
  mirror::Prefer prefer = mirror::Prefer::kNone;
};

inline mirror::Merged Merge(const Sides& sides) {
  const std::string before = StoreView(sides.store, sides.base);
  const std::string after = Edited(before, sides.of_store);
  const std::string file = Edited(sides.base, sides.of_file);
  return mirror::MergeStoreChange({sides.store, before, after, sides.base, file, sides.prefer});
}

// The file after a change of the store that the file can take whole.
inline std::string MergedCard(const std::string& file, const TextEdits& of_store) {
  const mirror::Merged merged = Merge({OSIF_STORE_PB, file, of_store, {}});
  EXPECT_EQ(merged.conflicts, std::vector<std::string>());
  EXPECT_EQ(merged.left, std::vector<std::string>());
  return merged.text;
}

inline std::string MergedCalendar(const std::string& file, const TextEdits& of_store) {
  const mirror::Merged merged = Merge({OSIF_STORE_CAL, file, of_store, {}});
  EXPECT_EQ(merged.conflicts, std::vector<std::string>());
  EXPECT_EQ(merged.left, std::vector<std::string>());
  return merged.text;
}

}  // namespace merge_support

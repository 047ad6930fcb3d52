#include "tools/osif/findings.h"

#include <algorithm>
#include <vector>

namespace command {
namespace {

const char* NameOf(dialects::ObjectKind kind) {
  switch (kind) {
    case dialects::ObjectKind::kCard:
      return "card";
    case dialects::ObjectKind::kCalendar:
      return "calendar item";
    case dialects::ObjectKind::kNote:
      return "note";
    case dialects::ObjectKind::kMessage:
      return "message";
    case dialects::ObjectKind::kUnknown:
      break;
  }
  return "object";
}

// 1204 as "1,204".
std::string Grouped(size_t number) {
  std::string digits = std::to_string(number);
  for (size_t place = digits.size(); place > 3;) {
    place -= 3;
    digits.insert(place, ",");
  }
  return digits;
}

Json Names(const dialects::Happenings& happenings) {
  Json names = Json::array();
  for (const auto& [what, count] : happenings) names.push_back(what);
  return names;
}

}  // namespace

std::string CountOf(dialects::ObjectKind kind, size_t count) {
  return Grouped(count) + " " + NameOf(kind) + (count == 1 ? "" : "s");
}

void PutReport(const dialects::Report& report, Json& line) {
  line["changed"] = Names(report.changed);
  line["guessed"] = Names(report.guessed);
  Json dropped = Json::array();
  for (const auto& [what, count] : report.dropped) {
    dropped.push_back({{"property", what}, {"count", count}});
  }
  line["dropped"] = dropped;
}

std::string ReportText(const dialects::Report& report) {
  std::string text;
  const auto add = [&](const dialects::Happenings& happenings, const char* end) {
    for (const auto& [what, count] : happenings) {
      text += (text.empty() ? "" : ", ") + what + end;
      if (count > 1) text += " (" + std::to_string(count) + " times)";
    }
  };
  add(report.dropped, " dropped");
  add(report.guessed, " guessed");
  add(report.changed, "");
  return text;
}

void Findings::Add(dialects::ObjectKind kind, const dialects::Report& report) {
  for (const auto& [what, count] : report.dropped) ++objects_[{Kind::kDropped, what, kind}];
  for (const auto& [what, count] : report.guessed) ++objects_[{Kind::kGuessed, what, kind}];
  for (const auto& [what, count] : report.changed) ++objects_[{Kind::kChanged, what, kind}];
}

void Findings::Add(dialects::ObjectKind kind, const std::string& sentence) {
  ++objects_[{Kind::kSentence, sentence, kind}];
}

std::string Findings::TextOf(const Key& key, size_t count) {
  std::string text = CountOf(key.object, count) + ": " + key.what;
  switch (key.kind) {
    case Kind::kDropped:
      return text + " dropped";
    case Kind::kGuessed:
      return text + " guessed";
    case Kind::kChanged:
      return text + " (nothing lost)";
    case Kind::kSentence:
      break;
  }
  return text;
}

void Findings::Tell(const std::string& file_name, Reporter& reporter) const {
  if (reporter.json()) return;
  std::vector<std::pair<Key, size_t>> told(objects_.begin(), objects_.end());
  std::ranges::stable_sort(told, [](const auto& a, const auto& b) {
    return std::pair(a.first.kind, b.second) < std::pair(b.first.kind, a.second);
  });
  const size_t shown = told.size() > kMostLines ? kMostLines - 1 : told.size();
  for (size_t i = 0; i < shown; ++i) {
    reporter.Note(file_name + ": " + TextOf(told[i].first, told[i].second));
  }
  if (shown < told.size()) {
    reporter.Note(file_name + ": " + std::to_string(told.size() - shown) +
                  " more kinds of changes (-v shows each object)");
  }
}

}  // namespace command

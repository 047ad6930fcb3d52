#include "client/manifest.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "client/device_files.h"
#include "client/texts.h"

namespace client {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kFormat = "osif-backup";
constexpr size_t kDigestLength = 64;
constexpr int64_t kLargestMember = int64_t{1} << 40;  // bytes; no sum of sizes overflows

// Names of documents are bytes. Each stands as the character of its number, so that any of them can be told in JSON.
std::string BytesOf(std::string_view text) {
  std::string bytes;
  for (const char16_t unit : ToWide(text)) {
    if (unit > 0xFF) return {};
    bytes += static_cast<char>(unit);
  }
  return bytes;
}

bool IsDigest(const std::string& text) {
  return text.size() == kDigestLength && std::ranges::all_of(text, [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
         });
}

std::string WhatIsWrongWith(const Member& member) {
  const std::string named = "\"" + TextOrBytes(member.name) + "\"";
  if (!IsDevicePath(member.name)) return named + " is no name of a device's file";
  if (member.size < 0 || member.size > kLargestMember) return named + " has no size";
  if (!IsDigest(member.sha256)) return named + " has no sum";
  return {};
}

Manifest FromJson(const Json& json) {
  Manifest manifest;
  manifest.program = json.at("program").get<std::string>();
  manifest.created = json.at("created").get<std::string>();
  manifest.schema = json.at("schema").get<int>();
  for (const Json& one : json.at("members")) {
    manifest.members.push_back({BytesOf(one.at("name").get<std::string>()),
                                one.at("size").get<int64_t>(),
                                one.at("sha256").get<std::string>()});
  }
  return manifest;
}

}  // namespace

std::string ManifestText(const Manifest& manifest) {
  Json members = Json::array();
  for (const Member& member : manifest.members) {
    members.push_back(
        {{"name", ByteText(member.name)}, {"size", member.size}, {"sha256", member.sha256}});
  }
  return Json({{"format", kFormat},
               {"version", manifest.version},
               {"program", manifest.program},
               {"created", manifest.created},
               {"schema", manifest.schema},
               {"members", members}})
             .dump(1) +
         "\n";
}

std::optional<Manifest> ReadManifest(std::string_view text, std::string& why_not) {
  Manifest manifest;
  try {
    const Json json = Json::parse(text);
    if (json.at("format").get<std::string>() != kFormat) {
      why_not = "it is no saved device";
      return std::nullopt;
    }
    manifest.version = json.at("version").get<int>();
    if (manifest.version > kBackupVersion) {
      why_not = "a newer version of this program has written it";
      return std::nullopt;
    }
    manifest = FromJson(json);
  } catch (const Json::exception&) {
    why_not = "its list of members is none";
    return std::nullopt;
  }
  std::set<std::string_view> names;
  for (const Member& member : manifest.members) {
    why_not = WhatIsWrongWith(member);
    if (why_not.empty() && !names.insert(member.name).second) {
      why_not = "\"" + TextOrBytes(member.name) + "\" is there twice";
    }
    if (!why_not.empty()) return std::nullopt;
  }
  return manifest;
}

}  // namespace client

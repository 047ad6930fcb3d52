// Tables, and nothing else: who meets a further name of a program adds a row.
#include "dialects/card_names.h"

#include <algorithm>
#include <array>

#include "btosif/osif_util/ascii.h"
#include "dialects/name_table.h"

namespace dialects {
namespace {

struct ShapeRow {
  std::string_view name;
  CardShape shape;
};

constexpr std::array<ShapeRow, 48> kShapes = {{
    {"FN", CardShape::kText},          {"TEL", CardShape::kText},
    {"N", CardShape::kStructured},     {"EMAIL", CardShape::kText},
    {"ADR", CardShape::kStructured},   {"ORG", CardShape::kOrganised},
    {"DEPT", CardShape::kText},        {"NOTE", CardShape::kText},
    {"TITLE", CardShape::kText},       {"ROLE", CardShape::kText},
    {"BDAY", CardShape::kText},        {"URL", CardShape::kUri},
    {"CATEGORIES", CardShape::kList},  {"NICKNAME", CardShape::kList},
    {"X-CHILDREN", CardShape::kList},  {"X-SPOUSE", CardShape::kText},
    {"X-ASSISTANT", CardShape::kText}, {"X-MICROSOFT-OFFICELOC", CardShape::kText},
    {"X-IRMC-LUID", CardShape::kText}, {"ANNIVERSARY", CardShape::kText},
    {"LABEL", CardShape::kText},       {"MAILER", CardShape::kText},
    {"TZ", CardShape::kText},          {"GEO", CardShape::kPlace},
    {"AGENT", CardShape::kText},       {"REV", CardShape::kText},
    {"UID", CardShape::kUri},          {"PHOTO", CardShape::kBinary},
    {"LOGO", CardShape::kBinary},      {"SOUND", CardShape::kBinary},
    {"KEY", CardShape::kBinary},       {"CLASS", CardShape::kText},
    {"PRODID", CardShape::kText},      {"SORT-STRING", CardShape::kText},
    {"NAME", CardShape::kText},        {"PROFILE", CardShape::kText},
    {"SOURCE", CardShape::kUri},       {"IMPP", CardShape::kUri},
    {"KIND", CardShape::kText},        {"LANG", CardShape::kText},
    {"MEMBER", CardShape::kUri},       {"RELATED", CardShape::kText},
    {"CALURI", CardShape::kUri},       {"FBURL", CardShape::kUri},
    {"CALADRURI", CardShape::kUri},    {"XML", CardShape::kText},
    {"GENDER", CardShape::kOrganised}, {"CLIENTPIDMAP", CardShape::kOrganised},
}};
constexpr NameTable kShapeTable(kShapes);

struct SpellingRow {
  std::string_view name;   // as it is sent
  std::string_view means;  // the model's
};

constexpr std::array<SpellingRow, 41> kSpellings = {{
    // The library's own twins, and those that it reads.
    {"SPOUSE", "X-SPOUSE"},
    {"CHILDREN", "X-CHILDREN"},
    {"X-MICROSOFT-ASSISTANT", "X-ASSISTANT"},
    {"X-MICROSOFT-ASST_TEL", "TEL"},
    {"X-ANNIVERSARY", "ANNIVERSARY"},
    {"X-CAT", "CATEGORIES"},
    // Of other programs.
    {"X-EVOLUTION-SPOUSE", "X-SPOUSE"},
    {"X-KADDRESSBOOK-X-SPOUSESNAME", "X-SPOUSE"},
    {"X-KADDRESSBOOK-X-ASSISTANTSNAME", "X-ASSISTANT"},
    {"X-KADDRESSBOOK-X-ANNIVERSARY", "ANNIVERSARY"},
    {"X-KADDRESSBOOK-X-OFFICE", "X-MICROSOFT-OFFICELOC"},
    {"X-KADDRESSBOOK-X-DEPARTMENT", "DEPT"},
    {"X-EVOLUTION-ASSISTANT", "X-ASSISTANT"},
    {"X-EVOLUTION-ANNIVERSARY", "ANNIVERSARY"},
    {"X-ADDRESSBOOKSERVER-KIND", "KIND"},
    {"X-ADDRESSBOOKSERVER-MEMBER", "MEMBER"},
    {"X-ASSISTANT-TEL", "TEL"},
    {"X-FUNAMBOL-CHILDREN", "X-CHILDREN"},
    {"X-MS-ANNIVERSARY", "ANNIVERSARY"},
    {"X-MS-ASSISTANT", "X-ASSISTANT"},
    {"X-QTOPIA-ASSISTANT", "X-ASSISTANT"},
    {"X-WAB-SPOUSE_NAME", "X-SPOUSE"},
    {"X-WAB-WEDDING_ANNIVERSARY", "ANNIVERSARY"},
    {"X-NICKNAME", "NICKNAME"},
    // What one version has no name for, as it is sent there.
    {"X-KIND", "KIND"},
    {"X-GENDER", "GENDER"},
    {"X-LANG", "LANG"},
    {"X-MEMBER", "MEMBER"},
    {"X-XML", "XML"},
    {"X-RELATED", "RELATED"},
    {"X-CLIENTPIDMAP", "CLIENTPIDMAP"},
    {"X-CALADRURI", "CALADRURI"},
    {"X-LABEL", "LABEL"},
    {"X-MAILER", "MAILER"},
    {"X-CLASS", "CLASS"},
    {"X-AGENT", "AGENT"},
    {"X-SORT-STRING", "SORT-STRING"},
    {"X-NAME", "NAME"},
    {"X-PROFILE", "PROFILE"},
    {"X-IMPP", "IMPP"},
    {"X-CALURI", "CALURI"},
}};
constexpr NameTable kSpellingTable(kSpellings);

// What some versions lack.
struct NativeRow {
  std::string_view name;
  bool is_in_21;
  bool is_in_30;
  bool is_in_40;
};

constexpr std::array<NativeRow, 15> kNative = {{
    {"KIND", false, false, true},
    {"GENDER", false, false, true},
    {"LANG", false, false, true},
    {"MEMBER", false, false, true},
    {"XML", false, false, true},
    {"RELATED", false, false, true},
    {"CLIENTPIDMAP", false, false, true},
    {"CALADRURI", false, false, true},
    {"LABEL", true, true, false},
    {"MAILER", true, true, false},
    {"CLASS", true, true, false},
    {"AGENT", true, true, false},
    {"SORT-STRING", true, true, false},
    {"NAME", true, true, false},
    {"PROFILE", true, true, false},
}};
constexpr NameTable kNativeTable(kNative);

struct RenamedRow {
  std::string_view name;
  std::string_view in_21_and_30;
};

constexpr std::array<RenamedRow, 1> kRenamed = {{{"ANNIVERSARY", "X-ANNIVERSARY"}}};
constexpr NameTable kRenamedTable(kRenamed);

struct MediaRow {
  std::string_view type;
  std::string_view media;
};

// Of a media type with several types the first is taken back.
constexpr std::array<MediaRow, 12> kMedia = {{
    {"JPEG", "image/jpeg"},
    {"JPG", "image/jpeg"},
    {"GIF", "image/gif"},
    {"PNG", "image/png"},
    {"BMP", "image/bmp"},
    {"TIFF", "image/tiff"},
    {"WAVE", "audio/wav"},
    {"BASIC", "audio/basic"},
    {"AIFF", "audio/aiff"},
    {"X509", "application/pkix-cert"},
    {"PGP", "application/pgp-keys"},
    {"", "application/octet-stream"},
}};

constexpr std::array<std::string_view, 39> kOldTypes = {
    "DOM",   "INTL", "POSTAL", "PARCEL", "HOME", "WORK",  "VOICE", "FAX",      "MSG",  "CELL",
    "PAGER", "BBS",  "MODEM",  "CAR",    "ISDN", "VIDEO", "PCS",   "GIF",      "CGM",  "WMF",
    "BMP",   "MET",  "PMB",    "DIB",    "PICT", "TIFF",  "PS",    "PDF",      "JPEG", "MPEG",
    "MPEG2", "AVI",  "QTIME",  "WAVE",   "PCM",  "AIFF",  "X509",  "INTERNET", "PGP"};

constexpr std::array<std::string_view, 11> kMailNetworks = {
    "AOL",     "APPLELINK", "ATTMAIL", "CIS",        "EWORLD", "IBMMAIL",
    "MCIMAIL", "X400",      "TLX",     "POWERSHARE", "PRODIGY"};

constexpr std::string_view kLabelBegin = "_$!<";
constexpr std::string_view kLabelEnd = ">!$_";

std::string_view MainMediaType(std::string_view name) {
  if (name == "PHOTO" || name == "LOGO") return "image/";
  return name == "SOUND" ? "audio/" : "application/";
}

}  // namespace

CardShape ShapeOf(std::string_view name) {
  const ShapeRow* row = kShapeTable.Find(name);
  return row == nullptr ? CardShape::kStructured : row->shape;
}

bool IsKnownCardName(std::string_view name) { return kShapeTable.Find(name) != nullptr; }

std::string_view CanonicalCardName(std::string_view name) {
  const SpellingRow* row = kSpellingTable.Find(name);
  return row == nullptr ? name : row->means;
}

void AppendCardName(std::string& text, CardVersion version, std::string_view name) {
  const RenamedRow* renamed = kRenamedTable.Find(name);
  if (renamed != nullptr && version != CardVersion::k40) {
    text += renamed->in_21_and_30;
    return;
  }
  const NativeRow* row = kNativeTable.Find(name);
  const bool is_native = row == nullptr || (version == CardVersion::k21   ? row->is_in_21
                                            : version == CardVersion::k30 ? row->is_in_30
                                                                          : row->is_in_40);
  if (!is_native) text += "X-";
  text += name;
}

bool IsOldCardType(std::string_view type) {
  return std::ranges::find(kOldTypes, type) != kOldTypes.end() || IsMailNetwork(type);
}

bool IsMailNetwork(std::string_view type) {
  return std::ranges::find(kMailNetworks, type) != kMailNetworks.end();
}

std::string LabelWord(std::string_view label) {
  if (label.starts_with(kLabelBegin) && label.ends_with(kLabelEnd) &&
      label.size() >= kLabelBegin.size() + kLabelEnd.size()) {
    label.remove_prefix(kLabelBegin.size());
    label.remove_suffix(kLabelEnd.size());
  }
  return ToUpper(Trim(label));
}

std::string MediaTypeOf(std::string_view name, std::string_view type) {
  const auto* row = std::ranges::find(kMedia, type, &MediaRow::type);
  if (row != kMedia.end()) return std::string(row->media);
  std::string media(MainMediaType(name));
  for (const char c : type) {
    const bool is_letter = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
    if (is_letter) media += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  }
  return media;
}

std::string TypeOfMedia(std::string_view media_type) {
  const auto* row = std::ranges::find_if(
      kMedia, [&](const MediaRow& media) { return EqualsIgnoringCase(media.media, media_type); });
  if (row != kMedia.end()) return std::string(row->type);
  return ToUpper(media_type.substr(media_type.find('/') + 1));
}

}  // namespace dialects

#include "btosif/osif_util/change_log_names.h"

#include <array>
#include <cstring>

#include "btosif/osif_util/stores.h"

namespace {

// In the order of LogFileKind.
constexpr std::array<WideView, kLogFileKinds> kKindNames = {u"change",  u"object",  u"databaseid",
                                                            u"open",    u"purging", u"newobject",
                                                            u"counter", u"cut",     u"mark"};

WideText Widened(const char* ascii) { return WideText(ascii, ascii + std::strlen(ascii)); }

WideText FolderPrefix(WideView folder) {
  WideText prefix(folder.substr(0, kFolderLimit));
  if (!prefix.empty() && prefix.back() != u'\\') prefix += u'\\';
  return prefix;
}

}  // namespace

WideText LogFileName(int32_t store_id, WideView folder, LogFileKind kind) {
  WideText name = FolderPrefix(folder) + u"pol_" + Widened(StoreName(store_id)) + u"_";
  return name.append(kKindNames[static_cast<size_t>(kind)]) + u".log";
}

WideText TempLogName(WideView folder) { return FolderPrefix(folder) + u"temp_change.log"; }

WideText LogFolderInUseName(WideView folder) { return FolderPrefix(folder) + u"pol_in_use.log"; }

WideText LogFolderTurnName(WideView folder) { return FolderPrefix(folder) + u"pol_turn.log"; }

WideText LogFolderUserName(WideView folder) { return FolderPrefix(folder) + u"pol_user.log"; }

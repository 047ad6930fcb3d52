// The order of opening and closing is what matters here. The device is looked at first, while a failure can
// still be told in words; what decoding will need of the registry is read then, and the database let go of,
// because closing it while the library has it open would drop the library's locks on it. The library learns
// the trace's receiver from the registry, and only while it opens: the address is put there for that moment,
// and the tap listens before. Change logs are opened when they are first needed and closed before the
// library; the damage that was met is told after that, and the rest of the trace last.
#include "client/session.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

#include "btosif/osif_util/change_log_move.h"
#include "btosif/osif_util/log_folder_use.h"
#include "client/attempts.h"
#include "client/damage.h"
#include "client/private_files.h"
#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "client/trace_redirection.h"
#include "platform/device/device.h"

namespace client {
namespace {

// The folder of a store's change log. The logs of all stores lay in one folder once: this one's is taken from there.
WideText MakeLogFolder(int32_t store_id) {
  const std::string before = device::Folder() + "/Sync";
  const std::string folder = before + "/" + NameOfStore(store_id);
  std::error_code ignored;  // the library tells what comes of a missing folder
  std::filesystem::create_directories(folder, ignored);
  const WideText from = ToWide(before);
  WideText to = ToWide(folder);
  if (!HasChangeLogToMove(store_id, from, to)) return to;
  LogFolderUse use;
  if (use.Begin(to, kLogFolderPatience) == LogFolderUse::Result::kHeld) {
    MoveChangeLog(store_id, from, to);
  }
  return to;
}

}  // namespace

bool CheckDevice(Listener& listener) {
  const bool usable = device::OpenDatabase() != nullptr;
  if (!usable) listener.Fail(device::ErrorText(), OSIF_ERR_PIM);
  if (usable) TellIfOthersCanRead(listener);
  return usable;
}

void PrepareTexts() {
  NativeCodePage();
  InputCodePage();
  device::CloseDatabase();
}

Session::Session(bool with_trace, Listener& listener) : listener_(listener) {
  if (!CheckDevice(listener)) return;
  PrepareTexts();
  const OsifResult result = Open(with_trace);
  is_open_ = result == OSIF_OK;
  if (!is_open_) listener.Fail(device::Folder(), result);
}

OsifResult Session::Open(bool with_trace) {
  if (!with_trace) return OSIF_Open();
  // The library looks for its receiver when it is opened and only then.
  const TraceRedirection redirection(TraceTap::Address());
  StartTrace();
  return OSIF_Open();
}

Session::~Session() {
  if (is_open_) {
    CloseChangeLogs();
    OSIF_Close();
    TellDamage(listener_);
  }
  if (!tap_) return;
  ShowTrace();
  if (const uint32_t lost = tap_->CountLost(); lost > 0) {
    listener_.TraceLine("osif: " + std::to_string(lost) +
                        " lines of the trace came too fast and were lost");
  }
  listener_.SetBeforeLine(nullptr);
}

void Session::StartTrace() {
  tap_ = TraceTap::Start();
  if (!tap_) {
    listener_.Note(std::string("the trace cannot be shown: ") + std::strerror(errno));
    return;
  }
  listener_.SetBeforeLine([this] { ShowTrace(); });
}

void Session::ShowTrace() {
  for (const std::string& line : tap_->TakeLines()) listener_.TraceLine(line);
}

OsifResult Session::OpenChangeLog(int32_t store_id) {
  const auto [entry, is_new] = change_logs_.try_emplace(store_id, OSIF_OK);
  if (!is_new) return entry->second;
  const WideText folder = MakeLogFolder(store_id);
  const OsifResult result = OpenAmongOthers([&] { return OSIF_CL_Open(store_id, folder.c_str()); });
  // Some stores cannot be compared with their last state; their log is open all the same.
  entry->second = Forgive(result, OSIF_ERR_NOT_IMPLEMENTED);
  if (result == OSIF_ERR_GENERAL &&
      LogFolderUse().Begin(folder, 0) == LogFolderUse::Result::kInUse) {
    users_[store_id] = LogFolderUser(folder).value_or(0);
  }
  return entry->second;
}

// Of several that wait one gets it, between their looking and their opening; the others wait on.
bool Session::OpenWhenFree(int32_t store_id, uint32_t milliseconds) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    const auto patience = static_cast<uint32_t>(std::max<int64_t>(left, 0));
    if (!change_logs_.contains(store_id) && !WaitUntilFree(store_id, patience)) return false;
    OpenChangeLog(store_id);
    if (!users_.contains(store_id)) return true;
    users_.erase(store_id);
    change_logs_.erase(store_id);
    if (left <= 0) return false;
  }
}

bool Session::WaitUntilFree(int32_t store_id, uint32_t milliseconds) {
  const WideText folder = MakeLogFolder(store_id);
  return LogFolderUse().Begin(folder, milliseconds) != LogFolderUse::Result::kInUse;
}

std::string Session::ChangeLogText(int32_t store_id) const {
  std::string log = "the change log of " + NameOfStore(store_id);
  const auto user = users_.find(store_id);
  if (user == users_.end()) return log;
  return log + " is in use by process " + std::to_string(user->second) + ", nothing was changed";
}

bool Session::MayChange(int32_t store_id) {
  if (!records_) return true;
  const bool is_first = !change_logs_.contains(store_id);
  const OsifResult result = OpenChangeLog(store_id);
  if (is_first && result != OSIF_OK) listener_.Fail(ChangeLogText(store_id), result);
  return !users_.contains(store_id);
}

OsifAnchor* Session::NewAnchor(int32_t store_id) {
  if (!records_) return nullptr;
  if (!MayChange(store_id) || OpenChangeLog(store_id) != OSIF_OK) return nullptr;
  anchor_ = {};
  return &anchor_;
}

void Session::CloseChangeLogs() {
  for (const auto& [store_id, opened] : change_logs_) {
    if (opened != OSIF_OK) continue;
    const OsifResult result = Forgive(OSIF_CL_Close(store_id), OSIF_ERR_NOT_IMPLEMENTED);
    if (result != OSIF_OK) {
      listener_.Fail("the change log of " + NameOfStore(store_id), result);
    }
  }
}

}  // namespace client

// The order of opening and closing is what matters here. The device is looked at first, while a failure can
// still be told in words; what decoding will need of the registry is read then, and the database let go of,
// because closing it while the library has it open would drop the library's locks on it. The library learns
// the trace's receiver from the registry, and only while it opens: the address is put there for that moment,
// and the tap listens before. Change logs are opened when they are first needed and closed before the
// library; the damage that was met is told after that, and the rest of the trace last.
#include "tools/osif/session.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/device/device.h"
#include "tools/osif/damage.h"
#include "tools/osif/private_files.h"
#include "tools/osif/records.h"
#include "tools/osif/store.h"
#include "tools/osif/texts.h"
#include "tools/osif/trace_redirection.h"

namespace command {

bool CheckDevice(Reporter& reporter) {
  const bool usable = device::OpenDatabase() != nullptr;
  if (!usable) reporter.Fail(device::ErrorText(), OSIF_ERR_PIM);
  if (usable) TellIfOthersCanRead(reporter);
  return usable;
}

void PrepareTexts() {
  NativeCodePage();
  InputCodePage();
  device::CloseDatabase();
}

Session::Session(const Options& options, Reporter& reporter) : reporter_(reporter) {
  if (!CheckDevice(reporter)) return;
  PrepareTexts();
  const OsifResult result = Open(options.trace);
  is_open_ = result == OSIF_OK;
  if (!is_open_) reporter.Fail(device::Folder(), result);
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
    TellDamage(reporter_);
  }
  if (!tap_) return;
  ShowTrace();
  if (const uint32_t lost = tap_->CountLost(); lost > 0) {
    reporter_.ErrorLine("osif: " + std::to_string(lost) +
                        " lines of the trace came too fast and were lost");
  }
  reporter_.SetBeforeLine(nullptr);
}

void Session::StartTrace() {
  tap_ = TraceTap::Start();
  if (!tap_) {
    reporter_.Note(std::string("the trace cannot be shown: ") + std::strerror(errno));
    return;
  }
  reporter_.SetBeforeLine([this] { ShowTrace(); });
}

void Session::ShowTrace() {
  for (const std::string& line : tap_->TakeLines()) reporter_.ErrorLine(line);
}

OsifResult Session::OpenChangeLog(int32_t store_id) {
  const auto [entry, is_new] = change_logs_.try_emplace(store_id, OSIF_OK);
  if (!is_new) return entry->second;
  const std::string folder = device::Folder() + "/Sync";
  std::error_code ignored;  // the library tells what comes of a missing folder
  std::filesystem::create_directories(folder, ignored);
  const OsifResult result = OSIF_CL_Open(store_id, ToWide(folder).c_str());
  // Some stores cannot be compared with their last state; their log is open all the same.
  entry->second = Forgive(result, OSIF_ERR_NOT_IMPLEMENTED);
  return entry->second;
}

OsifAnchor* Session::NewAnchor(int32_t store_id) {
  const bool is_first = !change_logs_.contains(store_id);
  if (const OsifResult result = OpenChangeLog(store_id); result != OSIF_OK) {
    if (is_first) reporter_.Fail("the change log of " + StoreName(store_id), result);
    return nullptr;
  }
  anchor_ = {};
  return &anchor_;
}

void Session::CloseChangeLogs() {
  for (const auto& [store_id, opened] : change_logs_) {
    if (opened != OSIF_OK) continue;
    const OsifResult result = Forgive(OSIF_CL_Close(store_id), OSIF_ERR_NOT_IMPLEMENTED);
    if (result != OSIF_OK) {
      reporter_.Fail("the change log of " + StoreName(store_id), result);
    }
  }
}

}  // namespace command

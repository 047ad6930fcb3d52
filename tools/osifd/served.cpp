// The process is limited before it looks at the first byte: what breaks it, or what it breaks, is this one session.
#include "tools/osifd/served.h"

#include <sys/random.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include "client/damage.h"
#include "client/private_files.h"
#include "client/session.h"
#include "client/session_book.h"
#include "client/store.h"
#include "client/texts.h"
#include "obex/packets/authentication.h"
#include "obex/packets/connection.h"
#include "obex/services/object_service.h"
#include "obex/transports/stream.h"
#include "platform/device/device.h"

namespace daemon_process {
namespace {

volatile std::sig_atomic_t stop_requested = 0;

void RequestStop(int) { stop_requested = 1; }

void WatchSignals() {
  struct sigaction action {};
  action.sa_handler = RequestStop;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

void Limit(int resource, rlim_t most) {
  const rlimit limit{most, most};
  setrlimit(resource, &limit);
}

void LimitProcess(const Options& options) {
  constexpr rlim_t kFiles = 64;
  constexpr rlim_t kProcessorSeconds = 600;
  Limit(RLIMIT_NOFILE, kFiles);
  Limit(RLIMIT_CPU, kProcessorSeconds);
  Limit(RLIMIT_CORE, 0);
#ifndef __SANITIZE_ADDRESS__  // whose memory is huge
  constexpr rlim_t kMemory = rlim_t{256} << 20;
  Limit(RLIMIT_DATA, kMemory + 4 * options.packets.body);
#endif
  (void)options;
}

struct ReasonRow {
  obex::Code code;
  const char* reason;
};

// Why packets are refused.
constexpr std::array<ReasonRow, 5> kReasons = {{
    {obex::Code::kBadRequest, "a packet that is none, or does not belong here"},
    {obex::Code::kNotFound, "a folder that there is not"},
    {obex::Code::kTooLarge, "larger than is allowed"},
    {obex::Code::kNotImplemented, "a request that is not known"},
    {obex::Code::kUnavailable, "the id of another connection"},
}};

std::string ReasonOf(obex::Code code) {
  const auto* row = std::ranges::find(kReasons, code, &ReasonRow::code);
  if (row != kReasons.end()) return row->reason;
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "code 0x%02X", static_cast<unsigned>(code));
  return text.data();
}

// Writes the log, and counts for the book of sessions.
class SessionJournal : public obex::Journal {
 public:
  SessionJournal(const Log& log, std::string peer) : log_(log) {
    entry_.peer = std::move(peer);
    entry_.began = std::time(nullptr);
  }

  void Begin(std::string_view service) override {
    entry_.service = service;
    wants_password_ = false;
    log_.Write(Level::kInfo, entry_.peer + ": connected to " + entry_.service);
  }

  void Tell(obex::Deed deed, int32_t store_id, const std::string& id,
            const std::string& text) override {
    const std::string store = store_id < 0 ? "" : client::NameOfStore(store_id);
    const bool is_refused = deed == obex::Deed::kRefused;
    has_told_ = has_told_ || is_refused;
    log_.Write(is_refused ? Level::kWarning : Level::kInfo, entry_.peer + ": " + Count(deed),
               {{"store", store}, {"id", id}, {is_refused ? "reason" : "name", text}});
    if (is_refused) KeepReason(store.empty() ? text : store + ": " + text);
  }

  void Fail(const std::string& what, OsifResult code) override {
    const std::string text = code == OSIF_OK ? what : what + ": " + client::CodeText(code);
    log_.Write(Level::kError, entry_.peer + ": " + text);
    KeepReason(text);
  }
  void Note(const std::string& text) override {
    log_.Write(Level::kInfo, entry_.peer + ": " + text);
  }
  void Progress(const std::string&, size_t, size_t) override {}
  void TraceLine(const std::string&) override {}
  void SetBeforeLine(std::function<void()>) override {}

  // A refusal of which nothing was told is one of the packets themselves. A peer that goes on sending what a service refused
  // gets its code again and again.
  void OnAnswer(obex::Code code) {
    const bool is_told = std::exchange(has_told_, false);
    const bool is_told_again = !is_told && code == told_code_;
    told_code_ = is_told || is_told_again ? code : obex::Code::kSuccess;
    // That a password is asked for is no refusal; that it never came is.
    if (code == obex::Code::kUnauthorized) wants_password_ = true;
    const bool is_refusal = code >= obex::Code::kBadRequest && code != obex::Code::kUnauthorized;
    if (!is_refusal || is_told || is_told_again) return;
    Tell(obex::Deed::kRefused, -1, {}, ReasonOf(code));
    has_told_ = false;
  }

  // Whether anything happened: on a line that nobody uses sessions come and go.
  bool is_empty() const { return entry_.service.empty() && entry_.reasons.empty(); }

  const client::SessionEntry& End(const char* ending) {
    if (wants_password_) Tell(obex::Deed::kRefused, -1, {}, "no password, or a wrong one");
    entry_.ended = std::time(nullptr);
    entry_.ending = ending;
    log_.Write(Level::kInfo, entry_.peer + ": " + entry_.ending);
    return entry_;
  }

 private:
  const char* Count(obex::Deed deed) {
    switch (deed) {
      case obex::Deed::kAdded:
        ++entry_.added;
        return "added";
      case obex::Deed::kUpdated:
        ++entry_.updated;
        return "updated";
      case obex::Deed::kDeleted:
        ++entry_.deleted;
        return "deleted";
      case obex::Deed::kSent:
        ++entry_.sent;
        return "sent";
      case obex::Deed::kRefused:
        break;
    }
    ++entry_.refused;
    return "refused";
  }

  void KeepReason(const std::string& reason) {
    if (entry_.reasons.size() < client::kMostReasons) {
      entry_.reasons.push_back(client::OneLine(reason));
    }
  }

  const Log& log_;
  client::SessionEntry entry_;
  bool has_told_ = false;  // of a refusal, since the last answer
  bool wants_password_ = false;
  obex::Code told_code_ = obex::Code::kSuccess;  // of the refusal that was told last
};

obex::Digest RandomDigest() {
  obex::Digest digest{};
  if (getrandom(digest.data(), digest.size(), 0) != static_cast<ssize_t>(digest.size())) abort();
  return digest;
}

std::unique_ptr<obex::Authenticator> AuthenticatorOf(const Options& options, bool& has_failed) {
  if (options.password_file.empty()) return nullptr;
  std::optional<std::string> password = ReadPassword(options.password_file);
  has_failed = !password;
  if (has_failed) return nullptr;
  return std::make_unique<obex::Authenticator>(std::move(*password), RandomDigest);
}

}  // namespace

int ServeConnection(const Options& options, const Log& log) {
  LimitProcess(options);
  WatchSignals();
  client::MakeFilesPrivate();
  client::WatchForDamage();
  client::PrepareTexts();
  SessionJournal journal(log, options.peer);
  bool has_failed = false;
  std::unique_ptr<obex::Authenticator> authenticator = AuthenticatorOf(options, has_failed);
  if (has_failed) {
    journal.Fail(options.password_file + ": no password is in it", OSIF_OK);
    return 1;
  }
  obex::Ending ending = obex::Ending::kFailed;
  {
    obex::ObjectService service(options.push, journal);
    obex::Connection connection(service, options.packets, std::move(authenticator));
    ending = obex::Serve(options.served, connection, options.times, stop_requested,
                         [&](obex::Code code) { journal.OnAnswer(code); });
  }
  shutdown(options.served, SHUT_RDWR);  // a peer need not wait for the book
  if (ending == obex::Ending::kIdle && journal.is_empty()) return 0;
  if (!client::AppendSession(device::Folder(), journal.End(obex::EndingText(ending)))) {
    log.Write(Level::kError,
              std::string("the session is not in the book: ") + std::strerror(errno));
  }
  return ending == obex::Ending::kFailed ? 1 : 0;
}

}  // namespace daemon_process

// One loop waits for everything: new connections, signals and the system's bus. Where too many are served, or came within
// a second, nothing is accepted for a while and they wait in the system's queue.
#include "tools/osifd/supervisor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "obex/transports/bluetooth.h"

namespace daemon_process {
namespace {

using std::chrono::milliseconds;

constexpr int kServedHandle = 3;
constexpr milliseconds kPause{1000};     // before a line is served again
constexpr milliseconds kPatience{5000};  // for sessions that were asked to end

sigset_t OwnSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGCHLD}) sigaddset(&signals, signal);
  return signals;
}

// For whoever started this and waits for it to be of use.
void Say(const std::string& text) {
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
}

// "127.0.0.1" of "127.0.0.1:40112".
std::string WithoutPort(const std::string& peer) { return peer.substr(0, peer.rfind(':')); }

}  // namespace

Supervisor::Supervisor(const Options& options, const Log& log, char** argv)
    : options_(options), log_(log), argv_(argv) {
  const sigset_t signals = OwnSignals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  signals_ = obex::Handle(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

Supervisor::~Supervisor() = default;

// ---- What peers come by -------------------------------------------------------------------------------------

bool Supervisor::Open() { return HasPassword() && OpenTcp() && OpenLines() && OpenBluetooth(); }

// Each session reads it anew; without one they would all be refused.
bool Supervisor::HasPassword() const {
  if (options_.password_file.empty() || ReadPassword(options_.password_file)) return true;
  log_.Write(Level::kError, options_.password_file + ": no password is in it");
  return false;
}

bool Supervisor::OpenTcp() {
  for (const std::string& text : options_.tcp) {
    const auto address = obex::ReadTcpAddress(text);
    std::string why = "no address; such as 127.0.0.1:6500";
    std::string bound;
    obex::Handle listener;
    if (address && !obex::IsLoopback(address->host) &&
        (!options_.is_open_to_others || options_.password_file.empty())) {
      why = "other machines may reach it: that takes --open-to-others and --password-file";
    } else if (address) {
      listener = obex::ListenTcp(*address, bound, why);
    }
    if (!listener.is_open()) {
      log_.Write(Level::kError, text + ": " + why);
      return false;
    }
    listeners_.push_back(std::move(listener));
    Say("listening on " + bound);
  }
  return true;
}

bool Supervisor::OpenLines() {
  std::string why;
  for (const std::string& file : options_.serial) {
    Line line{file, obex::OpenSerialLine(file, why), obex::Handle(), true, 0, {}};
    if (!line.handle.is_open()) {
      log_.Write(Level::kError, file + ": " + why);
      return false;
    }
    lines_.push_back(std::move(line));
    Say("serving " + file);
  }
  if (!options_.pty) return true;
  Line line;
  line.handle = obex::OpenPty(line.name, line.other_side, why);
  if (!line.handle.is_open()) {
    log_.Write(Level::kError, "no pty: " + why);
    return false;
  }
  Say("serving " + line.name);
  lines_.push_back(std::move(line));
  return true;
}

bool Supervisor::OpenBluetooth() {
  if (!options_.bluetooth) return true;
  std::string why;
  bluetooth_ = obex::BluetoothProfiles::Open(
      [this](int handle, const std::string& device) { TakeBluetooth(handle, device); },
      [this](const std::string& text) { log_.Write(Level::kInfo, "bluetooth: " + text); }, why);
  if (bluetooth_ == nullptr) log_.Write(Level::kError, "bluetooth: " + why);
  return bluetooth_ != nullptr;
}

// ---- The loop -----------------------------------------------------------------------------------------------

bool Supervisor::MayAccept() const {
  const bool is_new_second = Clock::now() - second_ >= milliseconds(1000);
  return running_.size() < options_.connections &&
         (is_new_second || accepted_ < options_.connections_a_second);
}

int Supervisor::WaitTime() const {
  const bool waits_for_line =
      std::ranges::any_of(lines_, [](const Line& line) { return line.pid == 0; });
  if (waits_for_line || !MayAccept()) return 100;
  return bluetooth_ == nullptr ? -1 : bluetooth_->timeout();
}

void Supervisor::Run() {
  for (;;) {
    StartLines();
    std::vector<pollfd> wanted = {{signals_.get(), POLLIN, 0}};
    if (bluetooth_) wanted.push_back({bluetooth_->handle(), bluetooth_->events(), 0});
    const size_t first_listener = wanted.size();
    if (MayAccept()) {
      for (const obex::Handle& listener : listeners_) wanted.push_back({listener.get(), POLLIN, 0});
    }
    if (poll(wanted.data(), wanted.size(), WaitTime()) < 0 && errno != EINTR) return;
    signalfd_siginfo signal{};
    while (read(signals_.get(), &signal, sizeof signal) == sizeof signal) {
      if (signal.ssi_signo != SIGCHLD) return EndAll();
    }
    Reap();
    if (bluetooth_) bluetooth_->Process();
    for (size_t i = first_listener; i < wanted.size(); ++i) {
      if ((wanted[i].revents & POLLIN) != 0) Accept(wanted[i].fd);
    }
  }
}

size_t Supervisor::CountOf(const std::string& address) const {
  return static_cast<size_t>(
      std::ranges::count_if(running_, [&](const auto& entry) { return entry.second == address; }));
}

void Supervisor::Accept(int listener) {
  const obex::Handle socket(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
  if (!socket.is_open()) return;
  if (Clock::now() - second_ >= milliseconds(1000)) {
    second_ = Clock::now();
    accepted_ = 0;
  }
  ++accepted_;
  const std::string peer = obex::PeerOf(socket.get());
  const std::string address = WithoutPort(peer);
  if (CountOf(address) >= options_.connections_of_peer) {
    log_.Write(Level::kWarning, "tcp " + peer + ": refused, too many connections of one address");
    return;
  }
  if (const pid_t pid = Start(socket.get(), "tcp " + peer); pid != 0) running_[pid] = address;
}

void Supervisor::TakeBluetooth(int handle, const std::string& device) {
  if (running_.size() >= options_.connections || CountOf(device) >= options_.connections_of_peer) {
    log_.Write(Level::kWarning, "bluetooth " + device + ": refused, too many connections");
    return;
  }
  if (const pid_t pid = Start(handle, "bluetooth " + device); pid != 0) running_[pid] = device;
}

// A line whose device was unplugged is opened again when it is back.
void Supervisor::StartLines() {
  for (Line& line : lines_) {
    if (line.pid != 0 || Clock::now() < line.next_start) continue;
    line.next_start = Clock::now() + kPause;
    std::string why;
    if (line.is_serial && !line.handle.is_open()) {
      line.handle = obex::OpenSerialLine(line.name, why);
    }
    if (line.handle.is_open()) line.pid = Start(line.handle.get(), "serial " + line.name);
  }
}

pid_t Supervisor::Start(int handle, const std::string& peer) {
  std::vector<char*> arguments;
  for (char** argument = argv_; *argument != nullptr; ++argument) arguments.push_back(*argument);
  const std::string served = "--serve=" + std::to_string(kServedHandle);
  const std::string peer_name = "--peer=" + peer;
  arguments.push_back(const_cast<char*>(served.c_str()));
  arguments.push_back(const_cast<char*>(peer_name.c_str()));
  arguments.push_back(nullptr);

  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid == 0) {
    // Nothing but what may be called between fork and exec.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);
    if (handle == kServedHandle) {
      fcntl(handle, F_SETFD, 0);
    } else {
      dup2(handle, kServedHandle);
    }
    const sigset_t signals = OwnSignals();
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    execv("/proc/self/exe", arguments.data());
    _exit(1);
  }
  if (pid > 0) return pid;
  log_.Write(Level::kError, peer + ": no process for it: " + std::strerror(errno));
  return 0;
}

void Supervisor::Reap() {
  int status = 0;
  for (pid_t pid = waitpid(-1, &status, WNOHANG); pid > 0; pid = waitpid(-1, &status, WNOHANG)) {
    running_.erase(pid);
    const auto line = std::ranges::find(lines_, pid, &Line::pid);
    if (line != lines_.end()) {
      line->pid = 0;
      // The device may be gone.
      if (line->is_serial) line->handle = obex::Handle();
    }
    if (WIFSIGNALED(status)) {
      log_.Write(Level::kError,
                 "a session was ended by signal " + std::to_string(WTERMSIG(status)));
    }
  }
}

void Supervisor::EndAll() {
  listeners_.clear();
  bluetooth_.reset();
  std::vector<pid_t> pids;
  for (const auto& [pid, address] : running_) pids.push_back(pid);
  for (const Line& line : lines_) {
    if (line.pid != 0) pids.push_back(line.pid);
  }
  for (const pid_t pid : pids) kill(pid, SIGTERM);
  const Clock::time_point end = Clock::now() + kPatience;
  for (const pid_t pid : pids) {
    while (waitpid(pid, nullptr, WNOHANG) == 0) {
      if (Clock::now() >= end) kill(pid, SIGKILL);
      usleep(10'000);
    }
  }
}

}  // namespace daemon_process

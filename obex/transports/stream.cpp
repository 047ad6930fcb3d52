// Nothing more is read while a packet waits for its answer, and no answer is made before the last one was taken, so what
// a peer can make this side keep is two packets. Times are counted by a clock that nobody sets.
#include "obex/transports/stream.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

namespace obex {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array<const char*, 7> kEndings = {"closed by the peer",
                                                 "ended after a packet that is none",
                                                 "idle for too long",
                                                 "too slow",
                                                 "open for too long",
                                                 "stopped",
                                                 "broken"};

class Server {
 public:
  Server(int handle, Connection& connection, const TimeLimits& limits,
         const volatile std::sig_atomic_t& stop, const OnAnswer& on_answer)
      : handle_(handle),
        connection_(connection),
        limits_(limits),
        stop_(stop),
        on_answer_(on_answer),
        end_(Clock::now() + limits.session) {
    fcntl(handle_, F_SETFL, fcntl(handle_, F_GETFL) | O_NONBLOCK);
  }

  Ending Run() {
    while (!is_ended_) {
      if (const auto answer = connection_.Answer()) {
        on_answer_(static_cast<Code>(answer->front()));
        Write(*answer);
        is_answered_ = true;
        if (connection_.is_finished()) End(Ending::kRefused);
      } else {
        Read();
      }
    }
    return ending_;
  }

 private:
  void Read() {
    // The rest of a packet has its own time, however many pieces it comes in and however often this looks for them.
    const bool is_in_packet = connection_.IsInPacket();
    if (is_answered_ || is_in_packet != was_in_packet_) {
      const Clock::time_point now = Clock::now();
      read_end_ = now + (is_in_packet ? limits_.packet : limits_.idle);
    }
    was_in_packet_ = is_in_packet;
    is_answered_ = false;
    if (!Wait(POLLIN, read_end_, is_in_packet ? Ending::kTooSlow : Ending::kIdle)) return;
    const ssize_t count = read(handle_, buffer_.data(), buffer_.size());
    if (count > 0) {
      connection_.Feed({buffer_.data(), static_cast<size_t>(count)});
    } else if (count == 0) {
      End(Ending::kClosed);
    } else if (errno != EAGAIN && errno != EINTR) {
      // A serial line whose other side is closed says so.
      End(errno == EIO || errno == ECONNRESET ? Ending::kClosed : Ending::kFailed);
    }
  }

  void Write(const std::string& bytes) {
    const Clock::time_point end = Clock::now() + limits_.packet;
    for (size_t done = 0; done < bytes.size() && !is_ended_;) {
      const ssize_t count = write(handle_, bytes.data() + done, bytes.size() - done);
      if (count > 0) {
        done += static_cast<size_t>(count);
      } else if (count < 0 && errno != EAGAIN && errno != EINTR) {
        End(Ending::kClosed);
      } else {
        Wait(POLLOUT, end, Ending::kTooSlow);
      }
    }
  }

  // False when serving has ended, or nothing is known yet.
  bool Wait(short event, Clock::time_point end, Ending late) {
    if (stop_ != 0) return End(Ending::kStopped);
    const Clock::time_point now = Clock::now();
    if (now >= end_) return End(Ending::kTooLong);
    if (now >= end) return End(late);
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(std::min(end, end_) - now).count();
    pollfd wanted{handle_, event, 0};
    // A signal may have come just before this waits.
    const int ready = poll(&wanted, 1, static_cast<int>(std::min<int64_t>(left, kLongestWait)));
    return ready > 0;
  }

  bool End(Ending ending) {
    if (!is_ended_) ending_ = ending;
    is_ended_ = true;
    return false;
  }

  static constexpr int64_t kLongestWait = 1000;  // milliseconds

  const int handle_;
  Connection& connection_;
  const TimeLimits limits_;
  const volatile std::sig_atomic_t& stop_;
  const OnAnswer& on_answer_;
  const Clock::time_point end_;
  Clock::time_point read_end_;
  bool is_answered_ = true;  // since the time was set
  bool was_in_packet_ = false;
  bool is_ended_ = false;
  Ending ending_ = Ending::kClosed;
  std::array<char, 16384> buffer_;
};

}  // namespace

const char* EndingText(Ending ending) { return kEndings[static_cast<size_t>(ending)]; }

Ending Serve(int handle, Connection& connection, const TimeLimits& limits,
             const volatile std::sig_atomic_t& stop, const OnAnswer& on_answer) {
  return Server(handle, connection, limits, stop, on_answer).Run();
}

}  // namespace obex

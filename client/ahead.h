// Making things in the background while others are used.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace client {

// Gives what a function makes, call by call, until it makes nothing more. A thread of its own calls the function ahead of
// whoever asks, up to `most` things; where no thread can be had, it is called when it is asked for. What the function
// throws, Next() throws.
template <typename Thing>
class Ahead {
 public:
  using Make = std::function<std::optional<Thing>()>;

  Ahead(Make make, size_t most) : make_(std::move(make)), most_(most) {
    try {
      thread_ = std::thread([this] { Work(); });
    } catch (const std::system_error&) {
      return;
    }
  }
  // Waits for the call that is running.
  ~Ahead() {
    {
      const std::lock_guard lock(mutex_);
      is_wanted_ = false;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
  }
  Ahead(const Ahead&) = delete;
  Ahead& operator=(const Ahead&) = delete;

  // Nothing at the end.
  std::optional<Thing> Next() {
    if (!thread_.joinable()) return make_();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !made_.empty() || has_ended_; });
    if (made_.empty()) {
      if (failure_) std::rethrow_exception(failure_);
      return std::nullopt;
    }
    std::optional<Thing> next(std::move(made_.front()));
    made_.pop_front();
    lock.unlock();
    changed_.notify_all();
    return next;
  }

 private:
  void Work() {
    std::exception_ptr failure;
    try {
      while (MayGoOn()) {
        std::optional<Thing> thing = make_();
        if (!thing) break;
        Put(std::move(*thing));
      }
    } catch (...) {
      failure = std::current_exception();
    }
    {
      const std::lock_guard lock(mutex_);
      failure_ = failure;
      has_ended_ = true;
    }
    changed_.notify_all();
  }

  bool MayGoOn() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return made_.size() < most_ || !is_wanted_; });
    return is_wanted_;
  }

  void Put(Thing&& thing) {
    {
      const std::lock_guard lock(mutex_);
      made_.push_back(std::move(thing));
    }
    changed_.notify_all();
  }

  const Make make_;
  const size_t most_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Thing> made_;
  bool is_wanted_ = true;
  bool has_ended_ = false;
  std::exception_ptr failure_;
  std::thread thread_;  // the last member, since it uses the others
};

}  // namespace client

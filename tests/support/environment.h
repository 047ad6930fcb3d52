// What a process takes from its environment, changed for a while.
#pragma once

#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>
#include <utility>

// Sets an environment variable (null unsets it) and puts the old value back at the end.
class TempEnvironment {
 public:
  TempEnvironment(std::string name, const char* value) : name_(std::move(name)) {
    if (const char* old = getenv(name_.c_str()); old != nullptr) old_ = old;
    Set(value);
  }
  ~TempEnvironment() { Set(old_ ? old_->c_str() : nullptr); }
  TempEnvironment(const TempEnvironment&) = delete;
  TempEnvironment& operator=(const TempEnvironment&) = delete;

 private:
  void Set(const char* value) {
    if (value == nullptr) {
      unsetenv(name_.c_str());
    } else {
      setenv(name_.c_str(), value, 1);
    }
  }

  std::string name_;
  std::optional<std::string> old_;
};

namespace support {

// The process's time zone while the object lives.
class TimeZone {
 public:
  explicit TimeZone(const char* name) {
    environment_.emplace("TZ", name);
    tzset();
  }
  ~TimeZone() {
    environment_.reset();
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  std::optional<TempEnvironment> environment_;
};

}  // namespace support

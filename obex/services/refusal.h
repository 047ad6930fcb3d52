// Why a change was refused, for those who tell it in their own way.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "obex/services/journal.h"

namespace obex {

// A journal that keeps the last refusal and hands on to a listener what is not about one object.
class RefusalKeeper final : public Journal {
 public:
  explicit RefusalKeeper(client::Listener& listener) : listener_(listener) {}

  void Tell(Deed deed, int32_t, const std::string&, const std::string& text) override {
    if (deed == Deed::kRefused) why_ = text;
  }
  void Begin(std::string_view) override {}
  void Fail(const std::string& what, OsifResult code) override { listener_.Fail(what, code); }
  void Note(const std::string& text) override { listener_.Note(text); }
  void Progress(const std::string& work, size_t done, size_t total) override {
    listener_.Progress(work, done, total);
  }
  void TraceLine(const std::string& line) override { listener_.TraceLine(line); }
  void SetBeforeLine(std::function<void()> before) override {
    listener_.SetBeforeLine(std::move(before));
  }

  // In words; empty where nothing was refused.
  const std::string& why() const { return why_; }

 private:
  client::Listener& listener_;
  std::string why_;
};

}  // namespace obex

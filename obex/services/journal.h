// Who is told what a service does, so that nothing is done in silence.
#pragma once

#include <string>
#include <string_view>

#include "client/listener.h"
#include "osif.h"

namespace obex {

// What became of one object.
enum class Deed { kAdded, kUpdated, kDeleted, kSent, kRefused };

class Journal : public client::Listener {
 public:
  // `id` is empty where there is none; `text`: the object's name, or why it was refused, in words.
  virtual void Tell(Deed deed, int32_t store_id, const std::string& id,
                    const std::string& text) = 0;
  // A peer connected to a service ("push", "sync").
  virtual void Begin(std::string_view service) = 0;
};

}  // namespace obex

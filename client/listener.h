// Who is told what happens while a client uses the library.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "osif.h"

namespace client {

class Listener {
 public:
  virtual ~Listener() = default;

  // Something failed: `what` names the file, the id or the place. OSIF_OK where the library found nothing wrong.
  virtual void Fail(const std::string& what, OsifResult code) = 0;
  // Something to know that is no failure.
  virtual void Note(const std::string& text) = 0;
  // How far a long work is; `total` 0 when that is not known.
  virtual void Progress(const std::string& work, size_t done, size_t total) = 0;

  // A line of the library's trace.
  virtual void TraceLine(const std::string& line) = 0;
  // What is called before anything else is told, so that lines of the trace stand where they belong; may be null.
  virtual void SetBeforeLine(std::function<void()> before) = 0;
};

}  // namespace client

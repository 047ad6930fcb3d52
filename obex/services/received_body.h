// The body of a request on its way in: it lies in memory that has no name in any folder.
#pragma once

#include <string_view>

#include "client/temp_file.h"

namespace obex {

class ReceivedBody {
 public:
  // False when there is no room.
  bool Add(std::string_view bytes) {
    size_ += bytes.size();
    return file_.is_open() && client::WriteAll(file_.handle(), bytes);
  }
  bool is_empty() const { return size_ == 0; }

  // The file, to be read from its start.
  int Rewound() const;

  // Writes all of it to an open file. False when that failed; errno tells why.
  bool CopyTo(int handle) const;

 private:
  client::TempFile file_;
  size_t size_ = 0;
};

}  // namespace obex

#include "obex/services/received_body.h"

#include <unistd.h>

#include <string>

namespace obex {

int ReceivedBody::Rewound() const {
  lseek(file_.handle(), 0, SEEK_SET);
  return file_.handle();
}

bool ReceivedBody::CopyTo(int handle) const {
  std::string bytes;
  return file_.Read(bytes) && client::WriteAll(handle, bytes);
}

}  // namespace obex

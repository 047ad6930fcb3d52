// What a connection asks of the service behind it: the packets know nothing of objects, the services nothing of packets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "obex/packets/codes.h"

namespace obex {

// The headers of a PUT or a GET, from all of its packets so far.
struct Request {
  std::optional<std::string> name;  // UTF-8; empty is something else than none
  std::string type;                // as it was sent, without the zero at its end; empty without one
  std::optional<uint32_t> length;  // what the sender believes that the body has
  std::string parameters;          // the application parameters: see FindTag
};

// What came as the body of a PUT. For some services no body means a deletion, and an empty one an empty object.
enum class BodyForm { kNone, kEmpty, kSome };

struct PutAnswer {
  Code code = Code::kInternalError;
  std::string parameters = {};  // application parameters; 200 bytes at most
};

// What a GET gives, piece by piece.
class BodySource {
 public:
  virtual ~BodySource() = default;
  // Fills the room; less only at the end. Nothing where reading failed.
  virtual std::optional<size_t> Read(char* into, size_t room) = 0;
};

struct GetAnswer {
  Code code = Code::kInternalError;  // kSuccess with a body, else an error without
  std::unique_ptr<BodySource> body = nullptr;
  std::optional<uint32_t> length = std::nullopt;  // of the body, where it is known
};

// One request runs at a time: TakeBody as often as something comes, then FinishPut; or Get; or Drop in between.
class Service {
 public:
  virtual ~Service() = default;

  // CONNECT to a target, empty for the default service; again whenever the peer connects anew. kSuccess, or why not.
  virtual Code Open(std::string_view target) = 0;

  // The next piece of a PUT's body; the headers so far may lack what comes after it. Anything but kContinue ends the
  // request, without FinishPut or Drop.
  virtual Code TakeBody(const Request& request, std::string_view bytes) = 0;

  virtual PutAnswer FinishPut(const Request& request, BodyForm body) = 0;

  virtual GetAnswer Get(const Request& request) = 0;

  // The peer has disconnected: what is held for it is let go of. It may connect again.
  virtual void Close() = 0;

  // What has come of the running PUT is not wanted any more: it was aborted, or the connection is lost.
  virtual void Drop() = 0;
};

}  // namespace obex

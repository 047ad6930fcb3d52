// The stream of a message's body.
#pragma once

#include <functional>
#include <string>

#include "platform/api/cemapi.h"

namespace device {

// Takes the bytes of a stream over. Called at each Commit, and at the last Release if something was
// written since; must not throw.
using StreamSink = std::function<void(std::string)>;

// A new stream that stands at the first of its bytes. It only reads without a sink; with one that
// is new it hands its bytes over even when nothing is written.
IStream* NewStream(std::string bytes, StreamSink sink, bool is_new);

}  // namespace device

// A store of another device, by the tree of IrMC 1.1: read by changes, by objects and as a whole, written object by object.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "obex/client/peer.h"
#include "obex/client/remote_texts.h"

namespace obex {

// What came of a request.
struct RemoteAnswer {
  enum class Kind {
    kDone,
    kRefused,    // with a code
    kSenseless,  // done, but what it says cannot be used
    kLost,       // the connection, and nothing more can be asked
  };

  Kind kind = Kind::kDone;
  Code code = Code::kSuccess;
  std::string words = {};  // for all but kDone

  bool is_done() const { return kind == Kind::kDone; }
  bool is_lost() const { return kind == Kind::kLost; }
  bool Is(Code wanted) const { return kind == Kind::kRefused && code == wanted; }
};

// The answer to a change.
struct RemoteWritten {
  RemoteAnswer answer;
  std::string luid;                 // that the object has now
  std::optional<uint32_t> counter;  // of the store now, where it was said
};

// telecom/devinfo.txt
RemoteAnswer GetDeviceInfo(Peer& peer, DeviceFacts& facts);

class RemoteStore {
 public:
  // Contacts or calendar. The peer outlives it.
  RemoteStore(int32_t store_id, Peer& peer);

  RemoteAnswer GetInfo(StoreFacts& facts);
  RemoteAnswer GetChangesAfter(uint32_t counter, RemoteChanges& changes);
  RemoteAnswer GetCounter(uint32_t& counter);
  RemoteAnswer GetObject(const std::string& luid, std::string& text);
  // Gives each object of the store to `take`. An answer that is not done may come after some of them; so may the false of
  // `take`, which ends it.
  RemoteAnswer GetAll(const std::function<bool(std::string text)>& take);

  // `counter`: the one that is known. Where the store has another one it was changed by others, and does nothing
  // (Code::kConflict).
  RemoteWritten Add(std::string_view text, uint32_t counter);
  RemoteWritten Change(const std::string& luid, std::string_view text, uint32_t counter);
  RemoteWritten Delete(const std::string& luid, uint32_t counter);

 private:
  RemoteAnswer GetText(const std::string& name, std::string& text);
  std::string NameOf(const std::string& luid) const;
  static RemoteWritten WrittenOf(const Reply& reply, const std::string& luid);

  const int32_t store_id_;
  Peer& peer_;
  const std::string folder_;     // "telecom/pb"
  const std::string extension_;  // ".vcf"
};

}  // namespace obex

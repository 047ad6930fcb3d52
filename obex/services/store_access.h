// One store of the device, as a peer that synchronises uses it: its change log is held from the first access to the end
// of the session, so that what was read and what is written belong together.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/records.h"
#include "client/session.h"
#include "client/temp_file.h"
#include "dialects/forms.h"
#include "osif.h"

namespace obex {

class StoreAccess {
 public:
  // Contacts or calendar; objects go out as IrMC has them, or in another form of theirs. The session outlives it.
  StoreAccess(int32_t store_id, client::Session& session);
  StoreAccess(int32_t store_id, client::Session& session, dialects::Form form);

  // OSIF_OK when the change log is open, and so held against others.
  OsifResult Open() { return session_.OpenChangeLog(store_id_); }

  uint32_t Count() const;
  uint32_t Counter() const;        // the number of the newest change; 0 without one
  std::string DatabaseId() const;  // of 8 characters

  // The entries after a change, each object once; nothing where entries in between are gone, and for a change that was
  // never made.
  std::optional<std::vector<ChangeLogEntry>> ChangesAfter(uint32_t counter) const;

  // The ids that the store holds now.
  std::vector<std::string> Ids() const;

  // What stands before and after all objects of a stream.
  std::string Begin() { return writer_->Begin(); }
  std::string End() { return writer_->End(); }
  // An object as it goes over the wire, with its id; in a frame of its own where the form has one. Empty where it cannot
  // be had, and the library's code then.
  std::string TextOf(const std::string& id, OsifResult& result);
  std::string WholeTextOf(const std::string& id, OsifResult& result);
  // For those who do not synchronise.
  std::string TextWithoutId(const std::string& id, OsifResult& result);
  // A whole file of the one object, with that UID.
  std::string TextWithUid(const std::string& id, const std::string& uid, OsifResult& result);

  // The first object of an open file of any dialect, in the same form; empty where there is none.
  std::string TextOfBody(int handle);

  int32_t store_id() const { return store_id_; }
  client::Session& session() { return session_; }

 private:
  const int32_t store_id_;
  client::Session& session_;
  client::TempFile piece_;
  dialects::WriterSettings settings_;
  std::unique_ptr<dialects::ObjectWriter> writer_;
};

}  // namespace obex

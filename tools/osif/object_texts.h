// Objects of a store as texts: in the library's own form, or in another.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "client/session.h"
#include "client/temp_file.h"
#include "client/uid_table.h"
#include "dialects/forms.h"
#include "tools/osif/reporter.h"

namespace command {

class ObjectTexts {
 public:
  // Without a form it is the library's own. The session and the reporter outlive it.
  ObjectTexts(int32_t store_id, std::optional<dialects::Form> form, Session& session,
              Reporter& reporter);

  // False, with a message, when the store's objects cannot be had in that form.
  bool Open();

  // What stands before and after all objects of a file.
  std::string Begin() { return writer_ ? writer_->Begin() : std::string(); }
  std::string End() { return writer_ ? writer_->End() : std::string(); }

  // Nothing, and a message, when the object cannot be had whole.
  std::optional<std::string> TextOf(const char* id);

 private:
  std::optional<std::string> LibraryText(const char* id);
  std::string UidOf(const char* id);

  const int32_t store_id_;
  const std::optional<dialects::Form> form_;
  Session& session_;
  Reporter& reporter_;
  TempFile piece_;
  dialects::WriterSettings settings_;
  std::unique_ptr<dialects::ObjectWriter> writer_;
  std::optional<UidTable> uids_;
  std::string database_id_;
};

}  // namespace command

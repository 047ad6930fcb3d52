// The values of one PIM item in memory, a value for each property of its table, and their way from
// and to the item's row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/api/pimstore.h"
#include "platform/device/database.h"
#include "platform/device/pim/table.h"

namespace device {

class PimValues {
 public:
  // Without values: DATE_NONE, empty texts, 0. The statements must outlive the values.
  explicit PimValues(const PimStatements& statements);

  // The value of a property, by its place in the table; the property must be of that kind. Texts are
  // UTF-8, as the row holds them; a flag is a number.
  DATE& Date(size_t property) { return std::get<DATE>(values_[property]); }
  DATE Date(size_t property) const { return std::get<DATE>(values_[property]); }
  std::string& Text(size_t property) { return std::get<std::string>(values_[property]); }
  const std::string& Text(size_t property) const {
    return std::get<std::string>(values_[property]);
  }
  LONG& Number(size_t property) { return std::get<LONG>(values_[property]); }
  LONG Number(size_t property) const { return std::get<LONG>(values_[property]); }

  // From the row with an object id into values that hold nothing yet; kNoSuchItem when there is none.
  HRESULT Load(Database& database, int32_t oid);

  // Into a new row, or over an existing one (kNoSuchItem when there is none).
  HRESULT Insert(Database& database, int32_t oid) const;
  HRESULT Update(Database& database, int32_t oid) const;

  // Whether both are values of the same kind of item.
  bool IsLike(const PimValues& other) const { return statements_ == other.statements_; }

 private:
  using Value = std::variant<DATE, std::string, LONG>;

  HRESULT Write(Database& database, const std::string& sql, int32_t oid) const;

  const PimStatements* statements_;
  std::vector<Value> values_;
};

// The row that was read last. A walk hands out each item for its id alone, and the item is then asked for by that
// id: the database need not read it twice.
class LastRow {
 public:
  // As PimValues::Load, but from memory when nothing was committed since the row was read.
  HRESULT Load(Database& database, int32_t oid, PimValues& values);

 private:
  bool Holds(const std::optional<CommitMark>& mark, int32_t oid, const PimValues& like) const;

  std::optional<CommitMark> mark_;  // of the database when the row was read
  int32_t oid_ = 0;
  std::optional<PimValues> values_;
};

}  // namespace device

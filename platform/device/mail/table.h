// Tables of the message store: rows with chosen columns, read a few at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "platform/api/cemapi.h"
#include "platform/device/mail/values.h"

namespace device {

// Where a table's rows come from.
class MapiRows {
 public:
  virtual ~MapiRows() = default;

  // How many rows there are; stays the same until the rows are restricted.
  virtual size_t Count() = 0;

  // Leaves only rows whose properties have these values; none brings all rows back. False, without
  // any effect, for properties that cannot be looked for.
  virtual bool Restrict(const MapiProperties& wanted) = 0;

  // At least those of a row's properties that the columns ask for; nothing for a row that is gone
  // by now, which the table passes over. `index` is below Count(). May throw.
  virtual std::optional<MapiProperties> Row(size_t index, const std::vector<ULONG>& columns) = 0;
};

// Whether a caller may choose the columns.
enum class MapiColumns { kFixed, kChosen };

// A new table that stands at its first row and has these columns until others are set.
IMAPITable* NewTable(std::unique_ptr<MapiRows> rows, std::vector<ULONG> columns, MapiColumns kind);

// Rows that are there from the start.
std::unique_ptr<MapiRows> RowsOf(std::vector<MapiProperties> rows);

}  // namespace device

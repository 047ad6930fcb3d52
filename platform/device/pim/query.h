// Runs a restriction over the table of a kind of PIM item.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device/database.h"
#include "platform/device/pim/dates.h"
#include "platform/device/pim/restriction.h"
#include "platform/device/pim/table.h"

namespace device {

// A restriction as an SQL condition; every value is a parameter, numbered from 1 in order.
struct PimCondition {
  std::string sql;
  std::vector<std::variant<int64_t, DATE, std::u16string>> values;
  std::vector<std::string_view> columns;  // those that are compared, in order
};

// Nothing when the restriction names a property that the table has not, or compares one with a
// value or by an operator that it does not take: texts take texts and every operator, categories
// "=" and "<>", numbers and "Oid" numbers (also in quotation marks), dates texts that ReadDateText
// understands; flags cannot be searched for.
std::optional<PimCondition> MakeCondition(const PimTable& table, const Restriction& restriction);

// The condition with another one: that an item has no value in those of the table's name columns that
// are not compared. It finds whoever is named by the asked parts alone, with one look into the index of
// whole names. Nothing when no name column is compared.
std::optional<PimCondition> MakeExactNameCondition(const PimTable& table,
                                                   const PimCondition& condition);

// The ids of the items that meet a condition, ascending, into `ids`. SQLITE_OK or SQLite's code.
// An item without a value for a property meets no comparison of it, "<>" included.
int FindIds(Database& database, const PimTable& table, const PimCondition& condition,
            std::vector<int32_t>* ids);

}  // namespace device

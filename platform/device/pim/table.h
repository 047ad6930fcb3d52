// How a kind of PIM item is kept: one row for each of its properties, from which its database
// table, its loading and saving, and the search all take what they need.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace device {

enum class PimPropertyKind {
  kDate,        // automation dates; a REAL column
  kText,        // a TEXT column that compares without regard to ASCII case
  kNumber,      // 32-bit numbers; an INTEGER column
  kFlag,        // 0 or 1; an INTEGER column
  kCategories,  // a text that lists names with commas between them; "=" asks for one of the names
};

struct PimProperty {
  std::string_view name;    // as programs write it in a restriction
  std::string_view column;  // of the kind's table; NULL where the item has no value
  PimPropertyKind kind;
};

// Besides its properties' columns a table has "oid", its primary key and the item's object id.
struct PimTable {
  std::string_view name;
  std::span<const PimProperty> properties;
  std::span<const std::string_view> name_columns = {};  // those that together name an item
};

// SQL for a table. A row's parameters are its properties, numbered from 1 in their order, and then
// its object id; the columns of a selected row are its properties, numbered from 0.
std::string CreateTableSql(const PimTable& table);
std::string InsertSql(const PimTable& table);
std::string UpdateSql(const PimTable& table);
std::string SelectSql(const PimTable& table);  // the only parameter is the object id

// A table with its statements.
struct PimStatements {
  explicit PimStatements(const PimTable& of)
      : table(of), insert(InsertSql(of)), update(UpdateSql(of)), select(SelectSql(of)) {}

  const PimTable& table;
  const std::string insert;
  const std::string update;
  const std::string select;
};

}  // namespace device

#include "platform/device/pim/table.h"

namespace device {
namespace {

// The column names, each with something after it, and commas between them.
std::string Columns(const PimTable& table, std::string_view suffix) {
  std::string sql;
  for (const PimProperty& property : table.properties) {
    if (!sql.empty()) sql += ", ";
    sql += property.column;
    sql += suffix;
  }
  return sql;
}

std::string_view ColumnType(PimPropertyKind kind) {
  switch (kind) {
    case PimPropertyKind::kDate:
      return "REAL";
    case PimPropertyKind::kNumber:
    case PimPropertyKind::kFlag:
      return "INTEGER NOT NULL";
    case PimPropertyKind::kText:
    case PimPropertyKind::kCategories:
      break;
  }
  return "TEXT COLLATE NOCASE";
}

}  // namespace

std::string CreateTableSql(const PimTable& table) {
  std::string sql = "CREATE TABLE " + std::string(table.name) +
                    "(\n  oid INTEGER PRIMARY KEY REFERENCES pim_objects(oid) ON DELETE CASCADE";
  for (const PimProperty& property : table.properties) {
    sql += ",\n  ";
    sql += property.column;
    sql += ' ';
    sql += ColumnType(property.kind);
  }
  return sql + ");\n";
}

std::string InsertSql(const PimTable& table) {
  std::string parameters = "?";
  for (size_t i = 0; i < table.properties.size(); ++i) parameters += ", ?";
  return "INSERT INTO " + std::string(table.name) + "(" + Columns(table, "") + ", oid) VALUES(" +
         parameters + ")";
}

std::string UpdateSql(const PimTable& table) {
  return "UPDATE " + std::string(table.name) + " SET " + Columns(table, " = ?") + " WHERE oid = ?";
}

std::string SelectSql(const PimTable& table) {
  return "SELECT " + Columns(table, "") + " FROM " + std::string(table.name) + " WHERE oid = ?";
}

}  // namespace device

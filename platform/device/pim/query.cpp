// The tree of a restriction is written as an SQL condition from left to right. Every value is a parameter, so
// that the same question with other values is the same text, which the database has prepared already, and no
// value is ever read as SQL. Names of properties are replaced by the columns of the kind's table; nothing of
// the caller's text comes into the SQL.
//
// The ids that are found are sorted here and not by the database: see FindIds.

#include "platform/device/pim/query.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

namespace device {
namespace {

using Kind = Restriction::Kind;

// In the order of ComparisonOperator.
constexpr std::string_view kSqlOperators[] = {" = ", " <> ", " < ", " <= ", " > ", " >= "};

char16_t ToLower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

// Names of properties are ASCII and compared without regard to case, as handhelds do.
bool NamesEqual(std::string_view ascii, std::u16string_view text) {
  return std::equal(ascii.begin(), ascii.end(), text.begin(), text.end(), [](char a, char16_t b) {
    return ToLower(static_cast<unsigned char>(a)) == ToLower(b);
  });
}

// Programs put numbers into quotation marks, too.
std::optional<int64_t> NumberIn(const std::variant<int64_t, std::u16string>& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) return ParseDecimal(*text);
  return std::get<int64_t>(value);
}

class ConditionWriter {
 public:
  explicit ConditionWriter(const PimTable& table) : table_(table) {}

  bool Write(const Restriction& node) {
    return node.kind == Kind::kComparison ? WriteComparison(node.comparison) : WriteGroup(node);
  }

  PimCondition Take() { return std::move(result_); }

 private:
  // In parentheses always: the tree says what belongs together, and SQL's AND binds more tightly than its OR.
  bool WriteGroup(const Restriction& group) {
    std::string_view joint = "(";
    for (const Restriction& part : group.parts) {
      result_.sql += joint;
      if (!Write(part)) return false;
      joint = group.kind == Kind::kAll ? " AND " : " OR ";
    }
    result_.sql += ')';
    return true;
  }

  bool WriteComparison(const Comparison& comparison) {
    if (NamesEqual("Oid", comparison.property)) return WriteNumber("oid", comparison);
    const auto row = std::find_if(table_.properties.begin(), table_.properties.end(),
                                  [&](const PimProperty& property) {
                                    return NamesEqual(property.name, comparison.property);
                                  });
    if (row == table_.properties.end()) return false;
    if (row->kind == PimPropertyKind::kNumber) return WriteNumber(row->column, comparison);
    const auto* text = std::get_if<std::u16string>(&comparison.value);
    if (text == nullptr) return false;
    switch (row->kind) {
      case PimPropertyKind::kText:
        return WriteOperator(row->column, comparison.comparison_operator, "?", *text);
      case PimPropertyKind::kCategories:
        return WriteMembership(row->column, comparison.comparison_operator, *text);
      case PimPropertyKind::kDate:
        return WriteDate(row->column, comparison.comparison_operator, *text);
      case PimPropertyKind::kNumber:
      case PimPropertyKind::kFlag:
        break;
    }
    return false;
  }

  bool WriteNumber(std::string_view column, const Comparison& comparison) {
    const std::optional<int64_t> number = NumberIn(comparison.value);
    return number && WriteOperator(column, comparison.comparison_operator, "?", *number);
  }

  bool WriteDate(std::string_view column, ComparisonOperator comparison_operator,
                 std::u16string_view text) {
    const std::optional<DATE> date = ReadDateText(text);
    return date && WriteOperator(column, comparison_operator, "?", *date);
  }

  template <typename Value>
  bool WriteOperator(std::string_view left, ComparisonOperator comparison_operator,
                     std::string_view right, const Value& value) {
    result_.columns.push_back(left);
    result_.sql += left;
    result_.sql += kSqlOperators[static_cast<size_t>(comparison_operator)];
    result_.sql += right;
    result_.values.emplace_back(value);
    return true;
  }

  // With commas around the list and around the name, a name is looked for as a whole.
  bool WriteMembership(std::string_view column, ComparisonOperator comparison_operator,
                       const std::u16string& name) {
    if (comparison_operator != ComparisonOperator::kEqual &&
        comparison_operator != ComparisonOperator::kNotEqual) {
      return false;
    }
    result_.columns.push_back(column);
    result_.sql += "(instr(',' || replace(lower(";
    result_.sql += column;
    result_.sql += "), ', ', ',') || ',', ',' || lower(?) || ',') > 0)";
    result_.sql += comparison_operator == ComparisonOperator::kEqual ? " = 1" : " = 0";
    result_.values.emplace_back(name);
    return true;
  }

  const PimTable& table_;
  PimCondition result_;
};

// Programs mostly ask the same few questions, but they can ask any number of different ones.
constexpr size_t kMostKept = 100;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

template <typename Number>
void BindValue(Statement& statement, int index, Number value) {
  statement.Bind(index, value);
}
void BindValue(Statement& statement, int index, const std::u16string& value) {
  statement.Bind(index, std::u16string_view(value));
}

void BindValues(Statement& statement, const PimCondition& condition) {
  for (size_t i = 0; i < condition.values.size(); ++i) {
    const int index = static_cast<int>(i) + 1;
    std::visit([&](const auto& value) { BindValue(statement, index, value); }, condition.values[i]);
  }
}

// Steps a statement to its end. SQLITE_OK or SQLite's code.
int CollectIds(Database& database, Statement& statement, const PimCondition& condition,
               std::vector<int32_t>* ids) {
  if (!statement) return database.LastError();
  ids->clear();
  BindValues(statement, condition);
  int step = SQLITE_DONE;
  while ((step = statement.Step()) == SQLITE_ROW) {
    ids->push_back(static_cast<int32_t>(statement.Integer(0)));
  }
  std::sort(ids->begin(), ids->end());
  return step == SQLITE_DONE ? SQLITE_OK : step;
}

}  // namespace

std::optional<PimCondition> MakeCondition(const PimTable& table, const Restriction& restriction) {
  ConditionWriter writer(table);
  if (!writer.Write(restriction)) return std::nullopt;
  return writer.Take();
}

std::optional<PimCondition> MakeExactNameCondition(const PimTable& table,
                                                   const PimCondition& condition) {
  PimCondition exact = condition;
  exact.sql = "(" + condition.sql + ")";
  size_t unasked = 0;
  for (std::string_view column : table.name_columns) {
    const auto& asked = condition.columns;
    if (std::find(asked.begin(), asked.end(), column) != asked.end()) continue;
    exact.sql.append(" AND ").append(column).append(" IS NULL");
    ++unasked;
  }
  if (unasked == table.name_columns.size()) return std::nullopt;
  return exact;
}

// Up to a limit the questions are kept prepared; what comes later is prepared for this once, so that a program
// with ever new questions does not fill the memory.
int FindIds(Database& database, const PimTable& table, const PimCondition& condition,
            std::vector<int32_t>* ids) {
  // No ORDER BY: it would tempt the planner to walk the table in order instead of using an index.
  const std::string sql = "SELECT oid FROM " + std::string(table.name) + " WHERE " + condition.sql;
  if (database.kept_statements() < kMostKept) {
    Statement kept = database.Prepare(sql);
    return CollectIds(database, kept, condition, ids);
  }
  sqlite3_stmt* prepared = nullptr;
  sqlite3_prepare_v2(database.handle(), sql.data(), static_cast<int>(sql.size()), &prepared,
                     nullptr);
  const std::unique_ptr<sqlite3_stmt, FinalizeStatement> owner(prepared);
  Statement statement(prepared);
  return CollectIds(database, statement, condition, ids);
}

}  // namespace device

// What has no value is NULL in the row: an item mostly has few of its properties, so rows stay short, and the
// indexes of the store leave out what is not there.

#include "platform/device/pim/values.h"

#include <string_view>

#include "platform/device/pim/objects.h"

namespace device {
namespace {

// What is not bound is NULL.
void BindValue(Statement& row, int parameter, DATE date) {
  if (date != DATE_NONE) row.Bind(parameter, date);
}
void BindValue(Statement& row, int parameter, const std::string& text) {
  if (!text.empty()) row.BindUtf8(parameter, text);
}
void BindValue(Statement& row, int parameter, LONG number) { row.Bind(parameter, int64_t{number}); }

void ReadValue(const Statement& row, int column, DATE& date) {
  date = row.IsNull(column) ? DATE_NONE : row.Real(column);
}
void ReadValue(const Statement& row, int column, std::string& text) {
  if (!row.IsNull(column)) text = row.Bytes(column);
}
void ReadValue(const Statement& row, int column, LONG& number) {
  number = static_cast<LONG>(row.Integer(column));
}

}  // namespace

PimValues::PimValues(const PimStatements& statements) : statements_(&statements) {
  values_.reserve(statements.table.properties.size());
  for (const PimProperty& property : statements.table.properties) {
    switch (property.kind) {
      case PimPropertyKind::kDate:
        values_.emplace_back(std::in_place_type<DATE>, DATE_NONE);
        break;
      case PimPropertyKind::kText:
      case PimPropertyKind::kCategories:
        values_.emplace_back(std::in_place_type<std::string>);
        break;
      case PimPropertyKind::kNumber:
      case PimPropertyKind::kFlag:
        values_.emplace_back(std::in_place_type<LONG>);
        break;
    }
  }
}

HRESULT PimValues::Load(Database& database, int32_t oid) {
  Statement row = database.Prepare(statements_->select);
  const int step = row.Bind(1, int64_t{oid}).Step();
  if (step == SQLITE_DONE) return kNoSuchItem;
  if (step != SQLITE_ROW) return PimResult(database.LastError());
  int column = 0;
  for (Value& value : values_) {
    std::visit([&](auto& place) { ReadValue(row, column, place); }, value);
    ++column;
  }
  return S_OK;
}

// The mark is taken before the row is read: what is committed between the two makes the row be read again.
HRESULT LastRow::Load(Database& database, int32_t oid, PimValues& values) {
  const std::optional<CommitMark> mark = database.Mark();
  if (Holds(mark, oid, values)) {
    values = *values_;
    return S_OK;
  }
  mark_.reset();
  const HRESULT hr = values.Load(database, oid);
  if (FAILED(hr)) return hr;
  values_ = values;
  oid_ = oid;
  mark_ = mark;
  return S_OK;
}

bool LastRow::Holds(const std::optional<CommitMark>& mark, int32_t oid,
                    const PimValues& like) const {
  return mark && mark == mark_ && oid == oid_ && values_->IsLike(like);
}

HRESULT PimValues::Insert(Database& database, int32_t oid) const {
  return Write(database, statements_->insert, oid);
}

HRESULT PimValues::Update(Database& database, int32_t oid) const {
  return Write(database, statements_->update, oid);
}

HRESULT PimValues::Write(Database& database, const std::string& sql, int32_t oid) const {
  Statement row = database.Prepare(sql);
  int parameter = 0;
  for (const Value& value : values_) {
    ++parameter;
    std::visit([&](const auto& content) { BindValue(row, parameter, content); }, value);
  }
  row.Bind(++parameter, int64_t{oid});
  if (!row.Run()) return PimResult(database.LastError());
  return database.Changes() == 0 ? kNoSuchItem : S_OK;
}

}  // namespace device

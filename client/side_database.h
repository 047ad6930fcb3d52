// A database of a client's own, beside the device's stores: those stay the library's alone.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace client {

class SideDatabase {
 public:
  // How a file is opened: to be used, and made where it is missing; or only to be looked at, and nothing is changed.
  enum class Access { kUse, kLook };

  // Opens a file of a device's folder. One of an earlier version (its user_version; 0 for a new file) is set up where it
  // may be changed: by SQL that ends with the new version, and may be run again. Where that fails, and for a file of a
  // later version, why_not() says why, and nothing else may be called.
  SideDatabase(const std::string& folder, std::string_view file, int version, const char* set_up,
               Access access);

  // Of the last thing that failed.
  const std::string& why_not() const { return why_not_; }
  bool is_open() const { return is_open_; }
  // Whether what is written goes into the file.
  bool may_write() const { return may_write_; }

 private:
  friend class SideStatement;
  friend class SideTransaction;
  struct Close {
    void operator()(sqlite3* database) const;
  };
  struct Finish {
    void operator()(sqlite3_stmt* statement) const;
  };

  // The statement for an SQL text, prepared once and kept; null where it cannot be.
  sqlite3_stmt* Prepare(const char* sql);
  bool Fail();

  std::unique_ptr<sqlite3, Close> database_;
  std::map<std::string_view, std::unique_ptr<sqlite3_stmt, Finish>> statements_;
  std::string name_;
  std::string why_not_;
  bool is_open_ = false;
  bool may_write_ = false;
};

// One statement, with values for its parameters in their order.
class SideStatement {
 public:
  // `sql` is a literal; one user of it at a time.
  SideStatement(SideDatabase& database, const char* sql);
  ~SideStatement();
  SideStatement(const SideStatement&) = delete;
  SideStatement& operator=(const SideStatement&) = delete;

  SideStatement& Bind(std::string_view text);
  SideStatement& Bind(int64_t number);

  // True when there is a row; false after the last one, and where it failed: why_not() of the database says why.
  bool Step();
  // To its end. False where it failed.
  bool Run();
  // After the end: to be run once more, with other values.
  SideStatement& Again();

  // Columns are numbered from 0.
  std::string Text(int column) const;
  int64_t Integer(int column) const;
  bool has_failed() const { return has_failed_; }

 private:
  SideDatabase& database_;
  sqlite3_stmt* const statement_;
  int next_ = 1;  // parameter to be bound
  bool has_failed_;
};

// What is written until Commit() is there whole, or else not at all.
class SideTransaction {
 public:
  explicit SideTransaction(SideDatabase& database);
  ~SideTransaction();
  SideTransaction(const SideTransaction&) = delete;
  SideTransaction& operator=(const SideTransaction&) = delete;

  bool is_open() const { return is_open_; }
  bool Commit();

 private:
  SideDatabase& database_;
  bool is_open_;
};

}  // namespace client

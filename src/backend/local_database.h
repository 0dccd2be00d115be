#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "document/json_value.h"
#include "platform/error.h"

struct sqlite3;

namespace vells::backend {

class DBError : public Error {
 public:
  enum class Kind { open, sql };

  static DBError open(const std::string& message) {
    return DBError(Kind::open, "Couldn\u2019t open the library database: " + message);
  }
  static DBError sql(const std::string& message) {
    return DBError(Kind::sql, "Database error: " + message);
  }
  Kind kind() const { return kind_; }

 private:
  DBError(Kind kind, const std::string& message) : Error(message), kind_(kind) {}
  Kind kind_;
};

struct AppRow {
  std::string appId;
  JSONValue::Object info;
  std::int64_t savedAt = 0;
};

struct SetRow {
  std::string id;
  std::string name;
  std::optional<std::string> appId;
  std::optional<std::vector<std::string>> locales;

  // The wire form: exactly id, name, appId, locales, with null for absent.
  JSONValue json() const;
};

struct PageRow {
  std::string id;
  std::string label;
  std::string source = "builtin";
  std::optional<std::string> builtinId;

  JSONValue json() const;
  friend bool operator==(const PageRow&, const PageRow&) = default;
};

// The library's structure in SQLite. Every public operation holds one mutex
// from its first statement to its last, so operations never interleave and
// transactions need no further lock.
class LocalDatabase {
 public:
  enum class Document { texts, styles, order };
  using Value = std::variant<std::string, std::int64_t, std::monostate>;
  using Row = std::vector<Value>;

  explicit LocalDatabase(const std::filesystem::path& file);
  ~LocalDatabase();
  LocalDatabase(const LocalDatabase&) = delete;
  LocalDatabase& operator=(const LocalDatabase&) = delete;

  std::int64_t version();
  void setVersion(std::int64_t n);

  std::vector<SetRow> loadSets();
  void insertSet(const SetRow& row);
  void updateSet(const SetRow& row);
  void deleteSet(const std::string& id);
  void refileSets(const std::string& from, const std::optional<std::string>& to);

  std::vector<PageRow> pages(const std::string& set);
  void savePages(const std::string& set, const std::vector<PageRow>& rows);

  std::string document(Document kind, const std::string& set);
  void saveDocument(Document kind, const std::string& set, std::string_view json);

  std::vector<AppRow> apps();
  std::optional<AppRow> app(const std::string& id);
  void saveApp(const AppRow& row);
  void deleteApp(const std::string& id);

  // A consistent copy of a database that may be in use by another process.
  static void copyDatabase(const std::filesystem::path& from, const std::filesystem::path& to);

  // Runs a statement for checks and tools outside the route family (tests,
  // integrity checks). Holds the same mutex as every other operation.
  std::vector<Row> query(const std::string& sql, const std::vector<Value>& values = {});

 private:
  // Both require mutex_ to be held.
  void exec(const std::string& sql);
  std::vector<Row> run(const std::string& sql, const std::vector<Value>& values = {});
  void ensureSetRow(const std::string& id);
  template <typename Body>
  void transaction(Body&& body);

  sqlite3* db_ = nullptr;
  std::mutex mutex_;
};

}  // namespace vells::backend

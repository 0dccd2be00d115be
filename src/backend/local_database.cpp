#include "backend/local_database.h"

#include <sqlite3.h>
#include <unistd.h>

#include <memory>

namespace vells::backend {

namespace {

constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS apps (
  app_id text PRIMARY KEY NOT NULL,
  info text NOT NULL,
  saved_at integer NOT NULL
);
CREATE TABLE IF NOT EXISTS sets (
  id text PRIMARY KEY NOT NULL,
  name text NOT NULL,
  app_id text REFERENCES apps(app_id) ON DELETE SET NULL,
  locales text
);
CREATE TABLE IF NOT EXISTS set_pages (
  set_id text NOT NULL,
  id text NOT NULL,
  label text NOT NULL,
  source text DEFAULT 'builtin' NOT NULL,
  builtin_id text,
  position integer NOT NULL,
  FOREIGN KEY (set_id) REFERENCES sets(id) ON UPDATE no action ON DELETE cascade
);
CREATE UNIQUE INDEX IF NOT EXISTS set_pages_set_id_idx ON set_pages (set_id,id);
CREATE INDEX IF NOT EXISTS set_pages_set_position_idx ON set_pages (set_id,position);
CREATE TABLE IF NOT EXISTS set_texts (
  set_id text PRIMARY KEY NOT NULL,
  data text NOT NULL,
  FOREIGN KEY (set_id) REFERENCES sets(id) ON UPDATE no action ON DELETE cascade
);
CREATE TABLE IF NOT EXISTS set_styles (
  set_id text PRIMARY KEY NOT NULL,
  data text NOT NULL,
  FOREIGN KEY (set_id) REFERENCES sets(id) ON UPDATE no action ON DELETE cascade
);
CREATE TABLE IF NOT EXISTS set_order (
  set_id text PRIMARY KEY NOT NULL,
  data text NOT NULL,
  FOREIGN KEY (set_id) REFERENCES sets(id) ON UPDATE no action ON DELETE cascade
);
)sql";

const char* tableOf(LocalDatabase::Document kind) {
  switch (kind) {
    case LocalDatabase::Document::texts:
      return "set_texts";
    case LocalDatabase::Document::styles:
      return "set_styles";
    case LocalDatabase::Document::order:
      return "set_order";
  }
  return "set_texts";
}

// Forgiving column readers: a column of an unexpected type never fails a read.
std::string textOr(const LocalDatabase::Value& v, std::string fallback = "") {
  if (auto* s = std::get_if<std::string>(&v)) return *s;
  return fallback;
}

std::optional<std::string> optionalText(const LocalDatabase::Value& v) {
  if (auto* s = std::get_if<std::string>(&v)) return *s;
  return std::nullopt;
}

LocalDatabase::Value optionalValue(const std::optional<std::string>& s) {
  if (s) return *s;
  return std::monostate{};
}

std::optional<std::vector<std::string>> decodeLocales(const LocalDatabase::Value& v) {
  auto* text = std::get_if<std::string>(&v);
  if (!text) return std::nullopt;
  auto parsed = JSONValue::tryParse(*text);
  if (!parsed || !parsed->isArray()) return std::nullopt;
  std::vector<std::string> codes;
  for (const auto& e : *parsed->asArray()) {
    if (!e.isString()) return std::nullopt;
    codes.push_back(*e.asString());
  }
  return codes;
}

LocalDatabase::Value encodeLocales(const std::optional<std::vector<std::string>>& locales) {
  if (!locales) return std::monostate{};
  JSONValue::Array arr(locales->begin(), locales->end());
  return JSONValue(std::move(arr)).dump();
}

std::string encodeInfo(const JSONValue::Object& info) {
  try {
    return JSONValue(info).dump();
  } catch (const std::exception&) {
    return "{}";
  }
}

SetRow setRowOf(const LocalDatabase::Row& r) {
  return SetRow{textOr(r.at(0)), textOr(r.at(1)), optionalText(r.at(2)), decodeLocales(r.at(3))};
}

AppRow appRowOf(const LocalDatabase::Row& r) {
  AppRow row;
  row.appId = textOr(r.at(0));
  auto info = JSONValue::tryParse(textOr(r.at(1)));
  if (info && info->isObject()) row.info = *info->asObject();
  if (auto* n = std::get_if<std::int64_t>(&r.at(2))) row.savedAt = *n;
  return row;
}

// "file:" and the path, with the characters a URI gives meaning escaped.
std::string readOnlyURI(const std::filesystem::path& file) {
  std::string uri = "file:";
  for (char c : file.string()) {
    if (c == '%' || c == '?' || c == '#') {
      static constexpr char hex[] = "0123456789ABCDEF";
      uri += '%';
      uri.push_back(hex[static_cast<unsigned char>(c) >> 4]);
      uri.push_back(hex[c & 0xF]);
    } else {
      uri.push_back(c);
    }
  }
  return uri + "?immutable=1";
}

struct SqliteCloser {
  void operator()(sqlite3* db) const { sqlite3_close(db); }
};
using SqliteHandle = std::unique_ptr<sqlite3, SqliteCloser>;

}  // namespace

JSONValue SetRow::json() const {
  JSONValue::Object o{{"id", id}, {"name", name}};
  o["appId"] = appId ? JSONValue(*appId) : JSONValue();
  if (locales) {
    o["locales"] = JSONValue::Array(locales->begin(), locales->end());
  } else {
    o["locales"] = JSONValue();
  }
  return o;
}

JSONValue PageRow::json() const {
  JSONValue::Object o{{"id", id}, {"label", label}, {"source", source}};
  if (builtinId) o["builtinId"] = *builtinId;
  return o;
}

LocalDatabase::LocalDatabase(const std::filesystem::path& file) {
  std::error_code ec;
  const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
  readOnly_ = ::access(folder.c_str(), W_OK) != 0 ||
              (std::filesystem::exists(file, ec) && ::access(file.c_str(), W_OK) != 0);
  // Nothing can write a library nobody may write, so it is read as it stands,
  // without the journal files WAL would have to create beside it.
  const std::string name = readOnly_ ? readOnlyURI(file) : file.string();
  const int flags = readOnly_ ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_FULLMUTEX
                              : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  int rc = sqlite3_open_v2(name.c_str(), &db_, flags, nullptr);
  if (rc != SQLITE_OK) {
    std::string message = db_ ? sqlite3_errmsg(db_) : "unknown";
    sqlite3_close(db_);
    db_ = nullptr;
    throw DBError::open(message);
  }
  // A second process on the same library (the CLI beside the app) waits for a
  // writer instead of failing at once.
  sqlite3_busy_timeout(db_, 5000);
  try {
    std::lock_guard guard(mutex_);
    if (readOnly_) {
      exec("SELECT count(*) FROM sqlite_schema");  // a file that is no database shows here
    } else {
      exec("PRAGMA journal_mode = WAL");
      exec("PRAGMA foreign_keys = ON");
      exec(kSchema);
    }
  } catch (const DBError&) {
    // A file that is not a database only shows itself at the first statement;
    // to the user it is a library that can't be opened.
    std::string message = sqlite3_errmsg(db_);
    sqlite3_close(db_);
    db_ = nullptr;
    throw DBError::open(message);
  }
}

LocalDatabase::~LocalDatabase() {
  if (db_) sqlite3_close(db_);
}

void LocalDatabase::exec(const std::string& sql) {
  char* err = nullptr;
  int rc = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &err);
  if (rc != SQLITE_OK) {
    std::string message = err ? err : "exec failed";
    sqlite3_free(err);
    throw DBError::sql(message);
  }
}

std::vector<LocalDatabase::Row> LocalDatabase::run(const std::string& sql,
                                                   const std::vector<Value>& values) {
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) {
    sqlite3_finalize(raw);
    throw DBError::sql(sqlite3_errmsg(db_));
  }
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> stmt(raw, &sqlite3_finalize);
  int index = 1;
  for (const Value& v : values) {
    if (auto* s = std::get_if<std::string>(&v)) {
      // With its exact length: a text bound up to its first NUL would let
      // "a\0b" name the row "a".
      sqlite3_bind_text64(raw, index, s->data(), s->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    } else if (auto* n = std::get_if<std::int64_t>(&v)) {
      sqlite3_bind_int64(raw, index, *n);
    } else {
      sqlite3_bind_null(raw, index);
    }
    ++index;
  }
  std::vector<Row> rows;
  int rc;
  while ((rc = sqlite3_step(raw)) == SQLITE_ROW) {
    int n = sqlite3_column_count(raw);
    Row row;
    row.reserve(n);
    for (int c = 0; c < n; ++c) {
      switch (sqlite3_column_type(raw, c)) {
        case SQLITE_INTEGER:
          row.emplace_back(std::int64_t{sqlite3_column_int64(raw, c)});
          break;
        case SQLITE_NULL:
          row.emplace_back(std::monostate{});
          break;
        default: {
          const unsigned char* text = sqlite3_column_text(raw, c);
          row.emplace_back(
              text ? std::string(reinterpret_cast<const char*>(text), sqlite3_column_bytes(raw, c))
                   : std::string());
        }
      }
    }
    rows.push_back(std::move(row));
  }
  if (rc == SQLITE_READONLY) throw DBError::readOnly(readOnlyMessage);
  if (rc != SQLITE_DONE) throw DBError::sql(sqlite3_errmsg(db_));
  return rows;
}

template <typename Body>
void LocalDatabase::transaction(Body&& body) {
  exec("BEGIN IMMEDIATE");
  try {
    body();
    exec("COMMIT");
  } catch (...) {
    try {
      exec("ROLLBACK");
    } catch (const DBError&) {
      // the first error is the one worth reporting
    }
    throw;
  }
}

void LocalDatabase::ensureSetRow(const std::string& id) {
  run("INSERT OR IGNORE INTO sets (id, name) VALUES (?, ?)",
      {id, id == "default" ? std::string("Default") : id});
}

std::int64_t LocalDatabase::version() {
  std::lock_guard guard(mutex_);
  auto rows = run("PRAGMA user_version");
  if (rows.empty() || rows[0].empty()) return 0;
  if (auto* n = std::get_if<std::int64_t>(&rows[0][0])) return *n;
  return 0;
}

void LocalDatabase::setVersion(std::int64_t n) {
  std::lock_guard guard(mutex_);
  exec("PRAGMA user_version = " + std::to_string(n));
}

std::vector<SetRow> LocalDatabase::loadSets() {
  std::lock_guard guard(mutex_);
  std::vector<SetRow> out;
  for (const Row& r : run("SELECT id, name, app_id, locales FROM sets ORDER BY rowid")) {
    out.push_back(setRowOf(r));
  }
  return out;
}

void LocalDatabase::insertSet(const SetRow& row) {
  std::lock_guard guard(mutex_);
  run("INSERT INTO sets (id, name, app_id, locales) VALUES (?, ?, ?, ?)",
      {row.id, row.name, optionalValue(row.appId), encodeLocales(row.locales)});
}

bool LocalDatabase::insertNewSet(const SetRow& row) {
  std::lock_guard guard(mutex_);
  return !run("INSERT INTO sets (id, name, app_id, locales) VALUES (?, ?, ?, ?) "
              "ON CONFLICT(id) DO NOTHING RETURNING id",
              {row.id, row.name, optionalValue(row.appId), encodeLocales(row.locales)})
              .empty();
}

std::int64_t LocalDatabase::newestSetNumber(const std::string& prefix) {
  std::lock_guard guard(mutex_);
  const auto rows =
      run("SELECT max(CAST(substr(id, ?) AS INTEGER)) FROM sets WHERE substr(id, 1, ?) = ? AND "
          "substr(id, ?) GLOB '[0-9]*' AND substr(id, ?) NOT GLOB '*[^0-9]*'",
          {static_cast<std::int64_t>(prefix.size() + 1), static_cast<std::int64_t>(prefix.size()),
           prefix, static_cast<std::int64_t>(prefix.size() + 1),
           static_cast<std::int64_t>(prefix.size() + 1)});
  if (rows.empty() || rows[0].empty()) return 0;
  if (auto* n = std::get_if<std::int64_t>(&rows[0][0])) return *n;
  return 0;
}

void LocalDatabase::updateSet(const SetRow& row) {
  std::lock_guard guard(mutex_);
  run("INSERT INTO sets (id, name, app_id, locales) VALUES (?, ?, ?, ?) ON CONFLICT(id) DO "
      "UPDATE SET name = excluded.name, app_id = excluded.app_id, locales = excluded.locales",
      {row.id, row.name, optionalValue(row.appId), encodeLocales(row.locales)});
}

void LocalDatabase::deleteSet(const std::string& id) {
  std::lock_guard guard(mutex_);
  run("DELETE FROM sets WHERE id = ?", {id});
}

LocalDatabase::SetDeletion LocalDatabase::deleteSetKeepingOne(const std::string& id) {
  std::lock_guard guard(mutex_);
  SetDeletion outcome = SetDeletion::deleted;
  transaction([&] {
    if (run("SELECT 1 FROM sets WHERE id = ?", {id}).empty()) {
      outcome = SetDeletion::unknown;
    } else if (run("SELECT 1 FROM sets LIMIT 2").size() < 2) {
      outcome = SetDeletion::last;
    } else {
      run("DELETE FROM sets WHERE id = ?", {id});
    }
  });
  return outcome;
}

void LocalDatabase::refileSets(const std::string& from, const std::optional<std::string>& to) {
  std::lock_guard guard(mutex_);
  run("UPDATE sets SET app_id = ? WHERE app_id = ?", {optionalValue(to), from});
}

std::vector<PageRow> LocalDatabase::pages(const std::string& set) {
  std::lock_guard guard(mutex_);
  std::vector<PageRow> out;
  for (const Row& r : run("SELECT id, label, source, builtin_id FROM set_pages WHERE set_id = ? "
                          "ORDER BY position",
                          {set})) {
    out.push_back(PageRow{textOr(r.at(0)), textOr(r.at(1)), textOr(r.at(2), "builtin"),
                          optionalText(r.at(3))});
  }
  return out;
}

void LocalDatabase::savePages(const std::string& set, const std::vector<PageRow>& rows) {
  std::lock_guard guard(mutex_);
  transaction([&] {
    ensureSetRow(set);
    run("DELETE FROM set_pages WHERE set_id = ?", {set});
    std::int64_t position = 0;
    for (const PageRow& row : rows) {
      run("INSERT INTO set_pages (set_id, id, label, source, builtin_id, position) VALUES (?, ?, "
          "?, ?, ?, ?)",
          {set, row.id, row.label, row.source, optionalValue(row.builtinId), position++});
    }
  });
}

std::string LocalDatabase::document(Document kind, const std::string& set) {
  std::lock_guard guard(mutex_);
  auto rows = run(std::string("SELECT data FROM ") + tableOf(kind) + " WHERE set_id = ?", {set});
  if (rows.empty() || rows[0].empty()) return "{}";
  if (auto* s = std::get_if<std::string>(&rows[0][0])) return *s;
  return "{}";
}

void LocalDatabase::saveDocument(Document kind, const std::string& set, std::string_view json) {
  std::string text = repairUTF8(json);
  std::lock_guard guard(mutex_);
  transaction([&] {
    ensureSetRow(set);
    run(std::string("INSERT INTO ") + tableOf(kind) +
            " (set_id, data) VALUES (?, ?) ON CONFLICT(set_id) DO UPDATE SET data = excluded.data",
        {set, text});
  });
}

std::vector<AppRow> LocalDatabase::apps() {
  std::lock_guard guard(mutex_);
  std::vector<AppRow> out;
  for (const Row& r : run("SELECT app_id, info, saved_at FROM apps ORDER BY rowid")) {
    out.push_back(appRowOf(r));
  }
  return out;
}

std::optional<AppRow> LocalDatabase::app(const std::string& id) {
  for (AppRow& row : apps()) {
    if (row.appId == id) return std::move(row);
  }
  return std::nullopt;
}

void LocalDatabase::saveApp(const AppRow& row) {
  std::string info = encodeInfo(row.info);  // serialised outside the lock
  std::lock_guard guard(mutex_);
  run("INSERT INTO apps (app_id, info, saved_at) VALUES (?, ?, ?) ON CONFLICT(app_id) DO UPDATE "
      "SET info = excluded.info",
      {row.appId, info, row.savedAt});
}

void LocalDatabase::deleteApp(const std::string& id) {
  std::lock_guard guard(mutex_);
  run("DELETE FROM apps WHERE app_id = ?", {id});
}

std::vector<LocalDatabase::Row> LocalDatabase::query(const std::string& sql,
                                                     const std::vector<Value>& values) {
  std::lock_guard guard(mutex_);
  return run(sql, values);
}

void LocalDatabase::copyDatabase(const std::filesystem::path& from,
                                 const std::filesystem::path& to) {
  sqlite3* rawSource = nullptr;
  int rc = sqlite3_open_v2(from.c_str(), &rawSource, SQLITE_OPEN_READONLY, nullptr);
  SqliteHandle source(rawSource);
  if (rc != SQLITE_OK) throw DBError::open(from.string());
  sqlite3* rawTarget = nullptr;
  rc = sqlite3_open_v2(to.c_str(), &rawTarget, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  SqliteHandle target(rawTarget);
  if (rc != SQLITE_OK) throw DBError::open(to.string());
  sqlite3_backup* backup = sqlite3_backup_init(target.get(), "main", source.get(), "main");
  if (!backup) throw DBError::sql(sqlite3_errmsg(target.get()));
  int step = sqlite3_backup_step(backup, -1);
  sqlite3_backup_finish(backup);
  if (step != SQLITE_DONE) throw DBError::sql("backup step " + std::to_string(step));
}

}  // namespace vells::backend

// The whole content of a database file as text, read with a plain SQLite
// connection of the default unix VFS (past any fault-injecting shim), to
// tell whether a failed call left a store exactly as it was.
#pragma once

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace CorvTest {

// Columns whose value is the time of the write that made it.
inline bool IsTimeColumn(const std::string& name) {
  return name.size() > 4 && name.compare(name.size() - 4, 4, "Time") == 0;
}

// Column i of the current row as text; empty for NULL.
inline std::string ColumnText(sqlite3_stmt* stmt, int i) {
  const unsigned char* text = sqlite3_column_text(stmt, i);
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

// Appends one line per row of sql's result to lines, each prefixed by
// prefix: "|column=value" per column, the value in quotes or NULL (or "*"
// for a time column with maskTimes). False when the query fails.
inline bool DumpQuery(sqlite3* db, const std::string& sql, const std::string& prefix,
                      bool maskTimes, std::vector<std::string>& lines) {
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) return false;
  int rc;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    std::string line = prefix;
    for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
      std::string column = sqlite3_column_name(stmt, i);
      std::string value = maskTimes && IsTimeColumn(column) ? "*"
                          : sqlite3_column_type(stmt, i) == SQLITE_NULL
                              ? "NULL"
                              : "'" + ColumnText(stmt, i) + "'";
      line += "|" + column + "=" + value;
    }
    lines.push_back(line);
  }
  sqlite3_finalize(stmt);
  return rc == SQLITE_DONE;
}

// One line per row of every table ("table|column=value|..."), sorted, after
// the schema's own rows. With maskTimes, columns named ...Time read "*".
// A database that cannot be read gives the one line "error: <reason>".
inline std::vector<std::string> DumpDatabase(const std::string& path, bool maskTimes = false) {
  std::vector<std::string> schema, rows;
  sqlite3* db = nullptr;
  bool ok = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, "unix") == SQLITE_OK &&
            DumpQuery(db, "SELECT type, name, sql FROM sqlite_master ORDER BY name", "schema",
                      false, schema);
  for (size_t i = 0; ok && i < schema.size(); ++i) {
    if (schema[i].rfind("schema|type='table'|name='", 0) != 0) continue;
    size_t start = std::strlen("schema|type='table'|name='");
    std::string table = schema[i].substr(start, schema[i].find('\'', start) - start);
    ok = DumpQuery(db, "SELECT * FROM \"" + table + "\"", table, maskTimes, rows);
  }
  std::string error = db != nullptr ? sqlite3_errmsg(db) : "out of memory";
  sqlite3_close(db);
  if (!ok) return {"error: " + error};
  std::sort(rows.begin(), rows.end());
  schema.insert(schema.end(), rows.begin(), rows.end());
  return schema;
}

}  // namespace CorvTest

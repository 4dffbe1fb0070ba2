// The key-value table: text keys to text values in the store database.
#include "sqlite/DBStore.h"

namespace DBStore {

const char kReadKeyValueSql[] = "SELECT Value FROM KeyValue WHERE Key = ?";

int ReadKeyValue(const std::shared_ptr<StoreConnection>& connection, const std::string& key,
                 std::string& value) {
  static const SqlStatement kRead(kReadKeyValueSql);
  std::string found;
  int status = ExecuteStmt(
      connection, kRead, {SqlParam::Text(key)},
      [&found](int count, char** values, char**) {
        if (count > 0 && values[0] != nullptr) found = values[0];
        return 0;
      },
      kDefaultTimeLimit);
  if (status != kSuccess) return kFailure;
  value = found;
  return kSuccess;
}

int ReadKeyValues(const std::shared_ptr<StoreConnection>& connection,
                  std::vector<std::pair<std::string, std::string>>& entries) {
  static const SqlStatement kReadAll("SELECT Key, Value FROM KeyValue ORDER BY Key");
  std::vector<std::pair<std::string, std::string>> found;
  int status = ExecuteStmt(
      connection, kReadAll, {},
      [&found](int count, char** values, char**) {
        if (count >= 2)
          found.emplace_back(values[0] != nullptr ? values[0] : "",
                             values[1] != nullptr ? values[1] : "");
        return 0;
      },
      kDefaultTimeLimit);
  if (status != kSuccess) return kFailure;
  entries = std::move(found);
  return kSuccess;
}

int WriteKeyValue(const std::shared_ptr<StoreConnection>& connection, const std::string& key,
                  const std::string& value) {
  static const SqlStatement kWrite("INSERT OR REPLACE INTO KeyValue (Key, Value) VALUES (?, ?)");
  return ExecuteStmt(connection, kWrite, {SqlParam::Text(key), SqlParam::Text(value)}, nullptr,
                     kDefaultTimeLimit);
}

}  // namespace DBStore

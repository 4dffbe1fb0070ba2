// The raw twins of the library's row reads and whole-row write, on the
// library's own statements (Sql::kReadConfig, Sql::kGetInstances,
// Sql::kWriteAllLayers) prepared once by the caller.
#pragma once

#include <corvconfigstore/ObjectId.h>
#include <sqlite3.h>

#include "support/RawJson.h"
#include "support/RawSql.h"

namespace CorvBench {

// The merged object of the row of id, read with Sql::kReadConfig; null
// when there is no row.
rapidjson::Value ReadObject(RawStatement& read, const CorvConfigStore::ConfigStoreObjectId& id,
                            JsonParser& parser);

// Appends the merged object of every instance row of key, read with
// Sql::kGetInstances, to array (which uses the parser's allocator).
void ReadInstances(RawStatement& read, const CorvConfigStore::ConfigStoreObjectId& key,
                   JsonParser& parser, rapidjson::Value& array);

// A value split into its layers by the schema's tags and stored as a whole
// row with Sql::kWriteAllLayers.
class RowWriter {
 public:
  RowWriter(sqlite3* db, KeyLayout layout);

  // Writes value (moved from) as the confirmed row of id, all layers.
  void Write(const CorvConfigStore::ConfigStoreObjectId& id, rapidjson::Value& value,
             JsonAllocator& allocator);
  // The instance id an instance value names.
  std::string InstanceIdOf(const rapidjson::Value& value) const;

 private:
  const KeyLayout layout_;
  RawStatement statement_;
};

}  // namespace CorvBench

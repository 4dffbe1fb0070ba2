// Row reads and whole-row writes of the raw twins.
#include "support/RawRows.h"

#include <utility>

#include "db/Statements.h"

namespace CorvBench {

rapidjson::Value ReadObject(RawStatement& read, const CorvConfigStore::ConfigStoreObjectId& id,
                            JsonParser& parser) {
  read.BindKey(id, true);
  rapidjson::Value object;
  if (read.Step()) object = parser.MergeRow(read, kReadConfigLayers);
  read.Reset();
  return object;
}

void ReadInstances(RawStatement& read, const CorvConfigStore::ConfigStoreObjectId& key,
                   JsonParser& parser, rapidjson::Value& array) {
  read.BindKey(key, false);
  while (read.Step()) {
    rapidjson::Value object = parser.MergeRow(read, kGetInstancesLayers);
    if (!object.IsNull()) array.PushBack(object, parser.allocator());
  }
  read.Reset();
}

RowWriter::RowWriter(sqlite3* db, KeyLayout layout)
    : layout_(std::move(layout)), statement_(db, CorvConfigStore::Sql::kWriteAllLayers) {}

std::string RowWriter::InstanceIdOf(const rapidjson::Value& value) const {
  return value[layout_.idProperty.c_str()].GetString();
}

void RowWriter::Write(const CorvConfigStore::ConfigStoreObjectId& id, rapidjson::Value& value,
                      JsonAllocator& allocator) {
  const LayerTexts layers = SplitLayers(value, layout_, allocator);
  // ?6 Success, ?7 AutoConfValue (left NULL: an external write), ?8 user,
  // ?9 vital, ?10 cached.
  statement_.BindRowKey(id, layout_.version);
  statement_.BindInt(6, 1);
  statement_.BindTextOrNull(8, layers.user);
  statement_.BindTextOrNull(9, layers.vital);
  statement_.BindTextOrNull(10, layers.cached);
  statement_.Run();
}

}  // namespace CorvBench

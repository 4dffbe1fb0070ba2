// Rows as the row layer reads them: a typed row of the store's tables, the
// readers that fill rows from a statement, the parameter lists of a row key,
// and the layer objects built from one value column of a row. Column names
// appear nowhere above this layer.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/ObjectId.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Json.h"
#include "db/OperationContext.h"
#include "db/Statements.h"

namespace CorvSchemaStore {
class SchemaObject;
}

namespace CorvConfigStore {

using Connection = std::shared_ptr<DBStore::StoreConnection>;
using SchemaPtr = std::shared_ptr<CorvSchemaStore::SchemaObject>;
using ObjectPtr = std::shared_ptr<ConfigStoreObject>;
using ObjectList = std::vector<ObjectPtr>;

// The value columns of a row. kValue is the single value of a default row,
// of a next-boot row, and of the reads that compute one value per row (the
// desired value, the kernel options, the raw store contents).
enum class Layer { kNone, kUser, kDesired, kAutoConf, kVital, kCached, kValue };

// One result row. A column the statement did not select, or that holds SQL
// NULL, is empty (a layer) or keeps its default (the other members).
struct ConfigRow {
  // Whether any column of the row was read: a statement that matched no row
  // leaves it false.
  bool found = false;
  std::string component;
  std::string group;
  std::string name;
  std::string identifier;
  std::string version;
  std::string creationTime;
  std::string modifiedTime;
  int revision = kDefaultRevision;
  // Success is 1: the user value is confirmed.
  bool confirmed = false;
  // A next-boot row's BootAction: "SET", "DELETE" or "DELETE_INSTANCE".
  std::string bootAction;

  // The layer's stored text; null when the row has none.
  const std::string* Get(Layer layer) const {
    const size_t index = static_cast<size_t>(layer);
    return stored_[index] ? &texts_[index] : nullptr;
  }
  bool Has(Layer layer) const { return layer != Layer::kNone && Get(layer) != nullptr; }
  void SetLayer(Layer layer, const char* text) {
    const size_t index = static_cast<size_t>(layer);
    texts_[index] = text;
    stored_[index] = true;
  }
  // Empties the row for the next result row of a statement. Its texts keep
  // their room: a read of many rows then allocates for the first only.
  void Clear();

 private:
  std::array<std::string, 7> texts_;
  std::array<bool, 7> stored_{};
};
using ConfigRows = std::vector<ConfigRow>;

// The identifier of one instance of id's object.
inline ConfigStoreObjectId WithInstanceId(const ConfigStoreObjectId& id,
                                          const std::string& instanceId) {
  return ConfigStoreObjectId(id.key, id.group, id.component, instanceId);
}

// Parameters of a row key: Name, ConfigGroup, Component.
DBStore::SqlParams KeyParams(const ConfigStoreObjectId& id);
// Name, ConfigGroup, Component, Identifier.
DBStore::SqlParams InstanceParams(const ConfigStoreObjectId& id);
// The numbered form: ?1 Identifier, ?2 Name, ?3 ConfigGroup, ?4 Component,
// ?5 Version.
DBStore::SqlParams NumberedParams(const ConfigStoreObjectId& id, const std::string& version);

// Runs a statement that returns no rows; a failure throws
// ConfigStoreException 2000 with message and the database's reason.
void ExecuteWrite(const Connection& conn, const DBStore::SqlStatement& statement,
                  const DBStore::SqlParams& params, const std::string& message);

// Runs statement and folds every result row into one: a later row's
// non-NULL columns overwrite an earlier row's. A failure throws
// ConfigStoreException 2000 with message and the database's reason.
ConfigRow ReadRow(const Connection& conn, const DBStore::SqlStatement& statement,
                  const DBStore::SqlParams& params, const std::string& message);

// Runs statement and keeps one row per result row; a failure throws as
// ReadRow does.
ConfigRows ReadRows(const Connection& conn, const DBStore::SqlStatement& statement,
                    const DBStore::SqlParams& params, const std::string& message);

// Runs statement and hands each result row to visit as soon as it is read,
// so that no result, however large, is held whole; the row passed is only
// valid during the call. Failures throw as ReadRow does.
void ForEachRow(const Connection& conn, const DBStore::SqlStatement& statement,
                const DBStore::SqlParams& params, const std::string& message,
                const std::function<void(const ConfigRow&)>& visit);

// The collector of the raw reads: throws ConfigStoreException 2000 "Get
// store rows failed." when the statement fails; no rows is an empty list.
ConfigRows CollectRows(const Connection& conn, const DBStore::SqlStatement& statement,
                       const DBStore::SqlParams& params);

// Reads one row of an object: binds Name, ConfigGroup, Component and
// Identifier of id. Throws ConfigStoreException 2000 "Get failed: <id>" when
// the statement fails; no matching row gives a row that was not found.
ConfigRow ReadObjectRow(const Connection& conn, const DBStore::SqlStatement& statement,
                        const ConfigStoreObjectId& id);

// Reads every row of an object: binds Name, ConfigGroup and Component of id.
// Throws ConfigStoreException 2000 "Read Instances failed for: <id>" when
// the statement fails.
ConfigRows ReadInstanceRows(const Connection& conn, const DBStore::SqlStatement& statement,
                            const ConfigStoreObjectId& id);
// The same rows, each handed to visit as it is read (see ForEachRow).
void ForEachInstanceRow(const Connection& conn, const DBStore::SqlStatement& statement,
                        const ConfigStoreObjectId& id,
                        const std::function<void(const ConfigRow&)>& visit);

// The JSON of one value column that the row has (see ConfigRow::Has). Text
// that is not one JSON object raises ConfigStoreException 1082 naming the
// column and id.
std::shared_ptr<JsonDocument> ParseLayer(const ConfigStoreObjectId& id, const ConfigRow& row,
                                         Layer layer);
// The same JSON, allocated from allocator (see ParseJsonOn).
JsonValue ParseLayerOn(const ConfigStoreObjectId& id, const ConfigRow& row, Layer layer,
                       JsonAllocator& allocator);

// The layer object of one value column: the column's JSON, with the row's
// version, creation and modification time and revision; empty when the
// column is empty or layer is kNone. Text that is not one JSON object raises
// ConfigStoreException 1082.
ObjectPtr MakeLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                          const ConfigRow& row, Layer layer);
// The same, for the column's JSON already parsed.
ObjectPtr MakeLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                          const ConfigRow& row, const std::shared_ptr<JsonDocument>& document);
// Asks of the stored text of one layer whether it is the value of the
// object read from it as it stands: one JSON object that holds the object's
// own instance id (an object is given its id otherwise). Its outline goes
// to CheckJson or CopyJsonWithoutGeneratedIds; after either accepted the
// text, StandsAsRead answers.
class StoredValueCheck {
 public:
  // schema is the key schema of id's key. Without a schema no text stands
  // as read: the object looks the schema up itself.
  StoredValueCheck(const ConfigStoreObjectId& id, const SchemaPtr& schema);
  StoredValueCheck(const StoredValueCheck&) = delete;
  StoredValueCheck& operator=(const StoredValueCheck&) = delete;

  JsonOutline& Outline() { return outline_; }
  bool StandsAsRead() const {
    return hasSchema_ && outline_.isObject && (!hasIdProperty_ || outline_.holdsExpected);
  }

 private:
  bool hasSchema_;
  bool hasIdProperty_;
  JsonOutline outline_;
};

// The same object, holding the column's text to parse on first use (see
// JsonDoc): for results a caller may hold without reading every value. The
// text is checked now, and refused as MakeLayerObject refuses it. A value
// that does not hold the object's own instance id, or whose key has no
// schema, is parsed now.
ObjectPtr MakeDeferredLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                  const ConfigRow& row, Layer layer);

// The layer that holds a row's user value at run time: with an upgrade in
// progress the desired value when present, else the user value; otherwise
// the user value only when it is confirmed, and none when it is not.
Layer RunTimeUserLayer(const ConfigRow& row, const OperationContext& context);

// The user value of a confirmed row only.
Layer ConfirmedUserLayer(const ConfigRow& row);

}  // namespace CorvConfigStore

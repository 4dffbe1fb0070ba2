// Typed rows: the one place that knows the tables' column names, the
// readers that fill rows from a statement, and layer objects made from one
// value column of a row.
#include "db/ConfigRow.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/Json.h"
#include "core/Throw.h"
#include "object/ConfigStoreObjectImpl.h"
#include "schema/SchemaStore.h"
#include "core/JsonDoc.h"
#include "sqlite/DBError.h"

namespace CorvConfigStore {
namespace {

// Where a result column goes in a row.
enum class Field {
  kIgnored,
  kComponent,
  kGroup,
  kName,
  kIdentifier,
  kVersion,
  kCreationTime,
  kModifiedTime,
  kRevision,
  kSuccess,
  kBootAction,
  kLayer,
};

struct ColumnName {
  const char* name;
  Field field;
  Layer layer;
};

constexpr ColumnName kColumns[] = {
    {"Component", Field::kComponent, Layer::kNone},
    {"ConfigGroup", Field::kGroup, Layer::kNone},
    {"Name", Field::kName, Layer::kNone},
    {"Identifier", Field::kIdentifier, Layer::kNone},
    {"Version", Field::kVersion, Layer::kNone},
    {"CreationTime", Field::kCreationTime, Layer::kNone},
    {"ModifiedTime", Field::kModifiedTime, Layer::kNone},
    {"Revision", Field::kRevision, Layer::kNone},
    {"Success", Field::kSuccess, Layer::kNone},
    {"BootAction", Field::kBootAction, Layer::kNone},
    {"UserValue", Field::kLayer, Layer::kUser},
    {"DesiredValue", Field::kLayer, Layer::kDesired},
    {"AutoConfValue", Field::kLayer, Layer::kAutoConf},
    {"VitalValue", Field::kLayer, Layer::kVital},
    {"CachedValue", Field::kLayer, Layer::kCached},
    {"Value", Field::kLayer, Layer::kValue},
};

const char* LayerColumn(Layer layer) {
  for (const ColumnName& column : kColumns)
    if (column.field == Field::kLayer && column.layer == layer) return column.name;
  return "";
}

// The row field of each result column of statement. A statement's column
// names follow from its text (every statement of the store names its
// columns), so a thread matches the names of a text once, on its first
// row, and keeps them; a text whose column count changed (a table altered
// under a statement that selects every column) is matched again, into a
// new list, as an execution of the text may still be reading the old one.
using Columns = std::vector<const ColumnName*>;
std::shared_ptr<const Columns> ResolvedColumns(const std::string& statement,
                                               const DBStore::ResultRow& row) {
  static const std::unordered_map<std::string_view, const ColumnName*> kByName = [] {
    std::unordered_map<std::string_view, const ColumnName*> byName;
    for (const ColumnName& column : kColumns) byName.emplace(column.name, &column);
    return byName;
  }();
  static constexpr ColumnName kUnknown = {"", Field::kIgnored, Layer::kNone};
  thread_local std::unordered_map<std::string, std::shared_ptr<const Columns>> resolved;
  std::shared_ptr<const Columns>& known = resolved[statement];
  const int count = row.Count();
  if (known && known->size() == static_cast<size_t>(count)) return known;
  auto columns = std::make_shared<Columns>(static_cast<size_t>(count), &kUnknown);
  for (int i = 0; i < count; ++i) {
    auto found = kByName.find(row.Name(i));
    if (found != kByName.end()) (*columns)[static_cast<size_t>(i)] = found->second;
  }
  known = columns;
  return known;
}

// Fills rows from the result columns of one execution of statement.
class RowFiller {
 public:
  explicit RowFiller(const DBStore::SqlStatement& statement) : statement_(statement.Text()) {}

  void Fill(ConfigRow& row, const DBStore::ResultRow& result) {
    if (!columns_) columns_ = ResolvedColumns(statement_, result);
    row.found = true;
    const int count = static_cast<int>(columns_->size());
    for (int i = 0; i < count; ++i) {
      const ColumnName& column = *(*columns_)[static_cast<size_t>(i)];
      if (column.field == Field::kIgnored) continue;
      // The counters are integers: taken as such, not written out as text
      // and read back. Any other value is read from its text.
      int64_t number = 0;
      if (column.field == Field::kRevision && result.Integer(i, &number)) {
        row.revision = static_cast<int>(number);
        continue;
      }
      if (column.field == Field::kSuccess && result.Integer(i, &number)) {
        row.confirmed = number == 1;
        continue;
      }
      const char* value = result.Text(i);
      if (value == nullptr) continue;
      switch (column.field) {
        case Field::kIgnored: break;
        case Field::kComponent: row.component = value; break;
        case Field::kGroup: row.group = value; break;
        case Field::kName: row.name = value; break;
        case Field::kIdentifier: row.identifier = value; break;
        case Field::kVersion: row.version = value; break;
        case Field::kCreationTime: row.creationTime = value; break;
        case Field::kModifiedTime: row.modifiedTime = value; break;
        case Field::kRevision:
          row.revision = static_cast<int>(std::strtol(value, nullptr, 10));
          break;
        case Field::kSuccess: row.confirmed = std::strcmp(value, "1") == 0; break;
        case Field::kBootAction: row.bootAction = value; break;
        case Field::kLayer: row.SetLayer(column.layer, value); break;
      }
    }
  }

 private:
  const std::string& statement_;
  std::shared_ptr<const Columns> columns_;
};

// Runs statement and fills, from each result row, the row next gives. A
// failure throws ConfigStoreException 2000 with the message failed makes
// (only then) and the database's reason.
template <typename Next, typename Failed>
void Collect(const Connection& conn, const DBStore::SqlStatement& statement,
             const DBStore::SqlParams& params, Failed failed, Next next) {
  RowFiller filler(statement);
  if (DBStore::ExecuteStmtRows(
          conn, statement, params,
          [&](const DBStore::ResultRow& result) {
            filler.Fill(next(), result);
            return 0;
          },
          kStmtTimeLimit) != DBStore::kSuccess)
    DBStore::ThrowFailure(conn, failed());
}

// The rows of statement folded into one, as ReadRow; the failure message is
// made by failed, only when the read fails.
template <typename Failed>
ConfigRow FoldRows(const Connection& conn, const DBStore::SqlStatement& statement,
                   const DBStore::SqlParams& params, Failed failed) {
  ConfigRow row;
  Collect(conn, statement, params, failed, [&row]() -> ConfigRow& { return row; });
  return row;
}

// One row per result row, as ReadRows; the message as in FoldRows.
template <typename Failed>
ConfigRows ListRows(const Connection& conn, const DBStore::SqlStatement& statement,
                    const DBStore::SqlParams& params, Failed failed) {
  ConfigRows rows;
  Collect(conn, statement, params, failed, [&rows]() -> ConfigRow& {
    rows.emplace_back();
    return rows.back();
  });
  return rows;
}

// Each result row handed to visit, as ForEachRow; the message as in
// FoldRows.
template <typename Failed>
void VisitRows(const Connection& conn, const DBStore::SqlStatement& statement,
               const DBStore::SqlParams& params, Failed failed,
               const std::function<void(const ConfigRow&)>& visit) {
  RowFiller filler(statement);
  ConfigRow row;
  if (DBStore::ExecuteStmtRows(
          conn, statement, params,
          [&](const DBStore::ResultRow& result) {
            row.Clear();
            filler.Fill(row, result);
            visit(row);
            return 0;
          },
          kStmtTimeLimit) != DBStore::kSuccess)
    DBStore::ThrowFailure(conn, failed());
}

// The failure of a read of every row of id's object, made only on failure.
auto ReadInstancesFailed(const ConfigStoreObjectId& id) {
  return [&id] { return "Read Instances failed for: " + id.toString(); };
}

}  // namespace

void ConfigRow::Clear() {
  found = false;
  for (std::string* text : {&component, &group, &name, &identifier, &version, &creationTime,
                            &modifiedTime, &bootAction})
    text->clear();
  revision = kDefaultRevision;
  confirmed = false;
  stored_.fill(false);
}

DBStore::SqlParams KeyParams(const ConfigStoreObjectId& id) {
  return {DBStore::SqlParam::Text(id.key), DBStore::SqlParam::Text(id.group),
          DBStore::SqlParam::Text(id.component)};
}

DBStore::SqlParams InstanceParams(const ConfigStoreObjectId& id) {
  return {DBStore::SqlParam::Text(id.key), DBStore::SqlParam::Text(id.group),
          DBStore::SqlParam::Text(id.component), DBStore::SqlParam::Text(id.instanceId)};
}

DBStore::SqlParams NumberedParams(const ConfigStoreObjectId& id, const std::string& version) {
  return {DBStore::SqlParam::Text(id.instanceId), DBStore::SqlParam::Text(id.key),
          DBStore::SqlParam::Text(id.group), DBStore::SqlParam::Text(id.component),
          DBStore::SqlParam::Text(version)};
}

void ExecuteWrite(const Connection& conn, const DBStore::SqlStatement& statement,
                  const DBStore::SqlParams& params, const std::string& message) {
  if (DBStore::ExecuteStmt(conn, statement, params, nullptr, kStmtTimeLimit) != DBStore::kSuccess)
    DBStore::ThrowFailure(conn, message);
}

ConfigRow ReadRow(const Connection& conn, const DBStore::SqlStatement& statement,
                  const DBStore::SqlParams& params, const std::string& message) {
  return FoldRows(conn, statement, params, [&message] { return message; });
}

ConfigRows ReadRows(const Connection& conn, const DBStore::SqlStatement& statement,
                    const DBStore::SqlParams& params, const std::string& message) {
  return ListRows(conn, statement, params, [&message] { return message; });
}

void ForEachRow(const Connection& conn, const DBStore::SqlStatement& statement,
                const DBStore::SqlParams& params, const std::string& message,
                const std::function<void(const ConfigRow&)>& visit) {
  VisitRows(conn, statement, params, [&message] { return message; }, visit);
}

ConfigRows CollectRows(const Connection& conn, const DBStore::SqlStatement& statement,
                       const DBStore::SqlParams& params) {
  return ReadRows(conn, statement, params, "Get store rows failed.");
}

ConfigRow ReadObjectRow(const Connection& conn, const DBStore::SqlStatement& statement,
                        const ConfigStoreObjectId& id) {
  return FoldRows(conn, statement, InstanceParams(id),
                  [&id] { return "Get failed: " + id.toString(); });
}

ConfigRows ReadInstanceRows(const Connection& conn, const DBStore::SqlStatement& statement,
                            const ConfigStoreObjectId& id) {
  return ListRows(conn, statement, KeyParams(id), ReadInstancesFailed(id));
}

void ForEachInstanceRow(const Connection& conn, const DBStore::SqlStatement& statement,
                        const ConfigStoreObjectId& id,
                        const std::function<void(const ConfigRow&)>& visit) {
  VisitRows(conn, statement, KeyParams(id), ReadInstancesFailed(id), visit);
}

namespace {

[[noreturn]] void ThrowNotAnObject(const ConfigStoreObjectId& id, Layer layer,
                                   const std::string& error) {
  std::string reason = error.empty() ? "not a JSON object" : error;
  std::string message = "JSON error: column " + std::string(LayerColumn(layer)) + " of " +
                        id.toString() + " does not hold a JSON object: " + reason;
  throw ConfigStoreException(CS_ERR_JSON, message.c_str());
}

ObjectPtr NewLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                         const ConfigRow& row, const std::shared_ptr<JsonDoc>& data) {
  auto impl = std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, data, schema, row.version, row.creationTime, row.modifiedTime,
      row.revision, true, nullptr, nullptr);
  return std::make_shared<ConfigStoreObject>(impl);
}

}  // namespace

std::shared_ptr<JsonDocument> ParseLayer(const ConfigStoreObjectId& id, const ConfigRow& row,
                                         Layer layer) {
  auto document = NewJsonDocument(ParsedDocumentBytes(row.Get(layer)->size()));
  JsonValue value = ParseLayerOn(id, row, layer, document->GetAllocator());
  static_cast<JsonValue&>(*document).Swap(value);
  return document;
}

JsonValue ParseLayerOn(const ConfigStoreObjectId& id, const ConfigRow& row, Layer layer,
                       JsonAllocator& allocator) {
  const std::string& text = *row.Get(layer);
  JsonValue value;
  std::string error;
  if (!ParseJsonOn(text.data(), text.size(), allocator, value, &error) || !value.IsObject())
    ThrowNotAnObject(id, layer, error);
  return value;
}

ObjectPtr MakeLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                          const ConfigRow& row, Layer layer) {
  if (!row.Has(layer)) return nullptr;
  return MakeLayerObject(id, schema, row, ParseLayer(id, row, layer));
}

ObjectPtr MakeLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                          const ConfigRow& row, const std::shared_ptr<JsonDocument>& document) {
  return NewLayerObject(id, schema, row, std::make_shared<JsonDoc>(document));
}

StoredValueCheck::StoredValueCheck(const ConfigStoreObjectId& id, const SchemaPtr& schema)
    : hasSchema_(schema != nullptr) {
  // The schema found the property once, for every row of its key.
  const std::string* idProperty = schema ? schema->KeyInstanceIdEntry() : nullptr;
  hasIdProperty_ = idProperty != nullptr;
  if (hasIdProperty_) outline_.member = *idProperty;
  outline_.expected = id.instanceId;
}

ObjectPtr MakeDeferredLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                  const ConfigRow& row, Layer layer) {
  if (!row.Has(layer)) return nullptr;
  const std::string& text = *row.Get(layer);
  StoredValueCheck check(id, schema);
  std::string error;
  if (!CheckJson(text.data(), text.size(), check.Outline(), &error) || !check.Outline().isObject)
    ThrowNotAnObject(id, layer, error);
  // An object is made to hold its own instance id, which takes a parsed
  // value: a stored value without it is parsed now, as is one whose key has
  // no schema to ask.
  if (!check.StandsAsRead()) return MakeLayerObject(id, schema, row, layer);
  return NewLayerObject(id, schema, row, std::make_shared<JsonDoc>(std::string_view(text)));
}

Layer RunTimeUserLayer(const ConfigRow& row, const OperationContext& context) {
  if (context.Upgrading()) return row.Has(Layer::kDesired) ? Layer::kDesired : Layer::kUser;
  return ConfirmedUserLayer(row);
}

Layer ConfirmedUserLayer(const ConfigRow& row) {
  return row.confirmed ? Layer::kUser : Layer::kNone;
}

}  // namespace CorvConfigStore

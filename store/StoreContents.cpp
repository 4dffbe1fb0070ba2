// Overviews of a store for administrators: the keys holding data, what the
// next boot changes, and the layers of one key side by side. Built on the
// row layer's raw reads of whole tables.
#include <corvconfigstore/StoreContents.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "core/Checks.h"
#include "db/BulkReads.h"
#include "db/ReadRows.h"
#include "schema/SchemaStore.h"
#include "store/GetDBStore.h"
#include "validation/Validation.h"

namespace CorvConfigStore {
namespace {

// Rows of one key or instance, found by (component, group, key, instance).
using RowKey = std::tuple<std::string, std::string, std::string, std::string>;

RowKey KeyOf(const ConfigRow& row) {
  return RowKey(row.component, row.group, row.name, row.identifier);
}

ConfigStoreObjectId IdOf(const ConfigRow& row) {
  return ConfigStoreObjectId(row.name, row.group, row.component, row.identifier);
}

bool InScope(const ConfigRow& row, const std::string& component, const std::string& group) {
  return (component.empty() || row.component == component) &&
         (group.empty() || row.group == group);
}

// A layer of a row as the text callers see: generated instance ids left
// out; empty when the layer holds nothing.
std::string LayerText(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                      const ConfigRow& row, Layer layer) {
  ObjectPtr object = MakeLayerObject(id, schema, row, layer);
  return object ? object->GetData() : std::string();
}

std::string ObjectText(const ObjectPtr& object) {
  return object ? object->GetData() : std::string();
}

PendingState NextBootState(const std::string& action) {
  if (action == "DELETE") return PendingState::kNextBootDelete;
  if (action == "DELETE_INSTANCE") return PendingState::kNextBootDeleteInstance;
  return PendingState::kNextBootSet;
}

}  // namespace

std::vector<StoredKey> ListStoredKeys(const std::string& component, const std::string& group) {
  Connection conn = GetDBStore(DBStore::CONFIG_STORE, true);
  std::map<std::tuple<std::string, std::string, std::string>, StoredKey> keys;
  for (const ConfigRow& row : GetStoredRowContents(conn)) {
    if (!InScope(row, component, group)) continue;
    StoredKey& key = keys[std::make_tuple(row.component, row.group, row.name)];
    key.component = row.component;
    key.group = row.group;
    key.key = row.name;
    ++key.instances;
  }
  std::vector<StoredKey> list;
  for (auto& entry : keys) {
    StoredKey& key = entry.second;
    key.defaults =
        GetDefaultUserConfigMapList(ConfigStoreObjectId(key.key, key.group, key.component), conn)
            .size();
    list.push_back(std::move(key));
  }
  return list;
}

const char* PendingStateName(PendingState state) {
  switch (state) {
    case PendingState::kAwaitingConfirmation: return "awaiting-confirmation";
    case PendingState::kDesired: return "desired";
    case PendingState::kNextBootSet: return "next-boot";
    case PendingState::kNextBootDelete: return "next-boot-delete";
    case PendingState::kNextBootDeleteInstance: return "next-boot-delete-instance";
  }
  return "";
}

std::vector<PendingConfig> ListPendingConfig(const std::string& component,
                                             const std::string& group) {
  Connection conn = GetDBStore(DBStore::CONFIG_STORE, true);
  OperationContext context;
  // A row whose user value is listed among all user values but not among
  // the confirmed ones waits for a boot to confirm it.
  std::map<RowKey, ConfigRow> confirmed;
  for (ConfigRow& row : GetUserConfigContents(conn)) confirmed.emplace(KeyOf(row), std::move(row));
  std::map<RowKey, bool> unconfirmed;
  for (const ConfigRow& row : GetStoreContentsInternalST("UserValue", conn, true))
    if (confirmed.count(KeyOf(row)) == 0) unconfirmed.emplace(KeyOf(row), true);

  std::vector<PendingConfig> list;
  auto add = [&](const ConfigRow& row, PendingState state, bool withValue) {
    PendingConfig pending;
    pending.id = IdOf(row);
    pending.state = state;
    SchemaPtr schema = context.Schema(pending.id);
    ValidateCsoId(pending.id, schema);
    auto inForce = confirmed.find(KeyOf(row));
    if (inForce != confirmed.end())
      pending.inForce = LayerText(pending.id, schema, inForce->second, Layer::kValue);
    if (withValue) pending.pending = LayerText(pending.id, schema, row, Layer::kValue);
    list.push_back(std::move(pending));
  };
  for (const ConfigRow& row : GetDesiredUserConfigContents(conn)) {
    if (!InScope(row, component, group)) continue;
    add(row,
        unconfirmed.count(KeyOf(row)) ? PendingState::kAwaitingConfirmation
                                      : PendingState::kDesired,
        true);
  }
  for (const ConfigRow& row : GetNextBootContents(conn)) {
    if (!InScope(row, component, group)) continue;
    PendingState state = NextBootState(row.bootAction);
    add(row, state, state == PendingState::kNextBootSet);
  }
  std::stable_sort(list.begin(), list.end(), [](const PendingConfig& a, const PendingConfig& b) {
    return std::tie(a.id.component, a.id.group, a.id.key, a.id.instanceId) <
           std::tie(b.id.component, b.id.group, b.id.key, b.id.instanceId);
  });
  return list;
}

std::vector<LayerValues> GetLayerValues(const ConfigStoreObjectId& id) {
  SchemaPtr schema = OperationContext().Schema(id);
  const bool wholeKey = schema && schema->HasInstances() && id.instanceId.empty();
  if (wholeKey)
    ValidateCsoIdInstances(id, schema);
  else
    ValidateCsoId(id, schema);
  const ConfigStoreObjectId key = WithInstanceId(id, "");
  auto wanted = [&](const std::string& instanceId) {
    return wholeKey || instanceId == id.instanceId;
  };
  Connection conn = GetDBStore(DBStore::CONFIG_STORE, true);

  std::map<std::string, LayerValues> instances;
  auto entry = [&](const std::string& instanceId) -> LayerValues& {
    LayerValues& values = instances[instanceId];
    values.instanceId = instanceId;
    return values;
  };
  for (const ConfigRow& row : ReadInstanceRows(conn, GET_INSTANCES, key)) {
    if (!wanted(row.identifier)) continue;
    const ConfigStoreObjectId rowId = WithInstanceId(id, row.identifier);
    LayerValues& values = entry(row.identifier);
    values.stored = true;
    values.confirmed = row.confirmed;
    values.user = LayerText(rowId, schema, row, Layer::kUser);
    values.desired = LayerText(rowId, schema, row, Layer::kDesired);
    values.autoConfigured = LayerText(rowId, schema, row, Layer::kAutoConf);
    values.vital = LayerText(rowId, schema, row, Layer::kVital);
    values.cached = LayerText(rowId, schema, row, Layer::kCached);
    if (row.confirmed) values.inForce = values.user;
    // What boot confirmation makes the user value.
    values.atNextBoot = row.Has(Layer::kDesired) ? values.desired : values.user;
  }
  const ObjectList configured = wholeKey ? GetCurrentConfigInstancesInternal(key, conn, schema)
                                         : ObjectList{GetCurrentConfigInternal(id, conn, schema)};
  for (const ObjectPtr& object : configured)
    if (object) entry(object->GetConfigStoreObjectId().instanceId).configured = ObjectText(object);
  for (const ObjectPtr& object : GetDefaultUserConfigInstancesInternal(key, conn, schema)) {
    const std::string& instanceId = object->GetConfigStoreObjectId().instanceId;
    if (wanted(instanceId)) entry(instanceId).shippedDefault = ObjectText(object);
  }
  for (const ConfigRow& row : GetNextBootContents(conn)) {
    if (row.component != key.component || row.group != key.group || row.name != key.key ||
        !wanted(row.identifier))
      continue;
    LayerValues& values = entry(row.identifier);
    values.nextBootAction = row.bootAction;
    // A staged deletion ("DELETE" of a singleton, "DELETE_INSTANCE" of an
    // instance) leaves nothing in force.
    values.nextBoot = row.bootAction == "SET"
                          ? LayerText(WithInstanceId(id, row.identifier), schema, row, Layer::kValue)
                          : std::string();
    values.atNextBoot = values.nextBoot;
  }
  std::vector<LayerValues> list;
  for (auto& item : instances) list.push_back(std::move(item.second));
  return list;
}

}  // namespace CorvConfigStore

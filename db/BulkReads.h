// Reads of whole stretches of the store (a component, a group, raw rows of
// the store, the defaults of an object, the objects shared with a SmartNIC)
// and the filtering of object lists by a filter object.
#pragma once

#include <corvconfigstore/FilterSpecObject.h>

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/Json.h"
#include "db/ConfigRow.h"

namespace CorvConfigStore {

class ConfigStoreObjectImpl;

// The objects of a bulk read grouped by the schema object of their key.
using BulkConfig = std::unordered_map<SchemaPtr, std::vector<ConfigStoreObject>>;

// Every row of the component (of one of its groups when group is not
// empty), each merged as a current read merges it, on a connection of its
// own and without a transaction. Rows without any value are left out.
// Throws ConfigStoreException 2000 "Failed to connect to database" when no
// connection can be had and "Get all keys failed" when the read fails.
BulkConfig GetBulkConfigInternal(const std::string& component, const std::string& group,
                                 const OperationContext& op);

// Raw rows of Config (key, value layer kValue, auto-configuration layer,
// version, times and revision) with column (a column name or an expression)
// listed as the value, rows where it is NULL left out. Unless all is set,
// the plain "UserValue" listing holds only rows whose Success is 1.
ConfigRows GetStoreContentsInternalST(const std::string& column, const Connection& conn,
                                      bool all);
// Confirmed user values.
ConfigRows GetUserConfigContents(const Connection& conn);
// Desired user values: the unconfirmed user value of rows whose Success is
// 0, else the desired value.
ConfigRows GetDesiredUserConfigContents(const Connection& conn);

// Rows holding a value in any layer (the first of user, desired,
// auto-configuration, vital and cached that is set, as the kValue layer).
ConfigRows GetStoredRowContents(const Connection& conn);
// Every next-boot row (key, identifier, action and value) in key order.
ConfigRows GetNextBootContents(const Connection& conn);

// Default rows (value, identifier, version) of id's object, or of the one
// instance id names.
ConfigRows GetDefaultUserConfigMapList(const ConfigStoreObjectId& id, const Connection& conn);

// Rows (key, identifier, value) of the objects whose schema's value type is
// "corv-shared"; the value is the desired value when the row has one, else
// the user value. The schema store is attached for the read and detached
// again on every path.
ConfigRows GetSmartnicConfiguration(const Connection& conn);

// Groups raw rows by configuration: typeMap["component.group.key"] maps each
// row's identifier to its value. Rows that do not name their configuration
// (no component or key) or hold no value are skipped.
using ConfigTypeMap = std::map<std::string, std::map<std::string, std::string>>;
void UpdateConfigTypeMap(ConfigTypeMap& typeMap, const ConfigRows& rows);

// Removes from objects every object whose value does not match the filter's
// value; the kept objects keep their order. An empty (or null) filter keeps
// everything.
void FilterConfigStoreObjects(ObjectList& objects, const std::shared_ptr<FilterSpecObject>& filter);
void FilterConfigStoreObjects(std::vector<std::shared_ptr<ConfigStoreObjectImpl>>& objects,
                              const std::shared_ptr<FilterSpecObject>& filter);

// True when value holds every member of filter with an equal value, members
// holding objects compared by the same rule. An array in the filter never
// matches ("csoMatchesFilter: Non-Singleton SubObject filtering not
// supported" is logged at priority 0).
bool csoMatchesFilter(const JsonValue& value, const JsonValue& filter);

// Whether object is kept by FilterConfigStoreObjects(filter): always for a
// null or empty filter, otherwise as csoMatchesFilter decides.
bool ObjectMatchesFilter(const ConfigStoreObject& object,
                         const std::shared_ptr<FilterSpecObject>& filter);

}  // namespace CorvConfigStore

// The schema store: key schemas of (component, group, key), loaded from JSON
// files into an SQLite database, and the schema objects that answer what the
// store library needs to know of a key.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "core/GeneratedId.h"
#include "core/Json.h"
#include "core/JsonDoc.h"

namespace JsonValidator {
class CompiledSchema;
}  // namespace JsonValidator

namespace CorvSchemaStore {

class LayerTags;

// Kinds a schema reports for its configuration.
enum SchemaKind : int {
  kKindUser = 0,
  kKindVital = 1,
  kKindCached = 3,
  kKindInternal = 4,
  kKindSystemInstances = 5,
};

using CorvConfigStore::kGeneratedIdProperty;

// The tag of configurations written only through the next-boot store.
extern const char* const kRebootRequiredTag;

// Brings a key schema into the form every walk of a schema expects, as
// loading does: the items of every array of objects that mark no instance-id
// property get the declared property "cs_generated_id" (a string marked
// "instanceId"); for a key with instances, "vital" or "cached" on the key
// root is repeated on its "items", since walks of one instance start there.
// Running it twice changes nothing.
void NormaliseKeySchema(CorvConfigStore::JsonValue& schema,
                        CorvConfigStore::JsonAllocator& allocator);

// One key schema with every answer derived from it at construction. The
// constructor keeps a normalised copy of the document (NormaliseKeySchema),
// so a schema object made from a raw key schema answers exactly as one
// loaded from the schema store. It needs no database.
class SchemaObject {
 public:
  SchemaObject(const std::string& component, const std::string& group, const std::string& key,
               const CorvConfigStore::JsonValue& document);
  SchemaObject(const SchemaObject&) = delete;
  SchemaObject& operator=(const SchemaObject&) = delete;
  ~SchemaObject();

  const std::string& GetComponent() const { return component_; }
  const std::string& GetGroup() const { return group_; }
  const std::string& GetKey() const { return key_; }

  // The key schema.
  const CorvConfigStore::JsonValue& GetSchemaDocument() const { return document_; }
  // The key schema compiled for the validator, on the first call (by one
  // thread, the others waiting for it) and kept as long as the object.
  const JsonValidator::CompiledSchema& GetCompiledSchema() const;
  // The key root is an array schema: the key has instances.
  bool HasInstances() const { return hasInstances_; }
  // Some list of the key has instances with generated ids (UsesGeneratedIds
  // of the key schema, answered once).
  bool UsesGeneratedIds() const { return usesGeneratedIds_; }
  // Some node of the value schema may tag members "vital" or "cached"
  // (MayTagLayers of the value schema, answered once). Without, every
  // member of a value belongs to its user layer.
  bool MayTagLayers() const { return mayTagLayers_; }
  // The layer tags of the value schema, read on the first call (by one
  // thread, the others waiting for it) and kept as long as the object.
  const LayerTags& GetLayerTags() const;
  // Instance-id property of the key's instances; empty for a singleton.
  const std::string& GetInstanceIdProperty() const { return instanceIdProperty_; }
  // Member name -> instance-id property, for the key itself (when it has
  // instances) and every array-of-objects property at any depth; the first
  // definition of a name wins. An object, possibly without members.
  const CorvConfigStore::JsonDocument& GetInstanceIdMap() const { return *idMap_; }
  // Defaults of the key: each property's "default", nested objects for
  // object properties, the items' defaults under an array-of-objects
  // property's name. An object, possibly without members.
  const CorvConfigStore::JsonDocument& GetDefaults() const { return *defaults_; }
  // The instance-id map's entry for the schema's own key, as
  // FindInstanceIdProperty(SharedInstanceIdMap(), GetKey()) finds it: the
  // property that holds an instance's own id; null when the map has none.
  const std::string* KeyInstanceIdEntry() const {
    return hasKeyIdEntry_ ? &keyIdEntry_ : nullptr;
  }
  // The same two documents as handles that every object of the key shares
  // (to be read, never changed); null when the document has no members,
  // which would answer no question. Made once here, not once per object.
  const std::shared_ptr<CorvConfigStore::JsonDoc>& SharedInstanceIdMap() const {
    return sharedIdMap_;
  }
  const std::shared_ptr<CorvConfigStore::JsonDoc>& SharedDefaults() const {
    return sharedDefaults_;
  }
  // 1 vital, 3 cached, 4 internal, 5 system instances, 0 otherwise.
  int GetKind() const { return kind_; }
  // Instance ids the host owns (kind 5).
  const std::vector<std::string>& GetSystemInstances() const { return systemInstances_; }
  // Tagged "@rebootRequiredConfigStore".
  bool IsRebootRequired() const { return rebootRequired_; }
  // "bootExempt": external user writes stay allowed during boot.
  bool IsBootExempt() const { return bootExempt_; }
  // "applyDuringUpgrade" (default true).
  bool ApplyDuringUpgrade() const { return applyDuringUpgrade_; }
  // "valueType", empty when absent.
  const std::string& GetValueType() const { return valueType_; }
  // "version", "1.0" when absent.
  const std::string& GetVersion() const { return version_; }
  // Next-boot deletions of this key are instance deletions.
  bool IsInstanceForm() const { return hasInstances_; }
  // The node that describes one value: "items" for a key with instances,
  // the root otherwise.
  const CorvConfigStore::JsonValue& GetValueSchema() const { return *valueSchema_; }

 private:
  std::string component_, group_, key_;
  CorvConfigStore::JsonDocument document_;
  std::shared_ptr<CorvConfigStore::JsonDocument> idMap_;
  std::shared_ptr<CorvConfigStore::JsonDocument> defaults_;
  std::shared_ptr<CorvConfigStore::JsonDoc> sharedIdMap_;
  std::shared_ptr<CorvConfigStore::JsonDoc> sharedDefaults_;
  bool hasInstances_ = false;
  // Within document_, which never changes once made: found once, since
  // every write of a value starts from it.
  const CorvConfigStore::JsonValue* valueSchema_ = nullptr;
  bool usesGeneratedIds_ = false;
  bool mayTagLayers_ = true;
  std::string instanceIdProperty_;
  bool hasKeyIdEntry_ = false;
  std::string keyIdEntry_;
  int kind_ = kKindUser;
  std::vector<std::string> systemInstances_;
  bool rebootRequired_ = false;
  bool bootExempt_ = false;
  bool applyDuringUpgrade_ = true;
  std::string valueType_;
  std::string version_ = "1.0";
  mutable std::once_flag compileOnce_;
  mutable std::unique_ptr<const JsonValidator::CompiledSchema> compiled_;
  mutable std::once_flag layerTagsOnce_;
  mutable std::unique_ptr<const LayerTags> layerTags_;
};

// A schema object from the text of a key schema; raises ConfigStoreException
// 2000 naming the key when the text is not one JSON object.
std::shared_ptr<SchemaObject> MakeSchemaObject(const std::string& component,
                                               const std::string& group, const std::string& key,
                                               const std::string& text);

// A lookup checks the schema store for changes at most once per this many
// milliseconds.
constexpr int kSchemaRecheckMs = 1;

// Process-wide, thread-safe cache of schema objects of the schema store
// named by CORV_SCHEMASTORE_DB. A lookup costs no database round trip while
// the store is unchanged; a schema loaded by another process is seen by the
// lookups made more than kSchemaRecheckMs after its load (by this process:
// at once). When CORV_SCHEMASTORE_DB names another file the cache starts
// afresh; a missing store holds no schemas. A store that is there but
// cannot be read (not a database, an I/O error, a full disk) holds no
// answer: every lookup then throws ConfigStoreException 2000 "Cannot read
// schemas from <path>: <reason>" with SQLite's reason as its detail, and
// the next lookup reads the store again.
class SchemaObjectCache {
 public:
  SchemaObjectCache();
  SchemaObjectCache(const SchemaObjectCache&) = delete;
  SchemaObjectCache& operator=(const SchemaObjectCache&) = delete;

  // Null when the store holds no schema for the key.
  std::shared_ptr<SchemaObject> GetSchema(const std::string& component, const std::string& group,
                                          const std::string& key);
  // Every schema, ordered by component, group and key.
  std::vector<std::shared_ptr<SchemaObject>> GetAllSchemas();
  // Whether the store holds a schema of any key of the component, or of the
  // component's group.
  bool HasComponent(const std::string& component);
  bool HasGroup(const std::string& component, const std::string& group);
  // Makes the next lookup read the store again (after a load by this
  // process; loads by others are noticed without it).
  void Invalidate();

 private:
  // Implementation-defined state (see SchemaCache.cpp).
  struct State;
  std::shared_ptr<State> state_;
};

class SchemaStore {
 public:
  // The store of CORV_SCHEMASTORE_DB (a new one when that variable changed).
  static std::shared_ptr<SchemaStore> GetStore();
  // The process-wide cache.
  static std::shared_ptr<SchemaObjectCache> GetCache();

  // Null when the store holds no schema for the key.
  std::shared_ptr<SchemaObject> GetSchema(const std::string& component, const std::string& group,
                                          const std::string& key);
};

// Builds into schema one schema for a whole document nested component,
// group, key: closed objects ("additionalProperties": false) for the root
// and for each component and group of value that the store knows, each known
// key's schema in place (a key with instances keeps its array schema). A
// name the store does not know is left out, so the validator reports it as a
// member that is not allowed, at the pointer naming it. A null cache means
// the process-wide one. scratch is working space the caller may share
// between calls; this implementation needs none and leaves it untouched.
void GenerateSchemaDocument(const CorvConfigStore::JsonValue& value,
                            const std::shared_ptr<SchemaObjectCache>& cache,
                            CorvConfigStore::JsonDocument& schema,
                            CorvConfigStore::JsonDocument& scratch);

// Gives every instance that uses generated ids and lacks "cs_generated_id"
// a fresh id (GenerateInstanceId), walking value together with schema: a key
// schema, a node of one, or a schema from GenerateSchemaDocument. An object
// given to a list schema is one instance of the list.
void PopulateGeneratedInstanceId(const CorvConfigStore::JsonValue& schema,
                                 CorvConfigStore::JsonValue& value,
                                 CorvConfigStore::JsonAllocator& allocator);

// True when some list below schema (reached through "properties" and
// "items") has instances with generated ids: only then can
// PopulateGeneratedInstanceId change a value.
bool UsesGeneratedIds(const CorvConfigStore::JsonValue& schema);

// True when a member named "vital" or "cached" appears anywhere in schema,
// at any depth: a superset of the layer tags of its nodes, so false means
// that no node tags a layer.
bool MayTagLayers(const CorvConfigStore::JsonValue& schema);

}  // namespace CorvSchemaStore

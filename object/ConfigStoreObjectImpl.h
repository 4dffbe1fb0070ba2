// ConfigStoreObjectImpl: a configuration object with its row metadata, the
// schema-derived instance-id map and defaults, and its sub-objects.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ObjectId.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Json.h"
#include "core/JsonDoc.h"
#include "object/StoreObjectImpl.h"

namespace CorvSchemaStore {
class SchemaObject;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

// The instance-id map is a JSON object naming every list-valued member (and
// the object's own key when it has instances) with the property that
// identifies one instance in that list. A member named there is
// non-singleton; any other member is a singleton.
class ConfigStoreObjectImpl : public StoreObjectImpl {
 public:
  // A new, empty top-level object whose map, defaults and version come from
  // the key's schema in the schema store.
  explicit ConfigStoreObjectImpl(const ConfigStoreObjectId& id);
  // Shares data (a null data gets a new empty object). With deriveFromSchema
  // the map, defaults and version come from schema, or from the schema store
  // when schema is null (ConfigStoreException 1037 when it has none);
  // otherwise idMap is shared and the defaults are those found under the
  // id's key in the given defaults. Finally the id's instance id is written
  // into the instance-id property when the map names one for the key.
  ConfigStoreObjectImpl(const ConfigStoreObjectId& id, const ConfigStoreObjectId& rootId,
                        std::optional<unsigned long> index, const std::shared_ptr<JsonDoc>& data,
                        const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
                        std::string_view version, std::string_view creationTime,
                        std::string_view modifiedTime, int revision, bool deriveFromSchema,
                        const std::shared_ptr<JsonDoc>& idMap,
                        const std::shared_ptr<JsonDoc>& defaults);
  ~ConfigStoreObjectImpl() override;

  // The object's own value, else a non-null value of the defaults
  // (fromDefault true). Writes never touch the defaults.
  const JsonValue* GetValuePtrDefault(const char* key, bool& fromDefault) const override;

  std::string_view GetVersion() const { return Stamp(0, creationAt_); }
  std::string_view GetCreationTime() const { return Stamp(creationAt_, modifiedAt_); }
  std::string_view GetModifiedTime() const { return Stamp(modifiedAt_, stampsEnd_); }
  int GetRevision() const { return revision_; }
  const ConfigStoreObjectId& GetRootId() const {
    return rootId_ ? *rootId_ : GetConfigStoreObjectId();
  }
  std::optional<unsigned long> GetIndex() const { return index_; }
  bool IsDerivedFromSchema() const { return deriveFromSchema_; }
  // May be null.
  const std::shared_ptr<JsonDoc>& GetIdMap() const { return idMap_; }
  // May be null.
  const std::shared_ptr<JsonDoc>& GetDefaults() const { return defaults_; }

  // The JSON as text without "cs_generated_id" members: what callers see.
  std::string GetData() const;
  // The JSON as text as it is: what is written to the database.
  std::string GetSerializedData() const;
  // The instance-id map as text, "{}" when there is none.
  std::string GetIdMapStr() const;
  void SetInstanceIdFromCsoId();
  // Replaces the member with a deep copy of value (a JsonValue) at the end
  // of the object, unless it already holds an equal value.
  void SetValueEx(const char* key, const void* value);
  // Sets each member of layer, a JSON object allocated from this object's
  // document (see ParseJsonOn), as SetValueEx would set a copy of it, but
  // moves its names and values in. This object's value must be an object.
  void MoveMembersIn(JsonValue& layer);
  // RFC 6901 pointer /component/group/key[/index]{/member[/position]}[/property].
  std::string GetPath(const char* property) const;

  std::shared_ptr<ConfigStoreObject> CreateSubObject(const SubObjectId& subId);
  std::shared_ptr<ConfigStoreObject> GetSubObject(const SubObjectId& subId) const;
  std::vector<std::shared_ptr<ConfigStoreObject>> GetSubObjectInstances(
      const std::shared_ptr<FilterSpecObject>& filter) const;
  void DeleteSubObject(const SubObjectId& subId);
  void DeleteSubObjectInstances(const std::shared_ptr<FilterSpecObject>& filter);
  // A sub-object on this object's document: one more path step naming
  // subId.key and, when idProp is not empty, the instance whose idProp is
  // instanceId. It shares this object's map and metadata and finds its
  // defaults under its key in this object's defaults.
  std::shared_ptr<ConfigStoreObjectImpl> MakeSubObjectPtr(const SubObjectId& subId,
                                                          const std::string& instanceId,
                                                          const std::string& idProp,
                                                          std::optional<unsigned long> index) const;

 private:
  // True, with the instance-id property in *idProp, when the map lists key:
  // the member is a list of instances.
  bool FindIdProperty(const std::string& key, std::string* idProp) const;
  std::string_view Stamp(size_t begin, size_t end) const {
    return std::string_view((heapStamps_ ? heapStamps_.get() : inlineStamps_) + begin,
                            end - begin);
  }

  // Set only for a sub-object: a top-level object is its own root, and
  // objects are many, so they do not carry a second copy of their id.
  std::unique_ptr<const ConfigStoreObjectId> rootId_;
  std::shared_ptr<JsonDoc> idMap_;
  std::shared_ptr<JsonDoc> defaults_;
  // The version, creation time and modification time, one after the other
  // in one text that starts the creation time at creationAt_, the
  // modification time at modifiedAt_ and ends at stampsEnd_. Objects read
  // from the store are many: the text is kept in the object itself when it
  // fits, as a short version and two "YYYY-MM-DD HH:MM:SS" times do, and
  // only a longer one takes an allocation of its own.
  static constexpr size_t kInlineStamps = 44;
  std::unique_ptr<char[]> heapStamps_;
  uint32_t creationAt_;
  uint32_t modifiedAt_;
  uint32_t stampsEnd_;
  int revision_;
  bool deriveFromSchema_;
  char inlineStamps_[kInlineStamps];
  std::optional<unsigned long> index_;
};

// Position of the first element of list whose idProp string equals
// instanceId byte for byte, -1 when none. Elements that are not objects or
// lack a string idProp raise code 1082.
long FindInstance(const JsonValue& list, const std::string& idProp, const std::string& instanceId);

}  // namespace CorvConfigStore

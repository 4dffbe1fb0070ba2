// CleanupObject: walks an object's JSON together with its schema and erases
// what carries no value.
#include "object/CleanupObject.h"

#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "core/Checks.h"
#include "core/Throw.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/JsonDoc.h"
#include "schema/SchemaNodes.h"
#include "schema/SchemaStore.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

namespace {

using CorvSchemaStore::ObjectItems;
using CorvSchemaStore::TypeOf;

// A schema node (always an object here) is user configuration unless one of
// the flags "solutionUser", "vital" and "cached" is true. One pass over the
// node finds the first member of each name, as a look-up by name would;
// they are then read in that order, so that a flag that is present but not a
// boolean raises code 1082 exactly when reading them one by one would.
bool IsUserConfig(const JsonValue& node) {
  static constexpr std::array<std::string_view, 3> kFlags = {"solutionUser", "vital", "cached"};
  for (const JsonValue* flag : CorvSchemaStore::FirstMembersNamed(node, kFlags))
    if (flag != nullptr && flag->GetBool()) return false;
  return true;
}

// The schema of a member: its entry in properties, a node's "properties"
// (null when the node has none); null when it has no entry.
const JsonValue* PropertySchema(const JsonValue* properties, const JsonValue& name) {
  if (properties == nullptr) return nullptr;
  auto property = properties->FindMember(name);
  return property == properties->MemberEnd() ? nullptr : &property->value;
}

void CleanObject(JsonValue& value, const JsonValue& schema);

// Cleans every instance and erases the ones left without members. True when
// the list is then empty.
bool CleanList(JsonValue& list, const JsonValue& items, const char* name) {
  for (auto element = list.Begin(); element != list.End();) {
    if (!element->IsObject()) {
      ++element;
      continue;
    }
    CleanObject(*element, items);
    if (element->ObjectEmpty()) {
      CSLogger::Log(2, "Erasing empty instance of array prop %s", name);
      element = list.Erase(element);
    } else {
      ++element;
    }
  }
  return list.Empty();
}

void CleanObject(JsonValue& value, const JsonValue& schema) {
  const JsonValue* properties = CorvSchemaStore::FindProperties(schema);
  for (auto member = value.MemberBegin(); member != value.MemberEnd();) {
    // Only objects and lists can be empty: a plain value needs no look-up.
    if (!member->value.IsObject() && !member->value.IsArray()) {
      ++member;
      continue;
    }
    // A member the schema does not describe is left for validation to judge.
    // The type is read once: it tells the two kinds of value cleaned apart.
    const JsonValue* property = PropertySchema(properties, member->name);
    const std::string_view type = property != nullptr ? TypeOf(*property) : std::string_view();
    const char* name = member->name.GetString();
    bool erase = false;
    if (type == "object") {
      if (member->value.IsObject() && IsUserConfig(*property)) {
        CleanObject(member->value, *property);
        if (member->value.ObjectEmpty()) {
          CSLogger::Log(2, "Erasing empty object prop %s", name);
          erase = true;
        }
      }
    } else if (type == "array") {
      // A list of instances: both the list and its instances must be user
      // configuration.
      const JsonValue* items = ObjectItems(*property);
      if (items != nullptr && member->value.IsArray() && IsUserConfig(*property) &&
          IsUserConfig(*items) && CleanList(member->value, *items, name)) {
        CSLogger::Log(2, "Erasing empty array prop %s", name);
        erase = true;
      }
    }
    member = erase ? value.EraseMember(member) : member + 1;
  }
  if (IsUserConfig(schema) && value.MemberCount() == 1 &&
      std::strcmp(value.MemberBegin()->name.GetString(), kGeneratedIdProperty) == 0) {
    CSLogger::Log(2,
                  "Erasing cs_generated_id since it is the only remaining property in the "
                  "object");
    value.EraseMember(value.MemberBegin());
  }
}

// Kinds 1, 3 and 4 are never user configuration; kind 5 is not for the
// instances the schema names as the host's own.
bool IsUserObject(const ConfigStoreObjectId& id, const CorvSchemaStore::SchemaObject& schema) {
  switch (schema.GetKind()) {
    case CorvSchemaStore::kKindVital:
    case CorvSchemaStore::kKindCached:
    case CorvSchemaStore::kKindInternal:
      return false;
    case CorvSchemaStore::kKindSystemInstances: {
      const std::vector<std::string>& system = schema.GetSystemInstances();
      return std::find(system.begin(), system.end(), id.instanceId) == system.end();
    }
    default:
      return true;
  }
}

}  // namespace

void CleanupObject(const std::shared_ptr<ConfigStoreObject>& object,
                   const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema) {
  if (IsNull(object, "CleanupObject")) return;
  const ConfigStoreObjectId& id = IdOf(object);
  if (!schema) ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
  if (!IsUserObject(id, *schema)) {
    if (CSLogger::IsEnabled(2))
      CSLogger::Log(2, "Skipping empty object check since non-user config: %s",
                    id.toString().c_str());
    return;
  }
  if (CSLogger::IsEnabled(2))
    CSLogger::Log(2, "Checking for empty objects and arrays in %s object", id.toString().c_str());
  CleanObject(*ImplOf(object).GetJsonValuePtr(), schema->GetValueSchema());
}

}  // namespace CorvConfigStore

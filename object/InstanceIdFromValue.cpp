// Reading the instance id an instance value carries.
#include "object/InstanceIdFromValue.h"

#include "core/Throw.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

std::string GetInstanceIdFromValue(const JsonValue& value,
                                   const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema) {
  if (!schema) return std::string();
  const std::string& property = schema->GetInstanceIdProperty();
  if (property.empty()) return std::string();
  if (value.IsObject()) {
    auto member = value.FindMember(property.c_str());
    if (member != value.MemberEnd() && member->value.IsString())
      return std::string(member->value.GetString(), member->value.GetStringLength());
  }
  ThrowException<ConfigStoreException>(CS_ERR_INSTANCE_ID_MISSING, property.c_str());
}

}  // namespace CorvConfigStore

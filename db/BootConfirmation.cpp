// Confirmation after a boot of the values that were pending for it: all of
// an object's pending DesiredValue, or only the part of it the boot applied.
#include "core/Checks.h"
#include "core/Throw.h"
#include "db/NextBootRows.h"
#include "db/Statements.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/MergeObject.h"
#include "core/ConfigStoreDocument.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

// True when every member of part is in whole with an equal value: objects
// compare member by member, lists of instances (members named in listMembers)
// instance by instance by their id property, anything else by JSON equality.
bool Contains(const JsonValue& whole, const JsonValue& part, const JsonValue* listMembers) {
  if (!part.IsObject() || !whole.IsObject()) return whole == part;
  for (const auto& member : part.GetObject()) {
    auto held = whole.FindMember(member.name);
    if (held == whole.MemberEnd()) return false;
    std::string name(member.name.GetString(), member.name.GetStringLength());
    bool instances = member.value.IsArray() && held->value.IsArray() && listMembers != nullptr &&
                     ConfigStoreDocument::ValueExists(*listMembers, name.c_str()) &&
                     (*listMembers)[member.name].IsString();
    if (!instances) {
      if (!Contains(held->value, member.value, listMembers)) return false;
      continue;
    }
    const std::string idProp = (*listMembers)[member.name].GetString();
    for (const JsonValue& instance : member.value.GetArray()) {
      if (!instance.IsObject() || !ConfigStoreDocument::ValueExists(instance, idProp.c_str()))
        return false;
      long position = FindInstance(held->value, idProp, instance[idProp.c_str()].GetString());
      if (position < 0 ||
          !Contains(held->value[static_cast<rapidjson::SizeType>(position)], instance, listMembers))
        return false;
    }
  }
  return true;
}

const JsonValue& ValueOf(const ObjectPtr& object) { return *ImplOf(object).GetJsonValuePtr(); }

void Execute(const char* text, const DBStore::SqlParams& params, const Connection& conn,
             const std::string& message) {
  ExecuteWrite(conn, DBStore::SqlStatement(text), params, message);
}

}  // namespace

void SetBootStatusInternal(const ConfigStoreObjectId& id, bool success, const Connection& conn) {
  if (!success) return;
  const char* failed = "SetBootStatus: Failed to mark success status for given csoId.";
  if (id.instanceId.empty())
    Execute(Sql::kConfirmDesired, KeyParams(id), conn, failed);
  else
    Execute(Sql::kConfirmDesiredInstance, InstanceParams(id), conn, failed);
}

void SetPartialBootStatusInternal(const ObjectPtr& partial, const SchemaPtr& schema,
                                  const Connection& conn) {
  if (IsNull(partial, "SetPartialBootStatusInternal")) return;
  const ConfigStoreObjectId id = partial->GetConfigStoreObjectId();

  ConfigRow confirmedRow =
      ReadObjectRow(conn, DBStore::SqlStatement(Sql::kReadConfirmedUserValue), id);
  ObjectPtr user = MakeLayerObject(id, schema, confirmedRow, Layer::kUser);
  if (!user) {
    // The row's user value is still unconfirmed: keep it as the value wanted.
    Execute(Sql::kCopyUserToDesired, InstanceParams(id), conn,
            "Failed to copy user config to desired config for: " + id.toString());
    return;
  }

  ConfigRow desiredRow = ReadObjectRow(conn, DBStore::SqlStatement(Sql::kReadDesiredValue), id);
  ObjectPtr desired = MakeLayerObject(id, schema, desiredRow, Layer::kDesired);
  if (!desired) ThrowGeneral("desired config is empty");

  std::shared_ptr<JsonDoc> listMembers = ImplOf(partial).GetIdMap();
  if (!Contains(ValueOf(desired), ValueOf(partial),
                listMembers ? listMembers->GetJsonValuePtr() : nullptr))
    ThrowGeneral("partial config being restored is not part of desired config");

  UpdateConfigInternal(partial, user, listMembers);
  DBStore::SqlParams params = InstanceParams(id);
  params.push_back(DBStore::SqlParam::Text(ImplOf(user).GetSerializedData()));
  Execute(Sql::kConfirmPartialValue, params, conn,
          "Database call to update configuration failed for: " + id.toString());

  if (ValueOf(user) == ValueOf(desired))
    Execute(Sql::kClearDesiredValue, InstanceParams(id), conn,
            "DeleteDesiredValue: Failed to delete DesiredValue for given csoId.");
}

}  // namespace CorvConfigStore

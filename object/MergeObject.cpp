// UpdateConfigInternal: adds and overrides member by member, never removes.
#include "object/MergeObject.h"

#include <corvconfigstore/FilterSpecObject.h>

#include "core/Checks.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/ConfigStoreDocument.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

namespace {

void Merge(const ConfigStoreObject& update, ConfigStoreObject& target,
           const JsonValue* listMembers);

// Merges update into the target's sub-object subId, created when missing.
void MergeSubObject(const ConfigStoreObject& update, ConfigStoreObject& target,
                    const SubObjectId& subId, const JsonValue* listMembers) {
  std::shared_ptr<ConfigStoreObject> targetSub = target.GetSubObject(subId);
  if (!targetSub) targetSub = target.CreateSubObject(subId);
  Merge(update, *targetSub, listMembers);
}

void Merge(const ConfigStoreObject& update, ConfigStoreObject& target,
           const JsonValue* listMembers) {
  const ConfigStoreObjectId& id = IdOf(update);
  const JsonValue& value = *ImplOf(update).GetJsonValuePtr();
  for (const auto& member : value.GetObject()) {
    std::string name(member.name.GetString(), member.name.GetStringLength());
    if (member.value.IsArray() && listMembers != nullptr &&
        ConfigStoreDocument::ValueExists(*listMembers, name.c_str())) {
      auto filter =
          std::make_shared<FilterSpecObject>(ConfigStoreObjectId(name, id.group, id.component));
      for (const auto& instance : update.GetSubObjectInstances(filter)) {
        SubObjectId subId(name, IdOf(instance).instanceId);
        MergeSubObject(*instance, target, subId, listMembers);
      }
    } else if (member.value.IsObject()) {
      SubObjectId subId(name);
      MergeSubObject(*update.GetSubObject(subId), target, subId, listMembers);
    } else {
      ImplOf(target).SetValueEx(name.c_str(), &member.value);
    }
  }
}

// A copy of object on a document of its own, for merging an object into
// another that shares its document: the target's changes could otherwise
// move the very members being read.
std::shared_ptr<ConfigStoreObject> Detach(const ConfigStoreObject& object) {
  const ConfigStoreObjectImpl& impl = ImplOf(object);
  std::shared_ptr<JsonDoc> copy = CreateDocument();
  copy->GetJsonValuePtr()->CopyFrom(*impl.GetJsonValuePtr(), copy->GetAllocator());
  return std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      impl.GetConfigStoreObjectId(), impl.GetRootId(), impl.GetIndex(), copy, nullptr,
      impl.GetVersion(), impl.GetCreationTime(), impl.GetModifiedTime(), impl.GetRevision(),
      false, impl.GetIdMap(), nullptr));
}

bool ShareDocument(const ConfigStoreObject& a, const ConfigStoreObject& b) {
  return ImplOf(a).GetDoc()->GetDocument() == ImplOf(b).GetDoc()->GetDocument();
}

}  // namespace

void UpdateConfigInternal(const std::shared_ptr<ConfigStoreObject>& update,
                          const std::shared_ptr<ConfigStoreObject>& target,
                          const std::shared_ptr<JsonDoc>& listMembers) {
  if (IsNull(update, "UpdateConfigInternal") || IsNull(target, "UpdateConfigInternal")) return;
  const JsonValue* names = listMembers ? listMembers->GetJsonValuePtr() : nullptr;
  if (ShareDocument(*update, *target)) {
    Merge(*Detach(*update), *target, names);
  } else {
    Merge(*update, *target, names);
  }
}

}  // namespace CorvConfigStore

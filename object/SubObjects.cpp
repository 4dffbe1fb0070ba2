// Sub-objects of a configuration object: creation, look-up, the instances of
// a list member and removal. A sub-object works on its parent's document
// through one more path step, resolved anew at every access.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>

#include "core/Throw.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/ConfigStoreDocument.h"

namespace CorvConfigStore {

namespace {

void TraceSubObject(const char* operation, const SubObjectId& subId) {
  if (CSLogger::IsEnabled(4)) CSLogger::Log(4, "%s : %s", operation, subId.toString().c_str());
}

void LogMissingKey(int priority, const char* operation, const std::string& key) {
  CSLogger::Log(priority, "%s: Could not find key: %s", operation, key.c_str());
}

std::string Text(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

}  // namespace

long FindInstance(const JsonValue& list, const std::string& idProp, const std::string& instanceId) {
  long position = 0;
  for (const JsonValue& element : list.GetArray()) {
    if (Text(element[idProp.c_str()]) == instanceId) return position;
    ++position;
  }
  return -1;
}

std::shared_ptr<ConfigStoreObjectImpl> ConfigStoreObjectImpl::MakeSubObjectPtr(
    const SubObjectId& subId, const std::string& instanceId, const std::string& idProp,
    std::optional<unsigned long> index) const {
  ConfigStoreObjectId subObjectId(subId.key, id_.group, id_.component, instanceId);
  JsonNode step;
  step.name = subId.key;
  if (!idProp.empty()) {
    step.idKey = idProp;
    step.idValue = instanceId;
  }
  step.index = index;
  return std::make_shared<ConfigStoreObjectImpl>(
      subObjectId, GetRootId(), index_, doc_->Extend(std::move(step)), nullptr, GetVersion(),
      GetCreationTime(), GetModifiedTime(), revision_, false, idMap_, defaults_);
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObjectImpl::CreateSubObject(
    const SubObjectId& subId) {
  TraceSubObject("CreateSubObject", subId);
  JsonValue* object = GetJsonValuePtr();
  JsonAllocator& allocator = doc_->GetAllocator();
  const char* key = subId.key.c_str();
  bool exists = ConfigStoreDocument::ValueExists(*object, key);
  std::string idProp;
  if (!FindIdProperty(subId.key, &idProp)) {
    if (exists) ThrowGeneral("Object already exists.");
    object->AddMember(JsonValue(key, allocator), JsonValue(rapidjson::kObjectType), allocator);
    return std::make_shared<ConfigStoreObject>(MakeSubObjectPtr(subId, subId.id, "", std::nullopt));
  }
  if (subId.id.empty()) ThrowGeneral("Non-Singleton object should contain instanceId");
  if (exists && FindInstance((*object)[key], idProp, subId.id) >= 0) {
    ThrowGeneral("Object already exists.");
  }
  if (!exists) {
    object->AddMember(JsonValue(key, allocator), JsonValue(rapidjson::kArrayType), allocator);
  }
  JsonValue instance(rapidjson::kObjectType);
  instance.AddMember(JsonValue(idProp.c_str(), allocator), JsonValue(subId.id.c_str(), allocator),
                     allocator);
  (*object)[key].PushBack(instance, allocator);
  // A new instance carries no array position, so its path has no index
  // token for this step until it is looked up again.
  return std::make_shared<ConfigStoreObject>(
      MakeSubObjectPtr(subId, subId.id, idProp, std::nullopt));
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObjectImpl::GetSubObject(
    const SubObjectId& subId) const {
  TraceSubObject("GetSubObject", subId);
  const JsonValue* object = GetJsonValuePtr();
  const char* key = subId.key.c_str();
  if (!ConfigStoreDocument::ValueExists(*object, key)) {
    LogMissingKey(4, "GetSubObject", subId.key);
    return nullptr;
  }
  const JsonValue& member = (*object)[key];
  std::string idProp;
  if (FindIdProperty(subId.key, &idProp)) {
    if (subId.id.empty()) {
      ThrowGeneral("Non-Singleton object should contain instanceId: " + subId.toString());
    }
    long position = FindInstance(member, idProp, subId.id);
    if (position < 0) return nullptr;
    return std::make_shared<ConfigStoreObject>(
        MakeSubObjectPtr(subId, subId.id, idProp, static_cast<unsigned long>(position)));
  }
  if (!member.IsObject()) {
    std::string message = "Not a singleton SubObject: " + subId.toString();
    throw InvalidArgumentException(CS_ERR_GENERAL, message.c_str());
  }
  if (!subId.id.empty()) {
    ThrowGeneral("Singleton object should not contain instanceId: " + subId.toString());
  }
  return std::make_shared<ConfigStoreObject>(MakeSubObjectPtr(subId, subId.id, "", std::nullopt));
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreObjectImpl::GetSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) const {
  std::vector<std::shared_ptr<ConfigStoreObject>> instances;
  if (!filter) {
    CSLogger::Log(0, "%s called with no filter spec object", "GetSubObjectInstances");
    return instances;
  }
  ConfigStoreObjectId filterId = filter->GetConfigStoreObjectId();
  TraceSubObject("GetSubObjectInstances", SubObjectId(filterId.key, filterId.instanceId));
  std::string idProp;
  if (!FindIdProperty(filterId.key, &idProp)) {
    // The message keeps its two blanks before the key.
    std::string message = "Not a non-singleton object:  " + filterId.key;
    throw InvalidArgumentException(CS_ERR_NOT_NON_SINGLETON, message.c_str());
  }
  const JsonValue* object = GetJsonValuePtr();
  if (!ConfigStoreDocument::ValueExists(*object, filterId.key.c_str())) {
    LogMissingKey(4, "GetSubObjectInstances", filterId.key);
    return instances;
  }
  unsigned long position = 0;
  for (const JsonValue& element : (*object)[filterId.key.c_str()].GetArray()) {
    std::string instanceId = Text(element[idProp.c_str()]);
    if (filterId.instanceId.empty() || instanceId == filterId.instanceId) {
      instances.push_back(std::make_shared<ConfigStoreObject>(
          MakeSubObjectPtr(SubObjectId(filterId.key, instanceId), instanceId, idProp, position)));
    }
    ++position;
  }
  return instances;
}

void ConfigStoreObjectImpl::DeleteSubObject(const SubObjectId& subId) {
  TraceSubObject("DeleteSubObject", subId);
  JsonValue* object = GetJsonValuePtr();
  const char* key = subId.key.c_str();
  if (!ConfigStoreDocument::ValueExists(*object, key)) {
    LogMissingKey(1, "DeleteSubObject", subId.key);
    return;
  }
  std::string idProp;
  if (!FindIdProperty(subId.key, &idProp)) {
    Remove(key);
    return;
  }
  JsonValue& list = (*object)[key];
  long position = FindInstance(list, idProp, subId.id);
  if (position >= 0) list.Erase(list.Begin() + position);
}

void ConfigStoreObjectImpl::DeleteSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (!filter) {
    CSLogger::Log(0, "%s called with no filter spec object", "DeleteSubObjectInstances");
    return;
  }
  for (const auto& instance : GetSubObjectInstances(filter)) {
    ConfigStoreObjectId id = instance->GetConfigStoreObjectId();
    DeleteSubObject(SubObjectId(id.key, id.instanceId));
  }
}

}  // namespace CorvConfigStore

// Drift descriptions: the drifted properties of an object and the drift of
// its sub-objects, each sub-object's drift copied into a document of its own.
#include "object/DriftObjectImpl.h"

#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>

#include "core/Throw.h"
#include "core/ConfigStoreDocument.h"

namespace CorvConfigStore {

namespace {

// The operation of any drifted member that names none.
const char* const kSetOperation = "SET";

std::shared_ptr<JsonDoc> EmptyDescription() {
  std::shared_ptr<JsonDoc> doc = CreateDocument();
  doc->GetJsonValuePtr()->SetObject();
  return doc;
}

std::string Text(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

}  // namespace

DriftObjectImpl::DriftObjectImpl(const ConfigStoreObjectId& id, const std::string& operation,
                                 const std::shared_ptr<JsonDoc>& drift)
    : id_(id), operation_(operation), drift_(drift ? drift : EmptyDescription()) {}

DriftObjectImpl::DriftObjectImpl(const ConfigStoreObjectId& id, const std::string& operation,
                                 const std::string& drift)
    : DriftObjectImpl(id, operation,
                      drift.empty() ? EmptyDescription() : CreateDocumentFromString(drift)) {}

DriftObjectImpl::~DriftObjectImpl() = default;

ConfigStoreObjectId DriftObjectImpl::GetConfigStoreObjectId() const { return id_; }

std::string DriftObjectImpl::GetOperation() const { return operation_; }

std::vector<std::pair<std::string, std::string>> DriftObjectImpl::Get() const {
  std::vector<std::pair<std::string, std::string>> drifted;
  for (const auto& member : drift_->GetJsonValuePtr()->GetObject()) {
    drifted.emplace_back(Text(member.name),
                         member.value.IsString() ? Text(member.value) : kSetOperation);
  }
  return drifted;
}

const JsonValue* DriftObjectImpl::FindDrifted(const std::string& key) const {
  const JsonValue* description = drift_->GetJsonValuePtr();
  if (!ConfigStoreDocument::ValueExists(*description, key.c_str())) {
    CSLogger::Log(0, "property %s is not in drift", key.c_str());
    return nullptr;
  }
  return &(*description)[key.c_str()];
}

std::shared_ptr<DriftObject> DriftObjectImpl::MakeSubObject(const std::string& key,
                                                            const std::string& instanceId,
                                                            const JsonValue& entry) const {
  std::string operation = kSetOperation;
  auto driftOp = entry.FindMember("DRIFTOP");
  if (driftOp != entry.MemberEnd()) operation = Text(driftOp->value);
  std::shared_ptr<JsonDoc> drift = CreateDocument();
  drift->GetJsonValuePtr()->CopyFrom(entry["DRIFTOBJ"], drift->GetAllocator());
  return std::make_shared<DriftObjectImpl>(
      ConfigStoreObjectId(key, id_.group, id_.component, instanceId), operation, drift);
}

std::shared_ptr<DriftObject> DriftObjectImpl::GetSubObject(const SubObjectId& subId) const {
  const JsonValue* member = FindDrifted(subId.key);
  if (member == nullptr) return nullptr;
  if (subId.id.empty()) {
    if (member->IsArray()) {
      ThrowException<InvalidArgumentException>(CS_ERR_NOT_SINGLETON, subId.key.c_str());
    }
    return MakeSubObject(subId.key, subId.id, *member);
  }
  if (!member->IsArray()) {
    ThrowException<InvalidArgumentException>(CS_ERR_NOT_A_LIST, subId.key.c_str());
  }
  for (const JsonValue& entry : member->GetArray()) {
    if (Text(entry["INSTANCEID"]) == subId.id) return MakeSubObject(subId.key, subId.id, entry);
  }
  CSLogger::Log(0, "subobject %s is not in drift", subId.toString().c_str());
  return nullptr;
}

std::vector<std::shared_ptr<DriftObject>> DriftObjectImpl::GetSubObjectInstances(
    const SubObjectId& subId) const {
  std::vector<std::shared_ptr<DriftObject>> instances;
  const JsonValue* member = FindDrifted(subId.key);
  if (member == nullptr) return instances;
  if (!member->IsArray()) {
    ThrowException<InvalidArgumentException>(CS_ERR_NOT_A_LIST, subId.key.c_str());
  }
  for (const JsonValue& entry : member->GetArray()) {
    instances.push_back(MakeSubObject(subId.key, Text(entry["INSTANCEID"]), entry));
  }
  return instances;
}

std::string DriftObjectImpl::GetData() const {
  return ConfigStoreDocument::SerializeValue(*drift_->GetJsonValuePtr());
}

}  // namespace CorvConfigStore

// The steps carried out through the library's public operations, and its
// reads as the campaign's values.
#include "Library.h"

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/UpgradeContext.h>

#include <algorithm>
#include <stdexcept>

#include "Keys.h"

namespace ModelCampaign {

namespace {

using CorvConfigStore::ConfigStoreObject;
using CorvConfigStore::ConfigStoreObjectId;
using CorvConfigStore::FilterSpecObject;
using ObjectPtr = std::shared_ptr<ConfigStoreObject>;

ConfigStoreObjectId Id(int key, const std::string& instance) {
  const KeySpec& spec = Keys()[key];
  return ConfigStoreObjectId(spec.name, spec.group, spec.component, instance);
}

ObjectPtr Object(int key, const std::string& instance, const Value& value) {
  auto object = std::make_shared<ConfigStoreObject>(Id(key, instance));
  object->SetData(value.Text().c_str());
  return object;
}

std::vector<ObjectPtr> Objects(const Step& step) {
  std::vector<ObjectPtr> objects;
  for (const auto& entry : step.list) objects.push_back(Object(step.key, entry.first, entry.second));
  return objects;
}

std::shared_ptr<FilterSpecObject> Filter(int key, const std::string& instance,
                                         const Value& criteria) {
  auto filter = std::make_shared<FilterSpecObject>(Id(key, instance));
  if (!criteria.members.empty()) filter->SetData(criteria.Text().c_str());
  return filter;
}

Layer Read(const ObjectPtr& object) {
  if (!object) return std::nullopt;
  std::optional<Value> value = ParseValue(object->GetData());
  if (!value) throw std::runtime_error("not JSON: " + object->GetData());
  return value;
}

std::vector<Value> ReadAll(const std::vector<ObjectPtr>& objects) {
  std::vector<Value> values;
  for (const auto& object : objects) {
    Layer value = Read(object);
    values.push_back(value ? *value : Value::String("<null object>"));
  }
  std::sort(values.begin(), values.end(),
            [](const Value& a, const Value& b) { return a.Text() < b.Text(); });
  return values;
}

CorvConfigStore::USERDATA_CONTEXT Context(const Step& step) {
  return step.internal ? CorvConfigStore::INTERNAL : CorvConfigStore::EXTERNAL;
}

}  // namespace

Library::Library() {
  CorvConfigStore::SetUpgradeCtx(0);
  if (!environment_.ProvisionStore()) throw std::runtime_error("cannot provision the store");
  if (environment_.LoadSchemas(SchemaFileText()) != static_cast<int>(Keys().size()))
    throw std::runtime_error("cannot load the campaign's schemas");
  store_ = CorvConfigStore::ConfigStore::GetStore("");
  nextBoot_ = store_->GetNextBootStore();
}

Library::~Library() {
  nextBoot_.reset();
  store_.reset();
  CorvConfigStore::SetUpgradeCtx(0);
}

void Library::Carry(const Step& step) {
  const ConfigStoreObjectId id = Id(step.key, step.instance);
  switch (step.op) {
    case Op::kSet:
      store_->Set(Object(step.key, step.instance, step.value), Context(step));
      break;
    case Op::kSetUserData:
      store_->SetUserData(Object(step.key, step.instance, step.value), Context(step));
      break;
    case Op::kSetVitalData:
      store_->SetVitalData(Object(step.key, step.instance, step.value));
      break;
    case Op::kSetCachedData:
      store_->SetCachedData(Object(step.key, step.instance, step.value));
      break;
    case Op::kUpdate:
      store_->Update(Object(step.key, step.instance, step.value), Context(step));
      break;
    case Op::kDelete:
      store_->Delete(id);
      break;
    case Op::kDeleteInstances:
      store_->DeleteInstances(Filter(step.key, step.instance, step.value));
      break;
    case Op::kSetInstances:
      store_->SetInstances(Objects(step), Context(step));
      break;
    case Op::kSetUserDataInstances:
      store_->SetUserDataInstances(Objects(step), Context(step));
      break;
    case Op::kSetVitalDataInstances:
      store_->SetVitalDataInstances(Objects(step));
      break;
    case Op::kSetCachedDataInstances:
      store_->SetCachedDataInstances(Objects(step));
      break;
    case Op::kNextBootSet:
      store_->GetNextBootStore()->Set(Object(step.key, step.instance, step.value));
      break;
    case Op::kNextBootDelete:
      store_->GetNextBootStore()->Delete(id);
      break;
    case Op::kNextBootReset:
      store_->GetNextBootStore()->Reset(id);
      break;
    case Op::kNextBootSetInstances:
      store_->GetNextBootStore()->SetInstances(Objects(step));
      break;
    case Op::kNextBootDeleteInstances:
      store_->GetNextBootStore()->DeleteInstances(Filter(step.key, step.instance, step.value));
      break;
    case Op::kBootStatus:
      CorvConfigStore::SetBootStatus(id, step.flag);
      break;
    case Op::kPartialBootStatus:
      CorvConfigStore::SetPartialBootStatus(Object(step.key, step.instance, step.value));
      break;
    case Op::kUpdateKernelOptions:
      CorvConfigStore::UpdateKernelOptions(Object(step.key, step.instance, step.value));
      break;
    case Op::kBegin:
      if (int status = store_->BeginTransaction())
        throw std::runtime_error("BeginTransaction returned " + std::to_string(status));
      break;
    case Op::kCommit:
      if (int status = store_->CommitTransaction())
        throw std::runtime_error("CommitTransaction returned " + std::to_string(status));
      break;
    case Op::kCancel:
      if (int status = store_->CancelTransaction())
        throw std::runtime_error("CancelTransaction returned " + std::to_string(status));
      break;
    case Op::kSwitchBoot:
      CorvConfigStore::SetKeyValue("IS_BOOT", step.flag ? "true" : "false");
      break;
    case Op::kSwitchUpgrade:
      CorvConfigStore::SetUpgradeCtx(step.number);
      break;
    case Op::kSwitchBootMode:
      CorvConfigStore::SetKeyValue("BOOT_MODE", step.flag ? "1" : "0");
      break;
    case Op::kImportExport:
    case Op::kCount:
      throw std::logic_error("not a single library call");
  }
}

Outcome Library::Apply(const Step& step) {
  try {
    Carry(step);
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    return Outcome{true, e.GetErrorCode(), e.what()};
  } catch (const std::exception& e) {
    return Outcome{true, -1, e.what()};
  }
  return {};
}

std::string Library::Export(int mask) {
  std::vector<std::shared_ptr<FilterSpecObject>> filters;
  for (size_t key = 0; key < Keys().size(); ++key)
    if (mask & (1 << key)) filters.push_back(Filter(static_cast<int>(key), "", Value()));
  return CorvConfigStore::Export(filters);
}

Outcome Library::Import(const std::string& document) {
  try {
    std::vector<CorvConfigStore::ErrorInfo> errors;
    if (CorvConfigStore::Import(document, errors)) return {};
    std::string text = "Import refused:";
    for (const auto& error : errors) text += " " + error.location + ": " + error.message;
    return Outcome{true, -1, text};
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    return Outcome{true, e.GetErrorCode(), e.what()};
  }
}

Layer Library::Get(int key, const std::string& id) { return Read(store_->Get(Id(key, id))); }

int Library::Revision(int key, const std::string& id) { return store_->GetRevision(Id(key, id)); }

std::vector<Value> Library::Instances(int key, const Value& criteria) {
  return ReadAll(store_->GetInstances(Filter(key, "", criteria)));
}

std::vector<std::string> Library::InstanceIds(int key) {
  std::vector<std::string> ids = store_->GetInstanceIds(Id(key, ""));
  std::sort(ids.begin(), ids.end());
  return ids;
}

std::vector<std::pair<std::string, int>> Library::InstanceRevisions(int key) {
  std::vector<std::pair<std::string, int>> revisions;
  for (const auto& info : store_->GetInstancesRevision(Id(key, "")))
    revisions.emplace_back(info.instanceId, info.revision);
  std::sort(revisions.begin(), revisions.end());
  return revisions;
}

Layer Library::NextBootGet(int key, const std::string& id) {
  return Read(nextBoot_->Get(Id(key, id)));
}

std::vector<Value> Library::NextBootInstances(int key) {
  return ReadAll(nextBoot_->GetInstances(Filter(key, "", Value())));
}

Layer Library::Desired(int key, const std::string& id, bool withLayers) {
  return Read(CorvConfigStore::GetDesiredUserConfig(
      Id(key, id),
      withLayers ? CorvConfigStore::FLAG_WITH_VITAL_CACHED : CorvConfigStore::FLAG_USER_ONLY));
}

std::vector<Value> Library::DesiredInstances(int key, bool withLayers) {
  return ReadAll(CorvConfigStore::GetDesiredUserConfigInstances(
      Id(key, ""),
      withLayers ? CorvConfigStore::FLAG_WITH_VITAL_CACHED : CorvConfigStore::FLAG_USER_ONLY));
}

Layer Library::KernelOptions() {
  return Read(CorvConfigStore::GetKernelOptions(Id(kKernelOptions, "")));
}

std::string Library::BootMode() { return CorvConfigStore::GetKeyValue("BOOT_MODE"); }

}  // namespace ModelCampaign

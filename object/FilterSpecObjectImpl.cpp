// Filters and their sub-object filters.
#include "object/FilterSpecObjectImpl.h"

#include <corvconfigstore/Logger.h>

#include "core/Throw.h"

namespace CorvConfigStore {

namespace {

void TraceSubObjectFilter(const char* operation, const SubObjectId& subId) {
  if (CSLogger::IsEnabled(4)) CSLogger::Log(4, "%s : %s", operation, subId.toString().c_str());
}

}  // namespace

FilterSpecObjectImpl::FilterSpecObjectImpl(const ConfigStoreObjectId& id) : StoreObjectImpl(id) {}

FilterSpecObjectImpl::FilterSpecObjectImpl(const std::string& key, const std::string& group,
                                           const std::string& component,
                                           const std::shared_ptr<JsonDoc>& doc)
    : StoreObjectImpl(ConfigStoreObjectId(key, group, component), doc) {}

FilterSpecObjectImpl::~FilterSpecObjectImpl() = default;

std::shared_ptr<FilterSpecObject> FilterSpecObjectImpl::MakeSubObjectFilter(
    const SubObjectId& subId) const {
  JsonNode step;
  step.name = subId.key;
  return std::make_shared<FilterSpecObject>(std::make_shared<FilterSpecObjectImpl>(
      subId.key, id_.group, id_.component, doc_->Extend(std::move(step))));
}

std::shared_ptr<FilterSpecObject> FilterSpecObjectImpl::CreateSubObjectFilter(
    const SubObjectId& subId) {
  TraceSubObjectFilter("CreateSubObjectFilter", subId);
  if (CheckKey(subId.key.c_str())) ThrowGeneral("SubObject filter already exists.");
  JsonAllocator& allocator = doc_->GetAllocator();
  GetJsonValuePtr()->AddMember(JsonValue(subId.key.c_str(), allocator),
                               JsonValue(rapidjson::kObjectType), allocator);
  return MakeSubObjectFilter(subId);
}

std::shared_ptr<FilterSpecObject> FilterSpecObjectImpl::GetSubObjectFilter(
    const SubObjectId& subId) const {
  TraceSubObjectFilter("GetSubObjectFilter", subId);
  if (!CheckKey(subId.key.c_str())) return nullptr;
  return MakeSubObjectFilter(subId);
}

void FilterSpecObjectImpl::DeleteSubObjectFilter(const SubObjectId& subId) {
  TraceSubObjectFilter("DeleteSubObjectFilter", subId);
  Remove(subId.key.c_str());
}

}  // namespace CorvConfigStore

// Objects from values, and values from objects.
#include "Objects.h"

#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/HostOperations.h>

#include "JsonText.h"

using CorvConfigStore::ConfigStoreException;

namespace {

// The instance id a value names under the key's instance-id property, or
// the empty text.
std::string InstanceIdInValue(const rapidjson::Value& value, const ConfigName& key) {
  std::optional<CorvConfigStore::SchemaInfo> schema = FindSchema(key);
  if (!schema || schema->instanceIdProperty.empty()) return std::string();
  auto member = value.FindMember(schema->instanceIdProperty.c_str());
  if (member == value.MemberEnd() || !member->value.IsString()) return std::string();
  return member->value.GetString();
}

}  // namespace

ValueObjects ObjectsFromValue(const ConfigName& key, const std::string& instanceId,
                              const std::string& text) {
  rapidjson::Document document;
  ParseCheckedJson(text, document);
  ValueObjects result;
  if (document.IsObject()) {
    std::string named = InstanceIdInValue(document, key);
    if (!instanceId.empty() && !named.empty() && named != instanceId)
      throw CLI::ValidationError("--id " + instanceId + " and the value's instance id " + named +
                                 " differ");
    result.objects.push_back(CorvConfigStore::CreateObject(IdOf(key, instanceId), text));
    return result;
  }
  if (!document.IsArray())
    throw ConfigStoreException(CorvConfigStore::CS_ERR_NOT_AN_OBJECT,
                               "The value must be a JSON object, or an array of objects (one per "
                               "instance)");
  if (!instanceId.empty())
    throw CLI::ValidationError("--id cannot be used with an array of instances");
  result.isList = true;
  unsigned long index = 0;
  for (const rapidjson::Value& element : document.GetArray()) {
    if (!element.IsObject()) {
      std::string message = "Element " + std::to_string(index) + " of the array is not a JSON object";
      throw ConfigStoreException(CorvConfigStore::CS_ERR_NOT_AN_OBJECT, message.c_str());
    }
    result.objects.push_back(CorvConfigStore::CreateObject(IdOf(key), JsonText(element), index));
    ++index;
  }
  return result;
}

std::string ObjectJson(const ObjectPtr& object) { return object ? object->GetData() : "null"; }

std::string ObjectsJson(const ObjectList& objects) {
  std::vector<std::string> texts;
  for (const ObjectPtr& object : objects) texts.push_back(ObjectJson(object));
  return JsonArrayOf(texts);
}

std::shared_ptr<CorvConfigStore::FilterSpecObject> FilterFromValue(const ConfigName& key,
                                                                   const std::string& instanceId,
                                                                   const std::string& text) {
  rapidjson::Document document;
  ParseCheckedJson(text, document);
  if (!document.IsObject())
    throw ConfigStoreException(CorvConfigStore::CS_ERR_NOT_AN_OBJECT,
                               "The filter must be a JSON object");
  auto filter = std::make_shared<CorvConfigStore::FilterSpecObject>(IdOf(key, instanceId));
  filter->SetData(text.c_str());
  return filter;
}

std::vector<std::shared_ptr<CorvConfigStore::FilterSpecObject>> KeyFilters(
    const std::vector<CorvConfigStore::SchemaInfo>& keys) {
  std::vector<std::shared_ptr<CorvConfigStore::FilterSpecObject>> filters;
  for (const CorvConfigStore::SchemaInfo& key : keys)
    filters.push_back(std::make_shared<CorvConfigStore::FilterSpecObject>(IdOf(NameOf(key))));
  return filters;
}

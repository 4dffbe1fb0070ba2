// Configuration objects made from what a person typed, and the JSON text of
// objects read from the store.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>

#include <memory>
#include <string>
#include <vector>

#include "Names.h"

using ObjectPtr = std::shared_ptr<CorvConfigStore::ConfigStoreObject>;
using ObjectList = std::vector<ObjectPtr>;

// The objects a value gives for a key: a JSON object is one object (of the
// instance --id names, or of the instance the value names), a JSON array of
// objects one object per instance. Throws ConfigStoreException 1080 for text
// that is not JSON and 1030 for a value of another shape; a usage error when
// --id and the value name different instances, or when --id comes with an
// array.
struct ValueObjects {
  bool isList = false;
  ObjectList objects;
};
ValueObjects ObjectsFromValue(const ConfigName& key, const std::string& instanceId,
                              const std::string& text);

// The object's JSON text, "null" for none.
std::string ObjectJson(const ObjectPtr& object);
// A JSON array of the objects' texts.
std::string ObjectsJson(const ObjectList& objects);

// A filter of the key's instances (the one --id names, when given) holding
// the members of a JSON object. Throws ConfigStoreException 1080 for text
// that is not JSON and 1030 for JSON that is not an object.
std::shared_ptr<CorvConfigStore::FilterSpecObject> FilterFromValue(const ConfigName& key,
                                                                   const std::string& instanceId,
                                                                   const std::string& text);

// One filter per key, selecting every instance: what an export of the keys
// takes.
std::vector<std::shared_ptr<CorvConfigStore::FilterSpecObject>> KeyFilters(
    const std::vector<CorvConfigStore::SchemaInfo>& keys);

// Whole-store documents in and out, and the relation of instance lists to
// the shipped default configuration.
//
// A document is one JSON object nested component, group, key:
//   {"<component>": {"<group>": {"<key>": <value>}}}
// where the value of a key is an object (a configuration without
// instances), an array of objects (every instance of a configuration with
// instances, each carrying its own instance id), or null (the configuration
// has nothing stored).
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CorvConfigStore {

class ConfigStoreObject;
class FilterSpecObject;

// Replaces the stored configuration of every key the document names by
// what the document holds, in one transaction, after validating the whole
// document against the schemas: a key's every stored instance is removed and
// the document's instances written; null removes them all. Returns false,
// with the validator's records appended to errors and the store unchanged,
// when the document is invalid (a root that is not an object, an unknown
// component, group or key, a value the schema refuses, an instance without
// its instance id). Throws code 1080 for text that is not JSON; a database
// failure throws and leaves the store unchanged.
CORV_EXPORT bool Import(const std::string& docString, std::vector<ErrorInfo>& errors);

// Told how far an import is: the instances written so far and how many the
// document holds (a key without instances counts one, a null key none).
using ImportProgress = std::function<void(size_t written, size_t total)>;

// Import, calling progress with (0, total) once the document has been
// checked and then after each instance written, all within the import's
// transaction. An exception progress throws cancels the import.
CORV_EXPORT bool Import(const std::string& docString, std::vector<ErrorInfo>& errors,
                        const ImportProgress& progress);

// The stored configurations the filters select, as a document that Import
// restores. Each filter names a key: all its instances, or those the filter's
// instance id and values select. A key with instances and none selected is
// exported as null, as is a configuration without instances that has no
// row. An empty filter list exports "{}". Throws code 1037 for a key without
// schema. Generated instance ids are not exported.
CORV_EXPORT std::string Export(std::vector<std::shared_ptr<FilterSpecObject>> filters);

// How the streamed writers lay out JSON text: compact, as Export returns it,
// or indented by two spaces a level with one member or element a line.
enum class JsonLayout { kCompact, kIndented };

// Receives a text in consecutive pieces. It may throw to stop the writer
// (after a failed write, say); the exception reaches the writer's caller.
using TextSink = std::function<void(const char* text, size_t length)>;

// Writes the document Export(filters) returns, in layout, to sink while
// reading it: one configuration is held at a time, so a store of any size
// is exported in little memory. Keys come in order of component, group and
// key, and instances in the store's order; an instance two filters select
// is written once. The checks and failures are those of Export, all made
// before the first piece is written.
CORV_EXPORT void ExportTo(std::vector<std::shared_ptr<FilterSpecObject>> filters,
                          const TextSink& sink, JsonLayout layout = JsonLayout::kCompact);

// Writes the instances ConfigStore::GetInstances(filter) returns, as one
// JSON array in layout, to sink while reading them, one at a time. The
// checks and failures are those of GetInstances; a null filter writes "[]".
CORV_EXPORT void ExportInstancesTo(const std::shared_ptr<FilterSpecObject>& filter,
                                   const TextSink& sink,
                                   JsonLayout layout = JsonLayout::kCompact);

// Removes from the instances (of one key with instances) every one equal to
// a shipped default instance; with generated instance ids each default
// absorbs at most one equal object. The rest keep their order. Null entries
// are dropped (code 1041 logged); a list left empty throws
// InvalidArgumentException 1061.
CORV_EXPORT void FilterDefaultConfigInstances(std::vector<std::shared_ptr<ConfigStoreObject>>& objects);

// Appends to the instances (of the key id names) every shipped default
// instance whose identity none of them has, in the defaults' order.
CORV_EXPORT void AddDefaultConfigInstances(ConfigStoreObjectId id,
                                           std::vector<std::shared_ptr<ConfigStoreObject>>& objects);

}  // namespace CorvConfigStore

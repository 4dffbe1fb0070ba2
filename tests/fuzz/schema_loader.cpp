// Fuzz target: the text of a key-schema file loaded into a temporary schema
// store. A file is refused with a coded exception, or loaded whole: then
// the schema cache holds exactly the keys loaded, each of which compiles
// for the validator and validates its own defaults without failing. The
// schema store is removed before each input, so every input starts from
// an empty one and the store never grows.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Provisioning.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "fuzz/FuzzSupport.h"
#include "jsonschema/JsonValidator.h"
#include "schema/SchemaStore.h"

using namespace CorvConfigStore;

namespace {

CorvTest::StoreEnvironment* environment = nullptr;

void RemoveSchemaStore() {
  const std::string& path = environment->SchemaStorePath();
  for (const char* suffix : {"", "-wal", "-shm", "-journal"})
    std::remove((path + suffix).c_str());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  CorvFuzz::QuietLog();
  static CorvTest::StoreEnvironment made;
  environment = &made;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  RemoveSchemaStore();
  const std::string file =
      environment->Dir().Write("schemas.json", std::string(reinterpret_cast<const char*>(data), size));
  int loaded = 0;
  try {
    loaded = LoadSchemaFile(file);
  } catch (const ConfigStoreException& e) {
    if (!CorvFuzz::IsUtf8(e.what()) && CorvFuzz::IsJson(std::string(data, data + size)))
      CorvFuzz::Fail(std::string("refusal of JSON text is not UTF-8: ") + e.what());
    return 0;
  }

  std::vector<std::shared_ptr<CorvSchemaStore::SchemaObject>> schemas =
      CorvSchemaStore::SchemaStore::GetCache()->GetAllSchemas();
  if (static_cast<int>(schemas.size()) != loaded)
    CorvFuzz::Fail("loaded " + std::to_string(loaded) + " key schemas, the cache holds " +
                   std::to_string(schemas.size()));
  for (const auto& schema : schemas) {
    JsonValidator::ErrorList errors;
    try {
      JsonValidator::Validate(schema->GetCompiledSchema(), schema->GetDefaults(), errors, {0, 1},
                              "");
    } catch (const ConfigStoreException& e) {
      CorvFuzz::Fail(std::string("a loaded key schema fails the validator: ") + e.what());
    }
  }
  return 0;
}

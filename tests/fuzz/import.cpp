// Fuzz target: Import of an arbitrary document into a temporary store that
// knows the example key schemas. A document is refused with records or a
// coded exception, or imported: then the export of every example key is
// JSON, imports again, and exports the same. After an import the store is
// emptied again by importing the export of the empty store (every key
// null), so every input meets the same empty store and the store never
// grows.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/FuzzSupport.h"

using namespace CorvConfigStore;

namespace {

// An export of every key of the example schemas.
std::string ExportAll() {
  std::vector<std::shared_ptr<FilterSpecObject>> filters;
  for (const char* key : {"dns", "nics", "staticRoutes"})
    filters.push_back(std::make_shared<FilterSpecObject>(ConfigStoreObjectId(key, "net", "corv")));
  filters.push_back(std::make_shared<FilterSpecObject>(ConfigStoreObjectId("ntp", "time", "corv")));
  filters.push_back(
      std::make_shared<FilterSpecObject>(ConfigStoreObjectId("options", "kestrel", "corv")));
  filters.push_back(
      std::make_shared<FilterSpecObject>(ConfigStoreObjectId("settings", "boot", "corv")));
  filters.push_back(
      std::make_shared<FilterSpecObject>(ConfigStoreObjectId("identity", "system", "corv")));
  return Export(filters);
}

// The export of the empty store: every example key null.
std::string empty;

// Imports text, which must succeed.
void MustImport(const std::string& text, const char* what) {
  std::vector<ErrorInfo> errors;
  try {
    if (Import(text, errors)) return;
  } catch (const ConfigStoreException& e) {
    CorvFuzz::Fail(std::string(what) + " throws " + e.what() + ": " + text);
  }
  CorvFuzz::Fail(std::string(what) + " is refused: " + text +
                 (errors.empty() ? "" : " (" + errors.front().message + ")"));
}

void CheckRecords(const std::vector<ErrorInfo>& errors) {
  for (const ErrorInfo& record : errors)
    if (!CorvFuzz::IsUtf8(record.location) || !CorvFuzz::IsUtf8(record.message))
      CorvFuzz::Fail("record is not UTF-8: " + record.location + ": " + record.message);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  CorvFuzz::QuietLog();
  CorvFuzz::ExampleStore();
  empty = ExportAll();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<ErrorInfo> errors;
  bool imported = false;
  try {
    imported = Import(text, errors);
    if (!imported && errors.empty()) CorvFuzz::Fail("import refused without a record");
  } catch (const ConfigStoreException& e) {
    if (!CorvFuzz::IsUtf8(e.what())) CorvFuzz::Fail(std::string("message not UTF-8: ") + e.what());
  }
  CheckRecords(errors);
  if (!imported) {
    if (ExportAll() != empty) CorvFuzz::Fail("a refused import changed the store");
    return 0;
  }

  const std::string exported = ExportAll();
  if (!CorvFuzz::IsJson(exported)) CorvFuzz::Fail("export is not JSON: " + exported);
  MustImport(exported, "the export");
  if (ExportAll() != exported) CorvFuzz::Fail("export changes when imported again: " + exported);
  MustImport(empty, "the empty export");
  if (ExportAll() != empty) CorvFuzz::Fail("the store is not empty again");
  return 0;
}

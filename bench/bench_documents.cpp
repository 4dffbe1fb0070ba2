// Whole-store documents, each beside its raw twin: Import of a document
// file of 10 000 instances (every stored instance of the key replaced, in
// one transaction) and Export of 10 000 and of 100 000 instances.
//
// Raw Import reads the same file, parses it with rapidjson, walks it
// component, group, key, deletes the key's rows and writes each instance as
// a whole row with the library's statements, in one transaction. Raw Export
// selects the rows with the library's statement, merges their layers into
// one rapidjson document nested component, group, key, and serialises it.
// Neither validates: the library validates a whole document before it
// imports it.
#include <benchmark/benchmark.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "db/Statements.h"
#include "support/BenchData.h"
#include "support/BenchStore.h"
#include "support/RawRows.h"
#include "support/Results.h"

namespace CorvBench {
namespace {

namespace Sql = CorvConfigStore::Sql;

constexpr int kImportCount = 10000;

// The keys of 10 000 and 100 000 instances.
BenchStore& DocumentStore() {
  static const std::unique_ptr<BenchStore> store = [] {
    auto made = std::make_unique<BenchStore>("documents");
    for (int count : {kImportCount, 100000}) made->FillPorts(PortsKey(count), count);
    return made;
  }();
  store->Use();
  return *store;
}

// The document file of 10 000 instances that every import reads.
const std::string& ImportFile() {
  static const std::string path = [] {
    std::string made = BenchDirectory() + "/import.json";
    std::ofstream(made) << PortsDocument(PortsKey(kImportCount), kImportCount);
    return made;
  }();
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The key must hold exactly the document's instances.
void ExpectImported(benchmark::State& state) {
  std::vector<std::shared_ptr<CorvConfigStore::FilterSpecObject>> filters = {
      std::make_shared<CorvConfigStore::FilterSpecObject>(KeyId(PortsKey(kImportCount)))};
  ExpectSameDocument(state, CorvConfigStore::Export(filters), ReadFile(ImportFile()),
                     "the store does not hold the document imported");
}

void LibImport(benchmark::State& state) {
  DocumentStore();  // Import writes to the store the environment names.
  const std::string& file = ImportFile();
  for (auto _ : state) {
    std::vector<CorvConfigStore::ErrorInfo> errors;
    if (!CorvConfigStore::Import(ReadFile(file), errors)) state.SkipWithError("import refused");
  }
  ExpectImported(state);
  ReportInstances(state, kImportCount);
}

// One writer per key the schema store knows, prepared once.
class RawImporter {
 public:
  explicit RawImporter(sqlite3* db) : db_(db), clear_(db, Sql::kDeleteRows) {
    for (const CorvConfigStore::SchemaInfo& schema : CorvConfigStore::ListSchemas())
      writers_.emplace(NameOf(KeyOf(schema)), std::make_unique<RowWriter>(db, LayoutOf(schema)));
  }

  void Import(const std::string& text) {
    rapidjson::Document document;
    document.Parse(text.c_str(), text.size());
    if (document.HasParseError() || !document.IsObject()) FailRaw(db_, "document is not JSON");
    RawTransaction transaction(db_);
    for (auto& component : document.GetObject())
      for (auto& group : component.value.GetObject())
        for (auto& key : group.value.GetObject())
          ImportKey(CorvConfigStore::ConfigStoreObjectId(
                        key.name.GetString(), group.name.GetString(), component.name.GetString()),
                    key.value, document.GetAllocator());
    transaction.Commit();
  }

 private:
  static CorvConfigStore::ConfigStoreObjectId KeyOf(const CorvConfigStore::SchemaInfo& schema) {
    return CorvConfigStore::ConfigStoreObjectId(schema.key, schema.group, schema.component);
  }
  static std::string NameOf(const CorvConfigStore::ConfigStoreObjectId& key) {
    return key.component + "." + key.group + "." + key.key;
  }

  // Replaces the rows of the key by the value: an object for a key without
  // instances, an array of instances, or null for nothing.
  void ImportKey(const CorvConfigStore::ConfigStoreObjectId& key, rapidjson::Value& value,
                 JsonAllocator& allocator) {
    auto writer = writers_.find(NameOf(key));
    if (writer == writers_.end()) FailRaw(db_, "no schema for " + NameOf(key));
    clear_.BindKey(key, false);
    clear_.Run();
    if (value.IsObject()) writer->second->Write(key, value, allocator);
    if (!value.IsArray()) return;
    for (auto& instance : value.GetArray()) {
      CorvConfigStore::ConfigStoreObjectId id = key;
      id.instanceId = writer->second->InstanceIdOf(instance);
      writer->second->Write(id, instance, allocator);
    }
  }

  sqlite3* db_;
  RawStatement clear_;
  std::map<std::string, std::unique_ptr<RowWriter>> writers_;
};

void RawImport(benchmark::State& state) {
  BenchStore& store = DocumentStore();
  const std::string& file = ImportFile();
  RawImporter importer(store.Raw());
  for (auto _ : state) importer.Import(ReadFile(file));
  ExpectImported(state);
  ReportInstances(state, kImportCount);
}

std::string LibExportText(int count) {
  return CorvConfigStore::Export(
      {std::make_shared<CorvConfigStore::FilterSpecObject>(KeyId(PortsKey(count)))});
}

// read is a prepared Sql::kGetInstances.
std::string RawExportText(RawStatement& read, int count) {
  const CorvConfigStore::ConfigStoreObjectId key = KeyId(PortsKey(count));
  rapidjson::Document document(rapidjson::kObjectType);
  JsonAllocator& allocator = document.GetAllocator();
  JsonParser parser(allocator);
  rapidjson::Value instances(rapidjson::kArrayType);
  ReadInstances(read, key, parser, instances);
  rapidjson::Value group(rapidjson::kObjectType);
  group.AddMember(rapidjson::Value(key.key, allocator), instances, allocator);
  rapidjson::Value component(rapidjson::kObjectType);
  component.AddMember(rapidjson::Value(key.group, allocator), group, allocator);
  document.AddMember(rapidjson::Value(key.component, allocator), component, allocator);
  return Serialize(document);
}

void LibExport(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  BenchStore& store = DocumentStore();
  if (FirstTime("Export/" + std::to_string(count))) {
    RawStatement read(store.Raw(), Sql::kGetInstances);
    ExpectSameDocument(state, LibExportText(count), RawExportText(read, count),
                       "library and raw exports differ");
  }
  for (auto _ : state) benchmark::DoNotOptimize(LibExportText(count));
  ReportInstances(state, count);
}

void RawExport(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  RawStatement read(DocumentStore().Raw(), Sql::kGetInstances);
  for (auto _ : state) benchmark::DoNotOptimize(RawExportText(read, count));
  ReportInstances(state, count);
}

BENCHMARK(LibImport)->Name("Lib/Import")->Arg(kImportCount)->UseRealTime();
BENCHMARK(RawImport)->Name("Raw/Import")->Arg(kImportCount)->UseRealTime();
BENCHMARK(LibExport)->Name("Lib/Export")->Arg(kImportCount)->Arg(100000)->UseRealTime();
BENCHMARK(RawExport)->Name("Raw/Export")->Arg(kImportCount)->Arg(100000)->UseRealTime();

}  // namespace
}  // namespace CorvBench

BENCHMARK_MAIN();

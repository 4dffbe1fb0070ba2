// Durable writes, each beside its raw twin: SetUserData (the user layer),
// Set (every layer), Update (read, merge, write back in one transaction) and
// SetInstances of 1 000 instances (every instance of a key replaced in one
// transaction). Every write commits once, and with synchronous=FULL each
// commit syncs the log: both sides pay that one fsync.
//
// The raw twins parse the same JSON text the library is given, split it by
// the schema's layer tags where the library does, serialise the layers and
// run the library's own statements, prepared once. They do not validate:
// schema validation is library work, measured alone in bench_validate.
#include <benchmark/benchmark.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/HostOperations.h>

#include <memory>
#include <string>
#include <vector>

#include "db/Statements.h"
#include "support/BenchData.h"
#include "support/BenchStore.h"
#include "support/RawRows.h"
#include "support/Results.h"
#include "support/SingletonCases.h"

namespace CorvBench {
namespace {

namespace Sql = CorvConfigStore::Sql;
using CorvConfigStore::EXTERNAL;

constexpr int kSetInstancesCount = 1000;

// The singleton and a key of 1 000 instances.
BenchStore& WriteStore() {
  static const std::unique_ptr<BenchStore> store = [] {
    auto made = std::make_unique<BenchStore>("writes");
    made->WriteHost();
    made->FillPorts(PortsKey(kSetInstancesCount), kSetInstancesCount);
    return made;
  }();
  store->Use();
  return *store;
}

void LibSetUserData(benchmark::State& state) {
  BenchStore& store = WriteStore();
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    store.Lib().SetUserData(CorvConfigStore::CreateObject(HostId(), HostUserJson(timeoutSeconds)),
                            EXTERNAL);
  }
  ExpectHostStored(state, store, timeoutSeconds);
}

void RawSetUserData(benchmark::State& state) {
  BenchStore& store = WriteStore();
  const KeyLayout layout = LayoutOf(SchemaOf(kHostKey));
  const CorvConfigStore::ConfigStoreObjectId id = HostId();
  RawStatement write(store.Raw(), Sql::kWriteUserLayer);
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    JsonAllocator allocator;
    JsonParser parser(allocator);
    const std::string user = Serialize(parser.Parse(HostUserJson(timeoutSeconds)));
    // ?6 Success, ?7 UserValue; the other layers are kept by the statement.
    write.BindRowKey(id, layout.version);
    write.BindInt(6, 1);
    write.BindText(7, user);
    write.Run();
  }
  ExpectHostStored(state, store, timeoutSeconds);
}

void LibSet(benchmark::State& state) { RunLibSet(state, WriteStore()); }
void RawSet(benchmark::State& state) { RunRawSet(state, WriteStore()); }

void LibUpdate(benchmark::State& state) {
  BenchStore& store = WriteStore();
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    store.Lib().Update(CorvConfigStore::CreateObject(HostId(), HostUpdateJson(timeoutSeconds)),
                       EXTERNAL);
  }
  ExpectHostStored(state, store, timeoutSeconds);
}

// The library reads the row, merges the update into the caller's view
// (vital, cached and user layers), splits it again and rewrites the three
// layers with one UPDATE, inside BEGIN IMMEDIATE ... COMMIT.
void RawUpdate(benchmark::State& state) {
  BenchStore& store = WriteStore();
  const KeyLayout layout = LayoutOf(SchemaOf(kHostKey));
  const CorvConfigStore::ConfigStoreObjectId id = HostId();
  RawStatement read(store.Raw(), Sql::kReadConfig);
  RawStatement write(store.Raw(), Sql::kUpdateUserByContext);
  const LayerColumns callerView = {kReadConfigLayers.vital, kReadConfigLayers.cached, -1,
                                   kReadConfigLayers.user, kReadConfigLayers.success};
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    JsonAllocator allocator;
    JsonParser parser(allocator);
    rapidjson::Value update = parser.Parse(HostUpdateJson(timeoutSeconds));
    RawTransaction transaction(store.Raw());
    read.BindKey(id, true);
    if (!read.Step()) FailRaw(store.Raw(), "no row to update");
    rapidjson::Value object = parser.MergeRow(read, callerView);
    read.Reset();
    MergeMembers(object, update, allocator);
    const LayerTexts layers = SplitLayers(object, layout, allocator);
    // UserValue, VitalValue, CachedValue, then the key with the instance id.
    write.BindTextOrNull(1, layers.user);
    write.BindTextOrNull(2, layers.vital);
    write.BindTextOrNull(3, layers.cached);
    write.BindKey(id, true, 4);
    write.Run();
    transaction.Commit();
  }
  ExpectHostStored(state, store, timeoutSeconds);
}

// The texts of the instances every SetInstances writes, made once.
const std::vector<std::string>& PortTexts() {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> made;
    for (int i = 0; i < kSetInstancesCount; ++i) made.push_back(PortJson(i));
    return made;
  }();
  return texts;
}

// The key must hold exactly the instances written.
void ExpectPorts(benchmark::State& state) {
  std::string expected = "[";
  for (const std::string& text : PortTexts()) expected += (expected.size() > 1 ? "," : "") + text;
  auto filter =
      std::make_shared<CorvConfigStore::FilterSpecObject>(KeyId(PortsKey(kSetInstancesCount)));
  ExpectSameJson(state, InstancesText(WriteStore().Lib().GetInstances(filter)), expected + "]",
                 "the store does not hold the instances written");
}

void LibSetInstances(benchmark::State& state) {
  BenchStore& store = WriteStore();
  const CorvConfigStore::ConfigStoreObjectId key = KeyId(PortsKey(kSetInstancesCount));
  for (auto _ : state) {
    std::vector<std::shared_ptr<CorvConfigStore::ConfigStoreObject>> objects;
    for (const std::string& text : PortTexts())
      objects.push_back(CorvConfigStore::CreateObject(key, text));
    store.Lib().SetInstances(objects, EXTERNAL);
  }
  ExpectPorts(state);
  ReportInstances(state, kSetInstancesCount);
}

// Every stored instance of the key deleted, then each instance written as a
// whole row, in one transaction.
void RawSetInstances(benchmark::State& state) {
  BenchStore& store = WriteStore();
  const CorvConfigStore::ConfigStoreObjectId key = KeyId(PortsKey(kSetInstancesCount));
  RawStatement clear(store.Raw(), Sql::kDeleteRows);
  RowWriter writer(store.Raw(), LayoutOf(SchemaOf(key.key)));
  for (auto _ : state) {
    JsonAllocator allocator;
    JsonParser parser(allocator);
    RawTransaction transaction(store.Raw());
    clear.BindKey(key, false);
    clear.Run();
    for (const std::string& text : PortTexts()) {
      rapidjson::Value value = parser.Parse(text);
      CorvConfigStore::ConfigStoreObjectId id = key;
      id.instanceId = writer.InstanceIdOf(value);
      writer.Write(id, value, allocator);
    }
    transaction.Commit();
  }
  ExpectPorts(state);
  ReportInstances(state, kSetInstancesCount);
}

BENCHMARK(LibSetUserData)->Name("Lib/SetUserData")->UseRealTime();
BENCHMARK(RawSetUserData)->Name("Raw/SetUserData")->UseRealTime();
BENCHMARK(LibSet)->Name("Lib/Set")->UseRealTime();
BENCHMARK(RawSet)->Name("Raw/Set")->UseRealTime();
BENCHMARK(LibUpdate)->Name("Lib/Update")->UseRealTime();
BENCHMARK(RawUpdate)->Name("Raw/Update")->UseRealTime();
BENCHMARK(LibSetInstances)->Name("Lib/SetInstances")->Arg(kSetInstancesCount)->UseRealTime();
BENCHMARK(RawSetInstances)->Name("Raw/SetInstances")->Arg(kSetInstancesCount)->UseRealTime();

}  // namespace
}  // namespace CorvBench

BENCHMARK_MAIN();

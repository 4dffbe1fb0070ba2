// Get and Set of the benchmark singleton, library and raw.
#include "support/SingletonCases.h"

#include <corvconfigstore/HostOperations.h>

#include "db/Statements.h"
#include "support/BenchData.h"
#include "support/RawRows.h"
#include "support/RawSwitches.h"
#include "support/Results.h"

namespace CorvBench {

namespace {

using CorvConfigStore::Sql::kReadConfig;

std::string RawGetText(BenchStore& store) {
  RawStatement read(store.Raw(), kReadConfig);
  JsonAllocator allocator;
  JsonParser parser(allocator);
  return Serialize(ReadObject(read, HostId(), parser));
}

}  // namespace

void RunLibGet(benchmark::State& state, BenchStore& store) {
  const CorvConfigStore::ConfigStoreObjectId id = HostId();
  if (FirstTime("Get " + store.Path()))
    ExpectSameJson(state, store.Lib().Get(id)->GetData(), RawGetText(store),
                   "library and raw reads differ");
  for (auto _ : state) {
    std::shared_ptr<CorvConfigStore::ConfigStoreObject> object = store.Lib().Get(id);
    benchmark::DoNotOptimize(object.get());
  }
}

void RunRawGet(benchmark::State& state, BenchStore& store) {
  const CorvConfigStore::ConfigStoreObjectId id = HostId();
  RawStatement read(store.Raw(), kReadConfig);
  for (auto _ : state) {
    JsonAllocator allocator;
    JsonParser parser(allocator);
    rapidjson::Value object = ReadObject(read, id, parser);
    benchmark::DoNotOptimize(object);
  }
}

void RunLibSet(benchmark::State& state, BenchStore& store) {
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    store.Lib().Set(CorvConfigStore::CreateObject(HostId(), HostJson(timeoutSeconds)),
                    CorvConfigStore::EXTERNAL);
  }
  ExpectHostStored(state, store, timeoutSeconds);
}

void RunRawSet(benchmark::State& state, BenchStore& store) {
  const CorvConfigStore::ConfigStoreObjectId id = HostId();
  RowWriter writer(store.Raw(), LayoutOf(SchemaOf(kHostKey)));
  RawSwitches switches(store.Path());
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    JsonAllocator allocator;
    JsonParser parser(allocator);
    rapidjson::Value value = parser.Parse(HostJson(timeoutSeconds));
    switches.Boot();
    writer.Write(id, value, allocator);
    switches.Notify();
  }
  switches.ExpectOff(state);
  ExpectHostStored(state, store, timeoutSeconds);
}

void ExpectHostStored(benchmark::State& state, BenchStore& store, int timeoutSeconds) {
  ExpectSameJson(state, store.Lib().Get(HostId())->GetData(), HostJson(timeoutSeconds),
                 "the store does not hold the value last written");
}

}  // namespace CorvBench

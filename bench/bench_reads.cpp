// Reads, each beside its raw twin: Get of a singleton with user, vital and
// cached layers; GetRevision; GetInstanceIds of 10 000 instances;
// GetInstances of 10, 1 000 and 100 000 instances (per-instance cost from
// the "instances" counter); and GetInstancesText of 100 000, the instances
// as the JSON array `corvcfg get` prints.
//
// The raw twins run the library's own statements, prepared once, on a
// second connection to the same file, and build merged rapidjson values of
// the same layers: what any reader of these rows has to do at least.
#include <benchmark/benchmark.h>
#include <corvconfigstore/FilterSpecObject.h>

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

constexpr int kLargeCount = 100000;

// The singleton and the keys of 10, 1 000 and 10 000 instances.
BenchStore& ReadStore() {
  static const std::unique_ptr<BenchStore> store = [] {
    auto made = std::make_unique<BenchStore>("reads");
    made->WriteHost();
    for (int count : kPortCounts)
      if (count < kLargeCount) made->FillPorts(PortsKey(count), count);
    return made;
  }();
  store->Use();
  return *store;
}

// The key of 100 000 instances alone. scripts/bench.sh keeps this store to
// measure corvcfg on it.
BenchStore& LargeStore() {
  static const std::unique_ptr<BenchStore> store = [] {
    auto made = std::make_unique<BenchStore>("large");
    made->FillPorts(PortsKey(kLargeCount), kLargeCount);
    return made;
  }();
  store->Use();
  return *store;
}

BenchStore& StoreOf(int count) { return count < kLargeCount ? ReadStore() : LargeStore(); }

std::vector<std::shared_ptr<CorvConfigStore::ConfigStoreObject>> LibInstances(BenchStore& store,
                                                                              int count) {
  return store.Lib().GetInstances(
      std::make_shared<CorvConfigStore::FilterSpecObject>(KeyId(PortsKey(count))));
}

// read is a prepared Sql::kGetInstances.
std::string RawInstancesText(RawStatement& read, int count) {
  rapidjson::Document instances(rapidjson::kArrayType);
  JsonParser parser(instances.GetAllocator());
  ReadInstances(read, KeyId(PortsKey(count)), parser, instances);
  return Serialize(instances);
}

void LibGet(benchmark::State& state) { RunLibGet(state, ReadStore()); }
void RawGet(benchmark::State& state) { RunRawGet(state, ReadStore()); }

void LibGetRevision(benchmark::State& state) {
  BenchStore& store = ReadStore();
  const CorvConfigStore::ConfigStoreObjectId id = HostId();
  Expect(state, store.Lib().GetRevision(id) == 1, "the singleton's revision is not 1");
  for (auto _ : state) benchmark::DoNotOptimize(store.Lib().GetRevision(id));
}

void RawGetRevision(benchmark::State& state) {
  BenchStore& store = ReadStore();
  const CorvConfigStore::ConfigStoreObjectId id = HostId();
  RawStatement read(store.Raw(), Sql::kReadRevision);
  int revision = -1;
  for (auto _ : state) {
    read.BindKey(id, true);
    revision = read.Step() ? read.Int(1) : -1;
    read.Reset();
    benchmark::DoNotOptimize(revision);
  }
  Expect(state, revision == 1, "the singleton's revision is not 1");
}

void LibGetInstanceIds(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  BenchStore& store = StoreOf(count);
  const CorvConfigStore::ConfigStoreObjectId id = KeyId(PortsKey(count));
  std::vector<std::string> ids;
  for (auto _ : state) {
    ids = store.Lib().GetInstanceIds(id);
    benchmark::DoNotOptimize(ids.data());
  }
  Expect(state, ids.size() == static_cast<size_t>(count) && ids.back() == PortName(count - 1),
         "wrong instance ids");
  ReportInstances(state, count);
}

void RawGetInstanceIds(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  BenchStore& store = StoreOf(count);
  const CorvConfigStore::ConfigStoreObjectId id = KeyId(PortsKey(count));
  RawStatement read(store.Raw(), Sql::kReadInstanceIds);
  std::vector<std::string> ids;
  for (auto _ : state) {
    ids.clear();
    read.BindKey(id, false);
    while (read.Step()) ids.emplace_back(read.Text(0), read.TextLength(0));
    read.Reset();
    benchmark::DoNotOptimize(ids.data());
  }
  Expect(state, ids.size() == static_cast<size_t>(count) && ids.back() == PortName(count - 1),
         "wrong instance ids");
  ReportInstances(state, count);
}

void LibGetInstances(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  BenchStore& store = StoreOf(count);
  if (FirstTime("GetInstances/" + std::to_string(count))) {
    RawStatement read(store.Raw(), Sql::kGetInstances);
    ExpectSameJson(state, InstancesText(LibInstances(store, count)), RawInstancesText(read, count),
                   "library and raw instances differ");
  }
  auto filter = std::make_shared<CorvConfigStore::FilterSpecObject>(KeyId(PortsKey(count)));
  for (auto _ : state) {
    auto instances = store.Lib().GetInstances(filter);
    if (instances.size() != static_cast<size_t>(count)) state.SkipWithError("wrong instance count");
    benchmark::DoNotOptimize(instances.data());
  }
  ReportInstances(state, count);
}

void RawGetInstances(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  BenchStore& store = StoreOf(count);
  const CorvConfigStore::ConfigStoreObjectId key = KeyId(PortsKey(count));
  RawStatement read(store.Raw(), Sql::kGetInstances);
  for (auto _ : state) {
    rapidjson::Document instances(rapidjson::kArrayType);
    JsonParser parser(instances.GetAllocator());
    ReadInstances(read, key, parser, instances);
    if (instances.Size() != static_cast<unsigned>(count))
      state.SkipWithError("wrong instance count");
    benchmark::DoNotOptimize(instances);
  }
  ReportInstances(state, count);
}

void LibGetInstancesText(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  BenchStore& store = StoreOf(count);
  for (auto _ : state) benchmark::DoNotOptimize(InstancesText(LibInstances(store, count)));
  ReportInstances(state, count);
}

void RawGetInstancesText(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  RawStatement read(StoreOf(count).Raw(), Sql::kGetInstances);
  for (auto _ : state) benchmark::DoNotOptimize(RawInstancesText(read, count));
  ReportInstances(state, count);
}

BENCHMARK(LibGet)->Name("Lib/Get")->UseRealTime();
BENCHMARK(RawGet)->Name("Raw/Get")->UseRealTime();
BENCHMARK(LibGetRevision)->Name("Lib/GetRevision")->UseRealTime();
BENCHMARK(RawGetRevision)->Name("Raw/GetRevision")->UseRealTime();
BENCHMARK(LibGetInstanceIds)->Name("Lib/GetInstanceIds")->Arg(10000)->UseRealTime();
BENCHMARK(RawGetInstanceIds)->Name("Raw/GetInstanceIds")->Arg(10000)->UseRealTime();
BENCHMARK(LibGetInstances)
    ->Name("Lib/GetInstances")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(kLargeCount)
    ->UseRealTime();
BENCHMARK(RawGetInstances)
    ->Name("Raw/GetInstances")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(kLargeCount)
    ->UseRealTime();
BENCHMARK(LibGetInstancesText)->Name("Lib/GetInstancesText")->Arg(kLargeCount)->UseRealTime();
BENCHMARK(RawGetInstancesText)->Name("Raw/GetInstancesText")->Arg(kLargeCount)->UseRealTime();

}  // namespace
}  // namespace CorvBench

BENCHMARK_MAIN();

// Memory held by the result of GetInstances on 100 000 small instances,
// beside the raw twin's result (one rapidjson document holding the merged
// instances) and the size of the JSON text stored for them.
//
// Each case makes one call per repetition and measures what the result
// holds while it is alive: heap bytes in use (glibc's mallinfo2, which sees
// rapidjson's malloc as well as operator new) and resident memory
// (/proc/self/statm), each after malloc_trim so that freed memory is not
// counted. The counters, per instance: heap_bytes, rss_bytes, text_bytes,
// and heap_to_text, the heap held over the text size. Timings are not the
// point here.
#include <benchmark/benchmark.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "db/Statements.h"
#include "support/BenchData.h"
#include "support/BenchStore.h"
#include "support/RawRows.h"
#include "support/Results.h"

namespace CorvBench {
namespace {

constexpr int kCount = 100000;

BenchStore& MemoryStore() {
  static const std::unique_ptr<BenchStore> store = [] {
    auto made = std::make_unique<BenchStore>("memory");
    made->FillPorts(PortsKey(kCount), kCount);
    return made;
  }();
  store->Use();
  return *store;
}

// Bytes of the JSON text stored for the instances.
double TextBytes() {
  RawStatement sum(MemoryStore().Raw(), "SELECT SUM(LENGTH(UserValue)) FROM Config WHERE Name = ?");
  const std::string key = PortsKey(kCount);
  sum.BindText(1, key);
  double bytes = sum.Step() ? sum.Int(0) : 0;
  sum.Reset();
  return bytes;
}

struct Usage {
  double heap;
  double rss;
};

Usage CurrentUsage() {
  malloc_trim(0);
  struct mallinfo2 info = mallinfo2();
  long pages = 0;
  long resident = 0;
  if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(statm);
  }
  return Usage{static_cast<double>(info.uordblks + info.hblkhd),
               static_cast<double>(resident) * sysconf(_SC_PAGESIZE)};
}

// Measures what holding the result of make() costs, one call per
// iteration, and reports it per instance.
template <typename Make>
void MeasureHeld(benchmark::State& state, Make make) {
  const double text = TextBytes();
  Usage held = {0, 0};
  for (auto _ : state) {
    const Usage before = CurrentUsage();
    auto result = make();
    const Usage after = CurrentUsage();
    held = Usage{after.heap - before.heap, after.rss - before.rss};
    benchmark::DoNotOptimize(result);
  }
  state.counters["heap_bytes"] = held.heap / kCount;
  state.counters["rss_bytes"] = held.rss / kCount;
  state.counters["text_bytes"] = text / kCount;
  state.counters["heap_to_text"] = held.heap / text;
  ReportInstances(state, kCount);
}

void LibGetInstancesMemory(benchmark::State& state) {
  BenchStore& store = MemoryStore();
  auto filter = std::make_shared<CorvConfigStore::FilterSpecObject>(KeyId(PortsKey(kCount)));
  MeasureHeld(state, [&] {
    auto instances = store.Lib().GetInstances(filter);
    if (instances.size() != static_cast<size_t>(kCount))
      state.SkipWithError("wrong instance count");
    return instances;
  });
}

void RawGetInstancesMemory(benchmark::State& state) {
  BenchStore& store = MemoryStore();
  RawStatement read(store.Raw(), CorvConfigStore::Sql::kGetInstances);
  MeasureHeld(state, [&] {
    auto instances = std::make_unique<rapidjson::Document>(rapidjson::kArrayType);
    JsonParser parser(instances->GetAllocator());
    ReadInstances(read, KeyId(PortsKey(kCount)), parser, *instances);
    if (instances->Size() != static_cast<unsigned>(kCount))
      state.SkipWithError("wrong instance count");
    return instances;
  });
}

BENCHMARK(LibGetInstancesMemory)->Name("Lib/GetInstancesMemory")->Arg(kCount)->Iterations(1);
BENCHMARK(RawGetInstancesMemory)->Name("Raw/GetInstancesMemory")->Arg(kCount)->Iterations(1);

}  // namespace
}  // namespace CorvBench

BENCHMARK_MAIN();

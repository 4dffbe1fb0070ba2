// How the size of the table changes a read and a durable write of one
// object: Get and Set of the singleton in a store of 1 000 rows and in one
// of 100 000 rows, the other rows being instances of another key. Each
// beside its raw twin, as in bench_reads and bench_writes.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>

#include "support/BenchData.h"
#include "support/BenchStore.h"
#include "support/SingletonCases.h"

namespace CorvBench {
namespace {

// A store of rows rows: the singleton and rows - 1 instances of the filler
// key.
BenchStore& StoreOfRows(int rows) {
  static std::map<int, std::unique_ptr<BenchStore>> stores;
  std::unique_ptr<BenchStore>& store = stores[rows];
  if (!store) {
    store = std::make_unique<BenchStore>("rows" + std::to_string(rows));
    store->WriteHost();
    store->FillPorts(kFillerKey, rows - 1);
  }
  store->Use();
  return *store;
}

BenchStore& StoreOf(const benchmark::State& state) {
  return StoreOfRows(static_cast<int>(state.range(0)));
}

void LibGet(benchmark::State& state) { RunLibGet(state, StoreOf(state)); }
void RawGet(benchmark::State& state) { RunRawGet(state, StoreOf(state)); }
void LibSet(benchmark::State& state) { RunLibSet(state, StoreOf(state)); }
void RawSet(benchmark::State& state) { RunRawSet(state, StoreOf(state)); }

BENCHMARK(LibGet)->Name("Lib/GetInTableOf")->Arg(1000)->Arg(100000)->UseRealTime();
BENCHMARK(RawGet)->Name("Raw/GetInTableOf")->Arg(1000)->Arg(100000)->UseRealTime();
BENCHMARK(LibSet)->Name("Lib/SetInTableOf")->Arg(1000)->Arg(100000)->UseRealTime();
BENCHMARK(RawSet)->Name("Raw/SetInTableOf")->Arg(1000)->Arg(100000)->UseRealTime();

}  // namespace
}  // namespace CorvBench

BENCHMARK_MAIN();

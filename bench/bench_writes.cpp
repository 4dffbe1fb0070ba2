// Durable writes, each beside its raw twin: SetUserData (the user layer),
// Set (every layer), Update (read, merge, write back in one transaction) and
// SetInstances of 1 000 instances (every instance of a key replaced in one
// transaction). Every write commits once, and with synchronous=FULL each
// commit syncs the log: both sides pay that one fsync. SwitchReads times
// alone the two key-value reads every write makes around it.
//
// The raw twins parse the same JSON text the library is given, split it by
// the schema's layer tags where the library does, serialise the layers and
// run the library's own statements, prepared once, the reads of the two
// switches included (support/RawSwitches.h). They do not validate: schema
// validation is library work, measured alone in bench_validate. One more
// twin of SetInstances, SetInstancesValidating, also checks each instance
// with rapidjson's own validator, as a write of the store must.
#include <benchmark/benchmark.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/KeyValue.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "db/Statements.h"
#include "sqlite/DBStore.h"
#include "support/BenchData.h"
#include "support/BenchStore.h"
#include "support/RawRows.h"
#include "support/RawSwitches.h"
#include "support/RawValidator.h"
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
  RawSwitches switches(store.Path());
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    JsonAllocator allocator;
    JsonParser parser(allocator);
    const std::string user = Serialize(parser.Parse(HostUserJson(timeoutSeconds)));
    switches.Boot();
    // ?6 Success, ?7 UserValue; the other layers are kept by the statement.
    write.BindRowKey(id, layout.version);
    write.BindInt(6, 1);
    write.BindText(7, user);
    write.Run();
    switches.Notify();
  }
  switches.ExpectOff(state);
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
  RawSwitches switches(store.Path());
  int timeoutSeconds = 0;
  for (auto _ : state) {
    timeoutSeconds = NextTimeout(timeoutSeconds);
    JsonAllocator allocator;
    JsonParser parser(allocator);
    rapidjson::Value update = parser.Parse(HostUpdateJson(timeoutSeconds));
    switches.Boot();
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
    switches.Notify();
  }
  switches.ExpectOff(state);
  ExpectHostStored(state, store, timeoutSeconds);
}

// The switch reads run after a durable write each; a fixed count keeps the
// untimed writes to a few seconds. Only the reads are timed, by the case
// itself: pausing the benchmark's timer around each write added about
// 3 µs to the 11 µs of the two raw reads.
constexpr int kSwitchReadIterations = 2000;

// A durable write of the singleton's user layer on the raw connection: what
// every write leaves for the switch reads that follow it, a log changed by
// another connection.
class UntimedWrite {
 public:
  explicit UntimedWrite(BenchStore& store)
      : id_(HostId()),
        version_(LayoutOf(SchemaOf(kHostKey)).version),
        user_(HostUserJson(1)),
        write_(store.Raw(), Sql::kWriteUserLayer) {}

  void Run() {
    write_.BindRowKey(id_, version_);
    write_.BindInt(6, 1);
    write_.BindText(7, user_);
    write_.Run();
  }

 private:
  const CorvConfigStore::ConfigStoreObjectId id_;
  const std::string version_;
  const std::string user_;
  RawStatement write_;
};

// Times reads, run after each untimed write, as the iteration's time.
template <typename Reads>
void TimeAfterWrites(benchmark::State& state, UntimedWrite& write, Reads reads) {
  for (auto _ : state) {
    write.Run();
    const auto start = std::chrono::steady_clock::now();
    reads();
    state.SetIterationTime(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
}

// "IS_BOOT" (read before a write of user data) and "NOTIFY_NEXD" (after
// every write), each through the thread's default connection.
void LibSwitchReads(benchmark::State& state) {
  BenchStore& store = WriteStore();
  UntimedWrite write(store);
  bool anyOn = false;
  TimeAfterWrites(state, write, [&anyOn] {
    anyOn |= CorvConfigStore::IsBoot();
    anyOn |= CorvConfigStore::IsNexdNotificationEnabled();
  });
  if (anyOn) state.SkipWithError("a switch read as on in a store that sets none");
}

// The library's key-value read, run for each switch on a second
// connection.
void RawSwitchReads(benchmark::State& state) {
  BenchStore& store = WriteStore();
  UntimedWrite write(store);
  RawSwitches switches(store.Path());
  TimeAfterWrites(state, write, [&switches] {
    switches.Boot();
    switches.Notify();
  });
  switches.ExpectOff(state);
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
// whole row, in one transaction; each checked by validator first when one is
// given.
void RunRawSetInstances(benchmark::State& state, RawValidator* validator) {
  BenchStore& store = WriteStore();
  const CorvConfigStore::ConfigStoreObjectId key = KeyId(PortsKey(kSetInstancesCount));
  RawStatement clear(store.Raw(), Sql::kDeleteRows);
  RowWriter writer(store.Raw(), LayoutOf(SchemaOf(key.key)));
  RawSwitches switches(store.Path());
  for (auto _ : state) {
    JsonAllocator allocator;
    JsonParser parser(allocator);
    switches.Boot();
    RawTransaction transaction(store.Raw());
    clear.BindKey(key, false);
    clear.Run();
    for (const std::string& text : PortTexts()) {
      rapidjson::Value value = parser.Parse(text);
      if (validator != nullptr && !validator->Valid(value)) FailRaw(store.Raw(), "refused");
      CorvConfigStore::ConfigStoreObjectId id = key;
      id.instanceId = writer.InstanceIdOf(value);
      writer.Write(id, value, allocator);
    }
    transaction.Commit();
    switches.Notify();
  }
  switches.ExpectOff(state);
  ExpectPorts(state);
  ReportInstances(state, kSetInstancesCount);
}

void RawSetInstances(benchmark::State& state) { RunRawSetInstances(state, nullptr); }

// The twin of a write that, as the library's must, checks each instance
// against the key's schema: with rapidjson's own validator.
void RawSetInstancesValidating(benchmark::State& state) {
  RawValidator validator(PortsKey(kSetInstancesCount), true);
  Expect(state, validator.Valid(PortTexts().front()) && !validator.Valid(R"({"name":"port1"})"),
         "rapidjson does not tell a valid instance from an invalid one");
  RunRawSetInstances(state, &validator);
}

BENCHMARK(LibSetUserData)->Name("Lib/SetUserData")->UseRealTime();
BENCHMARK(RawSetUserData)->Name("Raw/SetUserData")->UseRealTime();
BENCHMARK(LibSet)->Name("Lib/Set")->UseRealTime();
BENCHMARK(RawSet)->Name("Raw/Set")->UseRealTime();
BENCHMARK(LibUpdate)->Name("Lib/Update")->UseRealTime();
BENCHMARK(RawUpdate)->Name("Raw/Update")->UseRealTime();
BENCHMARK(LibSwitchReads)->Name("Lib/SwitchReads")->Iterations(kSwitchReadIterations)->UseManualTime();
BENCHMARK(RawSwitchReads)->Name("Raw/SwitchReads")->Iterations(kSwitchReadIterations)->UseManualTime();
BENCHMARK(LibSetInstances)->Name("Lib/SetInstances")->Arg(kSetInstancesCount)->UseRealTime();
BENCHMARK(RawSetInstances)->Name("Raw/SetInstances")->Arg(kSetInstancesCount)->UseRealTime();
// The same library call beside the validating twin.
BENCHMARK(LibSetInstances)
    ->Name("Lib/SetInstancesValidating")
    ->Arg(kSetInstancesCount)
    ->UseRealTime();
BENCHMARK(RawSetInstancesValidating)
    ->Name("Raw/SetInstancesValidating")
    ->Arg(kSetInstancesCount)
    ->UseRealTime();

}  // namespace
}  // namespace CorvBench

BENCHMARK_MAIN();

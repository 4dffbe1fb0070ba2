// Concurrency campaign: several processes run mixed operations on one store
// at the same time, each logging what it committed; the parent then works
// out the final state those operations imply and compares it with the
// store's.
//
// Each worker owns its members of the shared objects (its counter p<N> and
// members w<N>-* of "counters", instances w<N>-* of "items", every instance
// of "batch<N>"), so its own log decides their final values whatever the
// interleaving. "total" is shared: nested transactions read it and write it
// plus one, so a lost update shows as a total below the number of committed
// increments.
//
// Usage: reliability_concurrency [--workers=8] [--ops=1000] [--seed=S]
// (the short mode of the test suite passes --ops=100).
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "reliability/support/CampaignSupport.h"

using namespace CorvConfigStore;
using namespace CorvCampaign;

namespace {

constexpr int kItemsPerWorker = 24;    // instance names w<N>-0 .. w<N>-23
constexpr int kMembersPerWorker = 16;  // members w<N>-0 .. w<N>-15
constexpr int kBatchNames = 8;         // instance names b0 .. b7
using Clock = std::chrono::steady_clock;

const char kComponent[] = "rel";
const char kGroup[] = "conc";

ConfigStoreObjectId Key(const std::string& key, const std::string& instance = "") {
  return ConfigStoreObjectId(key, kGroup, kComponent, instance);
}

std::string Name(int worker, int index) {
  return "w" + std::to_string(worker) + "-" + std::to_string(index);
}

std::string BatchKey(int worker) { return "batch" + std::to_string(worker); }

std::string InstanceSchema() {
  return R"({"type": "array", "items": {"type": "object", "properties": {
    "name": {"type": "string", "instanceId": true},
    "owner": {"type": "integer"}, "v": {"type": "integer"}}}})";
}

std::string Schemas(int workers) {
  std::string counters;
  for (int w = 0; w < workers; ++w)
    counters += "\"p" + std::to_string(w) + "\": {\"type\": \"integer\"}, ";
  std::string text = R"({"rel": {"conc": {
    "counters": {"type": "object", "properties": {)" +
                     counters + R"("total": {"type": "integer"},
      "members": {"type": "array", "items": {"type": "object", "properties": {
        "name": {"type": "string", "instanceId": true}, "v": {"type": "integer"}}}}}},
    "items": )" + InstanceSchema();
  for (int w = 0; w < workers; ++w) text += ",\n    \"" + BatchKey(w) + "\": " + InstanceSchema();
  return text + "}}}";
}

std::string InstanceJson(const std::string& name, int owner, long v) {
  return R"({"name":")" + name + R"(","owner":)" + std::to_string(owner) + R"(,"v":)" +
         std::to_string(v) + "}";
}

// What one worker's committed operations leave behind for the members it
// owns; the parent rebuilds it from the worker's log, the worker keeps it to
// check its own reads.
struct WorkerState {
  long counter = -1;            // p<N>; -1: never written
  std::map<int, long> members;  // w<N>-i -> v
  std::map<int, long> items;    // w<N>-i -> v
  std::map<int, long> batch;    // b<i> -> v (SetInstances replaces it)
  long totalIncrements = 0;
};

// One worker: runs its operations and logs each committed one, a line each,
// to its log file; the last line holds its counts.
class Worker {
 public:
  Worker(int index, uint64_t seed, const std::string& logPath)
      : index_(index), random_(seed), log_(logPath), store_(ConfigStore::GetStore("")) {}

  void Run(int operations) {
    for (int op = 0; op < operations; ++op) {
      int choice = static_cast<int>(random_() % 100);
      if (choice < 25)
        UpdateCounters();
      else if (choice < 40)
        SetItem();
      else if (choice < 50)
        DeleteItem();
      else if (choice < 60)
        SetBatch();
      else if (choice < 80)
        Read();
      else
        NestedTransaction();
    }
    log_ << "F " << failedCalls_ << " " << readMismatches_ << " " << slowestCallMs_ << "\n";
    log_.flush();
  }

 private:
  // Runs one library call, timing it; a failure is counted and reported.
  template <typename F>
  bool Call(const char* what, F&& call) {
    auto start = Clock::now();
    bool ok = true;
    try {
      ok = Returns(call());
      if (!ok) Report(what, "returned failure");
    } catch (const ConfigStoreException& e) {
      std::string reason = e.what();
      for (const auto& detail : e.GetDetails()) reason += "; " + detail;
      Report(what, "[" + std::to_string(e.GetErrorCode()) + "] " + reason);
      ok = false;
    } catch (const std::exception& e) {
      Report(what, e.what());
      ok = false;
    }
    long ms = static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
    slowestCallMs_ = std::max(slowestCallMs_, ms);
    return ok;
  }
  static bool Returns(int status) { return status == 0; }
  static bool Returns(bool ok) { return ok; }

  void Report(const char* what, const std::string& reason) {
    ++failedCalls_;
    if (failedCalls_ <= 5)
      std::cerr << "worker " << index_ << ": " << what << " failed: " << reason << std::endl;
  }

  void Commit(const std::string& line) {
    log_ << line << "\n";
    log_.flush();
  }

  void UpdateCounters() {
    long k = state_.counter + 1;
    int member = static_cast<int>(k % kMembersPerWorker);
    std::string json = "{\"p" + std::to_string(index_) + "\":" + std::to_string(k) +
                       R"(,"members":[{"name":")" + Name(index_, member) + R"(","v":)" +
                       std::to_string(k) + "}]}";
    if (!Call("Update", [&] {
          store_->Update(MakeObject(Key("counters"), json), EXTERNAL);
          return true;
        }))
      return;
    state_.counter = k;
    state_.members[member] = k;
    Commit("U " + std::to_string(k));
  }

  void SetItem() {
    int item = static_cast<int>(random_() % kItemsPerWorker);
    long v = ++serial_;
    std::string name = Name(index_, item);
    if (!Call("Set", [&] {
          store_->Set(MakeObject(Key("items", name), InstanceJson(name, index_, v)), EXTERNAL);
          return true;
        }))
      return;
    state_.items[item] = v;
    Commit("S " + std::to_string(item) + " " + std::to_string(v));
  }

  void DeleteItem() {
    int item = static_cast<int>(random_() % kItemsPerWorker);
    if (!Call("Delete", [&] {
          store_->Delete(Key("items", Name(index_, item)));
          return true;
        }))
      return;
    state_.items.erase(item);
    Commit("D " + std::to_string(item));
  }

  void SetBatch() {
    std::map<int, long> batch;
    int count = 1 + static_cast<int>(random_() % 4);
    while (static_cast<int>(batch.size()) < count)
      batch[static_cast<int>(random_() % kBatchNames)] = ++serial_;
    std::vector<std::shared_ptr<ConfigStoreObject>> objects;
    std::string line = "B";
    for (const auto& entry : batch) {
      std::string name = "b" + std::to_string(entry.first);
      objects.push_back(
          MakeObject(Key(BatchKey(index_), name), InstanceJson(name, index_, entry.second)));
      line += " " + std::to_string(entry.first) + "=" + std::to_string(entry.second);
    }
    if (!Call("SetInstances", [&] {
          store_->SetInstances(objects, EXTERNAL);
          return true;
        }))
      return;
    state_.batch = batch;
    Commit(line);
  }

  // Reads of what this worker owns must show its own last committed writes.
  void Read() {
    switch (random_() % 4) {
      case 0: {
        int item = static_cast<int>(random_() % kItemsPerWorker);
        std::shared_ptr<ConfigStoreObject> got;
        if (!Call("Get", [&] {
              got = store_->Get(Key("items", Name(index_, item)));
              return true;
            }))
          return;
        auto expected = state_.items.find(item);
        bool same = expected == state_.items.end()
                        ? !got
                        : got && JsonEqual(got->GetData(), InstanceJson(Name(index_, item), index_,
                                                                        expected->second));
        Mismatch(same, "item " + Name(index_, item));
        break;
      }
      case 1: {
        std::shared_ptr<ConfigStoreObject> got;
        if (!Call("Get", [&] {
              got = store_->Get(Key("counters"));
              return true;
            }))
          return;
        long counter = -1;
        std::string member = "p" + std::to_string(index_);
        if (got) got->GetValue(member.c_str(), &counter);
        Mismatch(counter == state_.counter, member);
        break;
      }
      case 2: {
        // The whole of "items" as a document: this worker's instances in
        // it are those it last wrote.
        std::string text;
        if (!Call("Export", [&] {
              text = Export({std::make_shared<FilterSpecObject>(Key("items"))});
              return true;
            }))
          return;
        rapidjson::Document doc;
        doc.Parse(text.c_str());
        std::map<int, long> seen;
        bool same = doc.IsObject() && doc.HasMember(kComponent) && doc[kComponent].IsObject() &&
                    doc[kComponent].HasMember(kGroup) && doc[kComponent][kGroup].IsObject() &&
                    doc[kComponent][kGroup].HasMember("items");
        if (same && doc[kComponent][kGroup]["items"].IsArray()) {
          std::string prefix = "w" + std::to_string(index_) + "-";
          for (const auto& instance : doc[kComponent][kGroup]["items"].GetArray()) {
            if (!instance.IsObject() || !instance.HasMember("name") ||
                !instance["name"].IsString() || !instance.HasMember("v") ||
                !instance["v"].IsInt64()) {
              same = false;
              continue;
            }
            std::string name = instance["name"].GetString();
            if (name.compare(0, prefix.size(), prefix) == 0)
              seen[std::atoi(name.c_str() + prefix.size())] = instance["v"].GetInt64();
          }
        }
        Mismatch(same && seen == state_.items, "exported items");
        break;
      }
      default: {
        std::vector<std::shared_ptr<ConfigStoreObject>> got;
        if (!Call("GetInstances", [&] {
              got = store_->GetInstances(std::make_shared<FilterSpecObject>(Key(BatchKey(index_))));
              return true;
            }))
          return;
        bool same = got.size() == state_.batch.size();
        for (const auto& object : got) {
          std::string id = object->GetConfigStoreObjectId().instanceId;
          auto expected =
              id.size() > 1 ? state_.batch.find(std::atoi(id.c_str() + 1)) : state_.batch.end();
          same = same && expected != state_.batch.end() &&
                 JsonEqual(object->GetData(), InstanceJson(id, index_, expected->second));
        }
        Mismatch(same, BatchKey(index_));
        break;
      }
    }
  }

  void Mismatch(bool same, const std::string& what) {
    if (same) return;
    ++readMismatches_;
    if (readMismatches_ <= 5)
      std::cerr << "worker " << index_ << ": read of " << what << " does not show its last write"
                << std::endl;
  }

  // Outer transaction: total + 1, and an inner transaction setting an item;
  // either level may be cancelled.
  void NestedTransaction() {
    bool commitInner = random_() % 2 == 0;
    bool commitOuter = random_() % 4 != 0;
    int item = static_cast<int>(random_() % kItemsPerWorker);
    long v = ++serial_;
    std::string name = Name(index_, item);
    if (!Call("BeginTransaction", [&] { return store_->BeginTransaction(); })) return;
    bool ok = Call("Update total", [&] {
      long total = 0;
      std::shared_ptr<ConfigStoreObject> counters = store_->Get(Key("counters"));
      if (counters) counters->GetValue("total", &total);
      store_->Update(MakeObject(Key("counters"), "{\"total\":" + std::to_string(total + 1) + "}"),
                     EXTERNAL);
      return true;
    });
    ok = ok && Call("BeginTransaction", [&] { return store_->BeginTransaction(); });
    if (ok) {
      bool set = Call("Set", [&] {
        store_->Set(MakeObject(Key("items", name), InstanceJson(name, index_, v)), EXTERNAL);
        return true;
      });
      // A failed commit leaves the inner level open: it is cancelled then.
      if (!set || !commitInner ||
          !Call("CommitTransaction", [&] { return store_->CommitTransaction(); })) {
        Call("CancelTransaction", [&] { return store_->CancelTransaction(); });
        commitInner = false;
      }
      ok = set;
    }
    if (!ok || !commitOuter) {
      Call("CancelTransaction", [&] { return store_->CancelTransaction(); });
      return;
    }
    if (!Call("CommitTransaction", [&] { return store_->CommitTransaction(); })) {
      Call("CancelTransaction", [&] { return store_->CancelTransaction(); });
      return;
    }
    ++state_.totalIncrements;
    Commit("T");
    if (commitInner) {
      state_.items[item] = v;
      Commit("S " + std::to_string(item) + " " + std::to_string(v));
    }
  }

  int index_;
  std::mt19937_64 random_;
  std::ofstream log_;
  std::shared_ptr<ConfigStore> store_;
  WorkerState state_;
  long serial_ = 0;
  long failedCalls_ = 0;
  long readMismatches_ = 0;
  long slowestCallMs_ = 0;
};

// A worker's log read back: its final state and its counts. False when the
// log does not end with the counts (the worker did not finish).
struct WorkerLog {
  WorkerState state;
  long committed = 0;
  long failedCalls = 0;
  long readMismatches = 0;
  long slowestCallMs = 0;
};

bool ReadLog(const std::string& path, WorkerLog* log) {
  std::ifstream in(path);
  std::string line;
  bool finished = false;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    WorkerState& s = log->state;
    if (kind == "F") {
      words >> log->failedCalls >> log->readMismatches >> log->slowestCallMs;
      finished = true;
      continue;
    }
    ++log->committed;
    if (kind == "U") {
      words >> s.counter;
      s.members[static_cast<int>(s.counter % kMembersPerWorker)] = s.counter;
    } else if (kind == "S") {
      int item;
      long v;
      words >> item >> v;
      s.items[item] = v;
    } else if (kind == "D") {
      int item;
      words >> item;
      s.items.erase(item);
    } else if (kind == "B") {
      s.batch.clear();
      std::string pair;
      while (words >> pair)
        s.batch[std::atoi(pair.c_str())] = std::atol(pair.c_str() + pair.find('=') + 1);
    } else if (kind == "T") {
      ++s.totalIncrements;
    }
  }
  return finished;
}

// Compares the store with the workers' final states. Every expected value
// missing or different is a lost update; everything else that differs is
// an unexpected difference.
class FinalCheck {
 public:
  FinalCheck(ConfigStore& store, const std::vector<WorkerLog>& logs) : store_(store), logs_(logs) {}

  void Run() {
    CheckCounters();
    CheckInstances();
  }
  long Lost() const { return lost_; }
  long Unexpected() const { return unexpected_; }

 private:
  void Lose(const std::string& what) {
    if (++lost_ <= 10) std::cerr << "lost update: " << what << std::endl;
  }
  void Surprise(const std::string& what) {
    if (++unexpected_ <= 10) std::cerr << "unexpected in the store: " << what << std::endl;
  }

  void CheckCounters() {
    std::shared_ptr<ConfigStoreObject> counters = store_.Get(Key("counters"));
    rapidjson::Document doc;
    doc.Parse(counters ? counters->GetData().c_str() : "{}");
    long total = 0;
    for (size_t w = 0; w < logs_.size(); ++w) total += logs_[w].state.totalIncrements;
    if (!doc.IsObject() || !doc.HasMember("total") || !doc["total"].IsInt64() ||
        doc["total"].GetInt64() != total)
      Lose("total (expected " + std::to_string(total) + ")");
    std::map<std::string, long> members;
    for (size_t w = 0; w < logs_.size(); ++w) {
      const WorkerState& s = logs_[w].state;
      std::string p = "p" + std::to_string(w);
      bool present = doc.IsObject() && doc.HasMember(p.c_str()) && doc[p.c_str()].IsInt64();
      if (s.counter >= 0 && (!present || doc[p.c_str()].GetInt64() != s.counter))
        Lose(p + " (expected " + std::to_string(s.counter) + ")");
      if (s.counter < 0 && present) Surprise(p);
      for (const auto& m : s.members) members[Name(static_cast<int>(w), m.first)] = m.second;
    }
    std::set<std::string> seen;
    if (doc.IsObject() && doc.HasMember("members") && doc["members"].IsArray()) {
      for (const auto& member : doc["members"].GetArray()) {
        std::string name = member.HasMember("name") && member["name"].IsString()
                               ? member["name"].GetString()
                               : "?";
        seen.insert(name);
        auto expected = members.find(name);
        if (expected == members.end())
          Surprise("member " + name);
        else if (!member.HasMember("v") || !member["v"].IsInt64() ||
                 member["v"].GetInt64() != expected->second)
          Lose("member " + name + " (expected v " + std::to_string(expected->second) + ")");
      }
    }
    for (const auto& m : members)
      if (!seen.count(m.first)) Lose("member " + m.first);
  }

  // Every instance of a key against the expected name -> JSON.
  void CheckKey(const std::string& key, const std::map<std::string, std::string>& expected) {
    std::set<std::string> seen;
    for (const auto& object : store_.GetInstances(std::make_shared<FilterSpecObject>(Key(key)))) {
      std::string id = object->GetConfigStoreObjectId().instanceId;
      seen.insert(id);
      auto found = expected.find(id);
      if (found == expected.end())
        Surprise(key + " " + id);
      else if (!JsonEqual(object->GetData(), found->second))
        Lose(key + " " + id + ": " + object->GetData() + " instead of " + found->second);
    }
    for (const auto& entry : expected)
      if (!seen.count(entry.first)) Lose(key + " " + entry.first + " missing");
  }

  void CheckInstances() {
    std::map<std::string, std::string> items;
    for (size_t w = 0; w < logs_.size(); ++w) {
      int worker = static_cast<int>(w);
      for (const auto& item : logs_[w].state.items)
        items[Name(worker, item.first)] =
            InstanceJson(Name(worker, item.first), worker, item.second);
      std::map<std::string, std::string> batch;
      for (const auto& entry : logs_[w].state.batch) {
        std::string name = "b" + std::to_string(entry.first);
        batch[name] = InstanceJson(name, worker, entry.second);
      }
      CheckKey(BatchKey(worker), batch);
    }
    CheckKey("items", items);
  }

  ConfigStore& store_;
  const std::vector<WorkerLog>& logs_;
  long lost_ = 0;
  long unexpected_ = 0;
};

int RunCampaign(const Options& options) {
  int workers = static_cast<int>(options.Number("workers", 8));
  int operations = static_cast<int>(options.Number("ops", 1000));
  uint64_t seed = options.Number("seed", FreshSeed());
  std::cout << "concurrency: " << workers << " workers x " << operations << " operations, seed "
            << seed << std::endl;

  CampaignStore campaign(Schemas(workers));
  {
    std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");
    store->Set(MakeObject(Key("counters"), R"({"total":0})"), EXTERNAL);
  }
  auto start = Clock::now();
  std::vector<pid_t> pids;
  for (int w = 0; w < workers; ++w)
    pids.push_back(
        StartSelf({"--worker=" + std::to_string(w), "--ops=" + std::to_string(operations),
                   "--seed=" + std::to_string(seed + static_cast<uint64_t>(w)),
                   "--log=" + campaign.Dir().File("log-" + std::to_string(w))}));
  long crashed = 0;
  for (pid_t pid : pids)
    if (WaitExit(pid) != 0) ++crashed;
  double seconds = std::chrono::duration<double>(Clock::now() - start).count();

  std::vector<WorkerLog> logs(static_cast<size_t>(workers));
  long committed = 0, failed = 0, mismatches = 0, slowest = 0;
  for (int w = 0; w < workers; ++w) {
    if (!ReadLog(campaign.Dir().File("log-" + std::to_string(w)), &logs[static_cast<size_t>(w)]))
      ++crashed;
    const WorkerLog& log = logs[static_cast<size_t>(w)];
    committed += log.committed;
    failed += log.failedCalls;
    mismatches += log.readMismatches;
    slowest = std::max(slowest, log.slowestCallMs);
  }
  std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");
  FinalCheck check(*store, logs);
  check.Run();

  Figures figures;
  figures.Set("seed", seed);
  figures.Set("processes", static_cast<uint64_t>(workers));
  figures.Set("operations", static_cast<uint64_t>(workers) * static_cast<uint64_t>(operations));
  figures.Set("committed operations", static_cast<uint64_t>(committed));
  figures.Set("failed calls", static_cast<uint64_t>(failed));
  figures.Set("workers not finished", static_cast<uint64_t>(crashed));
  figures.Set("stale reads", static_cast<uint64_t>(mismatches));
  figures.Set("lost updates", static_cast<uint64_t>(check.Lost()));
  figures.Set("unexpected differences", static_cast<uint64_t>(check.Unexpected()));
  figures.Set("final state as implied", check.Lost() + check.Unexpected() == 0 ? "yes" : "no");
  figures.Set("slowest call ms", static_cast<uint64_t>(slowest));
  char rate[32];
  std::snprintf(rate, sizeof rate, "%.1f", seconds);
  figures.Set("seconds", rate);
  figures.Print("concurrency");
  bool clean = failed == 0 && crashed == 0 && mismatches == 0 && check.Lost() == 0 &&
               check.Unexpected() == 0;
  if (!clean) std::cout << "concurrency: FAILED (rerun with --seed=" << seed << ")" << std::endl;
  return clean ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Options options(argc, argv);
    if (options.Has("worker")) {
      Worker worker(static_cast<int>(options.Number("worker", 0)), options.Number("seed", 0),
                    options.Text("log", ""));
      worker.Run(static_cast<int>(options.Number("ops", 0)));
      return 0;
    }
    return RunCampaign(options);
  } catch (const std::exception& e) {
    std::cerr << "concurrency: " << e.what() << std::endl;
    return 2;
  }
}

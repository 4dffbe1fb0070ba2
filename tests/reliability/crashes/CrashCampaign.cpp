// Crash campaign: a supervisor starts a writer process, kills it with
// SIGKILL at a random moment, checks the store, and starts the next one.
//
// The writer runs single Sets, transactions of several Sets, SetInstances
// and imports without pause. Before each call it tells the supervisor,
// through a pipe, what the call will write; right after the call returns it
// reports the commit. Every write carries a tag of its own, written to every
// instance it touches, so that after a kill the supervisor can tell, key by
// key, whether the store holds the state before or after the call that was
// in flight, and nothing else:
// - PRAGMA integrity_check must say "ok";
// - every write reported committed must be there (or be replaced by the
//   call in flight);
// - a call in flight must be wholly there or wholly absent: an import or a
//   bulk write whose keys or instances mix tags is partly visible.
//
// Usage: reliability_crashes [--kills=300] [--seed=S] [--max-delay-ms=150]
// (the short mode of the test suite passes --kills=20).
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>
#include <fcntl.h>
#include <signal.h>
#include <sqlite3.h>

#include <chrono>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "reliability/support/CampaignSupport.h"

using namespace CorvConfigStore;
using namespace CorvCampaign;

namespace {

const char kComponent[] = "rel";
const char kGroup[] = "crash";
// Keys with instances, and the one singleton the imports write.
const char* const kInstanceKeys[] = {"rows", "group", "sets", "imp_b", "imp_c"};
const char kSingleton[] = "imp_a";
constexpr int kRows = 64;
constexpr int kGroupSize = 8;
// Padding makes each instance span a good part of a page, so that bulk
// writes and imports touch many pages and last long enough to be hit.
const std::string kPad(300, 'x');

std::string Schemas() {
  const std::string instances = R"({"type": "array", "items": {"type": "object", "properties": {
    "name": {"type": "string", "instanceId": true},
    "tag": {"type": "string"}, "pad": {"type": "string"}}}})";
  std::string text = R"({"rel": {"crash": {"imp_a": {"type": "object", "properties": {
    "tag": {"type": "string"}, "pad": {"type": "string"}}})";
  for (const char* key : kInstanceKeys) text += ",\n\"" + std::string(key) + "\": " + instances;
  return text + "}}}";
}

ConfigStoreObjectId Key(const std::string& key, const std::string& instance = "") {
  return ConfigStoreObjectId(key, kGroup, kComponent, instance);
}

std::string InstanceJson(const std::string& name, const std::string& tag) {
  return R"({"name":")" + name + R"(","tag":")" + tag + R"(","pad":")" + kPad + R"("})";
}

// What the store holds for the campaign's keys: key -> instance -> tag (the
// singleton under the empty instance id).
using State = std::map<std::string, std::map<std::string, std::string>>;

// The writes of one call: keys it replaces as a whole, and the instances it
// writes with their tag. As a record: "B <kind> =key ... key/instance/tag".
struct Effect {
  std::string kind;
  std::set<std::string> replaced;
  std::vector<std::pair<std::string, std::pair<std::string, std::string>>> writes;

  void Write(const std::string& key, const std::string& instance, const std::string& tag) {
    writes.push_back({key, {instance, tag}});
  }
  std::string Record() const {
    std::string line = "B " + kind;
    for (const auto& key : replaced) line += " =" + key;
    for (const auto& w : writes)
      line += " " + w.first + "/" + w.second.first + "/" + w.second.second;
    return line + "\n";
  }
  static Effect Parse(std::istringstream& words) {
    Effect effect;
    words >> effect.kind;
    std::string token;
    while (words >> token) {
      if (token[0] == '=') {
        effect.replaced.insert(token.substr(1));
        continue;
      }
      size_t first = token.find('/'), second = token.find('/', first + 1);
      effect.Write(token.substr(0, first), token.substr(first + 1, second - first - 1),
                   token.substr(second + 1));
    }
    return effect;
  }
  std::set<std::string> Keys() const {
    std::set<std::string> keys = replaced;
    for (const auto& w : writes) keys.insert(w.first);
    return keys;
  }
  State ApplyTo(State state) const {
    for (const auto& key : replaced) state[key].clear();
    for (const auto& w : writes) state[w.first][w.second.first] = w.second.second;
    return state;
  }
};

// The writer process: writes until it is killed, reporting on fd 1.
class Writer {
 public:
  explicit Writer(uint64_t seed) : random_(seed), prefix_(std::to_string(seed % 1000000) + "-") {}

  [[noreturn]] void Run() {
    store_ = ConfigStore::GetStore("");
    for (;;) {
      int choice = static_cast<int>(random_() % 100);
      try {
        if (choice < 35)
          SetRow();
        else if (choice < 55)
          WriteGroup();
        else if (choice < 75)
          SetInstances();
        else
          ImportDocument();
      } catch (const ConfigStoreException& e) {
        std::string reason = e.what();
        for (const auto& detail : e.GetDetails()) reason += "; " + detail;
        Send("E [" + std::to_string(e.GetErrorCode()) + "] " + reason + "\n");
        _exit(3);
      } catch (const std::exception& e) {
        Send("E " + std::string(e.what()) + "\n");
        _exit(3);
      }
    }
  }

 private:
  // One record in one write: a pipe write of up to PIPE_BUF bytes is never
  // split, so the supervisor reads whole records only.
  static void Send(const std::string& record) {
    if (write(STDOUT_FILENO, record.data(), record.size()) != static_cast<ssize_t>(record.size()))
      _exit(4);
  }

  std::string NextTag() { return prefix_ + std::to_string(++serial_); }

  void SetRow() {
    Effect effect{"set", {}, {}};
    std::string name = "r" + std::to_string(random_() % kRows);
    std::string tag = NextTag();
    effect.Write("rows", name, tag);
    Send(effect.Record());
    store_->Set(MakeObject(Key("rows", name), InstanceJson(name, tag)), EXTERNAL);
    Send("C\n");
  }

  // Several Sets in one transaction of the caller's.
  void WriteGroup() {
    Effect effect{"group", {}, {}};
    std::string tag = NextTag();
    for (int i = 0; i < kGroupSize; ++i) effect.Write("group", "g" + std::to_string(i), tag);
    Send(effect.Record());
    if (store_->BeginTransaction() != 0) throw std::runtime_error("BeginTransaction failed");
    for (const auto& w : effect.writes)
      store_->Set(MakeObject(Key("group", w.second.first), InstanceJson(w.second.first, tag)),
                  EXTERNAL);
    if (store_->CommitTransaction() != 0) throw std::runtime_error("CommitTransaction failed");
    Send("C\n");
  }

  void SetInstances() {
    Effect effect{"setinstances", {"sets"}, {}};
    std::string tag = NextTag();
    std::vector<std::shared_ptr<ConfigStoreObject>> objects;
    int count = 1 + static_cast<int>(random_() % 60);
    for (int i = 0; i < count; ++i) {
      std::string name = "s" + std::to_string(i);
      effect.Write("sets", name, tag);
      objects.push_back(MakeObject(Key("sets", name), InstanceJson(name, tag)));
    }
    Send(effect.Record());
    store_->SetInstances(objects, EXTERNAL);
    Send("C\n");
  }

  // A document that replaces imp_a, imp_b and imp_c, each instance tagged.
  void ImportDocument() {
    Effect effect{"import", {"imp_a", "imp_b", "imp_c"}, {}};
    std::string tag = NextTag();
    effect.Write(kSingleton, "", tag);
    std::string doc = R"({"rel":{"crash":{"imp_a":{"tag":")" + tag + R"(","pad":")" + kPad + "\"}";
    for (const char* key : {"imp_b", "imp_c"}) {
      doc += ",\"" + std::string(key) + "\":[";
      int count = 1 + static_cast<int>(random_() % 40);
      for (int i = 0; i < count; ++i) {
        std::string name = "i" + std::to_string(i);
        effect.Write(key, name, tag);
        doc += (i > 0 ? "," : "") + InstanceJson(name, tag);
      }
      doc += "]";
    }
    doc += "}}}";
    Send(effect.Record());
    std::vector<ErrorInfo> errors;
    if (!Import(doc, errors)) throw std::runtime_error("the import document was refused");
    Send("C\n");
  }

  std::mt19937_64 random_;
  std::string prefix_;
  long serial_ = 0;
  std::shared_ptr<ConfigStore> store_;
};

// What the supervisor learnt from one writer: its records up to the kill.
struct Report {
  std::vector<Effect> committed;
  bool inFlight = false;
  Effect pending;
  std::string failure;
};

Report ReadReport(int fd) {
  std::string text;
  char buffer[4096];
  ssize_t n;
  while ((n = read(fd, buffer, sizeof buffer)) > 0 || (n < 0 && errno == EINTR))
    if (n > 0) text.append(buffer, static_cast<size_t>(n));
  Report report;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind == "B") {
      report.pending = Effect::Parse(words);
      report.inFlight = true;
    } else if (kind == "C" && report.inFlight) {
      report.committed.push_back(report.pending);
      report.inFlight = false;
    } else if (kind == "E") {
      report.failure = line.substr(2);
    }
  }
  return report;
}

// "ok" when SQLite finds the database sound; otherwise what it says.
std::string IntegrityCheck(const std::string& path) {
  sqlite3* db = nullptr;
  std::string result;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
    result = sqlite3_errmsg(db);
  } else {
    sqlite3_busy_timeout(db, 3000);
    sqlite3_exec(
        db, "PRAGMA integrity_check",
        [](void* out, int, char** values, char**) {
          std::string& text = *static_cast<std::string*>(out);
          text += (text.empty() ? "" : "; ") + std::string(values[0] ? values[0] : "NULL");
          return 0;
        },
        &result, nullptr);
  }
  sqlite3_close_v2(db);
  return result;
}

// The campaign's keys as the library reads them, from a store opened anew
// as the next process after the crash would.
State ReadState() {
  std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");
  State state;
  for (const char* key : kInstanceKeys) {
    auto& instances = state[key];
    for (const auto& object : store->GetInstances(std::make_shared<FilterSpecObject>(Key(key)))) {
      std::string tag;
      object->GetValue("tag", &tag);
      instances[object->GetConfigStoreObjectId().instanceId] = tag;
    }
  }
  auto& singleton = state[kSingleton];
  if (std::shared_ptr<ConfigStoreObject> object = store->Get(Key(kSingleton))) {
    std::string tag;
    object->GetValue("tag", &tag);
    singleton[""] = tag;
  }
  return state;
}

class Supervisor {
 public:
  Supervisor(uint64_t seed, int kills, int maxDelayMs)
      : seed_(seed), kills_(kills), maxDelayMs_(maxDelayMs), random_(seed) {}

  int Run() {
    std::cout << "crashes: " << kills_ << " kills, seed " << seed_ << std::endl;
    CampaignStore campaign(Schemas());
    storePath_ = campaign.StorePath();
    auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < kills_; ++round) RunOne(round);
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    Figures figures;
    figures.Set("seed", seed_);
    figures.Set("kills", static_cast<uint64_t>(kills_));
    figures.Set("kills during a call", inFlightKills_);
    for (const auto& entry : killsDuring_) figures.Set("kills during " + entry.first, entry.second);
    figures.Set("writes verified", writesVerified_);
    figures.Set("imports verified", importsVerified_);
    figures.Set("integrity failures", integrityFailures_);
    figures.Set("lost writes", lostWrites_);
    figures.Set("partial imports", partialImports_);
    figures.Set("partial bulk writes", partialBulkWrites_);
    figures.Set("unexpected rows", unexpectedRows_);
    figures.Set("failed calls", failedCalls_);
    figures.Set("writers ended before the kill", writersEnded_);
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", seconds);
    figures.Set("seconds", text);
    figures.Print("crashes");
    bool clean = integrityFailures_ == 0 && lostWrites_ == 0 && partialImports_ == 0 &&
                 partialBulkWrites_ == 0 && unexpectedRows_ == 0 && failedCalls_ == 0 &&
                 writersEnded_ == 0;
    if (!clean) std::cout << "crashes: FAILED (rerun with --seed=" << seed_ << ")" << std::endl;
    return clean ? 0 : 1;
  }

 private:
  void RunOne(int round) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    uint64_t writerSeed = seed_ * 1000003u + static_cast<uint64_t>(round);
    pid_t pid = StartSelf({"--writer", "--seed=" + std::to_string(writerSeed)}, fds[1]);
    close(fds[1]);
    int delayMs = static_cast<int>(random_() % static_cast<uint64_t>(maxDelayMs_ + 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    kill(pid, SIGKILL);
    // A writer ends only by the kill: an exit of its own is a failure it
    // reported, or a crash (a sanitizer's report, say).
    if (WaitExit(pid) != -1) {
      ++writersEnded_;
      std::cerr << "round " << round << ": the writer ended before the kill" << std::endl;
    }
    Report report = ReadReport(fds[0]);
    close(fds[0]);
    if (!report.failure.empty()) {
      ++failedCalls_;
      std::cerr << "round " << round << ": the writer failed: " << report.failure << std::endl;
    }
    for (const Effect& effect : report.committed) {
      model_ = effect.ApplyTo(model_);
      ++writesVerified_;
      if (effect.kind == "import") ++importsVerified_;
    }
    if (report.inFlight) {
      ++inFlightKills_;
      ++killsDuring_[report.pending.kind];
    }

    std::string integrity = IntegrityCheck(storePath_);
    if (integrity != "ok") {
      ++integrityFailures_;
      std::cerr << "round " << round << ": integrity check: " << integrity << std::endl;
    }
    Check(round, report);
  }

  // Compares the store with the model: keys the call in flight did not
  // touch must be as reported; the keys it touched must all be as before it
  // or all as after it.
  void Check(int round, const Report& report) {
    State actual = ReadState();
    State after = report.inFlight ? report.pending.ApplyTo(model_) : model_;
    std::set<std::string> touched;
    if (report.inFlight) touched = report.pending.Keys();
    bool sawBefore = false, sawAfter = false, mixed = false;
    for (const auto& entry : actual) {
      const std::string& key = entry.first;
      const auto& now = entry.second;
      const auto& before = model_[key];
      if (!touched.count(key)) {
        Compare(round, key, before, now, nullptr);
        continue;
      }
      const auto& then = after[key];
      if (now == before && now == then) continue;
      if (now == before) {
        sawBefore = true;
      } else if (now == then) {
        sawAfter = true;
      } else {
        mixed = true;
        Compare(round, key, before, now, &then);
      }
    }
    if (mixed || (sawBefore && sawAfter)) {
      uint64_t& partial = report.pending.kind == "import" ? partialImports_ : partialBulkWrites_;
      if (report.pending.kind != "set") ++partial;
      std::cerr << "round " << round << ": the " << report.pending.kind
                << " in flight is partly visible" << std::endl;
    }
    // The next round starts from what the store holds, so that one fault
    // is counted once.
    model_ = actual;
  }

  // Counts instances the reported writes put there that are missing or
  // changed, and instances nobody wrote. An instance as the call in flight
  // would leave it (then) is neither.
  void Compare(int round, const std::string& key, const std::map<std::string, std::string>& before,
               const std::map<std::string, std::string>& now,
               const std::map<std::string, std::string>* then) {
    auto explained = [&](const std::string& instance, const std::string& tag) {
      if (then == nullptr) return false;
      auto found = then->find(instance);
      return found != then->end() && found->second == tag;
    };
    for (const auto& entry : before) {
      auto found = now.find(entry.first);
      std::string got = found == now.end() ? "" : found->second;
      if (got == entry.second) continue;
      if (found != now.end() && explained(entry.first, got)) continue;
      if (found == now.end() && then != nullptr && !then->count(entry.first)) continue;
      ++lostWrites_;
      std::cerr << "round " << round << ": lost write " << key << "/" << entry.first << " tag "
                << entry.second << (got.empty() ? " (absent)" : " (now " + got + ")") << std::endl;
    }
    for (const auto& entry : now)
      if (!before.count(entry.first) && !explained(entry.first, entry.second)) {
        ++unexpectedRows_;
        std::cerr << "round " << round << ": unexpected " << key << "/" << entry.first << " tag "
                  << entry.second << std::endl;
      }
  }

  uint64_t seed_;
  int kills_;
  int maxDelayMs_;
  std::mt19937_64 random_;
  std::string storePath_;
  State model_;
  std::map<std::string, uint64_t> killsDuring_;  // by kind of call
  uint64_t inFlightKills_ = 0, writesVerified_ = 0, importsVerified_ = 0;
  uint64_t integrityFailures_ = 0, lostWrites_ = 0, partialImports_ = 0;
  uint64_t partialBulkWrites_ = 0, unexpectedRows_ = 0, failedCalls_ = 0, writersEnded_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    Options options(argc, argv);
    if (options.Has("writer")) Writer(options.Number("seed", 0)).Run();
    Supervisor supervisor(options.Number("seed", FreshSeed()),
                          static_cast<int>(options.Number("kills", 300)),
                          static_cast<int>(options.Number("max-delay-ms", 150)));
    return supervisor.Run();
  } catch (const std::exception& e) {
    std::cerr << "crashes: " << e.what() << std::endl;
    return 2;
  }
}

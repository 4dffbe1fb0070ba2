// What the reliability campaign programs share: command-line options, a
// temporary store and schema store of their own, starting this program again
// as a worker process, building objects, comparing JSON texts, and printing
// the figures.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Json.h>
#include <corvconfigstore/Provisioning.h>
#include <stdlib.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/TempDir.h"

namespace CorvCampaign {

// "--name=value" and "--flag" arguments; anything else is refused.
class Options {
 public:
  Options(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
      std::string arg = argv[i];
      if (arg.compare(0, 2, "--") != 0) throw std::invalid_argument("unexpected argument " + arg);
      size_t equals = arg.find('=');
      if (equals == std::string::npos)
        values_[arg.substr(2)] = "";
      else
        values_[arg.substr(2, equals - 2)] = arg.substr(equals + 1);
    }
  }
  bool Has(const std::string& name) const { return values_.count(name) != 0; }
  std::string Text(const std::string& name, const std::string& fallback) const {
    auto found = values_.find(name);
    return found == values_.end() ? fallback : found->second;
  }
  uint64_t Number(const std::string& name, uint64_t fallback) const {
    auto found = values_.find(name);
    if (found == values_.end()) return fallback;
    char* end = nullptr;
    uint64_t value = std::strtoull(found->second.c_str(), &end, 10);
    if (found->second.empty() || *end != '\0')
      throw std::invalid_argument("--" + name + " needs a number");
    return value;
  }

 private:
  std::map<std::string, std::string> values_;
};

// A seed from the clock and the process id, for runs not given one.
inline uint64_t FreshSeed() {
  return static_cast<uint64_t>(time(nullptr)) * 1000003u + static_cast<uint64_t>(getpid());
}

// A provisioned store and a schema store in a fresh temporary directory,
// named by CORV_CONFIGSTORE_DB and CORV_SCHEMASTORE_DB for this process and
// the workers it starts. Removed with the object.
class CampaignStore {
 public:
  explicit CampaignStore(const std::string& schemas)
      : store_(dir_.File("store.db")), schemaStore_(dir_.File("schema-store.db")) {
    setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
    setenv("CORV_SCHEMASTORE_DB", schemaStore_.c_str(), 1);
    CorvConfigStore::ProvisionStore(store_);
    CorvConfigStore::LoadSchemaFile(dir_.Write("schemas.json", schemas));
  }
  const CorvTest::TempDir& Dir() const { return dir_; }
  const std::string& StorePath() const { return store_; }

 private:
  CorvTest::TempDir dir_;
  std::string store_;
  std::string schemaStore_;
};

// Starts this program again with the arguments: a fresh process image, so
// that no database connection crosses a fork. Returns the child's id.
inline pid_t StartSelf(const std::vector<std::string>& args, int stdoutFd = -1) {
  std::vector<std::string> all{"/proc/self/exe"};
  all.insert(all.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& arg : all) argv.push_back(&arg[0]);
  argv.push_back(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    if (stdoutFd >= 0) dup2(stdoutFd, STDOUT_FILENO);
    execv("/proc/self/exe", argv.data());
    _exit(127);
  }
  if (pid < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
  return pid;
}

// The exit status of a child, or -1 when a signal ended it.
inline int WaitExit(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A configuration object holding the JSON text.
inline std::shared_ptr<CorvConfigStore::ConfigStoreObject> MakeObject(
    const CorvConfigStore::ConfigStoreObjectId& id, const std::string& json) {
  auto object = std::make_shared<CorvConfigStore::ConfigStoreObject>(id);
  object->SetData(json.c_str());
  return object;
}

// True when two JSON texts hold equal values (members in any order); a text
// that is not JSON equals nothing.
inline bool JsonEqual(const std::string& a, const std::string& b) {
  rapidjson::Document left, right;
  left.Parse(a.c_str());
  right.Parse(b.c_str());
  return !left.HasParseError() && !right.HasParseError() && left == right;
}

// The figures of a run, printed one a line at its end as "name: value".
class Figures {
 public:
  void Set(const std::string& name, const std::string& value) {
    for (auto& entry : entries_)
      if (entry.first == name) {
        entry.second = value;
        return;
      }
    entries_.emplace_back(name, value);
  }
  void Set(const std::string& name, uint64_t value) { Set(name, std::to_string(value)); }
  void Print(const std::string& campaign) const {
    for (const auto& entry : entries_)
      std::printf("%s %s: %s\n", campaign.c_str(), entry.first.c_str(), entry.second.c_str());
    std::fflush(stdout);
  }

 private:
  std::vector<std::pair<std::string, std::string>> entries_;
};

}  // namespace CorvCampaign

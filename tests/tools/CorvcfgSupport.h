// Running the built corvcfg as a person would, for the program's tests: with
// text on standard input, standard output and error read through pipes or
// through a terminal, every wait bounded; and a fixture that sets up a
// temporary store with the program itself.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "core/Json.h"
#include "support/TempDir.h"

extern char** environ;

namespace CorvTest {

struct Outcome {
  int status = -1;  // the exit status; -1 when it did not exit normally
  std::string out;
  std::string err;
  bool timedOut = false;
};

// Where a standard stream of the program is connected.
enum class Stream { kPipe, kTerminal };

struct RunRequest {
  std::vector<std::string> args;
  std::string input;                  // written to standard input, then closed
  Stream in = Stream::kPipe;          // kTerminal: standard input is a terminal, input unused
  Stream out = Stream::kPipe;
  Stream err = Stream::kPipe;
  std::map<std::string, std::string> environment;  // replaces or adds variables
};

// No command of these tests comes near this; it only keeps a hung program
// from hanging the suite.
constexpr std::chrono::seconds kRunLimit(60);

namespace detail {

// A terminal in raw mode (so what the program writes arrives byte for byte):
// the controlling side in *master, the program's side in *slave.
inline bool OpenTerminal(int* master, int* slave) {
  *master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (*master < 0 || grantpt(*master) != 0 || unlockpt(*master) != 0) return false;
  const char* name = ptsname(*master);
  if (name == nullptr) return false;
  *slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (*slave < 0) return false;
  struct termios mode;
  if (tcgetattr(*slave, &mode) != 0) return false;
  cfmakeraw(&mode);
  return tcsetattr(*slave, TCSANOW, &mode) == 0;
}

inline void SetNonBlocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK); }

}  // namespace detail

// Runs the program with the request; fails the test (and returns status -1)
// when it cannot be started or does not end within kRunLimit.
inline Outcome RunCorvcfg(const RunRequest& request) {
  // A program that leaves without reading all of its input must not end
  // this process.
  signal(SIGPIPE, SIG_IGN);
  const std::string program = CORV_BINARY_DIR "/tools/corvcfg";
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& arg : request.args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  std::vector<std::string> variables;
  for (char** each = environ; *each != nullptr; ++each) {
    std::string variable = *each;
    if (request.environment.count(variable.substr(0, variable.find('='))) == 0)
      variables.push_back(variable);
  }
  for (const auto& entry : request.environment) variables.push_back(entry.first + "=" + entry.second);
  std::vector<char*> envp;
  for (std::string& variable : variables) envp.push_back(&variable[0]);
  envp.push_back(nullptr);

  Outcome run;
  // The parent's end and the program's end of each stream; a terminal is
  // shared by the streams that ask for one.
  int parent[3] = {-1, -1, -1}, child[3] = {-1, -1, -1};
  int master = -1, slave = -1;
  const Stream kinds[3] = {request.in, request.out, request.err};
  for (int fd = 0; fd < 3; ++fd) {
    if (kinds[fd] == Stream::kTerminal) {
      if (master < 0 && !detail::OpenTerminal(&master, &slave)) {
        ADD_FAILURE() << "cannot open a terminal";
        return run;
      }
      child[fd] = slave;
      continue;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
      ADD_FAILURE() << "cannot make a pipe";
      return run;
    }
    parent[fd] = fd == 0 ? ends[1] : ends[0];
    child[fd] = fd == 0 ? ends[0] : ends[1];
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int fd = 0; fd < 3; ++fd) posix_spawn_file_actions_adddup2(&actions, child[fd], fd);
  pid_t pid = 0;
  int rc = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  for (int fd = 0; fd < 3; ++fd)
    if (child[fd] != slave) close(child[fd]);
  if (slave >= 0) close(slave);
  if (rc != 0) {
    ADD_FAILURE() << "cannot start " << program;
    for (int fd : parent)
      if (fd >= 0) close(fd);
    if (master >= 0) close(master);
    return run;
  }

  // Feed standard input and drain the outputs until every one is closed.
  size_t written = 0;
  if (parent[0] >= 0) detail::SetNonBlocking(parent[0]);
  std::string terminal;
  const auto deadline = std::chrono::steady_clock::now() + kRunLimit;
  for (;;) {
    std::vector<pollfd> fds;
    std::vector<std::string*> sinks;
    if (parent[0] >= 0) {
      if (written == request.input.size()) {
        close(parent[0]);
        parent[0] = -1;
      } else {
        fds.push_back({parent[0], POLLOUT, 0});
        sinks.push_back(nullptr);
      }
    }
    if (parent[1] >= 0) fds.push_back({parent[1], POLLIN, 0}), sinks.push_back(&run.out);
    if (parent[2] >= 0) fds.push_back({parent[2], POLLIN, 0}), sinks.push_back(&run.err);
    if (master >= 0) fds.push_back({master, POLLIN, 0}), sinks.push_back(&terminal);
    if (fds.empty()) break;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      run.timedOut = true;
      break;
    }
    if (poll(fds.data(), fds.size(), static_cast<int>(left.count())) < 0 && errno != EINTR) break;
    for (size_t i = 0; i < fds.size(); ++i) {
      if (fds[i].revents == 0) continue;
      int& fd = fds[i].fd == parent[0]   ? parent[0]
                : fds[i].fd == parent[1] ? parent[1]
                : fds[i].fd == parent[2] ? parent[2]
                                         : master;
      if (sinks[i] == nullptr) {
        ssize_t count = write(fd, request.input.data() + written, request.input.size() - written);
        if (count > 0) written += static_cast<size_t>(count);
        if (count < 0 && errno != EAGAIN) written = request.input.size();  // the program left
        continue;
      }
      char chunk[4096];
      ssize_t count = read(fd, chunk, sizeof chunk);
      if (count > 0) {
        sinks[i]->append(chunk, static_cast<size_t>(count));
      } else if (count == 0 || errno != EINTR) {
        // End of a pipe; a terminal reports EIO once the program has gone.
        close(fd);
        fd = -1;
      }
    }
  }
  for (int fd : parent)
    if (fd >= 0) close(fd);
  if (master >= 0) close(master);
  if (run.timedOut) {
    kill(pid, SIGKILL);
    ADD_FAILURE() << "corvcfg did not end within " << kRunLimit.count() << " s";
  }
  int status = 0;
  if (waitpid(pid, &status, 0) == pid && WIFEXITED(status) && !run.timedOut)
    run.status = WEXITSTATUS(status);
  // What went to the terminal is reported as the streams that were on it.
  if (request.out == Stream::kTerminal) run.out = terminal;
  if (request.err == Stream::kTerminal) run.err = request.out == Stream::kTerminal ? "" : terminal;
  return run;
}

// Key schemas of the program's tests: a singleton (lab.net.dns), a key with
// instances and members of every layer (lab.net.nics), a key with generated
// ids (lab.net.routes), a next-boot singleton (lab.boot.settings) and the
// kernel options.
inline const char* kToolSchemas = R"({
  "lab": {
    "net": {
      "dns": {"type": "object", "version": "2.1", "additionalProperties": false, "properties": {
        "servers": {"type": "array", "items": {"type": "string"}},
        "ndots": {"type": "integer", "minimum": 0, "maximum": 15},
        "rotate": {"type": "boolean"}}},
      "nics": {"type": "array", "items": {"type": "object", "required": ["name"],
        "additionalProperties": false, "properties": {
          "name": {"type": "string", "instanceId": true},
          "mtu": {"type": "integer", "minimum": 68},
          "mac": {"type": "string", "vital": true},
          "speed": {"type": "integer", "cached": true}}}},
      "routes": {"type": "array", "items": {"type": "object", "additionalProperties": false,
        "properties": {"to": {"type": "string"}, "via": {"type": "string"}}}}
    },
    "boot": {
      "settings": {"type": "object", "tags": ["@rebootRequiredConfigStore"],
        "additionalProperties": false, "properties": {"timeout": {"type": "integer", "minimum": 0}}}
    }
  },
  "corv": {
    "kestrel": {
      "options": {"type": "object", "tags": ["@rebootRequiredConfigStore"],
        "additionalProperties": false, "properties": {
          "quiet": {"type": "boolean"}, "hugepages": {"type": "integer", "minimum": 0}}}
    }
  }
})";

inline const char* kToolDefaults = R"({
  "lab": {"net": {"dns": {"ndots": 1}, "nics": [{"name": "lo", "mtu": 65536}]}}
})";

// A fresh store and schema store in a temporary directory, named to the
// program through the environment; the library's log goes to syslog, so
// standard error holds only what the program itself prints.
class CorvcfgTest : public ::testing::Test {
 protected:
  CorvcfgTest() : store_(dir_.File("store.db")), schemaStore_(dir_.File("schema.db")) {}

  Outcome Corvcfg(RunRequest request) {
    request.environment.emplace("CORV_CONFIGSTORE_DB", store_);
    request.environment.emplace("CORV_SCHEMASTORE_DB", schemaStore_);
    request.environment.emplace("CORV_LOG_STDERR", "0");
    request.environment.emplace("CORV_UPGRADE_CTX", "0");
    return RunCorvcfg(request);
  }
  Outcome Corvcfg(const std::vector<std::string>& args, const std::string& input = "") {
    RunRequest request;
    request.args = args;
    request.input = input;
    return Corvcfg(request);
  }

  // store init, schema load and defaults load, through the program.
  void SetUpStore() {
    ASSERT_EQ(Corvcfg({"store", "init"}).status, 0);
    Outcome schemas = Corvcfg({"schema", "load", dir_.Write("schemas.json", kToolSchemas)});
    ASSERT_EQ(schemas.status, 0) << schemas.err;
    Outcome defaults = Corvcfg({"defaults", "load", dir_.Write("defaults.json", kToolDefaults)});
    ASSERT_EQ(defaults.status, 0) << defaults.err;
  }

  // Runs a command that must succeed and returns its standard output.
  std::string Ok(const std::vector<std::string>& args, const std::string& input = "") {
    return Expect(0, args, input);
  }
  // Runs a command whose answer is that nothing is there (exit status 3,
  // nothing on standard error) and returns its standard output.
  std::string Absent(const std::vector<std::string>& args, const std::string& input = "") {
    return Expect(3, args, input);
  }

  CorvTest::TempDir dir_;
  std::string store_;
  std::string schemaStore_;

 private:
  std::string Expect(int status, const std::vector<std::string>& args, const std::string& input) {
    Outcome run = Corvcfg(args, input);
    const std::string line = [&] {
      std::string words;
      for (const std::string& arg : args) words += " " + arg;
      return words;
    }();
    EXPECT_EQ(run.status, status) << "corvcfg" << line << "\n" << run.err;
    if (status != 0) {
      EXPECT_EQ(run.err, "") << "corvcfg" << line;
    }
    return run.out;
  }
};

inline std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// True when the two texts hold equal JSON (object members in any order).
inline bool SameJson(const std::string& a, const std::string& b) {
  CorvConfigStore::JsonDocument left, right;
  left.Parse(a.c_str(), a.size());
  right.Parse(b.c_str(), b.size());
  return !left.HasParseError() && !right.HasParseError() && left == right;
}

}  // namespace CorvTest

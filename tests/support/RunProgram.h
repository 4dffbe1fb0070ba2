// Runs a program as a separate process with extra environment variables and
// collects its exit status and what it printed.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/TempDir.h"

extern char** environ;

namespace CorvTest {

struct ProgramResult {
  int status = -1;  // the exit status; -1 when it did not start or exit
  std::string out;
  std::string err;
};

// Runs program with args in this process's environment, with overrides
// replacing or adding variables; its output goes through files in dir.
inline ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                                const std::map<std::string, std::string>& overrides,
                                const TempDir& dir) {
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);

  std::vector<std::string> variables;
  for (char** each = environ; *each != nullptr; ++each) {
    std::string variable = *each;
    if (overrides.count(variable.substr(0, variable.find('='))) == 0) variables.push_back(variable);
  }
  for (const auto& entry : overrides) variables.push_back(entry.first + "=" + entry.second);
  std::vector<char*> envp;
  for (std::string& variable : variables) envp.push_back(&variable[0]);
  envp.push_back(nullptr);

  std::string out = dir.File("program.out"), err = dir.File("program.err");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ProgramResult result;
  pid_t pid = 0;
  int rc = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return result;
  int status = 0;
  if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) result.status = WEXITSTATUS(status);
  for (auto* target : {&result.out, &result.err}) {
    std::ifstream in(target == &result.out ? out : err, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    *target = text.str();
  }
  return result;
}

}  // namespace CorvTest

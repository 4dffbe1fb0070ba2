// Small host utilities: file existence and running a command.
#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/Logger.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "core/Throw.h"

extern char** environ;

namespace CorvConfigStore {

namespace {

// Logs the code at priority 0 with its message template filled by detail.
void LogCommandFailure(CSErrorCodes code, const std::string& detail) {
  CSLogger::LogErrCode(0, code, "%s", Format(ErrorMessageForId(code), detail.c_str()).c_str());
}

}  // namespace

bool FileExists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

bool ExecCommand(const char** argv) {
  if (argv == nullptr || argv[0] == nullptr) {
    LogCommandFailure(CS_ERR_SPAWN, std::strerror(EINVAL));
    return false;
  }
  // posix_spawn reports a program that cannot be executed through its
  // result, like a failed fork-and-exec; the child shares the caller's
  // environment.
  pid_t pid = 0;
  int error = posix_spawn(&pid, argv[0], nullptr, nullptr, const_cast<char* const*>(argv), environ);
  if (error != 0) {
    LogCommandFailure(CS_ERR_SPAWN, std::strerror(error));
    return false;
  }
  int status = 0;
  pid_t waited;
  do {
    waited = waitpid(pid, &status, 0);
  } while (waited < 0 && errno == EINTR);
  if (waited < 0) {
    LogCommandFailure(CS_ERR_WAIT, std::strerror(errno));
    return false;
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  std::string detail = std::string(argv[0]) +
                       (WIFEXITED(status)
                            ? " exited with status " + std::to_string(WEXITSTATUS(status))
                            : " ended by signal " + std::to_string(WTERMSIG(status)));
  LogCommandFailure(CS_ERR_COMMAND_STATUS, detail);
  return false;
}

}  // namespace CorvConfigStore

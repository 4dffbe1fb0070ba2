// Reading values and files, writing files.
#include "Input.h"

#include <corvconfigstore/Exceptions.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Output.h"

namespace {

[[noreturn]] void ThrowFileError(int code, const char* verb, const std::string& path, int error) {
  std::string message = std::string(verb) + " " + path + ": " + strerror(error);
  throw CorvConfigStore::ConfigStoreException(code, message.c_str());
}

}  // namespace

std::shared_ptr<ValueSource> AddValueOptions(CLI::App* command, const std::string& what) {
  auto source = std::make_shared<ValueSource>();
  source->jsonOption =
      command->add_option("--json", source->json, what + ", as JSON text")->type_name("TEXT");
  source->fileOption =
      command->add_option("--file", source->file, what + ", from a file (\"-\": standard input)")
          ->type_name("PATH");
  source->jsonOption->excludes(source->fileOption);
  return source;
}

std::string ReadValue(const ValueSource& source) {
  if (source.jsonOption->count() > 0) return source.json;
  if (source.fileOption->count() > 0) return ReadTextFile(source.file);
  if (IsTerminal(STDIN_FILENO))
    throw CLI::ValidationError("A value is required: give --json TEXT, --file PATH or standard input");
  return ReadTextFile("-");
}

std::string ReadDocument(const std::string& file) {
  if (file == "-" && IsTerminal(STDIN_FILENO))
    throw CLI::ValidationError("A document is required: give FILE or standard input");
  return ReadTextFile(file);
}

std::string ReadTextFile(const std::string& path) {
  const bool standardInput = path == "-";
  const std::string name = standardInput ? "standard input" : path;
  int fd = standardInput ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) ThrowFileError(1081, "Cannot read", name, errno);
  std::string text;
  char chunk[65536];
  for (;;) {
    ssize_t count = read(fd, chunk, sizeof chunk);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      int error = errno;
      if (!standardInput) close(fd);
      ThrowFileError(1081, "Cannot read", name, error);
    }
    if (count == 0) break;
    text.append(chunk, static_cast<size_t>(count));
  }
  if (!standardInput) close(fd);
  return text;
}

void WriteTextFile(const std::string& path,
                   const std::function<void(const CorvConfigStore::TextSink&)>& write) {
  // A regular file is replaced only once the new text is whole: it is
  // written beside the file under a temporary name and renamed over it, so
  // a failed export leaves the previous file as it was. Anything else (a
  // terminal, a pipe, /dev/stdout) is written in place.
  struct stat status;
  const bool inPlace = stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
  std::string target = inPlace ? path : path + ".XXXXXX";
  // Exports hold configuration, which may be private: readable by the owner
  // only, like the store itself (mkstemp's mode).
  int fd = inPlace ? open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC)
                   : mkostemp(&target[0], O_CLOEXEC);
  if (fd < 0) ThrowFileError(2000, "Cannot write", path, errno);
  auto sink = [fd, &path](const char* text, size_t length) {
    size_t written = 0;
    while (written < length) {
      ssize_t count = ::write(fd, text + written, length - written);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) ThrowFileError(2000, "Cannot write", path, errno);
      written += static_cast<size_t>(count);
    }
  };
  try {
    write(sink);
    if (close(fd) != 0) {
      fd = -1;
      ThrowFileError(2000, "Cannot write", path, errno);
    }
    fd = -1;
    if (!inPlace && rename(target.c_str(), path.c_str()) != 0)
      ThrowFileError(2000, "Cannot write", path, errno);
  } catch (...) {
    if (fd >= 0) close(fd);
    if (!inPlace) unlink(target.c_str());
    throw;
  }
}

// A stand-in for the host management daemon's notification endpoint: listens
// on the Unix-domain socket "velLocalSocketNexdNotifyOmni" in the current
// directory and prints every request the store sends there.
//
// Usage: notify_listener [COUNT [TIMEOUT_SECONDS]]
// Exits 0 after COUNT requests (default 1), 1 when TIMEOUT_SECONDS (default
// 10) pass without the next one, 2 on a usage or socket error. The socket
// file is removed on exit.
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace {

const char kSocketPath[] = "velLocalSocketNexdNotifyOmni";

// Reads one request: the store writes it at once and closes its end.
std::string ReadRequest(int connection) {
  std::string request;
  char buffer[4096];
  for (;;) {
    ssize_t n = read(connection, buffer, sizeof buffer);
    if (n > 0) {
      request.append(buffer, static_cast<size_t>(n));
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else {
      break;
    }
  }
  return request;
}

// Shows the request's line ends, so that the HTTP framing is visible.
void PrintRequest(int number, const std::string& request) {
  std::cout << "notify_listener: request " << number << " (" << request.size() << " bytes)\n";
  std::string line;
  for (char c : request) {
    if (c == '\n') {
      std::cout << "  | " << line << "\n";
      line.clear();
    } else if (c == '\r') {
      line += "\\r";
    } else {
      line += c;
    }
  }
  if (!line.empty()) std::cout << "  | " << line << "\n";
  std::cout.flush();
}

bool ParseCount(const char* text, long* value) {
  char* end = nullptr;
  errno = 0;
  *value = std::strtol(text, &end, 10);
  return errno == 0 && end != text && *end == '\0' && *value > 0;
}

}  // namespace

int main(int argc, char** argv) {
  long count = 1;
  long timeoutSeconds = 10;
  if (argc > 3 || (argc > 1 && !ParseCount(argv[1], &count)) ||
      (argc > 2 && !ParseCount(argv[2], &timeoutSeconds))) {
    std::cerr << "usage: notify_listener [COUNT [TIMEOUT_SECONDS]] (positive integers)\n";
    return 2;
  }

  int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  if (listener < 0) {
    std::cerr << "notify_listener: socket: " << std::strerror(errno) << "\n";
    return 2;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, kSocketPath, sizeof kSocketPath);
  unlink(kSocketPath);  // a socket file left by an earlier run
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 16) != 0) {
    std::cerr << "notify_listener: cannot listen on " << kSocketPath << ": "
              << std::strerror(errno) << "\n";
    close(listener);
    return 2;
  }
  std::cout << "notify_listener: listening on " << kSocketPath << " for " << count
            << " request(s)\n";
  std::cout.flush();

  int status = 0;
  for (long received = 0; received < count;) {
    pollfd ready{listener, POLLIN, 0};
    int polled = poll(&ready, 1, static_cast<int>(timeoutSeconds * 1000));
    if (polled < 0 && errno == EINTR) continue;
    if (polled <= 0) {
      std::cout << "notify_listener: no request within " << timeoutSeconds << " s, "
                << received << " of " << count << " received\n";
      status = 1;
      break;
    }
    int connection = accept(listener, nullptr, nullptr);
    if (connection < 0) continue;
    std::string request = ReadRequest(connection);
    close(connection);
    PrintRequest(static_cast<int>(++received), request);
  }
  close(listener);
  unlink(kSocketPath);
  return status;
}

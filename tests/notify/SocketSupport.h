// Helpers for the notification tests: a Unix-domain listener standing in for
// the host daemon, and a scoped change of working directory. Every wait is
// bounded, so a broken test fails instead of hanging.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace CorvTest {

// How long any single wait in these tests may take before it counts as a
// failure.
constexpr int kWaitMs = 5000;

// Switches the process's working directory for the life of the object.
class ScopedWorkingDirectory {
 public:
  explicit ScopedWorkingDirectory(const std::string& path) {
    char* previous = getcwd(nullptr, 0);
    if (previous == nullptr || chdir(path.c_str()) != 0) std::abort();
    previous_ = previous;
    std::free(previous);
  }
  ~ScopedWorkingDirectory() {
    if (chdir(previous_.c_str()) != 0) std::abort();
  }
  ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
  ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;

 private:
  std::string previous_;
};

// A listening stream socket bound to a path (relative to the working
// directory, or absolute). Connections wait in its backlog until accepted,
// so a client's connect and write complete without a second thread.
class UnixListener {
 public:
  explicit UnixListener(const std::string& path, int backlog = 8) : path_(path) {
    fd_ = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address;
    std::memset(&address, 0, sizeof(address));
    address.sun_family = AF_UNIX;
    if (fd_ < 0 || path.size() >= sizeof(address.sun_path)) std::abort();
    std::memcpy(address.sun_path, path.data(), path.size());
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(fd_, backlog) != 0)
      std::abort();
  }
  ~UnixListener() {
    Close();
    unlink(path_.c_str());
  }
  UnixListener(const UnixListener&) = delete;
  UnixListener& operator=(const UnixListener&) = delete;

  // Stops listening; the socket file stays, so connecting to it is refused.
  void Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

  // True when a connection waits to be accepted (checked without waiting).
  bool HasPendingConnection() const {
    pollfd entry{fd_, POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
  }

  // The next connection, waiting at most kWaitMs; -1 when none came.
  int Accept() const { return AcceptWithin(kWaitMs); }

  // The next connection, waiting at most ms milliseconds; -1 when none came.
  int AcceptWithin(int ms) const {
    pollfd entry{fd_, POLLIN, 0};
    if (poll(&entry, 1, ms) != 1) return -1;
    return accept(fd_, nullptr, nullptr);
  }

  // Everything the peer wrote until it closed its end, with at most
  // kWaitMs between pieces. Returns false when the peer went silent
  // without closing.
  static bool ReadUntilClosed(int fd, std::string* received) {
    char buffer[4096];
    for (;;) {
      pollfd entry{fd, POLLIN, 0};
      if (poll(&entry, 1, kWaitMs) != 1) return false;
      ssize_t n = read(fd, buffer, sizeof(buffer));
      if (n < 0) return false;
      if (n == 0) return true;
      received->append(buffer, static_cast<size_t>(n));
    }
  }

  // Accepts one connection and returns all it carried; false when no
  // connection came or it was not closed by the peer.
  bool ReceiveOne(std::string* received) const {
    int connection = Accept();
    if (connection < 0) return false;
    bool closed = ReadUntilClosed(connection, received);
    close(connection);
    return closed;
  }

 private:
  std::string path_;
  int fd_;
};

// Connects to the listener at path until its backlog is full, as a daemon
// that stopped accepting leaves it. Returns the connected sockets, which
// keep the backlog full until they are closed; empty when the backlog never
// filled.
inline std::vector<int> FillBacklog(const std::string& path) {
  std::vector<int> sockets;
  sockaddr_un address;
  std::memset(&address, 0, sizeof(address));
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.data(), path.size());
  for (int i = 0; i < 1000; ++i) {
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    if (fd < 0) std::abort();
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
      close(fd);
      if (errno == EAGAIN) return sockets;
      break;
    }
    sockets.push_back(fd);
  }
  for (int fd : sockets) close(fd);
  return {};
}

// A daemon that accepts every connection and never reads from it: each
// connection stays open, unread, until the object goes.
class SilentDaemon {
 public:
  explicit SilentDaemon(const std::string& path) : listener_(path) {
    accepter_ = std::thread([this] {
      while (!stop_) {
        int fd = listener_.AcceptWithin(10);
        if (fd < 0) continue;
        std::lock_guard<std::mutex> lock(mutex_);
        accepted_.push_back(fd);
      }
    });
  }
  ~SilentDaemon() {
    stop_ = true;
    accepter_.join();
    for (int fd : accepted_) close(fd);
  }
  SilentDaemon(const SilentDaemon&) = delete;
  SilentDaemon& operator=(const SilentDaemon&) = delete;

  // How many connections it has accepted so far.
  size_t Accepted() {
    std::lock_guard<std::mutex> lock(mutex_);
    return accepted_.size();
  }

 private:
  UnixListener listener_;
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::vector<int> accepted_;
  std::thread accepter_;
};

// The descriptor number the next open, socket or dup will get.
inline int NextDescriptor() {
  int fd = open("/dev/null", O_RDONLY);
  if (fd < 0) std::abort();
  close(fd);
  return fd;
}

inline bool IsOpenDescriptor(int fd) { return fcntl(fd, F_GETFD) != -1; }

}  // namespace CorvTest

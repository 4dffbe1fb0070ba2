// The Unix-domain socket client that carries change notifications.
#include "notify/UdsClient.h"

#include <corvconfigstore/Logger.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace CorvConfigStore {
namespace {

// Room for the path in sun_path, keeping its last byte for a terminating NUL.
constexpr size_t kMaxEndpointLength = sizeof(sockaddr_un::sun_path) - 1;

std::string SystemError() { return std::strerror(errno); }

}  // namespace

UdsClient::UdsClient(const std::string& endpoint, std::chrono::milliseconds timeLimit)
    : endpoint_(endpoint), timeLimit_(timeLimit), socket_(-1) {}

UdsClient::~UdsClient() { Disconnect(); }

void UdsClient::Connect() {
  if (socket_ >= 0) return;
  deadline_ = std::chrono::steady_clock::now() + timeLimit_;
  socket_ = socket(AF_UNIX, SOCK_STREAM, 0);
  if (socket_ < 0) throw std::runtime_error("Failed to create socket: " + SystemError());
  if (endpoint_.size() > kMaxEndpointLength)
    throw std::runtime_error("Endpoint address too long.");

  sockaddr_un address;
  std::memset(&address, 0, sizeof(address));
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, endpoint_.data(), endpoint_.size());
  // The family field and the path bytes, without a terminating NUL.
  auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + endpoint_.size());
  // A blocking connect to a listener whose backlog is full waits for room,
  // for as long as the listener stays stuck; the send timeout bounds that
  // wait too, and the connect then fails with EAGAIN.
  if (!LimitWaitsToDeadline() ||
      connect(socket_, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
    std::string reason = SystemError();
    Disconnect();
    throw std::runtime_error("Failed to connect socket: " + reason);
  }
}

void UdsClient::Send(const std::string& data) {
  if (socket_ < 0) throw std::runtime_error("Not connected to an endpoint.");
  // One write of every byte. MSG_NOSIGNAL: a daemon that went away must not
  // raise SIGPIPE and end the process whose configuration write announced it.
  ssize_t written =
      LimitWaitsToDeadline() ? send(socket_, data.data(), data.size(), MSG_NOSIGNAL) : -1;
  if (written < 0) throw std::runtime_error("Failed to send data: " + SystemError());
  if (static_cast<size_t>(written) < data.size()) {
    throw std::runtime_error("Partial write: " + std::to_string(written) + "B written, expected " +
                             std::to_string(data.size()) + "B.");
  }
}

bool UdsClient::LimitWaitsToDeadline() {
  // A zero timeout would mean no limit at all, so a deadline already passed
  // leaves the shortest wait there is.
  auto left = std::chrono::duration_cast<std::chrono::microseconds>(
      deadline_ - std::chrono::steady_clock::now());
  left = std::max(left, std::chrono::microseconds(1));
  timeval timeout;
  timeout.tv_sec = static_cast<time_t>(left.count() / 1000000);
  timeout.tv_usec = static_cast<suseconds_t>(left.count() % 1000000);
  return setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout)) == 0;
}

void UdsClient::Disconnect() noexcept {
  if (socket_ < 0) return;
  if (close(socket_) != 0) CSLogger::Log(0, "Failed to close socket: %s", std::strerror(errno));
  socket_ = -1;
}

}  // namespace CorvConfigStore

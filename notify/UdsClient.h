// UdsClient: a client of a Unix-domain stream socket that connects to a
// path and writes one message within a time limit; nothing is read back.
#pragma once

#include <chrono>
#include <string>

namespace CorvConfigStore {

// The longest a notification may hold up the write that sent it: connect
// and send together. A daemon that is stuck (its backlog full, or not
// reading) costs a write at most this long, and the notification is lost.
constexpr std::chrono::milliseconds kNotificationTimeLimit{250};

class UdsClient {
 public:
  // Keeps the path and the time limit; nothing is opened until Connect.
  explicit UdsClient(const std::string& endpoint,
                     std::chrono::milliseconds timeLimit = kNotificationTimeLimit);
  ~UdsClient();
  UdsClient(const UdsClient&) = delete;
  UdsClient& operator=(const UdsClient&) = delete;

  // Opens a stream socket and connects it to the endpoint; does nothing
  // when already connected. The time limit starts here and covers this
  // connect and the following Send. Throws std::runtime_error "Failed to
  // create socket: <reason>", "Endpoint address too long." (the socket then
  // stays open until Disconnect) or "Failed to connect socket: <reason>"
  // (the socket is closed first); a listener whose backlog stays full
  // until the limit gives "Resource temporarily unavailable".
  void Connect();

  // Writes all of data with a single write, waiting no longer than what is
  // left of the time limit. Throws std::runtime_error "Not connected to an
  // endpoint.", "Failed to send data: <reason>" (nothing written when the
  // limit ran out: "Resource temporarily unavailable") or "Partial write:
  // <n>B written, expected <size>B.".
  void Send(const std::string& data);

  // Closes the socket when open; a failed close is logged at priority 0
  // and the client counts as disconnected either way.
  void Disconnect() noexcept;

 private:
  // Makes the socket's blocking calls return once the deadline has passed;
  // false (errno set) when the socket refuses the timeout.
  bool LimitWaitsToDeadline();

  std::string endpoint_;
  std::chrono::milliseconds timeLimit_;
  std::chrono::steady_clock::time_point deadline_;
  int socket_;
};

}  // namespace CorvConfigStore

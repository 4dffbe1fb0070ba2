// UdsClient: a client of a Unix-domain stream socket that connects to a
// path and writes one message; nothing is read back.
#pragma once

#include <string>

namespace CorvConfigStore {

class UdsClient {
 public:
  // Keeps the path; nothing is opened until Connect.
  explicit UdsClient(const std::string& endpoint);
  ~UdsClient();
  UdsClient(const UdsClient&) = delete;
  UdsClient& operator=(const UdsClient&) = delete;

  // Opens a stream socket and connects it to the endpoint; does nothing
  // when already connected. Throws std::runtime_error "Failed to create
  // socket: <reason>", "Endpoint address too long." (the socket then stays
  // open until Disconnect) or "Failed to connect socket: <reason>" (the
  // socket is closed first).
  void Connect();

  // Writes all of data with a single write. Throws std::runtime_error "Not
  // connected to an endpoint.", "Failed to send data: <reason>" or
  // "Partial write: <n>B written, expected <size>B.".
  void Send(const std::string& data);

  // Closes the socket when open; a failed close is logged at priority 0
  // and the client counts as disconnected either way.
  void Disconnect() noexcept;

 private:
  std::string endpoint_;
  int socket_;
};

}  // namespace CorvConfigStore

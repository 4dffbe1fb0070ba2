// The exception family through which every failure reaches the caller.
#pragma once

#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace HostCtl {
namespace Lib {

// One node of a chain of structured messages attached to an exception.
struct CORV_EXPORT EventMessage {
  EventMessage* next = nullptr;
  const char* id = nullptr;
  const char* format = nullptr;
  uintptr_t args[2] = {0, 0};

  // "\nEvent Stack: \n" then "[id]: text" per node, last node first; empty
  // for an empty chain.
  static std::string ToString(const EventMessage* first);
  std::string ToString() const { return ToString(this); }
};

class CORV_EXPORT HostCtlException : public std::exception {
 public:
  explicit HostCtlException(const std::string& message);
  HostCtlException(const HostCtlException& other);
  HostCtlException& operator=(const HostCtlException& other);
  ~HostCtlException() override;

  const char* what() const noexcept override;
  // The message followed by the rendered message chain.
  std::string GetDetailedMessage() const;
  // Takes ownership of a chain whose nodes were allocated with new.
  void SetMessageChain(EventMessage* first);
  const EventMessage* GetMessageChain() const { return chain_; }

 private:
  void FreeChain();

  std::string message_;
  EventMessage* chain_ = nullptr;
};

}  // namespace Lib
}  // namespace HostCtl

namespace CorvConfigStore {

class CORV_EXPORT ConfigStoreException : public HostCtl::Lib::HostCtlException {
 public:
  // Logs "[code] message" at priority 0 and a backtrace.
  ConfigStoreException(int code, const char* message);
  ~ConfigStoreException() override;

  int GetErrorCode() const { return code_; }
  // "Error Code: <code>\nMessage: <message>\n".
  std::string toString() const;

  // Why the failure happened, where the library knows more than its fixed
  // message says: for a failed database call, the database's own reason
  // ("database is locked", "disk I/O error", ...). Empty otherwise. The
  // message and code stay as they are.
  const std::vector<std::string>& GetDetails() const { return details_; }
  void AddDetail(const std::string& detail) { details_.push_back(detail); }

 private:
  int code_;
  std::vector<std::string> details_;
};

class CORV_EXPORT ValidationException : public ConfigStoreException {
 public:
  ValidationException(int code, const char* message, std::vector<ErrorInfo>& errors);
  ~ValidationException() override;

  const std::vector<ErrorInfo>& GetErrors() const { return errors_; }
  // The base text, then "Details: \n" and "location: message\n" per error
  // when there are errors.
  std::string toString() const;

 private:
  std::vector<ErrorInfo> errors_;
};

class CORV_EXPORT InvalidArgumentException : public ConfigStoreException {
 public:
  InvalidArgumentException(int code, const char* message);
  ~InvalidArgumentException() override;
};

class CORV_EXPORT InvalidTypeException : public ConfigStoreException {
 public:
  InvalidTypeException(int code, const char* message);
  ~InvalidTypeException() override;
};

}  // namespace CorvConfigStore

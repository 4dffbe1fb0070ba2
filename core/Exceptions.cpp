// The exception family: construction logging, text forms and the rendering
// of message chains.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>

#include <cstdlib>

#include "core/Strings.h"

namespace HostCtl {
namespace Lib {

std::string EventMessage::ToString(const EventMessage* first) {
  if (first == nullptr) return std::string();
  // The chain is rendered from its last node to its first.
  std::vector<const EventMessage*> nodes;
  for (const EventMessage* node = first; node != nullptr; node = node->next) nodes.push_back(node);
  std::string text = "\nEvent Stack: \n";
  for (auto it = nodes.rbegin(); it != nodes.rend(); ++it) {
    char* expanded = nullptr;
    CorvConfigStore::MsgFmt_Asprintf(&expanded, (*it)->format, (*it)->args, 2);
    text += std::string("[") + ((*it)->id ? (*it)->id : "") + "]: " + (expanded ? expanded : "");
    std::free(expanded);
  }
  return text;
}

HostCtlException::HostCtlException(const std::string& message) : message_(message) {}

HostCtlException::HostCtlException(const HostCtlException& other)
    : std::exception(other), message_(other.message_) {
  EventMessage** tail = &chain_;
  for (const EventMessage* node = other.chain_; node != nullptr; node = node->next) {
    *tail = new EventMessage(*node);
    (*tail)->next = nullptr;
    tail = &(*tail)->next;
  }
}

HostCtlException& HostCtlException::operator=(const HostCtlException& other) {
  if (this != &other) {
    HostCtlException copy(other);
    FreeChain();
    message_ = copy.message_;
    chain_ = copy.chain_;
    copy.chain_ = nullptr;
  }
  return *this;
}

HostCtlException::~HostCtlException() { FreeChain(); }

void HostCtlException::FreeChain() {
  while (chain_ != nullptr) {
    EventMessage* next = chain_->next;
    delete chain_;
    chain_ = next;
  }
}

const char* HostCtlException::what() const noexcept { return message_.c_str(); }

std::string HostCtlException::GetDetailedMessage() const {
  return message_ + EventMessage::ToString(chain_);
}

void HostCtlException::SetMessageChain(EventMessage* first) {
  FreeChain();
  chain_ = first;
}

}  // namespace Lib
}  // namespace HostCtl

namespace CorvConfigStore {

ConfigStoreException::ConfigStoreException(int code, const char* message)
    : HostCtlException(message ? message : ""), code_(code) {
  CSLogger::Log(0, "[%d] %s", code, what());
  CSLogger::LogBacktrace();
}

ConfigStoreException::~ConfigStoreException() = default;

std::string ConfigStoreException::toString() const {
  return "Error Code: " + std::to_string(code_) + "\nMessage: " + what() + "\n";
}

ValidationException::ValidationException(int code, const char* message,
                                         std::vector<ErrorInfo>& errors)
    : ConfigStoreException(code, message), errors_(errors) {}

ValidationException::~ValidationException() = default;

std::string ValidationException::toString() const {
  std::string text = ConfigStoreException::toString();
  if (!errors_.empty()) {
    text += "Details: \n";
    for (const ErrorInfo& error : errors_) text += error.location + ": " + error.message + "\n";
  }
  return text;
}

InvalidArgumentException::InvalidArgumentException(int code, const char* message)
    : ConfigStoreException(code, message) {}

InvalidArgumentException::~InvalidArgumentException() = default;

InvalidTypeException::InvalidTypeException(int code, const char* message)
    : ConfigStoreException(code, message) {}

InvalidTypeException::~InvalidTypeException() = default;

}  // namespace CorvConfigStore

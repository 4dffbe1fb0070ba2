// Failures as corvcfg reports them: what failed, on which file or key and
// why, what to try, and the exit status a script branches on. The library's
// "[code] message" stays as it is; the program adds the cause and the hint
// it can tell.
#pragma once

#include <corvconfigstore/Exceptions.h>

#include <exception>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

// Printed on standard error as its first line (none when empty), then the
// indented lines of causes and validation records, then "hint: ..." lines;
// the command ends with the status.
class Failure : public std::exception {
 public:
  Failure(int status, std::string line) : status_(status), line_(std::move(line)) {}

  // "  cause: <cause>".
  Failure& Cause(const std::string& cause);
  // "  <location>: <message>", a validation record.
  Failure& Record(const std::string& location, const std::string& message);
  // "hint: <hint>", after every other line.
  Failure& Hint(const std::string& hint);

  int Status() const { return status_; }
  const char* what() const noexcept override { return line_.c_str(); }
  void Print(std::ostream& out) const;

 private:
  int status_;
  std::string line_;
  std::vector<std::string> details_;
  std::vector<std::string> hints_;
};

// What the command line names, for the hints.
struct Invocation {
  std::string command;  // "delete", "next-boot delete"
  std::string name;     // NAME as given; empty when none or several
  bool takesAll = false;      // the command has --all
  bool takesContext = false;  // the command has --context
};

// The library's failure as the program reports it; every mapping of the
// library's codes and messages to exit statuses and hints is here.
Failure Explain(const CorvConfigStore::ConfigStoreException& error, const Invocation& invocation);

// Ends a command whose answer is that nothing is there (exit status 3);
// what it printed stands. With a message, the message is printed too.
[[noreturn]] void ThrowAbsent(const std::string& message = "");

// When the schema store does not exist: a Failure (exit status 4) with the
// line as its first line and "cannot read the schema store <path>: no such
// file" as its cause, or without a line "Cannot read the schema store
// <path>: no such file" alone; and a hint on naming and filling one.
// Nothing when it exists (a store that cannot be read raises its own
// failure from the library).
std::optional<Failure> SchemaStoreFailure(const std::string& line = "");

// Where a command's JSON value comes from: --json TEXT, --file PATH, or
// standard input.
#pragma once

#include <CLI/CLI.hpp>
#include <corvconfigstore/ImportExport.h>

#include <functional>
#include <memory>
#include <string>

struct ValueSource {
  std::string json;
  std::string file;
  CLI::Option* jsonOption = nullptr;
  CLI::Option* fileOption = nullptr;
};

// Adds --json and --file (one of them at most) to the command; what is
// described is the value's meaning for the command's help.
std::shared_ptr<ValueSource> AddValueOptions(CLI::App* command, const std::string& what);

// The value's text: --json, the --file (standard input for "-"), or
// standard input when neither is given. Standard input that is a terminal
// is not waited on: a usage error asks for the value instead.
std::string ReadValue(const ValueSource& source);

// The text of a document named on the command line: the file, or standard
// input for "-". Standard input that is a terminal is not waited on: a
// usage error asks for the document instead.
std::string ReadDocument(const std::string& file);

// The contents of a file, "-" meaning standard input. Throws
// ConfigStoreException 1081 "Cannot read <path>: <reason>".
std::string ReadTextFile(const std::string& path);

// Writes a file (replacing it, readable by its owner only) with the text
// write hands the sink it is given, piece by piece; a regular file is
// replaced only when all of it was written, and stays as it was otherwise.
// Throws
// ConfigStoreException 2000 "Cannot write <path>: <reason>" when the file
// cannot be opened, written or closed.
void WriteTextFile(const std::string& path,
                   const std::function<void(const CorvConfigStore::TextSink&)>& write);

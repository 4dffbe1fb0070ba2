// Reading a whole JSON file.
#include "core/JsonFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "core/Throw.h"

namespace CorvSchemaStore {

void ReadJsonFile(const std::string& path, const std::string& what,
                  CorvConfigStore::JsonDocument& document) {
  std::ifstream in(path, std::ios::binary);
  if (!in)
    CorvConfigStore::ThrowGeneral("Cannot read " + what + " " + path + ": " + std::strerror(errno));
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) CorvConfigStore::ThrowGeneral("Cannot read " + what + " " + path + ": read error");
  std::string error;
  if (!CorvConfigStore::ParseJson(text.data(), text.size(), document, &error))
    CorvConfigStore::ThrowGeneral("Invalid JSON in " + what + " " + path + ": " + error);
}

}  // namespace CorvSchemaStore

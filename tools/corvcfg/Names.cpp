// Configuration names: checking, splitting, finding their schemas, and
// answering a name the schema store does not know.
#include "Names.h"

#include <corvconfigstore/Provisioning.h>

#include <cctype>

#include "Commands.h"
#include "Suggest.h"

namespace {

constexpr size_t kMaxPart = 64;

bool IsNamePart(const std::string& part) {
  if (part.empty() || part.size() > kMaxPart) return false;
  for (char c : part)
    if (!isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '-') return false;
  return true;
}

std::vector<std::string> Split(const std::string& text) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (;;) {
    size_t dot = text.find('.', start);
    parts.push_back(text.substr(start, dot == std::string::npos ? std::string::npos : dot - start));
    if (dot == std::string::npos) return parts;
    start = dot + 1;
  }
}

}  // namespace

CLI::Validator NameChecker(bool scopes) {
  return CLI::Validator(
      [scopes](std::string& text) -> std::string {
        std::vector<std::string> parts = Split(text);
        bool fits = scopes ? parts.size() <= 3 : parts.size() == 3;
        for (const std::string& part : parts) fits = fits && IsNamePart(part);
        if (fits) return std::string();
        return "\"" + text + "\" is not " +
               (scopes ? "a component, component.group or component.group.key"
                       : "a key name component.group.key") +
               " (letters, digits, '_' and '-')";
      },
      "", "NAME");
}

ConfigName ParseName(const std::string& text) {
  std::vector<std::string> parts = Split(text);
  ConfigName name;
  name.component = parts[0];
  if (parts.size() > 1) name.group = parts[1];
  if (parts.size() > 2) name.key = parts[2];
  return name;
}

std::string ConfigName::Text() const {
  std::string text = component;
  if (!group.empty()) text += "." + group;
  if (!key.empty()) text += "." + key;
  return text;
}

ConfigName NameOf(const CorvConfigStore::SchemaInfo& schema) {
  return ConfigName{schema.component, schema.group, schema.key};
}

ConfigName Target::Name() const { return ParseName(name); }

CorvConfigStore::ConfigStoreObjectId Target::Id() const { return IdOf(Name(), id); }

std::shared_ptr<Target> AddTarget(CLI::App* command, unsigned flags) {
  auto target = std::make_shared<Target>();
  const bool scopes = (flags & kScopes) != 0;
  target->nameOption = command->add_option(
      "NAME", target->name,
      scopes ? "A key (component.group.key), a group (component.group) or a component"
             : "The key, component.group.key");
  target->nameOption->check(NameChecker(scopes))->type_name("");
  if ((flags & kOptionalName) == 0) target->nameOption->required();
  if ((flags & kNoId) == 0)
    target->idOption = command->add_option("--id", target->id, "Instance of a key with instances")
                           ->type_name("ID");
  return target;
}

CorvConfigStore::ConfigStoreObjectId IdOf(const ConfigName& key, const std::string& instanceId) {
  return CorvConfigStore::ConfigStoreObjectId(key.key, key.group, key.component, instanceId);
}

std::vector<CorvConfigStore::SchemaInfo> KnownSchemas() {
  std::vector<CorvConfigStore::SchemaInfo> schemas = CorvConfigStore::ListSchemas();
  // An empty list is also what a schema store that does not exist gives.
  if (schemas.empty())
    if (std::optional<Failure> failure = SchemaStoreFailure()) throw *failure;
  return schemas;
}

std::optional<CorvConfigStore::SchemaInfo> FindSchema(const ConfigName& key) {
  for (CorvConfigStore::SchemaInfo& schema : CorvConfigStore::ListSchemas())
    if (schema.component == key.component && schema.group == key.group && schema.key == key.key)
      return std::move(schema);
  return std::nullopt;
}

std::vector<CorvConfigStore::SchemaInfo> SchemasUnder(const ConfigName& name) {
  std::vector<CorvConfigStore::SchemaInfo> covered;
  for (CorvConfigStore::SchemaInfo& schema : CorvConfigStore::ListSchemas()) {
    if (schema.component != name.component) continue;
    if (!name.group.empty() && schema.group != name.group) continue;
    if (!name.key.empty() && schema.key != name.key) continue;
    covered.push_back(std::move(schema));
  }
  if (covered.empty()) ThrowSchemaNotFound(name.Text());
  return covered;
}

Failure UnknownName(const std::string& name) {
  const std::string line = "[1037] Schema not found for: " + name;
  if (std::optional<Failure> failure = SchemaStoreFailure(line)) return *failure;
  Failure failure(kExitAbsent, line);
  std::vector<CorvConfigStore::SchemaInfo> schemas = CorvConfigStore::ListSchemas();
  if (schemas.empty())
    return failure.Hint("the schema store " + CorvConfigStore::SchemaStorePath() +
                        " holds no key schema; `corvcfg schema load FILE` loads them");
  // Names of the same kind as the one given: keys, groups or components.
  const size_t parts = Split(name).size();
  std::vector<std::string> candidates;
  for (const CorvConfigStore::SchemaInfo& schema : schemas) {
    ConfigName known = NameOf(schema);
    if (parts < 3) known.key.clear();
    if (parts < 2) known.group.clear();
    candidates.push_back(known.Text());
  }
  std::string suggestion = DidYouMean(Nearest(name, candidates));
  return failure.Hint(suggestion.empty() ? "`corvcfg schema list --names` lists the known keys"
                                         : suggestion);
}

void ThrowSchemaNotFound(const std::string& name) { throw UnknownName(name); }

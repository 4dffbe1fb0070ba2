// `corvcfg validate`: checking a key's value, or a whole document, against
// the schemas without writing anything.
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/ImportCheck.h>

#include <iostream>

#include "Commands.h"
#include "Input.h"
#include "JsonText.h"
#include "Names.h"
#include "Objects.h"

namespace {

struct ValidateOptions {
  std::shared_ptr<Target> target;
  std::string documentFile;
  CLI::Option* documentOption = nullptr;
  std::shared_ptr<ValueSource> value;
};

[[noreturn]] void ThrowInvalid(const std::string& message, std::vector<CorvConfigStore::ErrorInfo>& errors) {
  throw CorvConfigStore::ValidationException(CorvConfigStore::CS_ERR_VALIDATION, message.c_str(),
                                             errors);
}

void ValidateKeyValue(const Target& target, const std::string& text) {
  ValueObjects value = ObjectsFromValue(target.Name(), target.id, text);
  auto store = CorvConfigStore::ConfigStore::GetStore("");
  std::vector<CorvConfigStore::ErrorInfo> errors;
  for (size_t i = 0; i < value.objects.size(); ++i) {
    for (CorvConfigStore::ErrorInfo& error : store->Validate(value.objects[i])) {
      // Records of an array's element point into the array.
      if (value.isList)
        error.location = "/" + std::to_string(i) + (error.location == "/" ? "" : error.location);
      errors.push_back(error);
    }
  }
  if (!errors.empty()) ThrowInvalid("The value is not valid for " + target.name, errors);
  std::cout << target.name << ": valid" << std::endl;
}

void ValidateWholeDocument(const std::string& text) {
  // Text that is not JSON is refused with the position of its fault.
  rapidjson::Document parsed;
  ParseCheckedJson(text, parsed);
  std::vector<CorvConfigStore::ErrorInfo> errors;
  if (!CorvConfigStore::ValidateImport(text, errors)) ThrowInvalid("The document is not valid", errors);
  std::cout << "Document: valid" << std::endl;
}

void RunValidate(const ValidateOptions& options) {
  if (options.target->nameOption->count() == 0 && options.documentOption->count() == 0)
    throw CLI::ValidationError("Give a key NAME, or --document");
  if (options.documentOption->count() > 0 && !options.documentFile.empty()) {
    if (options.value->jsonOption->count() > 0 || options.value->fileOption->count() > 0)
      throw CLI::ValidationError("Give the document as FILE, --json TEXT or --file PATH, not two");
    ValidateWholeDocument(ReadDocument(options.documentFile));
    return;
  }
  const std::string text = ReadValue(*options.value);
  if (options.documentOption->count() > 0) {
    ValidateWholeDocument(text);
    return;
  }
  ValidateKeyValue(*options.target, text);
}

}  // namespace

void AddValidateCommand(CLI::App& app) {
  auto options = std::make_shared<ValidateOptions>();
  CLI::App* validate = app.add_subcommand(
      "validate",
      "Check a key's value (an object, or an array of instances) against the key's schema, or "
      "with --document a whole document (from FILE, --json, --file or standard input) as import "
      "would; nothing is written");
  options->target = AddTarget(validate, kOptionalName);
  options->target->idOption->needs(options->target->nameOption);
  options->documentOption =
      validate
          ->add_option("--document", options->documentFile,
                       "Check a whole document nested component, group, key: from FILE (\"-\": "
                       "standard input), or from --json, --file or standard input when FILE is "
                       "left out")
          ->expected(0, 1)
          ->type_name("[FILE]")
          ->excludes(options->target->nameOption)
          ->excludes(options->target->idOption);
  options->value = AddValueOptions(validate, "The value or document");
  validate->callback([options] { RunValidate(*options); });
}

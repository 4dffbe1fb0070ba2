// Module-level functions: whole-store documents in and out, their
// validation, setting up a store from files, and the library's log level.
#include "Binding.h"

namespace CorvPython {
namespace {

using CorvConfigStore::FilterSpecObject;
using Filters = std::vector<std::shared_ptr<FilterSpecObject>>;

// A document is given as a dict, or as JSON text (such as a file's
// content) that the library parses itself.
std::string DocumentText(py::handle document) {
  if (py::isinstance<py::str>(document)) return document.cast<std::string>();
  if (!py::isinstance<py::dict>(document)) {
    std::string type = py::str(document.get_type().attr("__name__"));
    throw py::type_error("a document must be a dict or JSON text, not " + type);
  }
  return ToJsonText(document);
}

py::list ImportDocument(py::handle document) {
  std::vector<ErrorInfo> errors;
  CorvConfigStore::Import(DocumentText(document), errors);
  return RecordsOf(errors);
}

py::list ValidateImport(py::handle document) {
  std::vector<ErrorInfo> errors;
  CorvConfigStore::ValidateImport(DocumentText(document), errors);
  return RecordsOf(errors);
}

py::object ExportDocument(const Filters& filters) {
  return FromJsonText(CorvConfigStore::Export(filters));
}

// The writer hands out UTF-8 in blocks that may end inside a character, so
// the pieces go through an incremental decoder before reaching the file.
void ExportTo(const Filters& filters, py::object file, bool indent) {
  py::object write = file.attr("write");
  py::object decoder = py::module_::import("codecs").attr("getincrementaldecoder")("utf-8")();
  py::object decode = decoder.attr("decode");
  CorvConfigStore::ExportTo(
      filters,
      [&](const char* text, size_t length) { write(decode(py::bytes(text, length))); },
      indent ? CorvConfigStore::JsonLayout::kIndented : CorvConfigStore::JsonLayout::kCompact);
  py::str rest = decode(py::bytes(), py::arg("final") = true);
  if (py::len(rest) > 0) write(rest);
}

}  // namespace

void BindDocuments(py::module_& module) {
  module.def("import_document", &ImportDocument, py::arg("document"),
             "Replaces the stored configuration of every key the document names, in one "
             "transaction. Returns the validation records; when there are any, nothing was "
             "written.");
  module.def("validate_import", &ValidateImport, py::arg("document"),
             "The validation records import_document would return; nothing is written.");
  module.def("export_document", &ExportDocument, py::arg("filters"),
             "The stored configurations the filters select, as a document import_document "
             "restores.");
  module.def("export_to", &ExportTo, py::arg("filters"), py::arg("file"), py::arg("indent") = false,
             "Writes the document export_document returns to a text file while reading the "
             "store, one configuration at a time; indented by two spaces a level when indent.");

  module.def("provision_store", &CorvConfigStore::ProvisionStore, py::arg("path"),
             "Creates the store database at path with its tables, or completes an existing one.");
  module.def("load_schema_file", &CorvConfigStore::LoadSchemaFile, py::arg("path"),
             "Loads a file of key schemas into the schema store; returns how many were loaded.");
  module.def("load_defaults_file", &CorvConfigStore::LoadDefaultsFile, py::arg("path"),
             "Loads a defaults document into the store; returns how many rows were written.");
  module.def("store_path", &CorvConfigStore::ConfigStorePath, "The store database in force.");
  module.def("schema_store_path", &CorvConfigStore::SchemaStorePath,
             "The schema store database in force.");

  module.def("set_log_level", &CorvConfigStore::CSLogger::SetLevel, py::arg("level"),
             "Highest priority the library logs: 0 errors, 1 warnings, 2 information, 3 and 4 "
             "traces.");
  module.def("get_log_level", &CorvConfigStore::CSLogger::GetLevel);
}

}  // namespace CorvPython

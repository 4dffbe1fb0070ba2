// The library's exceptions as Python exceptions: ConfigStoreError and its
// subclasses carry the code, the message, the details and, for validation
// failures, the validation records as ErrorRecord objects.
#include "Binding.h"

#include <exception>

namespace CorvPython {
namespace {

using CorvConfigStore::ConfigStoreException;
using CorvConfigStore::InvalidArgumentException;
using CorvConfigStore::InvalidTypeException;
using CorvConfigStore::ValidationException;

// The exception classes live as long as the process: the module is never
// unloaded, and a translator may run until the interpreter ends.
PyObject* configStoreError = nullptr;
PyObject* validationError = nullptr;
PyObject* invalidArgumentError = nullptr;
PyObject* invalidTypeError = nullptr;

PyObject* NewClass(py::module_& module, const char* name, const char* doc, PyObject* bases) {
  std::string qualified = std::string("corvconfigstore.") + name;
  PyObject* type = PyErr_NewExceptionWithDoc(qualified.c_str(), doc, bases, nullptr);
  if (type == nullptr) throw py::error_already_set();
  module.add_object(name, py::handle(type));
  return type;
}

// Both bases: the library's family first, then the built-in exception the
// failure resembles, so that ordinary handlers catch it too.
PyObject* NewSubclass(py::module_& module, const char* name, const char* doc, PyObject* builtin) {
  py::tuple bases = py::make_tuple(py::handle(configStoreError), py::handle(builtin));
  return NewClass(module, name, doc, bases.ptr());
}

// Raises the exception as an instance of type with its attributes set.
void Raise(PyObject* type, const ConfigStoreException& e, py::object errors) {
  py::object instance = py::handle(type)(e.what());
  instance.attr("code") = e.GetErrorCode();
  instance.attr("message") = e.what();
  instance.attr("details") = py::cast(e.GetDetails());
  instance.attr("errors") = std::move(errors);
  PyErr_SetObject(type, instance.ptr());
}

void Translate(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (const ValidationException& e) {
    Raise(validationError, e, RecordsOf(e.GetErrors()));
  } catch (const InvalidArgumentException& e) {
    Raise(invalidArgumentError, e, py::list());
  } catch (const InvalidTypeException& e) {
    Raise(invalidTypeError, e, py::list());
  } catch (const ConfigStoreException& e) {
    Raise(configStoreError, e, py::list());
  }
}

std::string RecordRepr(const ErrorInfo& record) {
  return "ErrorRecord(" + py::repr(py::str(record.location)).cast<std::string>() + ", " +
         py::repr(py::str(record.message)).cast<std::string>() + ")";
}

}  // namespace

py::list RecordsOf(const std::vector<ErrorInfo>& errors) {
  py::list records;
  for (const ErrorInfo& error : errors) records.append(py::cast(error));
  return records;
}

void BindErrors(py::module_& module) {
  py::class_<ErrorInfo>(module, "ErrorRecord",
                        "One validation fault: where in the value (a JSON Pointer, \"/\" for "
                        "the whole) and what.")
      .def(py::init<const std::string&, const std::string&>(), py::arg("location"),
           py::arg("message"))
      .def_readonly("location", &ErrorInfo::location)
      .def_readonly("message", &ErrorInfo::message)
      .def("__eq__",
           [](const ErrorInfo& a, const ErrorInfo& b) {
             return a.location == b.location && a.message == b.message;
           },
           py::is_operator())
      .def("__repr__", &RecordRepr)
      .def("__str__", [](const ErrorInfo& e) { return e.location + ": " + e.message; });

  configStoreError = NewClass(
      module, "ConfigStoreError",
      "A failure of the configuration store: .code (the library's error code), .message, "
      ".details (what the library knows of the cause, such as the database's reason) and "
      ".errors (validation records; empty unless the failure is a validation).",
      PyExc_Exception);
  validationError = NewSubclass(module, "ValidationError",
                                "A value or a request the store's rules or schemas refuse; "
                                ".errors lists one ErrorRecord per fault.",
                                PyExc_ValueError);
  invalidArgumentError = NewSubclass(module, "InvalidArgumentError",
                                     "An argument the store refuses.", PyExc_ValueError);
  invalidTypeError = NewSubclass(module, "InvalidTypeError",
                                 "A stored value that is not of the type asked for.",
                                 PyExc_TypeError);
  py::register_exception_translator(&Translate);
}

}  // namespace CorvPython

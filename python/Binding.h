// Shared pieces of the Python module: the conversions between Python values
// and the library's JSON text, and the functions that add each family of
// bindings to the module.
#pragma once

#include <corvconfigstore/CorvConfigStore.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CorvPython {

namespace py = pybind11;
using CorvConfigStore::ConfigStoreObject;
using CorvConfigStore::ConfigStoreObjectId;
using CorvConfigStore::ErrorInfo;

// JSON text of a Python value made of dicts, lists, strings, numbers, bools
// and None. Raises TypeError for anything else and ValueError for NaN or an
// infinity, which JSON cannot hold.
std::string ToJsonText(py::handle value);
// The Python value of JSON text: objects become dicts, arrays lists.
py::object FromJsonText(const std::string& text);

// A configuration object of the identifier holding the dict. Raises
// TypeError when value is not a dict. index is the object's position in a
// list of instances, when it comes from one.
std::shared_ptr<ConfigStoreObject> MakeObject(const ConfigStoreObjectId& id, py::handle value,
                                              std::optional<unsigned long> index = std::nullopt);
// One configuration object per dict of the list.
std::vector<std::shared_ptr<ConfigStoreObject>> MakeObjects(const ConfigStoreObjectId& id,
                                                            const py::iterable& values);
// The object's value as a dict; None for a null object.
py::object ValueOf(const std::shared_ptr<ConfigStoreObject>& object);
py::list ValuesOf(const std::vector<std::shared_ptr<ConfigStoreObject>>& objects);

// Validation records as a list of ErrorRecord.
py::list RecordsOf(const std::vector<ErrorInfo>& errors);

// Each adds one family of classes and functions to the module.
void BindErrors(py::module_& module);
void BindStore(py::module_& module);
void BindDocuments(py::module_& module);

}  // namespace CorvPython

// Python values to and from the library's JSON text, through the
// interpreter's own json module: it already knows every Python type that
// has a JSON form and refuses the others with the usual exceptions.
#include "Binding.h"

namespace CorvPython {

std::string ToJsonText(py::handle value) {
  py::object dumps = py::module_::import("json").attr("dumps");
  return dumps(value, py::arg("allow_nan") = false).cast<std::string>();
}

py::object FromJsonText(const std::string& text) {
  return py::module_::import("json").attr("loads")(text);
}

std::shared_ptr<ConfigStoreObject> MakeObject(const ConfigStoreObjectId& id, py::handle value,
                                              std::optional<unsigned long> index) {
  if (!py::isinstance<py::dict>(value)) {
    std::string type = py::str(value.get_type().attr("__name__"));
    throw py::type_error("a configuration value must be a dict, not " + type);
  }
  return CorvConfigStore::CreateObject(id, ToJsonText(value), index);
}

std::vector<std::shared_ptr<ConfigStoreObject>> MakeObjects(const ConfigStoreObjectId& id,
                                                            const py::iterable& values) {
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  unsigned long index = 0;
  for (py::handle value : values) objects.push_back(MakeObject(id, value, index++));
  return objects;
}

py::object ValueOf(const std::shared_ptr<ConfigStoreObject>& object) {
  if (!object) return py::none();
  return FromJsonText(object->GetData());
}

py::list ValuesOf(const std::vector<std::shared_ptr<ConfigStoreObject>>& objects) {
  py::list values;
  for (const auto& object : objects) values.append(ValueOf(object));
  return values;
}

}  // namespace CorvPython

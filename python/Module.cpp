// The Python module corvconfigstore: its entry point, and the small value
// types every family of bindings uses (identifiers, filters, the writer's
// context).
#include "Binding.h"

namespace CorvPython {
namespace {

using CorvConfigStore::FilterSpecObject;

std::string Quoted(const std::string& text) { return py::repr(py::str(text)); }

std::string IdRepr(const ConfigStoreObjectId& id) {
  std::string text = "ObjectId(" + Quoted(id.key) + ", " + Quoted(id.group) + ", " +
                     Quoted(id.component);
  if (!id.instanceId.empty()) text += ", " + Quoted(id.instanceId);
  return text + ")";
}

std::shared_ptr<FilterSpecObject> MakeFilter(const ConfigStoreObjectId& id, py::handle criteria) {
  auto filter = std::make_shared<FilterSpecObject>(id);
  if (criteria.is_none()) return filter;
  if (!py::isinstance<py::dict>(criteria)) {
    std::string type = py::str(criteria.get_type().attr("__name__"));
    throw py::type_error("filter criteria must be a dict, not " + type);
  }
  filter->SetData(ToJsonText(criteria).c_str());
  return filter;
}

void BindIdentifiers(py::module_& module) {
  py::class_<ConfigStoreObjectId>(
      module, "ObjectId",
      "Identity of one configuration object: key, group, component and, for one instance of "
      "a key with instances, its instance id.")
      .def(py::init<const std::string&, const std::string&, const std::string&,
                    const std::string&>(),
           py::arg("key"), py::arg("group"), py::arg("component"), py::arg("instance_id") = "")
      .def_readonly("key", &ConfigStoreObjectId::key)
      .def_readonly("group", &ConfigStoreObjectId::group)
      .def_readonly("component", &ConfigStoreObjectId::component)
      .def_readonly("instance_id", &ConfigStoreObjectId::instanceId)
      .def("__eq__", &ConfigStoreObjectId::operator==, py::is_operator())
      .def("__hash__", &CorvConfigStore::hashCsoId)
      .def("__repr__", &IdRepr)
      .def("__str__", &ConfigStoreObjectId::toString);

  py::class_<FilterSpecObject, std::shared_ptr<FilterSpecObject>>(
      module, "Filter",
      "Which stored objects an operation touches: the identifier names the key and, when it "
      "has one, the instance; the criteria are member values the selected instances carry, "
      "a nested dict being the criteria of the sub-object of that name.")
      .def(py::init(&MakeFilter), py::arg("id"), py::arg("criteria") = py::none())
      .def_property_readonly("id", &FilterSpecObject::GetConfigStoreObjectId)
      .def_property_readonly("criteria",
                             [](const FilterSpecObject& f) { return FromJsonText(f.GetData()); })
      .def("__repr__", [](const FilterSpecObject& f) {
        std::string criteria = py::repr(FromJsonText(f.GetData()));
        return "Filter(" + IdRepr(f.GetConfigStoreObjectId()) + ", " + criteria + ")";
      });
  // Wherever a filter is asked for, a bare identifier selects without
  // criteria.
  py::implicitly_convertible<ConfigStoreObjectId, FilterSpecObject>();

  py::enum_<CorvConfigStore::USERDATA_CONTEXT>(
      module, "Context", "Who writes: a caller outside the host's own services, or the host's "
                         "automatic configuration.")
      .value("EXTERNAL", CorvConfigStore::EXTERNAL)
      .value("INTERNAL", CorvConfigStore::INTERNAL)
      .export_values();
}

}  // namespace
}  // namespace CorvPython

PYBIND11_MODULE(corvconfigstore, module) {
  module.doc() =
      "The configuration store: configuration objects addressed by component, group, key and "
      "instance id, validated against the schema store, with values as dicts and lists.";
  CorvPython::BindErrors(module);
  CorvPython::BindIdentifiers(module);
  CorvPython::BindStore(module);
  CorvPython::BindDocuments(module);
}

// The store handle, its transactions as context managers and the next-boot
// store, with configuration values as dicts.
#include "Binding.h"

namespace CorvPython {
namespace {

using CorvConfigStore::ConfigStore;
using CorvConfigStore::ConfigStoreException;
using CorvConfigStore::FilterSpecObject;
using CorvConfigStore::NextBootStore;
using CorvConfigStore::USERDATA_CONTEXT;
using Filter = std::shared_ptr<FilterSpecObject>;

// One transaction level on a store, begun when a with block is entered:
// the block's normal end commits it, an exception cancels it. commit() and
// cancel() end it early. It works on the store's own calls rather than on
// the library's scoped guard, because a guard whose cancel fails in its
// destructor would end the process, and Python may drop an object late.
class Transaction {
 public:
  explicit Transaction(std::shared_ptr<ConfigStore> store) : store_(std::move(store)) {}
  ~Transaction() {
    if (state_ == kOpen) CancelQuietly();
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  Transaction& Enter() {
    if (state_ != kNew) throw py::value_error("a transaction can be entered only once");
    if (store_->BeginTransaction() != 0)
      throw ConfigStoreException(CorvConfigStore::CS_ERR_GENERAL, "Failed to start a transaction.");
    state_ = kOpen;
    return *this;
  }

  // A commit the database refuses leaves the level open; leaving the block
  // then cancels it.
  void Commit() {
    RequireOpen();
    store_->CommitTransaction();
    state_ = kEnded;
  }

  void Cancel() {
    RequireOpen();
    state_ = kEnded;
    store_->CancelTransaction();
  }

  void Exit(py::handle type, py::handle, py::handle) {
    if (state_ != kOpen) return;
    if (!type.is_none()) {
      CancelQuietly();
      return;
    }
    try {
      Commit();
    } catch (...) {
      CancelQuietly();
      throw;
    }
  }

  bool Active() const { return state_ == kOpen; }

 private:
  enum State { kNew, kOpen, kEnded };

  void RequireOpen() const {
    if (state_ != kOpen) throw py::value_error("the transaction is not open");
  }

  // Used while another failure is on its way to the caller, which is what
  // the caller must see; the library has logged the refused cancel.
  void CancelQuietly() {
    state_ = kEnded;
    try {
      store_->CancelTransaction();
    } catch (const ConfigStoreException&) {
    }
  }

  std::shared_ptr<ConfigStore> store_;
  State state_ = kNew;
};

// The next-boot store; its handle is owned through the std::shared_ptr the
// store hands out, never deleted through its interface.
struct NextBoot {
  std::shared_ptr<NextBootStore> store;
};

py::dict RevisionsOf(const std::vector<CorvConfigStore::RevisionInfo>& revisions) {
  py::dict result;
  for (const auto& revision : revisions) result[py::str(revision.instanceId)] = revision.revision;
  return result;
}

void BindTransaction(py::module_& module) {
  py::class_<Transaction>(module, "Transaction",
                          "A transaction level on a store, for a with block: committed when the "
                          "block ends normally, cancelled when it raises.")
      .def("__enter__", &Transaction::Enter, py::return_value_policy::reference)
      .def("__exit__", &Transaction::Exit)
      .def("commit", &Transaction::Commit, "Commits the level before the block ends.")
      .def("cancel", &Transaction::Cancel, "Cancels the level before the block ends.")
      .def_property_readonly("active", &Transaction::Active);
}

void BindNextBoot(py::module_& module) {
  py::class_<NextBoot>(module, "NextBootStore",
                       "Configuration staged for the next boot, for keys whose schema is tagged "
                       "\"@rebootRequiredConfigStore\".")
      .def("get",
           [](NextBoot& n, const ConfigStoreObjectId& id) { return ValueOf(n.store->Get(id)); },
           py::arg("id"), "The value staged for the next boot, or None.")
      .def("set",
           [](NextBoot& n, const ConfigStoreObjectId& id, py::handle value) {
             n.store->Set(MakeObject(id, value));
           },
           py::arg("id"), py::arg("value"))
      .def("delete", [](NextBoot& n, const ConfigStoreObjectId& id) { n.store->Delete(id); },
           py::arg("id"), "Stages the deletion of the object.")
      .def("reset", [](NextBoot& n, const ConfigStoreObjectId& id) { n.store->Reset(id); },
           py::arg("id"), "Drops everything staged for the key.")
      .def("set_instances",
           [](NextBoot& n, const ConfigStoreObjectId& id, const py::iterable& values) {
             n.store->SetInstances(MakeObjects(id, values));
           },
           py::arg("id"), py::arg("values"),
           "Replaces everything staged for the key with the instances.")
      .def("get_instances",
           [](NextBoot& n, const Filter& filter) {
             return ValuesOf(n.store->GetInstances(filter));
           },
           py::arg("filter").none(false))
      .def("delete_instances",
           [](NextBoot& n, const Filter& filter) { n.store->DeleteInstances(filter); },
           py::arg("filter").none(false), "Stages the deletion of every instance that matches.");
}

}  // namespace

void BindStore(py::module_& module) {
  BindTransaction(module);
  BindNextBoot(module);
  using Store = std::shared_ptr<ConfigStore>;
  auto context = py::arg("context") = CorvConfigStore::EXTERNAL;
  py::class_<ConfigStore, Store>(
      module, "Store",
      "A handle on the configuration store named by CORV_CONFIGSTORE_DB, validated against the "
      "schema store named by CORV_SCHEMASTORE_DB. One thread at a time may use a handle.")
      .def(py::init(&ConfigStore::GetStore), py::arg("namespace") = "")
      .def("get", [](ConfigStore& s, const ConfigStoreObjectId& id) { return ValueOf(s.Get(id)); },
           py::arg("id"), "The stored value with its layers merged, or None.")
      .def("get_default",
           [](ConfigStore& s, const ConfigStoreObjectId& id) {
             return ValueOf(s.GetDefaultConfig(id));
           },
           py::arg("id"), "The shipped default value, or None.")
      .def("get_default_instances",
           [](ConfigStore& s, const Filter& filter) {
             return ValuesOf(s.GetDefaultConfigInstances(filter));
           },
           py::arg("filter").none(false))
      .def("get_instance_ids", &ConfigStore::GetInstanceIds, py::arg("id"))
      .def("get_instances",
           [](ConfigStore& s, const Filter& filter) { return ValuesOf(s.GetInstances(filter)); },
           py::arg("filter").none(false), "The values of the stored instances that match.")
      .def("get_revision", &ConfigStore::GetRevision, py::arg("id"),
           "The stored revision; -1 when nothing is stored.")
      .def("get_instances_revision",
           [](ConfigStore& s, const ConfigStoreObjectId& id) {
             return RevisionsOf(s.GetInstancesRevision(id));
           },
           py::arg("id"), "Instance id to revision, for every instance or the one named.")
      .def("set",
           [](ConfigStore& s, const ConfigStoreObjectId& id, py::handle value, USERDATA_CONTEXT c) {
             s.Set(MakeObject(id, value), c);
           },
           py::arg("id"), py::arg("value"), context, "Writes every layer of the object.")
      .def("set_user_data",
           [](ConfigStore& s, const ConfigStoreObjectId& id, py::handle value, USERDATA_CONTEXT c) {
             s.SetUserData(MakeObject(id, value), c);
           },
           py::arg("id"), py::arg("value"), context)
      .def("set_vital_data",
           [](ConfigStore& s, const ConfigStoreObjectId& id, py::handle value) {
             s.SetVitalData(MakeObject(id, value));
           },
           py::arg("id"), py::arg("value"))
      .def("set_cached_data",
           [](ConfigStore& s, const ConfigStoreObjectId& id, py::handle value) {
             s.SetCachedData(MakeObject(id, value));
           },
           py::arg("id"), py::arg("value"))
      .def("update",
           [](ConfigStore& s, const ConfigStoreObjectId& id, py::handle value, USERDATA_CONTEXT c) {
             s.Update(MakeObject(id, value), c);
           },
           py::arg("id"), py::arg("value"), context,
           "Merges the members into the stored value; an update never deletes.")
      .def("delete", &ConfigStore::Delete, py::arg("id"))
      .def("delete_instances", &ConfigStore::DeleteInstances, py::arg("filter").none(false),
           "Deletes the instances that match; without criteria the one the identifier names, "
           "or every instance.")
      .def("set_instances",
           [](ConfigStore& s, const ConfigStoreObjectId& id, const py::iterable& values,
              USERDATA_CONTEXT c) { s.SetInstances(MakeObjects(id, values), c); },
           py::arg("id"), py::arg("values"), context,
           "Replaces every stored instance of the key, in one transaction.")
      .def("set_user_data_instances",
           [](ConfigStore& s, const ConfigStoreObjectId& id, const py::iterable& values,
              USERDATA_CONTEXT c) { s.SetUserDataInstances(MakeObjects(id, values), c); },
           py::arg("id"), py::arg("values"), context)
      .def("set_vital_data_instances",
           [](ConfigStore& s, const ConfigStoreObjectId& id, const py::iterable& values) {
             s.SetVitalDataInstances(MakeObjects(id, values));
           },
           py::arg("id"), py::arg("values"))
      .def("set_cached_data_instances",
           [](ConfigStore& s, const ConfigStoreObjectId& id, const py::iterable& values) {
             s.SetCachedDataInstances(MakeObjects(id, values));
           },
           py::arg("id"), py::arg("values"))
      .def("validate",
           [](ConfigStore& s, const ConfigStoreObjectId& id, py::handle value) {
             return RecordsOf(s.Validate(MakeObject(id, value)));
           },
           py::arg("id"), py::arg("value"),
           "The schema faults of the value as ErrorRecords; nothing is written.")
      .def("transaction", [](const Store& s) { return std::make_unique<Transaction>(s); },
           "A transaction level for a with block.")
      .def("next_boot", [](ConfigStore& s) { return NextBoot{s.GetNextBootStore()}; },
           "The store of configuration staged for the next boot.");
}

}  // namespace CorvPython

// The options and the choice of a deletion.
#include "Deletion.h"

#include "Objects.h"

std::shared_ptr<Deletion> AddDeletionOptions(CLI::App* command) {
  auto deletion = std::make_shared<Deletion>();
  deletion->target = AddTarget(command);
  deletion->allOption = command->add_flag("--all", "Every instance of a key with instances");
  deletion->filterOption =
      command
          ->add_option("--filter", deletion->filter,
                       "The instances whose members have these values, as a JSON object")
          ->type_name("JSON");
  deletion->allOption->excludes(deletion->filterOption)->excludes(deletion->target->idOption);
  return deletion;
}

void RunDeletion(
    const Deletion& deletion,
    const std::function<void(const CorvConfigStore::ConfigStoreObjectId&)>& deleteOne,
    const std::function<void(const std::shared_ptr<CorvConfigStore::FilterSpecObject>&)>&
        deleteMatching) {
  const Target& target = *deletion.target;
  if (deletion.filterOption->count() > 0)
    deleteMatching(FilterFromValue(target.Name(), target.id, deletion.filter));
  else if (deletion.allOption->count() > 0)
    deleteMatching(std::make_shared<CorvConfigStore::FilterSpecObject>(target.Id()));
  else
    deleteOne(target.Id());
}

std::string NothingToDelete(const Deletion& deletion) {
  const Target& target = *deletion.target;
  if (deletion.filterOption->count() > 0)
    return "Nothing to delete: no instance of " + target.name + " matches the filter";
  if (deletion.allOption->count() > 0)
    return "Nothing to delete: " + target.name + " has no instances";
  if (!target.id.empty())
    return "Nothing to delete: " + target.name + " has no instance " + target.id;
  return "Nothing to delete: " + target.name + " holds no value";
}

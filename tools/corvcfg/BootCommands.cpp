// `corvcfg boot` and `corvcfg kernel-options`: confirming what a boot
// applied, the boot information, and the kernel options of the next boot.
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/KeyValue.h>

#include "Commands.h"
#include "Failures.h"
#include "Input.h"
#include "Names.h"
#include "Objects.h"
#include "Output.h"

namespace {

// The kernel options are one fixed key.
const ConfigName kKernelOptions{"corv", "kestrel", "options"};

struct PartialOptions {
  std::shared_ptr<Target> target;
  std::shared_ptr<ValueSource> value;
};

void RunConfirmPartial(const PartialOptions& options) {
  ValueObjects value =
      ObjectsFromValue(options.target->Name(), options.target->id, ReadValue(*options.value));
  if (value.isList) throw CLI::ValidationError("A partial confirmation takes one JSON object");
  CorvConfigStore::SetPartialBootStatus(value.objects.front());
}

void RunUpdateKernelOptions(const ValueSource& source) {
  ValueObjects value = ObjectsFromValue(kKernelOptions, "", ReadValue(source));
  if (value.isList) throw CLI::ValidationError("The kernel options are one JSON object");
  CorvConfigStore::UpdateKernelOptions(value.objects.front());
}

// The boot type recorded under BOOT_INFO. A store where no boot has recorded
// one yet is told apart from a record that cannot be read: the library
// fails alike for both.
void RunBootInfo() {
  if (CorvConfigStore::GetKeyValue("BOOT_INFO").empty())
    ThrowAbsent("No boot has been recorded: the key-value entry BOOT_INFO is empty");
  PrintJson(std::to_string(CorvConfigStore::GetBootInfo()));
}

}  // namespace

void AddBootCommands(CLI::App& app) {
  CLI::App* boot = app.add_subcommand("boot", "Confirm what a boot applied; show the boot type");

  CLI::App* confirm = boot->add_subcommand(
      "confirm",
      "After a boot: confirm the pending desired value of a key (of every instance, or of the "
      "one --id names); it becomes the current value");
  auto confirmTarget = AddTarget(confirm);
  confirm->callback([confirmTarget] { CorvConfigStore::SetBootStatus(confirmTarget->Id(), true); });

  auto partial = std::make_shared<PartialOptions>();
  CLI::App* confirmPartial = boot->add_subcommand(
      "confirm-partial",
      "After a boot that applied part of a pending desired value: merge that part (a JSON "
      "object) into the current value");
  partial->target = AddTarget(confirmPartial);
  partial->value = AddValueOptions(confirmPartial, "The part that was applied");
  confirmPartial->callback([partial] { RunConfirmPartial(*partial); });

  boot->add_subcommand("info",
                       "Print the type of the current boot, recorded under BOOT_INFO (a number); "
                       "exit status 3 when no boot has recorded one")
      ->callback(RunBootInfo);

  CLI::App* kernel = app.add_subcommand(
      "kernel-options", "The kernel options the next boot uses (corv.kestrel.options)");
  kernel
      ->add_subcommand("get",
                       "Print the kernel options the next boot will use; null, and exit status "
                       "3, when there are none")
      ->callback([] {
        const std::string value =
            ObjectJson(CorvConfigStore::GetKernelOptions(IdOf(kKernelOptions)));
        PrintJson(value);
        if (value == "null") ThrowAbsent();
      });
  CLI::App* update = kernel->add_subcommand(
      "update",
      "Merge options (a JSON object) into the kernel options for the next boot; refused while "
      "the host boots");
  auto source = AddValueOptions(update, "The options to merge");
  update->callback([source] { RunUpdateKernelOptions(*source); });
}

// Carrying out steps on both sides and comparing what they answer.
#include "Campaign.h"

#include <algorithm>
#include <sstream>

#include "Keys.h"
#include "Library.h"

namespace ModelCampaign {

namespace {

std::string Describe(const Layer& layer) { return LayerText(layer); }
std::string Describe(int n) { return std::to_string(n); }
std::string Describe(const std::string& s) { return "\"" + s + "\""; }
std::string Describe(const Value& v) { return v.Text(); }
std::string Describe(const std::pair<std::string, int>& p) {
  return p.first + ":" + std::to_string(p.second);
}
template <typename T>
std::string Describe(const std::vector<T>& items) {
  std::string text = "[";
  for (size_t i = 0; i < items.size(); ++i) text += (i ? ", " : "") + Describe(items[i]);
  return text + "]";
}
std::string Describe(const Outcome& o) {
  if (!o.refused) return "done";
  return "refused [" + std::to_string(o.code) + "] " + o.message;
}

// The export document with the instances of each key in a fixed order.
Value Normalized(Value document) {
  for (auto& component : document.members)
    for (auto& group : component.second.members)
      for (auto& key : group.second.members)
        std::sort(key.second.items.begin(), key.second.items.end(),
                  [](const Value& a, const Value& b) { return a.Text() < b.Text(); });
  return document;
}

class Comparison {
 public:
  Comparison(Figures& figures, std::string& report) : figures_(figures), report_(report) {}

  template <typename T>
  void Same(const std::string& what, const T& library, const T& model) {
    ++figures_.checks;
    if (library == model) return;
    ++figures_.disagreements;
    report_ += "  " + what + ": library " + Describe(library) + ", model " + Describe(model) + "\n";
  }
  void SameOutcome(const Outcome& library, const Outcome& model) {
    ++figures_.checks;
    bool same = library.refused == model.refused &&
                (!library.refused ||
                 (library.code == model.code &&
                  (model.message.empty() || model.message == library.message)));
    if (same) {
      if (library.refused) {
        ++figures_.refusals;
        ++figures_.refusalsByReason["[" + std::to_string(library.code) + "] " + library.message];
      }
      return;
    }
    ++figures_.disagreements;
    report_ += "  outcome: library " + Describe(library) + ", model " + Describe(model) + "\n";
  }
  bool Failed() const { return !report_.empty(); }

 private:
  Figures& figures_;
  std::string& report_;
};

// Every read of the store compared with the model. The reads on
// connections of their own see only committed rows, which a step inside a
// transaction does not change: they are compared when committed rows may
// have changed (committed is true). GetDesiredUserConfig opens a connection
// per call, so one instance id per key, in turn, is read by it; the
// instance read covers the others.
void CompareReads(Library& library, const Model& model, Comparison& compare, long long index,
                  bool committed) {
  const int all = (1 << Keys().size()) - 1;
  for (size_t k = 0; k < Keys().size(); ++k) {
    const int key = static_cast<int>(k);
    const KeySpec& spec = Keys()[k];
    const std::vector<std::string> ids = RowIds(spec);
    for (const std::string& id : ids) {
      const std::string name = std::string(spec.name) + (id.empty() ? "" : "/" + id);
      compare.Same("Get " + name, library.Get(key, id), model.Get(key, id));
      compare.Same("GetRevision " + name, library.Revision(key, id), model.Revision(key, id));
      if (spec.nextBoot)
        compare.Same("next-boot Get " + name, library.NextBootGet(key, id),
                     model.NextBootGet(key, id));
    }
    if (committed) {
      const std::string& id = ids[static_cast<size_t>(index) % ids.size()];
      const std::string name = std::string(spec.name) + (id.empty() ? "" : "/" + id);
      compare.Same("GetDesiredUserConfig user " + name, library.Desired(key, id, false),
                   model.Desired(key, id, false));
      compare.Same("GetDesiredUserConfig layers " + name, library.Desired(key, id, true),
                   model.Desired(key, id, true));
    }
    if (!spec.instances) continue;
    Value byA, byB;
    byA.members["a"] = Value::Int(1);
    byB.members["b"] = Value::String("s1");
    for (const Value& criteria : {Value(), byA, byB})
      compare.Same(std::string("GetInstances ") + spec.name + " " + criteria.Text(),
                   library.Instances(key, criteria), model.Instances(key, criteria));
    compare.Same(std::string("GetInstanceIds ") + spec.name, library.InstanceIds(key),
                 model.InstanceIds(key));
    compare.Same(std::string("GetInstancesRevision ") + spec.name, library.InstanceRevisions(key),
                 model.InstanceRevisions(key));
    if (committed) {
      compare.Same(std::string("GetDesiredUserConfigInstances user ") + spec.name,
                   library.DesiredInstances(key, false), model.DesiredInstances(key, false));
      compare.Same(std::string("GetDesiredUserConfigInstances layers ") + spec.name,
                   library.DesiredInstances(key, true), model.DesiredInstances(key, true));
    }
    if (spec.nextBoot)
      compare.Same(std::string("next-boot GetInstances ") + spec.name,
                   library.NextBootInstances(key), model.NextBootInstances(key));
  }
  if (!committed) return;
  std::optional<Value> exported = ParseValue(library.Export(all));
  compare.Same("Export", exported ? Normalized(*exported) : Value::String("<not JSON>"),
               model.ExportDocument(all));
  compare.Same("BOOT_MODE", library.BootMode(), model.CommittedBootMode());
  // While remediating, the options are read from two tables joined in an
  // order the caller does not see.
  if (model.CommittedBootMode() != "1")
    compare.Same("GetKernelOptions", library.KernelOptions(), model.KernelOptions());
}

void CountStates(const Model& model, Figures& figures) {
  bool unconfirmed = false, desired = false, value = false, deletion = false;
  for (const auto& entry : model.Rows().config) {
    unconfirmed = unconfirmed || (entry.second.success == 0 && entry.second.user);
    desired = desired || entry.second.desired.has_value();
  }
  for (const auto& entry : model.Rows().next) {
    value = value || entry.second.action == "SET";
    deletion = deletion || entry.second.action != "SET";
  }
  figures.unconfirmedRows += unconfirmed;
  figures.desiredRows += desired;
  figures.nextBootValues += value;
  figures.nextBootDeletions += deletion;
  figures.inTransaction += model.Depth() > 0;
}

}  // namespace

long long RunSequence(const StepSource& source, Figures& figures, std::string* report) {
  Library library;
  Model model;
  Step step;
  for (long long index = 0; source(index, model, step); ++index) {
    // In a shrunk sequence a step may no longer fit where it stands (a
    // commit without a transaction): it is left out.
    if (!model.Applicable(step)) continue;
    ++figures.steps;
    ++figures.perOp[static_cast<int>(step.op)];
    std::string found;
    Comparison compare(figures, found);
    try {
      if (step.op == Op::kImportExport) {
        const std::string document = library.Export(step.number);
        std::optional<Value> exported = ParseValue(document);
        compare.Same("Export before import",
                     exported ? Normalized(*exported) : Value::String("<not JSON>"),
                     model.ExportDocument(step.number));
        compare.SameOutcome(library.Import(document), model.Apply(step));
      } else {
        const Outcome outcome = library.Apply(step);
        compare.SameOutcome(outcome, model.Apply(step));
      }
      const bool committed = model.Depth() == 0 || step.op == Op::kBegin ||
                             step.op == Op::kCommit || step.op == Op::kCancel;
      if (!compare.Failed()) CompareReads(library, model, compare, index, committed);
      CountStates(model, figures);
    } catch (const std::exception& e) {
      ++figures.disagreements;
      found += std::string("  a read threw: ") + e.what() + "\n";
    }
    if (!found.empty()) {
      *report = "after step " + std::to_string(index) + ": " + step.Text() + "\n" + found;
      return index;
    }
  }
  return -1;
}

}  // namespace ModelCampaign

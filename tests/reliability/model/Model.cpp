// The reference model's rules: how each operation changes the layers of the
// rows, and what each read makes of them.
#include "Model.h"

#include <algorithm>

#include "Keys.h"

namespace ModelCampaign {

namespace {

const char* const kBootRefusal = "API cannot be invoked with EXTERNAL context during boot";
const char* const kNextBootPhaseRefusal =
    "NextBootStore is not supported during the upgrade or boot phase";
const char* const kNextBootTagRefusal =
    "API should only be invoked for configurations tagged @rebootRequiredConfigStore.";
const char* const kRemediationRefusal =
    "Corv host is being remediated by Plexa, cannot set next-boot configuration.";
const char* const kDesiredEmpty = "desired config is empty";
const char* const kNotPartOfDesired = "partial config being restored is not part of desired config";
const char* const kSingletonRefusal = "API called for singleton object, non-singleton expected";
const int kGeneralCode = 2000;
const int kEmptyListCode = 1061;

Outcome Refused(int code, const std::string& message) { return Outcome{true, code, message}; }

bool IsLayerMember(const std::string& name) { return name == "v" || name == "c"; }

// Empty objects are removed from user configuration before it is written.
Value Cleanup(Value value) {
  auto o = value.members.find("o");
  if (o != value.members.end() && o->second.IsEmptyObject()) value.members.erase(o);
  return value;
}

// Whether the value touches a member that is user configuration (neither
// vital, cached nor the instance id).
bool IsUserType(const Value& value) {
  for (const auto& member : value.members) {
    if (member.first == "name" || IsLayerMember(member.first)) continue;
    if (member.second.IsEmptyObject()) continue;
    return true;
  }
  return false;
}

struct Parts {
  Layer user, vital, cached;
};

// Divides a value into its user, vital and cached parts. The instance id
// goes into every part; an instance part holding nothing else exists only
// in the user layer.
Parts Split(const KeySpec& key, const Value& value) {
  Parts parts;
  Value user, vital, cached;
  for (const auto& member : value.members) {
    if (member.first == "v")
      vital.members[member.first] = member.second;
    else if (member.first == "c")
      cached.members[member.first] = member.second;
    else
      user.members[member.first] = member.second;
  }
  if (key.instances) {
    auto name = value.members.find("name");
    if (name != value.members.end()) {
      vital.members["name"] = name->second;
      cached.members["name"] = name->second;
    }
    const size_t idOnly = name != value.members.end() ? 1 : 0;
    parts.user = user;
    if (vital.members.size() > idOnly) parts.vital = vital;
    if (cached.members.size() > idOnly) parts.cached = cached;
  } else {
    if (!user.members.empty()) parts.user = user;
    if (!vital.members.empty()) parts.vital = vital;
    if (!cached.members.empty()) parts.cached = cached;
  }
  return parts;
}

// The layers merged in order, each overriding the earlier ones member by
// member; absent layers are skipped.
Layer MergeLayers(std::initializer_list<const Layer*> layers) {
  Layer result;
  for (const Layer* layer : layers) {
    if (!*layer) continue;
    if (!result)
      result = **layer;
    else
      MergeInto(*result, **layer);
  }
  return result;
}

bool Matches(const Value& value, const Value& filter) {
  for (const auto& member : filter.members) {
    auto found = value.members.find(member.first);
    if (found == value.members.end()) return false;
    if (member.second.IsObject()) {
      if (!found->second.IsObject() || !Matches(found->second, member.second)) return false;
    } else if (found->second != member.second) {
      return false;
    }
  }
  return true;
}

// Every member of part is in whole with an equal value.
bool ContainedIn(const Value& part, const Value& whole) {
  for (const auto& member : part.members) {
    auto found = whole.members.find(member.first);
    if (found == whole.members.end() || found->second != member.second) return false;
  }
  return true;
}

template <typename Map>
void EraseKey(Map& rows, int key) {
  for (auto it = rows.begin(); it != rows.end();)
    it = it->first.first == key ? rows.erase(it) : std::next(it);
}

Layer NonEmpty(const Value& value) {
  if (value.IsEmptyObject()) return std::nullopt;
  return value;
}

void SortItems(std::vector<Value>& values) {
  std::sort(values.begin(), values.end(),
            [](const Value& a, const Value& b) { return a.Text() < b.Text(); });
}

}  // namespace

bool Model::Applicable(const Step& step) const {
  switch (step.op) {
    case Op::kBegin:
      return Depth() < 3;
    case Op::kCommit:
    case Op::kCancel:
      return Depth() > 0;
    case Op::kImportExport:
      // An import in upgrade context 2 decides the confirmation flag once for
      // the rest of the document, in an order the caller does not see: one
      // key at a time keeps it foreseeable.
      if (step.number == 0) return false;
      if (upgrade_ == 2 && (step.number & (step.number - 1)) != 0) return false;
      return Depth() == 0;
    case Op::kUpdateKernelOptions:
      // During remediation the options are read from two tables joined in
      // an order the caller does not see.
      return Depth() == 0 && !Remediating();
    case Op::kBootStatus:
    case Op::kPartialBootStatus:
    case Op::kSwitchBoot:
    case Op::kSwitchUpgrade:
    case Op::kSwitchBootMode:
      // These work on connections of their own, which wait for an open
      // transaction of the store handle.
      return Depth() == 0;
    default:
      return true;
  }
}

Layer Model::Current(const Row& row) const {
  Layer user;
  if (upgrade_ != 0)
    user = row.desired ? row.desired : row.user;
  else if (row.success == 1)
    user = row.user;
  return MergeLayers({&row.vital, &row.cached, &row.autoconf, &user});
}

Layer Model::CallerView(const Row& row, bool internal) const {
  Layer main;
  if (internal)
    main = row.autoconf;
  else if (upgrade_ != 0)
    main = row.desired ? row.desired : row.user;
  else if (row.success == 1)
    main = row.user;
  return MergeLayers({&row.vital, &row.cached, &main});
}

std::vector<std::string> Model::Matching(int key, const Value& filter) const {
  std::vector<std::string> ids;
  for (const auto& entry : state_.config) {
    if (entry.first.first != key) continue;
    Layer current = Current(entry.second);
    if (current && Matches(*current, filter)) ids.push_back(entry.first.second);
  }
  return ids;
}

void Model::WriteWhole(int key, const std::string& id, const Value& value, bool internal,
                       bool successFlag) {
  const KeySpec& spec = Keys()[key];
  Parts parts = Split(spec, value);
  Row& row = state_.config[{key, id}];
  Row written;
  (internal ? written.autoconf : written.user) = parts.user;
  written.vital = parts.vital;
  written.cached = parts.cached;
  written.success = upgrade_ == 2 && !successFlag ? 0 : 1;
  written.revision = row.revision + 1;
  row = written;
}

Outcome Model::Apply(const Step& step) {
  const KeySpec& spec = Keys()[step.key];
  const RowKey rowKey{step.key, step.instance};
  const bool bootRefuses = DuringBoot() && !step.internal && !spec.bootExempt;
  switch (step.op) {
    case Op::kSet: {
      Value value = Cleanup(step.value);
      if (bootRefuses && IsUserType(value)) return Refused(kGeneralCode, kBootRefusal);
      WriteWhole(step.key, step.instance, value, step.internal, spec.applyDuringUpgrade);
      return {};
    }
    case Op::kSetUserData: {
      if (bootRefuses) return Refused(kGeneralCode, kBootRefusal);
      Value value = Cleanup(step.value);
      Row& row = state_.config[rowKey];
      if (step.internal) {
        row.autoconf = NonEmpty(value);
      } else {
        row.user = NonEmpty(value);
        row.desired.reset();
        row.success = upgrade_ == 2 && !spec.applyDuringUpgrade ? 0 : 1;
      }
      ++row.revision;
      return {};
    }
    case Op::kSetVitalData:
    case Op::kSetCachedData: {
      Row& row = state_.config[rowKey];
      (step.op == Op::kSetVitalData ? row.vital : row.cached) = NonEmpty(step.value);
      ++row.revision;
      return {};
    }
    case Op::kUpdate:
      return Update(step);
    case Op::kDelete:
      state_.config.erase(rowKey);
      return {};
    case Op::kDeleteInstances:
      if (!spec.instances) return Refused(kGeneralCode, kSingletonRefusal);
      if (step.value.members.empty()) {
        if (!step.instance.empty())
          state_.config.erase(rowKey);
        else
          EraseKey(state_.config, step.key);
      } else {
        for (const std::string& id : Matching(step.key, step.value))
          state_.config.erase({step.key, id});
      }
      return {};
    case Op::kSetInstances: {
      if (step.list.empty()) return Refused(kEmptyListCode, "");
      if (!spec.instances) return Refused(kGeneralCode, kSingletonRefusal);
      std::vector<Value> values;
      bool userData = false;
      for (const auto& entry : step.list) {
        values.push_back(Cleanup(entry.second));
        userData = userData || IsUserType(values.back());
      }
      if (bootRefuses && userData) return Refused(kGeneralCode, kBootRefusal);
      EraseKey(state_.config, step.key);
      for (size_t i = 0; i < values.size(); ++i)
        WriteWhole(step.key, step.list[i].first, values[i], step.internal,
                   spec.applyDuringUpgrade);
      return {};
    }
    case Op::kSetUserDataInstances:
    case Op::kSetVitalDataInstances:
    case Op::kSetCachedDataInstances:
      return SetLayerInstances(step);
    case Op::kNextBootSet:
    case Op::kNextBootDelete:
    case Op::kNextBootReset:
    case Op::kNextBootSetInstances:
    case Op::kNextBootDeleteInstances:
      return NextBoot(step);
    case Op::kBootStatus:
      if (step.flag) {
        for (auto& entry : state_.config) {
          if (entry.first.first != step.key) continue;
          if (!step.instance.empty() && entry.first.second != step.instance) continue;
          Row& row = entry.second;
          if (row.desired) row.user = row.desired;
          row.desired.reset();
          row.success = 1;
        }
      }
      return {};
    case Op::kPartialBootStatus:
      return PartialBootStatus(step);
    case Op::kUpdateKernelOptions:
      return UpdateKernelOptions(step);
    case Op::kImportExport:
      ImportOfExport(step.number);
      return {};
    case Op::kBegin:
      saved_.push_back(state_);
      return {};
    case Op::kCommit:
      saved_.pop_back();
      return {};
    case Op::kCancel:
      state_ = saved_.back();
      saved_.pop_back();
      return {};
    case Op::kSwitchBoot:
      bootFlag_ = step.flag;
      return {};
    case Op::kSwitchUpgrade:
      upgrade_ = step.number;
      return {};
    case Op::kSwitchBootMode:
      state_.bootMode = step.flag ? "1" : "0";
      return {};
    case Op::kCount:
      break;
  }
  return {};
}

Outcome Model::Update(const Step& step) {
  const KeySpec& spec = Keys()[step.key];
  const Value update = Cleanup(step.value);
  const bool userData = IsUserType(update);
  if (userData && DuringBoot() && !step.internal && !spec.bootExempt)
    return Refused(kGeneralCode, kBootRefusal);
  if (update.members.empty()) return {};  // an update never deletes
  // 0: the user layer, 1: the user layer keeping a pending desired value,
  // 2: the auto-configuration layer.
  const int layer = step.internal ? 2 : userData ? 0 : 1;
  auto found = state_.config.find({step.key, step.instance});
  if (found == state_.config.end() || !Current(found->second)) {
    // Nothing stored reads back: the update itself replaces the row. The
    // auto-configuration layer survives a user write, the user layer an
    // auto-configuration write; the confirmation flag survives all but the
    // plain user write, which takes the column default (confirmed).
    Parts parts = Split(spec, update);
    Row& row = state_.config[{step.key, step.instance}];
    Row written;
    if (layer == 2) {
      written.autoconf = parts.user;
      written.user = row.user;
    } else {
      written.user = parts.user;
      written.autoconf = row.autoconf;
    }
    written.success = layer == 0 ? 1 : row.success;
    written.vital = parts.vital;
    written.cached = parts.cached;
    written.revision = row.revision + 1;
    row = written;
    return {};
  }
  Row& row = found->second;
  Layer view = CallerView(row, step.internal);
  Value written = view ? *view : Value();
  MergeInto(written, update);
  Parts parts = Split(spec, Cleanup(written));
  (layer == 2 ? row.autoconf : row.user) = parts.user;
  row.vital = parts.vital;
  row.cached = parts.cached;
  if (layer == 0) row.desired.reset();
  return {};
}

Outcome Model::SetLayerInstances(const Step& step) {
  const KeySpec& spec = Keys()[step.key];
  if (step.list.empty()) return Refused(kEmptyListCode, "");
  if (!spec.instances) return Refused(kGeneralCode, kSingletonRefusal);
  const bool user = step.op == Op::kSetUserDataInstances;
  if (user && DuringBoot() && !step.internal && !spec.bootExempt)
    return Refused(kGeneralCode, kBootRefusal);
  // The layer leaves every row of the key (the rows stay), then the list
  // writes it again, one row at a time.
  auto layerOf = [&](Row& row) -> Layer& {
    if (step.op == Op::kSetVitalDataInstances) return row.vital;
    if (step.op == Op::kSetCachedDataInstances) return row.cached;
    return step.internal ? row.autoconf : row.user;
  };
  for (auto& entry : state_.config)
    if (entry.first.first == step.key) layerOf(entry.second).reset();
  for (const auto& entry : step.list) {
    Row& row = state_.config[{step.key, entry.first}];
    layerOf(row) = NonEmpty(user ? Cleanup(entry.second) : entry.second);
    if (user && !step.internal) {
      row.desired.reset();
      row.success = upgrade_ == 2 && !spec.applyDuringUpgrade ? 0 : 1;
    }
    ++row.revision;
  }
  return {};
}

Outcome Model::PartialBootStatus(const Step& step) {
  const Value partial = Cleanup(step.value);
  auto found = state_.config.find({step.key, step.instance});
  if (found == state_.config.end()) return {};
  Row& row = found->second;
  if (row.success != 1 || !row.user) {
    // Nothing confirmed yet: the whole pending value becomes the desired one.
    row.desired = row.user;
    return {};
  }
  if (!row.desired) return Refused(kGeneralCode, kDesiredEmpty);
  if (!ContainedIn(partial, *row.desired)) return Refused(kGeneralCode, kNotPartOfDesired);
  Value merged = *row.user;
  MergeInto(merged, partial);
  row.user = merged;
  row.success = 1;
  if (merged == *row.desired) row.desired.reset();
  return {};
}

// The kernel options are user configuration written by an external
// caller; the merged whole becomes the desired value (the value of the next
// boot), the user value stays, the cached and auto-configuration layers
// go.
Outcome Model::UpdateKernelOptions(const Step& step) {
  const KeySpec& spec = Keys()[step.key];
  if (DuringBoot() && !spec.bootExempt) return Refused(kGeneralCode, kBootRefusal);
  const Value update = Cleanup(step.value);
  if (update.members.empty()) return {};
  Layer merged = KernelOptions();
  if (merged)
    MergeInto(*merged, update);
  else
    merged = update;
  Parts parts = Split(spec, Cleanup(*merged));
  Row& row = state_.config[{step.key, step.instance}];
  Row written;
  written.user = row.user;
  written.desired = parts.user;
  written.vital = parts.vital;
  written.revision = row.revision + 1;
  row = written;
  return {};
}

Outcome Model::NextBoot(const Step& step) {
  const KeySpec& spec = Keys()[step.key];
  if (bootFlag_ || upgrade_ != 0) return Refused(kGeneralCode, kNextBootPhaseRefusal);
  if (step.op == Op::kNextBootSetInstances && step.list.empty())
    return Refused(kEmptyListCode, "");
  if (!spec.nextBoot) return Refused(kGeneralCode, kNextBootTagRefusal);
  if (Remediating()) return Refused(kGeneralCode, kRemediationRefusal);
  const char* deletion = spec.instances ? "DELETE_INSTANCE" : "DELETE";
  switch (step.op) {
    case Op::kNextBootSet: {
      Parts parts = Split(spec, Cleanup(step.value));
      state_.next[{step.key, step.instance}] = NextRow{"SET", parts.user, parts.vital, parts.cached};
      break;
    }
    case Op::kNextBootDelete:
      state_.next[{step.key, step.instance}] = NextRow{deletion, {}, {}, {}};
      break;
    case Op::kNextBootReset:
      EraseKey(state_.next, step.key);
      return {};  // a reset leaves the boot-mode marker as it was
    case Op::kNextBootSetInstances:
      EraseKey(state_.next, step.key);
      for (const auto& entry : step.list) {
        Parts parts = Split(spec, Cleanup(entry.second));
        state_.next[{step.key, entry.first}] = NextRow{"SET", parts.user, parts.vital, parts.cached};
      }
      break;
    default:  // kNextBootDeleteInstances
      for (const std::string& id : Matching(step.key, step.value))
        state_.next[{step.key, id}] = NextRow{deletion, {}, {}, {}};
      break;
  }
  state_.bootMode = "4";
  return {};
}

void Model::ImportOfExport(int mask) {
  const Value document = ExportDocument(mask);
  for (size_t key = 0; key < Keys().size(); ++key) {
    if (!(mask & (1 << key))) continue;
    const KeySpec& spec = Keys()[key];
    const Value& exported =
        document.members.at(spec.component).members.at(spec.group).members.at(spec.name);
    EraseKey(state_.config, static_cast<int>(key));
    if (exported.kind == Value::kArray) {
      for (const Value& item : exported.items)
        WriteWhole(static_cast<int>(key), item.members.at("name").text, item, false,
                   spec.applyDuringUpgrade);
    } else if (exported.IsObject()) {
      WriteWhole(static_cast<int>(key), "", exported, false, spec.applyDuringUpgrade);
    }
  }
}

Layer Model::Get(int key, const std::string& id) const {
  auto found = state_.config.find({key, id});
  if (found == state_.config.end()) return std::nullopt;
  return Current(found->second);
}

int Model::Revision(int key, const std::string& id) const {
  auto found = state_.config.find({key, id});
  return found == state_.config.end() ? -1 : found->second.revision;
}

std::vector<Value> Model::Instances(int key, const Value& criteria) const {
  std::vector<Value> values;
  for (const auto& entry : state_.config)
    if (entry.first.first == key)
      if (Layer current = Current(entry.second))
        if (Matches(*current, criteria)) values.push_back(*current);
  SortItems(values);
  return values;
}

std::vector<std::string> Model::InstanceIds(int key) const {
  std::vector<std::string> ids;
  for (const auto& entry : state_.config)
    if (entry.first.first == key) ids.push_back(entry.first.second);
  return ids;  // the map keeps them sorted
}

std::vector<std::pair<std::string, int>> Model::InstanceRevisions(int key) const {
  std::vector<std::pair<std::string, int>> revisions;
  for (const auto& entry : state_.config)
    if (entry.first.first == key) revisions.emplace_back(entry.first.second, entry.second.revision);
  return revisions;
}

Layer Model::NextBootGet(int key, const std::string& id) const {
  auto found = state_.next.find({key, id});
  if (found == state_.next.end() || found->second.action != "SET") return std::nullopt;
  const NextRow& row = found->second;
  return MergeLayers({&row.vital, &row.cached, &row.user});
}

std::vector<Value> Model::NextBootInstances(int key) const {
  std::vector<Value> values;
  for (const auto& entry : state_.next)
    if (entry.first.first == key)
      if (Layer value = NextBootGet(key, entry.first.second)) values.push_back(*value);
  SortItems(values);
  return values;
}

Layer Model::Desired(int key, const std::string& id, bool withLayers) const {
  const State& state = Committed();
  auto found = state.config.find({key, id});
  if (found == state.config.end()) return std::nullopt;
  const Row& row = found->second;
  const Layer& view = row.success == 0 ? row.user : row.desired;
  if (!withLayers) return view;
  return MergeLayers({&row.vital, &row.cached, &view});
}

std::vector<Value> Model::DesiredInstances(int key, bool withLayers) const {
  std::vector<Value> values;
  for (const auto& entry : Committed().config)
    if (entry.first.first == key)
      if (Layer value = Desired(key, entry.first.second, withLayers)) values.push_back(*value);
  SortItems(values);
  return values;
}

Layer Model::KernelOptions() const {
  auto found = Committed().config.find({kKernelOptions, ""});
  if (found == Committed().config.end()) return std::nullopt;
  const Row& row = found->second;
  const Layer& value = row.desired ? row.desired : row.user;
  return MergeLayers({&row.vital, &value});
}

Value Model::ExportDocument(int mask) const {
  Value document;
  for (size_t key = 0; key < Keys().size(); ++key) {
    if (!(mask & (1 << key))) continue;
    Value exported;
    exported.kind = Value::kNull;
    for (const auto& entry : Committed().config) {
      if (entry.first.first != static_cast<int>(key)) continue;
      Layer current = Current(entry.second);
      if (!current) continue;
      if (Keys()[key].instances) {
        exported.kind = Value::kArray;
        exported.items.push_back(*current);
      } else {
        exported = *current;
      }
    }
    SortItems(exported.items);
    const KeySpec& spec = Keys()[key];
    document.members[spec.component].members[spec.group].members[spec.name] = exported;
  }
  return document;
}

}  // namespace ModelCampaign

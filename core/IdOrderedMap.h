// IdOrderedMap: values by object identity, kept in the order their
// identities were first added.
#pragma once

#include <corvconfigstore/ObjectId.h>

#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

namespace CorvConfigStore {

// A map from object identity to T whose passes visit the entries in the
// order their keys were first added, which is the order a caller made them
// in. Bulk writes make several passes over thousands of objects; in hash
// order each pass jumps about the objects' memory, in the order they were
// made it walks it. Setting a key again replaces its value in place.
template <typename T>
class IdOrderedMap {
 public:
  using Entry = std::pair<ConfigStoreObjectId, T>;

  T& operator[](const ConfigStoreObjectId& id) {
    auto found = index_.try_emplace(id, entries_.size());
    if (found.second) entries_.emplace_back(id, T());
    return entries_[found.first->second].second;
  }
  // Makes room for count entries, so that adding them moves none.
  void reserve(size_t count) {
    index_.reserve(count);
    entries_.reserve(count);
  }
  size_t count(const ConfigStoreObjectId& id) const { return index_.count(id); }
  size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }

  typename std::vector<Entry>::iterator begin() { return entries_.begin(); }
  typename std::vector<Entry>::iterator end() { return entries_.end(); }
  typename std::vector<Entry>::const_iterator begin() const { return entries_.begin(); }
  typename std::vector<Entry>::const_iterator end() const { return entries_.end(); }

 private:
  std::unordered_map<ConfigStoreObjectId, size_t> index_;  // position in entries_
  std::vector<Entry> entries_;
};

}  // namespace CorvConfigStore

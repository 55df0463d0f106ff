#pragma once

#include <map>

/// A map from keys, each of which is there once, to values. Keys are ordered by `<`. Keys and values are copied by
/// value, and are destroyed with the map. The map does not own the object that a pointer value points to.
///
/// A reference to a value holds until its key is removed. Memory that runs out raises `std::bad_alloc`. Several threads
/// may read one map at once. Whoever changes it has it alone.
template <class Key, class Value>
class XMap {
 public:
  /// The number of keys.
  int GetCount() const { return static_cast<int>(values_.size()); }
  bool IsEmpty() const { return values_.empty(); }

  /// Copies the key's value out and returns true. Returns false for an unknown key, and `value` stays as it was.
  bool Lookup(const Key& key, Value& value) const {
    const auto hit = values_.find(key);
    if (hit == values_.end()) return false;
    value = hit->second;
    return true;
  }
  /// Sets the value of a key. An unknown key is added; the value of a known one is replaced.
  void SetAt(const Key& key, const Value& value) { values_.insert_or_assign(key, value); }
  /// The key's value itself. An unknown key is added with a default value, so that asking alone changes the map:
  /// `Lookup` does not.
  Value& operator[](const Key& key) { return values_[key]; }
  /// Removes a key with its value. False for an unknown key.
  bool RemoveKey(const Key& key) { return values_.erase(key) != 0; }
  void RemoveAll() { values_.clear(); }

  /// Pairs of key and value, in ascending order of the keys. A key can't be changed through them.
  auto begin() { return values_.begin(); }
  auto end() { return values_.end(); }
  auto begin() const { return values_.begin(); }
  auto end() const { return values_.end(); }

 private:
  std::map<Key, Value> values_;
};

#pragma once

#include <map>

/// A map from keys, ordered by `<`, to values. Both are copied by value.
template <class Key, class Value>
class XMap {
 public:
  int GetCount() const { return static_cast<int>(values_.size()); }
  bool IsEmpty() const { return values_.empty(); }

  /// Copies the key's value out and answers true; leaves `value` alone and answers false where there is none.
  bool Lookup(const Key& key, Value& value) const {
    const auto hit = values_.find(key);
    if (hit == values_.end()) return false;
    value = hit->second;
    return true;
  }
  void SetAt(const Key& key, const Value& value) { values_.insert_or_assign(key, value); }
  /// The key's value, made by default where there was none.
  Value& operator[](const Key& key) { return values_[key]; }
  /// Whether there was one to remove.
  bool RemoveKey(const Key& key) { return values_.erase(key) != 0; }
  void RemoveAll() { values_.clear(); }

  auto begin() { return values_.begin(); }
  auto end() { return values_.end(); }
  auto begin() const { return values_.begin(); }
  auto end() const { return values_.end(); }

 private:
  std::map<Key, Value> values_;
};

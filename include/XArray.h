#pragma once

#include <cstddef>
#include <stdexcept>
#include <vector>

/// A growing array. Elements are copied in and out by value; a place outside the array raises
/// `std::invalid_argument`.
template <class Element>
class XArray {
 public:
  int GetSize() const { return static_cast<int>(elements_.size()); }
  int GetCount() const { return GetSize(); }
  bool IsEmpty() const { return elements_.empty(); }
  /// Cuts the array, or extends it with default elements. A negative size counts as 0.
  void SetSize(int size) { elements_.resize(size > 0 ? static_cast<std::size_t>(size) : 0); }

  const Element& GetAt(int index) const { return elements_[Checked(index)]; }
  Element& ElementAt(int index) { return elements_[Checked(index)]; }
  void SetAt(int index, const Element& element) { elements_[Checked(index)] = element; }
  const Element& operator[](int index) const { return GetAt(index); }
  Element& operator[](int index) { return ElementAt(index); }

  /// Appends; answers the new element's place.
  int Add(const Element& element) {
    elements_.push_back(element);
    return GetSize() - 1;
  }
  void RemoveAt(int index) { elements_.erase(elements_.begin() + static_cast<std::ptrdiff_t>(Checked(index))); }
  void RemoveAll() { elements_.clear(); }

  auto begin() { return elements_.begin(); }
  auto end() { return elements_.end(); }
  auto begin() const { return elements_.begin(); }
  auto end() const { return elements_.end(); }

 private:
  std::size_t Checked(int index) const {
    if (index < 0 || index >= GetSize()) throw std::invalid_argument("XArray: no such element");
    return static_cast<std::size_t>(index);
  }

  std::vector<Element> elements_;
};

#pragma once

#include <cstddef>
#include <stdexcept>
#include <vector>

/// A growing array whose elements lie one behind the other. Elements are copied in and out by value, and are destroyed
/// with the array. The array does not own the object that a pointer element points to: the caller deletes that object.
///
/// Indices count from 0. An index outside the array raises `std::invalid_argument` and changes nothing. Memory that
/// runs out raises `std::bad_alloc`.
///
/// References, pointers and iterators into the array hold until the next `Add`, `SetSize`, `RemoveAt` or `RemoveAll`.
/// Several threads may read one array at once. No other thread may use an array while one changes it.
template <class Element>
class XArray {
 public:
  /// The number of elements.
  int GetSize() const { return static_cast<int>(elements_.size()); }
  /// The same as `GetSize`, under the name that the lists have.
  int GetCount() const { return GetSize(); }
  bool IsEmpty() const { return elements_.empty(); }
  /// Cuts the array, or extends it with default elements. A negative size counts as 0.
  void SetSize(int size) { elements_.resize(size > 0 ? static_cast<std::size_t>(size) : 0); }

  /// The element itself and not a copy of it. `ElementAt` and the second `[]` let the caller change it in place.
  const Element& GetAt(int index) const { return elements_[Checked(index)]; }
  Element& ElementAt(int index) { return elements_[Checked(index)]; }
  /// Replaces an element that is there. It never makes the array longer.
  void SetAt(int index, const Element& element) { elements_[Checked(index)] = element; }
  const Element& operator[](int index) const { return GetAt(index); }
  Element& operator[](int index) { return ElementAt(index); }

  /// Appends a copy. The result is the index of the new element.
  int Add(const Element& element) {
    elements_.push_back(element);
    return GetSize() - 1;
  }
  /// Closes the gap: every element behind this one gets an index smaller by 1. The time grows with their number.
  void RemoveAt(int index) { elements_.erase(elements_.begin() + static_cast<std::ptrdiff_t>(Checked(index))); }
  /// Leaves an array of size 0. Its memory is kept for elements to come.
  void RemoveAll() { elements_.clear(); }

  /// The elements in the order of their indices, for a loop over all of them.
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

#pragma once

#include <cstddef>
#include <stdexcept>
#include <vector>

namespace Vexorine::ZRL::IO {

/// An array that keeps its elements in ascending order while they are inserted one by one. An element goes in front of
/// all that are equal to it.
///
/// An insertion finds its position by binary search and moves every element behind it, so that the time of many grows
/// with the square of their number. Indices count from 0. Memory that runs out raises `std::bad_alloc`. Several
/// threads may read one array at once; whoever changes it has it alone.
template <class Element>
class XArraySort {
 public:
  /// Answers 1 where `added` belongs behind `there`, -1 where it belongs in front, and 0 for equals.
  using Compare = int (*)(const Element& added, const Element& there);

  explicit XArraySort(Compare compare) : compare_(compare) {}

  /// The number of elements.
  int GetSize() const { return static_cast<int>(elements_.size()); }
  /// An index outside the array raises `std::invalid_argument`.
  const Element& GetAt(int index) const {
    if (index < 0 || index >= GetSize()) throw std::invalid_argument("XArraySort: no such element");
    return elements_[static_cast<std::size_t>(index)];
  }

  /// The position that an element would get.
  int FindPosition(const Element& element) const {
    std::size_t begin = 0, end = elements_.size();
    while (begin < end) {
      const std::size_t middle = begin + (end - begin) / 2;
      const bool isBehind = compare_(element, elements_[middle]) > 0;
      (isBehind ? begin : end) = isBehind ? middle + 1 : middle;
    }
    return static_cast<int>(begin);
  }
  /// Inserts a copy and answers its position.
  int Insert(const Element& element) {
    const int position = FindPosition(element);
    elements_.insert(elements_.begin() + position, element);
    return position;
  }
  void RemoveAll() { elements_.clear(); }

 private:
  Compare compare_;
  std::vector<Element> elements_;
};

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::XArraySort;

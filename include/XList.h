#pragma once

#include <list>
#include <stdexcept>

/// A list in which elements keep their address while others come and go. Elements are copied by value; a place
/// outside the list, or an end of an empty list, raises `std::invalid_argument`.
template <class Element>
class XList {
 public:
  /// `blockSize` is a hint of how many elements to expect, and has no effect on the contents.
  explicit XList([[maybe_unused]] int blockSize = 10) {}

  int GetCount() const { return static_cast<int>(elements_.size()); }
  bool IsEmpty() const { return elements_.empty(); }

  void AddHead(const Element& element) { elements_.push_front(element); }
  void AddTail(const Element& element) { elements_.push_back(element); }
  const Element& GetHead() const { return *At(0); }
  const Element& GetTail() const { return *At(GetCount() - 1); }
  /// Walks to the place; a loop over all elements uses `begin` and `end`.
  const Element& GetAt(int index) const { return *At(index); }

  Element RemoveHead() {
    Element head = *At(0);
    elements_.pop_front();
    return head;
  }
  Element RemoveTail() {
    Element tail = *At(GetCount() - 1);
    elements_.pop_back();
    return tail;
  }
  void RemoveAt(int index) { elements_.erase(At(index)); }
  void RemoveAll() { elements_.clear(); }

  auto begin() { return elements_.begin(); }
  auto end() { return elements_.end(); }
  auto begin() const { return elements_.begin(); }
  auto end() const { return elements_.end(); }

 private:
  typename std::list<Element>::const_iterator At(int index) const {
    if (index < 0 || index >= GetCount()) throw std::invalid_argument("XList: no such element");
    return std::next(elements_.begin(), index);
  }

  std::list<Element> elements_;
};

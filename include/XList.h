#pragma once

#include <list>
#include <stdexcept>

/// A list in which elements keep their address while others come and go. Elements are copied by value, and are
/// destroyed with the list. The list does not own the object that a pointer element points to: the caller deletes that
/// object.
///
/// Indices count from 0, at the head. An index outside the list, and an end of an empty list, raise
/// `std::invalid_argument` and change nothing. Memory that runs out raises `std::bad_alloc`.
///
/// A reference or an iterator holds until its own element is removed. Several threads may read one list at once.
/// Whoever changes it has it alone.
template <class Element>
class XList {
 public:
  /// `blockSize` is a hint of how many elements to expect, and has no effect on the contents. Any number is accepted, 0
  /// and negative ones too.
  explicit XList([[maybe_unused]] int blockSize = 10) {}

  /// The number of elements, without a walk over them.
  int GetCount() const { return static_cast<int>(elements_.size()); }
  /// Whether the list has no element. `GetHead` and `GetTail` need one.
  bool IsEmpty() const { return elements_.empty(); }

  /// Adds a copy in front of all others. Every other element gets an index larger by 1.
  void AddHead(const Element& element) { elements_.push_front(element); }
  /// Adds a copy behind all others.
  void AddTail(const Element& element) { elements_.push_back(element); }
  /// The first element and the last one themselves, not copies.
  const Element& GetHead() const { return *At(0); }
  const Element& GetTail() const { return *At(GetCount() - 1); }
  /// The element at an index. It is found by a walk from the head, so that a loop over all elements uses `begin` and
  /// `end`.
  const Element& GetAt(int index) const { return *At(index); }

  /// Takes the first element out. The result is a copy that the caller keeps.
  Element RemoveHead() {
    Element head = *At(0);
    elements_.pop_front();
    return head;
  }
  /// As `RemoveHead`, for the last element.
  Element RemoveTail() {
    Element tail = *At(GetCount() - 1);
    elements_.pop_back();
    return tail;
  }
  /// Every element behind this one gets an index smaller by 1.
  void RemoveAt(int index) { elements_.erase(At(index)); }
  /// Leaves an empty list. Objects that pointers in it point to stay alive.
  void RemoveAll() { elements_.clear(); }

  /// The elements from head to tail, for a loop over all of them.
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

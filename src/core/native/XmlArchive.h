#pragma once

#include "core/native/XmlValues.h"

#include <cstddef>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <type_traits>
#include <vector>

namespace zrk {

// Two archives with the same operations over one XML element. A group of fields is described once, by a function that
// visits them in turn, and so the writer and the reader cannot drift apart.
//
// `Field` is a child element that holds a value, and `Attribute` is an attribute. `Property` and `Pair` are fields that
// an object hands out by a getter and takes by a setter. `Group` is one child element with fields of its own,
// `Optional` is a group for a record that may be missing, and `List` is one child element for each record.

/// The record that a list holds, directly or by a pointer.
template <class Record>
Record& RecordOf(Record& record) {
  return record;
}
template <class Record>
Record& RecordOf(std::unique_ptr<Record>& record) {
  if (!record) record = std::make_unique<Record>();
  return *record;
}

/// Writes fields into an element. A second value under a name replaces the first.
class XmlWriter {
 public:
  explicit XmlWriter(pugi::xml_node element) : element_(element) {}

  bool Has(const char* name) const { return !element_.child(name).empty(); }
  /// A new child element behind the others.
  pugi::xml_node Append(const char* name);

  template <class Value>
  void Attribute(const char* name, const Value& value) {
    SetAttribute(name, FormatText(value));
  }
  template <class Value>
  void Field(const char* name, const Value& value) {
    SetField(name, FormatText(value));
  }
  template <class Object, class Get, class Set>
  void Property(const char* name, const Object& object, Get get, Set) {
    Field(name, (object.*get)());
  }
  template <class Value, class Object, class Get, class Set>
  void Pair(const char* firstName, const char* secondName, const Object& object, Get get, Set) {
    Value first{}, second{};
    (object.*get)(first, second);
    Field(firstName, first);
    Field(secondName, second);
  }
  template <class Visit>
  void Group(const char* name, Visit visit) {
    RemoveAll(name);
    XmlWriter inner(Append(name));
    visit(inner);
  }
  template <class Record, class Visit>
  void Optional(const char* name, const std::unique_ptr<Record>& record, Visit visit) {
    if (record) Group(name, [&](XmlWriter& inner) { visit(inner, *record); });
  }
  template <class Records, class Visit>
  void List(const char* name, Records& records, Visit visit) {
    RemoveAll(name);
    for (auto& record : records) {
      XmlWriter inner(Append(name));
      visit(inner, RecordOf(record));
    }
  }

 private:
  void RemoveAll(const char* name);
  void SetAttribute(const char* name, const std::string& text);
  void SetField(const char* name, const std::string& text);

  pugi::xml_node element_;
};

/// Reads fields from an element. Fields that the element lacks keep their values. The first field that holds no valid
/// value is remembered by its name.
class XmlReader {
 public:
  XmlReader(pugi::xml_node element, std::string& invalidName) : element_(element), invalidName_(invalidName) {}

  template <class Value>
  void Attribute(const char* name, Value& value) {
    if (const pugi::xml_attribute attribute = element_.attribute(name)) Take(name, attribute.value(), value);
  }
  /// Whether the field is there and valid.
  template <class Value>
  bool Field(const char* name, Value& value) {
    const pugi::xml_node child = element_.child(name);
    return child && Take(name, child.text().get(), value);
  }
  template <class Object, class Get, class Set>
  void Property(const char* name, Object& object, Get get, Set set) {
    std::decay_t<decltype((object.*get)())> value{};
    if (Field(name, value)) (object.*set)(value);
  }
  template <class Value, class Object, class Get, class Set>
  void Pair(const char* firstName, const char* secondName, Object& object, Get get, Set set) {
    Value first{}, second{};
    (object.*get)(first, second);
    Field(firstName, first);
    Field(secondName, second);
    (object.*set)(first, second);
  }
  template <class Visit>
  void Group(const char* name, Visit visit) {
    const pugi::xml_node child = element_.child(name);
    if (!child) return;
    XmlReader inner(child, invalidName_);
    visit(inner);
  }
  template <class Record, class Visit>
  void Optional(const char* name, std::unique_ptr<Record>& record, Visit visit) {
    Group(name, [&](XmlReader& inner) {
      record = std::make_unique<Record>();
      visit(inner, *record);
    });
  }
  /// Replaces the records of a list. Where the element has no record the list keeps its own.
  template <class Records, class Visit>
  void List(const char* name, Records& records, Visit visit) {
    if (!element_.child(name)) return;
    records.clear();
    for (const pugi::xml_node child : element_.children(name)) {
      XmlReader inner(child, invalidName_);
      visit(inner, RecordOf(records.emplace_back()));
    }
  }

 private:
  template <class Value>
  bool Take(const char* name, const char* text, Value& value) {
    if (ParseText(std::string_view(text), value)) return true;
    if (invalidName_.empty()) invalidName_ = name;
    return false;
  }

  pugi::xml_node element_;
  std::string& invalidName_;
};

}  // namespace zrk

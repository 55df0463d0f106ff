#include "core/native/XmlArchive.h"

#include <new>

namespace zrk {

namespace {

// pugixml answers false and empty handles where memory runs out. Unless these are heeded, fields are lost in silence.
void Demand(bool isDone) {
  if (!isDone) throw std::bad_alloc();
}

}  // namespace

pugi::xml_node XmlWriter::Append(const char* name) {
  const pugi::xml_node child = element_.append_child(name);
  Demand(!child.empty());
  return child;
}

void XmlWriter::RemoveAll(const char* name) {
  for (pugi::xml_node child = element_.child(name); child;) {
    // A child that is removed has no sibling any more.
    const pugi::xml_node next = child.next_sibling(name);
    element_.remove_child(child);
    child = next;
  }
}

void XmlWriter::SetAttribute(const char* name, const std::string& text) {
  pugi::xml_attribute attribute = element_.attribute(name);
  if (!attribute) attribute = element_.append_attribute(name);
  Demand(attribute.set_value(text.c_str()));
}

void XmlWriter::SetField(const char* name, const std::string& text) {
  pugi::xml_node child = element_.child(name);
  if (!child) child = Append(name);
  // A field that is written again stays where it is, so that a text keeps its order.
  child.remove_children();
  if (!text.empty()) Demand(child.append_child(pugi::node_pcdata).set_value(text.c_str()));
}

}  // namespace zrk

#include "XObject.h"

/// Made by the compiler and not at the start of the program, so that classes can be asked from the constructors of
/// other globals.
constinit const XRuntimeClass XObject::runtimeClass("XObject", sizeof(XObject), 1, nullptr, nullptr);

XObject::~XObject() = default;

const XRuntimeClass* XObject::GetRuntimeClass() const {
  return &runtimeClass;
}

void XObject::Serialize(XArchive&) {}

/// Classes are compared by address: each has one record. A class counts as derived from itself.
bool XRuntimeClass::IsDerivedFrom(const XRuntimeClass* other) const {
  if (!other) return false;
  for (const XRuntimeClass* each = this; each; each = each->baseClass) {
    if (each == other) return true;
  }
  return false;
}

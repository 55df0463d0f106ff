#include "XObject.h"

constinit const XRuntimeClass XObject::runtimeClass("XObject", sizeof(XObject), 1, nullptr, nullptr);

XObject::~XObject() = default;

const XRuntimeClass* XObject::GetRuntimeClass() const {
  return &runtimeClass;
}

void XObject::Serialize(XArchive&) {}

bool XRuntimeClass::IsDerivedFrom(const XRuntimeClass* other) const {
  if (!other) return false;
  for (const XRuntimeClass* each = this; each; each = each->baseClass) {
    if (each == other) return true;
  }
  return false;
}

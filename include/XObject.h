#pragma once

#include "XExport.h"

class XArchive;
class XObject;

/// The static record by which classes know each other at run time: one per class, linked to that of the base.
class ZRKIO_API XRuntimeClass {
 public:
  constexpr XRuntimeClass(const char* name, int bytes, unsigned schemaNumber, XObject* (*create)(),
                          const XRuntimeClass* base)
      : className(name), objectSize(bytes), schema(schemaNumber), createObject(create), baseClass(base) {}

  /// Whether this is `other` or derives from it. A null `other` gives false.
  bool IsDerivedFrom(const XRuntimeClass* other) const;

  const char* className;
  int objectSize;  ///< in bytes
  unsigned schema;
  XObject* (*createObject)();      ///< null where objects are made by loaders only
  const XRuntimeClass* baseClass;  ///< null for `XObject`
};

/// The root class. Objects are not copied through it.
class ZRKIO_API XObject {
 public:
  virtual ~XObject();
  virtual const XRuntimeClass* GetRuntimeClass() const;
  /// Archives belong to other modules of the family; the classes of this library store nothing in them.
  virtual void Serialize(XArchive& archive);

  static constexpr const XRuntimeClass* GetRuntimeClassStatic() { return &runtimeClass; }

  /// Whether the object's class is `wanted` or derives from it.
  bool IsKindOf(const XRuntimeClass* wanted) const { return GetRuntimeClass()->IsDerivedFrom(wanted); }

 protected:
  XObject() = default;
  XObject(const XObject&) = default;
  XObject& operator=(const XObject&) = default;

 private:
  static const XRuntimeClass runtimeClass;
};

/// Stands in a class body and declares its record; the record of a class without a creation function. Virtual functions
/// of exported classes are defined in the library: a program of another compiler may call them directly.
#define X_DECLARE_RUNTIME_CLASS                                   \
 public:                                                          \
  const XRuntimeClass* GetRuntimeClass() const override;          \
  static constexpr const XRuntimeClass* GetRuntimeClassStatic() { \
    return &runtimeClass;                                         \
  }                                                               \
                                                                  \
 private:                                                         \
  static const XRuntimeClass runtimeClass;                        \
                                                                  \
 public:

/// Stands in one source and builds the record: schema 1, no creation function.
#define X_IMPLEMENT_RUNTIME_CLASS(Class, Base)                                                                         \
  constinit const XRuntimeClass Class::runtimeClass(#Class, sizeof(Class), 1, nullptr, Base::GetRuntimeClassStatic()); \
  const XRuntimeClass* Class::GetRuntimeClass() const {                                                                \
    return &runtimeClass;                                                                                              \
  }                                                                                                                    \
  static_assert(true, "takes the semicolon")

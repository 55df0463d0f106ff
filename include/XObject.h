#pragma once

#include "XExport.h"

class XArchive;
class XObject;

/// The record by which classes know each other at run time: one per class, linked to that of the base. Records are
/// constants. They exist before any global object is made, they live as long as the program, and every thread may ask
/// them. The address of a record tells classes apart, and the name is for people.
class ZRKIO_API XRuntimeClass {
 public:
  /// The texts and the base have to live as long as the record. `X_IMPLEMENT_RUNTIME_CLASS` makes the call.
  constexpr XRuntimeClass(const char* name, int bytes, unsigned schemaNumber, XObject* (*create)(),
                          const XRuntimeClass* base)
      : className(name), objectSize(bytes), schema(schemaNumber), createObject(create), baseClass(base) {}

  /// Whether this is `other` or derives from it, directly or over several steps. A null `other` gives false.
  bool IsDerivedFrom(const XRuntimeClass* other) const;

  /// As in the source, for instance "ZRMBandBMP".
  const char* className;
  /// `sizeof` of the class, in bytes.
  int objectSize;
  /// The version of the class in archives: 1 for every class here.
  unsigned schema;
  /// Makes an object of the class. Null for every class here, since loaders and callers make them.
  XObject* (*createObject)();
  /// The record of the direct base class; null for `XObject`.
  const XRuntimeClass* baseClass;
};

/// The root class. It gives an object a class that can be asked at run time, and a virtual destructor, so that an
/// object may be deleted through a pointer to any base. Objects are copied by their own class and not through this one.
class ZRKIO_API XObject {
 public:
  /// Destroys the whole object, through a pointer to any base.
  virtual ~XObject();
  /// The record of the object's own class; never null.
  virtual const XRuntimeClass* GetRuntimeClass() const;
  /// Does nothing in every class of this library. Archives belong to other modules of the family.
  virtual void Serialize(XArchive& archive);

  /// The record of the class that is named, without an object. It is what `IsKindOf` takes.
  static constexpr const XRuntimeClass* GetRuntimeClassStatic() { return &runtimeClass; }

  /// Whether the object's class is `wanted` or derives from it. False for null. A `static_cast` to the wanted class is
  /// then sound.
  bool IsKindOf(const XRuntimeClass* wanted) const { return GetRuntimeClass()->IsDerivedFrom(wanted); }

 protected:
  /// For derived classes alone: an object that is only an `XObject` is of no use.
  XObject() = default;
  XObject(const XObject&) = default;
  XObject& operator=(const XObject&) = default;

 private:
  static const XRuntimeClass runtimeClass;
};

/// Stands in the body of a class derived from `XObject` and declares its record. What follows it is public. The class
/// needs `X_IMPLEMENT_RUNTIME_CLASS` in one of its sources. Virtual functions of exported classes are defined in the
/// library: a program of another compiler may call them directly.
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

/// Stands in one source and builds the record: schema 1, no creation function. `Base` is the direct base class, which
/// has a record itself.
#define X_IMPLEMENT_RUNTIME_CLASS(Class, Base)                                                                         \
  constinit const XRuntimeClass Class::runtimeClass(#Class, sizeof(Class), 1, nullptr, Base::GetRuntimeClassStatic()); \
  const XRuntimeClass* Class::GetRuntimeClass() const {                                                                \
    return &runtimeClass;                                                                                              \
  }                                                                                                                    \
  static_assert(true, "takes the semicolon")

#include "XObject.h"

#include <gtest/gtest.h>

namespace {

class Vehicle : public XObject {
  X_DECLARE_RUNTIME_CLASS
  int wheels = 4;
};

class Car : public Vehicle {
  X_DECLARE_RUNTIME_CLASS
  double doors[5] = {};
};

class Boat : public Vehicle {
  X_DECLARE_RUNTIME_CLASS
};

X_IMPLEMENT_RUNTIME_CLASS(Vehicle, XObject);
X_IMPLEMENT_RUNTIME_CLASS(Car, Vehicle);
X_IMPLEMENT_RUNTIME_CLASS(Boat, Vehicle);

}  // namespace

TEST(XRuntimeClass, ARecordHoldsNameSizeSchemaAndBase) {
  const XRuntimeClass* record = Car::GetRuntimeClassStatic();
  EXPECT_STREQ(record->className, "Car");
  EXPECT_EQ(record->objectSize, static_cast<int>(sizeof(Car)));
  EXPECT_EQ(record->schema, 1u);
  EXPECT_EQ(record->createObject, nullptr);
  EXPECT_EQ(record->baseClass, Vehicle::GetRuntimeClassStatic());
}

TEST(XRuntimeClass, TheRootHasNoBase) {
  EXPECT_STREQ(XObject::GetRuntimeClassStatic()->className, "XObject");
  EXPECT_EQ(XObject::GetRuntimeClassStatic()->baseClass, nullptr);
}

TEST(XRuntimeClass, DerivationIsAskedOfTheWholeChain) {
  const XRuntimeClass* car = Car::GetRuntimeClassStatic();
  EXPECT_TRUE(car->IsDerivedFrom(car));
  EXPECT_TRUE(car->IsDerivedFrom(XObject::GetRuntimeClassStatic()));
  EXPECT_FALSE(XObject::GetRuntimeClassStatic()->IsDerivedFrom(car));
  EXPECT_FALSE(car->IsDerivedFrom(nullptr));
}

TEST(XRuntimeClass, AClassIsItsRecordNotItsName) {
  const XRuntimeClass namesake("Car", sizeof(Car), 1, nullptr, Vehicle::GetRuntimeClassStatic());
  EXPECT_FALSE(Car().IsKindOf(&namesake));
}

TEST(XRuntimeClass, ACreationFunctionIsKept) {
  const XRuntimeClass record(
      "Car", sizeof(Car), 7, +[]() -> XObject* { return nullptr; }, nullptr);
  EXPECT_NE(record.createObject, nullptr);
  EXPECT_EQ(record.schema, 7u);
}

TEST(XObject, IsOfItsOwnKindAndOfThoseOfItsBases) {
  const Car car;
  EXPECT_TRUE(car.IsKindOf(Car::GetRuntimeClassStatic()));
  EXPECT_TRUE(car.IsKindOf(Vehicle::GetRuntimeClassStatic()));
  EXPECT_TRUE(car.IsKindOf(XObject::GetRuntimeClassStatic()));
}

TEST(XObject, IsNotOfTheKindOfASiblingOrAChild) {
  EXPECT_FALSE(Car().IsKindOf(Boat::GetRuntimeClassStatic()));
  EXPECT_FALSE(Vehicle().IsKindOf(Car::GetRuntimeClassStatic()));
  EXPECT_FALSE(Car().IsKindOf(nullptr));
}

TEST(XObject, TellsItsClassThroughTheBase) {
  const Boat boat;
  const XObject& object = boat;
  EXPECT_EQ(object.GetRuntimeClass(), Boat::GetRuntimeClassStatic());
  EXPECT_TRUE(object.IsKindOf(Vehicle::GetRuntimeClassStatic()));
}

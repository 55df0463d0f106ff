#include "MemoryBand.h"
#include "XRSFile.h"
#include "ZRMBandComplex.h"

#include <gtest/gtest.h>

namespace {

/// Whether the record belongs to the class of that name and size and hangs below `base`.
testing::AssertionResult IsRecordOf(const XRuntimeClass* record, const char* name, std::size_t size,
                                    const XRuntimeClass* base) {
  const bool isRight = std::string(record->className) == name && record->objectSize == static_cast<int>(size) &&
                       record->schema == 1 && !record->createObject && record->baseClass == base;
  return isRight ? testing::AssertionSuccess() : testing::AssertionFailure() << "wrong record of " << name;
}

}  // namespace

TEST(RuntimeClass, EachClassHasItsRecord) {
  const XRuntimeClass* object = XObject::GetRuntimeClassStatic();
  const XRuntimeClass* band = XBand::GetRuntimeClassStatic();
  const XRuntimeClass* zrmBand = ZRMBand::GetRuntimeClassStatic();
  EXPECT_TRUE(IsRecordOf(band, "XBand", sizeof(XBand), object));
  EXPECT_TRUE(IsRecordOf(zrmBand, "ZRMBand", sizeof(ZRMBand), band));
  EXPECT_TRUE(IsRecordOf(ZRMBandDRIO::GetRuntimeClassStatic(), "ZRMBandDRIO", sizeof(ZRMBandDRIO), zrmBand));
  EXPECT_TRUE(IsRecordOf(ZRMBandXLD::GetRuntimeClassStatic(), "ZRMBandXLD", sizeof(ZRMBandXLD), zrmBand));
  EXPECT_TRUE(IsRecordOf(ZRMBandComplex::GetRuntimeClassStatic(), "ZRMBandComplex", sizeof(ZRMBandComplex), zrmBand));
  EXPECT_TRUE(IsRecordOf(XRSFile::GetRuntimeClassStatic(), "XRSFile", sizeof(XRSFile), object));
}

TEST(RuntimeClass, AnObjectIsOfItsClassAndOfAllAbove) {
  MemoryBandOf<ZRMBandDRIO> band;
  for (const XRuntimeClass* above : {ZRMBandDRIO::GetRuntimeClassStatic(), ZRMBand::GetRuntimeClassStatic(),
                                     XBand::GetRuntimeClassStatic(), XObject::GetRuntimeClassStatic()}) {
    EXPECT_TRUE(band.IsKindOf(above)) << above->className;
  }
}

TEST(RuntimeClass, AnObjectIsNotOfASiblingClass) {
  MemoryBandOf<ZRMBandDRIO> direct;
  ZRMBandXLD levelData;
  ZRMBandComplex complex(nullptr);
  XRSFile dataset;
  EXPECT_FALSE(direct.IsKindOf(ZRMBandXLD::GetRuntimeClassStatic()));
  EXPECT_FALSE(direct.IsKindOf(ZRMBandComplex::GetRuntimeClassStatic()));
  EXPECT_FALSE(levelData.IsKindOf(ZRMBandDRIO::GetRuntimeClassStatic()));
  EXPECT_FALSE(complex.IsKindOf(ZRMBandDRIO::GetRuntimeClassStatic()));
  EXPECT_FALSE(dataset.IsKindOf(XBand::GetRuntimeClassStatic()));
  EXPECT_FALSE(dataset.IsKindOf(nullptr));
}

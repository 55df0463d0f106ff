#include "ZRMCompManager.h"

#include "DrawnPicture.h"

#include <gtest/gtest.h>

namespace {

std::unique_ptr<ZRMComposite> CompositeOf(ZRMBand& band) {
  auto composite = std::make_unique<ZRMComposite>();
  composite->SetBand(0, &band);
  return composite;
}

struct Range {
  double west = -1, east = -1, south = -1, north = -1;
  int Ask(const ZRMCompManager& manager) { return manager.CalcTotalRange(west, east, south, north); }
};

TEST(ZRMCompManager, KeepsItsCompositesInTheirOrder) {
  ZRMCompManager manager;
  auto* const first = new ZRMComposite;
  auto* const second = new ZRMComposite;
  EXPECT_EQ(1, manager.AddZRMComposite(first));
  EXPECT_EQ(1, manager.AddZRMComposite(second));
  EXPECT_EQ(0, manager.AddZRMComposite(first));
  EXPECT_EQ(0, manager.AddZRMComposite(nullptr));
  EXPECT_EQ(2, manager.GetNumberOfZRMComposite());
  EXPECT_EQ(second, manager.GetZRMCompositeAt(1));
  EXPECT_EQ(nullptr, manager.GetZRMCompositeAt(2));
  EXPECT_EQ(nullptr, manager.GetZRMCompositeAt(-1));
}

TEST(ZRMCompManager, LeavesCompositesToTheCallerWithoutTheDeleteFlag) {
  ZRMComposite composite;
  ZRMCompManager manager;
  EXPECT_EQ(1, manager.GetCompositeDeleteFlag());
  manager.SetCompositeDeleteFlag(0);
  EXPECT_EQ(0, manager.GetCompositeDeleteFlag());
  EXPECT_EQ(1, manager.AddZRMComposite(&composite));
}

TEST(ZRMCompManager, HasTheSystemOfTheFirstBandUnlessOneIsSet) {
  PlacedBand band;
  band.Set<std::uint8_t>(1, 1, {0}).In(32632);
  ZRMCompManager manager;
  EXPECT_EQ(nullptr, manager.GetSR());
  manager.AddZRMComposite(new ZRMComposite);
  EXPECT_EQ(nullptr, manager.GetSR());
  manager.AddZRMComposite(CompositeOf(band).release());
  ASSERT_NE(nullptr, manager.GetSR());
  EXPECT_EQ(32632, manager.GetSR()->GetEPSG());
  XSpatialReference degrees;
  degrees.importFromEPSG(4326);
  manager.SetSR(degrees);
  EXPECT_EQ(4326, manager.GetSR()->GetEPSG());
}

TEST(ZRMCompManager, HasNoRangeWithoutBands) {
  ZRMCompManager manager;
  manager.AddZRMComposite(new ZRMComposite);
  Range range;
  EXPECT_EQ(0, range.Ask(manager));
  EXPECT_EQ(-1.0, range.west);
  EXPECT_EQ(0.0, manager.GetULX());
}

TEST(ZRMCompManager, SpansTheExtentsOfAllComposites) {
  PlacedBand low, high;
  low.Set<std::uint8_t>(2, 2, {0, 0, 0, 0}).Place(10, 20, 1);
  high.Set<std::uint8_t>(2, 2, {0, 0, 0, 0}).Place(15, 25, 2);
  ZRMCompManager manager;
  manager.AddZRMComposite(CompositeOf(low).release());
  manager.AddZRMComposite(CompositeOf(high).release());
  Range range;
  ASSERT_EQ(1, range.Ask(manager));
  EXPECT_EQ(10.0, range.west);
  EXPECT_EQ(19.0, range.east);
  EXPECT_EQ(18.0, range.south);
  EXPECT_EQ(25.0, range.north);
  EXPECT_EQ(10.0, manager.GetULX());
  EXPECT_EQ(25.0, manager.GetULY());
}

TEST(ZRMCompManager, TakesExtentsToItsOwnSystem) {
  PlacedBand band;
  band.Set<std::uint8_t>(1, 1, {0}).Place(500000, 5320000, 20000).In(32632);
  ZRMCompManager manager;
  manager.AddZRMComposite(CompositeOf(band).release());
  XSpatialReference degrees;
  degrees.importFromEPSG(4326);
  manager.SetSR(degrees);
  Range range;
  ASSERT_EQ(1, range.Ask(manager));
  // The western edge is the zone's central meridian.
  EXPECT_NEAR(9.0, range.west, 1e-9);
  EXPECT_NEAR(9.268, range.east, 2e-3);
  EXPECT_NEAR(47.853, range.south, 2e-3);
  EXPECT_NEAR(48.034, range.north, 2e-3);
}

}  // namespace

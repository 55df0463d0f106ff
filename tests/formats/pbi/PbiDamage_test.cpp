#include "ByteFlips.h"
#include "OpenRaster.h"
#include "PbiBuilder.h"
#include "StoreTrials.h"
#include "XFormatId.h"
#include "ZRMBandPBI.h"

#include <gtest/gtest.h>

#include <climits>

// Hostile and damaged image stores: what reads of them give, and that they take neither memory nor time beyond reason.

namespace {

using Bytes = PbiBuilder::Bytes;

/// Bytes of a header that are read: the fields and two records.
constexpr HeaderRange kHeader{0, 35 + 2 * 52};

PbiBuilder SoundStore() {
  return PbiBuilder()
      .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 11, .urCol = 22, .width = 16, .height = 12})
      .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 11, .width = 16, .height = 12, .type = 4});
}

int Try(const Bytes& bytes) {
  return TryStore(bytes, "a.pbi", kFormatPBI, 4);
}

TEST(PbiDamage, IsNotSeenInASoundStore) {
  EXPECT_EQ(2, Try(SoundStore().Build()));
}

TEST(PbiDamage, ToOneByteIsARefusalOrAReadableStore) {
  FlipBytes(SoundStore().Build(), TrialCount(2000, 400), kHeader, &Try);
}

TEST(PbiDamage, ByTruncationIsARefusalOrAReadableStore) {
  const Bytes bytes = SoundStore().Build();
  for (std::size_t size = 0; size < bytes.size(); size += TrialStep() * (size < 200 || size > 51000 ? 31 : 5000)) {
    Try({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)});
  }
}

TEST(PbiDamage, InExactReadsGivesSoundPixelsOrAFailureWhereTheFileIsCut) {
  const PbiBuilder builder = SoundStore();
  const Bytes bytes = builder.Build();
  OpenRaster<ZRMBandPBI> sound(bytes, "a.pbi", kFormatPBI, kReadExact);
  for (std::size_t size = 51200; size < bytes.size(); size += TrialStep() * 53) {
    OpenRaster<ZRMBandPBI> cut({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}, "a.pbi", kFormatPBI,
                               kReadExact);
    if (!cut.IsOpen()) continue;
    for (const Window& window : {Window{0, 15, 0, 11}, {20, 40, 13, 20}, {3, 47, 2, 22}}) {
      const Pixels pixels = cut.Read(0, window, 1);
      if (pixels.bytes.empty()) continue;
      ASSERT_EQ(sound.Read(0, window, 1), pixels) << size;
    }
  }
}

TEST(PbiHostile, NumbersOfAllMagnitudesAreReadSomehow) {
  for (const int number : {INT_MAX, INT_MIN, -1, 0, 1, 1 << 30, 65536}) {
    for (int field = 0; field < 9; ++field) {
      PbiBuilder builder = SoundStore();
      StoreRecord& record = builder.RecordAt(0);
      std::int32_t* const fields[] = {&record.level,      &record.llRow,   &record.llCol,
                                      &record.urRow,      &record.urCol,   &record.tileWidth,
                                      &record.tileHeight, &record.storage, &record.type};
      *fields[field] = number;
      SCOPED_TRACE(testing::Message() << "field " << field << " is " << number);
      Try(builder.Build());
    }
  }
}

TEST(PbiHostile, OffsetsThatWrapOrLieInTheHeaderAreNotRead) {
  for (const std::uint64_t offset :
       {~0ULL, ~0ULL - 31, 1ULL << 63, (1ULL << 63) - 1, 0xFFFFFFFFULL, 0ULL, 35ULL, 51199ULL}) {
    PbiBuilder builder = SoundStore();
    builder.RecordAt(0).offset = offset;
    Try(builder.Build());
    OpenRaster<ZRMBandPBI> store(builder.Build(), "a.pbi", kFormatPBI, kReadExact);
    EXPECT_NE("", store.Failure(0, {0, 3, 12, 15})) << offset;
  }
}

TEST(PbiHostile, TileSizesThatCannotBeAreRefusedInExactReads) {
  for (const double size :
       {0.0, -18.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    Try(SoundStore().TileSize(size).Build());
    EXPECT_EQ(0, OpenRaster<ZRMBandPBI>(SoundStore().TileSize(size).Build(), "a.pbi", kFormatPBI, kReadExact).IsOpen());
  }
}

TEST(PbiHostile, AWholeOfBillionsOfTilesTakesNoTime) {
  PbiBuilder builder = SoundStore();
  StoreRecord& record = builder.RecordAt(0);
  record.level = 20;
  record.llRow = record.llCol = 0;
  record.urRow = record.urCol = (1 << 23) - 1;
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const Stopwatch watch;
    OpenRaster<ZRMBandPBI> store(builder.Build(), "a.pbi", kFormatPBI, policy);
    if (!store.IsOpen()) continue;
    store.Read(23, store.Whole());
    store.Read(30, store.Whole());
    store.Read(22, {5, 5 + (300 << 22), 77, 77 + (300 << 22)});
    EXPECT_LT(watch.Seconds(), 5.0);
  }
}

}  // namespace

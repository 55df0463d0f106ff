// Hostile and damaged stores of the globe: what reads of them give, and that they take neither memory nor time beyond
// reason. Every test is made of image stores and of elevation stores.

#include "ByteFlips.h"
#include "OpenRaster.h"
#include "PbeBuilder.h"
#include "PbiBuilder.h"
#include "Stopwatch.h"
#include "StoreTrials.h"
#include "XFormatId.h"
#include "ZRMBandPBE.h"
#include "ZRMBandPBI.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

namespace {

/// Two levels whose tiles are small.
struct ImageStores {
  using Builder = PbiBuilder;
  using Band = ZRMBandPBI;
  static constexpr const char* kLabel = "Images";
  static constexpr const char* kName = "a.pbi";
  static constexpr int kFormat = kFormatPBI, kNumBands = 4, kChannel = 1;
  static constexpr std::size_t kRecordBytes = 52;
  static constexpr int kMostTiles = 1 << 23;  // of 256 pixels, so that an int counts them
  static Builder Sound() {
    return Builder()
        .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 11, .urCol = 22, .width = 16, .height = 12})
        .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 11, .width = 16, .height = 12, .type = 4});
  }
};

struct ElevationStores {
  using Builder = PbeBuilder;
  using Band = ZRMBandPBE;
  static constexpr const char* kLabel = "Elevations";
  static constexpr const char* kName = "a.pbe";
  static constexpr int kFormat = kFormatPBE, kNumBands = 1, kChannel = 0;
  static constexpr std::size_t kRecordBytes = 48;
  static constexpr int kMostTiles = 1 << 24;  // of 30 steps
  static Builder Sound() {
    return Builder()
        .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 11, .urCol = 22, .width = 16, .height = 12})
        .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 11, .width = 16, .height = 12});
  }
};

template <class Kind>
class GlobeStore : public testing::Test {
 protected:
  using Bytes = typename Kind::Builder::Bytes;
  using Open = OpenRaster<typename Kind::Band>;

  static int Try(const Bytes& bytes) { return TryStore(bytes, Kind::kName, Kind::kFormat, Kind::kNumBands); }
  static Open OpenAs(XReadPolicy policy, const Bytes& bytes) { return Open(bytes, Kind::kName, Kind::kFormat, policy); }
  static Bytes Cut(const Bytes& bytes, std::size_t size) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)};
  }
};

struct LabelOfKind {
  template <class Kind>
  static std::string GetName(int) {
    return Kind::kLabel;
  }
};

using GlobeStores = testing::Types<ImageStores, ElevationStores>;
TYPED_TEST_SUITE(GlobeStore, GlobeStores, LabelOfKind);

TYPED_TEST(GlobeStore, IsOpenedUnderBothPoliciesWhereItIsSound) {
  EXPECT_EQ(2, TestFixture::Try(TypeParam::Sound().Build()));
}

TYPED_TEST(GlobeStore, WithADamagedByteIsRefusedOrCanBeRead) {
  const HeaderRange header{0, 35 + 2 * TypeParam::kRecordBytes};
  FlipBytes(TypeParam::Sound().Build(), TrialCount(2000, 400), header, &TestFixture::Try);
}

TYPED_TEST(GlobeStore, ThatIsCutIsRefusedOrCanBeRead) {
  const auto bytes = TypeParam::Sound().Build();
  for (std::size_t size = 0; size < bytes.size(); size += TrialStep() * (size < 200 || size > 51000 ? 31 : 5000)) {
    TestFixture::Try(TestFixture::Cut(bytes, size));
  }
}

TYPED_TEST(GlobeStore, ThatIsCutGivesSoundSamplesOrAFailureInExactReads) {
  const auto bytes = TypeParam::Sound().Build();
  auto sound = TestFixture::OpenAs(kReadExact, bytes);
  for (std::size_t size = 51200; size < bytes.size(); size += TrialStep() * 53) {
    auto cut = TestFixture::OpenAs(kReadExact, TestFixture::Cut(bytes, size));
    if (!cut.IsOpen()) continue;
    for (const Window& window : {Window{0, 15, 0, 11}, {20, 40, 13, 20}, {3, 47, 2, 22}}) {
      const Pixels pixels = cut.Read(0, window, TypeParam::kChannel);
      if (pixels.bytes.empty()) continue;
      ASSERT_EQ(sound.Read(0, window, TypeParam::kChannel), pixels) << size;
    }
  }
}

TYPED_TEST(GlobeStore, OfNumbersOfAllMagnitudesIsReadSomehow) {
  for (const int number : {INT_MAX, INT_MIN, -1, 0, 1, 1 << 30, 65536}) {
    for (int field = 0; field < 9; ++field) {
      auto builder = TypeParam::Sound();
      StoreRecord& record = builder.RecordAt(0);
      std::int32_t* const fields[] = {&record.level,      &record.llRow,   &record.llCol,
                                      &record.urRow,      &record.urCol,   &record.tileWidth,
                                      &record.tileHeight, &record.storage, &record.type};
      *fields[field] = number;
      SCOPED_TRACE(testing::Message() << "field " << field << " is " << number);
      TestFixture::Try(builder.Build());
    }
  }
}

TYPED_TEST(GlobeStore, AtOffsetsThatWrapOrLieInTheHeaderIsNotRead) {
  for (const std::uint64_t offset :
       {~0ULL, ~0ULL - 31, 1ULL << 63, (1ULL << 63) - 1, 0xFFFFFFFFULL, 0ULL, 35ULL, 51199ULL}) {
    auto builder = TypeParam::Sound();
    builder.RecordAt(0).offset = offset;
    TestFixture::Try(builder.Build());
    auto store = TestFixture::OpenAs(kReadExact, builder.Build());
    EXPECT_NE("", store.Failure(0, {0, 3, 12, 15})) << offset;
  }
}

TYPED_TEST(GlobeStore, OfTileSizesThatCannotBeIsRefusedInExactReads) {
  for (const double size :
       {0.0, -18.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    const auto bytes = TypeParam::Sound().TileSize(size).Build();
    TestFixture::Try(bytes);
    EXPECT_EQ(0, TestFixture::OpenAs(kReadExact, bytes).IsOpen());
  }
}

TYPED_TEST(GlobeStore, OfBillionsOfTilesTakesNoTime) {
  auto builder = TypeParam::Sound();
  StoreRecord& record = builder.RecordAt(0);
  record.level = 20;
  record.llRow = record.llCol = 0;
  record.urRow = record.urCol = TypeParam::kMostTiles - 1;
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const Stopwatch watch;
    auto store = TestFixture::OpenAs(policy, builder.Build());
    if (!store.IsOpen()) continue;
    store.Read(23, store.Whole());
    store.Read(30, store.Whole());
    store.Read(22, {5, 5 + (300 << 22), 77, 77 + (300 << 22)});
    EXPECT_LT(watch.Seconds(), 5.0);
  }
}

}  // namespace

// Memory that runs out between the file and its first tile, and the sentences that callers know for it.

#include "../../tiles/FailingNew.h"
#include "FaultyDisk.h"
#include "GlobeSources.h"
#include "XMessageBox.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>

namespace {

/// Lets a request for memory fail that comes when the file has been opened for its tiles.
class ShortOfMemory : public FaultyDisk {
 public:
  explicit ShortOfMemory(int nth) : nth_(nth) {}
  int Open(const std::string& path, const zrk::DiskOpen& how, std::shared_ptr<zrk::DiskFile>& file) override {
    const int error = FaultyDisk::Open(path, how, file);
    if (how.write && ++numOpens_ == kOfTiles) failing_.emplace(nth_);
    return error;
  }
  bool HasFailed() const { return failing_ && failing_->HasFailed(); }

 private:
  static constexpr int kOfTiles = 2;  // the first opening makes the file
  const int nth_;
  int numOpens_ = 0;
  std::optional<FailingNew> failing_;
};

/// What an export says, to the caller and to the operator, where one request after the other fails.
struct Told {
  std::set<std::string> toCaller;
  std::set<std::string> toOperator;
};

Told TellAll(bool isElevation, XReadPolicy policy) {
  const TempFolder folder;
  GlobeSources sources;
  sources.Add<std::uint8_t>(kWholeEarth, [](int, int) { return 5.0; }).SetReadPolicy(policy);
  Told told;
  const XMessageBoxHandler before = XfnSetMessageBoxHandler([&](const XString& text, const XString&, unsigned) {
    told.toOperator.insert(text.AsStdString());
    return static_cast<int>(kAnswerOk);
  });
  bool hasFailed = true;
  for (int nth = 1; hasFailed && nth < 500; ++nth) {
    ShortOfMemory disk(nth);
    const zrk::ScopedDisk scope(disk);
    XString error = "untouched";
    const XString path = folder.Path("a");
    const int isMade = isElevation
                           ? XfnExport2PBE(path, &sources.manager, 0, 0, 0.0, 0.0, 18.0, 18.0, 1, error, nullptr)
                           : XfnExport2PBI(path, &sources.manager, 0, 0, 0.0, 0.0, 17.0, 17.0, 0, error, nullptr);
    hasFailed = disk.HasFailed();
    if (!isMade) told.toCaller.insert(error.AsStdString());
  }
  XfnSetMessageBoxHandler(before);
  EXPECT_FALSE(hasFailed);
  return told;
}

constexpr const char* kNoTiles = "Fail to allocate PBI output data memory";
constexpr const char* kNoNormals = "Fail to allocate PBE output norm memory";

}  // namespace

TEST(GlobeMemory, IsMissedInTheSentenceOfPicturesForBothKinds) {
  EXPECT_TRUE(TellAll(false, kReadExact).toCaller.contains(kNoTiles));
  EXPECT_TRUE(TellAll(true, kReadExact).toCaller.contains(kNoTiles));
}

TEST(GlobeMemory, IsMissedForNormalsInAMessageBoxInTheCompatiblePolicy) {
  const Told told = TellAll(true, kReadCompatible);
  EXPECT_EQ(std::set<std::string>{kNoNormals}, told.toOperator);
  EXPECT_TRUE(told.toCaller.contains("untouched"));
  EXPECT_FALSE(told.toCaller.contains(kNoNormals));
}

TEST(GlobeMemory, IsMissedForNormalsInASentenceInTheExactPolicy) {
  const Told told = TellAll(true, kReadExact);
  EXPECT_TRUE(told.toOperator.empty());
  EXPECT_TRUE(told.toCaller.contains(kNoNormals));
  EXPECT_FALSE(told.toCaller.contains("untouched"));
}

// 1,066 levels of tiles are one more than a header has room for.
TEST(GlobeMemory, OfAHeaderHasRoomForSoManyLevelsOfHeights) {
  const TempFolder folder;
  GlobeSources sources;
  sources.Add<float>(kWholeEarth, [](int, int) { return 5.0; });
  XString error;
  EXPECT_EQ(0, XfnExport2PBE(folder.Path("a"), &sources.manager, 0, 1065, 5.0, 5.0, 5.0, 5.0, 0, error, nullptr));
  EXPECT_EQ("Invalid PBE File Information", error);
}

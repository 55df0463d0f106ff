// zrkio view --stored-normals on elevation stores that are built byte by byte. Their heights are all 0, so that light
// that shows anything else than level ground comes from the normals.

#include "PbeBuilder.h"
#include "PngReader.h"
#include "Program.h"
#include "StoreBytes.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>

namespace {

using testing::HasSubstr;

/// What the ground rises by to the east and to the north at a place in degrees.
struct Slopes {
  double east, north;
};
using SlopesAt = std::function<Slopes(double lon, double lat)>;

/// The normals of ground that rises so: the way up, less the slopes along the two tangents.
class NormalStore {
 public:
  static constexpr int kSide = 4;

  explicit NormalStore(SlopesAt slopesAt) : slopesAt_(std::move(slopesAt)) {}

  /// Tiles of four by four posts.
  NormalStore& Level(int level, int llRow, int llCol, int urRow, int urCol) {
    const int storage = kSide * kSide * 16;
    store_.Level({level, llRow, llCol, urRow, urCol, 0.0, kSide, kSide, storage, 0, 51200 + body_.size()});
    for (int row = llRow; row <= urRow; ++row) {
      for (int col = llCol; col <= urCol; ++col) AddTile(18.0 / (1 << level), row, col);
    }
    return *this;
  }
  std::vector<unsigned char> Build() { return store_.Version(2.0).Body(body_).Build(); }

 private:
  void AddTile(double size, int row, int col) {
    body_.resize(body_.size() + kSide * kSide * 4);
    for (int i = 0; i < kSide * kSide; ++i) {
      AddNormal((col + i % kSide / 3.0) * size - 180.0, (row + 1 - i / kSide / 3.0) * size - 90.0);
    }
  }
  void AddNormal(double lon, double lat) {
    const Slopes slopes = slopesAt_(lon, lat);
    const double x = lon * std::numbers::pi / 180.0, y = lat * std::numbers::pi / 180.0;
    const double up[] = {std::cos(y) * std::cos(x), std::cos(y) * std::sin(x), std::sin(y)};
    const double east[] = {-std::sin(x), std::cos(x), 0.0};
    const double north[] = {-std::sin(y) * std::cos(x), -std::sin(y) * std::sin(x), std::cos(y)};
    const double length = std::sqrt(1.0 + slopes.east * slopes.east + slopes.north * slopes.north);
    for (int k = 0; k < 3; ++k) {
      const auto part = static_cast<float>((up[k] - slopes.east * east[k] - slopes.north * north[k]) / length);
      body_.resize(body_.size() + sizeof part);
      std::memcpy(body_.data() + body_.size() - sizeof part, &part, sizeof part);
    }
  }

  SlopesAt slopesAt_;
  StoreBuilder store_{"PBE"};
  std::vector<unsigned char> body_;
};

class ZrkioStoredNormals : public Zrkio {
 protected:
  DecodedPng View(NormalStore store, std::vector<std::string> options = {}) {
    const std::string path = Write("a.pbe", store.Build());
    options.insert(options.begin(), {"view", path, "--hillshade", "--stored-normals", "-o", folder_.Path("out.png")});
    const ProgramResult result = Run(options);
    EXPECT_EQ(0, result.exitStatus) << result.err;
    return DecodePng(folder_.Path("out.png"));
  }
  std::string WhyNot(const std::string& path, std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"view", path, "--hillshade", "--stored-normals", "-o", folder_.Path("out.png")});
    const ProgramResult result = Run(options);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_FALSE(ListFiles().contains("out.png"));
    return result.err;
  }
};

SlopesAt EvenSlopes(double east, double north) {
  return [=](double, double) { return Slopes{east, north}; };
}

std::vector<unsigned char> AllOf16(unsigned char value) {
  return std::vector<unsigned char>(16, value);
}

/// Ground that rises to the east by 45 degrees faces the light: (1/2 + 0.70711) / root of 2 = 0.85355, which
/// is 217.8. Away from it: 0.14645, which is 38.2.
TEST_F(ZrkioStoredNormals, ShadeLikeSlopesOfTheGroundWhereverTheTileLies) {
  EXPECT_EQ(AllOf16(181), View(NormalStore(EvenSlopes(0, 0)).Level(0, 5, 10, 5, 10)).samples);
  for (const auto& [row, col] : {std::pair{9, 0}, {0, 19}, {2, 3}}) {
    EXPECT_EQ(AllOf16(218), View(NormalStore(EvenSlopes(1, 0)).Level(0, row, col, row, col)).samples);
    EXPECT_EQ(AllOf16(38), View(NormalStore(EvenSlopes(0, 1)).Level(0, row, col, row, col)).samples);
  }
}

TEST_F(ZrkioStoredNormals, AreSteeperByTheFactor) {
  const DecodedPng picture = View(NormalStore(EvenSlopes(0.001, 0)).Level(1, 3, 4, 3, 4), {"--z-factor", "1000"});
  EXPECT_EQ(AllOf16(218), picture.samples);
}

/// West of longitude 0 the ground rises to the east, north of latitude 0 to the north, and it is level elsewhere.
TEST_F(ZrkioStoredNormals, LieNorthUpWithTheCommonPostsOfTilesOnce) {
  const SlopesAt slopesAt = [](double lon, double lat) { return Slopes{lon < -1 ? 1.0 : 0.0, lat > 1 ? 1.0 : 0.0}; };
  const DecodedPng picture = View(NormalStore(slopesAt).Level(0, 4, 9, 5, 10));
  ASSERT_EQ(7, picture.width);
  ASSERT_EQ(7, picture.height);
  EXPECT_EQ(38, picture.At(6, 0, 0));
  EXPECT_EQ(181, picture.At(3, 3, 0));
  EXPECT_EQ(181, picture.At(6, 6, 0));
  EXPECT_EQ(218, picture.At(2, 6, 0));
  // Both ways: 0.70711 / root of 3 = 0.40825, which is 104.7.
  EXPECT_EQ(105, picture.At(0, 0, 0));
}

TEST_F(ZrkioStoredNormals, AreThoseOfTheFinestLevelThatIsSmallEnough) {
  NormalStore store(EvenSlopes(0, 0));
  store.Level(0, 5, 10, 5, 10).Level(1, 10, 20, 11, 21).Level(2, 20, 40, 23, 43);
  EXPECT_EQ(13, View(store).width);
  EXPECT_EQ(13, View(store, {"--max-size", "13"}).width);
  EXPECT_EQ(7, View(store, {"--max-size", "12"}).width);
  EXPECT_EQ(4, View(store, {"--max-size", "5"}).width);
  EXPECT_EQ(2, View(store, {"--max-size", "3"}).width);
  EXPECT_EQ(1, View(store, {"--max-size", "1"}).width);
}

/// Posts are 6 degrees apart, and every fifth of the 31 each way is shown: those at 0, 30 and 60 degrees, and so on.
TEST_F(ZrkioStoredNormals, LeaveOutPostsOfALevelThatIsTooLarge) {
  const SlopesAt slopesAt = [](double lon, double) { return Slopes{std::abs(lon - 30) < 0.1 ? 1.0 : 0.0, 0.0}; };
  const DecodedPng picture = View(NormalStore(slopesAt).Level(0, 0, 10, 9, 19), {"--max-size", "7"});
  ASSERT_EQ(7, picture.width);
  for (int x = 0; x < 7; ++x) EXPECT_EQ(x == 1 ? 218 : 181, picture.At(x, 3, 0)) << x;
}

TEST_F(ZrkioStoredNormals, ThatWereNeverWrittenAreBlack) {
  std::vector<unsigned char> bytes = NormalStore(EvenSlopes(0, 0)).Level(0, 5, 10, 5, 11).Build();
  std::fill(bytes.end() - 256, bytes.end(), static_cast<unsigned char>(0));
  ASSERT_EQ(0, Run({"view", Write("a.pbe", bytes), "--hillshade", "--stored-normals", "-o", folder_.Path("out.png")})
                   .exitStatus);
  const DecodedPng picture = DecodePng(folder_.Path("out.png"));
  EXPECT_EQ(181, picture.At(0, 0, 0));
  EXPECT_EQ(0, picture.At(6, 0, 0));
}

TEST_F(ZrkioStoredNormals, NeedAStoreThatKeepsThem) {
  EXPECT_THAT(WhyNot(folder_.Path("none.pbe")), HasSubstr("the file can't be opened"));
  EXPECT_EQ(0, CountFiles());
  EXPECT_THAT(WhyNot(Write("a.bmp", BmpBuilder().Build())), HasSubstr("only elevation stores (.pbe) keep normals"));
  const PbeBuilder plain = PbeBuilder().Level({});
  EXPECT_THAT(WhyNot(Write("a.pbe", plain.Build())), HasSubstr("the store keeps no normals"));
  EXPECT_THAT(WhyNot(Write("a.pbe", StoreBuilder("PBE").Version(2.0).Build())), HasSubstr("no level with tiles"));
}

TEST_F(ZrkioStoredNormals, RefuseBandsWindowsAndNames) {
  const std::string path = Write("a.pbe", NormalStore(EvenSlopes(0, 0)).Level(0, 5, 10, 5, 10).Build());
  EXPECT_THAT(WhyNot(path, {"--bands", "1"}), HasSubstr("no band"));
  EXPECT_THAT(WhyNot(path, {"--window", "0,1,0,1"}), HasSubstr("no window"));
  EXPECT_THAT(WhyNot(path, {"--names", path}), HasSubstr("no places"));
  EXPECT_EQ(2, Run({"view", path, "--stored-normals", "-o", folder_.Path("out.png")}).exitStatus);
}

/// Ranges and sizes that no file has room for.
TEST_F(ZrkioStoredNormals, OfHostileLevelsEndAtOnce) {
  const int most = 2147483647;
  const auto view = [&](const StoreRecord& record) {
    const std::string path = Write("a.pbe", StoreBuilder("PBE").Version(2.0).Level(record).Build());
    return Run({"view", path, "--hillshade", "--stored-normals", "--max-size", "9", "-o", folder_.Path("out.png")});
  };
  for (const int side : {most, 31, 1}) {
    EXPECT_EQ(0, view({0, 0, 0, most, most, 18.0, side, side, 64, 0, 51200}).signal);
    EXPECT_EQ(0, view({0, -most - 1, -most - 1, most, most, NAN, side, side, most, 0, 51200}).signal);
    EXPECT_EQ(1, view({0, 5, 5, 4, 4, 18.0, side, side, 64, 0, 51200}).exitStatus);
  }
}

}  // namespace

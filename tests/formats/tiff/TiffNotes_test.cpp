// What is told of a TIFF file that has been loaded for exact reads.

#include "ExactTiffs.h"
#include "XFormatTable.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class TiffNotes : public ExactTiffs {
 protected:
  std::vector<std::string> Lines(const TiffBuilder& tiff, XReadPolicy policy) {
    XRSFile file;
    XString err;
    file.SetReadPolicy(policy);
    EXPECT_EQ(1, XRSFileIO::LoadFileRaster(&file, kFormatTIF, Write(tiff), err, 0, kLevelNone, nullptr)) << err;
    notes_ = XfnDescribeFormat(file.GetBandAt(0), false);
    std::vector<std::string> lines;
    for (const XString& line : notes_.lines) lines.push_back(line.AsStdString());
    return lines;
  }
  /// The numbers of the list of that name; -1 where there is none.
  std::vector<std::int64_t> Numbers(const char* name) const {
    const auto found =
        std::ranges::find_if(notes_.values, [name](const tagXNote& note) { return note.name.AsStdString() == name; });
    if (found == notes_.values.end()) return {-1};
    std::vector<std::int64_t> numbers;
    for (const tagXNote& part : found->parts) numbers.push_back(part.number);
    return numbers;
  }

  tagXFormatNotes notes_;
};

TEST_F(TiffNotes, TellWhichLevelsTheFileHolds) {
  auto file = TiffBuilder().Size(64, 64);
  for (const int size : {32, 16, 4}) file.Next(TiffBuilder().Size(size, size).Tag(254, 4, {1}));
  EXPECT_THAT(Lines(file, kReadExact), Contains("overviews   levels 1, 2 and 4"));
  EXPECT_THAT(Numbers("overviews"), testing::ElementsAre(1, 2, 4));
  EXPECT_THAT(Lines(file, kReadCompatible), Not(Contains(HasSubstr("overviews"))));
  EXPECT_THAT(Numbers("overviews"), testing::ElementsAre(-1));
}

TEST_F(TiffNotes, TellWhyTheFileBesideIsNotUsed) {
  const auto file = TiffBuilder().Size(64, 64);
  constexpr const char* kRefusal = "overviews   a.tif.ovr is not used, because it is no TIFF file";
  EXPECT_THAT(Lines(file, kReadExact), Not(Contains(HasSubstr("overviews"))));
  folder_.Write("a.tif.ovr", "no image");
  std::filesystem::last_write_time(folder_.Path("a.tif.ovr"),
                                   std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
  EXPECT_THAT(Lines(file, kReadExact), Contains(kRefusal));
  EXPECT_THAT(Lines(file, kReadCompatible), Not(Contains(kRefusal)));
}

TEST_F(TiffNotes, TellOfOneLevelAndOfNone) {
  auto file = TiffBuilder().Size(64, 64);
  EXPECT_THAT(Lines(file, kReadExact), Not(Contains(HasSubstr("overviews"))));
  EXPECT_THAT(Numbers("overviews"), IsEmpty());
  file.Next(TiffBuilder().Size(32, 32).Tag(254, 4, {1}));
  EXPECT_THAT(Lines(file, kReadExact), Contains("overviews   level 1"));
}

TEST_F(TiffNotes, TellThatZeroIsWhite) {
  EXPECT_THAT(Lines(TiffBuilder().Photometric(0), kReadExact), Contains(HasSubstr(", 0 is white")));
  EXPECT_THAT(Lines(TiffBuilder().Photometric(0), kReadCompatible), Not(Contains(HasSubstr("white"))));
  EXPECT_THAT(Lines(TiffBuilder(), kReadExact), Not(Contains(HasSubstr("white"))));
}

TEST_F(TiffNotes, TellThatDoublesAreIntegersInTheFile) {
  EXPECT_THAT(Lines(TiffBuilder().Bits(64), kReadExact), Contains(HasSubstr(", 64-bit integers")));
  EXPECT_THAT(Lines(TiffBuilder().Bits(64).Format(3), kReadExact), Not(Contains(HasSubstr("integers"))));
}

}  // namespace

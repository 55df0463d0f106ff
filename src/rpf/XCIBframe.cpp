// A frame of the Raster Product Format (MIL-STD-2411), as CADRG and CIB products have them: 1536 x 1536 pixels in 36
// subframes, coded with lookup tables, and a colour table of up to 217 entries.
//
// A load reads the head of the file at once, and the sections from that as far as they lie in it. The image comes last:
// its subframes are found first and then painted. They are painted as codes into an image that the frame keeps, or
// through its colours into planes of somebody else. The second way never makes an image of codes, which saves a band
// one pass over 2.4 million pixels and their memory.
//
// `FrameSections` reads the sections, `FrameFind` finds the subframes and `FramePaint` paints them. This file is the
// facade that keeps what they read. One thread uses a frame at a time.

#include "XCIBframe.h"

#include "base/Fence.h"
#include "base/PixelStorage.h"
#include "base/ReadError.h"
#include "base/Truncate.h"
#include "rpf/FrameFind.h"
#include "rpf/FramePaint.h"
#include "rpf/FramePlanes.h"
#include "rpf/FrameSections.h"
#include "XFile.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

constexpr int kCoverageHead = 4096;  // enough for the coverage of any real frame
constexpr int kImageHead = 524288;   // enough for all of a compressed frame
constexpr unsigned kNoTransparentCode = 999;

/// The numbers of components in the list of the location section.
enum Section {
  kCoverage = 0x82,
  kCompression = 0x83,
  kLookup = 0x84,
  kColor = 0x86,
  kColorMap = 0x87,
  kImageDescription = 0x88,
  kImageDisplay = 0x89,
  kMask = 0x8A,
  kSpatialData = 0x8C,
};

}  // namespace

/// What a load is asked for. Planes are painted instead of an image of codes where they are given.
struct XCIBframe::Wanted {
  bool color = false;
  bool image = false;
  zrk::PixelStorage* planes = nullptr;
  zrk::FramePlanes* exact = nullptr;  ///< the same under the exact policy
};

/// How an image is loaded.
struct XCIBframe::Image {
  unsigned transparentCode = kNoTransparentCode;
  bool isCompressed = false;
  zrk::PixelStorage* planes = nullptr;  ///< as in `Wanted`
  zrk::FramePlanes* exact = nullptr;
};

struct XCIBframe::State {
  tagCoverageSectionSubheaderRPF coverage;
  zrk::FrameDescription description;
  zrk::FrameDisplay display;
  zrk::FrameColors colors;
  std::vector<unsigned char> tables;  // one behind the other; empty until read
  zrk::FrameMasks masks;
  zrk::PixelStorage image;
  std::vector<unsigned char*> rows;

  bool PaintCodes(const zrk::FrameSubframes& subframes, unsigned transparentCode);
  bool PaintColors(const zrk::FrameSubframes& subframes, unsigned transparentCode, zrk::PixelStorage& planes) const;
  bool PaintExactly(const zrk::FrameSubframes& subframes, unsigned transparentCode, zrk::FramePlanes& planes) const;
  void CheckColors(const zrk::FrameSubframes& subframes, unsigned transparentCode, zrk::FramePlanes& planes) const;
  zrk::FrameMap MakeColorMap(std::size_t plane) const;
  unsigned char ChooseTransparentGrey(unsigned transparentCode) const;
};

/// A frame without a transparent code needs no map, and its tables are then used where they are.
bool XCIBframe::State::PaintCodes(const zrk::FrameSubframes& subframes, unsigned transparentCode) {
  if (!image.Reserve(zrk::kFramePixels)) return false;
  const zrk::FrameMap codes = zrk::MakeCodeMap(transparentCode);
  const zrk::FrameMap* const map = transparentCode < codes.size() ? &codes : nullptr;
  zrk::Paint(subframes, tables.data(), map, image.Get());
  rows.resize(kSide);
  for (std::size_t row = 0; row < rows.size(); ++row) rows[row] = image.Get() + row * zrk::kFrameSide;
  return true;
}

/// The way of a code is put together to one map for each plane: the transparent code becomes 0, and then each code its
/// colour. A code beyond the colours is black. Planes lie one behind the other.
bool XCIBframe::State::PaintColors(const zrk::FrameSubframes& subframes, unsigned transparentCode,
                                   zrk::PixelStorage& planes) const {
  const auto numPlanes = static_cast<std::size_t>(colors.CountChannels());
  if (!planes.Reserve(numPlanes * zrk::kFramePixels)) return false;
  const zrk::FrameMap codes = zrk::MakeCodeMap(transparentCode);
  for (std::size_t plane = 0; plane < numPlanes; ++plane) {
    zrk::FrameMap map;
    std::ranges::transform(codes, map.begin(), [&](unsigned char code) -> unsigned char {
      return code < kNumColors ? colors.planes[plane][code] : 0;
    });
    zrk::Paint(subframes, tables.data(), &map, planes.Get() + plane * zrk::kFramePixels);
  }
  return true;
}

zrk::FrameMap XCIBframe::State::MakeColorMap(std::size_t plane) const {
  zrk::FrameMap map{};
  std::ranges::copy(colors.planes[plane], map.begin());
  return map;
}

/// That of the transparent code itself, if no other code has it, or else one that no code has. There are more values of
/// a byte than colours.
unsigned char XCIBframe::State::ChooseTransparentGrey(unsigned transparentCode) const {
  std::array<bool, 256> isTaken{};
  for (unsigned code = 0; code < static_cast<unsigned>(colors.numColours); ++code) {
    if (code != transparentCode) isTaken[colors.planes[0][code]] = true;
  }
  if (transparentCode < kNumColors && !isTaken[colors.planes[0][transparentCode]]) {
    return colors.planes[0][transparentCode];
  }
  return static_cast<unsigned char>(std::ranges::find(isTaken, false) - isTaken.begin());
}

/// A subframe whose pixels have no colour fails when it is read.
void XCIBframe::State::CheckColors(const zrk::FrameSubframes& subframes, unsigned transparentCode,
                                   zrk::FramePlanes& planes) const {
  for (std::size_t i = 0; i < zrk::kSubframes; ++i) {
    if (!subframes.at[i]) continue;
    std::array<bool, 256> used = zrk::FindUsedBytes(subframes, i, tables.data());
    if (transparentCode < used.size()) used[transparentCode] = false;
    const auto firstBeyond = used.begin() + colors.numColours;
    if (std::find(firstBeyond, used.end(), true) != used.end()) {
      planes.subframes[i] = zrk::FramePlanes::Subframe::kNoColour;
    }
  }
}

/// A grey frame has one value for its transparent pixels. One in colours has a plane that tells them.
bool XCIBframe::State::PaintExactly(const zrk::FrameSubframes& subframes, unsigned transparentCode,
                                    zrk::FramePlanes& planes) const {
  CheckColors(subframes, transparentCode, planes);
  const bool hasCode = transparentCode < std::tuple_size_v<zrk::FrameMap>;
  const bool isSeeThrough =
      hasCode || std::ranges::find(planes.subframes, zrk::FramePlanes::Subframe::kAbsent) != planes.subframes.end();
  const int numColors = colors.CountChannels();
  planes.hasOpacity = isSeeThrough && numColors > 1;
  if (isSeeThrough && numColors == 1) planes.transparentGrey = ChooseTransparentGrey(transparentCode);
  planes.numPlanes = numColors + (planes.hasOpacity ? 1 : 0);
  if (!planes.pixels.Reserve(static_cast<std::size_t>(planes.numPlanes) * zrk::kFramePixels)) return false;
  for (std::size_t plane = 0; plane < static_cast<std::size_t>(planes.numPlanes); ++plane) {
    const bool isOpacity = plane == static_cast<std::size_t>(numColors);
    zrk::FrameMap map{};
    isOpacity ? map.fill(255) : static_cast<void>(map = MakeColorMap(plane));
    if (hasCode && isOpacity) map[transparentCode] = 0;
    if (hasCode && planes.transparentGrey >= 0)
      map[transparentCode] = static_cast<unsigned char>(planes.transparentGrey);
    unsigned char absent = hasCode ? map[transparentCode] : 0;
    if (planes.transparentGrey >= 0) absent = static_cast<unsigned char>(planes.transparentGrey);
    zrk::Paint(subframes, tables.data(), &map, absent, planes.pixels.Get() + plane * zrk::kFramePixels);
  }
  return true;
}

XCIBframe::XCIBframe() : state_(std::make_unique<State>()) {}
XCIBframe::~XCIBframe() = default;

int XCIBframe::LoadFile(const XString& path, int withColor, int withImage) {
  return zrk::FencedRead([&] { return Load(path, {withColor != 0, withImage != 0, nullptr}); });
}

int XCIBframe::LoadPlanes(const XString& path, zrk::PixelStorage& planes) {
  return zrk::FencedRead([&] { return Load(path, {true, true, &planes}); });
}

int XCIBframe::LoadPlanesExactly(const XString& path, zrk::FramePlanes& planes) {
  planes = {};
  return zrk::FencedRead([&] { return Load(path, {true, true, nullptr, &planes}); });
}

/// Whatever was loaded before goes first, so that a load that fails leaves no mixture of two frames. A caller that only
/// wants to know where the frame lies reads 4 KB of it.
int XCIBframe::Load(const XString& path, const Wanted& wanted) {
  Reset();
  CleanUp();
  const bool needsMore = wanted.color || wanted.image;
  const int headBytes = needsMore ? kImageHead : kCoverageHead;
  const auto head = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(headBytes));
  int bytesRead = 0;
  if (!OpenHeaders(path, head.get(), headBytes, bytesRead)) return 0;
  // A head that was not filled is the whole file.
  if (!needsMore || bytesRead < headBytes) return ReadSections(nullptr, head.get(), bytesRead, wanted);
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return 0;
  return ReadSections(&file, head.get(), bytesRead, wanted);
}

/// The results of colours and tables are not looked at, since a frame can do without them. An image that needs the
/// tables asks for them itself.
int XCIBframe::ReadSections(XFile* file, const unsigned char* buffer, int bytes, const Wanted& wanted) {
  if (!ReadCoverageSection(file, buffer, bytes)) return 0;
  if (wanted.color || wanted.image) {
    ReadCompressionSection(file, buffer, bytes);
    const int hasColors = ReadGrayscaleSection(file, buffer, bytes);
    if (wanted.exact && (!hasColors || state_->colors.numColours == 0)) {
      return zrk::FailRead("The frame has no colour table, or a damaged one");
    }
  }
  return wanted.image ? ReadImage(file, buffer, bytes, wanted) : 1;
}

void XCIBframe::CleanUp() {
  state_->tables = {};
  state_->image.Free();
  state_->rows = {};
  state_->coverage = {};
  state_->description = {};
  state_->display = {};
  state_->colors.Clear();
  state_->masks = {};
}

int XCIBframe::ReadCoverageSection(XFile* file, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* section = FindComponent(kCoverage);
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return section && zrk::FrameSections(blocks, IsLittleEndian()).ReadCoverage(section->offset, state_->coverage);
}

int XCIBframe::ReadCompressionSection(XFile* file, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* section = FindComponent(kCompression);
  const tagComponentRPF* lookup = FindComponent(kLookup);
  if (!section || !lookup) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  zrk::FrameSections sections(blocks, IsLittleEndian());
  return sections.ReadLookupTables(section->offset, lookup->offset, state_->tables);
}

int XCIBframe::ReadGrayscaleSection(XFile* file, const unsigned char* buffer, int bytes) {
  const tagComponentRPF* section = FindComponent(kColor);
  const tagComponentRPF* map = FindComponent(kColorMap);
  if (!section || !map) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return zrk::FrameSections(blocks, IsLittleEndian()).ReadColors(section->offset, map->offset, state_->colors);
}

int XCIBframe::ReadImageSection(XFile* file, const unsigned char* buffer, int bytes) {
  return ReadImage(file, buffer, bytes, {});
}

/// A mask that is announced has to be there: without it the offsets of the subframes are unknown.
int XCIBframe::ReadImage(XFile* file, const unsigned char* buffer, int bytes, const Wanted& wanted) {
  const tagComponentRPF* description = FindComponent(kImageDescription);
  const tagComponentRPF* display = FindComponent(kImageDisplay);
  const tagComponentRPF* mask = FindComponent(kMask);
  if (!description || !display) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  zrk::FrameSections sections(blocks, IsLittleEndian());
  if (!sections.ReadDescription(description->offset, state_->description)) return 0;
  Image image = {kNoTransparentCode, false, wanted.planes, wanted.exact};
  const bool areMasked =
      !state_->description.HasMask() ||
      (mask && sections.ReadMasks(mask->offset, state_->description, state_->masks, image.transparentCode));
  if (!areMasked || !sections.ReadDisplay(display->offset, state_->display)) return 0;
  image.isCompressed = state_->display.IsCompressed();
  return LoadImage(blocks, image);
}

int XCIBframe::LoadCompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer, int bytes) {
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return LoadImage(blocks, {transparentCode, true});
}

int XCIBframe::LoadUncompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer,
                                         int bytes) {
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return LoadImage(blocks, {transparentCode, false});
}

int XCIBframe::LoadImage(zrk::RpfBlocks& blocks, const Image& image) {
  const tagComponentRPF* spatial = FindComponent(kSpatialData);
  if (!spatial || (image.isCompressed && state_->tables.empty())) return 0;
  zrk::FrameSubframes subframes(image.isCompressed);
  if (image.exact) {
    zrk::FindSubframesExactly(blocks, spatial->offset, state_->masks, subframes, image.exact->subframes);
    return state_->PaintExactly(subframes, image.transparentCode, *image.exact);
  }
  if (!zrk::FindSubframes(blocks, spatial->offset, state_->masks, subframes)) return 0;
  if (!image.planes) return state_->PaintCodes(subframes, image.transparentCode);
  return state_->PaintColors(subframes, image.transparentCode, *image.planes);
}

const tagCoverageSectionSubheaderRPF& XCIBframe::GetCoverageSec() const {
  return state_->coverage;
}

unsigned char** XCIBframe::GetData() {
  return state_->rows.empty() ? nullptr : state_->rows.data();
}

unsigned char* XCIBframe::GetLine(int row) {
  return state_->rows[static_cast<std::size_t>(row)];
}

unsigned char* XCIBframe::DetacheData() {
  return state_->rows.empty() ? nullptr : state_->rows.front();
}

const unsigned char* XCIBframe::GetColorTableAt(int plane) const {
  return state_->colors.planes[static_cast<std::size_t>(plane)].data();
}

int XCIBframe::GetColorTableType() const {
  return state_->colors.tableType;
}

int XCIBframe::GetNumChannels() const {
  return state_->colors.CountChannels();
}

int XCIBframe::GetHistogramAt(int color) const {
  return state_->colors.histogram[static_cast<std::size_t>(color)];
}

int XCIBframe::GetSubframeOffset(int subframe) const {
  return state_->masks.subframes[static_cast<std::size_t>(subframe)];
}

int XCIBframe::GetTransparencyOffset(int subframe) const {
  return state_->masks.transparency[static_cast<std::size_t>(subframe)];
}

/// The coordinates are those of the middle of the pixel, while the coverage has the outer edges.
void XCIBframe::PixelToWorldCoord(int row, int col, double& lat, double& lon) const {
  const tagCoverageSectionSubheaderRPF& coverage = state_->coverage;
  lat = coverage.nwLatitude - (row + 0.5) * coverage.verticalInterval;
  lon = (col + 0.5) * coverage.horizontalInterval + coverage.nwLongitude;
}

void XCIBframe::WorldToPixelCoord(double lat, double lon, int& row, int& col) const {
  const tagCoverageSectionSubheaderRPF& coverage = state_->coverage;
  // A position far off the frame, or one of a coverage whose interval is 0, must not be an undefined conversion.
  row = zrk::TruncateToInt((coverage.nwLatitude - lat) / coverage.verticalInterval);
  col = zrk::TruncateToInt((lon - coverage.nwLongitude) / coverage.horizontalInterval);
}

int XCIBframe::SaveToBinaryData(const XString& path) const {
  XFile file;
  if (state_->rows.empty() || !file.Open(path, XFile::kWrite | XFile::kCreate)) return 0;
  return file.Write(state_->rows.front(), static_cast<std::int64_t>(zrk::kFramePixels));
}

void XCIBframe::DecompressData(unsigned char* dest, const unsigned char* codes, const unsigned char* table,
                               int column) {
  zrk::DecodeRow(codes, table, dest + column);
}

void XCIBframe::GetSperatedValue(const unsigned char* bytes, int& first, int& second) {
  const zrk::CodePair codes = zrk::SplitCodes(bytes);
  first = static_cast<int>(codes.first);
  second = static_cast<int>(codes.second);
}

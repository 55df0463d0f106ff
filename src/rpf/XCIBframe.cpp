// A load reads the head of the file at once, and the sections from that as far as they lie in it. The image comes last:
// its subframes are found first and then painted, as codes into an image that the frame keeps, or through its colours
// into planes of somebody else.

#include "XCIBframe.h"

#include "base/Fence.h"
#include "base/PixelStorage.h"
#include "rpf/FrameFind.h"
#include "rpf/FramePaint.h"
#include "rpf/FrameSections.h"
#include "XFile.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

namespace {

constexpr int kCoverageHead = 4096;  // enough for the coverage of any real frame
constexpr int kImageHead = 524288;   // enough for all of a compressed frame
constexpr unsigned kNoTransparentCode = 999;

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

int TruncateToInt(double value) {
  if (std::isnan(value)) return 0;
  return static_cast<int>(std::clamp(value, static_cast<double>(INT_MIN), static_cast<double>(INT_MAX)));
}

}  // namespace

/// What a load is asked for. Planes are painted instead of an image of codes where they are given.
struct XCIBframe::Wanted {
  bool color = false;
  bool image = false;
  zrk::PixelStorage* planes = nullptr;
};

/// How an image is loaded.
struct XCIBframe::Image {
  unsigned transparentCode = kNoTransparentCode;
  bool isCompressed = false;
  zrk::PixelStorage* planes = nullptr;  ///< as in `Wanted`
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
};

bool XCIBframe::State::PaintCodes(const zrk::FrameSubframes& subframes, unsigned transparentCode) {
  if (!image.Reserve(zrk::kFramePixels)) return false;
  const zrk::FrameMap codes = zrk::MakeCodeMap(transparentCode);
  const zrk::FrameMap* const map = transparentCode < codes.size() ? &codes : nullptr;
  zrk::Paint(subframes, tables.data(), map, image.Get());
  rows.resize(kSide);
  for (std::size_t row = 0; row < rows.size(); ++row) rows[row] = image.Get() + row * zrk::kFrameSide;
  return true;
}

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

XCIBframe::XCIBframe() : state_(std::make_unique<State>()) {}
XCIBframe::~XCIBframe() = default;

int XCIBframe::LoadFile(const XString& path, int withColor, int withImage) {
  return zrk::FencedRead([&] { return Load(path, {withColor != 0, withImage != 0, nullptr}); });
}

int XCIBframe::LoadPlanes(const XString& path, zrk::PixelStorage& planes) {
  return zrk::FencedRead([&] { return Load(path, {true, true, &planes}); });
}

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

int XCIBframe::ReadSections(XFile* file, const unsigned char* buffer, int bytes, const Wanted& wanted) {
  if (!ReadCoverageSection(file, buffer, bytes)) return 0;
  if (wanted.color || wanted.image) {
    ReadCompressionSection(file, buffer, bytes);
    ReadGrayscaleSection(file, buffer, bytes);
  }
  return wanted.image ? ReadImage(file, buffer, bytes, wanted.planes) : 1;
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
  return ReadImage(file, buffer, bytes, nullptr);
}

int XCIBframe::ReadImage(XFile* file, const unsigned char* buffer, int bytes, zrk::PixelStorage* planes) {
  const tagComponentRPF* description = FindComponent(kImageDescription);
  const tagComponentRPF* display = FindComponent(kImageDisplay);
  const tagComponentRPF* mask = FindComponent(kMask);
  if (!description || !display) return 0;
  zrk::RpfBlocks blocks(file, buffer, bytes);
  zrk::FrameSections sections(blocks, IsLittleEndian());
  if (!sections.ReadDescription(description->offset, state_->description)) return 0;
  Image image = {kNoTransparentCode, false, planes};
  const bool areMasked =
      !state_->description.HasMask() ||
      (mask && sections.ReadMasks(mask->offset, state_->description, state_->masks, image.transparentCode));
  if (!areMasked || !sections.ReadDisplay(display->offset, state_->display)) return 0;
  image.isCompressed = state_->display.IsCompressed();
  return LoadImage(blocks, image);
}

int XCIBframe::LoadCompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer, int bytes) {
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return LoadImage(blocks, {transparentCode, true, nullptr});
}

int XCIBframe::LoadUncompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer,
                                         int bytes) {
  zrk::RpfBlocks blocks(file, buffer, bytes);
  return LoadImage(blocks, {transparentCode, false, nullptr});
}

int XCIBframe::LoadImage(zrk::RpfBlocks& blocks, const Image& image) {
  const tagComponentRPF* spatial = FindComponent(kSpatialData);
  if (!spatial || (image.isCompressed && state_->tables.empty())) return 0;
  zrk::FrameSubframes subframes(image.isCompressed);
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

void XCIBframe::PixelToWorldCoord(int row, int col, double& lat, double& lon) const {
  const tagCoverageSectionSubheaderRPF& coverage = state_->coverage;
  lat = coverage.nwLatitude - (row + 0.5) * coverage.verticalInterval;
  lon = (col + 0.5) * coverage.horizontalInterval + coverage.nwLongitude;
}

void XCIBframe::WorldToPixelCoord(double lat, double lon, int& row, int& col) const {
  const tagCoverageSectionSubheaderRPF& coverage = state_->coverage;
  row = TruncateToInt((coverage.nwLatitude - lat) / coverage.verticalInterval);
  col = TruncateToInt((lon - coverage.nwLongitude) / coverage.horizontalInterval);
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

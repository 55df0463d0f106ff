#pragma once

#include "rpf/RpfBlocks.h"
#include "XCIBframe.h"

#include <array>
#include <cstdint>
#include <vector>

namespace zrk {

/// The colours of a frame: four planes, and how many pixels each colour has.
struct FrameColors {
  std::array<std::array<unsigned char, XCIBframe::kNumColors>, 4> planes{};
  std::array<std::int32_t, XCIBframe::kNumColors> histogram{};
  int tableType = 3;
  int numColours = 0;  ///< entries that the file has, at most 217

  /// The planes that bands are made of.
  int CountChannels() const { return tableType == 3 ? 1 : tableType == 4 ? 4 : 3; }
  /// Clears the planes and, of the histogram, as many bytes as a plane has: the counts behind them are of the frame
  /// before. The type stays.
  void Clear();
};

struct FrameDescription {
  int spectralGroups = 0;
  int subframeTables = 0;
  int spectralBandTables = 0;
  int spectralBandLines = 0;
  int subframesAcross = 0;
  int subframesDown = 0;
  int subframeColumns = 0;
  int subframeRows = 0;
  int subframeMaskOffset = 0;
  int transparencyMaskOffset = 0;

  bool HasMask() const { return subframeMaskOffset != -1 || transparencyMaskOffset != -1; }
};

struct FrameDisplay {
  int imageRows = 0;
  int codesPerRow = 0;
  int elementBits = 0;

  bool IsCompressed() const { return elementBits == 12; }
};

/// Where subframes lie in the spatial data, and their transparency in the mask data; -1 where one is absent.
struct FrameMasks {
  using Offsets = std::array<std::int32_t, XCIBframe::kNumSubframes>;

  Offsets subframes{};
  bool hasSubframes = false;
  Offsets transparency{};
  bool hasTransparency = false;
};

/// The sections of a frame, each of which fills a record from a place in the file. False where it is not as it must be.
class FrameSections {
 public:
  FrameSections(RpfBlocks& blocks, bool littleEndian) : blocks_(blocks), littleEndian_(littleEndian) {}

  bool ReadCoverage(std::int64_t offset, tagCoverageSectionSubheaderRPF& coverage);
  /// The tables of a compressed image, one behind the other; all four or none are kept.
  bool ReadLookupTables(std::int64_t subheader, std::int64_t lookup, std::vector<unsigned char>& tables);
  /// The first colour table, the only one that counts.
  bool ReadColors(std::int64_t subheader, std::int64_t map, FrameColors& colors);
  bool ReadDescription(std::int64_t offset, FrameDescription& description);
  /// The masks that the description asks for, and the code of transparent pixels.
  bool ReadMasks(std::int64_t offset, const FrameDescription& description, FrameMasks& masks,
                 unsigned& transparentCode);
  bool ReadDisplay(std::int64_t offset, FrameDisplay& display);

 private:
  bool ReadTables(std::int64_t lookup, std::vector<unsigned char>& tables);
  struct ColorTable;
  bool TakeColors(std::int64_t offset, const ColorTable& table, FrameColors& colors);
  bool TakeHistogram(std::int64_t offset, const ColorTable& table, FrameColors& colors);

  RpfBlocks& blocks_;
  bool littleEndian_;
};

}  // namespace zrk

#pragma once

#include "XCIBbase.h"

#include <array>
#include <memory>
#include <vector>

namespace zrk {
struct FrameSubframes;
class PixelStorage;
class RpfBlocks;
}  // namespace zrk

/// Where a frame lies: its corners in degrees, its resolution in metres, and the degrees from pixel to pixel.
struct tagCoverageSectionSubheaderRPF {
  double nwLatitude = 0.0;
  double nwLongitude = 0.0;
  double swLatitude = 0.0;
  double swLongitude = 0.0;
  double neLatitude = 0.0;
  double neLongitude = 0.0;
  double seLatitude = 0.0;
  double seLongitude = 0.0;
  double verticalResolution = 0.0;
  double horizontalResolution = 0.0;
  double verticalInterval = 0.0;
  double horizontalInterval = 0.0;
};

/// One frame file of the Raster Product Format: its coverage, its colours, and an image of 1536 x 1536 pixels of one
/// byte each, which are places in the colour table. The image is 6 x 6 subframes of 256 x 256; one that the file
/// does not have is 0.
///
/// A compressed image has a code of 12 bits for each 4 x 4 pixels. One thread uses an object at a time.
class ZRKIO_API XCIBframe : public XCIBbase {
 public:
  static constexpr int kSide = 1536;
  static constexpr int kNumColors = 217;
  static constexpr int kNumSubframes = 36;

  XCIBframe();
  ~XCIBframe() override;

  /// Loads the coverage, and the colours and the image as far as the flags ask; 1 or 0. Colours that can't be read fail
  /// no load.
  int LoadFile(const XString& path, int withColor, int withImage);
  /// Loads the frame in its colours: `planes` gets 1536 x 1536 bytes for each of the `GetNumChannels` colour planes,
  /// one plane behind the other. It is the same as mapping the image of `LoadFile` through the planes of the colour
  /// table, and leaves no image behind. Codes that no colour table can have are 0.
  int LoadPlanes(const XString& path, zrk::PixelStorage& planes);
  /// Frees tables and image, and clears coverage, colours and masks. The type of the colour table stays.
  void CleanUp();

  const tagCoverageSectionSubheaderRPF& GetCoverageSec() const { return coverage_; }
  /// Pointers to the rows of the image; null without one.
  unsigned char** GetData() { return rows_.empty() ? nullptr : rows_.data(); }
  /// A row of the image, which must be loaded; the index is not checked.
  unsigned char* GetLine(int row) { return rows_[static_cast<std::size_t>(row)]; }
  /// The image in one block, or null. It stays with the frame, and `CleanUp` frees it.
  unsigned char* DetacheData() { return rows_.empty() ? nullptr : rows_.front(); }
  /// One of the four planes of 217 bytes; the index is not checked.
  const unsigned char* GetColorTableAt(int plane) const { return colors_[static_cast<std::size_t>(plane)].data(); }
  /// 1 for red, green and blue, 2 for these and an unused plane, 3 for grey, 4 for four planes.
  int GetColorTableType() const { return colorTableType_; }
  /// The planes that bands are made of: 3, or 1 for grey and 4 for four planes.
  int GetNumChannels() const;
  /// How many pixels of the file a colour has; the index is not checked.
  int GetHistogramAt(int color) const { return histogram_[static_cast<std::size_t>(color)]; }

  /// The centre of a pixel.
  void PixelToWorldCoord(int row, int col, double& lat, double& lon) const;
  /// The pixel at a place, truncated toward zero; cut to the range of an int, and 0 for what is not a number.
  void WorldToPixelCoord(double lat, double lon, int& row, int& col) const;
  /// Writes the image row by row, with no header; 0 where there is none or the file can't be written.
  int SaveToBinaryData(const XString& path) const;

 protected:
  int ReadCoverageSection(XFile* file, const unsigned char* buffer, int bytes);
  int ReadCompressionSection(XFile* file, const unsigned char* buffer, int bytes);
  int ReadGrayscaleSection(XFile* file, const unsigned char* buffer, int bytes);
  int ReadImageSection(XFile* file, const unsigned char* buffer, int bytes);
  /// The transparent code is one that no pixel has where the frame has none.
  int LoadCompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer, int bytes);
  int LoadUncompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer, int bytes);
  /// Puts 256 pixels, from `column` on, in place of 96 bytes of codes. `table` has 4 pixels for each code.
  static void DecompressData(unsigned char* dest, const unsigned char* codes, const unsigned char* table, int column);
  /// The two codes in three bytes.
  static void GetSperatedValue(const unsigned char* bytes, int& first, int& second);

  /// Where a subframe lies in the spatial data, or its transparency in the mask data; -1 where it is absent.
  int GetSubframeOffset(int subframe) const { return subframeOffsets_[static_cast<std::size_t>(subframe)]; }
  int GetTransparencyOffset(int subframe) const { return transparencyOffsets_[static_cast<std::size_t>(subframe)]; }

 private:
  using Offsets = std::array<std::int32_t, kNumSubframes>;
  struct ImageDescription {
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
  };
  struct DisplayParameters {
    int imageRows = 0;
    int codesPerRow = 0;
    int elementBits = 0;
  };

  int Load(const XString& path, bool withColor, bool withImage);
  int ReadSections(XFile* file, const unsigned char* buffer, int bytes, bool withColor, bool withImage);
  bool ReadLookupTables(zrk::RpfBlocks& blocks, std::int64_t lookup);
  bool ReadColors(zrk::RpfBlocks& blocks, std::int64_t map);
  bool TakeColors(zrk::RpfBlocks& blocks, std::int64_t offset, int table, std::int64_t numEntries, int entryBytes);
  bool TakeHistogram(zrk::RpfBlocks& blocks, std::int64_t offset, std::int64_t numEntries, int recordBytes);
  bool ReadDescription(zrk::RpfBlocks& blocks, std::int64_t offset);
  bool ReadMasks(zrk::RpfBlocks& blocks, unsigned& transparentCode);
  bool FindSubframes(zrk::RpfBlocks& blocks, std::int64_t offset, zrk::FrameSubframes& subframes) const;
  bool FindWholeImage(const zrk::RpfBlocks& blocks, std::int64_t offset, zrk::FrameSubframes& subframes) const;
  int Paint(const zrk::FrameSubframes& subframes, unsigned transparentCode);
  int PaintCodes(const zrk::FrameSubframes& subframes, unsigned transparentCode);
  int PaintColors(const zrk::FrameSubframes& subframes, unsigned transparentCode);
  void PaintPlane(const zrk::FrameSubframes& subframes, const std::array<unsigned char, 256>* map,
                  unsigned char* plane) const;

  tagCoverageSectionSubheaderRPF coverage_;
  ImageDescription description_;
  DisplayParameters display_;
  std::array<std::array<unsigned char, kNumColors>, 4> colors_{};
  std::array<std::int32_t, kNumColors> histogram_{};
  int colorTableType_ = 3;
  std::vector<unsigned char> tables_;  // one behind the other; empty until read
  std::unique_ptr<zrk::PixelStorage> image_;
  std::vector<unsigned char*> rows_;
  Offsets subframeOffsets_{};
  bool hasSubframeMask_ = false;
  Offsets transparencyOffsets_{};
  bool hasTransparencyMask_ = false;
  zrk::PixelStorage* planes_ = nullptr;  // where the load under way paints colours; null where it keeps the codes
};

#pragma once

#include "XCIBbase.h"

#include <memory>

namespace zrk {
class PixelStorage;
class RpfBlocks;
struct FramePlanes;
}  // namespace zrk

/// Where a frame lies, as its file tells; nothing is checked. Latitudes are positive to the north, longitudes to the
/// east.
struct tagCoverageSectionSubheaderRPF {
  /// The corners of the frame's outer edges, in degrees.
  double nwLatitude = 0.0;
  double nwLongitude = 0.0;
  double swLatitude = 0.0;
  double swLongitude = 0.0;
  double neLatitude = 0.0;
  double neLongitude = 0.0;
  double seLatitude = 0.0;
  double seLongitude = 0.0;
  /// The size of a pixel on the ground, in metres.
  double verticalResolution = 0.0;
  double horizontalResolution = 0.0;
  /// The step from pixel to pixel, in degrees of latitude and of longitude.
  double verticalInterval = 0.0;
  double horizontalInterval = 0.0;
};

/// One frame file of the Raster Product Format: its coverage, its colours, and an image of 1536 x 1536 pixels. A pixel
/// is one byte, which is an index into the colour table. The image is 6 x 6 subframes of 256 x 256; one that the file
/// does not have is 0.
///
/// A compressed image has a code of 12 bits for each 4 x 4 pixels. One thread uses an object at a time.
class ZRKIO_API XCIBframe : public XCIBbase {
 public:
  /// Columns and rows of every frame.
  static constexpr int kSide = 1536;
  /// Colours of a plane of the colour table.
  static constexpr int kNumColors = 217;
  /// Subframes of a frame, row by row from the north-west corner.
  static constexpr int kNumSubframes = 36;

  XCIBframe();
  ~XCIBframe() override;

  /// Loads the coverage, and the colours and the image as far as the flags ask; 1 or 0. Colours that can't be read fail
  /// no load. An earlier frame is dropped in either case.
  int LoadFile(const XString& path, int withColor, int withImage);
  /// Loads the frame in its colours: `planes` gets 1536 x 1536 bytes for each of the `GetNumChannels` colour planes,
  /// one plane behind the other. It is the same as mapping the image of `LoadFile` through the planes of the colour
  /// table, and leaves no image behind. Codes that no colour table can have are 0. Returns 1 or 0.
  int LoadPlanes(const XString& path, zrk::PixelStorage& planes);
  /// Loads the frame in its colours for the exact policy. Transparent pixels keep their colour, and absent subframes
  /// are transparent. Subframes that can't be read are told one by one. Returns 1, or 0 if the frame as a whole or its
  /// colours can't be read.
  int LoadPlanesExactly(const XString& path, zrk::FramePlanes& planes);
  /// Frees tables and image, and clears coverage, colours and masks. The type of the colour table stays.
  void CleanUp();

  /// The coverage of the frame that was loaded last; all 0.0 before a load.
  const tagCoverageSectionSubheaderRPF& GetCoverageSec() const;
  /// Pointers to the 1536 rows of the image; null without an image. They stay with the frame and are valid until the
  /// next load or `CleanUp`.
  unsigned char** GetData();
  /// A row of the image, 1536 bytes. The image must be loaded, and `row` is 0 to 1535; neither is checked.
  unsigned char* GetLine(int row);
  /// The image in one block, or null. It stays with the frame, and `CleanUp` frees it.
  unsigned char* DetacheData();
  /// One of the four planes of 217 bytes. `plane` is 0 to 3 and is not checked. The plane belongs to the frame.
  const unsigned char* GetColorTableAt(int plane) const;
  /// Returns 1 for red, green and blue, 2 for these and an unused plane, 3 for grey, 4 for four planes. 3 before a
  /// load.
  int GetColorTableType() const;
  /// The planes that bands are made of: 3, or 1 for grey and 4 for four planes.
  int GetNumChannels() const;
  /// How many pixels a colour has, as the colour table of the file tells; nothing is counted here. `color` is 0 to 216
  /// and is not checked.
  int GetHistogramAt(int color) const;

  /// The centre of a pixel, in degrees. The pixel may lie outside the frame.
  void PixelToWorldCoord(int row, int col, double& lat, double& lon) const;
  /// The pixel at a place in degrees, truncated toward zero. The result is cut to the range of an int, and is 0 for
  /// what is not a number. It may lie outside the frame.
  void WorldToPixelCoord(double lat, double lon, int& row, int& col) const;
  /// Writes the image row by row, with no header, over a file of the name. Returns 1, or 0 without an image, with
  /// nothing written. Returns 0 also if the file can't be written; the old file is lost then.
  int SaveToBinaryData(const XString& path) const;

 protected:
  // The steps of a load, in their order. Each takes the open file and the head of it in memory, either of which may be
  // null; 1 or 0.

  /// Where the frame lies. Every load needs it.
  int ReadCoverageSection(XFile* file, const unsigned char* buffer, int bytes);
  /// The lookup tables of a compressed image; all or none of them are kept.
  int ReadCompressionSection(XFile* file, const unsigned char* buffer, int bytes);
  /// The colours: the first colour table of the file and its histogram.
  int ReadGrayscaleSection(XFile* file, const unsigned char* buffer, int bytes);
  /// The masks and the image. A compressed image needs the lookup tables before it.
  int ReadImageSection(XFile* file, const unsigned char* buffer, int bytes);
  /// The transparent code is one that no pixel has where the frame has none.
  int LoadCompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer, int bytes);
  int LoadUncompressedImageData(XFile* file, unsigned transparentCode, const unsigned char* buffer, int bytes);
  /// Puts 256 pixels, from `column` on, in place of 96 bytes of codes. `table` has 4 pixels for each code.
  static void DecompressData(unsigned char* dest, const unsigned char* codes, const unsigned char* table, int column);
  /// The two codes in three bytes.
  static void GetSperatedValue(const unsigned char* bytes, int& first, int& second);

  /// Where a subframe lies in the spatial data, or its transparency in the mask data; -1 where it is absent.
  int GetSubframeOffset(int subframe) const;
  int GetTransparencyOffset(int subframe) const;

 private:
  struct State;
  struct Wanted;
  struct Image;

  int Load(const XString& path, const Wanted& wanted);
  int ReadSections(XFile* file, const unsigned char* buffer, int bytes, const Wanted& wanted);
  int ReadImage(XFile* file, const unsigned char* buffer, int bytes, const Wanted& wanted);
  int LoadImage(zrk::RpfBlocks& blocks, const Image& image);

  std::unique_ptr<State> state_;
};

#pragma once

#include "RpfBuilder.h"

#include <cstdint>
#include <map>
#include <set>
#include <vector>

/// Builds frame files of the Raster Product Format, whose pixels and colours the static functions give. Those that are
/// compressed can be read by GDAL too.
class RpfFrameBuilder {
 public:
  /// All subframes but the last, for `Absent`.
  static std::set<int> AllButOne();

  static constexpr int kSide = 1536;

  /// The code of 4 x 4 pixels, counted in such blocks from the top left of the frame.
  static unsigned CodeAt(int blockX, int blockY) {
    return static_cast<unsigned>(blockX * 37 + blockY * 101 + blockX * blockY) % 4096;
  }
  /// The four pixels of a code in one of the four lookup tables, below 216.
  static unsigned char TablePixel(int table, unsigned code, int pixel) {
    return static_cast<unsigned char>((code * 7 + static_cast<unsigned>(table * 53 + pixel * 29)) % 216);
  }
  static unsigned char PlainPixel(int x, int y) { return static_cast<unsigned char>((x * 3 + y * 7 + x * y) % 216); }
  static unsigned char Color(int plane, int index) {
    return static_cast<unsigned char>(index * (2 * plane + 3) + 11 * plane);
  }
  static int Count(int index) { return 1000 + 3 * index; }

  RpfFrameBuilder& LittleEndian();
  /// Pixels of 8 bits and not codes of 12.
  RpfFrameBuilder& Plain();
  /// The first colour table: its id, its entries, and the bytes that the file says an entry has.
  RpfFrameBuilder& ColorTable(int id, int numEntries, int entryBytes);
  RpfFrameBuilder& Grey() { return ColorTable(3, 217, 1); }
  /// Bytes from count to count in the histogram, 0 for a frame without one.
  RpfFrameBuilder& Histogram(int recordBytes);
  /// Subframes that the frame does not have, by a mask of records of so many bytes.
  RpfFrameBuilder& Absent(const std::set<int>& subframes, int recordBytes = 4);
  /// A transparency mask with this code; entry i is 5 * i.
  RpfFrameBuilder& Transparent(int code);
  /// What a pixel of a plain frame is, instead of `PlainPixel`.
  RpfFrameBuilder& AllPixels(unsigned char value);
  /// All four lookup tables are the first one, which the file then has once.
  RpfFrameBuilder& OneLookupTable();
  RpfFrameBuilder& LookupRecords(int count);
  /// The ids of the four lookup tables.
  RpfFrameBuilder& LookupIds(const std::array<int, 4>& ids);
  RpfFrameBuilder& Coverage(const std::array<double, 12>& values);
  /// Bytes between the location section and the first component.
  RpfFrameBuilder& Gap(std::size_t bytes);
  RpfFrameBuilder& Without(int id);
  /// Other bytes in place of a component.
  RpfFrameBuilder& Replace(int id, std::vector<unsigned char> bytes);

  std::vector<unsigned char> Build() const { return MakeFile().Build(); }
  RpfBuilder MakeFile() const;
  /// The pixel before any transparency: 0 where the subframe is absent.
  unsigned char PixelAt(int x, int y) const;

 private:
  RpfBytes MakeCompression() const;
  RpfBytes MakeLookup() const;
  RpfBytes MakeColors() const;
  RpfBytes MakeDescription() const;
  RpfBytes MakeMasks() const;
  RpfBytes MakeSpatial() const;
  bool IsAbsent(int x, int y) const { return absent_.count(y / 256 * 6 + x / 256) != 0; }
  std::uint32_t SubframeBytes() const { return isPlain_ ? 65536 : 6144; }
  RpfBytes Bytes() const { return RpfBytes(littleEndian_); }

  bool littleEndian_ = false;
  bool isPlain_ = false;
  int colorTable_ = 2;
  int numEntries_ = 216;
  int entryBytes_ = 4;
  int histogramBytes_ = 4;
  bool hasMask_ = false;
  std::set<int> absent_;
  int maskRecordBytes_ = 4;
  int transparent_ = -1;
  int allPixels_ = -1;
  bool hasOneTable_ = false;
  int lookupRecords_ = 4;
  std::array<int, 4> lookupIds_ = {1, 2, 3, 4};
  std::array<double, 12> coverage_ = {31.25, -99.5, 29.0,  -99.5, 31.25,  -97.0,
                                      29.0,  -97.0, 150.0, 140.0, 0.0015, 0.0017};
  std::size_t gap_ = 0;
  std::set<int> without_;
  std::map<int, std::vector<unsigned char>> replaced_;
};

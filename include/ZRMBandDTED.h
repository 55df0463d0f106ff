#pragma once

#include "XFile.h"
#include "XPixelStorage.h"
#include "XSpatialReference.h"
#include "XString.h"
#include "XThreadSafeArr.h"
#include "ZRMBandDRIO.h"

#include <cstdint>
#include <vector>

class XThread;

/// The one band of a DTED elevation cell: heights in metres, data type 4 (signed 16 bits), north up.
///
/// The whole cell is decoded when it is opened, and reads copy from memory: any number of threads may read the band.
/// Unknown heights are 0. Pixel (x, y) is the post x steps east and y steps south of the north-west corner, and the
/// upper-left place of the band is that of the corner's post itself. Level n takes every 2^n-th post of every 2^n-th
/// row.
class ZRKIO_API ZRMBandDTED : public ZRMBandDRIO {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandDTED();
  ~ZRMBandDTED() override;

  /// Opens a cell and decodes it. On 0 `err`, which is emptied first, says that it can't be opened; it stays empty
  /// where the file asks for a size that can't be, where memory ran out, and where the thread was asked to stop. With a
  /// thread every column is reported, and a stop is heard at every column. Columns that the file does not hold are 0.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The first part of `ReadFile`: opens the file, knows it, and takes over size, place and system. 1 or 0. Heights
  /// stay as they were.
  int Open(XString path);
  /// The steps of `Open`, on the file that is open. The first answers 0 where the first record is one that can't be.
  int ExtractDataTypeInfo();
  void ExtractDataInfo();
  void ExtractLeaderInfo();

  /// Byte offset of the first column in the file.
  std::int64_t GetDataStart() const { return dataStart_; }
  /// As "DTED1".
  const XString& GetProductDesignator() const { return productDesignator_; }

  using ZRMBandDRIO::GetHighestLevelForTarget;
  using ZRMBandDRIO::ReadSubset;
  int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height) override;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override;
  int CalcStatistics(int withHistogram) override;
  /// Frees the calling thread's result; the heights stay.
  int CleanupMemory(int freeBuffers, int force) override;
  int CloneBand(ZRMBand* source) override;

 private:
  int OpenFile(const XString& path);
  /// Heights row by row. Room is made for those columns only that the file holds in part at least.
  struct Grid {
    zrk::PixelStorage heights;
    bool isThere = false;
    int width = 0;
    int height = 0;
    int numColumns = 0;  // that there is room for
    int numFilled = 0;   // that are decoded; all others are 0
  };

  std::int64_t CalcColumnBytes() const { return 8 + 2 * std::int64_t{latitudePoints_} + 4; }
  int CountHeldColumns() const;
  bool MakeGrid();
  int FillGrid(XThread* thread);
  void DecodeColumns(int numColumns, std::vector<unsigned char>& columns);
  void CopyHeights(int level, int x0, int y0, tagXArr2& result) const;

  Grid grid_;
  XThreadSafeArr2 results_;
  XFile file_;
  XSpatialReference system_;
  std::vector<unsigned char> leader_;
  std::size_t shift_ = 0;
  std::int64_t dataStart_ = 0;
  XString productDesignator_;
  float south_ = 0.0f;
  float west_ = 0.0f;
  float north_ = 0.0f;
  float east_ = 0.0f;
  float xStep_ = 0.0f;
  float yStep_ = 0.0f;
  int longitudeLines_ = 0;
  int latitudePoints_ = 0;
};

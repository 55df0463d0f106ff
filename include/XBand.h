#pragma once

#include "tagXArr2.h"
#include "XDataType.h"
#include "XObject.h"
#include "XReadPolicy.h"
#include "XString.h"

#include <array>
#include <cstdint>

class ZRMBand;

/// The generic image plane: one channel of one image, addressed in full-resolution pixels whatever the level.
///
/// **Windows** are inclusive and come as x0, x1, y0, y1 with 0 <= x0 <= x1 < width and 0 <= y0 <= y1 < height. x is the
/// column and y the row; row 0 is at the top. **Level** n means a reduction of 2^n; level 0 is full resolution.
/// **Results** are 1 for success and 0 for failure, and a failed read leaves its outputs as they were.
///
/// Several threads may read one band at once. Fields are set before the band is shared, or by one thread alone. No read
/// throws. A band of a dataset is valid as long as the dataset. A buffer that a band hands out is never freed by the
/// caller.
class ZRKIO_API XBand : public XObject {
  X_DECLARE_RUNTIME_CLASS
  XBand();
  ~XBand() override;

  // The virtual table, in the order that every band class has it.

  /// A code of `XDataType.h`, which says the type and the bytes of a sample; 1 (unsigned bytes) at first. Samples in
  /// every buffer have it, in the byte order of the machine.
  virtual int GetDataType() const;

  // Lines and pixels. A horizontal line at level n stands for 2^n rows from `y` down. A vertical line stands for 2^n
  // columns from `x` to the right. Both call `ReadSubset` and return its result. The short forms read the whole width
  // or height.

  /// The columns x0 to x1 of a row. At a level above 0 the rows y to y + 2^n - 1 have to lie in the band.
  virtual int ReadLineH(tagXArr2*& out, int level, int x0, int x1, int y);
  /// A whole row, 0 to width - 1.
  virtual int ReadLineH(tagXArr2*& out, int level, int y);
  /// The rows y0 to y1 of a column. At a level above 0 the columns x to x + 2^n - 1 have to lie in the band.
  virtual int ReadLineV(tagXArr2*& out, int level, int x, int y0, int y1);
  /// A whole column, 0 to height - 1.
  virtual int ReadLineV(tagXArr2*& out, int level, int x);
  /// One sample, at level 0. A loop over many pixels is much slower than one read of their window.
  virtual int ReadPixel(tagXArr2*& out, int x, int y);

  // Writes at level 0. `data` holds the samples of the line or window, row by row. With `keepNull`, samples equal to
  // `nullValue` leave what is there. The base forms all end in the last `WriteSubset`, which gives 0: a band is
  // read-only unless its class says otherwise.

  /// The columns x0 to x1 of a row; `data` holds x1 - x0 + 1 samples of the band's type.
  virtual int WriteLineH(void* data, int x0, int x1, int y, bool keepNull, double nullValue);
  /// A whole row.
  virtual int WriteLineH(void* data, int y, bool keepNull, double nullValue);
  /// The same from a buffer of one row, whose width is that of the window.
  virtual int WriteLineH(tagXArr2* data, int x0, int x1, int y, bool keepNull, double nullValue);
  virtual int WriteLineH(tagXArr2* data, int y, bool keepNull, double nullValue);
  /// The rows y0 to y1 of a column; `data` holds y1 - y0 + 1 samples of the band's type.
  virtual int WriteLineV(void* data, int x, int y0, int y1, bool keepNull, double nullValue);
  /// A whole column.
  virtual int WriteLineV(void* data, int x, bool keepNull, double nullValue);
  /// The same from a buffer of one column, whose height is that of the window.
  virtual int WriteLineV(tagXArr2* data, int x, int y0, int y1, bool keepNull, double nullValue);
  virtual int WriteLineV(tagXArr2* data, int x, bool keepNull, double nullValue);
  /// One sample of the band's type.
  virtual int WritePixel(void* data, int x, int y, bool keepNull, double nullValue);
  /// The same from a buffer of one sample.
  virtual int WritePixel(tagXArr2* data, int x, int y, bool keepNull, double nullValue);

  /// The level that suits a picture of `width` by `height` pixels. The picture shows the area between four corners in
  /// world coordinates. Returns 0 for a band without such coordinates.
  virtual int GetHighestLevelForTarget(double cornerX0, double cornerY0, double cornerX1, double cornerY1,
                                       double cornerX2, double cornerY2, double cornerX3, double cornerY3, int width,
                                       int height);
  /// The level that suits a picture of `width` by `height` pixels of the window. It is the highest level that still has
  /// a pixel for each pixel of the picture.
  virtual int GetHighestLevelForTarget(int x0, int x1, int y0, int y1, int width, int height);

  /// Bytes that a processing step may allow for one row: width times sample size times 10. It is cut to the range of an
  /// int, and 0 for a size that is not positive.
  virtual int CalcProcessWidthBytes();

  /// As the form below, but gives the samples and their shape in place of the buffer. The samples belong to the band,
  /// and are valid as long as that buffer.
  virtual int ReadSubset(void*& data, int& width, int& height, int level, int x0, int x1, int y0, int y1, int* cancel);
  /// Reads a window. `out` receives a buffer that belongs to the band. The buffer is valid until the calling thread's
  /// next read of any band of the same file, since one read serves all channels. The buffer has ((x1 - x0 + 1) >>
  /// level) columns and ((y1 - y0 + 1) >> level) rows. If either number is 0, the read fails. Some bands answer every
  /// level at full resolution, so take the shape from the buffer. `cancel` may be null. If the int behind it becomes 1,
  /// the read stops and fails.
  virtual int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel);

  /// Writes what the band holds itself; 0 in every band here.
  virtual int WriteSubset(int x0, int x1, int y0, int y1, bool keepNull, double nullValue);
  /// `data` holds the window's samples row by row without gaps, and is not kept. Returns 0 for null and for a window
  /// outside.
  virtual int WriteSubset(void* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue);
  /// The buffer has the shape of the window; another one fails, with nothing written.
  virtual int WriteSubset(tagXArr2* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue);

  /// The number of levels the band can serve. The base form is the level of `Xepot::CalcProperLevel` for the size and
  /// the tile size: 0 for an image within one tile.
  virtual int GetLevel();
  /// The position of a window on its level and the size that a read returns: `left` is x0 >> level, `top` is y0 >>
  /// level. Returns 1, or 0 if the window lies outside the band or the level leaves no column or no row of it. On 0 the
  /// outputs stay as they were.
  virtual int GetSubsetInfo(int level, int x0, int x1, int y0, int y1, int& left, int& top, int& width, int& height);
  /// The edges of a window on its level, inclusive: x0, x1, y0 and y1, each >> level. Returns 1, or 0 for a window
  /// outside the band or a level below 0 or above 30, with the outputs as they were.
  virtual int GetSubsetPos(int level, int x0, int x1, int y0, int y1, int& left, int& right, int& top, int& bottom);

  /// Sets minimum, maximum, mean and deviation, and with a nonzero argument the histogram. In the compatible policy
  /// they are estimated from the coarsest level. In the exact policy they are those of all pixels. Samples equal to the
  /// null value and samples that are not finite are left out.
  virtual int CalcStatistics(int withHistogram);
  /// With `freeBuffers` nonzero, frees the calling thread's buffers if `force` is nonzero or if at most 20.0 percent of
  /// the physical memory is free. Returns 1. The base form has nothing to free.
  virtual int CleanupMemory(int freeBuffers, int force);
  /// Completes the lower levels of a pyramid store after its top level is written; only such stores do something.
  virtual int BuildLowerLevelsForTIP(double nullValue, int first, int last, int firstRow, int lastRow, bool thematic);
  /// Takes over the fields of another band, all but its owner and output store; pixels stay where they are. Returns 0
  /// for null.
  virtual int CloneBand(ZRMBand* source);

  // Fields.

  /// Bytes of a sample, by the data type; 0 for code 0.
  int GetDataSize() const { return XfnGetDataSize(dataType_); }

  /// How the band reads. A new band has the policy of `XfnSetDefaultReadPolicy`, and a loader gives bands the policy of
  /// their dataset.
  XReadPolicy GetReadPolicy() const { return readPolicy_; }
  bool IsExact() const { return readPolicy_ == kReadExact; }
  /// Set it before the band opens its file, because an open band has planned its reads. A follower has its master's
  /// policy.
  void SetReadPolicy(XReadPolicy policy) { readPolicy_ = policy; }

  /// A number and a name for the caller's own use; loaders set the name ("Channel 1" and so on). They need not be
  /// unique, and nothing is looked up by them. 0 and empty at first.
  int GetID() const { return id_; }
  void SetID(int id) { id_ = id; }
  const XString& GetBandName() const { return name_; }
  void SetBandName(const XString& name) { name_ = name; }
  /// Byte offset of the band's data in its file, for formats whose data lie in one piece; 0 at first.
  std::int64_t GetOffsetInFile() const { return offsetInFile_; }
  void SetOffsetInFile(std::int64_t offset) { offsetInFile_ = offset; }
  /// A code of `XDataType.h`, 0 to 29, which is not checked. Loaders set it. Setting another one converts no samples.
  void SetDataType(int dataType) { dataType_ = dataType; }

  /// Width and height in full-resolution pixels, 0 at first. Loaders set them; setting others does not change what the
  /// file has, and a read beyond that fails.
  int GetXSize() const { return xSize_; }
  int GetYSize() const { return ySize_; }
  void GetSize(int& xSize, int& ySize) const {
    xSize = xSize_;
    ySize = ySize_;
  }
  void SetXSize(int xSize) { xSize_ = xSize; }
  void SetYSize(int ySize) { ySize_ = ySize; }
  void SetSize(int xSize, int ySize) {
    xSize_ = xSize;
    ySize_ = ySize;
  }

  /// The tile size that the level count is computed from, in pixels; 256 by 256 at first. It need not be that of the
  /// file.
  int GetXTileSize() const { return xTileSize_; }
  int GetYTileSize() const { return yTileSize_; }
  void GetTileSize(int& xTileSize, int& yTileSize) const {
    xTileSize = xTileSize_;
    yTileSize = yTileSize_;
  }
  /// A change of the tile size changes the number of levels of the base form. It does not change how the file is laid
  /// out.
  void SetXTileSize(int xTileSize) { xTileSize_ = xTileSize; }
  void SetYTileSize(int yTileSize) { yTileSize_ = yTileSize; }
  void SetTileSize(int xTileSize, int yTileSize) {
    xTileSize_ = xTileSize;
    yTileSize_ = yTileSize;
  }

  /// How the pixels are kept in the file, as the store's class tells; 0 where it does not matter.
  int GetCompressionInfo() const { return compressionInfo_; }
  /// For loaders and writers; a change compresses nothing.
  void SetCompressionInfo(int compressionInfo) { compressionInfo_ = compressionInfo; }

  /// The statistics of the band as they were calculated or loaded, in sample units: 1.7e+308 where they were not. Byte
  /// bands begin with the range 0 to 255. `CalcStatistics` replaces all four.
  double GetBandMin() const { return bandMin_; }
  double GetBandMax() const { return bandMax_; }
  double GetBandMean() const { return bandMean_; }
  double GetBandStdDev() const { return bandStdDev_; }
  /// These four set what the getters give. The file and the histogram stay as they are.
  void SetBandMin(double bandMin) { bandMin_ = bandMin; }
  void SetBandMax(double bandMax) { bandMax_ = bandMax; }
  void SetBandMean(double bandMean) { bandMean_ = bandMean; }
  void SetBandStdDev(double bandStdDev) { bandStdDev_ = bandStdDev; }

  /// 256 counts over the range from the band's minimum to its maximum; all 0 until they are calculated or loaded. The
  /// array belongs to the band and keeps its address.
  std::int64_t* GetHistogram() { return histogram_.data(); }
  const std::int64_t* GetHistogram() const { return histogram_.data(); }
  /// Copies 256 counts. Null is ignored, and the counts stay.
  void SetHistogram(const std::int64_t* histogram);

  /// The number of rows that the source decodes together; 1 if any read costs the same. A read decodes nothing twice if
  /// its first row and its number of rows are multiples of this number.
  int GetDecodeRows() const { return decodeRows_; }
  /// The number of columns that lie together in the source, as in a tile; 0 if whole rows lie together. A read costs no
  /// more than its share of whole rows if its first column and its width are multiples of this number.
  int GetDecodeColumns() const { return decodeColumns_; }

  /// The sample that stands for no data; 1.7e+308 (`kNotSet`) for a band that has no such sample. Statistics and means
  /// leave it out.
  double GetNullValue() const { return nullValue_; }
  /// Counts for statistics and means from the next call on. Statistics that are there are not made anew.
  void SetNullValue(double nullValue) { nullValue_ = nullValue; }

 protected:
  /// For constructors and loaders of band classes; see the getters.
  void SetDecodeRows(int decodeRows) { decodeRows_ = decodeRows; }
  void SetDecodeColumns(int decodeColumns) { decodeColumns_ = decodeColumns; }
  /// Whether buffers are to be freed: where `force` is nonzero, or free physical memory is at or below 20.0 percent.
  static bool IsMemoryWanted(int force);
  /// Whether the window is a valid one of this band.
  bool IsInside(int x0, int x1, int y0, int y1) const {
    return 0 <= x0 && x0 <= x1 && x1 < xSize_ && 0 <= y0 && y0 <= y1 && y1 < ySize_;
  }
  /// Whether an image of int sizes can have a pixel at the level.
  static bool IsLevel(int level) { return 0 <= level && level <= 30; }

  // Copying is for `CloneBand`; from outside it would cut a band down to this part of it.
  XBand(const XBand&) = default;
  XBand& operator=(const XBand&) = default;

 private:
  XReadPolicy readPolicy_ = XfnGetDefaultReadPolicy();
  int id_ = 0;
  XString name_;
  std::int64_t offsetInFile_ = 0;
  int dataType_ = kPint08;
  int xSize_ = 0;
  int ySize_ = 0;
  int xTileSize_ = 256;
  int yTileSize_ = 256;
  int compressionInfo_ = 0;
  double bandMin_ = kNotSet;
  double bandMax_ = kNotSet;
  double bandMean_ = kNotSet;
  double bandStdDev_ = kNotSet;
  std::array<std::int64_t, 256> histogram_{};
  double nullValue_ = kNotSet;
  int decodeRows_ = 1;
  int decodeColumns_ = 0;
};

#pragma once

#include "XString.h"
#include "ZRMBandFile.h"

#include <cstdint>

class XThread;

/// The one band of a DTED elevation cell: heights in metres, data type 4 (signed 16 bits), north up.
///
/// The whole cell is decoded when it is opened, and reads copy from memory: any number of threads may read the band.
/// Under the compatible policy unknown heights are 0. Under the exact policy unknown heights are -32767, which is then
/// the null value. Columns lie where their records say, and the heights of missing columns are unknown. A read fails if
/// it takes a height behind the end of the file, or a height of a record whose checksum is wrong. Pixel (x, y) is the
/// post x steps east and y steps south of the north-west corner. The upper-left place of the band is that of the
/// corner's post itself. Level n takes every 2^n-th post of every 2^n-th row.
class ZRKIO_API ZRMBandDTED : public ZRMBandFile<ZRMBandDRIO> {
  X_DECLARE_RUNTIME_CLASS
  ZRMBandDTED();
  ~ZRMBandDTED() override;

  /// Opens a cell and decodes it. Returns 1 or 0. `err` is emptied first. On 0 it says that the cell can't be opened.
  /// It stays empty if the file asks for an impossible size, if memory runs out, and if the thread was asked to stop.
  /// With a thread every column is reported, and a stop is heard at every column. Columns that the file does not hold
  /// are 0.
  int ReadFile(XString path, XString& err, XThread* thread);

  /// The first part of `ReadFile`: opens the file, knows it, and takes over size, place and system. Returns 1 or 0.
  /// Heights stay as they were.
  int Open(XString path);
  /// The steps of `Open`, on the file that is open. The first answers 0 where the first record is one that can't be.
  int ExtractDataTypeInfo();
  void ExtractDataInfo();
  void ExtractLeaderInfo();

  /// Byte offset of the first column in the file.
  std::int64_t GetDataStart() const;
  /// As "DTED1".
  const XString& GetProductDesignator() const;

 private:
  struct Impl;
  Impl& GetImpl() const;
  int OpenFile(const XString& path);
  void PlacePosts();
};

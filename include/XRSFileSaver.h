#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstdint>
#include <memory>

class XFile;
class XRSFile;
class XThread;
class ZRMBand;
struct XRSScanSensorParam;

/// Writes what is known of a dataset as XML, which `XRSFile::LoadStringZRM` reads, and with an output file lays out a
/// native raster file.
///
/// Call `WriteInitTags` first, then for each band `WriteBandTag` and the groups of fields wanted, then the groups of
/// the dataset, then `GetXML` or `Save`. A group written again replaces the one before. Null arguments, and groups of a
/// band before the first `WriteBandTag`, write nothing. Nothing handed over is kept but the output file. One thread at
/// a time; where memory runs out `std::bad_alloc` is thrown.
class ZRKIO_API XRSFileSaver {
 public:
  XRSFileSaver();
  ~XRSFileSaver();
  XRSFileSaver(const XRSFileSaver&) = delete;
  XRSFileSaver& operator=(const XRSFileSaver&) = delete;

  /// Band bodies and `Save` go to this open file, which stays the caller's and has to outlive the saver. Its first 16
  /// bytes are written: "ZRM.", a version, and an offset that says that the file is not finished.
  void SetFileOutputData(XFile* file);
  /// Null without one.
  XFile* GetOutputFile() const;
  /// Where the next band body or the XML goes: 16 at first.
  std::int64_t GetDataEnd() const;
  void SetDataEnd(std::int64_t offset);

  /// Kept with the dataset: the text that a loaded dataset has as `GetCryptoVaildationInfo`, and two numbers of the
  /// writing program, which are only recorded.
  void SetCryptoVaildationInfo(const XString& info);
  void SetWriterFlags(int first, int second);

  /// Opens the document; what was written before is gone.
  void WriteInitTags();
  /// Starts the next band; the groups of a band go to it from now on.
  void WriteBandTag();

  // The body of a band.

  /// Writes the pixels of the band's window to the output file at `GetDataEnd`, with `level` reduced levels, moves that
  /// on, and records place, layout and statistics. A `mode` of 0 or 100 keeps the samples as they are; every other one
  /// compresses them without loss. Progress runs from `percentStart` over `percentSpan`. 0 on failure, with the
  /// sentence in `err`, which stays as it was where the thread was stopped.
  int CopyBandData(ZRMBand* band, int level, int x0, int x1, int y0, int y1, int mode, XThread* thread,
                   int percentStart, int percentSpan, XString& err);
  /// Where the band's body lies in the output file, in bytes.
  void WriteBandDataPlace(std::int64_t offset, std::int64_t size);
  /// Layout and statistics of a body that was written by other means; a null histogram is left out. The band itself
  /// adds nothing to it and may be null.
  void CopyBandInfo(ZRMBand* band, long levels, long xTile, long yTile, long width, long height, long dataType,
                    int compression, double min, double max, double mean, double stdDev, const std::int64_t* histogram);

  // Groups of fields of a band.

  /// Id, name, kind of band and null value.
  void CopyBandBasicInfo(ZRMBand* band);
  /// The corner of a window of the band, and the pixel sizes.
  void CopyBandCoord(ZRMBand* band, int x0, int x1, int y0, int y1);
  /// The corner and the pixel sizes as given.
  void WriteBandCoordInfo(double ULX, double ULY, double xPixelSize, double yPixelSize);
  /// Projection, kinds of coordinates, and the flag of normalized world coordinates.
  void CopyBandMapInfo(ZRMBand* band);
  /// The pixel sizes, unless the current band already has some.
  void CopyBandPixelSize(ZRMBand* band);
  void CopyBandSceneOrient(ZRMBand* band);
  /// Sensor, date, wavelength, altitude, incidence angle, and the sensor model with its scan parameters.
  void CopyBasicSensorParams(ZRMBand* band);
  void CopyGainBias(ZRMBand* band);
  void CopySunParams(ZRMBand* band);
  void CopyGISDataSet(ZRMBand* band);
  void CopyImageCenter(ZRMBand* band);
  /// Radar parameters, orbit, beam and subset.
  void CopyBandSarParam(ZRMBand* band);
  /// The sensor model as given, for a window whose offset differs from the band's.
  void WriteAdditionalSensorParams(int useSensorModel, double focalLength, double cellSize, XString originCorner,
                                   double offsetX, double offsetY, double scaleX, double scaleY);
  void WriteScanSensorParams(XRSScanSensorParam* param);

  // Groups of fields of the dataset. A list that is empty leaves no trace in the text.

  /// Description, version, threshold, flag, matrices and radar scene. A matrix is written where it is of the number of
  /// bands that the dataset has.
  void CopyFileDescription(XRSFile* dataset);
  void CopyGCPDataSet(XRSFile* dataset);
  void CopyROIDataSetAll(XRSFile* dataset);
  void CopySIGDataSetAll(XRSFile* dataset);

  /// The text so far.
  XString GetXML() const;
  /// Writes the text behind the last body and then, once all is on the medium, its offset into the header: the file is
  /// complete from that moment on. 1, or 0 without an output file, before `WriteInitTags`, and where it can't be
  /// written.
  int Save();

 private:
  struct Document;
  std::unique_ptr<Document> document_;
};

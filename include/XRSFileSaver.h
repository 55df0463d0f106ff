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
  /// A saver without an output file, whose document is not opened yet.
  XRSFileSaver();
  ~XRSFileSaver();
  XRSFileSaver(const XRSFileSaver&) = delete;
  XRSFileSaver& operator=(const XRSFileSaver&) = delete;

  /// Band bodies and `Save` go to this open file, which stays the caller's and has to outlive the saver. Its first 16
  /// bytes are written: "ZRM.", a version, and an offset that says that the file is not finished. Null takes the file
  /// away. A file that can't be written is told by `Save`.
  void SetFileOutputData(XFile* file);
  /// The file of `SetFileOutputData`; null without one.
  XFile* GetOutputFile() const;
  /// Where the next band body or the XML goes, in bytes from the beginning of the file. It is 16 for a new file: the
  /// header comes first.
  std::int64_t GetDataEnd() const;
  /// For bodies that are written by other means: the offset behind the last of them. It is not checked.
  void SetDataEnd(std::int64_t offset);

  /// Kept with the dataset: the text that a loaded dataset has as `GetCryptoVaildationInfo`, and two numbers of the
  /// writing program, which are only recorded.
  void SetCryptoVaildationInfo(const XString& info);
  void SetWriterFlags(int first, int second);

  /// Opens the document; what was written before is gone. Nothing can be written before it.
  void WriteInitTags();
  /// Starts the next band; the groups of a band go to it from now on.
  void WriteBandTag();

  // The body of a band.

  /// Writes the pixels of the band's window to the output file at `GetDataEnd`, with `level` reduced levels, moves that
  /// on, and records place, layout and statistics. A `mode` of 0 or 100 keeps the samples as they are; every other one
  /// compresses them without loss. Progress runs from `percentStart` over `percentSpan`. Returns 0 on failure, with the
  /// sentence in `err`, which stays as it was where the thread was stopped. `GetDataEnd` then stays too, so that the
  /// next body is written over the failed one. Returns 0 for a null band and for a file that is missing or closed.
  int CopyBandData(ZRMBand* band, int level, int x0, int x1, int y0, int y1, int mode, XThread* thread,
                   int percentStart, int percentSpan, XString& err);
  /// Where the band's body lies in the output file, in bytes. The place is recorded and not checked.
  void WriteBandDataPlace(std::int64_t offset, std::int64_t size);
  /// Layout and statistics of a body that was written by other means; a null histogram is left out. The band itself
  /// adds nothing to it and may be null. The histogram has 256 counts.
  void CopyBandInfo(ZRMBand* band, long levels, long xTile, long yTile, long width, long height, long dataType,
                    int compression, double min, double max, double mean, double stdDev, const std::int64_t* histogram);

  // Groups of fields of a band.

  /// Id, name, kind of band and null value.
  void CopyBandBasicInfo(ZRMBand* band);
  /// The upper left corner of a window of the band, and the pixel sizes. Edges are in pixels of the band; the lower
  /// right one is not used.
  void CopyBandCoord(ZRMBand* band, int x0, int x1, int y0, int y1);
  /// The corner and the pixel sizes as given.
  void WriteBandCoordInfo(double ULX, double ULY, double xPixelSize, double yPixelSize);
  /// Projection as WKT, kinds of coordinates, and the flag of normalized world coordinates. A system that can't be told
  /// whole as WKT is left out.
  void CopyBandMapInfo(ZRMBand* band);
  /// The pixel sizes, unless the current band already has some.
  void CopyBandPixelSize(ZRMBand* band);
  /// The angle of the columns against north, in degrees.
  void CopyBandSceneOrient(ZRMBand* band);
  /// Sensor, date, wavelength, altitude, incidence angle, and the sensor model with its scan parameters. A save of a
  /// window writes the model again by `WriteAdditionalSensorParams`.
  void CopyBasicSensorParams(ZRMBand* band);
  /// What turns samples into physical values.
  void CopyGainBias(ZRMBand* band);
  /// Azimuth and elevation of the sun, in degrees.
  void CopySunParams(ZRMBand* band);
  /// The classes of a thematic band.
  void CopyGISDataSet(ZRMBand* band);
  /// The image centre, in pixels of the band.
  void CopyImageCenter(ZRMBand* band);
  /// Radar parameters, orbit, beam and subset.
  void CopyBandSarParam(ZRMBand* band);
  /// The sensor model as given, for a window whose offset differs from the band's.
  void WriteAdditionalSensorParams(int useSensorModel, double focalLength, double cellSize, XString originCorner,
                                   double offsetX, double offsetY, double scaleX, double scaleY);
  /// The record as given; null writes nothing.
  void WriteScanSensorParams(XRSScanSensorParam* param);

  // Groups of fields of the dataset. A list that is empty leaves no trace in the text.

  /// Description, version, threshold, flag, matrices and radar scene. A matrix is written where it is of the number of
  /// bands that the dataset has.
  void CopyFileDescription(XRSFile* dataset);
  /// All sets of control points with their points.
  void CopyGCPDataSet(XRSFile* dataset);
  /// All regions with their polygons.
  void CopyROIDataSetAll(XRSFile* dataset);
  /// All spectral signatures.
  void CopySIGDataSetAll(XRSFile* dataset);

  /// For level files: writes which image they are made of. It is described by its length in bytes, the times of its
  /// last modification and last change in nanoseconds since 1970, and the fingerprint of its bytes.
  void WriteLevelImage(std::int64_t length, std::int64_t modified, std::int64_t changed, std::uint64_t fingerprint);
  /// For level files: writes that the first level of the band has the most frequent class of each four, and no means.
  void WriteLevelClasses();

  /// The text so far. Its declaration names ISO-8859-1, and texts of the dataset are in it byte for byte. It may be
  /// asked at any time, and more may be written afterwards.
  XString GetXML() const;
  /// Writes the text behind the last body and then, once all is on the medium, its offset into the header: the file is
  /// complete from that moment on. Returns 1, or 0 without an output file, before `WriteInitTags`, and where it can't
  /// be written.
  int Save();

 private:
  struct Document;
  std::unique_ptr<Document> document_;
};

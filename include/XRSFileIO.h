#pragma once

#include "XExport.h"
#include "XFormatId.h"
#include "XLevelMode.h"
#include "XObList.h"
#include "XString.h"

#include <cstdint>

class XRSFile;
class XSpatialReference;
class XThread;

/// The loaders and savers of all formats: from a file name to a format id, from the id to a loader, from a dataset to a
/// file.
///
/// All operations are static. Unless stated they answer 1 for success and 0 for failure with the reason in `err`. A
/// loader runs on the caller's thread and fills `file`, which must not be in use elsewhere; different datasets may be
/// loaded on different threads. `thread` carries progress and cancel and may be null. Level data and statistics never
/// fail a load, so `err` may hold their message beside a result of 1.
///
/// A load of a null dataset gives 0 with "Not Valid XRSFile", unless it says otherwise.
/// A loader or save of a format that this build can't handle gives 0 with a sentence that names the format;
/// `XfnGetFormats` tells beforehand which can be read. A load that fails leaves the dataset as it was.
class ZRKIO_API XRSFileIO {
 public:
  virtual ~XRSFileIO();

  /// The id for an extension without its dot, in any letter case, or `kFormatNone`. The file itself is not looked at:
  /// `XfnFindFormatOfFile` does that.
  static int GetIDFromExt(XString ext);

  /// Loads a raster by the id's loader. With `calcStatistics` nonzero, statistics with histogram are computed where no
  /// level data brought them. `levelMode` is a value of `XLevelMode`. An id that is no raster format's gives 0 with
  /// "Not Supported Type". `XfnOpenFile` does the same for programs that do not care for the id.
  static int LoadFileRaster(XRSFile* file, int id, XString path, XString& err, int calcStatistics, int levelMode,
                            XThread* thread);
  /// Loads a vector file. `sr` is the system of a DGN, DLG or DXF file, which has none of its own; it may be null. NITF
  /// and KML are not routed: call their loaders. Any other id gives 0 with "Not Supported Type".
  static int LoadFileVector(XRSFile* file, int id, XString path, XSpatialReference* sr, XString& err, XThread* thread);

  /// Raw imports are not supported: always 0 with "Not Supported Type".
  static int LoadFileGeneral(XRSFile* file, int id, XString path, int, int, int, int, int, XString& err,
                             XThread* thread);
  /// These three add nothing and answer 1, for a null dataset too.
  static int LoadFileBIL(XRSFile* file, int id, XString path, int, int, int, int, int, XString& err, XThread* thread);
  static int LoadFileBIP(XRSFile* file, int id, XString path, int, int, int, int, int, XString& err, XThread* thread);
  static int LoadFileBSQ(XRSFile* file, int id, XString path, int, int, int, int, int, XString& err, XThread* thread);

  // Raster loaders. On success the dataset has one band a channel, the first of them the master of the others, and its
  // name and path are `path`. BMP and JPEG take their georeference from a world file, whose name is that of the image
  // with ".bmw" or ".jpw" in place of its last four characters. All bands of the dataset get its pixel sizes, its
  // corner and kind 2. Without a world file they get pixel size 1.0, the corner (0.0, height) and kind 1.

  /// The native raster. Statistics and levels come from the file itself.
  static int LoadFileZRM(XRSFile* file, XString path, XString& err, XThread* thread);
  /// TIFF and GeoTIFF. The georeference comes from the file, or else from a world file beside it.
  static int LoadFileTIF(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode, XThread* thread);
  /// Reads the header; the first read of a band decodes the image.
  static int LoadFileJPG(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode, XThread* thread);
  /// 8 to 32 bits a pixel, uncompressed.
  static int LoadFileBMP(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode, XThread* thread);
  /// One band of heights in metres; unknown heights are 0.
  static int LoadFileDTED(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                          XThread* thread);
  /// One band a channel, where a decoder of MrSID is installed; see `ZRMBandMrSID`.
  static int LoadFileSID(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode, XThread* thread);
  /// JPEG 2000 files and codestreams, one band a component; see `ZRMBandJ2K`.
  static int LoadFileJP2(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode, XThread* thread);
  /// One frame, of one grey band, which has no level data.
  static int LoadFileCIB(XRSFile* file, XString path, XString& err, int calcStatistics, XThread* thread);
  /// One frame, of a band for each channel of its colours; the bands have no level data.
  static int LoadFileCADRG(XRSFile* file, XString path, XString& err, int calcStatistics, XThread* thread);
  /// The images of a scanning sensor and the document beside them, as one band; see `ZRMBandHawk`. In the compatible
  /// policy the level mode is the band's own, and the caller's has no part in it.
  static int LoadFileHAWK(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                          XThread* thread);
  /// The bands of the first image of a NITF file; see `ZRMBandNITF`.
  static int LoadFileNITFIMG(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                             XThread* thread);
  /// One band a layer; see `ZRMBandHFA`.
  static int LoadFileHFA(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode, XThread* thread);
  /// One band of bytes.
  static int LoadFileHDF4(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode,
                          XThread* thread);
  /// One band a channel, where a decoder of ECW is installed; see `ZRMBandECW`.
  static int LoadFileECW(XRSFile* file, XString path, XString& err, int calcStatistics, int levelMode, XThread* thread);
  /// Four bands, red, green, blue and alpha, of a store of pictures of the globe; see `ZRMBandPBI`.
  static int LoadFilePBI(XRSFile* file, XString path, XString& err, XThread* thread);
  /// One band of heights of a store of the globe; see `ZRMBandPBE`.
  static int LoadFilePBE(XRSFile* file, XString path, XString& err, XThread* thread);
  /// Four bands, red, green, blue and alpha, of a sparse tile store; see `ZRMBandTXID`.
  static int LoadFileTXID(XRSFile* file, XString path, XString& err, XThread* thread);

  // Vector loaders. On success the dataset has one more `ZRMVand`, and its name and path are `path`. `sr` may be null;
  // otherwise it becomes the set's system: after the load for DXF, DGN and DLG, before it for NITF. A KML file sets the
  // dataset's own system, where there is one, to "WGS84" and takes that.

  static int LoadFileXVC(XRSFile* file, XString path, XString& err, XThread* thread);
  /// Layers with their counts, extents and systems.
  static int LoadFileSHP(XRSFile* file, XString path, XString& err, XThread* thread);
  /// Takes no system: coordinates are longitude and latitude.
  static int LoadFileKML(XRSFile* file, XString path, XString& err, XThread* thread);
  static int LoadFileDXF(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread);
  static int LoadFileDGN(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread);
  static int LoadFileDLG(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread);
  static int LoadFileNITF(XRSFile* file, XString path, XSpatialReference* sr, XString& err, XThread* thread);
  /// As `LoadFileNITF`; see `ZRMVand::LoadFileEx` for the list and the number.
  static int LoadFileNITFEx(XRSFile* file, XString path, XSpatialReference* sr, XObList& objects, int* numObjects,
                            XString& err, XThread* thread);

  // Saves. A null dataset and an empty path give 0 without a sentence.

  /// The window is inclusive, in pixels of the first band; see `XRSFile2Tiff`. All bands are written, at full
  /// resolution.
  static int SaveFileTiff(XRSFile* file, XString path, int x0, int x1, int y0, int y1, XString& err, XThread* thread);
  /// The last two ints are handed to the writer as they are. `level` is the number of reduced levels to write, and the
  /// window is inclusive; see `XRSFile2ZRM`.
  static int SaveFileZRM(XRSFile* file, XString path, int level, int x0, int x1, int y0, int y1, XString& err,
                         XThread* thread, int compressionMode, int writerFlag1, int writerFlag2);
  /// `quality` is the largest error allowed in a sample; 0.0 is lossless. The rest is as with `SaveFileZRM`.
  static int SaveFileZRMComp(XRSFile* file, XString path, int level, int x0, int x1, int y0, int y1, double quality,
                             XString& err, XThread* thread, int writerFlag1);

  /// The corners of a file, without its pixels being looked at. `x` and `y` have room for four values each, which are
  /// `kNotSet` where nothing else is known. Returns 1 for a native raster, and for a TIFF file with geokeys; 0 for
  /// other files, for files that can't be opened, and for null arrays.
  ///
  /// For a native raster with a spatial reference they are the lower left, lower right, upper right and upper left
  /// corner in its own system. For a native raster without one they come from its sets of control points named
  /// "BOUNDING_GCP". A set of n points sets the first n corners, four at most. All of these get the map coordinates of
  /// one point: the point whose number is that of the set in the list. Raises `std::invalid_argument` if a set with
  /// points lacks that point.
  ///
  /// For a TIFF file they are its first four tie points, or as many as there are. They are in longitude and latitude on
  /// WGS 84 if its system is known. A file with a pixel scale does not list its corners in this way, so none is set.
  static int GetGeoBounding(XString path, double* const x, double* const y);
  /// As above, and tells whether the corners are longitude and latitude on WGS 84; otherwise they are as the file has
  /// them.
  static int GetGeoBounding(XString path, double* const x, double* const y, bool& isLonLat);

  /// The name of the level file that belongs to a raster: its extension replaced by "xld". The path itself where that
  /// is its extension, in any letter case.
  static XString GetFileNameXLD(XString path);
  // Level data. All give 0 without a sentence for a null dataset.

  /// Whether the raster's level file is there and belongs to the dataset, whose bands get their statistics and
  /// descriptive fields from it then.
  static int CheckFileXLD(XRSFile* file, XString path, XString& err, XThread* thread);
  /// Builds the level file of the raster, in place of one that is there: with `kLevelStatistics` the short form, with
  /// `kLevelAsk` and `kLevelBuild` the full one. Returns 0 without a sentence for `kLevelNone`. See `XRSFile2XLD`.
  static int CreateFileXLD(XRSFile* file, XString path, XString& err, int levelMode, XThread* thread);
  /// Attaches the level data of a raster. Level data that is missing or can't be used is built first, as `levelMode`
  /// says; `kLevelAsk` asks the operator by a message box. Returns 1 if the bands that can have level data have a
  /// `ZRMBandXLD` now. Returns 0, with nothing attached, if no level data was found or made, or if the file is damaged
  /// or of another image. Returns 0 also for a dataset whose file has another name than `path`. Fields that the dataset
  /// took from the text of such a file stay.
  static int LoadFileXLD(XRSFile* file, XString path, XString& err, int levelMode, XThread* thread);
  /// Removes the level file of an old raster of `oldLength` bytes. It is for callers that have replaced a raster by
  /// renaming a new file; all saves here do it themselves. A level file of a raster of another length stays, since
  /// rasters that differ only by their extension share the name of the level file. Returns 1 where no such level file
  /// is there any more.
  static int RemoveFileXLD(XString path, std::int64_t oldLength);
  /// Gives the projection in the level file of the dataset another one; pyramids and all else stay.
  static int UpdateFileXLD_SR(XRSFile* file, XSpatialReference* sr, XString& err);
};

/// Whether every band of the dataset has level data. The bands of a native raster have their own, and pass. So do bands
/// with a `ZRMBandXLD`, also with one that holds statistics only. A dataset without bands passes; null does not.
ZRKIO_API bool XfnIsValidZRMLevelData(XRSFile* file);

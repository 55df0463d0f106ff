#pragma once

#include "tagXCodecState.h"
#include "tagXFormat.h"
#include "tagXFormatNotes.h"
#include "tagXLayerOptions.h"
#include "XExport.h"
#include "XFormatId.h"
#include "XString.h"

#include <optional>
#include <span>

class XRSFile;
class XSpatialReference;
class XThread;
class ZRMBand;

// What the library knows of formats, for programs that do not care which format a file has. One call opens a file of
// any format. Programs ask here what differs between formats, and need no id or class.

/// All formats, by id.
ZRKIO_API std::span<const tagXFormat> XfnGetFormats();
/// The format of an id, or null.
ZRKIO_API const tagXFormat* XfnFindFormat(int id);
/// The format of a file, or null for an unknown one. The extension comes first, as `XRSFileIO::GetIDFromExt` takes it.
/// Then come the first bytes: a file that begins like files of another format has that format, whatever its name. A
/// file that can't be read has the format of its extension.
ZRKIO_API const tagXFormat* XfnFindFormatOfFile(const XString& path);
/// The format behind a band, by the band's class; null for a band that no format made.
ZRKIO_API const tagXFormat* XfnFindFormatOfBand(const ZRMBand* band);

/// Looks for the decoder that the format of an id needs, as opening a file of that format would. A format without a
/// decoder, and an unknown id, give a state with its initial values.
ZRKIO_API tagXCodecState XfnFindCodec(int id);

/// Whether the path leads to a file that can be opened and has any bytes, whatever its format. Returns 1; or 0 with the
/// reason in `err`: "No such file", a folder, a device or a pipe, no permission, "The file is empty".
ZRKIO_API int XfnCheckFile(const XString& path, XString& err);

/// How a file is opened.
struct tagXOpenOptions {
  int calcStatistics = 0;  ///< see `XRSFileIO::LoadFileRaster`
  int levelMode = 0;       ///< of `XLevelMode`
  /// The system of a vector file that has none of its own; may be null. It is read during the call only.
  const XSpatialReference* sr = nullptr;
};

/// Opens a file of any format that `XfnFindFormatOfFile` tells, raster or vector, into an empty dataset. Returns 1,
/// with `err` empty; or 0 with the reason in `err`, and the dataset as it was. Level data and statistics that fail
/// leave no message but `kLevelFileIsStale` and `kLevelFileHasMeans`: ask the bands what they have. The rest is as
/// `XRSFileIO` tells of its loaders; `thread` may be null.
ZRKIO_API int XfnOpenFile(XRSFile* file, const XString& path, XString& err, XThread* thread = nullptr,
                          const tagXOpenOptions& options = {});

/// What is to be saved of a dataset.
struct tagXSaveOptions {
  int x0, x1, y0, y1;  ///< the window, inclusive, in pixels of the first band
  int levels = 0;      ///< how many reduced levels are written, at most, where the format takes some
  /// The largest error allowed in a sample, from 0 on, where the format takes one; otherwise samples are kept as they
  /// are.
  std::optional<double> maxError = std::nullopt;
  tagXLayerOptions layers = {};  ///< where the format takes layers; the levels are then told here
};

/// Saves a window of a dataset as a file of a format that has a writer. Returns 1, or 0 with the reason in `err`, which
/// may be empty. A format without a writer answers 0 with "Not Supported Type".
ZRKIO_API int XfnSaveFile(XRSFile* file, const XString& path, int id, const tagXSaveOptions& options, XString& err,
                          XThread* thread = nullptr);

/// Whether the image behind a band is decoded as a whole and kept at its first read. False for null.
ZRKIO_API bool XfnIsDecodedWhole(ZRMBand* band);
/// Does that decoding now, so that `thread` shows its progress and can stop it. Reads of all bands of the file are
/// quick afterwards. Returns 1, also where there is nothing to do; 0 where it failed or was stopped.
ZRKIO_API int XfnDecodeWhole(ZRMBand* band, XThread* thread);

/// What the format of a file has to tell of the file beyond the fields of its dataset. With `isVerbose` it also reads
/// other parts of the file, such as further images. Empty for null and for formats that have nothing to add.
ZRKIO_API tagXFormatNotes XfnDescribeFormat(ZRMBand* first, bool isVerbose);
/// The same of one band.
ZRKIO_API tagXFormatNotes XfnDescribeFormatOfBand(ZRMBand* band);

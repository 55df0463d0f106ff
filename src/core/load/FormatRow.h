#pragma once

#include "tagXFormat.h"
#include "tagXLayerOptions.h"
#include "XObList.h"
#include "XString.h"

#include <array>
#include <memory>
#include <span>
#include <vector>

class XRSFile;
class XSpatialReference;
class XThread;
class ZRMBand;
struct tagXCodecState;
struct tagXFormatNotes;
struct tagXStoreTile;

// All that others need to know of a format stands in its row, which lies in the format's own folder as a constant named
// for it, as `kBmpFormat`. The table in core/dispatch lists the rows. A member that a format has no answer for stays
// null, and the format is then treated as its comment says.

namespace zrk {

class StoreFindings;
struct StoreTilePlace;

/// What the caller of a raster loader asked for. The dataset may be null.
struct RasterCall {
  XRSFile* file;
  const XString& path;
  XString& err;
  int calcStatistics;
  int levelMode;
  XThread* thread;
};

/// What the caller of a vector loader asked for.
struct VectorCall {
  XRSFile* file;
  const XString& path;
  XString& err;
  XThread* thread;
  const XSpatialReference* sr = nullptr;  ///< the caller's system, for files that know none
  XObList* objects = nullptr;             ///< see `ZRMVand::LoadFileEx`; null for a plain load
  int* numObjects = nullptr;
};

/// A dataset to be saved, and how. Writers without levels or compression pass over the fields that they do not take.
struct SaveCall {
  XRSFile* file;
  const XString& path;
  int x0, x1, y0, y1;
  XString& err;
  XThread* thread;
  int level = 0;
  int compressionMode = 0;
  double quality = 0.0;
  int writerFlag1 = 0;
  int writerFlag2 = 0;
  tagXLayerOptions layers = {};
};

/// The four corners that `XRSFileIO::GetGeoBounding` fills.
struct Corners {
  static constexpr int kCount = 4;
  double* x;
  double* y;

  void Set(int corner, double cornerX, double cornerY) const {
    x[corner] = cornerX;
    y[corner] = cornerY;
  }
};

/// Leads from an extension in capitals to a format whose extensions are more than a list of words.
struct ExtensionRule {
  bool (*takes)(const XString& upperExt);
  /// Whether the extension is this format's or nobody's, whatever the other rules say. May be null.
  bool (*claims)(const XString& upperExt) = nullptr;
};

/// The first bytes of a file, or all bytes of a file that is shorter.
using FileHead = std::span<const unsigned char>;
inline constexpr int kFileHeadBytes = 4096;

struct FormatRow {
  tagXFormat format;

  // How a file is recognised.

  /// Null where the words in `format.extensions` are all the extensions.
  const ExtensionRule* extensionRule = nullptr;
  /// Whether a file begins as files of this format do. Null where first bytes tell nothing.
  bool (*isContent)(FileHead head) = nullptr;
  /// Whether a file whose extension says so may be of this format. Null where `isContent` tells that as well.
  bool (*mayBeContent)(FileHead head) = nullptr;
  /// Whether a file whose extension belongs to no format is one of a set of this format, by its name and by what lies
  /// beside it. It is asked before first bytes. Null where files stand alone.
  bool (*isOfSet)(const XString& path) = nullptr;

  // How it is opened. One of the two, or none where this build can't read the format.

  int (*loadRaster)(const RasterCall& call) = nullptr;
  int (*loadVector)(const VectorCall& call) = nullptr;
  /// Opens the bands alone, for formats whose images are files of this one; see `OpenBandsOf`. Null where no
  /// other format has such images.
  std::vector<std::unique_ptr<ZRMBand>> (*openBands)(const RasterCall& call) = nullptr;
  /// Whether `LoadFileVector` takes the id.
  bool isRouted = true;
  /// Tells of the decoder that is looked for at run time. Null for a format that the library decodes itself.
  void (*findCodec)(tagXCodecState& state) = nullptr;

  // What else can be done with its files and bands.

  /// The corners of a file, without a look at its pixels. `isLonLat` is false before the call.
  int (*bound)(const XString& path, const Corners& corners, bool& isLonLat) = nullptr;
  /// Null exactly where `format.writer` is.
  int (*save)(const SaveCall& call) = nullptr;
  /// Whether the band's image is decoded as a whole and kept, and that decoding. Both null where windows are decoded.
  bool (*isDecodedWhole)(ZRMBand& band) = nullptr;
  int (*decodeWhole)(ZRMBand& band, XThread* thread) = nullptr;
  /// Notes of the format about a file, told by its first band, and about each band. There are more where `isVerbose`.
  void (*describe)(ZRMBand& first, bool isVerbose, tagXFormatNotes& notes) = nullptr;
  void (*describeBand)(ZRMBand& band, tagXFormatNotes& notes) = nullptr;

  // What can be done with a tile store as a store. Both null for any other format.

  int (*readTile)(const XString& path, const StoreTilePlace& place, tagXStoreTile& tile, XString& err) = nullptr;
  /// The thread may be null.
  int (*checkStore)(const XString& path, StoreFindings& findings, XString& err, XThread* thread) = nullptr;
};

}  // namespace zrk

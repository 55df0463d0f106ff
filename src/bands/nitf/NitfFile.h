#pragma once

#include "bands/nitf/NitfJpeg.h"
#include "base/BlockCache.h"
#include "base/BlockGrid.h"
#include "codec/NitfHeader.h"
#include "core/model/PlainWindow.h"
#include "geo/GdalFile.h"
#include "XString.h"
#include "ZRMBand.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

class XFile;

namespace zrk {

/// A band of the image.
struct NitfBand {
  int dataType = 0;  ///< as `XDataType` has it
  XColourRole role = kRoleUnknown;
  std::optional<double> nullValue;
};

/// What reads and callers need to know of the first image of a file.
struct NitfLayout {
  NitfHeader header;
  NitfImage image;
  BlockGrid grid;  ///< of every band
  std::vector<NitfBand> bands;
  std::optional<std::array<double, 6>> transform;
  XString wkt;                                  ///< empty without a system
  std::optional<std::array<double, 8>> points;  ///< corners in that system, where there is no transform
};

/// An open NITF file: its headers and its pixels. The library reads the headers itself. It also reads plain blocks and
/// blocks of grey JPEG itself. GDAL's driver of that name reads all other blocks.
class NitfFile {
 public:
  /// Returns null with the reason where the file can't be opened, has no image or asks for more than the limits allow.
  /// With `isExact` also where the disk does not give all that the file has.
  static std::shared_ptr<NitfFile> Open(const XString& path, bool isExact, XString& reason);
  NitfFile(const XString& path, bool isExact);

  const NitfLayout& GetLayout() const { return layout_; }
  GdalFile& GetHandles() { return handles_; }
  /// For blocks that are kept; null for an image that lies row by row in its file.
  const BlockFile* GetBlocks() const;
  /// Where the samples of a band lie; null where they are not plain.
  const PlainBlocks* FindPlain(int band) const;
  /// What decodes blocks of JPEG without GDAL; null where GDAL does.
  NitfJpeg* GetJpeg() const { return jpeg_.get(); }

 private:
  void TakePlain(const XFile& opened);

  GdalFile handles_;
  NitfLayout layout_;
  BlockFile blocks_;
  std::vector<PlainBlocks> plain_;  // of all bands; empty where they are not
  std::unique_ptr<NitfJpeg> jpeg_;
};

}  // namespace zrk

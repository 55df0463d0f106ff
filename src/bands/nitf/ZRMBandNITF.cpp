// The bands of a NITF file share it, and each reads for itself. Headers and pixels come from NitfFile, windows from
// NitfWindow. Nothing is kept of a plane: a window costs the blocks under it.

#include "ZRMBandNITF.h"

#include "bands/nitf/NitfLayout.h"
#include "bands/nitf/NitfWindow.h"
#include "base/Fence.h"
#include "base/ReadError.h"
#include "core/model/BandFrame.h"
#include "XDataType.h"
#include "XSpatialReference.h"
#include "XThread.h"

#include <algorithm>
#include <cmath>
#include <cstring>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandNITF, ZRMBandDRIO);

struct ZRMBandNITF::Impl final : Frame {
  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  bool Fill(const zrk::ReadRequest& request, const int* cancel, tagXArr2& out) const;
  /// The band of the file that is shown, or null.
  const zrk::NitfBand* GetBand() const {
    const bool isThere = file && band >= 0 && band < static_cast<int>(file->GetLayout().bands.size());
    return isThere ? &file->GetLayout().bands[static_cast<std::size_t>(band)] : nullptr;
  }

  std::shared_ptr<zrk::NitfFile> file;  // shared by all bands of it
  std::array<double, 8> corners{};
  bool hasCorners = false;
  int band = 0;
  bool isExact = false;
};

ZRMBandNITF::ZRMBandNITF() : ZRMBandFile(std::make_unique<Impl>()) {
  GetImpl().asksLevelData = false;
}

ZRMBandNITF::ZRMBandNITF(const ZRMBandNITF& opened, int band) : ZRMBandNITF() {
  Impl& impl = GetImpl();
  const Impl& other = opened.GetImpl();
  CopyGeometry(opened);
  SetReadPolicy(opened.GetReadPolicy());
  impl.file = other.file;
  impl.corners = other.corners;
  impl.hasCorners = other.hasCorners;
  SetBandID(band);
}

ZRMBandNITF::~ZRMBandNITF() = default;

ZRMBandNITF::Impl& ZRMBandNITF::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandNITF::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  Impl& impl = GetImpl();
  impl.file.reset();
  impl.reads.Forget();
  return zrk::Fenced(err, [&] {
    XString reason;
    impl.file = zrk::NitfFile::Open(path, IsExact(), reason);
    if (!impl.file) err = "Can't open file : " + path + " : " + reason;
    TakePlace();
    TakeCorners();
    TakeBand();
    return impl.file || !IsExact() ? 1 : 0;
  });
}

/// Without a file the band has no pixels and no place.
void ZRMBandNITF::TakePlace() {
  const zrk::NitfLayout none;
  const zrk::NitfLayout& layout = GetImpl().file ? GetImpl().file->GetLayout() : none;
  SetSize(layout.grid.width, layout.grid.height);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, layout.grid.height);
  SetCoordinateKind(kCoordinatePixel);
  GetSR()->Clear();
  if (layout.transform) {
    const std::array<double, 6>& t = *layout.transform;
    SetPixelSize(std::hypot(t[1], t[4]), std::hypot(t[2], t[5]));
    SetUpperLeft(t[0], t[3]);
    SetCoordinateKind(kCoordinateWorld);
    SetGeoTransform(t.data());
  }
  if (!layout.wkt.IsEmpty()) GetSR()->importFromWkt(layout.wkt);
}

void ZRMBandNITF::TakeCorners() {
  Impl& impl = GetImpl();
  const auto corners = impl.file ? zrk::FindNitfCorners(impl.file->GetLayout()) : std::nullopt;
  impl.hasCorners = corners.has_value();
  impl.corners = corners.value_or(std::array<double, 8>{});
}

/// The policy is that of the load, because level files are asked by it.
void ZRMBandNITF::TakeBand() {
  Impl& impl = GetImpl();
  impl.isExact = IsExact();
  impl.asksLevelData = IsExact();
  const zrk::NitfBand* const band = impl.GetBand();
  if (!band) return;
  SetDataType(band->dataType);
  SetColourRole(band->role);
  SetDecodeRows(impl.file->GetLayout().grid.blockHeight);
  if (IsExact() && band->nullValue) SetNullValue(*band->nullValue);
}

int ZRMBandNITF::GetBandID() const {
  return GetImpl().band;
}

void ZRMBandNITF::SetBandID(int band) {
  GetImpl().band = band;
  GetImpl().reads.Forget();
  TakeBand();
}

int ZRMBandNITF::GetNumOfBand() const {
  return GetImpl().file ? static_cast<int>(GetImpl().file->GetLayout().bands.size()) : 0;
}

void ZRMBandNITF::GetOriginBoundRect(double corners[8]) const {
  std::ranges::copy(GetImpl().corners, corners);
}

void ZRMBandNITF::SetOriginBoundRect(const double corners[8]) {
  std::copy_n(corners, GetImpl().corners.size(), GetImpl().corners.begin());
  GetImpl().hasCorners = true;
}

bool ZRMBandNITF::HasOriginBoundRect() const {
  return GetImpl().hasCorners;
}

tagXNitfInfo ZRMBandNITF::GetInfo() const {
  tagXNitfInfo info;
  if (!GetImpl().file) return info;
  const zrk::NitfHeader& header = GetImpl().file->GetLayout().header;
  const zrk::NitfImage& image = GetImpl().file->GetLayout().image;
  info.version = header.version;
  info.title = header.title;
  info.classification = header.classification;
  info.imageId = image.id;
  info.imageTitle = image.title;
  info.imageClassification = image.classification;
  info.representation = image.representation;
  info.category = image.category;
  info.compression = image.compression;
  info.rate = image.rate;
  info.blockWidth = static_cast<int>(image.blockWidth);
  info.blockHeight = static_cast<int>(image.blockHeight);
  info.numImages = static_cast<int>(header.images.size());
  info.numGraphics = header.numGraphics;
  info.numLabels = header.numLabels;
  info.numTexts = header.numTexts;
  info.numExtensions = header.numExtensions;
  info.numReserved = header.numReserved;
  return info;
}

bool ZRMBandNITF::Impl::Accepts(const zrk::ReadRequest&, bool isInside, const int* cancel) const {
  return file && isInside && !XfnIsStopRequested(cancel);
}

/// Compatible reads know no reduction of complex samples, which are 0 above level 0.
bool ZRMBandNITF::Impl::Fill(const zrk::ReadRequest& request, const int* cancel, tagXArr2& out) const {
  if (isExact || request.level == 0 || GetBand()->dataType <= kReal64) {
    return zrk::ReadNitfWindow(*file, {band, request, isExact}, out, cancel);
  }
  const std::size_t rowBytes = static_cast<std::size_t>(out.xSize) * static_cast<std::size_t>(out.elementSize);
  for (int y = 0; y < out.ySize; ++y) std::memset(out.Row(y), 0, rowBytes);
  return true;
}

/// The band's size can be set to another than the image's, which is the one that bounds the blocks.
zrk::ChannelReads::Record* ZRMBandNITF::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  const zrk::NitfBand* const shown = GetBand();
  const bool isInImage =
      shown && request.x1 < file->GetLayout().grid.width && request.y1 < file->GetLayout().grid.height;
  const bool isLevel = request.level == 0 || LeavesPixels(request);
  if (!isInImage || !isLevel) {
    zrk::NoteReadError(isInImage ? zrk::kNoSuchLevel : zrk::kWindowOutside);
    return nullptr;
  }
  const int width = request.Width() >> request.level, height = request.Height() >> request.level;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {1, width, height, XfnGetDataSize(shown->dataType)});
  if (!record || !Fill(request, cancel, record->At(0))) return nullptr;
  if (XfnIsStopRequested(cancel)) zrk::NoteReadError(zrk::kReadStopped);
  return XfnIsStopRequested(cancel) ? nullptr : record;
}

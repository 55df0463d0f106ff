// JPEG files through libjpeg. The file is opened for each decode and closed after it; between decodes only the planes
// are held. They are never written once published, so that readers copy from them without a lock while another decode
// makes a new set.

#include "ZRMBandJPG.h"

#include "core/model/FollowerRead.h"
#include "base/Disk.h"
#include "base/Fence.h"
#include "codec/JpegDecoder.h"
#include "XFile.h"
#include "XThread.h"

#include <algorithm>
#include <cstring>
#include <numeric>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandJPG, ZRMBandDRIO);

ZRMBandJPG::ZRMBandJPG(ZRMBandJPG* master) : master_(master) {
  SetDataType(kPint08);
  SetBandMin(0.0);
  SetBandMax(255.0);
  if (!master) return;
  CopyGeometry(*master);
  SetTileSize(master->GetXTileSize(), master->GetYTileSize());
}

ZRMBandJPG::~ZRMBandJPG() = default;

int ZRMBandJPG::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  {
    const std::lock_guard lock(planesMutex_);
    planes_.reset();
  }
  reads_.Forget();
  numChannels_ = 0;
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "Can't open file";
    return 0;
  }
  zrk::JpegHeader header;
  if (!zrk::ReadJpegHeader(*file.GetDiskFile(), header, err)) return 0;

  path_ = path;
  numChannels_ = header.numChannels;
  paletteSize_ = numChannels_ == 1 ? 256 : 0;
  SetDecodeRows(numChannels_ == 1 ? header.height : 1);
  for (auto& table : palette_) std::iota(table.begin(), table.end(), static_cast<unsigned char>(0));
  SetSize(header.width, header.height);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, header.height - 1);
  return 1;
}

int ZRMBandJPG::ExtractDataFromFile(XThread* thread) {
  if (master_) return master_->ExtractDataFromFile(thread);
  return zrk::FencedRead([&] { return ObtainPlanes(thread, nullptr) ? 1 : 0; });
}

std::shared_ptr<const ZRMBandJPG::Planes> ZRMBandJPG::GetWholePlanes() {
  const std::lock_guard lock(planesMutex_);
  const bool isWhole = planes_ && (*planes_)[0].data && (*planes_)[1].data && (*planes_)[2].data;
  return isWhole ? planes_ : nullptr;
}

/// The planes are whole when all three hold data. A grey file never fills the second and third, and so is decoded again
/// for every read. Threads that all want a colour file wait for one of them to decode it; a thread that reports
/// progress does not make others wait, since a report may pause it or read the band itself.
std::shared_ptr<const ZRMBandJPG::Planes> ZRMBandJPG::ObtainPlanes(XThread* thread, const int* cancel) {
  if (auto planes = GetWholePlanes()) return planes;
  std::unique_lock decoding(decodeMutex_, std::defer_lock);
  if (numChannels_ == 3 && !thread) {
    decoding.lock();
    if (auto planes = GetWholePlanes()) return planes;
  }
  std::shared_ptr<const Planes> planes = Decode(thread, cancel);
  if (!planes) return nullptr;
  const std::lock_guard lock(planesMutex_);
  planes_ = planes;
  return planes;
}

std::shared_ptr<const ZRMBandJPG::Planes> ZRMBandJPG::Decode(XThread* thread, const int* cancel) const {
  XFile file;
  if (!file.Open(path_, XFile::kRead | XFile::kShareDenyNone)) return nullptr;

  zrk::JpegWatch watch;
  if (thread || cancel) {
    watch.keepGoing = [=] { return !(thread && thread->GetState() != 0) && !XfnIsStopRequested(cancel); };
  }
  if (thread) {
    const int lastRow = std::max(GetYSize() - 1, 1);
    watch.reportRow = [=](int row) { thread->CallbackPercent(static_cast<int>(row * 100.0 / lastRow)); };
  }
  auto planes = std::make_shared<Planes>();
  XString reason;
  if (!zrk::DecodeJpeg(*file.GetDiskFile(), watch, *planes, reason)) return nullptr;
  return IsOfThisImage(*planes) ? planes : nullptr;
}

/// Whether the file is still the one whose header was read.
bool ZRMBandJPG::IsOfThisImage(const Planes& planes) const {
  const int numFilled = static_cast<int>(
      std::count_if(planes.begin(), planes.end(), [](const tagXArr2& plane) { return plane.data != nullptr; }));
  return numFilled == numChannels_ && planes[0].xSize == GetXSize() && planes[0].ySize == GetYSize();
}

tagXArr2* ZRMBandJPG::GetResult(int channel) const {
  return reads_.GetResult(channel, numChannels_);
}

void ZRMBandJPG::GetPrevReadSubsetParam(int& level, int& x0, int& x1, int& y0, int& y1) const {
  reads_.GetLastRequest().Get(level, x0, x1, y0, y1);
}

int ZRMBandJPG::GetHighestLevelForTarget(int, int, int, int, int, int) {
  return 0;
}

int ZRMBandJPG::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  if (!IsInside(x0, x1, y0, y1)) return 0;
  const zrk::ReadRequest request{level, x0, x1, y0, y1};
  return zrk::FencedRead([&] {
    return master_ ? zrk::ReadThroughMaster(*master_, channel_, out, request) : ReadAsMaster(out, request, cancel);
  });
}

int ZRMBandJPG::ReadAsMaster(tagXArr2*& out, const zrk::ReadRequest& request, const int* cancel) {
  const std::shared_ptr<const Planes> planes = ObtainPlanes(nullptr, cancel);
  // The band's size can be set to another than the image's, which is the one that bounds the pixels.
  if (!planes || request.x1 >= (*planes)[0].xSize || request.y1 >= (*planes)[0].ySize) return 0;
  zrk::ChannelReads::Record& record = reads_.Begin(request);
  for (std::size_t c = 0; c < static_cast<std::size_t>(numChannels_); ++c) {
    tagXArr2& result = record.channels[c];
    if (!result.Alloc(request.Width(), request.Height(), 1)) return 0;
    CopyWindow((*planes)[c], request, palette_[c], result);
  }
  record.isFilled = true;
  tagXArr2* result = GetResult(channel_);
  if (!result) return 0;
  out = result;
  CleanupMemory(0, 0);
  return 1;
}

void ZRMBandJPG::CopyWindow(const tagXArr2& plane, const zrk::ReadRequest& request,
                            const std::array<unsigned char, 256>& table, tagXArr2& result) const {
  const std::size_t width = static_cast<std::size_t>(request.Width());
  for (int y = request.y0; y <= request.y1; ++y) {
    const unsigned char* source = plane.Row(y) + request.x0;
    unsigned char* target = result.Row(y - request.y0);
    if (paletteSize_ == 0) {
      std::memcpy(target, source, width);
    } else {
      std::transform(source, source + width, target, [&](unsigned char sample) { return table[sample]; });
    }
  }
}

int ZRMBandJPG::CalcStatistics(int withHistogram) {
  return ZRMBand::CalcStatistics(withHistogram);
}

int ZRMBandJPG::CleanupMemory(int, int) {
  return 1;
}

int ZRMBandJPG::CloneBand(ZRMBand* source) {
  return ZRMBand::CloneBand(source);
}

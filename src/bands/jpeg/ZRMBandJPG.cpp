// JPEG files through libjpeg. The file is opened for each decode and closed after it.
//
// Colour is decoded once, into planes that stay. They are never written once published, so that readers copy from them
// without a lock while another decode makes a new set. Grey is decoded anew for every read, as its users know it, and
// goes row by row straight to the reader's own buffer. No plane of it is ever held.
//
// Under the compatible policy the window comes at full size, whatever level is asked for. The band does not ask level
// data.

#include "ZRMBandJPG.h"

#include "base/Disk.h"
#include "base/Fence.h"
#include "base/ReadError.h"
#include "codec/JpegDecoder.h"
#include "core/model/BandFrame.h"
#include "math/CopyBlock.h"
#include "math/Interleave.h"
#include "XFile.h"
#include "XThread.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <vector>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandJPG, ZRMBandDRIO);

namespace {

using Planes = std::array<tagXArr2, 3>;

/// The size that the header told, which the file must still have when it is decoded.
struct ImageSize {
  int width = 0;
  int height = 0;
  int numChannels = 0;
  friend bool operator==(const ImageSize&, const ImageSize&) = default;
};

/// Takes the rows of a colour image.
class PlaneRows final : public zrk::JpegRows {
 public:
  PlaneRows(Planes& planes, const ImageSize& expected) : planes_(planes), expected_(expected) {}

  bool Begin(int width, int height, int numPlanes) override {
    return ImageSize{width, height, numPlanes} == expected_ &&
           std::ranges::all_of(planes_, [&](tagXArr2& plane) { return plane.Alloc(width, height, 1); });
  }
  unsigned char* RowOf(int plane, int y) override { return planes_[static_cast<std::size_t>(plane)].Row(y); }
  void Take(int) override {}

 private:
  Planes& planes_;
  ImageSize expected_;
};

/// Takes the rows of a window of a grey image, or every `step`-th pixel of every `step`-th row. Without a buffer it
/// takes none, for callers that only ask whether the image can be decoded.
class GreyWindow final : public zrk::JpegRows {
 public:
  GreyWindow(const ImageSize& expected, const zrk::ReadRequest& request, tagXArr2* out, int step = 1)
      : expected_(expected), request_(request), out_(out), step_(step) {}

  bool Begin(int width, int height, int numPlanes) override {
    if (ImageSize{width, height, numPlanes} != expected_) return false;
    row_.resize(static_cast<std::size_t>(width));
    return true;
  }
  unsigned char* RowOf(int, int y) override { return GoesStraight(y) ? out_->Row(y - request_.y0) : row_.data(); }
  void Take(int y) override {
    if (!IsWanted(y) || GoesStraight(y)) return;
    if (step_ == 1) {
      std::memcpy(out_->Row(y - request_.y0), row_.data() + request_.x0, static_cast<std::size_t>(request_.Width()));
    } else if ((y - request_.y0) % step_ == 0 && (y - request_.y0) / step_ < out_->ySize) {
      zrk::GatherSamples(row_.data() + request_.x0, static_cast<std::size_t>(out_->xSize), step_, 1,
                         out_->Row((y - request_.y0) / step_));
    }
  }

 private:
  bool IsWanted(int y) const { return out_ && y >= request_.y0 && y <= request_.y1; }
  /// Whole rows need no copy of their own on the way.
  bool GoesStraight(int y) const { return step_ == 1 && IsWanted(y) && request_.Width() == expected_.width; }

  ImageSize expected_;
  zrk::ReadRequest request_;
  tagXArr2* out_;
  int step_;
  std::vector<unsigned char> row_;
};

}  // namespace

struct ZRMBandJPG::Impl final : Frame {
  explicit Impl(const ZRMBandJPG& itsBand) : band(itsBand) {
    asksLevelData = false;
    answersAtFullSize = true;
    decodesNoLevels = true;
  }

  int Open(const XString& from, zrk::JpegHeader& header, XString& err);
  int DecodeFile(XThread* thread, const int* cancel, zrk::JpegRows& rows) const;
  int Extract(XThread* thread);
  std::shared_ptr<const Planes> GetPlanes();
  std::shared_ptr<const Planes> ObtainPlanes(XThread* thread, const int* cancel);
  ImageSize GetExpectedSize() const { return {band.GetXSize(), band.GetYSize(), numChannels}; }

  bool Accepts(const zrk::ReadRequest& request, bool isInside, const int* cancel) const override;
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  zrk::ChannelReads::Record* DecodeLevel(const zrk::ReadRequest& request, const int* cancel) override;
  zrk::ChannelReads::Record* DecodeGrey(const zrk::ReadRequest& request, const int* cancel, int level);
  void FreeBuffers() override;

  const ZRMBandJPG& band;
  XString path;
  int numChannels = 0;
  std::shared_ptr<const Planes> planes;  // guarded by planesMutex; what it points to never changes
  std::mutex planesMutex;
  std::mutex decodeMutex;  // one colour decode at a time, so that the second reader finds the planes
};

ZRMBandJPG::ZRMBandJPG(ZRMBandJPG* master) : ZRMBandChannels(std::make_unique<Impl>(*this), master) {
  SetByteRange();
  if (master) SetTileSize(master->GetXTileSize(), master->GetYTileSize());
}

ZRMBandJPG::~ZRMBandJPG() = default;

ZRMBandJPG::Impl& ZRMBandJPG::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandJPG::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  zrk::JpegHeader header;
  if (!GetImpl().Open(path, header, err)) return 0;
  // Any row of a grey image costs a decode of all of them. Rows of planes cost nothing.
  SetDecodeRows(header.numChannels == 1 ? header.height : 1);
  SetSize(header.width, header.height);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, header.height - 1);
  return 1;
}

/// The file before is given up first, so that a failed open leaves nothing to read.
int ZRMBandJPG::Impl::Open(const XString& from, zrk::JpegHeader& header, XString& err) {
  {
    const std::lock_guard lock(planesMutex);
    planes.reset();
  }
  reads.Forget();
  numChannels = 0;
  XFile file;
  if (!file.Open(from, XFile::kRead | XFile::kShareDenyNone)) {
    err = "Can't open file";
    return 0;
  }
  if (!zrk::ReadJpegHeader(*file.GetDiskFile(), header, err)) return 0;
  path = from;
  numChannels = header.numChannels;
  return 1;
}

int ZRMBandJPG::GetNumChannels() const {
  return GetImpl().numChannels;
}

int ZRMBandJPG::GetPaletteSize() const {
  return GetNumChannels() == 1 ? 256 : 0;
}

int ZRMBandJPG::ExtractDataFromFile(XThread* thread) {
  if (GetMaster()) return static_cast<ZRMBandJPG*>(GetMaster())->ExtractDataFromFile(thread);
  return zrk::FencedRead([&] { return GetImpl().Extract(thread); });
}

int ZRMBandJPG::Impl::Extract(XThread* thread) {
  if (numChannels != 1) return ObtainPlanes(thread, nullptr) ? 1 : 0;
  // Nothing of a grey image is kept, so this only finds out whether it can be decoded.
  GreyWindow rows(GetExpectedSize(), {}, nullptr);
  return DecodeFile(thread, nullptr, rows);
}

std::shared_ptr<const Planes> ZRMBandJPG::Impl::GetPlanes() {
  const std::lock_guard lock(planesMutex);
  return planes;
}

/// Threads that all want a colour file wait for one of them to decode it. A thread that reports progress makes no other
/// wait, since a report may pause it or read the band itself.
std::shared_ptr<const Planes> ZRMBandJPG::Impl::ObtainPlanes(XThread* thread, const int* cancel) {
  if (auto known = GetPlanes()) return known;
  std::unique_lock decoding(decodeMutex, std::defer_lock);
  if (!thread) {
    decoding.lock();
    if (auto known = GetPlanes()) return known;
  }
  // The planes are published when all of them are decoded, and are not touched again.
  auto fresh = std::make_shared<Planes>();
  PlaneRows rows(*fresh, GetExpectedSize());
  if (!DecodeFile(thread, cancel, rows)) return nullptr;
  const std::lock_guard lock(planesMutex);
  planes = fresh;
  return fresh;
}

/// The file is opened anew, so that an open band holds no descriptor.
int ZRMBandJPG::Impl::DecodeFile(XThread* thread, const int* cancel, zrk::JpegRows& rows) const {
  XFile file;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    zrk::NoteReadError("The file can't be opened any more");
    return 0;
  }
  zrk::JpegWatch watch;
  if (thread || cancel) {
    watch.keepGoing = [=] { return !(thread && thread->GetState() != 0) && !XfnIsStopRequested(cancel); };
  }
  if (thread) {
    // An image of one row must not divide by 0.
    const int lastRow = std::max(band.GetYSize() - 1, 1);
    watch.reportRow = [=](int row) { thread->CallbackPercent(static_cast<int>(row * 100.0 / lastRow)); };
  }
  XString reason;
  if (zrk::DecodeJpeg(*file.GetDiskFile(), watch, rows, reason)) return 1;
  // An image that was stopped has no reason of its own.
  if (!reason.IsEmpty()) zrk::NoteReadError(reason);
  return 0;
}

int ZRMBandJPG::GetHighestLevelForTarget(int, int, int, int, int, int) {
  return 0;
}

/// A stop word is heard before anything else, so that it does not matter whether the planes are there.
bool ZRMBandJPG::Impl::Accepts(const zrk::ReadRequest&, bool isInside, const int* cancel) const {
  return isInside && !XfnIsStopRequested(cancel);
}

zrk::ChannelReads::Record* ZRMBandJPG::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  if (numChannels == 1) return DecodeGrey(request, cancel, 0);
  const std::shared_ptr<const Planes> whole = ObtainPlanes(nullptr, cancel);
  // The band's size can be set to another than the image's, which is the one that bounds the pixels.
  if (!whole || request.x1 >= whole->front().xSize || request.y1 >= whole->front().ySize) return nullptr;
  zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, request.Width(), request.Height()});
  if (!record) return nullptr;
  for (int c = 0; c < numChannels; ++c) {
    const tagXArr2& plane = (*whole)[static_cast<std::size_t>(c)];
    tagXArr2& result = record->At(c);
    zrk::CopyBlock(plane.Row(request.y0) + request.x0, plane.xSize, result.data, result.xSize, request.Width(),
                   request.Height());
  }
  return record;
}

/// A decode of a grey image passes all rows, so one of them serves a level too.
zrk::ChannelReads::Record* ZRMBandJPG::Impl::DecodeLevel(const zrk::ReadRequest& request, const int* cancel) {
  if (numChannels != 1) return Frame::DecodeLevel(request, cancel);
  if (LeavesPixels(request)) return DecodeGrey(request, cancel, request.level);
  zrk::NoteReadError(zrk::kNoSuchLevel);
  return nullptr;
}

zrk::ChannelReads::Record* ZRMBandJPG::Impl::DecodeGrey(const zrk::ReadRequest& request, const int* cancel, int level) {
  zrk::ChannelReads::Record* const record =
      reads.Begin(request, {1, request.Width() >> level, request.Height() >> level});
  if (!record) return nullptr;
  GreyWindow rows(GetExpectedSize(), request, &record->At(0), 1 << level);
  return DecodeFile(nullptr, cancel, rows) ? record : nullptr;
}

/// Planes and buffers stay, whatever is asked.
void ZRMBandJPG::Impl::FreeBuffers() {}

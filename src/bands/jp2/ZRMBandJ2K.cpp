// Bands of JPEG 2000 files. The master has the open file, and decodes all channels of a window at once. What a thread
// has read stands beside the request that it was read for, so that a repeat costs nothing, and a follower takes its
// channel of the master's read.
//
// A window is that of component 0, whose grid is the band's. Its columns x0 to x1 lie at c + x0 to c + x1 of the
// component's grid, where c is the first column that the image has. At level n the first sample that lies in the window
// is number ceil((c + x0) / 2^n).
//
// The two policies differ in what they ask for, once for a window: the forms of the samples, the components, and
// whether tiles have to be whole.

#include "ZRMBandJ2K.h"

#include "bands/jp2/Jp2File.h"
#include "bands/jp2/Jp2Samples.h"
#include "base/Failure.h"
#include "base/Fence.h"
#include "base/OwnReads.h"
#include "base/Parallel.h"
#include "base/ReadError.h"
#include "codec/J2kWindowReader.h"
#include "core/model/BandFrame.h"
#include "XDataType.h"
#include "XFile.h"
#include "XLimits.h"
#include "XSystem.h"
#include "XThread.h"

#include <algorithm>
#include <optional>
#include <utility>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandJ2K, ZRMBandDRIO);

namespace {

constexpr int kMaxPrecision = 16;
constexpr int kMaxDecodedDepth = 31;  // of samples that a codec hands over as ints
constexpr int kRowsTogether = 512;    // of an image in one tile, where each read costs something before its pixels

int CountBytes(const zrk::J2kComponent& component) {
  return (component.depth + 7) / 8;
}

/// The data type of samples of one or two bytes.
int TypeOf(const zrk::J2kComponent& component) {
  if (CountBytes(component) == 1) return component.isSigned ? kSint08 : kPint08;
  return component.isSigned ? kSint16 : kPint16;
}

zrk::Jp2SampleForm FormOf(const zrk::J2kComponent& component) {
  return {component.depth, component.isSigned};
}

}  // namespace

struct ZRMBandJ2K::Impl final : Frame {
  explicit Impl(const ZRMBandJ2K& itsBand) : band(itsBand) { asksLevelData = false; }

  int Take(zrk::Jp2File file, XString& err);
  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  void FreeBuffers() override;

  const zrk::J2kHeader& GetHeader() const { return opened.codestream->GetHeader(); }
  int TypeOfChannel(int number) const;
  int CountThreads() const;
  zrk::Jp2SampleForm WantedForm(int component) const;
  bool CanRead(const zrk::ReadRequest& request) const;
  zrk::J2kRect RectOf(const zrk::ReadRequest& request) const;
  zrk::J2kRect RectUnder(const zrk::J2kRect& rect, int component, int level) const;
  bool IsSmaller(int component) const;
  zrk::ChannelReads::Record* Begin(const zrk::ReadRequest& request, const zrk::J2kRect& rect);
  bool Fill(const zrk::ReadRequest& request, const zrk::J2kRect& rect, const int* cancel,
            zrk::ChannelReads::Record& record);
  std::optional<zrk::Jp2Sink> MakeSink(const std::vector<zrk::J2kRect>& rects, zrk::ChannelReads::Record& record,
                                       std::vector<tagXArr2>& smaller) const;
  void RepeatChannel(int number, const zrk::J2kRect& rect, const zrk::J2kRect& under, const tagXArr2& smaller,
                     tagXArr2& result) const;

  const ZRMBandJ2K& band;
  zrk::Jp2File opened;
  std::unique_ptr<zrk::J2kWindowReader> windows;  // null without a file
  tagGCPSets tiePoints;
  zrk::Jp2Colours colours;
  int numChannels = 0;
  int precision = 0;
  int numThreads = -1;
  int threadEnv = 1;
};

ZRMBandJ2K::ZRMBandJ2K(ZRMBandJ2K* master, int channels) : ZRMBandChannels(std::make_unique<Impl>(*this), master) {
  SetByteRange();
  Impl& impl = GetImpl();
  if (!master) {
    impl.numChannels = std::max(channels, 0);
    return;
  }
  const Impl& ofMaster = master->GetImpl();
  impl.numChannels = ofMaster.numChannels;
  impl.precision = ofMaster.precision;
  SetDecodeRows(master->GetDecodeRows());
  SetDecodeColumns(master->GetDecodeColumns());
  SetTileSize(master->GetXTileSize(), master->GetYTileSize());
  SetChannel(channels);
}

ZRMBandJ2K::~ZRMBandJ2K() = default;

ZRMBandJ2K::Impl& ZRMBandJ2K::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

void ZRMBandJ2K::Close() {
  Impl& impl = GetImpl();
  impl.windows.reset();
  impl.opened = {};
  impl.reads.Forget();
  impl.tiePoints = {};
}

int ZRMBandJ2K::ReadFile(XString path, XString& err, XThread*) {
  return zrk::Fenced(err, [&] { return Open(path, err); });
}

int ZRMBandJ2K::Open(const XString& path, XString& err) {
  err.Empty();
  Close();
  Impl& impl = GetImpl();
  zrk::Jp2File opened;
  if (!zrk::OpenJp2(path, opened, err) || !impl.Take(std::move(opened), err)) return 0;
  const zrk::J2kHeader& header = impl.GetHeader();
  const zrk::J2kRect rect = header.GetComponentRect(0, 0);
  SetSize(static_cast<int>(rect.Width()), static_cast<int>(rect.Height()));
  SetChannel(GetChannel());
  const zrk::J2kComponent& first = header.components.front();
  const bool isTiled = header.CountTiles() > 1;
  const auto inSamples = [](std::int64_t size, int distance) {
    return static_cast<int>(std::clamp<std::int64_t>(size / distance, 1, INT32_MAX));
  };
  SetDecodeRows(isTiled ? inSamples(header.firstTile.Height(), first.dy) : std::min(kRowsTogether, GetYSize()));
  SetDecodeColumns(header.tilesAcross > 1 ? inSamples(header.firstTile.Width(), first.dx) : 0);
  impl.colours = zrk::ReadColours(impl.opened);
  if (zrk::PlaceJp2(*this, impl.opened, impl.tiePoints, err)) return 1;
  Close();
  return 0;
}

/// The file becomes the band's where its samples can be read.
int ZRMBandJ2K::Impl::Take(zrk::Jp2File file, XString& err) {
  const zrk::J2kHeader& header = file.codestream->GetHeader();
  const zrk::J2kRect rect = header.GetComponentRect(0, 0);
  int count = static_cast<int>(header.components.size());
  for (int i = 1; i < count && !band.IsExact(); ++i) {
    if (header.GetComponentRect(i, 0) == rect) continue;
    err = "Some components do not have same dimensions, ignoring all but first";
    count = 1;
  }
  for (int i = 0; i < (band.IsExact() ? count : 1); ++i) {
    const int numBytes = CountBytes(header.components[static_cast<std::size_t>(i)]);
    if (numBytes <= 2) continue;
    err.Format("[Number of bytes : %d] is not supported!", numBytes);
    return 0;
  }
  for (int i = 1; i < count; ++i) {
    const zrk::J2kComponent &first = header.components.front(), &other = header.components[static_cast<std::size_t>(i)];
    if (other.depth > kMaxDecodedDepth) return zrk::FailWith(err, "A component has more than 31 bits a sample");
    if (band.IsExact() && (other.dx < first.dx || other.dy < first.dy))
      return zrk::FailWith(err, "The first component has fewer samples than another one");
  }
  precision = header.components.front().depth;
  numChannels = count;
  threadEnv = 1;
  opened = std::move(file);
  windows = std::make_unique<zrk::J2kWindowReader>(opened.codestream);
  return 1;
}

int ZRMBandJ2K::Impl::TypeOfChannel(int number) const {
  const auto& components = GetHeader().components;
  const bool isOwn = band.IsExact() && number >= 0 && number < std::ssize(components);
  return TypeOf(components[isOwn ? static_cast<std::size_t>(number) : 0]);
}

int ZRMBandJ2K::Impl::CountThreads() const {
  const int granted = XfnGetWorkerCount();
  if (threadEnv == 0 || zrk::IsSharingWork()) return 1;
  return numThreads < 0 ? granted : std::clamp(numThreads, 1, granted);
}

zrk::Jp2SampleForm ZRMBandJ2K::Impl::WantedForm(int component) const {
  const auto& components = GetHeader().components;
  if (band.IsExact()) return FormOf(components[static_cast<std::size_t>(component)]);
  return {std::clamp(precision, 1, kMaxPrecision), components.front().isSigned};
}

/// The band's size can be set to another than the image's, which is the one that bounds the pixels.
bool ZRMBandJ2K::Impl::CanRead(const zrk::ReadRequest& request) const {
  if (!windows) return zrk::FailRead("No file is open") != 0;
  const zrk::J2kRect whole = GetHeader().GetComponentRect(0, 0);
  if (request.x1 >= whole.Width() || request.y1 >= whole.Height()) return zrk::FailRead(zrk::kWindowOutside) != 0;
  if (request.level == 0) return true;
  if (!LeavesPixels(request)) return zrk::FailRead(zrk::kNoSuchLevel) != 0;
  if (request.level > GetHeader().CountLevels()) return zrk::FailRead("The codestream has no such level") != 0;
  return true;
}

/// The samples of component 0 that a request gives.
zrk::J2kRect ZRMBandJ2K::Impl::RectOf(const zrk::ReadRequest& request) const {
  const zrk::J2kRect whole = GetHeader().GetComponentRect(0, 0);
  const std::int64_t step = std::int64_t{1} << request.level;
  const std::int64_t x = zrk::CeilDivide(whole.x0 + request.x0, step), y = zrk::CeilDivide(whole.y0 + request.y0, step);
  return {x, y, x + (request.Width() >> request.level), y + (request.Height() >> request.level)};
}

/// Whether a component lies on another grid than the band, so that its samples have to be repeated.
bool ZRMBandJ2K::Impl::IsSmaller(int component) const {
  const zrk::J2kHeader& header = GetHeader();
  return header.GetComponentRect(component, 0) != header.GetComponentRect(0, 0);
}

/// The samples of a smaller component that lie under those of component 0.
zrk::J2kRect ZRMBandJ2K::Impl::RectUnder(const zrk::J2kRect& rect, int component, int level) const {
  const zrk::J2kHeader& header = GetHeader();
  const zrk::J2kRect whole = header.GetComponentRect(component, level);
  const zrk::J2kComponent& first = header.components.front();
  const zrk::J2kComponent& other = header.components[static_cast<std::size_t>(component)];
  const auto under = [](std::int64_t place, int distance, int otherDistance, std::int64_t from, std::int64_t end) {
    return std::clamp(place * distance / otherDistance, from, end - 1);
  };
  if (whole.IsEmpty()) return whole;
  return {under(rect.x0, first.dx, other.dx, whole.x0, whole.x1),
          under(rect.y0, first.dy, other.dy, whole.y0, whole.y1),
          under(rect.x1 - 1, first.dx, other.dx, whole.x0, whole.x1) + 1,
          under(rect.y1 - 1, first.dy, other.dy, whole.y0, whole.y1) + 1};
}

zrk::ChannelReads::Record* ZRMBandJ2K::Impl::Begin(const zrk::ReadRequest& request, const zrk::J2kRect& rect) {
  const int width = static_cast<int>(rect.Width()), height = static_cast<int>(rect.Height());
  int most = 1;
  for (int c = 0; c < numChannels; ++c) most = std::max(most, XfnGetDataSize(TypeOfChannel(c)));
  zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, width, height, most});
  for (int c = 0; record && c < numChannels; ++c) {
    if (!record->At(c).Alloc(width, height, XfnGetDataSize(TypeOfChannel(c)))) return nullptr;
  }
  if (!record) zrk::NoteReadError(zrk::kReadNoMemory);
  return record;
}

/// A repeat takes what is there. A read that failed has left nothing that could be taken.
zrk::ChannelReads::Record* ZRMBandJ2K::Impl::Decode(const zrk::ReadRequest& request, const int* cancel) {
  if (zrk::ChannelReads::Record* const known = reads.FindFilled(request)) return known;
  if (!CanRead(request)) {
    reads.Begin(request, {});
    return nullptr;
  }
  const zrk::J2kRect rect = RectOf(request);
  zrk::ChannelReads::Record* const record = Begin(request, rect);
  return record && Fill(request, rect, cancel, *record) ? record : nullptr;
}

bool ZRMBandJ2K::Impl::Fill(const zrk::ReadRequest& request, const zrk::J2kRect& rect, const int* cancel,
                            zrk::ChannelReads::Record& record) {
  zrk::J2kRequest wanted{request.level, {}, band.IsExact(), CountThreads()};
  wanted.rects.resize(GetHeader().components.size());
  for (int c = 0; c < numChannels; ++c) {
    zrk::J2kRect& ofChannel = wanted.rects[static_cast<std::size_t>(c)];
    ofChannel = IsSmaller(c) ? RectUnder(rect, c, request.level) : rect;
    if (ofChannel.IsEmpty()) return zrk::FailRead(zrk::kNoSuchLevel) != 0;
  }
  std::vector<tagXArr2> smaller(static_cast<std::size_t>(numChannels));
  std::optional<zrk::Jp2Sink> sink = MakeSink(wanted.rects, record, smaller);
  if (!sink) return zrk::FailRead(zrk::kReadNoMemory) != 0;
  XString reason;
  if (!windows->Read(wanted, cancel, *sink, reason)) {
    if (!reason.IsEmpty()) zrk::NoteReadError(reason);
    return false;
  }
  for (int c = 0; c < numChannels; ++c) {
    const auto place = static_cast<std::size_t>(c);
    if (IsSmaller(c)) RepeatChannel(c, rect, wanted.rects[place], smaller[place], record.At(c));
  }
  return true;
}

/// Smaller components are decoded into a buffer of their own size first. Nothing where there is no memory for one.
std::optional<zrk::Jp2Sink> ZRMBandJ2K::Impl::MakeSink(const std::vector<zrk::J2kRect>& rects,
                                                       zrk::ChannelReads::Record& record,
                                                       std::vector<tagXArr2>& smaller) const {
  const zrk::J2kHeader& header = GetHeader();
  std::vector<zrk::Jp2Target> targets(header.components.size());
  for (int c = 0; c < numChannels; ++c) {
    const auto place = static_cast<std::size_t>(c);
    const zrk::J2kRect& rect = rects[place];
    tagXArr2* result = &record.At(c);
    if (IsSmaller(c)) {
      const int width = static_cast<int>(rect.Width()), height = static_cast<int>(rect.Height());
      if (!smaller[place].Alloc(width, height, result->elementSize)) return std::nullopt;
      result = &smaller[place];
    }
    targets[place] = {c, rect, FormOf(header.components[place]), WantedForm(c), result};
  }
  return zrk::Jp2Sink(std::move(targets));
}

void ZRMBandJ2K::Impl::RepeatChannel(int number, const zrk::J2kRect& rect, const zrk::J2kRect& under,
                                     const tagXArr2& smaller, tagXArr2& result) const {
  const zrk::J2kComponent& first = GetHeader().components.front();
  const zrk::J2kComponent& other = GetHeader().components[static_cast<std::size_t>(number)];
  zrk::RepeatSamples(smaller, zrk::MapSamples(rect.x0, result.xSize, first.dx, other.dx, under.x0, under.x1),
                     zrk::MapSamples(rect.y0, result.ySize, first.dy, other.dy, under.y0, under.y1), result);
}

void ZRMBandJ2K::Impl::FreeBuffers() {
  Frame::FreeBuffers();
  if (windows) windows->Release();
}

/// Under the compatible policy a master that decodes a window answers the channel that was decoded last. The library's
/// own work gets the channel that it asks.
int ZRMBandJ2K::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  Impl& impl = GetImpl();
  const bool mayDiffer = !GetMaster() && !IsExact() && impl.numChannels > 1 && !zrk::OwnReads::AreUnderWay();
  const bool isRepeat = !mayDiffer || impl.reads.FindFilled({level, x0, x1, y0, y1});
  if (!ZRMBandChannels::ReadSubset(out, level, x0, x1, y0, y1, cancel)) return 0;
  if (!isRepeat) out = impl.reads.GetResult(impl.numChannels - 1);
  return 1;
}

int ZRMBandJ2K::GetLevel() {
  if (GetMaster()) return static_cast<ZRMBandJ2K*>(GetMaster())->GetLevel();
  return GetImpl().windows ? GetImpl().GetHeader().CountLevels() : 0;
}

void ZRMBandJ2K::SetChannel(int channel) {
  ZRMBandChannels::SetChannel(channel);
  const Impl& impl = GetMaster() ? static_cast<ZRMBandJ2K*>(GetMaster())->GetImpl() : GetImpl();
  if (!impl.windows) return;
  const int dataType = impl.TypeOfChannel(channel);
  SetDataType(dataType);
  SetBandMin(dataType == kPint08 ? 0.0 : kNotSet);
  SetBandMax(dataType == kPint08 ? 255.0 : kNotSet);
}

int ZRMBandJ2K::GetNumChannels() const {
  return GetImpl().numChannels;
}

int ZRMBandJ2K::GetDataPrecision() const {
  return GetImpl().precision;
}

void ZRMBandJ2K::SetDataPrecision(int precision) {
  GetImpl().precision = precision;
}

int ZRMBandJ2K::GetNumThread() const {
  return GetImpl().numThreads;
}

void ZRMBandJ2K::SetNumThread(int numThreads) {
  GetImpl().numThreads = numThreads;
}

int ZRMBandJ2K::GetThreadEnv() const {
  return GetImpl().threadEnv;
}

void ZRMBandJ2K::SetThreadEnv(int threadEnv) {
  GetImpl().threadEnv = threadEnv;
}

int ZRMBandJ2K::ReadBoxes(XString path, int width, int height, XSpatialReference* sr, double& left, double& lower,
                          double& right, double& upper, double& xSize, double& ySize) {
  return zrk::FencedRead([&] {
    XFile file;
    std::vector<zrk::Jp2Box> boxes;
    XString err;
    if (!sr || !file.Open(path, XFile::kRead | XFile::kShareDenyWrite)) return 0;
    if (!zrk::WalkBoxes(*file.GetDiskFile(), boxes, err)) return 0;
    const auto placing = zrk::ReadPlaceBoxes(*file.GetDiskFile(), boxes);
    const auto bounds = placing ? zrk::FindBounds(*placing, width, height, *sr) : std::nullopt;
    if (!bounds) return 0;
    left = bounds->left;
    lower = bounds->lower;
    right = bounds->right;
    upper = bounds->upper;
    xSize = bounds->xSize;
    ySize = bounds->ySize;
    return 1;
  });
}

int ZRMBandJ2K::ParseJP2GeoTIFF(int size, char* data, XString& wkt, double* transform, tagGCPSets* gcps) {
  if (size < 1 || !data || !transform) return 0;
  return zrk::FencedRead([&] {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(data);
    std::optional<zrk::GeoJp2> place = zrk::ParseGeoJp2({bytes, static_cast<std::size_t>(size)});
    if (!place) return 0;
    wkt = place->wkt;
    std::ranges::copy(place->transform, transform);
    if (!gcps || place->tiePoints.empty()) return 1;
    gcps->name = "JP2 TiePoints";
    gcps->projectionWkt = place->wkt;
    gcps->points = std::move(place->tiePoints);
    return 1;
  });
}

int ZRMBandJ2K::ParseMSIG(int size, char* data, double* transform) {
  if (size < 1 || !data || !transform) return 0;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(data);
  const std::optional<zrk::Jp2Transform> found = zrk::ParseMsig({bytes, static_cast<std::size_t>(size)});
  if (!found) return 0;
  std::ranges::copy(*found, transform);
  return 1;
}

XColourRole ZRMBandJ2K::GetRoleOf(int channel) const {
  const Impl& impl = GetImpl();
  return impl.windows ? zrk::GetRole(impl.colours, static_cast<int>(impl.GetHeader().components.size()), channel)
                      : kRoleUnknown;
}

tagXJp2Codestream ZRMBandJ2K::GetCodestreamInfo() const {
  tagXJp2Codestream info;
  const Impl& impl = GetImpl();
  if (!impl.windows) return info;
  const zrk::J2kHeader& header = impl.GetHeader();
  for (const zrk::J2kComponent& each : header.components) {
    info.components.push_back({each.depth, each.isSigned, each.dx, each.dy});
  }
  info.tilesAcross = header.tilesAcross;
  info.tilesDown = header.tilesDown;
  const zrk::J2kRect tile = header.CountTiles() == 1 ? header.GetTileRect(0) : header.firstTile;
  info.tileWidth = static_cast<int>(std::min<std::int64_t>(tile.Width(), INT32_MAX));
  info.tileHeight = static_cast<int>(std::min<std::int64_t>(tile.Height(), INT32_MAX));
  info.numLevels = header.CountLevels();
  info.numLayers = header.coding.numLayers;
  constexpr const char* kOrders[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
  const int order = header.coding.progression;
  info.progression = order < static_cast<int>(std::size(kOrders)) ? kOrders[order] : "unknown";
  info.isReversible = std::ranges::all_of(header.coding.ofComponents, &zrk::J2kCoding::isReversible);
  return info;
}

const tagGCPSets* ZRMBandJ2K::GetTiePoints() const {
  const tagGCPSets& set = GetImpl().tiePoints;
  return set.points.empty() ? nullptr : &set;
}

std::vector<tagXJp2Box> ZRMBandJ2K::ListBoxes() const {
  std::vector<tagXJp2Box> list;
  const zrk::Jp2File& opened = GetImpl().opened;
  if (opened.boxes.empty()) return list;
  for (const zrk::Jp2Box& box : opened.boxes) {
    tagXJp2Box told{zrk::NameBox(box.type), box.offset, box.numBytes, box.depth, {}, {}};
    if (zrk::IsSameType(box.type, zrk::kBoxUuid)) told.name = zrk::NameUuid(box.uuid);
    const bool isText = zrk::IsSameType(box.type, zrk::kBoxXml) || zrk::IsSameType(box.type, zrk::kBoxLabel);
    if (isText) told.text = XString(zrk::ReadBoxText(*opened.file, box, XfnGetLimits().xmlBytes).value_or(""));
    list.push_back(std::move(told));
  }
  const auto texts = zrk::ListTexts(*opened.file, opened.boxes);
  for (const zrk::Jp2Text& text : texts.value_or(std::vector<zrk::Jp2Text>())) {
    list[static_cast<std::size_t>(text.box - opened.boxes.data())].name = text.name;
  }
  return list;
}

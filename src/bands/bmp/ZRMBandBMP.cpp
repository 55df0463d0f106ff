// Rows lie bottom-up: row y at offset + (height - 1 - y) * row bytes. Three sources serve them: a copy in memory, a
// mapping of the whole file, and positional reads through the file. The first two always answer full resolution. Only
// the third honours the level, by taking every 2^level-th pixel of every 2^level-th row.
//
// A mapped file may shrink while it is open, and touching what is gone would raise a signal and not an error. So the
// file's length is asked once a window. A window that reaches beyond it fails, as it does in a file that never had all
// its rows.

#include "ZRMBandBMP.h"

#include "bands/bmp/BmpHeader.h"
#include "bands/bmp/BmpImage.h"
#include "base/Disk.h"
#include "base/Fence.h"
#include "base/ReadError.h"
#include "base/RowReader.h"
#include "core/model/BandFrame.h"
#include "math/Interleave.h"
#include "XFile.h"
#include "XThreadSafeArr.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <optional>
#include <typeinfo>

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandBMP, ZRMBandDRIO);

namespace {

constexpr std::int64_t kMapFrom = 32000000;  // image bytes; below that a copy is held in memory
constexpr int kMaxLevel = 30;

/// Pixels hold blue, green, red and the fourth channel, in this order.
constexpr std::array<int, 4> kByteOfChannel = {2, 1, 0, 3};

using PaletteTables = std::array<std::array<unsigned char, 256>, 3>;

PaletteTables MakeTables(const BITMAPINFO& info) {
  PaletteTables tables{};
  for (int i = 0; i < XfnGetDIBPaletteSize(&info); ++i) {
    const auto entry = static_cast<std::size_t>(i);
    tables[0][entry] = info.bmiColors[i].rgbRed;
    tables[1][entry] = info.bmiColors[i].rgbGreen;
    tables[2][entry] = info.bmiColors[i].rgbBlue;
  }
  return tables;
}

/// Turns `count` pixels of a file row, `step` apart, into one row of each channel.
class RowUnpacker {
 public:
  RowUnpacker(const BITMAPINFO& info, int numChannels, int step)
      : pixelBytes_(info.bmiHeader.biBitCount >> 3), numChannels_(numChannels), step_(step) {
    // A colour table of a deeper image is for display only; its pixels are direct.
    if (info.bmiHeader.biBitCount == 8) tables_ = MakeTables(info);
  }

  /// The two layouts that most files have are split by kernels of their own.
  void Unpack(const unsigned char* source, std::size_t count, unsigned char* const* target) const {
    if (tables_) {
      UnpackIndexed(source, count, target);
    } else if (step_ == 1 && pixelBytes_ == 3 && numChannels_ == 3) {
      zrk::SplitPixels3(source, count, target[2], target[1], target[0]);
    } else if (step_ == 1 && pixelBytes_ == 4 && numChannels_ == 4) {
      zrk::SplitPixels4(source, count, target[2], target[1], target[0], target[3]);
    } else {
      UnpackDirect(source, count, target);
    }
  }

 private:
  void UnpackIndexed(const unsigned char* source, std::size_t count, unsigned char* const* target) const {
    const auto& [red, green, blue] = *tables_;
    unsigned char *const reds = target[0], *const greens = target[1], *const blues = target[2];
    const int step = step_;
    for (std::size_t i = 0; i < count; ++i, source += step) {
      const unsigned char index = *source;
      reds[i] = red[index];
      greens[i] = green[index];
      blues[i] = blue[index];
    }
  }

  /// A channel whose byte a short pixel does not have is 0.
  void UnpackDirect(const unsigned char* source, std::size_t count, unsigned char* const* target) const {
    for (int c = 0; c < numChannels_; ++c) {
      const int byte = kByteOfChannel[static_cast<std::size_t>(c)];
      if (byte < pixelBytes_) {
        zrk::TakeByte(source, count, pixelBytes_, step_, byte, target[c]);
      } else {
        std::memset(target[c], 0, count);
      }
    }
  }

  int pixelBytes_;
  int numChannels_;
  int step_;
  std::optional<PaletteTables> tables_;
};

std::array<unsigned char*, 4> RowsOf(zrk::ChannelReads::Record& record, int row) {
  std::array<unsigned char*, 4> rows{};
  for (int c = 0; c < record.numChannels; ++c) rows[static_cast<std::size_t>(c)] = record.At(c).Row(row);
  return rows;
}

}  // namespace

/// The image that is shown. A follower's is empty.
struct ZRMBandBMP::Impl final : Frame {
  Impl() {
    answersAtFullSize = true;
    decodesNoLevels = true;
  }

  void Close();
  int ReadFile(const XString& path, XString& err);
  int ReadFileExactly(const XString& path, XString& err);
  void AdoptImage(std::unique_ptr<zrk::BmpImage> fresh);
  int ReadIntoMemory(const XFile& from, const zrk::BmpHeader& header, XString& err);
  void AdoptHeader(const BITMAPINFO& header, int type, std::int64_t rowsOffset);
  void AdoptCopy(const BITMAPINFO& header, std::unique_ptr<unsigned char[]> rows);

  int PixelBytes() const { return info->bmiHeader.biBitCount >> 3; }
  int GetPaletteSize() const { return info ? XfnGetDIBPaletteSize(info.get()) : 0; }
  int GetNumChannels() const;
  std::int64_t CalcRowOffset(int y) const;
  bool HoldsRows(const zrk::ReadRequest& request) const;

  zrk::ChannelReads::Record* Decode(const zrk::ReadRequest& request, const int* cancel) override;
  zrk::ChannelReads::Record* Fail(const zrk::ReadRequest& request);
  zrk::ChannelReads::Record* DecodeFromMemory(const zrk::ReadRequest& request);
  zrk::ChannelReads::Record* DecodeFromFile(const zrk::ReadRequest& request, int level);
  zrk::ChannelReads::Record* DecodeFromMapped(const zrk::ReadRequest& request);
  zrk::ChannelReads::Record* DecodeExactly(const zrk::ReadRequest& request);
  void FreeBuffers() override;

  std::unique_ptr<BITMAPINFO> info;
  int sourceType = kSourceNone;
  std::unique_ptr<XFile> file;            // behind kSourceFile, and beside a mapping of it
  std::unique_ptr<zrk::RowFile> rowFile;  // behind kSourceView of a file
  std::unique_ptr<unsigned char[]> copy;  // behind kSourceMemory
  const unsigned char* data = nullptr;    // rows of kSourceMemory, and of kSourceView of memory
  std::int64_t offset = 0;
  std::unique_ptr<zrk::BmpImage> image;  // of a file that is read exactly, in place of all others
  XThreadSafeArr1 rowBuffers;
};

ZRMBandBMP::ZRMBandBMP(ZRMBandBMP* master) : ZRMBandChannels(std::make_unique<Impl>(), master) {
  SetByteRange();
}

ZRMBandBMP::~ZRMBandBMP() = default;

ZRMBandBMP::Impl& ZRMBandBMP::GetImpl() const {
  return static_cast<Impl&>(GetFrame());
}

int ZRMBandBMP::ReadFile(XString path, XString& err, XThread*) {
  err.Empty();
  const int isRead = IsExact() ? zrk::Fenced(err, [&] { return GetImpl().ReadFileExactly(path, err); })
                               : GetImpl().ReadFile(path, err);
  if (!isRead) return 0;
  PlaceAsImage();
  return 1;
}

int ZRMBandBMP::Impl::ReadFile(const XString& path, XString& err) {
  Close();
  auto opened = std::make_unique<XFile>();
  if (!opened->Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "Can't open file : " + path;
    return 0;
  }
  std::array<unsigned char, zrk::kBmpHeaderBytes> bytes;
  const std::int64_t numBytes = std::max<std::int64_t>(opened->ReadAt(0, bytes.data(), zrk::kBmpHeaderBytes), 0);
  zrk::BmpHeader header;
  if (!zrk::ParseBmpHeader({bytes.data(), static_cast<std::size_t>(numBytes)}, header, err)) return 0;
  if (header.imageBytes < kMapFrom) return ReadIntoMemory(*opened, header, err);

  auto rows = std::make_unique<zrk::RowFile>(opened->GetDiskFile());
  // A file that can't be mapped is read through, and then answers levels.
  AdoptHeader(header.info, rows->Map() ? kSourceView : kSourceFile, header.pixelOffset);
  if (rows->Map()) rowFile = std::move(rows);
  file = std::move(opened);
  return 1;
}

int ZRMBandBMP::Impl::ReadFileExactly(const XString& path, XString& err) {
  Close();
  XFile opened;
  if (!opened.Open(path, XFile::kRead | XFile::kShareDenyNone)) {
    err = "Can't open file : " + path;
    return 0;
  }
  auto fresh = std::make_unique<zrk::BmpImage>();
  if (!fresh->Open(opened, err)) return 0;
  AdoptImage(std::move(fresh));
  return 1;
}

void ZRMBandBMP::Impl::AdoptImage(std::unique_ptr<zrk::BmpImage> fresh) {
  info = std::make_unique<BITMAPINFO>(zrk::MakeDibHeader(fresh->GetLayout()));
  image = std::move(fresh);
  sourceType = kSourceFile;
  offset = image->GetLayout().pixelOffset;
}

/// The file's length is asked first, so that a header cannot have memory allocated that no rows will fill.
int ZRMBandBMP::Impl::ReadIntoMemory(const XFile& from, const zrk::BmpHeader& header, XString& err) {
  if (from.GetLength() < header.pixelOffset + header.imageBytes) {
    err = "Can't read bitmap bits";
    return 0;
  }
  std::unique_ptr<unsigned char[]> rows(new (std::nothrow) unsigned char[static_cast<std::size_t>(header.imageBytes)]);
  if (!rows) {
    err = "Can't allocate memory";
    return 0;
  }
  if (from.ReadAt(header.pixelOffset, rows.get(), header.imageBytes) != header.imageBytes) {
    err = "Can't read bitmap bits";
    return 0;
  }
  AdoptCopy(header.info, std::move(rows));
  return 1;
}

/// Results of the old image are forgotten, because a follower would find them otherwise.
void ZRMBandBMP::Impl::Close() {
  sourceType = kSourceNone;
  data = nullptr;
  rowFile.reset();
  file.reset();
  copy.reset();
  image.reset();
  info.reset();
  reads.Forget();
}

void ZRMBandBMP::Impl::AdoptHeader(const BITMAPINFO& header, int type, std::int64_t rowsOffset) {
  // A caller's record may end where its palette does, and may be the one that is replaced here.
  auto own = std::make_unique<BITMAPINFO>();
  const auto paletteBytes = 4 * static_cast<std::size_t>(XfnGetDIBPaletteSize(&header));
  std::memcpy(own.get(), &header, sizeof(BITMAPINFOHEADER) + paletteBytes);
  Close();
  info = std::move(own);
  sourceType = type;
  offset = rowsOffset;
}

void ZRMBandBMP::Impl::AdoptCopy(const BITMAPINFO& header, std::unique_ptr<unsigned char[]> rows) {
  AdoptHeader(header, kSourceMemory, 0);
  copy = std::move(rows);
  data = copy.get();
}

/// Loaders place their bands anew. The upper edge of a band that is opened alone is its height less 1.
void ZRMBandBMP::PlaceAsImage() {
  const BITMAPINFOHEADER& header = GetImpl().info->bmiHeader;
  SetSize(header.biWidth, header.biHeight);
  SetPixelSize(1.0, 1.0);
  SetUpperLeft(0.0, header.biHeight - 1);
}

int ZRMBandBMP::SetImage(XFile* file, std::int64_t offset, const BITMAPINFO* info) {
  if (!file || !info || !zrk::IsServableDib(info->bmiHeader, offset)) return 0;
  Impl& impl = GetImpl();
  // The file may be the band's own already. Giving up the old image must not close it then.
  if (impl.file.get() == file) static_cast<void>(impl.file.release());
  impl.AdoptHeader(*info, kSourceFile, offset);
  impl.file.reset(file);
  PlaceAsImage();
  return 1;
}

int ZRMBandBMP::SetImage(void* bits, std::int64_t offset, const BITMAPINFO* info, int direct) {
  if (!bits || !info || !zrk::IsServableDib(info->bmiHeader, offset)) return 0;
  const auto* rows = static_cast<const unsigned char*>(bits);
  if (direct) {
    GetImpl().AdoptHeader(*info, kSourceView, offset);
    GetImpl().data = rows;
  } else {
    const auto imageBytes = static_cast<std::size_t>(XfnCalcDIBWidthBytes(info) * info->bmiHeader.biHeight);
    std::unique_ptr<unsigned char[]> copy(new (std::nothrow) unsigned char[imageBytes]);
    if (!copy) return 0;
    std::memcpy(copy.get(), rows, imageBytes);
    GetImpl().AdoptCopy(*info, std::move(copy));
  }
  PlaceAsImage();
  return 1;
}

int ZRMBandBMP::GetNumChannels() const {
  return GetImpl().GetNumChannels();
}

int ZRMBandBMP::Impl::GetNumChannels() const {
  if (!info) return 0;
  if (image) return image->GetLayout().numChannels;
  return GetPaletteSize() > 0 ? 3 : PixelBytes();
}

int ZRMBandBMP::GetPaletteSize() const {
  return GetImpl().GetPaletteSize();
}

const BITMAPINFO* ZRMBandBMP::GetBitmapInfo() const {
  return GetImpl().info.get();
}

int ZRMBandBMP::GetSourceType() const {
  return GetImpl().sourceType;
}

std::int64_t ZRMBandBMP::GetOffset() const {
  return GetImpl().offset;
}

/// Followers have no image of their own.
const zrk::BmpImage* ZRMBandBMP::FindExactImage() const {
  const auto* const master = GetMaster() ? static_cast<const ZRMBandBMP*>(GetMaster()) : this;
  return master->GetImpl().image.get();
}

/// A derived class may make something else of the colours.
const void* ZRMBandBMP::GetPaletteSource() const {
  const zrk::BmpImage* const image = FindExactImage();
  return image && image->GetLayout().HasPalette() && typeid(*this) == typeid(ZRMBandBMP) ? image : nullptr;
}

tagXColourMap ZRMBandBMP::GetColourMap() const {
  tagXColourMap map;
  if (!GetPaletteSource()) return map;
  constexpr int kFullScale = 257;  // times a byte uses all 16 bits
  const zrk::BmpLayout& layout = FindExactImage()->GetLayout();
  std::vector<std::uint16_t>* const components[] = {&map.red, &map.green, &map.blue};
  for (std::size_t c = 0; c < layout.palette.size(); ++c) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(layout.numColours); ++i) {
      components[c]->push_back(static_cast<std::uint16_t>(layout.palette[c][i] * kFullScale));
    }
  }
  return map;
}

std::unique_ptr<ZRMBand> ZRMBandBMP::MakeIndexBand() {
  if (!GetPaletteSource()) return nullptr;
  auto band = std::make_unique<ZRMBandBMP>(nullptr);
  band->SetReadPolicy(kReadExact);
  Impl& impl = band->GetImpl();
  impl.AdoptImage(FindExactImage()->MakeIndices());
  band->CopyGeometry(*this);
  band->SetColourRole(kRoleGrey);
  return band;
}

/// Buffers stay, whatever is asked.
void ZRMBandBMP::Impl::FreeBuffers() {}

zrk::ChannelReads::Record* ZRMBandBMP::Impl::Decode(const zrk::ReadRequest& request, const int*) {
  // The band's size can be set to another than the image's, which is the one that bounds the pixels.
  if (!info || request.x1 >= info->bmiHeader.biWidth || request.y1 >= info->bmiHeader.biHeight) return nullptr;
  if (image) return DecodeExactly(request);
  if (sourceType == kSourceFile) return DecodeFromFile(request, request.level);
  return rowFile ? DecodeFromMapped(request) : DecodeFromMemory(request);
}

std::int64_t ZRMBandBMP::Impl::CalcRowOffset(int y) const {
  return offset + (std::int64_t{info->bmiHeader.biHeight} - 1 - y) * XfnCalcDIBWidthBytes(info.get());
}

/// Whether the file, as it is now, holds the rows of a window. Pixels that a caller keeps in memory are taken to be
/// whole.
bool ZRMBandBMP::Impl::HoldsRows(const zrk::ReadRequest& request) const {
  if (!file) return true;
  // Rows lie bottom-up, so the upper row of the window is its last one in the file.
  const std::int64_t end = CalcRowOffset(request.y0) + (request.x1 + std::int64_t{1}) * PixelBytes();
  if (end <= file->GetLength()) return true;
  zrk::NoteReadError("The file ends before rows of the window");
  return false;
}

/// Records a request that was asked and can't be answered, without any memory for it.
zrk::ChannelReads::Record* ZRMBandBMP::Impl::Fail(const zrk::ReadRequest& request) {
  reads.Begin(request, {});
  return nullptr;
}

zrk::ChannelReads::Record* ZRMBandBMP::Impl::DecodeFromMemory(const zrk::ReadRequest& request) {
  const int numChannels = GetNumChannels();
  if (!HoldsRows(request)) return Fail(request);
  zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, request.Width(), request.Height()});
  if (!record) return nullptr;
  const RowUnpacker unpacker(*info, numChannels, 1);
  const std::int64_t firstByte = std::int64_t{request.x0} * PixelBytes();
  for (int y = request.y0; y <= request.y1; ++y) {
    unpacker.Unpack(data + CalcRowOffset(y) + firstByte, static_cast<std::size_t>(request.Width()),
                    RowsOf(*record, y - request.y0).data());
  }
  return record;
}

/// Some rows at a time, from the top of the window, which are the last ones of the file.
zrk::ChannelReads::Record* ZRMBandBMP::Impl::DecodeFromMapped(const zrk::ReadRequest& request) {
  constexpr std::int64_t kReadBytes = 256 << 10;
  const int numChannels = GetNumChannels();
  if (!HoldsRows(request)) return Fail(request);
  zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, request.Width(), request.Height()});
  if (!record) return nullptr;
  const RowUnpacker unpacker(*info, numChannels, 1);
  const std::int64_t numBytes = std::int64_t{request.Width()} * PixelBytes();
  const auto atOnce = static_cast<int>(std::clamp<std::int64_t>(kReadBytes / numBytes, 1, request.Height()));
  const zrk::RowReader reader(*rowFile, numBytes * request.Height());
  for (int y = request.y0; y <= request.y1; y += atOnce) {
    const int numRows = std::min(atOnce, request.y1 - y + 1);
    const zrk::FileRows rows{CalcRowOffset(y + numRows - 1) + std::int64_t{request.x0} * PixelBytes(),
                             XfnCalcDIBWidthBytes(info.get()), numBytes, numRows};
    const std::int64_t roomBytes = zrk::RowReader::CountRoomBytes(rows, numBytes);
    tagXArr1* room = roomBytes <= INT32_MAX ? rowBuffers.GetBuffer(static_cast<int>(roomBytes), 1) : nullptr;
    const zrk::RowReader::Fetched fetched = room ? reader.Fetch(rows, numBytes, room->data) : zrk::RowReader::Fetched{};
    if (!fetched.first) return nullptr;
    for (int i = 0; i < numRows; ++i) {
      unpacker.Unpack(fetched.first + (numRows - 1 - i) * fetched.stride, static_cast<std::size_t>(request.Width()),
                      RowsOf(*record, y - request.y0 + i).data());
    }
  }
  return record;
}

zrk::ChannelReads::Record* ZRMBandBMP::Impl::DecodeExactly(const zrk::ReadRequest& request) {
  zrk::ChannelReads::Record* const record = reads.Begin(request, {GetNumChannels(), request.Width(), request.Height()});
  return record && image->Read(request, *record) ? record : nullptr;
}

zrk::ChannelReads::Record* ZRMBandBMP::Impl::DecodeFromFile(const zrk::ReadRequest& request, int level) {
  if (level < 0 || level > kMaxLevel || !HoldsRows(request)) return Fail(request);
  const int width = request.Width() >> level, height = request.Height() >> level;
  const int numChannels = GetNumChannels();
  zrk::ChannelReads::Record* const record = reads.Begin(request, {numChannels, width, height});
  if (!record) return nullptr;

  const int step = 1 << level;
  const std::int64_t firstByte = std::int64_t{request.x0} * PixelBytes();
  // A row is read up to the last pixel that is taken, because the file may end right behind it.
  const std::int64_t numBytes = ((std::int64_t{width} - 1) * step + 1) * PixelBytes();
  tagXArr1* row = numBytes <= INT32_MAX ? rowBuffers.GetBuffer(static_cast<int>(numBytes), 1) : nullptr;
  if (!row) return nullptr;
  const RowUnpacker unpacker(*info, numChannels, step);
  for (int j = 0; j < height; ++j) {
    const std::int64_t at = CalcRowOffset(request.y0 + j * step) + firstByte;
    if (file->ReadAt(at, row->data, numBytes) != numBytes) return nullptr;
    unpacker.Unpack(row->data, static_cast<std::size_t>(width), RowsOf(*record, j).data());
  }
  return record;
}

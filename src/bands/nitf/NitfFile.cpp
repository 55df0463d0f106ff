// Our own reading of the headers comes first. It tells what callers want to know of the file, and it is the gate in
// front of GDAL: an image of impossible sizes or beyond the limits is refused before GDAL makes tables for it.
//
// GDAL hands blocks that are coded as JPEG or JPEG 2000 on to its drivers of these formats. They read the same file
// through the same door. It makes a TIFF file in memory of a block of two levels.
//
// Plain blocks are read without GDAL, which would copy each of them once more (NitfPlain). So are blocks of grey JPEG,
// since GDAL would open a dataset for each of them (NitfJpeg).

#include "bands/nitf/NitfFile.h"

#include "bands/nitf/NitfCodestream.h"
#include "bands/nitf/NitfLayout.h"
#include "bands/nitf/NitfPlain.h"
#include "base/Checked.h"
#include "geo/GdalMemory.h"
#include "geo/GdalScope.h"
#include "XFile.h"
#include "XLimits.h"

#include <gdal_frmts.h>
#include <gdal_priv.h>
#include <algorithm>
#include <mutex>
#include <utility>

namespace zrk {

namespace {

/// Blocks of two levels go through libtiff, which prints its complaints until GDAL's driver of TIFF has been used. They
/// come to GDAL from then on.
void UseTiffOnce() {
  GDALRegister_GTiff();
  const QuietGdal quiet;
  const GdalMemoryFile file;
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  if (driver) GDALClose(driver->Create(file.GetName(), 1, 1, 1, GDT_Byte, nullptr));
}

void RegisterNitf() {
  static std::once_flag once;
  std::call_once(once, [] {
    GDALRegister_NITF();
    GDALRegister_JPEG();
    GDALRegister_JP2OpenJPEG();
    UseTiffOnce();
  });
}

// Notes beside the file are not looked at, no threads are started, blocks are read whatever codes them, and damage that
// libjpeg warns of is told as a warning.
constexpr const char* kNitfSwitches[] = {"GDAL_PAM_ENABLED=NO", "GDAL_NUM_THREADS=1", "NITF_OPEN_UNDERLYING_DS=YES",
                                         "GDAL_ERROR_ON_LIBJPEG_WARNING=NO", nullptr};
constexpr GdalFormat kNitfDriver = {"NITF", &RegisterNitf, "The file is no NITF file, or is damaged", true,
                                    kNitfSwitches};
constexpr const char* kNitfTooLarge = "The image is too large for the limits";

std::vector<unsigned char> ReadRange(const XFile& file, std::int64_t offset, std::int64_t count) {
  const std::int64_t most = std::clamp<std::int64_t>(file.GetLength() - offset, 0, std::max<std::int64_t>(count, 0));
  std::vector<unsigned char> bytes(static_cast<std::size_t>(most));
  bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(file.ReadAt(offset, bytes.data(), most), 0)));
  return bytes;
}

/// Whether the limits allow the image. Bands that lie pixel by pixel are decoded together, and GDAL has a table of the
/// blocks of all bands.
bool IsAllowed(const NitfImage& image) {
  constexpr std::int64_t kTableBytes = 16, kMaxSampleBytes = 16;
  const tagXLimits limits = XfnGetLimits();
  if (image.numBands > limits.channels) return false;
  // Fields of 8 and of 4 digits can't overflow here.
  const std::int64_t blocks = image.blocksAcross * image.blocksDown * image.numBands;
  const auto blockBytes = CheckedMultiply(image.blockWidth * image.blockHeight * kMaxSampleBytes, image.numBands);
  return image.width * image.height <= limits.imagePixels && blocks <= limits.tableBytes / kTableBytes && blockBytes &&
         *blockBytes / kMaxSampleBytes <= limits.decodedTileBytes;
}

bool IsPossible(const NitfImage& image) {
  return image.width > 0 && image.height > 0 && image.numBands > 0 && image.blocksAcross > 0 && image.blocksDown > 0 &&
         image.blockWidth > 0 && image.blockHeight > 0;
}

/// Reads the headers of the file and of its first image. Empty, or the reason why they can't be used.
XString ReadHeaders(const XString& path, NitfLayout& layout, XFile& file) {
  constexpr std::int64_t kHeadBytes = 512, kMaxHeaderBytes = 1000000;
  if (!file.Open(path, XFile::kRead | XFile::kShareDenyNone)) return "The file can't be opened";
  const auto headerBytes = CountNitfHeaderBytes(ReadRange(file, 0, kHeadBytes));
  if (!headerBytes) return "The file is no NITF file";
  NitfHeader& header = layout.header;
  if (!ParseNitfHeader(ReadRange(file, 0, std::min(*headerBytes, kMaxHeaderBytes)), header)) {
    return "The header of the file is damaged";
  }
  if (header.images.empty()) return "The file has no image";
  const NitfSegment& first = header.images.front();
  const std::vector<unsigned char> bytes = ReadRange(file, first.offset, std::min(first.headerBytes, kMaxHeaderBytes));
  if (!ParseNitfImage(bytes, header, layout.image) || !IsPossible(layout.image)) {
    return "The header of the image is damaged";
  }
  if (!IsAllowed(layout.image)) return kNitfTooLarge;
  const bool isJpeg2000 = layout.image.compression == "C8" || layout.image.compression == "M8";
  return isJpeg2000 ? CheckNitfCodestream(file, first, layout.image) : XString();
}

}  // namespace

NitfFile::NitfFile(const XString& path, bool isExact) : handles_(kNitfDriver, path, isExact) {}

const BlockFile* NitfFile::GetBlocks() const {
  const NitfImage& image = layout_.image;
  const bool isPlain = image.compression == "NC" || image.compression == "NM";
  return isPlain && image.blocksAcross == 1 && image.blocksDown == 1 ? nullptr : &blocks_;
}

const PlainBlocks* NitfFile::FindPlain(int band) const {
  const auto number = static_cast<std::size_t>(band);
  return number < plain_.size() ? &plain_[number] : nullptr;
}

/// The bands of an image are plain all together or not at all.
void NitfFile::TakePlain(const XFile& opened) {
  const auto rows = std::make_shared<const RowFile>(opened.GetDiskFile());
  for (int band = 0; band < std::ssize(layout_.bands); ++band) {
    std::optional<PlainBlocks> blocks = FindPlainNitf(layout_, band, rows);
    if (!blocks) break;
    plain_.push_back(std::move(*blocks));
  }
}

std::shared_ptr<NitfFile> NitfFile::Open(const XString& path, bool isExact, XString& reason) {
  auto file = std::make_shared<NitfFile>(path, isExact);
  XFile opened;
  reason = ReadHeaders(path, file->layout_, opened);
  if (!reason.IsEmpty()) return nullptr;
  const auto describe = [&](GDALDataset& dataset, XString& why) { return DescribeNitf(dataset, file->layout_, why); };
  if (!file->handles_.Open(describe, reason)) return nullptr;
  file->TakePlain(opened);
  if (NitfJpeg::Suits(file->layout_.image, file->layout_.grid) && file->layout_.bands.size() == 1) {
    const NitfSegment& first = file->layout_.header.images.front();
    file->jpeg_ = std::make_unique<NitfJpeg>(opened.GetDiskFile(), first, file->layout_.image);
  }
  return file;
}

}  // namespace zrk

#include "codec/TiffOutput.h"

#include "base/Checked.h"
#include "base/Disk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>

#include <xtiffio.h>

namespace zrk {
namespace {

/// Fewer bytes are not worth a call of their own.
constexpr std::int64_t kSyncBytes = 512 << 10;

}  // namespace

bool NeedsBigTiff(std::int64_t sampleBytes, std::int64_t numStrips, std::int64_t numBands) {
  // Of a strip its place and its length are listed, of a band three words, and all other tags take less than the rest.
  constexpr std::int64_t kPerStrip = 8, kPerBand = 6, kOthers = 256 << 10;
  const auto strips = CheckedMultiply(numStrips, kPerStrip), bands = CheckedMultiply(numBands, kPerBand);
  const auto lists = strips && bands ? CheckedAdd(*strips, *bands) : std::nullopt;
  const auto all = lists ? CheckedAdd(sampleBytes, *lists) : std::nullopt;
  return !all || *all > std::int64_t{UINT32_MAX} - kOthers;
}

std::unique_ptr<TiffOutput> TiffOutput::Create(std::shared_ptr<DiskFile> file, bool isBig) {
  KnowGeoTags();
  std::unique_ptr<TiffOutput> output(new TiffOutput(std::move(file)));
  const TiffOptions options = MakeTiffOptions(output->messages_);
  if (!options) return nullptr;
  // No reader knows the name, and libtiff uses it in its messages alone.
  output->tiff_ = TIFFClientOpenExt("output", isBig ? "w8" : "w", output.get(), &Read, &Write, &Seek, &Close, &Size,
                                    nullptr, nullptr, options.get());
  return output->tiff_ ? std::move(output) : nullptr;
}

TiffOutput::~TiffOutput() {
  if (tiff_) XTIFFClose(tiff_);
}

/// Strips are written with none of their samples, which are only counted.
bool TiffOutput::LayOutStrips() {
  std::uint32_t height = 0, rowsPerStrip = 0;
  if (!TIFFGetField(tiff_, TIFFTAG_IMAGELENGTH, &height) || height == 0) return false;
  TIFFGetFieldDefaulted(tiff_, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
  rowsPerStrip = std::clamp(rowsPerStrip, 1u, height);
  const std::uint32_t stripsPerPlane = (height - 1) / rowsPerStrip + 1, numStrips = TIFFNumberOfStrips(tiff_);
  const tmsize_t whole = TIFFVStripSize(tiff_, rowsPerStrip);
  const tmsize_t last = TIFFVStripSize(tiff_, height - (stripsPerPlane - 1) * rowsPerStrip);
  if (whole <= 0 || last <= 0 || numStrips == 0) return false;
  for (std::uint32_t strip = 0; strip < numStrips; ++strip) {
    const tmsize_t size = strip % stripsPerPlane == stripsPerPlane - 1 ? last : whole;
    unsigned char nothing = 0;
    if (TIFFWriteRawStrip(tiff_, strip, &nothing, size) != size) return false;
  }
  return true;
}

TiffOutput::Result TiffOutput::LayOut() {
  if (!tiff_) return Result::kFailed;
  layout_.takesSamples = true;
  const bool hasStrips = LayOutStrips();
  layout_.takesSamples = false;
  const bool isDone = hasStrips && TIFFFlush(tiff_);
  XTIFFClose(tiff_);
  tiff_ = nullptr;
  if (!isDone) return Result::kFailed;
  // A disk that can't give room ahead gives it as it is written.
  const int error = file_->Preallocate(layout_.Size());
  return error == ENOSPC || error == EDQUOT ? Result::kDiskFull : Result::kDone;
}

bool TiffOutput::WriteSamples(std::int64_t place, const void* samples, std::int64_t numBytes) {
  const auto end = CheckedAdd(place, numBytes);
  if (place < 0 || numBytes < 0 || !end || *end > layout_.numSampleBytes) return false;
  const std::int64_t offset = static_cast<std::int64_t>(layout_.head.size()) + place;
  if (file_->WriteAt(offset, samples, numBytes) != 0) return false;
  // The file is brought to the medium in the end, and what is on its way by then need not be waited for.
  if (numBytes >= kSyncBytes) file_->StartSync(offset, numBytes);
  return true;
}

bool TiffOutput::Finish() {
  const auto write = [this](std::int64_t place, const std::vector<unsigned char>& bytes) {
    return file_->WriteAt(place, bytes.data(), static_cast<std::int64_t>(bytes.size())) == 0;
  };
  isFinished_ = write(layout_.TailBegin(), layout_.tail) && write(0, layout_.head);
  return isFinished_;
}

std::int64_t TiffOutput::Layout::Read(void* buffer, std::int64_t count) {
  const bool isInTail = position >= TailBegin();
  const std::vector<unsigned char>& part = isInTail ? tail : head;
  const std::int64_t from = isInTail ? position - TailBegin() : position;
  const std::int64_t got = std::min(static_cast<std::int64_t>(part.size()) - from, count);
  if (got <= 0) return 0;
  std::memcpy(buffer, part.data() + from, static_cast<std::size_t>(got));
  position += got;
  return got;
}

std::int64_t TiffOutput::Layout::Write(const void* buffer, std::int64_t count) {
  if (takesSamples) {
    // libtiff appends them, and nothing else as long as it does.
    if (position != Size()) return 0;
    numSampleBytes += count;
  } else {
    const bool isInTail = numSampleBytes > 0 && position >= TailBegin();
    std::vector<unsigned char>& part = isInTail ? tail : head;
    const auto from = static_cast<std::size_t>(isInTail ? position - TailBegin() : position);
    const std::size_t end = from + static_cast<std::size_t>(count);
    if (!isInTail && numSampleBytes > 0 && end > head.size()) return 0;
    part.resize(std::max(part.size(), end));
    std::memcpy(part.data() + from, buffer, static_cast<std::size_t>(count));
  }
  position += count;
  return count;
}

// libtiff calls these, so nothing may be thrown out of them.

tmsize_t TiffOutput::Read(thandle_t self, void* buffer, tmsize_t count) {
  return count <= 0 ? 0 : static_cast<TiffOutput*>(self)->layout_.Read(buffer, count);
}

tmsize_t TiffOutput::Write(thandle_t self, void* buffer, tmsize_t count) {
  try {
    return count <= 0 ? 0 : static_cast<TiffOutput*>(self)->layout_.Write(buffer, count);
  } catch (const std::exception&) {
    return 0;
  }
}

toff_t TiffOutput::Seek(thandle_t self, toff_t offset, int origin) {
  Layout& layout = static_cast<TiffOutput*>(self)->layout_;
  const std::int64_t base = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? layout.position : layout.Size();
  const auto target = CheckedAdd(base, static_cast<std::int64_t>(offset));
  if (!target || *target < 0) return static_cast<toff_t>(-1);
  layout.position = *target;
  return static_cast<toff_t>(*target);
}

int TiffOutput::Close(thandle_t) {
  return 0;
}

toff_t TiffOutput::Size(thandle_t self) {
  return static_cast<toff_t>(static_cast<TiffOutput*>(self)->layout_.Size());
}

}  // namespace zrk

#include "TiffTrial.h"

#include "MemoryDisk.h"
#include "Samples.h"
#include "XMessageBox.h"
#include "XRSFileIO.h"
#include "ZRMBandGTIFF.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <ctime>

// The address sanitizer has it, and programs without a sanitizer lack it.
extern "C" [[gnu::weak]] int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, std::size_t),
                                                                       void (*)(const volatile void*));

namespace {

std::atomic<std::size_t> largestPiece = 0;

/// Every allocation of the process, also those in libtiff.
void NotePiece(const volatile void*, std::size_t size) {
  std::size_t largest = largestPiece;
  while (size > largest && !largestPiece.compare_exchange_weak(largest, size)) {
  }
}

void WatchPieces() {
  static const bool isKnown = &__sanitizer_install_malloc_and_free_hooks == nullptr ||
                              __sanitizer_install_malloc_and_free_hooks(&NotePiece, [](const volatile void*) {}) != 0;
  EXPECT_TRUE(isKnown);
  largestPiece = 0;
}

/// Processor time, so that what else the machine does is left out.
double SecondsOfThread() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Bytes of a decoded block, in the widest form that the readers make of it.
std::int64_t BlockBytesOf(XRSFile& file) {
  if (file.GetNumOfBands() == 0) return 0;
  const auto& band = dynamic_cast<ZRMBandGTIFF&>(*file.GetBandAt(0));
  if (band.GetBlocksAcross() == 0) return 0;
  const std::int64_t samples = band.GetPlanarConfiguration() == 2 ? 1 : band.GetSamplesPerPixel();
  const std::int64_t pixelBytes = std::max<std::int64_t>((samples * band.GetBitsPerSample() + 7) / 8, 4);
  return pixelBytes * band.GetBlockWidth() * band.GetBlockHeight();
}

void AddPixels(TiffTrial& trial, const Pixels& pixels) {
  if (pixels.bytes.empty()) return;
  ++trial.numReads;
  for (const unsigned char byte : pixels.bytes) {
    trial.sum = trial.sum * 1099511628211u + byte + 1;
    trial.hasPixels |= byte != 0;
  }
}

void ReadCorners(ZRMBand& band, TiffTrial& trial) {
  const Window whole = WholeWindowOf(band);
  // Exact reads look for reduced images.
  if (band.IsExact()) AddPixels(trial, ReadPixels(band, 1, {0, std::min(whole.x1, 99), 0, std::min(whole.y1, 99)}));
  AddPixels(trial, ReadPixels(band, 0, {0, std::min(whole.x1, 99), 0, std::min(whole.y1, 99)}));
  AddPixels(trial, ReadPixels(band, 0, {std::max(whole.x1 - 99, 0), whole.x1, std::max(whole.y1 - 99, 0), whole.y1}));
}

TiffTrial TryOnce(const std::vector<unsigned char>& bytes, XReadPolicy policy) {
  constexpr std::int64_t kTableBytes = std::int64_t{64} << 20;
  MemoryDisk disk;
  disk.Add("damaged.tif", bytes);
  const zrk::ScopedDisk scoped(disk);
  XRSFile file;
  file.SetReadPolicy(policy);
  XString err;
  int numMessages = 0;
  const XMessageBoxHandler before = XfnSetMessageBoxHandler([&](const XString&, const XString&, unsigned) {
    ++numMessages;
    return static_cast<int>(kAnswerOk);
  });
  WatchPieces();
  const double start = SecondsOfThread();
  TiffTrial trial;
  trial.isOpen = XRSFileIO::LoadFileRaster(&file, kFormatTIF, "damaged.tif", err, 0, kLevelNone, nullptr) != 0;
  XfnSetMessageBoxHandler(before);
  EXPECT_TRUE(trial.isOpen || !err.IsEmpty() || (numMessages == 1 && policy == kReadCompatible));
  EXPECT_EQ(trial.isOpen, file.GetNumOfBands() > 0);
  // Of thousands of channels some tell as much as all.
  const int step = std::max(1, file.GetNumOfBands() / 4);
  for (int i = 0; i < file.GetNumOfBands(); i += step) ReadCorners(*file.GetBandAt(i), trial);
  EXPECT_LT(SecondsOfThread() - start, 2.0);
  EXPECT_LE(static_cast<std::int64_t>(largestPiece.load()), kTableBytes + BlockBytesOf(file));
  return trial;
}

}  // namespace

TiffTrial TryTiff(const std::vector<unsigned char>& bytes) {
  const TiffTrial first = TryOnce(bytes, kReadCompatible);
  EXPECT_TRUE(first == TryOnce(bytes, kReadCompatible)) << "other pixels at the second time";
  TryOnce(bytes, kReadExact);
  return first;
}

std::size_t FindTiffDirectory(const std::vector<unsigned char>& bytes) {
  if (bytes.size() < 16) return 0;
  const bool isBigEndian = bytes[0] == 'M';
  const bool isBigTiff = (isBigEndian ? bytes[3] : bytes[2]) == 43;
  const int first = isBigTiff ? 8 : 4, count = isBigTiff ? 8 : 4;
  std::uint64_t place = 0;
  for (int i = 0; i < count; ++i)
    place = place << 8 | bytes[static_cast<std::size_t>(first + (isBigEndian ? i : count - 1 - i))];
  return place < bytes.size() ? static_cast<std::size_t>(place) : 0;
}

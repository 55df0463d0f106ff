// Opens a picture, tells what it is, and reads it from several threads at once. Shows that bands need no lock: each
// thread gets buffers of its own from the same band, and the pixels are those of a single thread. Uses the public
// interface only.

#include <ZRKio.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

constexpr int kWindow = 128;
constexpr int kThreads = 4;

using Checksums = std::vector<std::uint64_t>;

/// The hash FNV-1a of a buffer, continued from `hash`.
std::uint64_t Hash(std::uint64_t hash, const tagXArr2& pixels) {
  const unsigned char* const end = pixels.data + std::int64_t{pixels.xSize} * pixels.ySize * pixels.elementSize;
  for (const unsigned char* byte = pixels.data; byte != end; ++byte) hash = (hash ^ *byte) * 0x100000001B3;
  return hash;
}

/// Reads every `stride`-th window of the picture from window `first` on, all bands, and stores a checksum of each.
bool ReadWindows(const XRSFile& picture, int first, int stride, Checksums& checksums) {
  const int columns = picture.GetBandAt(0)->GetXSize() / kWindow;
  for (int i = first; i < static_cast<int>(checksums.size()); i += stride) {
    const int x = i % columns * kWindow, y = i / columns * kWindow;
    std::uint64_t hash = 0xCBF29CE484222325;
    for (int b = 0; b < picture.GetNumOfBands(); ++b) {
      tagXArr2* pixels = nullptr;  // belongs to the band
      if (!picture.GetBandAt(b)->ReadSubset(pixels, 0, x, x + kWindow - 1, y, y + kWindow - 1, nullptr)) return false;
      hash = Hash(hash, *pixels);
    }
    // Threads write different elements, and so need no lock here either.
    checksums[static_cast<std::size_t>(i)] = hash;
  }
  return true;
}

/// Reads all windows on `numThreads` threads. Answers the seconds that it took, or a negative number where a read
/// failed.
double ReadAllWindows(const XRSFile& picture, int numThreads, Checksums& checksums) {
  const auto start = std::chrono::steady_clock::now();
  std::vector<char> isRead(static_cast<std::size_t>(numThreads), 0);
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(numThreads));
  for (int t = 0; t < numThreads; ++t) {
    threads.emplace_back(
        [&, t] { isRead[static_cast<std::size_t>(t)] = ReadWindows(picture, t, numThreads, checksums) ? 1 : 0; });
  }
  for (std::thread& thread : threads) thread.join();
  for (const char read : isRead) {
    if (!read) return -1.0;
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Describe(const XRSFile& picture) {
  const ZRMBand& first = *picture.GetBandAt(0);
  std::printf("%s: %d x %d pixels, %d bands of %s\n", picture.GetFileName().GetText(), first.GetXSize(),
              first.GetYSize(), picture.GetNumOfBands(), XfnGetDataTypeString(first.GetDataType()));
  double west = 0.0, east = 0.0, south = 0.0, north = 0.0;
  picture.GetBoundRect(west, east, south, north);
  std::printf("from %g to %g in x and from %g to %g in y, %g by %g a pixel\n\n", west, east, south, north,
              picture.GetXPixelSize(), picture.GetYPixelSize());
  std::printf("%-12s %7s %7s %9s %9s\n", "band", "least", "most", "mean", "deviation");
  for (int i = 0; i < picture.GetNumOfBands(); ++i) {
    const ZRMBand& band = *picture.GetBandAt(i);
    std::printf("%-12s %7g %7g %9.2f %9.2f\n", band.GetBandName().GetText(), band.GetBandMin(), band.GetBandMax(),
                band.GetBandMean(), band.GetBandStdDev());
  }
}

/// Whether several threads read the same pixels as one. Prints how long each took.
bool CompareThreads(const XRSFile& picture) {
  const ZRMBand& first = *picture.GetBandAt(0);
  const int numWindows = first.GetXSize() / kWindow * (first.GetYSize() / kWindow);
  Checksums alone(static_cast<std::size_t>(numWindows)), together(alone.size());
  const double secondsAlone = ReadAllWindows(picture, 1, alone);
  const double secondsTogether = ReadAllWindows(picture, kThreads, together);
  if (secondsAlone < 0.0 || secondsTogether < 0.0 || alone != together) return false;
  std::printf("\n%d windows of %d x %d: %.1f ms on one thread, %.1f ms on %d threads, the same pixels\n", numWindows,
              kWindow, kWindow, secondsAlone * 1e3, secondsTogether * 1e3, kThreads);
  return true;
}

}  // namespace

/// The picture is opened with its statistics, which `Describe` prints.
int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "Usage: worldpicture FILE\n");
    return 2;
  }
  const XString path = argv[1];
  XRSFile picture;
  XString err;
  const int id = XRSFileIO::GetIDFromExt(XfnGetFileExt(path));
  if (!XRSFileIO::LoadFileRaster(&picture, id, path, err, 1, kLevelNone, nullptr)) {
    std::fprintf(stderr, "%s: %s\n", path.GetText(), err.GetText());
    return 1;
  }
  Describe(picture);
  if (CompareThreads(picture)) return 0;
  std::fprintf(stderr, "The threads did not read the same pixels.\n");
  return 1;
}

// Many threads at once on the bands of one file get what one thread gets.

#include "BmpBuilder.h"
#include "JpegBuilder.h"
#include "TempFolder.h"
#include "XFile.h"
#include "ZRMBandBMP.h"
#include "ZRMBandJPG.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

template <class Band>
class Image {
 public:
  explicit Image(const std::string& path) : master_(nullptr) {
    XString err;
    EXPECT_EQ(1, master_.ReadFile(path, err, nullptr)) << err.GetText();
    for (int c = 1; c < master_.GetNumChannels(); ++c) {
      followers_.push_back(std::make_unique<Band>(&master_));
      followers_.back()->SetChannel(c);
    }
  }
  int GetNumChannels() const { return master_.GetNumChannels(); }
  Band& At(int c) { return c == 0 ? master_ : *followers_[static_cast<std::size_t>(c - 1)]; }
  Band& GetMaster() { return master_; }

  /// The samples of a window of one channel; empty where the read fails.
  std::vector<unsigned char> Read(int c, int level, int x0, int x1, int y0, int y1) {
    tagXArr2* out = nullptr;
    if (!At(c).ReadSubset(out, level, x0, x1, y0, y1, nullptr)) return {};
    return {out->data, out->data + static_cast<std::size_t>(out->xSize) * static_cast<std::size_t>(out->ySize)};
  }

 private:
  Band master_;
  std::vector<std::unique_ptr<Band>> followers_;
};

/// SeriesWindow `i` of a series that overlaps itself.
struct SeriesWindow {
  SeriesWindow(int i, int width, int height)
      : x0(i * 7 % (width / 2)), x1(x0 + width / 2 - 1), y0(i * 5 % (height / 2)), y1(y0 + height / 2 - 1) {}
  int x0, x1, y0, y1;
};

constexpr int kNumReaders = 8;
constexpr int kNumWindows = 12;

template <class Band>
void ExpectSameBytesFromThreads(Image<Band>& image, Image<Band>& reference, int level) {
  const int width = image.GetMaster().GetXSize(), height = image.GetMaster().GetYSize();
  std::vector<std::vector<unsigned char>> expected;
  for (int i = 0; i < kNumWindows; ++i) {
    const SeriesWindow w(i, width, height);
    for (int c = 0; c < image.GetNumChannels(); ++c)
      expected.push_back(reference.Read(c, level, w.x0, w.x1, w.y0, w.y1));
    ASSERT_FALSE(expected.back().empty());
  }
  std::atomic<int> numDifferent = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kNumReaders; ++t) {
    threads.emplace_back([&, t] {
      for (int k = 0; k < 3 * kNumWindows; ++k) {
        const int i = (k + t) % kNumWindows;
        const SeriesWindow w(i, width, height);
        for (int c = 0; c < image.GetNumChannels(); ++c) {
          const auto bytes = image.Read(c, level, w.x0, w.x1, w.y0, w.y1);
          if (bytes != expected[static_cast<std::size_t>(i * image.GetNumChannels() + c)]) ++numDifferent;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numDifferent);
}

TEST(ReadingThreads, ReadABitmapInMemoryAlike) {
  TempFolder folder;
  folder.Write("a.bmp", BmpBuilder().Size(90, 60).Bits(24).Build());
  Image<ZRMBandBMP> image(folder.Path("a.bmp")), reference(folder.Path("a.bmp"));
  ExpectSameBytesFromThreads(image, reference, 0);
}

TEST(ReadingThreads, ReadAMappedBitmapAlike) {
  TempFolder folder;
  const BmpBuilder builder = BmpBuilder().Size(4000, 2700).Bits(24);
  folder.Write("a.bmp", builder.Build());
  Image<ZRMBandBMP> image(folder.Path("a.bmp"));
  ASSERT_EQ(ZRMBandBMP::kSourceView, image.GetMaster().GetSourceType());
  std::atomic<int> numDifferent = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kNumReaders; ++t) {
    threads.emplace_back([&, t] {
      for (int k = 0; k < 20; ++k) {
        const int x = (k * 191 + t * 37) % 3900, y = (k * 97 + t * 11) % 2600;
        const auto bytes = image.Read(k % 3, 0, x, x + 63, y, y + 63);
        const unsigned char first[] = {BmpBuilder::Red(x, y), BmpBuilder::Green(x, y), BmpBuilder::Blue(x, y)};
        const unsigned char last[] = {BmpBuilder::Red(x + 63, y + 63), BmpBuilder::Green(x + 63, y + 63),
                                      BmpBuilder::Blue(x + 63, y + 63)};
        if (bytes.size() != 64 * 64 || bytes.front() != first[k % 3] || bytes.back() != last[k % 3]) ++numDifferent;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numDifferent);
}

TEST(ReadingThreads, ReadABitmapThroughItsFileAlike) {
  TempFolder folder;
  folder.Write("a.bmp", BmpBuilder().Size(90, 60).Bits(24).Build());
  Image<ZRMBandBMP> image(folder.Path("a.bmp")), reference(folder.Path("a.bmp"));
  for (Image<ZRMBandBMP>* each : {&image, &reference}) {
    auto file = std::make_unique<XFile>();
    ASSERT_EQ(1, file->Open(folder.Path("a.bmp"), XFile::kRead | XFile::kShareDenyNone));
    const BITMAPINFO info = *each->GetMaster().GetBitmapInfo();
    ASSERT_EQ(1, each->GetMaster().SetImage(file.release(), 54, &info));
  }
  ExpectSameBytesFromThreads(image, reference, 1);
}

TEST(ReadingThreads, ReadAColourJpegAlikeFromTheFirstReadOn) {
  TempFolder folder;
  folder.Write("a.jpg", JpegBuilder().Size(90, 60).Build());
  Image<ZRMBandJPG> image(folder.Path("a.jpg")), reference(folder.Path("a.jpg"));
  ExpectSameBytesFromThreads(image, reference, 0);
}

TEST(ReadingThreads, ReadAGreyJpegAlikeFromTheFirstReadOn) {
  TempFolder folder;
  folder.Write("a.jpg", JpegBuilder().Size(90, 60).Grey().Build());
  Image<ZRMBandJPG> image(folder.Path("a.jpg")), reference(folder.Path("a.jpg"));
  ExpectSameBytesFromThreads(image, reference, 0);
}

}  // namespace

// Files that another process cuts short, and makes long again, while windows are read from them. A read may fail or
// give zeros; a signal would end this program.

#include "Samples.h"
#include "TempFolder.h"
#include "TiffBuilder.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <new>
#include <string>

namespace {

/// A process of its own that cuts a file to a few bytes and makes it long again, over and over. It asks for nothing but
/// system calls, as a child of a process with threads must.
class Cutter {
 public:
  explicit Cutter(const std::string& path) : length_(static_cast<off_t>(std::filesystem::file_size(path))) {
    void* const shared =
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    numCuts_ = new (shared) std::atomic<int>(0);
    const pid_t parent = getpid();
    child_ = fork();
    if (child_ == 0) {
      // A signal that ends the parent, which is what these tests look for, must end this process as well.
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (getppid() == parent) CutForEver(path.c_str());
      _exit(1);
    }
  }
  ~Cutter() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
    munmap(numCuts_, sizeof(std::atomic<int>));
  }
  int GetNumCuts() const { return *numCuts_; }

 private:
  [[noreturn]] void CutForEver(const char* path) const {
    for (;;) {
      if (truncate(path, length_ / 8) != 0 || truncate(path, length_) != 0) _exit(1);
      ++*numCuts_;
    }
  }

  off_t length_;
  std::atomic<int>* numCuts_;
  pid_t child_;
};

std::vector<unsigned char> BuildSample(const std::string& name) {
  for (const Sample& sample : AllSamples()) {
    if (name == sample.name) return sample.build();
  }
  return {};
}

struct CutFile {
  const char* name;
  int formatId;
  std::vector<unsigned char> (*build)();
  friend std::ostream& operator<<(std::ostream& stream, const CutFile& file) { return stream << file.name; }
};

class CutFiles : public testing::TestWithParam<CutFile> {
 protected:
  CutFiles() {
    folder_.Write("a", GetParam().build());
    XfnSetMappedReads(false);
  }
  ~CutFiles() override { XfnSetMappedReads(true); }

  /// Reads windows of the first band, one beside the other, until the file was cut so often.
  static void ReadWhileCut(ZRMBand& band, const Cutter& cutter, int numCuts) {
    constexpr int kSide = 256;
    for (int i = 0; cutter.GetNumCuts() < numCuts; ++i) {
      const int x = i * kSide % std::max(band.GetXSize() - kSide, 1), y = i * 37 % std::max(band.GetYSize() - kSide, 1);
      const Window window{x, std::min(x + kSide, band.GetXSize()) - 1, y, std::min(y + kSide, band.GetYSize()) - 1};
      ReadPixels(band, 0, window);
    }
  }

  TempFolder folder_;
};

TEST_P(CutFiles, RaiseNoSignal) {
  XRSFile file;
  XString err;
  ASSERT_TRUE(XRSFileIO::LoadFileRaster(&file, GetParam().formatId, folder_.Path("a"), err, 0, kLevelNone, nullptr))
      << err;
  const Cutter cutter(folder_.Path("a"));
  ReadWhileCut(*file.GetBandAt(0), cutter, 3000);
  EXPECT_LE(3000, cutter.GetNumCuts());
}

INSTANTIATE_TEST_SUITE_P(
    PlainFiles, CutFiles,
    testing::Values(CutFile{"Bmp", kFormatBMP, [] { return BuildSample("Bmp24Mapped"); }},
                    CutFile{"TiffStrips", kFormatTIF, [] { return TiffBuilder().Size(5000, 600).Strips(16).Build(); }},
                    CutFile{"TiffPixels", kFormatTIF,
                            [] { return TiffBuilder().Size(5000, 400).Samples(3).Photometric(2).Strips(400).Build(); }},
                    CutFile{"Native", kFormatZRM, [] { return BuildSample("NativePlain3Bands"); }}),
    [](const auto& one) { return std::string(one.param.name); });

}  // namespace

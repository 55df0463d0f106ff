#pragma once

#include "FaultyDisk.h"
#include "tagXArr2.h"
#include "XReadPolicy.h"
#include "XRSFile.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

// The files over which the conformance suite runs: one row a kind of file that the library reads. Each folder of
// formats/ has a source <Name>Samples.cpp with a function Make<Name>Samples, which the build collects.

/// What a read at level n gives: full resolution whatever the level, every 2^n-th sample of every 2^n-th row, such
/// samples of each block counted from its own first one, or means of four samples of the level above as far as the file
/// has levels; or the file has levels of its own, as its own suites say.
enum class LevelRule { kFullResolution, kDecimated, kDecimatedByBlock, kMeans, kOwn };

/// What becomes of a damaged file: one that is cut short is refused or gives no pixels, or what it lacks reads as
/// zeros; or its format has suites of its own about damage, because what is left of a file is read.
enum class DamageRule { kRefuses, kFillsUp, kOwnSuites };

/// The disk under a sample while it is opened.
enum class SampleDisk { kPlain, kWithoutMaps };

/// The tolerance of a file that GDAL does not read.
inline constexpr int kNoOracle = -1;

struct Sample {
  const char* name;
  int formatId;
  std::vector<unsigned char> (*build)();
  LevelRule levels;
  SampleDisk disk;
  bool isSmall;         ///< so that it can be opened thousands of times
  int oracleTolerance;  ///< by which samples may differ from GDAL's, or `kNoOracle`
  tagXArr2* (*resultOfMaster)(ZRMBand& master, int channel);  ///< null where bands have nothing to do with each other
  int blockWidth = 0;                                         ///< where levels are decimated by block
  int blockHeight = 0;
  DamageRule damage = DamageRule::kRefuses;
  /// For a format whose compatible reads keep to none of the rules.
  XReadPolicy policy = kReadCompatible;
  /// A second file that belongs to it; its name is that of the sample, with the last four characters replaced by these.
  const char* companion = nullptr;
  std::vector<unsigned char> (*buildCompanion)() = nullptr;
  /// The name of its file, where that matters; a companion has the same with another extension.
  const char* fileName = nullptr;
};

std::ostream& operator<<(std::ostream& stream, const Sample& sample);

/// The result of a master's last read, for the member of a sample that tells it.
template <class Band>
tagXArr2* ResultOf(ZRMBand& master, int channel) {
  return static_cast<Band&>(master).GetResult(channel);
}

/// Made by the build: the samples of all folders, in the order of their names.
std::vector<Sample> CollectSamples();
const std::vector<Sample>& AllSamples();
std::vector<Sample> SmallSamples();

/// The sample on disk; written at the first call, kept until the program ends.
std::string PathOf(const Sample& sample);

/// An inclusive window, in full-resolution pixels.
struct Window {
  int x0, x1, y0, y1;
  int Width() const { return x1 - x0 + 1; }
  int Height() const { return y1 - y0 + 1; }
};
std::ostream& operator<<(std::ostream& stream, const Window& window);

/// What a read gave: its samples, row by row, and their shape. All empty where the read failed.
struct Pixels {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> bytes;
  int sampleBytes = 1;
  friend bool operator==(const Pixels&, const Pixels&) = default;
};

Pixels ReadPixels(ZRMBand& band, int level, const Window& window);
Window WholeWindowOf(const ZRMBand& band);

/// A sample opened through the router.
class OpenSample {
 public:
  explicit OpenSample(const Sample& sample, int calcStatistics = 0);

  int IsOpen() const { return isOpen_; }
  const XString& GetError() const { return err_; }
  int GetNumBands() const { return file_.GetNumOfBands(); }
  XRSFile& File() { return file_; }
  ZRMBand& Band(int index) { return *file_.GetBandAt(index); }

 private:
  FaultyDisk disk_;  // outlives the file that it opened
  XRSFile file_;
  XString err_;
  int isOpen_;
};

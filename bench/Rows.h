#pragma once

#include <functional>
#include <string>
#include <vector>

/// One comparison: this library's work, and a rival's that gives the same pixels.
struct Row {
  std::string key;    ///< one word, for the timing framework
  std::string title;  ///< what is done
  std::string rival;  ///< by whom; empty where nobody else does it
  std::function<void()> ours;
  std::function<void()> theirs;
  int times = 1;  ///< how often one call does it
  /// The largest ratio of ours to the rival's, or seconds where there is no rival; 0 for a figure without a target.
  double target = 0.0;
  std::function<void()> prepare = nullptr;  ///< run before each call of either side, outside what is timed
  int theirTimes = 0;                       ///< how often the rival does it in one call; 0 for as often as we
  int usualRounds = 7;                      ///< fewer where a round takes seconds
};

struct BenchOptions {
  std::string folder;
  int side = 8192;  ///< of the bitmap; the JPEG has half of it
  int numWindows = 1024;
  int rounds = 0;          ///< of each row; 0 for as many as is usual for it
  std::string photograph;  ///< a picture in colour that blocks are packed of; empty where one is made
  std::string only;        ///< the beginning of the keys of the rows that are wanted
};

/// Makes the inputs and answers the rows. Ends the program where readers do not agree on pixels.
std::vector<Row> MakeRows(const BenchOptions& options);

/// The rows about level files, and those about compressed native rasters.
void AddLevelRows(const BenchOptions& options, std::vector<Row>& rows);
void AddCompressedRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about TIFF files.
void AddTiffRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about decoded blocks that are kept.
void AddCacheRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about writing TIFF files.
void AddTiffWriteRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about writing JPEG 2000 files.
void AddJp2WriteRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about frames of the Raster Product Format.
void AddRpfRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about elevation cells.
void AddDtedRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about blocks for graphics cards, from a picture of at least 256 by 256 pixels in colour.
void AddBlockRows(const std::string& photograph, std::vector<Row>& rows);
/// The rows about TXID stores.
void AddTxidRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about HFA files.
void AddHfaRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about places of a scanning sensor's pixels.
void AddHawkRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about maps of its images.
void AddHawkOrthoRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about NITF images.
void AddNitfRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about files of place names.
void AddPlaceRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about JPEG 2000 files.
void AddJp2Rows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about exports to pyramids of the globe.
void AddPyramidRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about what two threads can do at most.
void AddMachineRows(const BenchOptions& options, std::vector<Row>& rows);
/// The rows about image stores of the globe.
void AddStoreRows(const BenchOptions& options, std::vector<Row>& rows);

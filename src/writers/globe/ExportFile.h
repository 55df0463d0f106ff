#pragma once

#include "writers/globe/TilePlan.h"
#include "XString.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace zrk {

class DiskFile;

/// The bytes of an export's file before any tile is made.
struct ExportHead {
  std::vector<unsigned char> header;  ///< empty where the levels do not fit into one
  std::int64_t fileBytes = 0;
};

/// Whether other processes may write tiles of the same file.
enum class FileUse { kAlone, kShared };

/// The file that an export writes its tiles into. Tiles are written and read by position and without a lock, so that
/// any number of threads and processes may share it.
class ExportFile {
 public:
  /// Makes the file with all its room, in place of one that is there: the header, and zeros. Returns null where that
  /// fails.
  static std::shared_ptr<ExportFile> Create(const XString& path, const ExportHead& head, FileUse use);
  /// Opens one that was made before. Returns null if no file of that name has the length and the header.
  static std::shared_ptr<ExportFile> Open(const XString& path, const ExportHead& head, FileUse use);

  explicit ExportFile(std::shared_ptr<DiskFile> file);
  ~ExportFile();

  /// The tiles of a strip of the level, one behind the other.
  bool Write(const tagXTileLevel& level, const TileStrip& strip, const unsigned char* bytes);
  /// One tile. False, with `bytes` undefined, where it is not in the level or can't be read as a whole.
  bool Read(const tagXTileLevel& level, int row, int col, std::span<unsigned char> bytes) const;
  /// Brings what was written to the medium.
  bool Sync();

 private:
  std::shared_ptr<DiskFile> file_;
};

}  // namespace zrk

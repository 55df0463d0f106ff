// An HFA file is a tree of entries. Each has a name, a type and some data, and leads to its next sibling and its first
// child by offsets in the file. A text in the file, the dictionary, describes the data of each type. All known programs
// write the same descriptions of the three types that matter here; a file with others is left to GDAL.
//
// A layer is an entry of the type Eimg_Layer directly beneath the root. Its child RasterDMS lists the blocks:
//
//   Eimg_Layer    width 4, height 4, kind 2, type of samples 2, block width 4, block height 4
//   Edms_State    three numbers 4 each, compression 2, number of blocks 4, offset of their list 4, and the list
//   a block       file 2, offset 4, size 4, whether it is there 2, compression 2
//
// All numbers have the least significant byte first.

#include "bands/hfa/HfaPlain.h"

#include "bands/hfa/HfaFile.h"
#include "base/Cursor.h"
#include "XDataType.h"

#include <strings.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zrk {

namespace {

constexpr std::size_t kHfaHeadBytes = 20, kHfaFileBytes = 18, kHfaEntryBytes = 120, kHfaLayerBytes = 20;
constexpr std::size_t kHfaStateBytes = 22, kHfaBlockBytes = 14;
constexpr int kMaxHfaEntries = 4096;  // siblings that are looked at; more than any file has, and an end to circles

constexpr std::string_view kHfaLayerText =
    "{1:lwidth,1:lheight,1:e3:thematic,athematic,fft of real-valued data,layerType,1:e13:u1,u2,u4,u8,s8,u16,s16,u32,"
    "s32,f32,f64,c64,c128,pixelType,1:lblockWidth,1:lblockHeight,}Eimg_Layer,";
constexpr std::string_view kHfaStateText =
    "{1:lnumvirtualblocks,1:lnumobjectsperblock,1:lnextobjectnum,1:e2:no compression,RLC compression,compressionType,"
    "0:poEdms_VirtualBlockInfo,blockinfo,0:poEdms_FreeIDList,freelist,1:tmodTime,}Edms_State,";
constexpr std::string_view kHfaBlockText =
    "{1:sfileCode,1:Loffset,1:lsize,1:e2:false,true,logvalid,1:e2:no compression,ESRI GRID compression,"
    "compressionType,}Edms_VirtualBlockInfo,";

struct HfaEntry {
  std::int64_t next = 0;  ///< offset of the next sibling; 0 for none
  std::int64_t child = 0;
  std::int64_t data = 0;
  std::int64_t dataBytes = 0;
  std::string name;
  std::string type;
};

/// The tree, read piece by piece. What is not there reads as nothing.
class HfaTree {
 public:
  explicit HfaTree(DiskFile& file) : file_(file) {}

  /// Whether the disk has failed a read, so that what was there may have read as nothing.
  bool HasFailed() const { return hasFailed_; }

  std::vector<unsigned char> Read(std::int64_t offset, std::size_t count) const {
    std::vector<unsigned char> bytes(count);
    const std::int64_t got = file_.ReadAt(offset, bytes.data(), static_cast<std::int64_t>(count));
    hasFailed_ = hasFailed_ || got < 0;
    bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    return bytes;
  }

  /// The offset of the root, where the dictionary describes records as all known ones do; otherwise 0.
  std::int64_t FindRoot() const {
    constexpr std::string_view kMagic = "EHFA_HEADER_TAG";
    const std::vector<unsigned char> head = Read(0, kHfaHeadBytes);
    Cursor cursor(head);
    if (cursor.Text(kMagic.size()) != kMagic) return 0;
    cursor.Skip(1);
    const std::vector<unsigned char> file = Read(cursor.U32LE(), kHfaFileBytes);
    cursor = Cursor(file);
    cursor.Skip(8);
    const std::int64_t root = cursor.U32LE();
    cursor.Skip(2);
    const std::int64_t dictionary = cursor.U32LE();
    return !cursor.HasFailed() && IsUsual(dictionary) ? root : 0;
  }

  /// False behind the end of a list and of the file.
  bool ReadEntry(std::int64_t offset, HfaEntry& entry) const {
    const std::vector<unsigned char> bytes = offset > 0 ? Read(offset, kHfaEntryBytes) : std::vector<unsigned char>();
    Cursor cursor(bytes);
    entry.next = cursor.U32LE();
    cursor.Skip(8);
    entry.child = cursor.U32LE();
    entry.data = cursor.U32LE();
    entry.dataBytes = cursor.U32LE();
    entry.name = UpToZero(cursor.Text(64));
    entry.type = UpToZero(cursor.Text(32));
    return !cursor.HasFailed();
  }

  /// The first of some siblings that is wanted.
  template <class IsWanted>
  bool FindSibling(std::int64_t first, HfaEntry& entry, IsWanted&& isWanted) const {
    std::int64_t offset = first;
    for (int i = 0; i < kMaxHfaEntries && ReadEntry(offset, entry); ++i, offset = entry.next) {
      if (isWanted(entry)) return true;
    }
    return false;
  }

 private:
  static std::string UpToZero(std::string_view text) { return std::string(text.substr(0, text.find('\0'))); }

  /// A name counts by the first description that ends with it.
  bool IsUsual(std::int64_t offset) const {
    constexpr std::size_t kMaxDictionary = 64 << 10;
    const std::vector<unsigned char> bytes = Read(offset, kMaxDictionary);
    const std::string text = UpToZero({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    return std::ranges::all_of(std::array{kHfaLayerText, kHfaStateText, kHfaBlockText}, [&](std::string_view wanted) {
      const std::size_t name = text.find(wanted.substr(wanted.find('}')));
      const std::size_t before = wanted.find('}');
      return name != std::string::npos && name >= before &&
             std::string_view(text).substr(name - before, wanted.size()) == wanted;
    });
  }

  DiskFile& file_;
  mutable bool hasFailed_ = false;
};

/// Whether GDAL takes one name for the other.
bool IsSameToGdal(const std::string& one, const char* other) {
  return strcasecmp(one.c_str(), other) == 0;
}

/// The bytes of a sample by the number of its type; 0 for samples of fewer bits than a byte.
int CountSampleBytes(int type) {
  constexpr std::array<int, 13> kBytes = {0, 0, 0, 1, 1, 2, 2, 4, 4, 4, 8, 8, 16};
  return type < static_cast<int>(kBytes.size()) ? kBytes[static_cast<std::size_t>(type)] : 0;
}

/// What is read of a layer before its blocks.
struct HfaShape {
  BlockGrid grid;
  int sampleBytes = 0;
};

/// False where the record does not come as a whole.
bool ReadShape(const HfaTree& tree, std::int64_t offset, HfaShape& shape) {
  const std::vector<unsigned char> bytes = tree.Read(offset, kHfaLayerBytes);
  Cursor cursor(bytes);
  shape.grid.width = cursor.I32LE();
  shape.grid.height = cursor.I32LE();
  cursor.Skip(2);
  shape.sampleBytes = CountSampleBytes(cursor.U16LE());
  shape.grid.blockWidth = cursor.I32LE();
  shape.grid.blockHeight = cursor.I32LE();
  return !cursor.HasFailed();
}

/// Finds a layer as GDAL counts them: entries that have no pixels are passed over. The count is not sure behind an
/// entry that is not read, or whose type differs in case.
bool FindLayer(const HfaTree& tree, int number, HfaEntry& entry, HfaShape& shape) {
  HfaEntry root;
  if (!tree.ReadEntry(tree.FindRoot(), root)) return false;
  constexpr const char* kLayerType = "Eimg_Layer";
  int numBefore = 0;
  bool isSure = true;
  const auto isWanted = [&](const HfaEntry& sibling) {
    if (!IsSameToGdal(sibling.type, kLayerType)) return false;
    isSure = sibling.type == kLayerType && ReadShape(tree, sibling.data, shape);
    return !isSure || (shape.grid.width > 0 && shape.grid.height > 0 && numBefore++ == number);
  };
  return tree.FindSibling(root.child, entry, isWanted) && isSure;
}

/// The offset of the list of blocks; 0 where it is not the usual one or has too few.
std::int64_t FindBlockList(const HfaTree& tree, std::int64_t layerChild, std::int64_t numBlocks) {
  constexpr const char* kListName = "RasterDMS";
  HfaEntry state;
  const auto isList = [](const HfaEntry& entry) { return IsSameToGdal(entry.name, kListName); };
  if (!tree.FindSibling(layerChild, state, isList)) return 0;
  if (state.name != kListName || state.type != "Edms_State") return 0;
  const std::vector<unsigned char> bytes = tree.Read(state.data, kHfaStateBytes);
  Cursor cursor(bytes);
  cursor.Skip(14);
  const std::int64_t count = cursor.U32LE(), offset = cursor.U32LE();
  const std::int64_t before = kHfaStateBytes, listBytes = numBlocks * std::int64_t{kHfaBlockBytes};
  const bool isUsual = !cursor.HasFailed() && offset == state.data + before;
  return isUsual && count >= numBlocks && state.dataBytes >= before + listBytes ? offset : 0;
}

/// The blocks as the list tells them; none where it is cut short or the disk fails.
std::vector<HfaStoredBlock> ReadBlockList(const HfaTree& tree, std::int64_t list, std::int64_t numBlocks) {
  constexpr std::int64_t kAtOnce = 4096;
  std::vector<HfaStoredBlock> blocks;
  while (std::ssize(blocks) < numBlocks) {
    const std::int64_t count = std::min(kAtOnce, numBlocks - std::ssize(blocks));
    const std::int64_t place = list + std::ssize(blocks) * std::int64_t{kHfaBlockBytes};
    const std::vector<unsigned char> bytes = tree.Read(place, static_cast<std::size_t>(count) * kHfaBlockBytes);
    Cursor cursor(bytes);
    for (std::int64_t i = 0; i < count; ++i) {
      cursor.Skip(2);
      HfaStoredBlock block;
      block.offset = cursor.U32LE();
      block.bytes = cursor.U32LE();
      block.isThere = cursor.U16LE() != 0;
      block.isCompressed = cursor.U16LE() != 0;
      blocks.push_back(block);
    }
    if (cursor.HasFailed()) return {};
  }
  return blocks;
}

/// The blocks, where all of them are there and plain.
std::optional<PlainBlocks> MakePlain(const HfaStore& store) {
  PlainBlocks plain;
  plain.file = store.file;
  plain.areListed = true;
  plain.grid = store.grid;
  plain.sampleStride = store.sampleBytes;
  plain.rowStride = std::int64_t{store.grid.blockWidth} * store.sampleBytes;
  for (const HfaStoredBlock& block : store.blocks) {
    const bool isWhole = block.bytes == plain.rowStride * store.grid.blockHeight;
    if (!isWhole || !block.isThere || block.isCompressed) return std::nullopt;
    plain.offsets.push_back(block.offset);
  }
  return plain;
}

std::optional<HfaStore> FindStoreInTree(const HfaTree& tree, const std::shared_ptr<const RowFile>& file, int number,
                                        const HfaLayer& layer) {
  HfaEntry entry;
  HfaShape shape;
  if (!FindLayer(tree, number, entry, shape) || shape.grid != layer.grid) return std::nullopt;
  const BlockGrid& grid = layer.grid;
  const std::int64_t numBlocks = grid.CountBlocks();
  const std::int64_t list = FindBlockList(tree, entry.child, numBlocks);
  if (shape.sampleBytes != XfnGetDataSize(layer.dataType) || list == 0) return std::nullopt;
  HfaStore store = {file, grid, shape.sampleBytes, {}, ReadBlockList(tree, list, numBlocks)};
  if (std::ssize(store.blocks) != numBlocks) return std::nullopt;
  store.plain = MakePlain(store);
  if (store.plain) store.blocks = {};
  return store;
}

}  // namespace

std::optional<HfaStore> FindHfaStore(const std::shared_ptr<const RowFile>& file, int number, const HfaLayer& layer,
                                     bool& diskFails) {
  const HfaTree tree(file->File());
  std::optional<HfaStore> store = FindStoreInTree(tree, file, number, layer);
  diskFails = tree.HasFailed();
  return store;
}

}  // namespace zrk

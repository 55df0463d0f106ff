// A chain of blocks of descriptors. A block begins with the number of its descriptors and the offset of the next block,
// which is 0 in the last one. All numbers are big-endian.

#include "bands/hdf4/HdfChain.h"

#include "base/Checked.h"
#include "base/Cursor.h"
#include "XFile.h"

#include <array>
#include <cstddef>
#include <set>
#include <vector>

namespace zrk {
namespace {

constexpr std::int64_t kFirstBlock = 4;
constexpr std::size_t kBlockHeaderBytes = 6;
constexpr std::size_t kDescriptorBytes = 12;

// References have 16 bits, so that no real file has nearly as many descriptors. A block holds 16 of them unless its
// maker asks for another number.
constexpr std::size_t kMaxDescriptors = std::size_t{1} << 20;
constexpr std::size_t kMaxBlocks = kMaxDescriptors / 16;

/// One walk along the chain of a file.
class ChainWalk {
 public:
  ChainWalk(const XFile& file, const std::function<bool(const HdfDescriptor&)>& take)
      : file_(file), take_(take), fileBytes_(file.GetLength()) {}

  bool ToTheEnd() {
    if (fileBytes_ < 0) return false;  // the disk does not tell
    std::int64_t block = kFirstBlock;
    do {
      // A chain that comes back to a block would have no end.
      if (blocks_.size() == kMaxBlocks || !blocks_.insert(block).second || !TakeBlock(block)) return false;
    } while (block != 0);
    return true;
  }

 private:
  /// Leaves the offset of the next block in `block`.
  bool TakeBlock(std::int64_t& block) {
    std::array<unsigned char, kBlockHeaderBytes> bytes;
    if (file_.ReadAt(block, bytes.data(), kBlockHeaderBytes) != kBlockHeaderBytes) return false;
    Cursor header(bytes);
    const std::size_t count = header.U16BE();
    const std::int64_t descriptors = block + static_cast<std::int64_t>(kBlockHeaderBytes);
    block = header.U32BE();
    numDescriptors_ += count;
    return numDescriptors_ <= kMaxDescriptors && TakeDescriptors(descriptors, count);
  }

  /// The length is checked before memory is taken, so that a count alone can't make it large.
  bool TakeDescriptors(std::int64_t offset, std::size_t count) {
    const auto numBytes = static_cast<std::int64_t>(count * kDescriptorBytes);
    if (!FitsWithin(offset, numBytes, fileBytes_)) return false;
    bytes_.resize(count * kDescriptorBytes);
    if (file_.ReadAt(offset, bytes_.data(), numBytes) != numBytes) return false;
    Cursor cursor(bytes_);
    for (std::size_t i = 0; i < count; ++i) {
      HdfDescriptor descriptor;
      descriptor.tag = cursor.U16BE();
      descriptor.reference = cursor.U16BE();
      descriptor.offset = cursor.U32BE();
      descriptor.length = cursor.U32BE();
      if (!take_(descriptor)) return false;
    }
    return true;
  }

  const XFile& file_;
  const std::function<bool(const HdfDescriptor&)>& take_;
  const std::int64_t fileBytes_;
  std::set<std::int64_t> blocks_;
  std::size_t numDescriptors_ = 0;
  std::vector<unsigned char> bytes_;  // of the block at hand
};

}  // namespace

bool WalkHdfChain(const XFile& file, const std::function<bool(const HdfDescriptor&)>& take) {
  return ChainWalk(file, take).ToTheEnd();
}

}  // namespace zrk

#pragma once

#include "base/PixelStorage.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace zrk {

class BlockCache;

/// The memory of one decoded block. Its bytes count for the cache for as long as anybody holds it.
class BlockRoom {
  struct Private {};

 public:
  /// Returns null where memory ran out. The cache has set the bytes aside, and gets them back when this goes.
  static std::shared_ptr<BlockRoom> Make(BlockCache& cache, std::int64_t numBytes);
  /// For `Make` alone.
  BlockRoom(Private, BlockCache& cache, std::int64_t numBytes) : cache_(cache), numBytes_(numBytes) {}
  ~BlockRoom();
  BlockRoom(const BlockRoom&) = delete;
  BlockRoom& operator=(const BlockRoom&) = delete;

  unsigned char* Get() const { return bytes_.Get(); }

 private:
  BlockCache& cache_;
  std::int64_t numBytes_;
  PixelStorage bytes_;
};

/// An open file in the eyes of the cache. With it go the blocks of the file.
class BlockFile {
 public:
  explicit BlockFile(BlockCache& cache);
  BlockFile();
  ~BlockFile();
  BlockFile(const BlockFile&) = delete;
  BlockFile& operator=(const BlockFile&) = delete;

 private:
  friend class BlockClaim;

  BlockCache& cache_;
  std::uint64_t number_;  // of no other file before or after
  mutable std::atomic<bool> hasBlocks_ = false;
};

/// Decoded blocks of all files, and the bytes that they may take. For all threads at once: blocks are spread over parts
/// with a lock each, which nobody holds while bytes are decoded or copied.
class BlockCache {
 public:
  /// That of the process, which is never destroyed: files may be closed as late as the process ends.
  static BlockCache& OfProcess();

  /// See `XfnSetBlockCacheBytes`.
  void Grant(std::int64_t numBytes);
  std::int64_t GetGranted() const { return granted_; }
  /// Bytes that blocks take now.
  std::int64_t CountBytes() const { return taken_; }

  /// What a block of so many bytes takes, with what is noted of it and what the system's allocator adds.
  static std::int64_t Measure(std::int64_t numBytes);

 private:
  friend class BlockClaim;
  friend class BlockFile;
  friend class BlockRoom;

  static constexpr std::size_t kNumParts = 32;

  struct Key {
    std::uint64_t file = 0;
    std::int64_t block = 0;
    bool operator==(const Key&) const = default;
  };
  struct Hash {
    std::size_t operator()(const Key& key) const;
  };
  using Queue = std::list<Key>;
  /// A block that is kept, or that a thread is about to decode.
  struct Entry {
    std::shared_ptr<BlockRoom> room;  // null until the block is decoded
    bool wasUsed = false;             // since it was last considered for removal
    Queue::iterator turn;
  };
  using Entries = std::unordered_map<Key, Entry, Hash>;
  /// Blocks whose keys have a hash in common. The first key of the queue is the next that is considered for removal.
  struct alignas(64) Part {
    std::mutex mutex;
    std::condition_variable isDecided;  // of a block that was being decoded
    Entries entries;
    Queue queue;
  };

  Part& PartOf(const Key& key) { return parts_[Hash()(key) / 2 % kNumParts]; }
  bool SetAside(std::int64_t numBytes);
  bool MakeRoomFor(std::int64_t numBytes);
  bool RemoveOne(Part& part);
  template <class IsUnwanted>
  void RemoveAll(IsUnwanted&& isUnwanted);
  static Entries::iterator Remove(Part& part, Entries::iterator entry);

  std::atomic<std::int64_t> granted_ = 0;
  // Every new block writes this one, and every claim reads the one above: they don't share a cache line.
  alignas(64) std::atomic<std::int64_t> taken_ = 0;
  std::atomic<std::size_t> nextPart_ = 0;
  std::array<Part, kNumParts> parts_;
};

/// A reader's claim to one block: finds it, or has the reader decode it for all others. Readers who want a block that
/// another one is decoding wait for that one. So a thread has one claim at a time, and waits for nobody meanwhile.
class BlockClaim {
 public:
  /// Without a file the cache has no part in it.
  BlockClaim(const BlockFile* file, std::int64_t block);
  /// A block that was not kept is left to the next reader.
  ~BlockClaim();
  BlockClaim(const BlockClaim&) = delete;
  BlockClaim& operator=(const BlockClaim&) = delete;

  /// Whether the bytes are there. Otherwise the reader decodes them.
  bool IsDecoded() const { return isDecoded_; }
  /// Memory for a block that is not there; null where the cache has none for it, which is always so while it is off.
  const std::shared_ptr<BlockRoom>& MakeRoom(std::int64_t numBytes);
  /// The room holds the decoded block. Others may have it from now on, and nobody writes to it any more.
  void Keep();
  /// The block's memory, if any.
  const std::shared_ptr<BlockRoom>& GetRoom() const { return room_; }

 private:
  void Find(BlockCache::Part& part);
  void Settle();

  const BlockFile* file_;
  BlockCache::Key key_;
  std::shared_ptr<BlockRoom> room_;
  bool isDecoded_ = false;
  bool isOpen_ = false;  // others wait for what becomes of the block
};

}  // namespace zrk

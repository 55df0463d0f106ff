// The cache of decoded blocks. A reader claims a block by file and number. It gets either the bytes of the block, or
// memory that it decodes into, so that nothing is copied on the way in. It then takes samples from these bytes without
// a lock, because whoever holds a room keeps it alive.
//
// Bytes are counted before they are allocated, and given back when the last holder lets the room go. One number counts
// them for the whole cache, so that a large block may take more than an even share. A thread that needs bytes walks
// from part to part, and each part gives up one block. Within a part blocks stand in a queue. A block that was used
// since its last turn, or that somebody holds, goes to the end once more; any other block is given up. So blocks that
// are read once go before blocks that are read often.
//
// A block that is being decoded has an entry without a room. Other readers of that block wait until its room is there
// or the entry is gone.

#include "base/BlockCache.h"

#include <algorithm>
#include <exception>
#include <new>

namespace zrk {
namespace {

std::atomic<std::uint64_t> numFiles = 0;

}  // namespace

std::shared_ptr<BlockRoom> BlockRoom::Make(BlockCache& cache, std::int64_t numBytes) {
  std::shared_ptr<BlockRoom> room;
  try {
    // From here on the destructor gives the bytes back, also where there is no memory for them.
    room = std::make_shared<BlockRoom>(Private{}, cache, numBytes);
  } catch (const std::bad_alloc&) {
    cache.taken_ -= BlockCache::Measure(numBytes);
    return nullptr;
  }
  return room->bytes_.Reserve(static_cast<std::size_t>(numBytes)) ? room : nullptr;
}

BlockRoom::~BlockRoom() {
  bytes_.Free();
  cache_.taken_ -= BlockCache::Measure(numBytes_);
}

BlockFile::BlockFile(BlockCache& cache) : cache_(cache), number_(++numFiles) {}

BlockFile::BlockFile() : BlockFile(BlockCache::OfProcess()) {}

BlockFile::~BlockFile() {
  if (!hasBlocks_) return;
  cache_.RemoveAll([this](const BlockCache::Key& key, const auto&) { return key.file == number_; });
}

BlockCache& BlockCache::OfProcess() {
  static BlockCache* const cache = new BlockCache;
  return *cache;
}

/// The allocator rounds large pieces up to whole pages, and has a few words before each piece.
std::int64_t BlockCache::Measure(std::int64_t numBytes) {
  constexpr std::int64_t kPage = 4096, kLargePiece = 64 << 10, kAlignment = 64, kNotes = 512;
  const std::int64_t piece = numBytes + 2 * kAlignment;
  return kNotes + (numBytes < kLargePiece ? piece : (piece + kPage - 1) / kPage * kPage);
}

/// Neighbouring blocks of one file fall into different parts.
std::size_t BlockCache::Hash::operator()(const Key& key) const {
  std::uint64_t mixed = (key.file * 0x9e3779b97f4a7c15 + static_cast<std::uint64_t>(key.block)) * 0xd6e8feb86659fd93;
  return static_cast<std::size_t>(mixed ^ mixed >> 32);
}

void BlockCache::Grant(std::int64_t numBytes) {
  numBytes = std::max<std::int64_t>(numBytes, 0);
  if (granted_.exchange(numBytes) <= numBytes) return;
  RemoveAll([](const Key&, const Entry& entry) { return entry.room != nullptr; });
}

bool BlockCache::SetAside(std::int64_t numBytes) {
  std::int64_t taken = taken_;
  while (taken + numBytes <= granted_) {
    if (taken_.compare_exchange_weak(taken, taken + numBytes)) return true;
  }
  return false;
}

/// Parts give up blocks in turn. A part whose blocks were all used has its turn again. Where none of them can give one
/// up in two turns, others hold what is left.
bool BlockCache::MakeRoomFor(std::int64_t numBytes) {
  if (numBytes > granted_) return false;
  std::size_t numRefusals = 0;
  while (!SetAside(numBytes)) {
    if (RemoveOne(parts_[nextPart_++ % kNumParts])) {
      numRefusals = 0;
    } else if (++numRefusals == 2 * kNumParts) {
      return false;
    }
  }
  return true;
}

BlockCache::Entries::iterator BlockCache::Remove(Part& part, Entries::iterator entry) {
  part.queue.erase(entry->second.turn);
  return part.entries.erase(entry);
}

/// Nobody but the part holds a room whose count is 1, and nobody gets hold of it without the part's lock.
bool BlockCache::RemoveOne(Part& part) {
  std::shared_ptr<BlockRoom> removed;
  const std::lock_guard lock(part.mutex);
  for (std::size_t turns = part.queue.size(); turns > 0; --turns) {
    const auto found = part.entries.find(part.queue.front());
    Entry& entry = found->second;
    if (entry.room && entry.room.use_count() == 1 && !entry.wasUsed) {
      removed.swap(entry.room);
      Remove(part, found);
      return true;
    }
    entry.wasUsed = false;
    part.queue.splice(part.queue.end(), part.queue, entry.turn);
  }
  return false;
}

template <class IsUnwanted>
void BlockCache::RemoveAll(IsUnwanted&& isUnwanted) {
  for (Part& part : parts_) {
    const std::lock_guard lock(part.mutex);
    for (auto entry = part.entries.begin(); entry != part.entries.end();) {
      entry = isUnwanted(entry->first, entry->second) ? Remove(part, entry) : std::next(entry);
    }
  }
}

/// Where there is no memory for an entry, the block is decoded as without a cache.
BlockClaim::BlockClaim(const BlockFile* file, std::int64_t block) : file_(file) {
  if (!file || file->cache_.granted_ == 0) return;
  key_ = {file->number_, block};
  try {
    Find(file_->cache_.PartOf(key_));
  } catch (const std::bad_alloc&) {
  }
}

BlockClaim::~BlockClaim() {
  Settle();
}

/// Finds the block, or leaves an entry without a room to those who come later. The entry is allocated without the lock,
/// because the system may have a thread wait for memory, and others would wait for that thread.
void BlockClaim::Find(BlockCache::Part& part) {
  BlockCache::Entries entry;
  BlockCache::Queue turn;
  std::unique_lock lock(part.mutex);
  for (;;) {
    const auto found = part.entries.find(key_);
    if (found == part.entries.end()) {
      if (!entry.empty()) break;
      lock.unlock();
      turn.push_back(key_);
      entry[key_].turn = turn.begin();
      lock.lock();
    } else if (!found->second.room) {
      part.isDecided.wait(lock);
    } else {
      found->second.wasUsed = true;
      room_ = found->second.room;
      isDecoded_ = true;
      return;
    }
  }
  part.entries.insert(entry.extract(key_));
  part.queue.splice(part.queue.end(), turn);
  isOpen_ = file_->hasBlocks_ = true;
}

/// Nobody waits for a block that will not be kept.
const std::shared_ptr<BlockRoom>& BlockClaim::MakeRoom(std::int64_t numBytes) {
  if (!isOpen_) return room_;
  BlockCache& cache = file_->cache_;
  if (cache.MakeRoomFor(BlockCache::Measure(numBytes))) room_ = BlockRoom::Make(cache, numBytes);
  if (!room_) Settle();
  return room_;
}

/// The cache may have been granted less since the room was made, and then the block is not kept.
void BlockClaim::Keep() {
  if (!isOpen_ || !room_) return;
  BlockCache::Part& part = file_->cache_.PartOf(key_);
  {
    const std::lock_guard lock(part.mutex);
    if (file_->cache_.taken_ > file_->cache_.granted_) return;
    part.entries.find(key_)->second.room = room_;
  }
  isOpen_ = false;
  isDecoded_ = true;
  part.isDecided.notify_all();
}

/// Takes the entry of a block that was not kept away, so that whoever waits decodes it.
void BlockClaim::Settle() {
  if (!isOpen_) return;
  BlockCache::Part& part = file_->cache_.PartOf(key_);
  {
    const std::lock_guard lock(part.mutex);
    BlockCache::Remove(part, part.entries.find(key_));
  }
  isOpen_ = false;
  part.isDecided.notify_all();
}

}  // namespace zrk

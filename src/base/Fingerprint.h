#pragma once

#include <cstddef>
#include <cstdint>

namespace zrk {

class DiskFile;

/// XXH64 of some bytes with seed 0: a published function that is about as fast as memory. It tells bytes apart that
/// differ by chance, and not those that somebody made to look alike.
std::uint64_t HashBytes(const void* bytes, std::size_t count);

/// How many bytes of a file are hashed together.
inline constexpr std::int64_t kFingerprintBlock = 1 << 20;

/// The fingerprint of the first `length` bytes of a file: the hash of the hashes of its blocks, each in eight bytes
/// with the lowest first. As many threads read the file as `XfnGetWorkerCount` tells, and the result does not depend on
/// their number. False where the file can't be read so far, or the word behind `cancel`, which may be null, asks to
/// stop. Throws std::bad_alloc.
bool FingerprintFile(DiskFile& file, std::int64_t length, const int* cancel, std::uint64_t& fingerprint);

}  // namespace zrk

// A compressed block of an HFA file has a head of 13 bytes:
//
//   the smallest value 4, number of runs 4, offset of the values 4, bits of a value 1
//
// The lengths of the runs follow. The upper two bits of their first byte tell how many bytes follow it, the most
// significant first; the other six belong to the length. Values are packed from the lowest bit of a byte on. Those of
// 16 and 32 bits have their most significant byte first. The smallest value is added to each.
//
// Where the number of runs is -1 there are none: the values of all samples follow the head. Floats are packed as the
// integers that their bits make.

#include "bands/hfa/HfaRuns.h"

#include "base/Cursor.h"

#include <cstddef>
#include <cstring>

namespace zrk {

namespace {

constexpr std::int64_t kHfaRunsHead = 13;

struct HfaRunsHead {
  std::uint32_t least = 0;
  std::int64_t numRuns = 0;
  std::int64_t values = kHfaRunsHead;  ///< where they begin
  int bits = 0;
};

/// The packed values, one after the other.
class HfaValues {
 public:
  HfaValues(const unsigned char* bytes, const HfaRunsHead& head)
      : bytes_(bytes), least_(head.least), bits_(head.bits) {}

  std::uint32_t Next() {
    const std::size_t bit = next_;
    next_ += static_cast<std::size_t>(bits_);
    const unsigned char* const byte = bytes_ + (bit >> 3);
    if (bits_ == 0) return least_;
    if (bits_ < 8) return least_ + (static_cast<std::uint32_t>(*byte >> (bit & 7)) & ((1U << bits_) - 1));
    std::uint32_t value = 0;
    for (int i = 0; i < bits_ / 8; ++i) value = value << 8 | byte[i];
    return least_ + value;
  }

 private:
  const unsigned char* bytes_;
  std::uint32_t least_;
  int bits_;
  std::size_t next_ = 0;
};

/// Most runs are short. Where there is room behind them, two words are written whatever their length.
template <class Sample>
void FillRun(unsigned char* out, std::int64_t count, std::int64_t room, std::uint32_t value) {
  constexpr std::uint64_t kEach = ~std::uint64_t{0} / static_cast<Sample>(~Sample{0});
  constexpr auto kBytes = static_cast<std::int64_t>(sizeof(Sample));
  const std::uint64_t word = kEach * static_cast<Sample>(value);
  const std::int64_t bytes = count * kBytes;
  if (bytes <= 16 && room * kBytes >= 16) {
    std::memcpy(out, &word, sizeof word);
    std::memcpy(out + sizeof word, &word, sizeof word);
    return;
  }
  std::int64_t done = 0;
  for (; done + 8 <= bytes; done += 8) std::memcpy(out + done, &word, sizeof word);
  std::memcpy(out + done, &word, static_cast<std::size_t>(bytes - done));
}

template <class Sample>
bool UnpackSamples(std::span<const unsigned char> coded, const HfaRunsHead& head, std::int64_t numSamples,
                   unsigned char* out) {
  HfaValues values(coded.data() + head.values, head);
  std::int64_t done = 0;
  if (head.numRuns < 0) {
    for (; done < numSamples; ++done) FillRun<Sample>(out + done * std::int64_t{sizeof(Sample)}, 1, 1, values.Next());
    return true;
  }
  std::size_t place = kHfaRunsHead;
  for (std::int64_t run = 0; run < head.numRuns; ++run) {
    if (place >= coded.size()) return false;
    const std::size_t numBehind = coded[place] >> 6;
    std::int64_t count = coded[place++] & 0x3F;
    if (numBehind > coded.size() - place) return false;
    for (std::size_t i = 0; i < numBehind; ++i) count = count << 8 | coded[place++];
    if (count > numSamples - done) return false;
    FillRun<Sample>(out + done * std::int64_t{sizeof(Sample)}, count, numSamples - done, values.Next());
    done += count;
  }
  return done == numSamples;
}

/// False where the head is damaged or promises more values than the block holds.
bool ReadHfaRunsHead(std::span<const unsigned char> coded, std::int64_t numSamples, HfaRunsHead& head) {
  Cursor cursor(coded);
  head.least = cursor.U32LE();
  head.numRuns = cursor.I32LE();
  const std::int64_t values = cursor.I32LE();
  head.bits = cursor.U8();
  const bool isUsual = head.bits == 0 || head.bits == 1 || head.bits == 2 || head.bits == 4 || head.bits == 8 ||
                       head.bits == 16 || head.bits == 32;
  if (cursor.HasFailed() || !isUsual || head.numRuns < -1) return false;
  if (head.numRuns >= 0) head.values = values;
  const std::int64_t numValues = head.numRuns < 0 ? numSamples : head.numRuns;
  return head.values >= 0 && head.values + (numValues * head.bits + 7) / 8 <= std::ssize(coded);
}

}  // namespace

bool UnpackHfaRuns(std::span<const unsigned char> coded, int sampleBytes, std::int64_t numSamples, unsigned char* out) {
  HfaRunsHead head;
  if (!ReadHfaRunsHead(coded, numSamples, head)) return false;
  if (sampleBytes == 1) return UnpackSamples<std::uint8_t>(coded, head, numSamples, out);
  if (sampleBytes == 2) return UnpackSamples<std::uint16_t>(coded, head, numSamples, out);
  return sampleBytes == 4 && UnpackSamples<std::uint32_t>(coded, head, numSamples, out);
}

}  // namespace zrk

#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace zrk {

/// Decodes LZW as TIFF packs it: codes of 9 to 12 bits, the highest bit first, each width given up one code early. It
/// takes sound data to their end and leaves all other data to libtiff, which knows old ways to write them and what can
/// still be had of damaged ones. For one thread at a time.
class LzwDecoder {
 public:
  /// Fills `bytes`. False where the codes don't begin with the one that clears the table, end too early, or name what
  /// is not in the table; what is in `bytes` then is worth nothing. Codes behind the last byte are not looked at.
  bool Decode(std::span<const unsigned char> packed, std::span<unsigned char> bytes);

 private:
  /// The string of a code is one that was decoded before, and the byte behind it.
  struct String {
    std::uint32_t begin = 0;
    std::uint32_t size = 0;
  };
  std::vector<String> strings_;
};

}  // namespace zrk

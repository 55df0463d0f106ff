#include "output/DdsHeader.h"

#include <cstdint>
#include <string_view>

namespace {

// Flags of the header: which of its fields hold something.
constexpr std::uint32_t kHasCaps = 0x1, kHasHeight = 0x2, kHasWidth = 0x4, kHasPixelFormat = 0x1000,
                        kHasLinearSize = 0x80000;
constexpr std::uint32_t kIsFourCharacters = 0x4, kIsTexture = 0x1000;

using Header = std::array<unsigned char, 128>;

void Put(Header& header, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) header[offset + i] = static_cast<unsigned char>(value >> 8 * i);
}

void Put(Header& header, std::size_t offset, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) header[offset + i] = static_cast<unsigned char>(text[i]);
}

std::string_view NameOfBlocks(_XDXTTYPE type) {
  return type == kDxt1 ? "DXT1" : type == kDxt3 ? "DXT3" : "DXT5";
}

}  // namespace

Header MakeDdsHeader(const tagXStoreTile& tile) {
  Header header{};
  Put(header, 0, "DDS ");
  Put(header, 4, 124);
  Put(header, 8, kHasCaps | kHasHeight | kHasWidth | kHasPixelFormat | kHasLinearSize);
  Put(header, 12, static_cast<std::uint32_t>(tile.height));
  Put(header, 16, static_cast<std::uint32_t>(tile.width));
  Put(header, 20, static_cast<std::uint32_t>(tile.bytes.size()));
  Put(header, 76, 32);
  Put(header, 80, kIsFourCharacters);
  Put(header, 84, NameOfBlocks(tile.blockType));
  Put(header, 108, kIsTexture);
  return header;
}

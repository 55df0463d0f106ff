// Boxes by ISO/IEC 15444-1, annex I, and the frame of the codestream by annex A. Written from the standard, and for
// files that are whole: it does not read what it does not understand.

#include "Jp2Walk.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

constexpr std::uint64_t kSoc = 0xFF4F, kSiz = 0xFF51, kTlm = 0xFF55, kPlt = 0xFF58, kSot = 0xFF90, kSod = 0xFF93,
                        kEoc = 0xFFD9;

/// The lengths in a PLT segment: numbers of seven bits a byte, the last byte of each without the highest bit.
std::uint64_t SumOfPackets(const std::vector<unsigned char>& stream, std::size_t begin, std::size_t end) {
  std::uint64_t sum = 0, length = 0;
  for (std::size_t i = begin; i < end; ++i) {
    length = length << 7 | (stream[i] & 0x7F);
    if (stream[i] & 0x80) continue;
    sum += length;
    length = 0;
  }
  return sum;
}

}  // namespace

std::uint64_t BigNumber(const std::vector<unsigned char>& bytes, std::size_t offset, std::size_t numBytes) {
  std::uint64_t number = 0;
  for (std::size_t i = offset; i < offset + numBytes; ++i) number = number << 8 | (i < bytes.size() ? bytes[i] : 0);
  return number;
}

Jp2Walk::Jp2Walk(const std::vector<unsigned char>& bytes) {
  WalkBoxes(bytes, 0, bytes.size(), 0);
  CheckOrder();
  CheckHeader();
  WalkCodestream();
}

std::vector<std::string> Jp2Walk::GetOutline() const {
  std::vector<std::string> outline;
  for (const WalkedBox& box : boxes)
    outline.push_back(std::string(static_cast<std::size_t>(box.depth), ' ') + box.type);
  return outline;
}

std::vector<unsigned char> Jp2Walk::DataOf(const std::string& type) const {
  const auto found = std::ranges::find(boxes, type, &WalkedBox::type);
  return found == boxes.end() ? std::vector<unsigned char>() : found->data;
}

void Jp2Walk::WalkBoxes(const std::vector<unsigned char>& bytes, std::size_t begin, std::size_t end, int depth) {
  for (std::size_t offset = begin; offset < end;) {
    std::uint64_t length = BigNumber(bytes, offset, 4), head = 8;
    if (length == 1) {
      length = BigNumber(bytes, offset + 8, 8);
      head = 16;
    }
    if (length < head || length > end - offset) return Expect(false, "a box has the wrong length");
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    const std::string type(at + 4, at + 8);
    boxes.push_back({type,
                     depth,
                     offset,
                     head == 16,
                     {at + static_cast<std::ptrdiff_t>(head), at + static_cast<std::ptrdiff_t>(length)}});
    if (type == "jp2h") WalkBoxes(bytes, offset + head, offset + length, depth + 1);
    offset += length;
  }
}

void Jp2Walk::CheckOrder() {
  const std::vector<std::string> outline = GetOutline();
  const auto place = [&](const char* type) { return std::ranges::find(outline, type) - outline.begin(); };
  Expect(!outline.empty() && outline[0] == "jP  ", "the signature is not first");
  Expect(DataOf("jP  ") == std::vector<unsigned char>{0x0D, 0x0A, 0x87, 0x0A}, "the signature is not right");
  Expect(outline.size() > 1 && outline[1] == "ftyp", "the file type is not second");
  const std::vector<unsigned char> brands = DataOf("ftyp");
  Expect(brands.size() >= 12 && brands.size() % 4 == 0 && std::string(brands.begin(), brands.begin() + 4) == "jp2 " &&
             std::string(brands.begin() + 8, brands.begin() + 12) == "jp2 ",
         "the brand is not that of JP2");
  Expect(place("jp2h") < place("jp2c"), "the header is not before the codestream");
  Expect(std::ranges::count(outline, "jp2h") == 1 && std::ranges::count(outline, "jp2c") == 1,
         "there is not one header and one codestream");
  Expect(place(" ihdr") == place("jp2h") + 1, "the image header is not first in the header");
}

void Jp2Walk::CheckHeader() {
  const std::vector<unsigned char> header = DataOf("ihdr"), depths = DataOf("bpcc"), colours = DataOf("colr"),
                                   stream = DataOf("jp2c");
  Expect(header.size() == 14 && header[11] == 7 && header[12] <= 1 && header[13] <= 1, "the image header is not right");
  if (header.size() != 14) return;
  const std::size_t numComponents = BigNumber(header, 8, 2);
  Expect(depths.size() == (header[10] == 255 ? numComponents : 0), "depths are not told once");
  Expect(BigNumber(stream, 40, 2) == numComponents, "the codestream has another number of components");
  Expect(BigNumber(stream, 8, 4) - BigNumber(stream, 16, 4) == BigNumber(header, 4, 4), "it has another width");
  Expect(BigNumber(stream, 12, 4) - BigNumber(stream, 20, 4) == BigNumber(header, 0, 4), "it has another height");
  for (std::size_t i = 0; i < numComponents; ++i) {
    const int depth = depths.empty() ? header[10] : depths[i];
    Expect(stream.size() > 42 + 3 * i && stream[42 + 3 * i] == depth, "a component has another depth");
  }
  Expect(colours.size() == 7 && colours[0] == 1 && colours[1] == 0 && colours[2] <= 1, "the colours are not right");
  CheckChannels(numComponents);
}

void Jp2Walk::CheckChannels(std::size_t numComponents) {
  const std::vector<unsigned char> channels = DataOf("cdef");
  if (channels.empty()) return;
  Expect(BigNumber(channels, 0, 2) == numComponents && channels.size() == 2 + 6 * numComponents,
         "channels are missing");
  std::set<std::uint64_t> numbers;
  for (std::size_t i = 0; i < numComponents; ++i) numbers.insert(BigNumber(channels, 2 + 6 * i, 2));
  Expect(numbers.size() == numComponents && *numbers.rbegin() == numComponents - 1, "a channel is told twice");
}

/// Marker segments up to the first tile-part, then tile-parts up to the end marker.
void Jp2Walk::WalkCodestream() {
  const std::vector<unsigned char> stream = DataOf("jp2c");
  Expect(BigNumber(stream, 0, 2) == kSoc && BigNumber(stream, 2, 2) == kSiz, "the codestream does not begin as one");
  std::size_t offset = 2;
  std::map<int, std::size_t> told;
  for (; offset + 4 <= stream.size() && BigNumber(stream, offset, 2) != kSot;
       offset += 2 + BigNumber(stream, offset + 2, 2)) {
    if (BigNumber(stream, offset, 2) != kTlm) continue;
    Expect(stream[offset + 5] == 0x60, "lengths of tile-parts have another form");
    const std::size_t end = offset + 2 + BigNumber(stream, offset + 2, 2);
    for (std::size_t i = offset + 6; i < end; i += 6)
      told[static_cast<int>(BigNumber(stream, i, 2))] = BigNumber(stream, i + 2, 4);
  }
  while (BigNumber(stream, offset, 2) == kSot) {
    const std::size_t length = BigNumber(stream, offset + 6, 4);
    const int tile = static_cast<int>(BigNumber(stream, offset + 4, 2));
    Expect(told[tile] == length, "the length of a tile-part is not that which was told");
    Expect(tile == static_cast<int>(tileParts.size()), "tiles are not in order");
    if (length < 14 || length > stream.size() - offset) return Expect(false, "a tile-part has the wrong length");
    tileParts.push_back({tile, length});
    WalkTilePart(stream, offset, offset + length);
    offset += length;
  }
  Expect(told.size() == tileParts.size(), "lengths of other tile-parts are told");
  Expect(BigNumber(stream, offset, 2) == kEoc && offset + 2 == stream.size(), "the end is not at the end");
}

void Jp2Walk::WalkTilePart(const std::vector<unsigned char>& stream, std::size_t begin, std::size_t end) {
  Expect(stream[begin + 10] == 0 && stream[begin + 11] == 1, "a tile has more than one part");
  std::size_t offset = begin + 12;
  std::uint64_t packets = 0;
  for (; offset + 4 <= end && BigNumber(stream, offset, 2) != kSod; offset += 2 + BigNumber(stream, offset + 2, 2)) {
    const std::size_t segmentEnd = offset + 2 + BigNumber(stream, offset + 2, 2);
    if (BigNumber(stream, offset, 2) == kPlt) packets += SumOfPackets(stream, offset + 5, segmentEnd);
  }
  Expect(packets == end - offset - 2, "the packets are not as long as was told");
}

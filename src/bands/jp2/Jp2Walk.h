#pragma once

#include "codec/Jp2Boxes.h"
#include "XString.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zrk {

class DiskFile;

/// A box of a file as its head tells it.
struct Jp2Box {
  std::uint32_t type = 0;
  std::int64_t offset = 0;      ///< of its head
  std::int64_t numBytes = 0;    ///< with the head; those that the file or the box around it has
  std::int64_t dataOffset = 0;  ///< behind the head, and behind the identifier of a `uuid` box
  int depth = 0;                ///< 0 for a box of the file itself, 1 for one within such a box, and so on
  bool isCut = false;           ///< whether it says that it is longer than what is around it
  BoxUuid uuid{};               ///< of a `uuid` box

  std::int64_t GetEnd() const { return offset + numBytes; }
  std::int64_t CountDataBytes() const { return GetEnd() - dataOffset; }
};

/// Parses the head of a box at that offset of a file. `bytes` are the first of those up to `end`; 32 of them suffice.
/// Empty where no box can be there: the head is not whole, or its length is shorter than the head.
std::optional<Jp2Box> ParseBoxHead(std::span<const unsigned char> bytes, std::int64_t offset, std::int64_t end);

/// Whether two types are the same, in any case of their letters.
bool IsSameType(std::uint32_t type, std::uint32_t other);

/// Lists the boxes of a file in their order, each followed by those within it. The list ends where no box can be.
/// Returns 1, or 0 with the reason in `err` where there are more boxes than any image has, where they lie too deep in
/// each other, and where the disk fails.
int WalkBoxes(DiskFile& file, std::vector<Jp2Box>& boxes, XString& err);

/// The number of the first box that is no longer within a box of the list.
std::size_t EndOfBox(std::span<const Jp2Box> boxes, std::size_t box);

/// The first box of a type within a box, or anywhere on the level of the file where `within` is null; null where there
/// is none. Only boxes directly beneath count.
const Jp2Box* FindBox(std::span<const Jp2Box> boxes, std::uint32_t type, const Jp2Box* within = nullptr);

/// The bytes of a box behind its head, or no bytes where there are more than `most`. Nothing where the disk fails.
std::optional<std::vector<unsigned char>> ReadBoxData(DiskFile& file, const Jp2Box& box, std::int64_t most);
/// The same as text, up to its first zero.
std::optional<std::string> ReadBoxText(DiskFile& file, const Jp2Box& box, std::int64_t most);

/// The name of a type: four characters, with a dot in place of each that can't be printed.
XString NameBox(std::uint32_t type);
/// The name of what a `uuid` box holds: "GeoJP2" or "MSIG", or else the identifier in hexadecimal digits.
XString NameUuid(const BoxUuid& uuid);

}  // namespace zrk

#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A box of a JP2 file.
struct WalkedBox {
  std::string type;
  int depth = 0;  ///< of the boxes that it lies in
  std::size_t offset = 0;
  bool isLong = false;
  std::vector<unsigned char> data;
};

/// A tile-part of the codestream.
struct WalkedTilePart {
  int tile = 0;
  std::size_t numBytes = 0;
};

/// A JP2 file taken apart by the standard. What is against it makes a complaint.
struct Jp2Walk {
  explicit Jp2Walk(const std::vector<unsigned char>& bytes);

  /// The types in their order, with a blank in front for each box that they lie in.
  std::vector<std::string> GetOutline() const;
  /// The data of the first box of the type; none where there is no such box.
  std::vector<unsigned char> DataOf(const std::string& type) const;

  std::vector<WalkedBox> boxes;
  std::vector<WalkedTilePart> tileParts;
  std::vector<std::string> complaints;

 private:
  void WalkBoxes(const std::vector<unsigned char>& bytes, std::size_t begin, std::size_t end, int depth);
  void CheckOrder();
  void CheckHeader();
  void CheckChannels(std::size_t numComponents);
  void WalkCodestream();
  void WalkTilePart(const std::vector<unsigned char>& stream, std::size_t begin, std::size_t end);
  void Expect(bool isSo, const std::string& complaint) {
    if (!isSo) complaints.push_back(complaint);
  }
};

/// A number whose most significant byte is first; 0 beyond the end.
std::uint64_t BigNumber(const std::vector<unsigned char>& bytes, std::size_t offset, std::size_t numBytes);

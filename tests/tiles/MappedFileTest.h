#pragma once

#include "TempFolder.h"
#include "XMMFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

// What the tests of the file behind the tile stores share.

inline constexpr std::uint64_t kView = 65536;
inline constexpr const char* kSeekSentence = "Seek request lies outside file boundary.";
inline constexpr const char* kNoRoomSentence = "The file pointer cannot be set to specified location.";

/// Bytes that differ from each other far apart, so that no part of them is taken for another.
inline std::vector<unsigned char> Ramp(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + i / 251 + i / 65536 * 3);
  return bytes;
}

inline XString SentenceOf(const Vexorine::ZRL::IO::XMMFile& file) {
  XString text;
  file.GetLastError(text);
  return text;
}

class MappedFileTest : public testing::Test {
 protected:
  using MappedFile = Vexorine::ZRL::IO::XMMFile;
  using Bytes = std::vector<unsigned char>;

  std::string Path() const { return folder_.Path("store"); }
  void Write(const Bytes& bytes) const { folder_.Write("store", bytes); }
  void WriteRamp(std::size_t count) const { Write(Ramp(count)); }
  /// Reads from the position on, and fails where the count is not the one that was read.
  static Bytes Read(MappedFile& file, std::uint32_t count, std::uint32_t expected) {
    Bytes bytes(count);
    EXPECT_EQ(expected, file.Read(bytes.data(), count));
    bytes.resize(expected);
    return bytes;
  }
  static Bytes Part(const Bytes& bytes, std::size_t begin, std::size_t count) {
    return Bytes(bytes.begin() + static_cast<long>(begin), bytes.begin() + static_cast<long>(begin + count));
  }

  TempFolder folder_;
  MappedFile file_;
};

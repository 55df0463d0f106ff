// A .gtx file has a head of 40 bytes and then the heights:
//
//     0   double  latitude of the south-west post, degrees
//     8   double  longitude of it
//     16  double  step in latitude
//     24  double  step in longitude
//     32  int32   rows
//     36  int32   columns
//     40  float   heights in metres, row by row from the south, -88.8888 for an unknown one

#include "formats/hawk/GtxGrid.h"

#include <bit>
#include <cmath>

namespace {

constexpr std::size_t kGtxHeadBytes = 40;
constexpr int kMaxGtxSide = 1 << 16;

std::uint64_t TakeBigEndian(std::span<const unsigned char> bytes, std::size_t offset, std::size_t count) {
  std::uint64_t word = 0;
  for (const unsigned char byte : bytes.subspan(offset, count)) word = word << 8 | byte;
  return word;
}

double TakeDouble(std::span<const unsigned char> bytes, std::size_t offset) {
  return std::bit_cast<double>(TakeBigEndian(bytes, offset, 8));
}

int TakeInt(std::span<const unsigned char> bytes, std::size_t offset) {
  return static_cast<int>(static_cast<std::uint32_t>(TakeBigEndian(bytes, offset, 4)));
}

bool HasFrame(const GtxGrid& grid) {
  const bool isPlaced = std::abs(grid.south) <= 90.0 && std::abs(grid.west) <= 360.0;
  const bool hasSteps = grid.latStep > 0.0 && grid.latStep < 90.0 && grid.lonStep > 0.0 && grid.lonStep < 90.0;
  return isPlaced && hasSteps && grid.rows > 1 && grid.rows <= kMaxGtxSide && grid.columns > 1 &&
         grid.columns <= kMaxGtxSide;
}

}  // namespace

bool GtxGrid::GoesAround() const {
  return std::abs(columns * lonStep - 360.0) < 0.01 * lonStep;
}

bool ParseGtx(std::span<const unsigned char> bytes, GtxGrid& grid, std::string& err) {
  err = "not a grid of heights in .gtx, or damaged";
  if (bytes.size() < kGtxHeadBytes) return false;
  grid.south = TakeDouble(bytes, 0);
  grid.west = TakeDouble(bytes, 8);
  grid.latStep = TakeDouble(bytes, 16);
  grid.lonStep = TakeDouble(bytes, 24);
  grid.rows = TakeInt(bytes, 32);
  grid.columns = TakeInt(bytes, 36);
  if (!HasFrame(grid)) return false;
  const std::size_t count = static_cast<std::size_t>(grid.rows) * static_cast<std::size_t>(grid.columns);
  if ((bytes.size() - kGtxHeadBytes) / sizeof(float) < count) return false;
  grid.heights.clear();
  grid.heights.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto word = static_cast<std::uint32_t>(TakeBigEndian(bytes, kGtxHeadBytes + i * sizeof(float), 4));
    grid.heights.push_back(std::bit_cast<float>(word));
  }
  err.clear();
  return true;
}

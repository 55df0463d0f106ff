// Elevation cells keep columns of heights from south to north, and an image has rows from north to south. So a cell is
// turned by a quarter, and each word on the way goes from sign and magnitude, big-endian, to a number of the machine.
//
// A turn sample by sample touches another cache line with every step. The vector way takes squares of eight columns by
// eight points: eight loads, three rounds of interleaving in registers, eight stores. Squares at the last column and
// the last point overlap the squares before. So only cells of less than eight columns or points are turned sample by
// sample. On machines whose vector length is known only at run time all cells are.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "math/Heights.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/Heights.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

// A square is held in an array of eight vectors. Vectors whose length is known only at run time can't lie in an array.
#if HWY_TARGET == HWY_SCALAR || HWY_HAVE_SCALABLE

bool TurnSquares(const unsigned char*, std::int64_t, int, int, std::int16_t*, std::int64_t, FarBelow) {
  return false;
}

#else

namespace hn = hwy::HWY_NAMESPACE;
using Words = hn::FixedTag<std::uint16_t, 8>;
using Heights = hn::FixedTag<std::int16_t, 8>;
using Vector = hn::Vec<Heights>;

constexpr int kSide = 8;

/// Eight words as heights; the twin of `HeightOf` and `ExactHeightOf`.
template <FarBelow kFarBelow>
HWY_INLINE Vector LoadHeights(const unsigned char* source) {
  const Heights heights;
  const auto stored = hn::LoadU(Words(), reinterpret_cast<const std::uint16_t*>(source));
  const Vector word = hn::BitCast(heights, hn::Or(hn::ShiftLeft<8>(stored), hn::ShiftRight<8>(stored)));
  const Vector magnitude = hn::And(word, hn::Set(heights, 0x7FFF));
  Vector below = hn::Neg(magnitude);
  if constexpr (kFarBelow == FarBelow::kZero) {
    below = hn::IfThenElseZero(hn::Lt(magnitude, hn::Set(heights, 16000)), below);
  }
  return hn::IfThenElse(hn::Lt(word, hn::Zero(heights)), below, word);
}

/// One round of interleaving. Vector and lane of a sample make a number of six bits, three each. A round rotates this
/// number by one bit, and so three rounds exchange vector and lane.
HWY_INLINE void Interleave(const Vector (&in)[kSide], Vector (&out)[kSide]) {
  for (int i = 0; i < kSide / 2; ++i) {
    out[2 * i] = hn::InterleaveLower(Heights(), in[i], in[i + kSide / 2]);
    out[2 * i + 1] = hn::InterleaveUpper(Heights(), in[i], in[i + kSide / 2]);
  }
}

/// Turns eight points of eight columns. The first point of each is the southernmost and goes to `lastRow`, the others
/// to the rows above it.
template <FarBelow kFarBelow>
HWY_INLINE void TurnSquare(const unsigned char* columns, std::int64_t columnBytes, std::int16_t* lastRow,
                           std::int64_t rowSamples) {
  Vector a[kSide], b[kSide];
  for (int i = 0; i < kSide; ++i) a[i] = LoadHeights<kFarBelow>(columns + i * columnBytes);
  Interleave(a, b);
  Interleave(b, a);
  Interleave(a, b);
  for (int i = 0; i < kSide; ++i) hn::StoreU(b[i], Heights(), lastRow - i * rowSamples);
}

template <FarBelow kFarBelow>
void TurnAllSquares(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                    std::int16_t* rows, std::int64_t rowSamples) {
  for (int p = 0; p < numPoints; p += kSide) {
    const int point = p + kSide <= numPoints ? p : numPoints - kSide;
    const unsigned char* const from = columns + 2 * point;
    std::int16_t* const to = rows + (numPoints - 1 - point) * rowSamples;
    for (int c = 0; c < numColumns; c += kSide) {
      const int column = c + kSide <= numColumns ? c : numColumns - kSide;
      TurnSquare<kFarBelow>(from + column * columnBytes, columnBytes, to + column, rowSamples);
    }
  }
}

/// False, with nothing done, where there is no whole square.
bool TurnSquares(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                 std::int16_t* rows, std::int64_t rowSamples, FarBelow farBelow) {
  if (numColumns < kSide || numPoints < kSide) return false;
  const auto turn = farBelow == FarBelow::kZero ? &TurnAllSquares<FarBelow::kZero> : &TurnAllSquares<FarBelow::kKept>;
  turn(columns, columnBytes, numColumns, numPoints, rows, rowSamples);
  return true;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(TurnSquares);

void TransposeHeights(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                      std::int16_t* rows, std::int64_t rowSamples, FarBelow farBelow) {
  if (HWY_DYNAMIC_DISPATCH(TurnSquares)(columns, columnBytes, numColumns, numPoints, rows, rowSamples, farBelow)) {
    return;
  }
  TransposeHeightsSingly(columns, columnBytes, numColumns, numPoints, rows, rowSamples, farBelow);
}

void TransposeHeightsSingly(const unsigned char* columns, std::int64_t columnBytes, int numColumns, int numPoints,
                            std::int16_t* rows, std::int64_t rowSamples, FarBelow farBelow) {
  const auto heightOf = farBelow == FarBelow::kZero ? &HeightOf : &ExactHeightOf;
  for (int point = 0; point < numPoints; ++point) {
    std::int16_t* const row = rows + (numPoints - 1 - point) * rowSamples;
    const unsigned char* source = columns + 2 * point;
    for (int column = 0; column < numColumns; ++column, source += columnBytes) {
      row[column] = heightOf(static_cast<std::uint16_t>(source[0] << 8 | source[1]));
    }
  }
}

}  // namespace zrk
#endif

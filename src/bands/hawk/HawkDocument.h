#pragma once

#include "math/SmallMatrix.h"
#include "XString.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace zrk {

/// The six functions of a pose, in the order in which all lists of six have them.
inline constexpr std::size_t kNumPoseParts = 6;
inline constexpr std::array<const char*, kNumPoseParts> kPoseNames = {"X", "Y", "Z", "OMEGA", "PHI", "KAPPA"};

/// What the document of a data set tells of its sensor. Lengths are in metres and angles in radians where no other unit
/// is named.
struct HawkDocument {
  std::array<double, 3> originInEcf{};
  Matrix3 rotationEcfToLsr{};
  std::array<std::vector<double>, kNumPoseParts> grids;
  int gridCount = 0;
  int imageLines = 0;
  int imageSamples = 0;
  XString originCorner;
  bool isIR = false;
  double focalLengthInMm = 0.0;
  double detectorCellSizeInMm = 0.0;
};

enum class HawkParse {
  kDone,
  kNoElement,  ///< the text has no element at all
  kRefused,    ///< it is dangerous, or not well formed, or has another root, or is not told as wanted
};

/// Reads a document into a record, whose fields stay where the text has nothing for them. With `isExact`, texts have to
/// be numbers as a whole, and lists may have no rows beyond their count. The record is of no use unless the answer is
/// `kDone`; `reason` then says why.
HawkParse ParseHawkDocument(std::string_view text, bool isExact, HawkDocument& document, XString& reason);

/// Why the sensor that a document tells can't be used; empty where it can. With `isExact` it has to have a focal length
/// and a cell size.
XString FindHawkFault(const HawkDocument& document, bool isExact);

}  // namespace zrk

// Where a picture has about as many pixels as the row under it, sixteen neighbours come from a few bytes of that row.
// One shuffle of a vector, or two, then takes what sixteen loads would. The shuffles are the same for all rows of a
// block, and are worked out once.
//
// Vectors never reach beyond the row: a group near its end is taken from the last two vectors that fit. What is left of
// the last sixteen places, and a row shorter than two vectors, is taken byte by byte.
//
// Highway includes this file once for every instruction set that the machine may have, and picks one at run time.

#include "math/BytePicker.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "math/BytePicker.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zrk {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Sixteen bytes of a group. An instruction set without vectors takes them one by one.
void PickGroup(const BytePicker::Group& group, const unsigned char* source, unsigned char* bytes) {
#if HWY_TARGET == HWY_SCALAR
  for (std::size_t lane = 0; lane < BytePicker::kGroup; ++lane) {
    const bool isLower = group.lower[lane] < BytePicker::kGroup;
    bytes[lane] = isLower ? source[group.lower[lane]] : source[BytePicker::kGroup + group.upper[lane]];
  }
#else
  const hn::FixedTag<unsigned char, BytePicker::kGroup> lanes;
  auto picked = hn::TableLookupBytesOr0(hn::LoadU(lanes, source), hn::Load(lanes, group.lower.data()));
  if (group.needsUpper) {
    const auto upper = hn::LoadU(lanes, source + BytePicker::kGroup);
    picked = hn::Or(picked, hn::TableLookupBytesOr0(upper, hn::Load(lanes, group.upper.data())));
  }
  hn::StoreU(picked, lanes, bytes);
#endif
}

void PickGroups(const BytePicker::Group* groups, std::size_t count, const unsigned char* row, unsigned char* bytes) {
  for (std::size_t i = 0; i < count; ++i, bytes += BytePicker::kGroup) {
    PickGroup(groups[i], row + groups[i].base, bytes);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace zrk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zrk {

HWY_EXPORT(PickGroups);

namespace {

constexpr unsigned char kElsewhere = 0x80;

/// False where the places do not rise, or do not lie within two vectors.
bool PlanGroup(const int* places, int lastBase, BytePicker::Group& group) {
  group.base = std::min(places[0], lastBase);
  group.needsUpper = false;
  for (int i = 0; i < BytePicker::kGroup; ++i) {
    const int distance = places[i] - group.base;
    const bool isLower = distance < BytePicker::kGroup;
    if (places[i] < places[0] || distance >= 2 * BytePicker::kGroup) return false;
    const auto lane = static_cast<std::size_t>(i);
    group.lower[lane] = isLower ? static_cast<unsigned char>(distance) : kElsewhere;
    group.upper[lane] = isLower ? kElsewhere : static_cast<unsigned char>(distance - BytePicker::kGroup);
    group.needsUpper |= !isLower;
  }
  return true;
}

}  // namespace

bool BytePicker::Plan(const int* places, int count, int rowBytes) {
  groups_.clear();
  const int lastBase = rowBytes - 2 * kGroup;
  int i = 0;
  for (; lastBase >= 0 && i + kGroup <= count; i += kGroup) {
    Group group;
    if (!PlanGroup(places + i, lastBase, group)) return false;
    groups_.push_back(group);
  }
  rest_.assign(places + i, places + count);
  return true;
}

void BytePicker::Pick(const unsigned char* row, unsigned char* bytes) const {
  HWY_DYNAMIC_DISPATCH(PickGroups)(groups_.data(), groups_.size(), row, bytes);
  unsigned char* const behind = bytes + groups_.size() * kGroup;
  for (std::size_t i = 0; i < rest_.size(); ++i) behind[i] = row[rest_[i]];
}

}  // namespace zrk
#endif

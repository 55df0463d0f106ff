// Programs built against the virtual table call by place in it, so the order of the declarations is pinned here.

#include "ZRMBandDRIO.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstring>

namespace {

/// The place of a virtual function in its table under the Itanium ABI: a pointer to a virtual member holds its byte
/// offset, plus one, or on ARM the offset itself beside an adjustment that has its lowest bit set.
template <class Member>
std::size_t SlotOf(Member member) {
  std::ptrdiff_t words[2];
  static_assert(sizeof(member) == sizeof(words));
  std::memcpy(words, &member, sizeof(words));
#if defined(__aarch64__) || defined(__arm__)
  const std::ptrdiff_t offset = words[0];
#else
  const std::ptrdiff_t offset = words[0] - 1;
#endif
  return static_cast<std::size_t>(offset) / sizeof(void*);
}

using Arr = tagXArr2;

/// The slots of the overloads that `Band` sees, in the order that they must have. The destructor takes 0 and 1.
template <class Band>
std::vector<std::size_t> SlotsOfReadsAndWrites() {
  return {
      SlotOf<const XRuntimeClass* (Band::*)() const>(&Band::GetRuntimeClass),
      SlotOf<void (Band::*)(XArchive&)>(&Band::Serialize),
      SlotOf<int (Band::*)() const>(&Band::GetDataType),
      SlotOf<int (Band::*)(Arr*&, int, int, int, int)>(&Band::ReadLineH),
      SlotOf<int (Band::*)(Arr*&, int, int)>(&Band::ReadLineH),
      SlotOf<int (Band::*)(Arr*&, int, int, int, int)>(&Band::ReadLineV),
      SlotOf<int (Band::*)(Arr*&, int, int)>(&Band::ReadLineV),
      SlotOf<int (Band::*)(Arr*&, int, int)>(&Band::ReadPixel),
      SlotOf<int (Band::*)(void*, int, int, int, bool, double)>(&Band::WriteLineH),
      SlotOf<int (Band::*)(void*, int, bool, double)>(&Band::WriteLineH),
      SlotOf<int (Band::*)(Arr*, int, int, int, bool, double)>(&Band::WriteLineH),
      SlotOf<int (Band::*)(Arr*, int, bool, double)>(&Band::WriteLineH),
      SlotOf<int (Band::*)(void*, int, int, int, bool, double)>(&Band::WriteLineV),
      SlotOf<int (Band::*)(void*, int, bool, double)>(&Band::WriteLineV),
      SlotOf<int (Band::*)(Arr*, int, int, int, bool, double)>(&Band::WriteLineV),
      SlotOf<int (Band::*)(Arr*, int, bool, double)>(&Band::WriteLineV),
      SlotOf<int (Band::*)(void*, int, int, bool, double)>(&Band::WritePixel),
      SlotOf<int (Band::*)(Arr*, int, int, bool, double)>(&Band::WritePixel),
  };
}

using D = double;

template <class Band>
std::vector<std::size_t> SlotsFromTheTargetLevelOn() {
  return {
      SlotOf<int (Band::*)(D, D, D, D, D, D, D, D, int, int)>(&Band::GetHighestLevelForTarget),
      SlotOf<int (Band::*)(int, int, int, int, int, int)>(&Band::GetHighestLevelForTarget),
      SlotOf<int (Band::*)()>(&Band::CalcProcessWidthBytes),
      SlotOf<int (Band::*)(void*&, int&, int&, int, int, int, int, int, int*)>(&Band::ReadSubset),
      SlotOf<int (Band::*)(Arr*&, int, int, int, int, int, int*)>(&Band::ReadSubset),
      SlotOf<int (Band::*)(int, int, int, int, bool, double)>(&Band::WriteSubset),
      SlotOf<int (Band::*)(void*, int, int, int, int, bool, double)>(&Band::WriteSubset),
      SlotOf<int (Band::*)(Arr*, int, int, int, int, bool, double)>(&Band::WriteSubset),
      SlotOf<int (Band::*)()>(&Band::GetLevel),
      SlotOf<int (Band::*)(int, int, int, int, int, int&, int&, int&, int&)>(&Band::GetSubsetInfo),
      SlotOf<int (Band::*)(int, int, int, int, int, int&, int&, int&, int&)>(&Band::GetSubsetPos),
      SlotOf<int (Band::*)(int)>(&Band::CalcStatistics),
      SlotOf<int (Band::*)(int, int)>(&Band::CleanupMemory),
      SlotOf<int (Band::*)(D, int, int, int, int, bool)>(&Band::BuildLowerLevelsForTIP),
      SlotOf<int (Band::*)(ZRMBand*)>(&Band::CloneBand),
  };
}

constexpr std::size_t kFirstSlot = 2;
constexpr std::size_t kNumSlots = 35;

template <class Band>
void ExpectTheDeclaredOrder() {
  std::vector<std::size_t> slots = SlotsOfReadsAndWrites<Band>();
  for (const std::size_t slot : SlotsFromTheTargetLevelOn<Band>()) slots.push_back(slot);
  ASSERT_EQ(slots.size() + kFirstSlot, kNumSlots);
  for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], kFirstSlot + i);
}

/// Its own function lies directly behind all that its base has.
template <class Base>
struct OneMore : Base {
  virtual void Extra() {}
};

}  // namespace

TEST(VirtualTable, HasTheDeclaredOrderInEveryBandClass) {
  ExpectTheDeclaredOrder<XBand>();
  ExpectTheDeclaredOrder<ZRMBand>();
  ExpectTheDeclaredOrder<ZRMBandDRIO>();
}

TEST(VirtualTable, NoBandClassAddsASlot) {
  EXPECT_EQ(SlotOf(&OneMore<XBand>::Extra), kNumSlots);
  EXPECT_EQ(SlotOf(&OneMore<ZRMBand>::Extra), kNumSlots);
  EXPECT_EQ(SlotOf(&OneMore<ZRMBandDRIO>::Extra), kNumSlots);
}

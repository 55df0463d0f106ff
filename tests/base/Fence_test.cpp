#include "base/Fence.h"

#include <gtest/gtest.h>

#include <stdexcept>

// Bands and message targets of a caller may throw anything while the library works with them.

namespace {

TEST(Fence, TurnsAnythingThrownInAReadIntoAFailure) {
  EXPECT_EQ(0, zrk::FencedRead([]() -> int { throw std::bad_alloc(); }));
  EXPECT_EQ(0, zrk::FencedRead([]() -> int { throw std::runtime_error("no"); }));
  EXPECT_EQ(0, zrk::FencedRead([]() -> int { throw 7; }));
  EXPECT_EQ(1, zrk::FencedRead([] { return 1; }));
}

TEST(Fence, TellsWhatWasThrownInALoadOrASave) {
  XString err;
  EXPECT_EQ(0, zrk::Fenced(err, []() -> int { throw std::bad_alloc(); }));
  EXPECT_EQ(XString("Out of memory"), err);
  EXPECT_EQ(0, zrk::Fenced(err, []() -> int { throw std::runtime_error("the disk is gone"); }));
  EXPECT_EQ(XString("the disk is gone"), err);
  EXPECT_EQ(0, zrk::Fenced(err, []() -> int { throw 7; }));
  EXPECT_EQ(XString("A band or a target of the caller has thrown"), err);
}

TEST(Fence, LeavesTheReasonAloneOnSuccess) {
  XString err = "as it was";
  EXPECT_EQ(1, zrk::Fenced(err, [] { return 1; }));
  EXPECT_EQ(XString("as it was"), err);
}

}  // namespace

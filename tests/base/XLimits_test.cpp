#include "XLimits.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

/// Brings the limits back when a test is done.
class KeepLimits {
 public:
  ~KeepLimits() { XfnSetLimits(before_); }

 private:
  const tagXLimits before_ = XfnGetLimits();
};

}  // namespace

TEST(Limits, DefaultsFitRealData) {
  const tagXLimits limits = XfnGetLimits();
  EXPECT_EQ(limits.imagePixels, 1099511627776);  // 2^40
  EXPECT_EQ(limits.decodedTileBytes, 1073741824);
  EXPECT_EQ(limits.tableBytes, 268435456);
  EXPECT_EQ(limits.nestingDepth, 64);
  EXPECT_EQ(limits.channels, 16384);
  EXPECT_EQ(limits.jpegScans, 500);
  EXPECT_EQ(limits.xmlBytes, 33554432);    // 32 MiB
  EXPECT_EQ(limits.xmlElements, 1048576);  // 2^20
}

TEST(Limits, ACallerCanLowerThem) {
  const KeepLimits keep;
  tagXLimits limits = XfnGetLimits();
  limits.imagePixels = 1000;
  limits.jpegScans = 3;
  XfnSetLimits(limits);
  EXPECT_EQ(XfnGetLimits().imagePixels, 1000);
  EXPECT_EQ(XfnGetLimits().jpegScans, 3);
  EXPECT_EQ(XfnGetLimits().nestingDepth, 64);
}

TEST(LimitsThreads, AreNeverSeenHalfSet) {
  const KeepLimits keep;
  XfnSetLimits({.imagePixels = 1, .nestingDepth = 1});
  std::thread setter([] {
    for (int i = 0; i < 2000; ++i) XfnSetLimits({.imagePixels = i, .nestingDepth = i});
  });
  for (int i = 0; i < 2000; ++i) {
    const tagXLimits limits = XfnGetLimits();
    EXPECT_EQ(limits.imagePixels, limits.nestingDepth);
  }
  setter.join();
}

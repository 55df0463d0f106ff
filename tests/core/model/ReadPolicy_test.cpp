#include "XReadPolicy.h"

#include "XRSFile.h"
#include "ZRMBand2DMem.h"

#include <gtest/gtest.h>

namespace {

/// Puts the default back.
struct ReadPolicy : testing::Test {
  ~ReadPolicy() override { XfnSetDefaultReadPolicy(kReadCompatible); }
};

TEST_F(ReadPolicy, IsCompatibleUnlessSet) {
  EXPECT_EQ(kReadCompatible, XfnGetDefaultReadPolicy());
  EXPECT_EQ(kReadCompatible, XRSFile().GetReadPolicy());
  EXPECT_EQ(kReadCompatible, ZRMBand2DMem().GetReadPolicy());
}

TEST_F(ReadPolicy, OfNewDatasetsAndBandsIsTheDefault) {
  XRSFile before;
  XfnSetDefaultReadPolicy(kReadExact);
  EXPECT_EQ(kReadExact, XRSFile().GetReadPolicy());
  EXPECT_TRUE(ZRMBand2DMem().IsExact());
  EXPECT_EQ(kReadCompatible, before.GetReadPolicy());
}

TEST_F(ReadPolicy, OfOneDatasetCanBeSet) {
  XRSFile file;
  file.SetReadPolicy(kReadExact);
  EXPECT_EQ(kReadExact, file.GetReadPolicy());
  EXPECT_EQ(kReadCompatible, XRSFile().GetReadPolicy());
}

TEST_F(ReadPolicy, IsNotCloned) {
  ZRMBand2DMem exact, compatible;
  exact.SetReadPolicy(kReadExact);
  ASSERT_EQ(1, compatible.CloneBand(&exact));
  EXPECT_FALSE(compatible.IsExact());
}

}  // namespace

#include "geo/GdalScope.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(QuietGdal, KeepsErrorsFromStderrAndRemembersThem) {
  testing::internal::CaptureStderr();
  {
    const zrk::QuietGdal quiet;
    CPLError(CE_Failure, CPLE_AppDefined, "of %d", 7);
    EXPECT_EQ("of 7", quiet.GetLastError().AsStdString());
  }
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(QuietGdal, PutsErrorsBeforeLaterWarnings) {
  const zrk::QuietGdal quiet;
  CPLError(CE_Warning, CPLE_AppDefined, "first");
  EXPECT_EQ("first", quiet.GetLastError().AsStdString());
  CPLError(CE_Failure, CPLE_AppDefined, "second");
  CPLError(CE_Warning, CPLE_AppDefined, "third");
  EXPECT_EQ("second", quiet.GetLastError().AsStdString());
}

TEST(QuietGdal, HasNoUseForDebugMessages) {
  const CPLConfigOptionSetter debug("CPL_DEBUG", "ON", false);
  const zrk::QuietGdal quiet;
  CPLDebug("ZRK", "chatter");
  EXPECT_EQ("", quiet.GetLastError().AsStdString());
}

TEST(QuietGdal, LeavesTheLastErrorOfTheProgramAsItWas) {
  CPLErrorSetState(CE_Failure, CPLE_FileIO, "the program's own");
  {
    const zrk::QuietGdal quiet;
    CPLError(CE_Failure, CPLE_AppDefined, "ours");
  }
  EXPECT_STREQ("the program's own", CPLGetLastErrorMsg());
  EXPECT_EQ(CPLE_FileIO, CPLGetLastErrorNo());
  CPLErrorReset();
}

TEST(QuietGdal, NestsAndConcernsItsThreadOnly) {
  const zrk::QuietGdal outer;
  {
    const zrk::QuietGdal inner;
    CPLError(CE_Failure, CPLE_AppDefined, "inner");
    EXPECT_EQ("inner", inner.GetLastError().AsStdString());
  }
  std::thread([] {
    const zrk::QuietGdal other;
    CPLError(CE_Failure, CPLE_AppDefined, "elsewhere");
  }).join();
  EXPECT_EQ("", outer.GetLastError().AsStdString());
}

TEST(FixedGdalSwitches, HoldForTheirLifetime) {
  CPLSetConfigOption("DXF_INLINE_BLOCKS", "NO");
  {
    const zrk::FixedGdalSwitches switches;
    EXPECT_STREQ("YES", CPLGetConfigOption("DXF_INLINE_BLOCKS", ""));
    EXPECT_STREQ("NO", CPLGetConfigOption("LIBKML_EXTERNAL_STYLE", ""));
  }
  EXPECT_STREQ("NO", CPLGetConfigOption("DXF_INLINE_BLOCKS", ""));
  CPLSetConfigOption("DXF_INLINE_BLOCKS", nullptr);
}

}  // namespace

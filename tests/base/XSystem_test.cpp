#include "XSystem.h"

#include "TempFolder.h"
#include "XFile.h"
#include "XLimits.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <regex>

namespace {

TEST(XSystem, AvailableMemoryIsAShareOfAll) {
  const double percent = XfnGetAvailablePhysicalMemoryInPercent();
  EXPECT_GT(percent, 0.0);
  EXPECT_LE(percent, 100.0);
}

TEST(XSystem, TemporaryNamesAreTakenAndNew) {
  TempFolder folder;
  setenv("TMPDIR", folder.Path().c_str(), 1);
  const XString first = XfnGetTempFileName("_imp_"), second = XfnGetTempFileName("_imp_");
  unsetenv("TMPDIR");
  EXPECT_NE(first.AsStdString(), second.AsStdString());
  EXPECT_EQ(0, first.Find(folder.Path() + "/_imp_"));
  EXPECT_TRUE(XFile::Exists(first));
}

TEST(XSystem, ANameThatCannotBeIsEmpty) {
  setenv("TMPDIR", "/no/such/folder", 1);
  EXPECT_TRUE(XfnGetTempFileName("x").IsEmpty());
  unsetenv("TMPDIR");
}

TEST(XSystem, HardwareAddressesAreSixOctets) {
  XStringList addresses(10);
  const int numFound = XfnGetMacAddress(addresses);
  EXPECT_EQ(numFound, addresses.GetCount());
  for (const XString& address : addresses) {
    EXPECT_TRUE(std::regex_match(address.AsStdString(), std::regex("[0-9A-F]{2}(-[0-9A-F]{2})+"))) << address.GetText();
  }
}

TEST(XSystem, TheCryptoMethodAndWorkersAreWhatWasSet) {
  EXPECT_EQ(0, XfnGetCryptoMethod());
  XfnSetCryptoMethod(2);
  EXPECT_EQ(2, XfnGetCryptoMethod());
  XfnSetCryptoMethod(0);
  EXPECT_EQ(1, XfnGetWorkerCount());
  XfnSetWorkerCount(-3);
  EXPECT_EQ(1, XfnGetWorkerCount());
}

TEST(XSystem, BlocksHaveTheRowsWantedWhereTheyFit) {
  EXPECT_EQ(200, XfnCalcBlockHeight(1000, 1000, 1, 200));
  EXPECT_EQ(50, XfnCalcBlockHeight(1000, 50, 1, 200));
  EXPECT_EQ(32, XfnCalcBlockHeight(1 << 20, 1000, 1, 200));
  EXPECT_EQ(1, XfnCalcBlockHeight(1 << 30, 1000, 8, 200));
  EXPECT_EQ(1, XfnCalcBlockHeight(LONG_MAX, LONG_MAX, LONG_MAX, LONG_MAX));
  EXPECT_EQ(1, XfnCalcBlockHeight(0, 0, 0, 0));
}

TEST(XLimits, AreInForceForTheProcess) {
  const zrk::Limits before = zrk::GetLimits();
  zrk::Limits limits = before;
  limits.jpegScans = 7;
  zrk::SetLimits(limits);
  EXPECT_EQ(7, zrk::GetLimits().jpegScans);
  zrk::SetLimits(before);
}

}  // namespace

#include "base/ReadError.h"

#include "base/Parallel.h"
#include "XBand.h"
#include "XReadPolicy.h"

#include <gtest/gtest.h>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace {

XString LastError() {
  XString err = "none";
  XfnGetLastReadError(err);
  return err;
}

}  // namespace

TEST(ReadErrorThreads, AThreadThatHasNotFailedHasNoReason) {
  zrk::ReadPixels([] { return zrk::FailRead("here"); });
  std::thread([] {
    XString err = "as it was";
    EXPECT_EQ(0, XfnGetLastReadError(err));
    EXPECT_EQ(XString("as it was"), err);
    zrk::ReadPixels([] { return zrk::FailRead("there"); });
    EXPECT_EQ(XString("there"), LastError());
  }).join();
  EXPECT_EQ(XString("here"), LastError());
}

TEST(ReadError, TheFirstSentenceOfAReadStays) {
  EXPECT_EQ(0, zrk::ReadPixels([] {
              zrk::NoteReadError("the block can't be decoded");
              return zrk::FailRead("the window can't be read");
            }));
  EXPECT_EQ(XString("the block can't be decoded"), LastError());
}

TEST(ReadError, AReadThatSucceedsLeavesTheLastReason) {
  zrk::ReadPixels([] { return zrk::FailRead("before"); });
  EXPECT_EQ(1, zrk::ReadPixels([] {
              zrk::NoteReadError("one source failed and another one served");
              return 1;
            }));
  EXPECT_EQ(XString("before"), LastError());
}

TEST(ReadError, TheReasonOfAnInnerReadIsThatOfTheOuterOne) {
  zrk::ReadPixels([] { return zrk::ReadPixels([] { return zrk::FailRead("the source is cut short"); }); });
  EXPECT_EQ(XString("the source is cut short"), LastError());
}

TEST(ReadError, AnInnerReadThatFailedInVainLeavesNothing) {
  zrk::ReadPixels([] { return zrk::FailRead("before"); });
  EXPECT_EQ(1, zrk::ReadPixels([] {
              zrk::ReadPixels([] { return zrk::FailRead("level data declines"); });
              return 1;
            }));
  EXPECT_EQ(XString("before"), LastError());
}

TEST(ReadError, WhatIsThrownBecomesAReason) {
  EXPECT_EQ(0, zrk::ReadPixels([]() -> int { throw std::bad_alloc(); }));
  EXPECT_EQ(XString("There is no memory for the pixels"), LastError());
  EXPECT_EQ(0, zrk::ReadPixels([]() -> int { throw std::runtime_error("x"); }));
  EXPECT_EQ(XString("A band of the caller has thrown"), LastError());
}

TEST(ReadError, ABandWithoutPixelsSaysSo) {
  XBand band;
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr));
  EXPECT_EQ(XString("The band has no pixels"), LastError());
  EXPECT_EQ(0, band.ReadPixel(out, 0, 0));
  EXPECT_EQ(XString("The window is not inside the band"), LastError());
}

TEST(ReadError, IsForgottenOnRequest) {
  zrk::ReadPixels([] { return zrk::FailRead("before"); });
  XfnForgetLastReadError();
  XString err = "as it was";
  EXPECT_EQ(0, XfnGetLastReadError(err));
  EXPECT_EQ(XString("as it was"), err);
}

/// The second piece of work is another thread's, since the first one waits for it.
TEST(ReadError, OfAWorkerIsThatOfTheThreadThatWaitsForIt) {
  XfnForgetLastReadError();
  std::atomic<bool> hasFailed = false;
  const auto work = [&](int, int worker) {
    while (worker == 0 && !hasFailed) std::this_thread::yield();
    if (worker == 0) return true;
    zrk::ReadPixels([] { return zrk::FailRead("block 7 can't be decoded"); });
    hasFailed = true;
    return false;
  };
  EXPECT_FALSE(zrk::ForEachInParallel(2, 2, work));
  EXPECT_EQ(XString("block 7 can't be decoded"), LastError());
}

TEST(ReadError, OfAWorkerBelongsToTheReadThatItWorksFor) {
  std::atomic<bool> hasFailed = false;
  EXPECT_EQ(0, zrk::ReadPixels([&] {
              return zrk::ForEachInParallel(2, 2, [&](int, int worker) {
                while (worker == 0 && !hasFailed) std::this_thread::yield();
                if (worker != 0) zrk::NoteReadError("strip 3 is cut short");
                hasFailed = true;
                return worker == 0;
              });
            }));
  EXPECT_EQ(XString("strip 3 is cut short"), LastError());
}

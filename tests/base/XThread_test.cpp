// The handle of a running operation: percentages, results, stops and waits. A target that records what is posted shows
// what a caller sees; percentages are worked out by hand.

#include "XThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <thread>
#include <vector>

namespace {

class Recorder : public XMessageTarget {
 public:
  void PostMessage(unsigned message, XThread* sender, long value) override {
    lastMessage = message;
    lastSender = sender;
    values.push_back(value);
  }
  unsigned lastMessage = 0;
  XThread* lastSender = nullptr;
  std::vector<long> values;
};

TEST(XThread, PostsEveryCallbackWithItselfAndAValue) {
  Recorder recorder;
  XThread thread(&recorder);
  thread.Callback(42, 7);
  EXPECT_EQ(0x7E8u, recorder.lastMessage);
  EXPECT_EQ(&thread, recorder.lastSender);
  EXPECT_EQ(std::vector<long>{7}, recorder.values);
  EXPECT_EQ(42, thread.GetResultCode());
}

TEST(XThread, StoresTheResultCodes) {
  Recorder recorder;
  XThread thread(&recorder);
  EXPECT_EQ(0, thread.GetResultCode());
  thread.CallbackText("half way");
  EXPECT_EQ(5, thread.GetResultCode());
  EXPECT_EQ("half way", thread.GetMessageText().AsStdString());
  thread.CallbackFail("broken");
  EXPECT_EQ(2, thread.GetResultCode());
  EXPECT_EQ("broken", thread.GetMessageText().AsStdString());
  thread.CallbackCancel();
  EXPECT_EQ(3, thread.GetResultCode());
  thread.CallbackSuccess();
  EXPECT_EQ(1, thread.GetResultCode());
  EXPECT_EQ((std::vector<long>{0, 0, 0, 0}), recorder.values);
}

TEST(XThread, StoresAResultWithoutAMessage) {
  Recorder recorder;
  XThread thread(&recorder);
  thread.SetResult(XThread::kResultFailure, "broken");
  EXPECT_EQ(2, thread.GetResultCode());
  EXPECT_EQ("broken", thread.GetMessageText().AsStdString());
  EXPECT_FALSE(thread.IsValid());
  EXPECT_TRUE(recorder.values.empty());
}

TEST(XThread, TakesWhatItsTargetThrowsForAStop) {
  class Thrower : public XMessageTarget {
   public:
    void PostMessage(unsigned, XThread*, long) override { throw 42; }
  };
  Thrower thrower;
  XThread thread(&thrower);
  EXPECT_NO_THROW(thread.CallbackPercent(50.0));
  EXPECT_TRUE(XfnIsStopRequested(thread.GetStatePtr()));
}

TEST(XThread, TellsTheRangeSet) {
  XThread thread;
  int first = -1, last = -1;
  thread.GetPercentRange(first, last);
  EXPECT_EQ(0, first);
  EXPECT_EQ(100, last);
  thread.SetPercentRange(40, 60);
  thread.GetPercentRange(first, last);
  EXPECT_EQ(40, first);
  EXPECT_EQ(60, last);
}

TEST(XThread, WorksWithoutATarget) {
  XThread thread;
  thread.CallbackPercent(50.0);
  thread.CallbackSuccess();
  EXPECT_EQ(1, thread.GetResultCode());
}

TEST(XThread, MapsPercentIntoTheRangeSet) {
  Recorder recorder;
  XThread thread(&recorder);
  thread.CallbackPercent(33.9);
  thread.SetPercentRange(40, 60);
  thread.CallbackPercent(0.0);
  thread.CallbackPercent(50.0);
  thread.CallbackPercent(100.0);
  EXPECT_EQ((std::vector<long>{33, 40, 50, 60}), recorder.values);
}

TEST(XThread, PostsEachWholePercentAsItself) {
  Recorder recorder;
  XThread thread(&recorder);
  for (int percent = 0; percent <= 100; ++percent) thread.CallbackPercent(percent);
  ASSERT_EQ(101u, recorder.values.size());
  for (int percent = 0; percent <= 100; ++percent) {
    EXPECT_EQ(percent, recorder.values[static_cast<std::size_t>(percent)]);
  }
}

TEST(XThread, TakesRangesOfAnyWidthAndDirection) {
  Recorder recorder;
  XThread thread(&recorder);
  thread.SetPercentRange(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
  thread.CallbackPercent(0.0);
  thread.CallbackPercent(100.0);
  thread.SetPercentRange(80, 20);
  thread.CallbackPercent(50.0);
  EXPECT_EQ((std::vector<long>{-2147483648, 2147483647, 50}), recorder.values);
}

TEST(XThread, APercentageIsNoResult) {
  XThread thread;
  thread.CallbackPercent(100.0);
  EXPECT_EQ(XThread::kResultNone, thread.GetResultCode());
  EXPECT_TRUE(thread.IsValid());
}

TEST(XThread, CutsPercentTo0And100) {
  Recorder recorder;
  XThread thread(&recorder);
  for (const double percent : {-5.0, 250.0, std::numeric_limits<double>::quiet_NaN()}) thread.CallbackPercent(percent);
  EXPECT_EQ((std::vector<long>{0, 100, 0}), recorder.values);
}

TEST(XThread, TheStateWordAsksToStop) {
  XThread thread;
  EXPECT_FALSE(XfnIsStopRequested(thread.GetStatePtr()));
  thread.SetState(2);
  EXPECT_FALSE(XfnIsStopRequested(thread.GetStatePtr()));
  thread.Terminate();
  EXPECT_EQ(1, thread.GetState());
  EXPECT_TRUE(XfnIsStopRequested(thread.GetStatePtr()));
  EXPECT_FALSE(XfnIsStopRequested(nullptr));
}

TEST(XThread, IsValidUntilItHasItsResult) {
  XThread thread;
  EXPECT_TRUE(thread.IsValid());
  thread.CallbackText("still");
  EXPECT_TRUE(thread.IsValid());
  thread.CallbackCancel();
  EXPECT_FALSE(thread.IsValid());
}

TEST(XThreadThreads, ASuspendedOperationWaitsForResume) {
  XThread thread;
  std::atomic<bool> isThrough = false;
  thread.Suspend();
  std::thread worker([&] {
    thread.CallbackPercent(10.0);
    isThrough = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_FALSE(isThrough);
  thread.Resume();
  worker.join();
  EXPECT_TRUE(isThrough);
}

TEST(XThreadThreads, ASuspendedOperationPostsBeforeItWaits) {
  Recorder recorder;
  XThread thread(&recorder);
  thread.Suspend();
  std::thread worker([&] { thread.CallbackPercent(10.0); });
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  thread.Resume();
  worker.join();
  EXPECT_EQ(std::vector<long>{10}, recorder.values);
}

TEST(XThreadThreads, AStopEndsTheWaitWhoeverSetIt) {
  XThread thread;
  thread.Suspend();
  std::thread worker([&] {
    while (!XfnIsStopRequested(thread.GetStatePtr())) thread.CallbackPercent(10.0);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  thread.SetState(XThread::kStateStop);
  worker.join();
  EXPECT_EQ(XThread::kStateStop, thread.GetState());
}

TEST(XThreadThreads, AnOperationThatShallStopIsNotSuspended) {
  XThread thread;
  thread.Terminate();
  thread.Suspend();
  thread.CallbackPercent(10.0);
  EXPECT_EQ(XThread::kStateStop, thread.GetState());
}

TEST(XThreadThreads, AStopArrivesThroughTheStateWord) {
  XThread thread;
  std::thread worker([cancel = thread.GetStatePtr()] {
    while (!XfnIsStopRequested(cancel)) std::this_thread::yield();
  });
  std::atomic_ref<int>(*thread.GetStatePtr()).store(XThread::kStateStop);
  worker.join();
  EXPECT_EQ(XThread::kStateStop, thread.GetState());
}

TEST(XThreadThreads, TerminateLetsASuspendedOperationSeeTheStop) {
  XThread thread;
  thread.Suspend();
  std::thread worker([&] {
    while (!XfnIsStopRequested(thread.GetStatePtr())) thread.CallbackPercent(10.0);
  });
  thread.Terminate();
  worker.join();
  EXPECT_EQ(1, thread.GetState());
}

TEST(XThreadThreads, AStopThroughTheAddressOfTheStateWordEndsTheWait) {
  XThread thread;
  thread.Suspend();
  std::thread worker([&] { thread.CallbackPercent(10.0); });
  std::atomic_ref<int>(*thread.GetStatePtr()).store(1);
  worker.join();
  EXPECT_EQ(1, thread.GetState());
}

}  // namespace

#pragma once

#include <thread>
#include <vector>

/// Calls `work(0)`, `work(1)` and so on at once, each on a thread of its own, and waits for all.
template <class Work>
void RunOnThreads(int numThreads, const Work& work) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(numThreads));
  for (int t = 0; t < numThreads; ++t) threads.emplace_back(work, t);
  for (std::thread& thread : threads) thread.join();
}

#pragma once

#include <functional>

namespace zrk {

/// Calls `work(index, worker)` once for every index from 0 to count - 1, on `numWorkers` threads but no
/// more than there are indices. The calling thread is worker 0 and does its share; the others live until
/// this returns, and each begins with the lowest index that nobody has taken. Once a call answers false no further
/// index is taken. What a call throws is thrown here when all are done.
///
/// True where all calls answered true.
bool ForEachInParallel(int numWorkers, int count, const std::function<bool(int index, int worker)>& work);

/// Whether the calling thread does its share of work that is spread over several threads. What it calls should start no
/// further ones, since the caller of the library has granted no more.
bool IsSharingWork();

/// How many workers the caller of the library has granted to work of so many indices. It may change at any time: an
/// operation asks once.
int CountWorkers(int count);

}  // namespace zrk

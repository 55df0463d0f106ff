#pragma once

#include <functional>

namespace zrk {

/// Calls `work(index, worker)` once for every index from 0 to count - 1, on as many threads as `XfnGetWorkerCount`
/// tells but no more than there are indices. The calling thread is worker 0 and does its share; the others live until
/// this returns, and each begins with the lowest index that nobody has taken. Once a call answers false no further
/// index is taken. What a call throws is thrown here when all are done.
///
/// True where all calls answered true.
bool ForEachInParallel(int count, const std::function<bool(int index, int worker)>& work);

/// How many workers `ForEachInParallel` uses at most.
int CountWorkers(int count);

}  // namespace zrk

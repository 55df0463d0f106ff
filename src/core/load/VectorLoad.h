#pragma once

#include "core/load/FormatRow.h"
#include "ZRMVand.h"

#include <functional>

namespace zrk {

/// How a set is made and given its system. Every member may be left out but `load`.
struct VectorSteps {
  std::function<void(ZRMVand&)> beforeLoad = [](ZRMVand&) {};
  std::function<int(ZRMVand&)> load;
  std::function<void(ZRMVand&)> afterLoad = [](ZRMVand&) {};
};

/// Makes an empty set; null where memory ran out.
using VandMaker = ZRMVand* (*)();
ZRMVand* NewVand();

/// The shape that vector loaders share: the set is made, loaded, and moved into the dataset. A set that can't be
/// loaded is deleted, and the dataset stays as it was.
int LoadVector(const VectorCall& call, const VectorSteps& steps, VandMaker makeVand = &NewVand);

}  // namespace zrk

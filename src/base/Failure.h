#pragma once

#include "XString.h"

namespace zrk {

/// Tells the caller why something failed; 0, to be returned as the result.
inline int FailWith(XString& err, const char* sentence) {
  err = sentence;
  return 0;
}

}  // namespace zrk

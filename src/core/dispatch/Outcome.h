#pragma once

#include "XString.h"

#include <new>

class XRSFile;

namespace zrk {

inline constexpr const char* kNotValidFile = "Not Valid XRSFile";
inline constexpr const char* kNotSupportedType = "Not Supported Type";

/// Answers 0 with the sentence that says so, for a format whose files this build can't read.
int RefuseToRead(int id, XRSFile* file, XString& err);

/// Runs a load, and turns memory that ran out on the way into a result.
template <class Load>
int Fenced(XString& err, Load&& load) {
  try {
    return load();
  } catch (const std::bad_alloc&) {
    err = "Out of memory";
    return 0;
  }
}

}  // namespace zrk

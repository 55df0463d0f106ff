#pragma once

#include "base/Fence.h"
#include "XString.h"

class XRSFile;

namespace zrk {

inline constexpr const char* kNotValidFile = "Not Valid XRSFile";
inline constexpr const char* kNotSupportedType = "Not Supported Type";

/// Answers 0 with the sentence that says so, for a format whose files this build can't read.
int RefuseToRead(int id, XRSFile* file, XString& err);

}  // namespace zrk

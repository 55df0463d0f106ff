#pragma once

namespace zrk {

inline constexpr const char* kNotValidFile = "Not Valid XRSFile";
inline constexpr const char* kNotSupportedType = "Not Supported Type";

}  // namespace zrk

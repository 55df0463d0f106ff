#pragma once

#include <cstddef>

namespace Vexorine::ZRL::IO {

/// A named point, and the very bytes of a record in a PBP file (docs/FORMATS.md). The writer of the file decides what
/// the coordinates mean; the program `zrkio` writes longitude and latitude in degrees on WGS 84.
struct tagPName {
  static constexpr std::size_t kNameBytes = 64;

  double first = 0.0;
  double second = 0.0;
  /// The bytes of the name. Zeros fill what is left; a name of 64 bytes has no terminator.
  char name[kNameBytes] = {};
};

static_assert(sizeof(tagPName) == 80, "a record of the file has 80 bytes");

}  // namespace Vexorine::ZRL::IO

using Vexorine::ZRL::IO::tagPName;

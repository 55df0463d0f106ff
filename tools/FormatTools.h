#pragma once

#include "output/PngWriter.h"
#include "XThread.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

class CommandLine;

// What a format brings to the program beyond what all datasets can do. Its folder under formats/ has the sources, and
// one of them, named <Name>Tools.cpp, defines `extern const FormatTools k<Name>Tools`, which the build collects.

/// A picture that is asked for.
struct ViewRequest {
  std::string file;
  std::string output;
  int maxSize = 1024;
  bool hasBands = false;  ///< channels were chosen
  bool isShaded = false;
  bool hasWindow = false;
  bool hasNames = false;        ///< places are to be marked
  bool isLitByNormals = false;  ///< those that the file keeps, in place of slopes between heights
  double zFactor = 1.0;         ///< of what is shaded
};

struct FormatTools {
  /// Declares subcommands, as those of commands/Commands.h do; null where the format has none.
  void (*addCommands)(CommandLine& program);
  /// Makes the picture of a file that is no raster, or one that only this format has; null where the format has none.
  /// Answers nothing where the picture is not the format's. Otherwise it answers whether the picture was made, with its
  /// shape, or with the reason in `err`.
  std::optional<bool> (*view)(const ViewRequest& request, XThread& thread, PngShape& shape, std::string& err);
};

std::span<const FormatTools* const> AllFormatTools();

#pragma once

#include "AnyJson.h"
#include "ByteFlips.h"
#include "Program.h"
#include "Sanitizers.h"

#include <array>

inline const int kKillSize = IsSanitized() ? 1000 : 2000;
inline const int kNumKills = IsSanitized() ? 8 : TrialCount(50, 16);

using Bytes = std::vector<unsigned char>;
using Names = std::set<std::string>;

/// Runs conversions and looks at what they leave behind.
class ZrkioConversion : public Zrkio {
 protected:
  std::string WriteImage() { return Write("a.bmp", BmpBuilder().Size(600, 500).Build()); }
  static AnyJson Describe(const std::string& path) { return AnyJson::parse(Run({"info", "--json", path}).out)[0]; }
  static AnyJson Channel(const std::string& path) { return Describe(path)["channels"][0]; }
  static Bytes Samples(const std::string& path, const std::string& band, const std::string& level = "0") {
    const ProgramResult result = Run({"read", path, "--band", band, "--level", level, "-o", "-"});
    return Bytes(result.out.begin(), result.out.end());
  }
  /// The bytes of level 1 of a window (x0, x1, y0, y1) are the means of two by two values of the first channel. Halves
  /// may be rounded either way.
  static void ExpectMeans(const ProgramResult& level, const std::array<int, 4>& window, int (*value)(int, int, int)) {
    const int width = (window[1] - window[0] + 1) / 2, height = (window[3] - window[2] + 1) / 2;
    ASSERT_EQ(static_cast<std::size_t>(width * height), level.out.size()) << level.err;
    for (int i = 0; i < width * height; ++i) {
      const int left = window[0] + 2 * (i % width), top = window[2] + 2 * (i / width);
      const int sum =
          value(left, top, 0) + value(left + 1, top, 0) + value(left, top + 1, 0) + value(left + 1, top + 1, 0);
      ASSERT_NEAR(sum / 4.0, static_cast<unsigned char>(level.out[static_cast<std::size_t>(i)]), 0.5)
          << left << ' ' << top;
    }
  }
  static std::string Failure(const std::string& path, const std::string& reason) {
    return "zrkio: " + path + ": " + reason + "\n";
  }
  /// What a command that has to fail says.
  static std::string Refuse(const std::vector<std::string>& arguments, const ProgramOptions& options = {}) {
    const ProgramResult result = Run(arguments, options);
    EXPECT_EQ(1, result.exitStatus);
    return result.err;
  }
};

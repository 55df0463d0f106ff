#pragma once

#include "AnyJson.h"
#include "ByteFlips.h"
#include "Program.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr int kNumKills = 8, kKillSize = 1000;
#else
inline constexpr int kKillSize = 2000;
inline const int kNumKills = TrialCount(50, 16);
#endif

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

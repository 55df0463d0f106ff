#pragma once

#include "AnyJson.h"
#include "ByteFlips.h"
#include "Program.h"
#include "Sanitizers.h"

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

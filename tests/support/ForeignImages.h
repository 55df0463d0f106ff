#pragma once

#include "Samples.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

// Images that other programs wrote, read as GDAL reads them or otherwise for the reason that stands beside each. A
// format lists its own files in its folder.

enum class Outcome {
  kAsGdal,        ///< pixel for pixel
  kNearlyAsGdal,  ///< with samples that differ by 1
  kOwnWay,        ///< as the format's suite says
  kRefused        ///< with the sentence
};

struct Foreign {
  const char* name;
  Outcome outcome;
  const char* sentence;  ///< its beginning, where the file is refused
  const char* reason;    ///< why it comes out otherwise than in GDAL
};

constexpr Foreign AsGdal(const char* name) {
  return {name, Outcome::kAsGdal, "", ""};
}
constexpr Foreign NearlyAsGdal(const char* name, const char* reason) {
  return {name, Outcome::kNearlyAsGdal, "", reason};
}
constexpr Foreign InOwnWay(const char* name, const char* reason) {
  return {name, Outcome::kOwnWay, "", reason};
}
constexpr Foreign Refused(const char* name, const char* sentence, const char* reason) {
  return {name, Outcome::kRefused, sentence, reason};
}

std::ostream& operator<<(std::ostream& stream, const Foreign& foreign);
std::string NameOfForeign(const testing::TestParamInfo<Foreign>& foreign);

class ForeignImage : public testing::TestWithParam<Foreign> {
 protected:
  /// Opens the file by the id and compares it; skips without shared data.
  void Check(const std::string& folder, int id);
  /// What `kOwnWay` means; fails unless a format says.
  virtual void ExpectOwnWay(const std::vector<unsigned char>& bytes);

  Pixels Read(int channel);

  XRSFile file_;
  XString err_;

 private:
  void ExpectAsGdal(const std::string& path, int tolerance);
};

#pragma once

#include <string>
#include <vector>

/// A file of a stand-in (StandInPicture.h) with these words. It begins as MrSID files do.
inline std::vector<unsigned char> StandInBytes(const std::string& words) {
  const std::string text = "msid STANDIN " + words;
  return {text.begin(), text.end()};
}

/// The same for ECW files, which begin as no other files do.
inline std::vector<unsigned char> EcwStandInBytes(const std::string& words) {
  const std::string text = "e STANDIN " + words;
  return {text.begin(), text.end()};
}

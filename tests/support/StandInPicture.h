#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

// The image that the stand-ins for decoders of other makers show. The libraries and drivers that the test build makes
// include this, and so do the tests that look at what comes out of them. A file of a stand-in is a line of words:
//
//   msid STANDIN width=41 height=31 bands=3 type=1 x=500 y=900 dx=0.5 dy=-0.25 datum=WGS84 fail=NCSSetFileView

struct StandInFile {
  int width = 41;
  int height = 31;
  int bands = 3;
  int type = 1;  ///< of samples, as MrSID files number them
  double x = 0.0;
  double y = 0.0;
  double dx = 1.0;
  double dy = -1.0;
  double turn = 0.0;  ///< degrees for ECW files, world units for MrSID files
  int cell = 0;       ///< type of samples as ECW files number them
  int epsg = 0;
  int failLine = 0;  ///< which line fails, where one shall
  int failOpen = 0;  ///< which opening of the file fails
  std::string datum = "RAW";
  std::string projection = "RAW";
  std::string fail;  ///< the function that fails, or "throw"
};

/// False where the text is no file of a stand-in.
inline bool ReadStandIn(const std::string& text, StandInFile& file) {
  std::istringstream words(text);
  bool isOne = false;
  for (std::string word; words >> word;) {
    const std::size_t sign = word.find('=');
    if (word == "STANDIN") isOne = true;
    if (sign == std::string::npos) continue;
    const std::string name = word.substr(0, sign), value = word.substr(sign + 1);
    const double number = std::strtod(value.c_str(), nullptr);
    const bool isInt = number >= -2147483648.0 && number <= 2147483647.0;
    const int whole = isInt ? static_cast<int>(number) : 0;
    if (name == "width") file.width = whole;
    if (name == "height") file.height = whole;
    if (name == "bands") file.bands = whole;
    if (name == "type") file.type = whole;
    if (name == "x") file.x = number;
    if (name == "y") file.y = number;
    if (name == "dx") file.dx = number;
    if (name == "dy") file.dy = number;
    if (name == "turn") file.turn = number;
    if (name == "cell") file.cell = whole;
    if (name == "epsg") file.epsg = whole;
    if (name == "failLine") file.failLine = whole;
    if (name == "failOpen") file.failOpen = whole;
    if (name == "datum") file.datum = value;
    if (name == "projection") file.projection = value;
    if (name == "fail") file.fail = value;
  }
  return isOne;
}

/// The byte of a pixel.
inline int StandInSample(int band, int x, int y) {
  return (x * 3 + y * 5 + band * 70 + x * y / 7) & 0xFF;
}

/// The sample that a pixel has in a file of another type.
inline double StandInValue(int type, int band, int x, int y) {
  const int byte = StandInSample(band, x, y);
  switch (type) {
    case 2:
      return byte - 128;
    case 3:
      return byte * 257;
    case 4:
      return byte * 257 - 32768;
    case 5:
      return byte * 16843009.0;
    case 6:
      return (byte - 128) * 16777216.0;
    case 7:
      return byte * 0.5;
    case 8:
      return byte * 0.25 - 3.0;
    default:
      return byte;
  }
}

template <class T>
void PutStandInValue(void* plane, std::size_t index, double value) {
  const auto sample = static_cast<T>(value);
  std::memcpy(static_cast<unsigned char*>(plane) + index * sizeof sample, &sample, sizeof sample);
}

/// Puts a sample into a plane of samples of the type.
inline void StoreStandInValue(int type, void* plane, std::size_t index, double value) {
  switch (type) {
    case 2:
      return PutStandInValue<std::int8_t>(plane, index, value);
    case 3:
      return PutStandInValue<std::uint16_t>(plane, index, value);
    case 4:
      return PutStandInValue<std::int16_t>(plane, index, value);
    case 5:
      return PutStandInValue<std::uint32_t>(plane, index, value);
    case 6:
      return PutStandInValue<std::int32_t>(plane, index, value);
    case 7:
      return PutStandInValue<float>(plane, index, value);
    case 8:
      return PutStandInValue<double>(plane, index, value);
    default:
      return PutStandInValue<std::uint8_t>(plane, index, value);
  }
}

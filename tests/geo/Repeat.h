#pragma once

#include <string>

/// The text so many times over.
inline std::string Repeat(const char* text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

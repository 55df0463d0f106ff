#pragma once

#include "Samples.h"

#include <gtest/gtest.h>

#include <string>

/// The name of a case that is run for each sample.
inline std::string NameOf(const testing::TestParamInfo<Sample>& sample) {
  return sample.param.name;
}

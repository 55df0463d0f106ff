#pragma once

#include "Samples.h"

#include <cstddef>
#include <vector>

/// Compares what the exact policy reads of a file with OpenJPEG's own decoding of the whole codestream, sample for
/// sample. At every level that is the whole image, and so many windows at places of all kinds, the same in every run.
void CompareWithOpenJpeg(const std::vector<unsigned char>& bytes, int numWindows);

/// One of the samples of a channel of that data type.
int SampleOf(const Pixels& pixels, int dataType, std::size_t index);

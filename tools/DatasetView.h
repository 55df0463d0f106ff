#pragma once

#include "XRSFile.h"

#include <memory>
#include <string>
#include <vector>

/// Bands of a dataset as a dataset of their own, for writers, which write all that a dataset has. `numbers` count from
/// 1, in any order; a band may come more than once. Null with the reason in `err` for a number that the dataset lacks.
///
/// The view keeps what is told of each band and of the dataset as a whole, but nothing that is told of all bands
/// together, as signatures. It reads through the source and must not outlive it.
std::unique_ptr<XRSFile> MakeDatasetView(const XRSFile& source, const std::vector<int>& numbers, std::string& err);

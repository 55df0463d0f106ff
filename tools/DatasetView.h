#pragma once

#include "XRSFile.h"

#include <memory>
#include <string>
#include <vector>

/// Bands of a dataset as a dataset of their own, for writers, which write all that a dataset has. `numbers` count from
/// 1 and come in any order. A band may come more than once. Returns null with the reason in `err` for a number that the
/// dataset lacks.
///
/// The view keeps the facts of each band and of the dataset as a whole. It keeps none of all bands together, such as
/// signatures. It reads through the source and must not outlive it.
std::unique_ptr<XRSFile> MakeDatasetView(const XRSFile& source, const std::vector<int>& numbers, std::string& err);

#pragma once

#include "bands/tiff/TiffImage.h"

#include <memory>
#include <vector>

namespace zrk {

/// What follows in a chain of directories is not looked at.
inline constexpr int kMaxTiffDirectories = 1000;

/// Whether an image of `size` has the size that `whole` has at a level: the half, n times, rounded up or down.
bool IsSizeAtLevel(int size, int whole, int level);

/// Whether an image of that size can be another one that was reduced by a whole factor of 2 or more, the same in both
/// directions, with sizes rounded up or down.
bool IsReduction(int width, int height, int wholeWidth, int wholeHeight);

/// Finds the reduced images of a file whose first image has been opened for exact reads, in the order of their levels:
/// those in further directories that say so, those below the first directory, and then those of the file of its name
/// with ".ovr" behind it. Each is one of whole levels, and has the samples of the first image. Of several of one level
/// the first counts. Masks don't. The file beside the image is passed over where it is older than the image, can't be
/// read, or has an image that can't be a reduction of this one; `whyNot` then has a sentence.
std::vector<TiffReduced> FindReducedImages(const TiffSource& first, XString& whyNot);

}  // namespace zrk

#pragma once

#include "core/native/ImageElement.h"
#include "XString.h"

class XRSFile;

namespace zrk {

// Which bytes a level file was made of. A stamp is the length, the times and a fingerprint of the image's file; of an
// image in several files that of the main one.

/// Notes what the image is like before it is opened, so that a level file is not stamped with one that took its name
/// meanwhile. 1. Throws std::bad_alloc.
int NoteOpenedImage(XRSFile& dataset, const XString& path);

enum class StampResult { kDone, kStopped, kUnreadable };

/// Reads all of a file. A file that changes meanwhile, or that was changed just now, leaves the stamp fitting nothing
/// or takes some milliseconds longer. Throws std::bad_alloc.
StampResult MakeStamp(const XString& path, const int* cancel, ImageStamp& stamp);

/// Stamps the image of a dataset for a level file. Nothing where it has none, as a dataset in memory. A stamp that fits
/// nothing where the file is no longer the one that was opened.
StampResult StampImage(XRSFile& dataset, const int* cancel, std::optional<ImageStamp>& stamp);
/// Whether the image of the dataset is still as the stamp says, by its length and times.
bool IsUnchanged(const XRSFile& dataset, const ImageStamp& stamp);

/// Whether the level file of that name, with this text at its end, was made of the image as it is now. Equal length and
/// times suffice. Of other times the fingerprint decides, and they are renewed in the level file where it can be
/// written. A level file without a stamp counts where it was not modified before the image.
bool IsOfImage(const XString& levelFile, std::int64_t textOffset, const XString& text, const XString& path);

/// Removes the level file beside an image that a new one has taken the place of, and that beside the file which a link
/// of that name leads to. A level file that says that it belongs to a file of another length than the old image had
/// stays: images that differ only by their extension share the name. An old image without bytes was none. 1, or
/// 0 where it can't be removed. Throws std::bad_alloc.
int RemoveLevelFileOf(const XString& path, std::int64_t oldLength);

}  // namespace zrk

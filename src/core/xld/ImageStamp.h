#pragma once

#include "core/native/ImageElement.h"
#include "XString.h"

class XRSFile;

namespace zrk {

class Fingerprint;

// Which bytes a level file was made of. A stamp is the length, the times and a fingerprint of the image's file; of an
// image in several files that of the main one.

/// The name of the file that the image of a dataset lies in.
XString ImagePathOf(const XRSFile& dataset);

/// Notes what the image is like before it is opened, so that a level file is not stamped with one that took its name
/// meanwhile. 1. Throws std::bad_alloc.
int NoteOpenedImage(XRSFile& dataset, const XString& path);

/// The image of a dataset as it is before its pixels are read; nothing where the dataset has none, as one in memory.
/// The status of no file where the image is no longer the one that was opened. Waits for some milliseconds where the
/// image was changed just now, so that a further change will be seen in its times.
std::optional<FileStatus> WatchImage(const XRSFile& dataset);

enum class StampResult { kDone, kStopped, kUnreadable };

/// Stamps the image of a dataset when its pixels have been read. The fingerprint is that of the image's length. It may
/// have taken bytes of the file since that was watched, and the others are read. The stamp fits nothing where the image
/// has changed since then. Throws std::bad_alloc.
StampResult StampImage(const XRSFile& dataset, const FileStatus& watched, Fingerprint& fingerprint, const int* cancel,
                       ImageStamp& stamp);

/// Whether the level file of that name, with this text at its end, was made of the image as it is now. Equal length and
/// times suffice. Of other times the fingerprint decides, and they are renewed in the level file where it can be
/// written. A level file without a stamp counts where it was not modified before the image.
bool IsOfImage(const XString& levelFile, std::int64_t textOffset, const XString& text, const XString& path);

/// Removes the level file beside an image that a new one has taken the place of, and that beside the file which a link
/// of that name leads to. A level file that says that it belongs to a file of another length than the old image had
/// stays: images that differ only by their extension share the name. An old image without bytes was none. Returns 1, or
/// 0 where it can't be removed. Throws std::bad_alloc.
int RemoveLevelFileOf(const XString& path, std::int64_t oldLength);

}  // namespace zrk

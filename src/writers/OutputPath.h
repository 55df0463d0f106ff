#pragma once

class XRSFile;
class XString;

namespace zrk {

/// Whether a new file may take this name. The name must not lead to the file that the dataset came from, which is not
/// given up for one that may not come to be, nor to a file that is protected, a folder or a device.
bool MayReplace(const XRSFile& dataset, const XString& path);

}  // namespace zrk

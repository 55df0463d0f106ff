#pragma once

class XRSFile;
class XString;

namespace zrk {

/// Clears the way for a new file of this name. Whoever has the present one open, be it behind a band of a mosaic, keeps
/// it: it is removed and not emptied. One that is empty has nothing to lose and may be held for this very file; one
/// that is protected stays. False where the name leads to the file that the dataset came from, which is not given up
/// for one that may not come to be.
bool MakeWay(const XRSFile& dataset, const XString& path);

}  // namespace zrk

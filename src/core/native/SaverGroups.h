#pragma once

class XRSFile;
class XRSFileSaver;
class ZRMBand;

namespace zrk {

/// The groups of fields that follow a band's identity and place in every file, in their order.
void CopyDescription(XRSFileSaver& saver, ZRMBand& band);

/// The groups of the dataset, which come last.
void CopyDataset(XRSFileSaver& saver, XRSFile& dataset);

}  // namespace zrk

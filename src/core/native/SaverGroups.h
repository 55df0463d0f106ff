#pragma once

class XRSFile;
class XRSFileSaver;
class ZRMBand;

namespace zrk {

/// Writes the groups of fields that follow a band's identity and georeference in every file, in their order.
void CopyDescription(XRSFileSaver& saver, ZRMBand& band);

/// Writes the groups of the dataset, which come last.
void CopyDataset(XRSFileSaver& saver, XRSFile& dataset);

}  // namespace zrk

#pragma once

class ZRMBand;
struct tagXFormatNotes;

namespace zrk {

/// How the pixels of the band's file lie in it: the blocks, their compression and the samples; with `isVerbose` also
/// the images that follow the first one, and libtiff's last message.
void DescribeTiff(ZRMBand& band, bool isVerbose, tagXFormatNotes& notes);

}  // namespace zrk

#pragma once

class ZRMBand;
struct tagXFormatNotes;

namespace zrk {

/// How pixels lie in the band's file: the blocks, their compression and the samples. With `isVerbose` also the images
/// that follow the first one, and libtiff's last message.
void DescribeTiff(ZRMBand& band, bool isVerbose, tagXFormatNotes& notes);

}  // namespace zrk

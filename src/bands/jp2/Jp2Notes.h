#pragma once

class ZRMBand;
struct tagXFormatNotes;

namespace zrk {

/// How the codestream of the band's file is made: components, tiles, resolutions, layers and their order. With
/// `isVerbose` also the boxes of the file.
void DescribeJp2(ZRMBand& band, bool isVerbose, tagXFormatNotes& notes);

}  // namespace zrk

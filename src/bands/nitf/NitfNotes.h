#pragma once

class ZRMBand;
struct tagXFormatNotes;

namespace zrk {

/// What the headers of a file tell of its image, its other segments and its classification.
void DescribeNitfFile(ZRMBand& first, bool isVerbose, tagXFormatNotes& notes);

}  // namespace zrk

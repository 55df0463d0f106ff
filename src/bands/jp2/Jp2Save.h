#pragma once

#include "core/load/FormatRow.h"

namespace zrk {

/// What the writer takes, and the save, for the row of the format.
extern const tagXFormatWriter kJp2Writer;
int SaveJp2(const SaveCall& call);

}  // namespace zrk

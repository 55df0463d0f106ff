#pragma once

/// One record of the colour table index of a table of contents.
struct tagColortableIndexRecordRPF {
  char text[13];  ///< its first 12 characters, and a zero
  unsigned char rest[50];
};

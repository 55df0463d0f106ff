#pragma once

/// Marks what the shared library offers to those who link it; everything else stays inside.
#define ZRKIO_API __attribute__((visibility("default")))

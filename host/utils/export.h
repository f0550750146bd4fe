#pragma once

/// Marks what the host's libraries offer to others; everything else is hidden. On Linux the mark is the same
/// for the library that exports a symbol and for whoever imports it.
#define HOST_EXPORT __attribute__((visibility("default")))

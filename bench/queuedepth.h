#pragma once

/// Measures what the queue does at once while few, a thousand and `depth` messages wait, and prints how it
/// grows. False when something grows by more than a third.
[[nodiscard]] bool measureDepth(int depth);

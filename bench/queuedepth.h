#pragma once

/// Measures what the queue does at once, and the start of a till, while few, a thousand, as many as a start
/// just reads through, and `depth` messages wait, and prints how it grows. False when something grows by more
/// than a third.
[[nodiscard]] bool measureDepth(int depth);

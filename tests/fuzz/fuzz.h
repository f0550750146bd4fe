#pragma once

#include <QByteArray>

/// What each fuzzed program has in common. One of them is about one decoder, whatever bytes it gets: it must
/// neither crash nor hang, and what it says must be true.
namespace fuzz {

/// Made once, before the first bytes: what the decoder needs around it.
void prepare();

/// Gives the bytes to the decoder.
void decode(const QByteArray& bytes);

/// Ends the process, which is a finding, unless it holds.
void require(bool holds, const char* what);

/// A number below `end` from the first byte, which is taken off: which way the others go.
int choice(QByteArray& bytes, int end);

} // namespace fuzz

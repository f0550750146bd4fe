#pragma once

// A program that was told to write somewhere and could not must not say that all went well.
namespace till {

/// To be called before anything else: where a standard stream was closed, nothing that is opened later may
/// take its place and be written into; and a reader that goes away, as `head` does, ends no program in the
/// middle of its work.
void guardStandardStreams();

/// To be called when all is said: the exit status, which is `status` unless the standard output could not be
/// written. Then it is that of a program that its reader left (141, without a word), or exitUnwritten, with
/// a word on the standard error.
[[nodiscard]] int statusOfOutput(int status);

} // namespace till

// A line typed at the shell.
#include "tests/fuzz/fuzz.h"
#include "till/scenario/shell.h"

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    till::Problems problems;
    const auto step = till::parseLine(QString::fromUtf8(bytes), problems);
    require(step.has_value() == problems.isEmpty(), "a step, or what is wrong with it");
}

#include "tests/fuzz/fuzz.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

int choice(QByteArray& bytes, int end)
{
    if (bytes.isEmpty())
        return 0;
    const int chosen = static_cast<unsigned char>(bytes.front()) % end;
    bytes.remove(0, 1);
    return chosen;
}

} // namespace fuzz

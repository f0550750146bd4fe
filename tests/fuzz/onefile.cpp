#include "tests/fuzz/onefile.h"

#include "tests/fuzz/fuzz.h"

#include <QFile>

#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

QString fileOf(const QByteArray& bytes)
{
    static const int descriptor = memfd_create("fuzz", 0);
    require(ftruncate(descriptor, 0) == 0 &&
                pwrite(descriptor, bytes.constData(), static_cast<std::size_t>(bytes.size()), 0) ==
                    bytes.size(),
            "there is memory for a file");
    return QStringLiteral("/proc/self/fd/%1").arg(descriptor);
}

} // namespace fuzz

// Bytes for the decoder: libFuzzer's where it is, else the files of the folders that are named.
#include "tests/fuzz/fuzz.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

void begin(int& argc, char** argv)
{
    qputenv("QT_LOGGING_RULES", "*=false");
    new QCoreApplication(argc, argv); // for as long as the process lives, as libFuzzer ends it by exit()
    fuzz::prepare();
}

} // namespace

#ifdef KYR_FUZZER

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    begin(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::decode(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}

#else

int main(int argc, char** argv)
{
    begin(argc, argv);
    int played = 0;
    for (int folder = 1; folder < argc; ++folder) {
        QDirIterator files(QString::fromLocal8Bit(argv[folder]), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "%s: not readable\n", qPrintable(file.fileName()));
                return 1;
            }
            fuzz::decode(file.readAll());
            ++played;
        }
    }
    std::printf("%d played\n", played);
    return played > 0 ? 0 : 1;
}

#endif

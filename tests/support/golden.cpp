#include "tests/support/golden.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

std::string readable(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    return (document.isNull() ? json : document.toJson()).toStdString();
}

} // namespace

testing::AssertionResult matchesGolden(const QByteArray& bytes, const char* name)
{
    QFile file(QStringLiteral(KYR_GOLDEN_DIR "/") + QString::fromUtf8(name));
    if (qEnvironmentVariableIsSet("KYR_UPDATE_GOLDEN")) {
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes + '\n') < 0)
            return testing::AssertionFailure() << "cannot write " << file.fileName().toStdString();
        return testing::AssertionFailure() << name << " was written: look at it, then run the tests again";
    }
    if (!file.open(QIODevice::ReadOnly))
        return testing::AssertionFailure() << "cannot read " << file.fileName().toStdString();
    QByteArray expected = file.readAll();
    if (expected.endsWith('\n'))
        expected.chop(1);
    if (bytes == expected)
        return testing::AssertionSuccess();
    const auto parting = std::mismatch(bytes.begin(), bytes.end(), expected.begin(), expected.end());
    const qsizetype at = parting.first - bytes.begin();
    return testing::AssertionFailure()
           << name << " differs from byte " << at << " on:\n  is     …"
           << bytes.mid(std::max<qsizetype>(at - 30, 0), 60).toStdString() << "…\n  golden …"
           << expected.mid(std::max<qsizetype>(at - 30, 0), 60).toStdString() << "…\nis:\n"
           << readable(bytes) << "golden:\n"
           << readable(expected);
}

} // namespace test_support

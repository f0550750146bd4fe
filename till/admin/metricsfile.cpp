#include "till/admin/metricsfile.h"

#include "host/utils/basicexception.h"
#include "host/utils/logging.h"

#include <QFile>
#include <QSaveFile>

#include <utility>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// Why it could not be done; empty: it was.
QString problemOfWriting(const QString& name, const std::function<QList<Metric>()>& take)
{
    try {
        const QByteArray text = openMetrics(take());
        QSaveFile file(name);
        const auto forAll = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
        const bool written = file.open(QIODevice::WriteOnly) && file.write(text) == text.size() &&
                             file.setPermissions(forAll) && file.commit();
        return written ? QString() : file.errorString();
    } catch (const BasicException& failure) {
        return failure.tr().ru();
    }
}

} // namespace

MetricsFile::MetricsFile(QString name, std::function<QList<Metric>()> take)
    : m_name(std::move(name))
    , m_take(std::move(take))
{}

void MetricsFile::write()
{
    if (!isNamed())
        return;
    const QString problem = problemOfWriting(m_name, m_take);
    if (!problem.isEmpty() && !m_failed)
        utils::logger(u"till"_s)->warn(u"%1: the metrics cannot be written: %2"_s.arg(m_name, problem));
    m_failed = !problem.isEmpty();
}

} // namespace till

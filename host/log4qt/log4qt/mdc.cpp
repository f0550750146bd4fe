#include <log4qt/mdc.h>

#include <QHash>

namespace Log4Qt {

namespace {

QHash<QString, QString>& ofThisThread()
{
    thread_local QHash<QString, QString> values;
    return values;
}

} // namespace

QString MDC::get(const QString& key) { return ofThisThread().value(key); }

void MDC::put(const QString& key, const QString& value) { ofThisThread().insert(key, value); }

void MDC::remove(const QString& key) { ofThisThread().remove(key); }

} // namespace Log4Qt

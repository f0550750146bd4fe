#include "till/window/servicewatch.h"

namespace till::window {

namespace {

/// A refusal is an answer too; what a proxy says in the service's place is none.
bool isAnswer(int code) { return code == 0 || (code >= 400 && code < 500); }

} // namespace

ServiceWatch::ServiceWatch()
{
    RestClient::setObserver([this](const RestExchange& exchange) {
        const QString operation = exchange.url.path().section(u'/', -1);
        const int code = exchange.errorCode;
        const qint64 milliseconds = exchange.milliseconds;
        QMetaObject::invokeMethod(this, [=, this] { note(operation, code, milliseconds); });
    });
}

ServiceWatch::~ServiceWatch() { RestClient::setObserver({}); }

void ServiceWatch::note(const QString& operation, int code, qint64 milliseconds)
{
    m_line = isAnswer(code) ? Line::Up : Line::Down;
    if (isAnswer(code))
        m_answered = QDateTime::currentDateTime();
    Q_EMIT exchanged(operation, code, milliseconds);
}

} // namespace till::window

// The least that QHttpServer can do: what the stand's throughput is held against.

#include <QCoreApplication>
#include <QHttpServer>
#include <QTcpServer>
#include <QTextStream>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QHttpServer http;
    http.route(u"/"_s, [] { return u"hello"_s; });
    auto* socket = new QTcpServer(&http);
    if (!socket->listen(QHostAddress::LocalHost)) {
        QTextStream(stderr) << "bench_hello: " << socket->errorString() << Qt::endl;
        return 1;
    }
    http.bind(socket);
    QTextStream(stdout) << "Listens on http://127.0.0.1:" << socket->serverPort() << "/" << Qt::endl;
    return QCoreApplication::exec();
}

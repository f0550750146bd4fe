#include "host/core/activitynotifier.h"
#include "host/core/session.h"
#include "host/network/restclient.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "host/utils/config.h"
#include "host/utils/currenttime.h"
#include "promise.h"

#include <QCoreApplication>
#include <QLibrary>

using namespace Qt::StringLiterals;

namespace {

template <class Function>
Function probe(const char* name)
{
    static QLibrary library(QCoreApplication::applicationDirPath() + u"/host-conformance-probe"_s);
    auto function = reinterpret_cast<Function>(library.resolve(name));
    require(function != nullptr, library.errorString());
    return function;
}

template <class T>
Promise oneOf(const QString& name, const char* function)
{
    return {u"Singleton<%1> is one pointer in every library"_s.arg(name),
            u"program and plug-in each have their own %1, and neither sees what the other keeps there"_s.arg(
                name),
            [function] {
                if (!Singleton<T>::instance)
                    Singleton<T>::instance = new T;
                require(probe<void* (*)()>(function)() == Singleton<T>::instance,
                        u"a library that was loaded sees another one"_s);
            }};
}

class FixedTime : public CurrentTime
{
public:
    [[nodiscard]] QDateTime currentDateTime() const override
    {
        return QDateTime::fromMSecsSinceEpoch(1234567);
    }
};

} // namespace

QList<Promise> sharedThings()
{
    return {
        oneOf<Session>(u"Session"_s, "probeSession"),
        oneOf<Config>(u"Config"_s, "probeConfig"),
        oneOf<DocumentsDao>(u"DocumentsDao"_s, "probeDocuments"),
        oneOf<DBQueueBroker>(u"DBQueueBroker"_s, "probeQueue"),
        oneOf<ActivityNotifier>(u"ActivityNotifier"_s, "probeNotifier"),
        {u"MockFactory<T>::mocked counts in every library"_s,
         u"a clock or client that the host puts in the place of its own is not the plug-in's"_s,
         [] {
             MockFactory<CurrentTime>::mocked = [] { return QSharedPointer<CurrentTime>(new FixedTime); };
             const auto seen = probe<qint64 (*)()>("probeTime")();
             MockFactory<CurrentTime>::mocked = nullptr;
             require(seen == 1234567, u"a library that was loaded makes another object"_s);
             require(probe<qint64 (*)()>("probeTime")() != 1234567,
                     u"and goes on making it when it is taken back"_s);
         }},
        {u"MockFactory<T>::create() makes a new object each time"_s,
         u"the time limit and the answer of one request are those of the next"_s,
         [] {
             const auto first = MockFactory<RestClient>::create();
             const auto second = MockFactory<RestClient>::create();
             require(first && second && first != second, u"the same object twice, or none"_s);
         }},
        {u"BasicException thrown in one library is caught in another, with its text"_s,
         u"a failure of the plug-in ends the host's process"_s,
         [] {
             try {
                 probe<void (*)()>("probeThrow")();
             } catch (const BasicException& failure) {
                 require(failure.tr().ru() == u"Проба"_s && failure.tr().id() == u"probe"_s,
                         u"its text is another"_s);
                 return;
             }
             require(false, u"nothing was thrown"_s);
         }},
    };
}

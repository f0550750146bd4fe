#include "host/core/activitynotifier.h"
#include "host/core/session.h"
#include "host/network/restclient.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "host/utils/config.h"
#include "host/utils/currenttime.h"

#define PROBE extern "C" __attribute__((visibility("default")))

// What a library that the host loads sees.

PROBE void* probeSession() { return Singleton<Session>::instance; }
PROBE void* probeConfig() { return Singleton<Config>::instance; }
PROBE void* probeDocuments() { return Singleton<DocumentsDao>::instance; }
PROBE void* probeQueue() { return Singleton<DBQueueBroker>::instance; }
PROBE void* probeNotifier() { return Singleton<ActivityNotifier>::instance; }

PROBE void* probeRestClient() { return MockFactory<RestClient>::create().data(); }
PROBE qint64 probeTime() { return MockFactory<CurrentTime>::create()->currentDateTime().toMSecsSinceEpoch(); }

// Thrown here, caught in the program.
PROBE void probeThrow() { throw BasicException(tr::Tr(QStringLiteral("probe"), QStringLiteral("Проба"))); }

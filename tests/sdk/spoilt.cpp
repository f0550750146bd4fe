// A host that breaks its promises: functions in the place of the library's own. Of each library that is
// made of them, and loaded before the host's, one is to be seen.
#include "host/core/activitynotifier.h"
#include "host/core/basicloyaltysystem.h"
#include "host/core/dialog.h"
#include "host/core/document.h"
#include "host/network/restclient.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"
#include "host/utils/config.h"
#include "host/utils/currenttime.h"

// clang-format off
void SaveToFileLogic::save(const QSharedPointer<AbstractDocument>&, const QString&) {}
QSharedPointer<AbstractDocument> DocumentsDao::loadDocument(const QVariant&, bool) { return nullptr; }
void DocumentsDao::saveCardRecord(const QSharedPointer<DocumentCardRecord>&) {}
void DBQueueBroker::enqueue(const QString&, const QVariantMap&, const QString&) {}
void ActivityNotifier::notify(const Event&) {}
QDateTime CurrentTime::currentDateTime() const { return QDateTime::fromMSecsSinceEpoch(0); }
int RestClient::getErrorCode() const { return 0; }
void RestClient::setTimeout(int) {}
int Dialog::chooseFromList(const ChoiceRequest&) { return 0; }
bool BasicLoyaltySystem::registerLoyaltySystem() { return false; }
QList<DocumentBonusRecord> BasicLoyaltySystem::distributeBonusRecord(const QSharedPointer<AbstractDocument>&, const DocumentBonusRecord& record) const { return {record}; }
double Document::getSum() const { return 270.25; }
int Config::getInt(const QString&, int) const { return 3; }
// clang-format on

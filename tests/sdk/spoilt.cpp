// A host that breaks one promise: a function of its own in the place of the library's, loaded before it.
#include "spoilt.h"

// clang-format off
#if defined(SPOILT_SAVE)
void SaveToFileLogic::save(const QSharedPointer<AbstractDocument>&, const QString&) {}
#elif defined(SPOILT_LOAD)
QSharedPointer<AbstractDocument> DocumentsDao::loadDocument(const QVariant&, bool) { return nullptr; }
#elif defined(SPOILT_CARD)
void DocumentsDao::saveCardRecord(const QSharedPointer<DocumentCardRecord>&) {}
#elif defined(SPOILT_QUEUE)
void DBQueueBroker::enqueue(const QString&, const QVariantMap&, const QString&) {}
#elif defined(SPOILT_EVENTS)
void ActivityNotifier::notify(const Event&) {}
#elif defined(SPOILT_CLOCK)
QDateTime CurrentTime::currentDateTime() const { return QDateTime::fromMSecsSinceEpoch(0); }
#elif defined(SPOILT_CODE)
int RestClient::getErrorCode() const { return 0; }
#elif defined(SPOILT_TIMEOUT)
void RestClient::setTimeout(int) {}
#elif defined(SPOILT_CHOICE)
int Dialog::chooseFromList(const ChoiceRequest&) { return 0; }
#elif defined(SPOILT_REGISTRATION)
bool BasicLoyaltySystem::registerLoyaltySystem() { return false; }
#elif defined(SPOILT_SHARES)
QList<DocumentBonusRecord> BasicLoyaltySystem::distributeBonusRecord(const QSharedPointer<AbstractDocument>&, const DocumentBonusRecord& record) const { return {record}; }
#elif defined(SPOILT_SUM)
double Document::getSum() const { return 270.25; }
#elif defined(SPOILT_SETTINGS)
int Config::getInt(const QString&, int) const { return 3; }
#endif
// clang-format on

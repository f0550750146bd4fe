#pragma once

#include "host/core/basicloyaltysystem.h"
#include "tests/support/hostworld.h"

#include <QPluginLoader>

#include <chrono>

/// The real library, loaded from disk into a till that consists of this test: nothing is replaced.
class LibraryWorld : public test_support::HostWorld
{
protected:
    static constexpr int timeoutSeconds = 1;

    ~LibraryWorld() override { delete m_loader.instance(); }

    /// Starts the plug-in against the service at that URL.
    void start(const QString& serverUrl, const QString& password = QStringLiteral("secret-of-the-shop"))
    {
        set("serverUrl", serverUrl);
        set("user", QStringLiteral("shop"));
        set("password", password);
        set("timeout", timeoutSeconds);
        loyalty = qobject_cast<BasicLoyaltySystem*>(m_loader.instance());
        ASSERT_NE(loyalty, nullptr) << m_loader.errorString().toStdString();
        ASSERT_TRUE(loyalty->init());
    }

    /// Presents a card; its record is in `card` afterwards.
    bool identify(const QString& number = QStringLiteral("2000000000017"))
    {
        card.reset(new DocumentCardRecord(KyrLoyaltySystem, number));
        const auto begin = std::chrono::steady_clock::now();
        const bool identified = loyalty->identifyByCard(card, ECardNumberType::Scanned);
        m_took = std::chrono::steady_clock::now() - begin;
        return identified;
    }
    /// Whether the last identification ended within the timeout and half a second.
    bool endedInTime() const { return m_took < std::chrono::milliseconds(timeoutSeconds * 1000 + 500); }
    /// Whether the record is as the till made it.
    bool nothingWritten() const
    {
        return card->getCardStatus() == ECard::RegistrationIncomplete && !card->getBonusBalance().isValid() &&
               card->getCard()->getClient().isNull() && card->getOperationId().isEmpty();
    }
    QString lastError() const { return loyalty->getLastErrorString().ru(); }

    BasicLoyaltySystem* loyalty = nullptr;
    QSharedPointer<DocumentCardRecord> card;

private:
    QPluginLoader m_loader{QStringLiteral(KYR_PLUGIN)};
    std::chrono::steady_clock::duration m_took{};
};

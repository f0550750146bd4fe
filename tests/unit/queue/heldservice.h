#pragma once

#include "host/network/parallelclient.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <algorithm>
#include <functional>
#include <utility>

namespace test_support {

/// Takes the place of every ParallelClient made while it lives: what is begun stays under way until the test
/// says which of it are over. Without that the one begun first is over, and well.
class HeldService
{
public:
    struct Request
    {
        qint64 id;
        QString path; ///< without its first slash
    };
    using Finished = ParallelClient::Finished;

    HeldService()
    {
        MockFactory<ParallelClient>::mocked = [this] {
            return QSharedPointer<ParallelClient>(new Client(*this));
        };
    }
    ~HeldService() { MockFactory<ParallelClient>::mocked = nullptr; }
    HeldService(const HeldService&) = delete;
    HeldService& operator=(const HeldService&) = delete;

    /// Told of each just before it is begun.
    std::function<void(const Request&)> beginning = [](const Request&) {};
    /// What is over of these, which are under way; asked for again and again.
    std::function<QList<Finished>(const QList<Request>&)> over = [](const QList<Request>& underWay) {
        return QList<Finished>{well(underWay.first())};
    };

    static Finished well(const Request& request) { return {request.id, 0, QVariantMap()}; }
    static Finished failed(const Request& request, int code) { return {request.id, code, QVariantMap()}; }

    /// The paths in the order of their beginning.
    [[nodiscard]] const QStringList& begun() const { return m_begun; }
    [[nodiscard]] const QList<Request>& underWay() const { return m_underWay; }
    /// How many were under way whenever it was asked what is over.
    [[nodiscard]] const QList<qsizetype>& sideBySide() const { return m_sideBySide; }
    /// How many connections may stay open, as it was told last.
    [[nodiscard]] int kept() const { return m_kept; }

private:
    class Client : public ParallelClient
    {
    public:
        explicit Client(HeldService& service)
            : m_service(service)
        {}
        void begin(qint64 id, network::Request request) override
        {
            const Request begun{id, request.url.path().mid(1)};
            m_service.beginning(begun);
            m_service.m_begun.append(begun.path);
            m_service.m_underWay.append(begun);
        }
        [[nodiscard]] QList<Finished> finished(std::chrono::milliseconds /*longest*/) override
        {
            m_service.m_sideBySide.append(m_service.m_underWay.size());
            const QList<Finished> over = m_service.over(m_service.m_underWay);
            for (const Finished& one : over)
                m_service.m_underWay.removeIf(
                    [&one](const Request& request) { return request.id == one.id; });
            return over;
        }
        void abandon() override { m_service.m_underWay.clear(); }
        void keepConnections(int most) override { m_service.m_kept = most; }

    private:
        HeldService& m_service;
    };

    QList<Request> m_underWay;
    QStringList m_begun;
    QList<qsizetype> m_sideBySide;
    int m_kept = 0;
};

} // namespace test_support

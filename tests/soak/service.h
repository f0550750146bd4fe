#pragma once

#include "tests/stand/standprocess.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QTemporaryDir>

#include <memory>

namespace soaktest {

/// The real stand as a process that comes and goes, while its address and its books stay.
class Service
{
public:
    Service();
    ~Service();
    Q_DISABLE_COPY_MOVE(Service)

    /// The base URL, also while nobody listens there.
    [[nodiscard]] QByteArray url() const;

    void start();
    /// Ends it in the middle of whatever it does; from then on connecting is refused.
    void kill();

    /// Lets these go wrong from now on, each as the stand's command line has it; of several that would
    /// strike a call the first does.
    void arm(const QStringList& faults);
    /// Nothing goes wrong any more.
    void disarm();
    /// How often each fault has struck, by its name and, of a status, its code.
    [[nodiscard]] const QMap<QString, int>& strikes() const { return m_strikes; }

    /// Moves the stand's clock on to that time; not back.
    void setTime(const QDateTime& time);

    /// One of the stand's own pages; throws when it can't be had.
    [[nodiscard]] QJsonObject page(const QByteArray& name) const;
    /// All of the exchanges page behind that number.
    [[nodiscard]] QJsonArray exchanges(qint64 after = 0) const;
    /// Waits for an exchange behind that number; false when none comes.
    [[nodiscard]] bool waitForExchange(qint64 after) const;

private:
    [[nodiscard]] QJsonObject ask(const QByteArray& method, const QByteArray& path,
                                  const QByteArray& body = {}) const;
    /// An order, whose answer says no more than that it was taken.
    void tell(const QByteArray& method, const QByteArray& path, const QByteArray& body = {});
    void collectStrikes();

    quint16 m_port = 0;
    int m_reservation; ///< a socket that keeps the port from others
    QTemporaryDir m_directory;
    QDateTime m_time;
    std::unique_ptr<standtest::StandProcess> m_stand;
    QMap<QString, int> m_strikes;
};

/// A folder in memory where there is one: this is about programs that are killed, not about power cuts, and
/// days of failures would wait for a disk for hours.
QString folderTemplate();

} // namespace soaktest

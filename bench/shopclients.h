#pragma once

#include <QProcess>
#include <QStringList>

#include <memory>
#include <vector>

/// Processes of this program that do the same at once, each for itself: a till and its store are a process.
class ShopClients
{
public:
    /// Starts one with each of these lists of arguments, and waits until all are ready.
    explicit ShopClients(const QList<QStringList>& arguments);
    ~ShopClients();
    Q_DISABLE_COPY_MOVE(ShopClients)

    /// Has all of them begin.
    void begin();
    /// Has those end that would go on for ever.
    void stop();
    struct Done
    {
        double computing = 0; ///< since they began, in seconds
        int failures = 0;     ///< after each of which it was tried again
    };
    /// Waits until all have done what they are to do, and returns their sums.
    Done done();

private:
    std::vector<std::unique_ptr<QProcess>> m_processes;
};

/// In such a process: ready, and waits until it is to begin.
class ShopClient
{
public:
    ShopClient();
    /// Waits until it is told to stop.
    static void waitForStop();
    /// It has done what it was to do.
    void tellDone(int failures = 0) const;

private:
    double m_before;
};

#pragma once

#include "host/storage/storageerror.h"

#include <QString>

namespace storage {

/// A store that is being made beside its place, under a name of its own; removed when it is not finished.
class UnfinishedStore
{
public:
    /// There is none yet. Its failures but a lack of room are told of `origin`, or else of the place. Throws
    /// BasicException when none can be made there.
    explicit UnfinishedStore(const QString& place, const QString& origin = {});
    ~UnfinishedStore();
    UnfinishedStore(const UnfinishedStore&) = delete;
    UnfinishedStore& operator=(const UnfinishedStore&) = delete;

    [[nodiscard]] const QString& path() const { return m_path; }
    /// Gives it its place, durably. False when something lies there.
    [[nodiscard]] bool finish() const;

    /// What the steps throw of it does not name it, whose name nobody knows.
    template <class Steps>
    auto throughFailures(Steps steps) const
    {
        try {
            return steps();
        } catch (const BasicException& failure) {
            throw named(failure);
        }
    }

private:
    [[nodiscard]] BasicException named(const BasicException& failure) const;

    QString m_place;
    QString m_origin;
    QString m_path;
};

} // namespace storage

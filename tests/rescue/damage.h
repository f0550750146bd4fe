#pragma once

#include <QSet>
#include <QString>

#include <random>

namespace rescuetest {

/// What can happen to a file.
enum class Damage {
    FlippedBytes,
    TornTail,
    LostPages,
    SwappedPages,
    CutLog,
    FlippedLog,
};

constexpr Damage allDamages[] = {Damage::FlippedBytes, Damage::TornTail, Damage::LostPages,
                                 Damage::SwappedPages, Damage::CutLog,   Damage::FlippedLog};

QString nameOf(Damage damage);

/// Does it to the store and its log; returns the pages of which the newest state is damaged.
QSet<quint32> inflict(Damage damage, const QString& file, std::mt19937& random);

} // namespace rescuetest

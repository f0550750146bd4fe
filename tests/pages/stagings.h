#pragma once

#include "tests/pages/world.h"

#include <QList>
#include <QString>

#include <functional>
#include <ostream>
#include <stdexcept>

namespace pagetest {

/// Why a situation cannot be made on this machine.
class CannotBeMade : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Makes the situation that a block tells of. For a "text" block, which has no command, it returns what was
/// said; other blocks are typed then, and it returns nothing.
using Staging = std::function<QString(World&)>;

/// A section of a page, and how the situation of each of its blocks is made, one after the other in one
/// world.
struct Section
{
    QString page;
    QString heading;
    QList<Staging> blocks;
    std::function<void(World&)> after = nullptr; ///< expects what the blocks have done
};

inline void PrintTo(const Section& section, std::ostream* out)
{
    *out << section.page.toStdString() << ": " << section.heading.toStdString();
}

/// Nothing to make: the situation is the one that the blocks before have left.
QString asItIs(World& world);

QList<Section> operationsSections();
QList<Section> shopSections();
QList<Section> otherSections();

/// All of them.
QList<Section> sections();

} // namespace pagetest

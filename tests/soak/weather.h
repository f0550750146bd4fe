#pragma once

#include <QStringList>

namespace soaktest {

/// Something that goes wrong with the service for a while.
struct Weather
{
    QString name;       ///< the strike that has to have happened in the end
    QString fault;      ///< as the stand's command line has it
    bool slow = false;  ///< it costs real time, each time
    bool parks = false; ///< the messages it strikes are refused for good
};

/// Every kind that the stand knows.
const QList<Weather>& weathers();

} // namespace soaktest

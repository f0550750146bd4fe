#include "tests/journey/till/refusingplugin.h"

#include "host/utils/logging.h"

using namespace Qt::StringLiterals;

namespace tilltest {

bool RefusingPlugin::init()
{
    utils::logger(u"kyrloyalty"_s)->error(u"Отказ"_s);
    return false;
}

} // namespace tilltest

#include "tests/soak/weather.h"

using namespace Qt::StringLiterals;

namespace soaktest {

const QList<Weather>& weathers()
{
    static const QList<Weather> all{
        {u"refuse"_s, u"any:refuse:ms=50"_s},
        {u"reset"_s, u"any:reset"_s},
        {u"reset"_s, u"any:reset:when=after"_s},
        {u"drop"_s, u"any:drop"_s},
        {u"apply-then-drop"_s, u"any:apply-then-drop"_s},
        {u"hang"_s, u"any:hang"_s, true},
        {u"hang"_s, u"any:hang:when=after"_s, true},
        {u"late"_s, u"any:late:ms=1300,when=before"_s, true},
        {u"late"_s, u"any:late:ms=1300"_s, true},
        {u"drip"_s, u"any:drip:ms=200"_s, true},
        {u"truncate"_s, u"any:truncate"_s},
        {u"truncate"_s, u"any:truncate:bytes=0"_s},
        {u"length"_s, u"any:length:by=7"_s},
        {u"length"_s, u"any:length:by=-7"_s},
        {u"json"_s, u"any:json"_s},
        {u"empty"_s, u"any:empty"_s},
        {u"empty"_s, u"any:empty:when=after"_s},
        {u"empty"_s, u"any:empty:code=204"_s},
        {u"html"_s, u"any:html"_s},
        {u"html"_s, u"any:html:when=after"_s},
        {u"html"_s, u"any:html:code=502,when=after"_s},
        {u"redirect"_s, u"any:redirect"_s},
        {u"redirect"_s, u"any:redirect:code=308,when=after"_s},
        {u"gzip-bomb"_s, u"any:gzip-bomb:bytes=50000000"_s, true},
        {u"status 401"_s, u"any:status:code=401"_s},
        {u"status 408"_s, u"any:status:code=408,envelope=no"_s},
        {u"status 429"_s, u"any:status:code=429,retry-after=5"_s},
        {u"status 500"_s, u"any:status:code=500,when=after"_s},
        {u"status 502"_s, u"any:status:code=502,envelope=no"_s},
        {u"status 503"_s, u"any:status:code=503,when=after,envelope=no"_s},
        {u"status 422"_s, u"any:status:code=422,text=Нет"_s, false, true},
        {u"status 404"_s, u"any:status:code=404,envelope=no,when=after"_s, false, true},
    };
    return all;
}

} // namespace soaktest

#include "stand/pages/webpage.h"

#include "stand/http/answers.h"

#include <QFile>

#include <array>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

struct File
{
    const char* path;
    const char* name;
    const char* type;
};

constexpr std::array files = {
    File{"/stand/", ":/page/index.html", "text/html; charset=utf-8"},
    File{"/stand/page.css", ":/page/page.css", "text/css; charset=utf-8"},
    File{"/stand/page.js", ":/page/page.js", "text/javascript; charset=utf-8"},
    File{"/docs", ":/docs/index.html", "text/html; charset=utf-8"},
    File{"/docs/", ":/docs/index.html", "text/html; charset=utf-8"},
    File{"/docs/docs.css", ":/docs/docs.css", "text/css; charset=utf-8"},
    File{"/docs/openapi.yaml", ":/docs/openapi.yaml", "application/yaml"},
};

Answer contentOf(const File& file)
{
    QFile content(QString::fromLatin1(file.name));
    if (!content.open(QIODevice::ReadOnly))
        return failure(500, u"The page is missing in this build"_s);
    Answer answer;
    answer.body = content.readAll();
    answer.contentType = file.type;
    answer.headers.append(
        {"Content-Security-Policy"_ba, "default-src 'self'; img-src data:; frame-ancestors 'none'"_ba});
    answer.headers.append({"Cache-Control"_ba, "no-cache"_ba});
    return answer;
}

Answer toTheStandsPage()
{
    Answer answer;
    answer.status = 302;
    answer.headers.append({"Location"_ba, "/stand/"_ba});
    return answer;
}

} // namespace

void addWebPages(Routes& routes)
{
    for (const auto* path : {"/", "/stand"})
        routes.add("GET", path, [](const QByteArray&, const Request&) { return toTheStandsPage(); });
    for (const auto& file : files)
        routes.add("GET", file.path, [&file](const QByteArray&, const Request&) { return contentOf(file); });
}

} // namespace stand

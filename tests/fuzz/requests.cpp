// Requests to the stand's service: whatever they hold, the books stay in order.
#include "stand/books/database.h"
#include "stand/books/invariants.h"
#include "stand/service/service.h"
#include "stand/service/terms.h"
#include "tests/fuzz/fuzz.h"

#include <QJsonDocument>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Books that grow for a while, so that one request meets what others left.
struct Books
{
    stand::Database database{QString()};
    stand::Service service{database, {}, {}};
    int requests = 0;
};

} // namespace

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    static auto books = std::make_unique<Books>();
    if (++books->requests > 100)
        books = std::make_unique<Books>();
    QByteArray left = bytes;
    static const QJsonArray paths = books->service.paths();
    const QJsonObject path = paths.at(choice(left, static_cast<int>(paths.size()))).toObject();
    stand::Request request;
    request.method = path.value(u"method"_s).toString().toUtf8();
    request.path = path.value(u"path"_s).toString().toUtf8();
    if (const qsizetype variable = request.path.indexOf('{'); variable >= 0) {
        const QByteArray card = choice(left, 2) == 0 ? "2000000000055" : left.left(left.indexOf('\n'));
        request.path.replace(variable, request.path.indexOf('}') - variable + 1, card);
    }
    request.headers.insert("content-type", "application/json");
    request.body = left;
    stand::Transaction transaction(books->database);
    const stand::Answer answer = books->service.answer(request);
    transaction.commit();
    require(answer.status == 200 || (answer.status >= 400 && answer.status < 500),
            "done, or the caller's fault");
    require(QJsonDocument::fromJson(answer.body).isObject(), "an answer is an object");
    require(stand::violations(books->database).isEmpty(), "the books are in order");
}

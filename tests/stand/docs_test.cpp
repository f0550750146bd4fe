// The page of the whole interface, and the file that it is made of.

#include "tests/stand/standfixture.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// What the expression's first group finds, each once.
QSet<QString> found(const QByteArray& text, const QString& expression)
{
    QSet<QString> all;
    auto matches = QRegularExpression(expression, QRegularExpression::MultilineOption)
                       .globalMatch(QString::fromUtf8(text));
    while (matches.hasNext())
        all.insert(matches.next().captured(1));
    return all;
}

std::string listed(const QSet<QString>& names)
{
    return QStringList(names.cbegin(), names.cend()).join(u' ').toStdString();
}

class StandDocs : public standtest::StandTest
{};

TEST_F(StandDocs, AreServedWithTheirStyleAndTheFileThatTheyAreMadeOf)
{
    struct Served
    {
        const char* path;
        const char* type;
    };
    for (const auto& [path, type] :
         {Served{"/docs", "text/html; charset=utf-8"}, Served{"/docs/", "text/html; charset=utf-8"},
          Served{"/docs/docs.css", "text/css; charset=utf-8"},
          Served{"/docs/openapi.yaml", "application/yaml"}}) {
        const auto reply = call(path);
        EXPECT_EQ(reply.status, 200) << path;
        EXPECT_EQ(reply.headers.value("content-type"), type);
        EXPECT_THAT(reply.headers.value("content-security-policy").toStdString(),
                    HasSubstr("default-src 'self'"));
    }
    QFile file(QStringLiteral(KYR_SOURCE_DIR "/stand/openapi.yaml"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(call("/docs/openapi.yaml").body, file.readAll());
}

TEST_F(StandDocs, AreReadAndNothingElse)
{
    for (const auto* path : {"/docs", "/docs/", "/docs/docs.css", "/docs/openapi.yaml"}) {
        for (const auto* method : {"HEAD", "POST", "PUT", "DELETE"}) {
            const auto reply = call(path, {.url = {}, .method = method});
            EXPECT_EQ(reply.status, 405) << method << ' ' << path;
            EXPECT_EQ(reply.headers.value("allow"), "GET");
        }
    }
    EXPECT_EQ(call("/docs/nowhere").status, 404);
}

TEST_F(StandDocs, HaveAPlaceForEachOperationAndSchemaOfTheFile)
{
    const auto page = call("/docs").body;
    const auto file = call("/docs/openapi.yaml").body;
    const auto operations = found(file, u"^ +operationId: (\\w+)$"_s);
    EXPECT_GE(operations.size(), call("/stand/paths").json().toArray().size());
    const auto places = found(page, u"\\bid=\"([^\"]+)\""_s);
    EXPECT_THAT(listed(operations - places), IsEmpty());
    auto schemas = found(file, u"#/components/schemas/(\\w+)"_s);
    EXPECT_GT(schemas.size(), 20);
    for (const auto& schema : std::as_const(schemas))
        EXPECT_TRUE(places.contains(u"schema-"_s + schema)) << schema.toStdString();
}

TEST_F(StandDocs, LeadNowhereButToThemselvesAndTheStand)
{
    const auto page = call("/docs").body;
    const auto targets = found(page, u"\\b(?:href|src|action)=\"([^\"]*)\""_s);
    ASSERT_GT(targets.size(), 20);
    for (const auto& target : targets) {
        if (target.startsWith(u'#')) {
            EXPECT_TRUE(found(page, u"\\bid=\"(%1)\""_s.arg(target.sliced(1))).size() == 1)
                << target.toStdString();
        } else if (target != u"data:,"_s) {
            EXPECT_EQ(call(target.toUtf8()).status, 200) << target.toStdString();
        }
    }
    for (const auto* element : {"<script", "style=", "<img", "<iframe", "@import", "url("})
        EXPECT_THAT(page.toStdString(), Not(HasSubstr(element)));
    EXPECT_THAT(call("/docs/docs.css").body.toStdString(), Not(HasSubstr("url(")));
}

TEST_F(StandDocs, ShowParametersMembersAndExamples)
{
    const auto page = call("/docs").body.toStdString();
    EXPECT_THAT(page, HasSubstr("<code>card</code> <span class=\"quiet\">in the path</span>"));
    EXPECT_THAT(page, HasSubstr("<code>data.accounts_data[].avialable</code>"));
    EXPECT_THAT(
        page,
        HasSubstr("<pre>{\n  &quot;approve_id&quot;: 1,\n  &quot;code&quot;: &quot;1234&quot;\n}</pre>"));
    EXPECT_THAT(page, HasSubstr("text that holds JSON: <a href=\"#schema-Positions\">Positions</a>"));
    EXPECT_THAT(page, HasSubstr("<strong>What is odd is meant so.</strong>"));
}

TEST_F(StandDocs, AreFoundFromTheStandsPage)
{
    EXPECT_THAT(call("/stand/").body.toStdString(), HasSubstr("<a href=\"/docs\">"));
}

/// What api_page makes of such a file.
struct Made
{
    int status = -1;
    std::string page;
    std::string complaint;
};

Made made(const QByteArray& openapi)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(u"openapi.yaml"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(openapi) != openapi.size())
        return {};
    file.close();
    QProcess program;
    program.start(QStringLiteral(API_PAGE), {file.fileName()});
    program.waitForFinished();
    return {program.exitCode(), program.readAllStandardOutput().toStdString(),
            program.readAllStandardError().toStdString()};
}

TEST(StandDocsMade, TakeWhateverIsInTheFileForText)
{
    const auto page = made(R"(
components: {}
info: { title: "<script>1</script>", summary: "<script>2", description: "<script>3</script> & **bold**" }
tags: [{ name: "<script>4", description: "<img src=x>" }]
paths:
  /a/{<script>5}:
    get:
      operationId: "\"><script>6"
      tags: ["<script>4"]
      summary: <script>7
      parameters: [{ name: <script>8, in: <script>9, description: <script>10, schema: { const: <script>11 } }]
      responses:
        "<script>12":
          description: <script>13
          content:
            <script>14:
              schema: { type: object, properties: { <script>15: { type: string, pattern: <script>16 } } }
              examples: { <script>17: { value: { <script>18: "<script>19" } } }
)")
                          .page;
    EXPECT_THAT(page, HasSubstr("<strong>bold</strong>"));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;19"));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("<img")));
    EXPECT_THAT(page, Not(HasSubstr("\"><script")));
}

TEST(StandDocsMade, KeepTextsAndNumbersOfExamplesApart)
{
    const auto page = made(R"(
components: {}
info: { title: t }
tags: [{ name: n }]
paths:
  /a:
    get:
      operationId: o
      tags: [n]
      responses:
        "200":
          description: d
          content:
            application/json:
              schema: {}
              examples: { e: { value: { text: '1', number: 1.5, none: null, yes: true, lines: "a\nb", list: [], map: {} } } }
)")
                          .page;
    EXPECT_THAT(page, HasSubstr(R"({
  &quot;text&quot;: &quot;1&quot;,
  &quot;number&quot;: 1.5,
  &quot;none&quot;: null,
  &quot;yes&quot;: true,
  &quot;lines&quot;: &quot;a\nb&quot;,
  &quot;list&quot;: [],
  &quot;map&quot;: {}
})"));
}

TEST(StandDocsMade, AreRefusedOfAFileWhoseReferenceLeadsNowhere)
{
    const auto result = made(R"(
info: { title: t }
tags: [{ name: n }]
paths: { /a: { get: { tags: [n], responses: { "200": { $ref: "#/components/responses/Gone" } } } } }
components: {}
)");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.complaint, HasSubstr("#/components/responses/Gone leads nowhere"));
}

} // namespace

#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// Whether all that a cashier reads has an identifier, and each identifier its words in every language that is
// there.

namespace {

const QString root = QStringLiteral(KYR_SOURCE_DIR "/");

QString contentOf(const QString& file)
{
    QFile in(file);
    EXPECT_TRUE(in.open(QIODevice::ReadOnly)) << file.toStdString();
    return QString::fromUtf8(in.readAll());
}

/// The sources below these folders, by name, without the comments that have a line of their own.
QHash<QString, QString> sourcesIn(const QStringList& folders)
{
    static const QRegularExpression comment(u"^\\s*//.*$"_s, QRegularExpression::MultilineOption);
    QHash<QString, QString> sources;
    for (const QString& folder : folders) {
        QDirIterator files(root + folder, {u"*.cpp"_s, u"*.h"_s}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString file = files.next();
            sources.insert(file.sliced(root.size()), contentOf(file).remove(comment));
        }
    }
    return sources;
}

const QString literal = uR"-((?:u?"(?:[^"\\]|\\.)*"\s*)+)-"_s;

bool isRussian(const QString& text)
{
    static const QRegularExpression letter(u"[А-Яа-яЁё]"_s);
    return text.contains(letter);
}

/// What a literal, in one piece or several, stands for.
QString meant(const QString& source)
{
    static const QRegularExpression piece(uR"-("((?:[^"\\]|\\.)*)")-"_s);
    QString text;
    for (auto at = piece.globalMatch(source); at.hasNext();)
        text += at.next().captured(1);
    return text.replace(u"\\n"_s, u"\n"_s).replace(u"\\\""_s, u"\""_s);
}

/// An identifier with the Russian text behind it, as Tr, shown() and tables take them.
const QRegularExpression& pair()
{
    static const QRegularExpression pattern(uR"-(u"([A-Za-z]\w*)"(?:_s)?,\s*()-"_s + literal +
                                            uR"-()(_s\s*\.arg)?)-"_s);
    return pattern;
}

struct Text
{
    QString russian;
    QString file;
};

/// Those that are in the sources, by identifier; what is amiss with them is told at once.
QHash<QString, Text> textsInSources()
{
    QHash<QString, Text> texts;
    const auto sources = sourcesIn({u"host"_s, u"client"_s, u"plugin"_s, u"till"_s});
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        for (auto at = pair().globalMatch(*source); at.hasNext();) {
            const auto match = at.next();
            const QString id = match.captured(1);
            const QString russian = meant(match.captured(2));
            if (!isRussian(russian))
                continue;
            EXPECT_TRUE(match.captured(3).isEmpty())
                << id.toStdString() << ": filled before it is a text, so another language cannot be";
            EXPECT_EQ(texts.value(id, {russian, {}}).russian, russian)
                << "one identifier, two texts: " << id.toStdString();
            texts.insert(id, {russian, source.key()});
        }
    }
    return texts;
}

struct Translation
{
    QString russian;
    QString text;
};

QHash<QString, Translation> translationsIn(const QString& file)
{
    QHash<QString, Translation> all;
    const QString content = contentOf(file);
    QXmlStreamReader in(content);
    QString id;
    while (!in.atEnd()) {
        if (in.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (in.name() == u"message") {
            id = in.attributes().value(u"id"_s).toString();
            EXPECT_FALSE(all.contains(id)) << "translated twice: " << id.toStdString();
        } else if (in.name() == u"source") {
            all[id].russian = in.readElementText();
        } else if (in.name() == u"translation") {
            all[id].text = in.readElementText();
        }
    }
    EXPECT_FALSE(in.hasError()) << file.toStdString() << ": " << in.errorString().toStdString();
    return all;
}

QSet<QString> placeholdersOf(const QString& text)
{
    static const QRegularExpression placeholder(u"%\\d"_s);
    QSet<QString> all;
    for (auto at = placeholder.globalMatch(text); at.hasNext();)
        all.insert(at.next().captured());
    return all;
}

class Texts : public testing::TestWithParam<const char*>
{};

TEST_P(Texts, OfTheSourcesAreAllTranslatedWithTheSamePlaceholders)
{
    const auto translations =
        translationsIn(root + u"translations/kyr_%1.ts"_s.arg(QString::fromLatin1(GetParam())));
    const auto texts = textsInSources();
    ASSERT_GT(texts.size(), 100);
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        const Translation known = translations.value(text.key());
        EXPECT_EQ(known.russian.toStdString(), text->russian.toStdString())
            << text.key().toStdString() << " of " << text->file.toStdString();
        EXPECT_FALSE(known.text.isEmpty() || isRussian(known.text)) << text.key().toStdString();
        EXPECT_EQ(placeholdersOf(known.text), placeholdersOf(text->russian)) << text.key().toStdString();
    }
}

// A text without an identifier is translated under its very words.
TEST_P(Texts, ThatNobodyShowsAreNotTranslated)
{
    const auto translations =
        translationsIn(root + u"translations/kyr_%1.ts"_s.arg(QString::fromLatin1(GetParam())));
    const auto texts = textsInSources();
    const QString plugin = sourcesIn({u"plugin"_s}).values().join(u'\n');
    for (auto known = translations.cbegin(); known != translations.cend(); ++known) {
        const bool isItsOwn = known.key() == known->russian && plugin.contains(u'"' + known.key() + u'"');
        EXPECT_TRUE(isItsOwn || texts.contains(known.key())) << known.key().toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, Texts, testing::Values("en"),
                         [](const auto& language) { return std::string(language.param); });

TEST(Texts, ForTheCashierAllHaveAnIdentifier)
{
    static const QRegularExpression words(literal);
    const QString logged = u"Баллы к списанию: "_s; // how BasicLoyaltySystem tells its points to a log
    const auto sources = sourcesIn({u"host"_s, u"till/audit"_s, u"till/checkout"_s, u"till/scenario"_s});
    ASSERT_GT(sources.size(), 100);
    for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
        QString rest = *source;
        for (auto at = words.globalMatch(rest.remove(pair())); at.hasNext();) {
            const QString word = at.next().captured();
            EXPECT_TRUE(!isRussian(word) || word.contains(logged))
                << source.key().toStdString() << ": " << word.toStdString();
        }
    }
}

} // namespace

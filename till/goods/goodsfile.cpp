#include "till/goods/goodsfile.h"

#include "host/utils/printable.h"
#include "till/goods/csv.h"

#include <QFile>
#include <QHash>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

using namespace Qt::StringLiterals;

namespace till {

namespace {

enum Column { Article, Barcodes, Name, Price, Unit, Button, columnCount };

const std::array<QString, columnCount> columnNames{u"article"_s, u"barcodes"_s, u"name"_s,
                                                   u"price"_s,   u"unit"_s,     u"button"_s};
constexpr qsizetype mostProblems = 50; // more tell nobody more
constexpr qsizetype longestText = 200;
constexpr std::int64_t highestPrice = 99'999'999'999; // kopecks

bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

bool areDigits(QStringView text) { return std::all_of(text.begin(), text.end(), isDigit); }

/// In kopecks; nothing, and what is wrong in `problem`.
std::optional<std::int64_t> priceOf(QStringView text, QString& problem)
{
    const qsizetype comma = text.indexOf(u',');
    const qsizetype point = comma < 0 ? text.indexOf(u'.') : comma;
    const QStringView roubles = point < 0 ? text : text.first(point);
    QStringView kopecks = point < 0 ? QStringView() : text.sliced(point + 1);
    if (roubles.isEmpty() || !areDigits(roubles) || !areDigits(kopecks) ||
        (point >= 0 && kopecks.isEmpty())) {
        problem = u"expected digits with a point or comma, such as 89.90"_s;
        return std::nullopt;
    }
    while (kopecks.size() > 2 && kopecks.endsWith(u'0'))
        kopecks.chop(1);
    if (kopecks.size() > 2) {
        problem = u"not in whole kopecks; round it to two digits behind the point"_s;
        return std::nullopt;
    }
    bool fits = false;
    const std::int64_t price =
        (roubles.toString() + kopecks.toString().leftJustified(2, u'0')).toLongLong(&fits);
    if (fits && price > 0 && price <= highestPrice)
        return price;
    problem = u"expected a price above 0 and below 1000000000"_s;
    return std::nullopt;
}

/// Whether it can be shown as it is. Of most texts a look at the letters tells.
bool isPrintable(const QString& text)
{
    const auto isUsual = [](QChar c) { return (c >= u' ' && c <= u'~') || (c >= u'Ѐ' && c <= u'ӿ'); };
    return std::all_of(text.begin(), text.end(), isUsual) || utils::printable(text) == text;
}

bool isBarcode(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) {
        return isDigit(c) || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'-';
    });
}

class Reader
{
public:
    GoodsReading read(const QByteArray& content);

private:
    void complain(const QString& column, const QString& text);
    void readHeader(const QString& line);
    void readGoodsOf(const QString& line);
    [[nodiscard]] bool areWhole(const CsvLine& split);
    [[nodiscard]] QString take(const QStringList& fields, Column column) const;
    void takeCode(Column column, const QString& code);
    void takePlace(const QString& text, Goods& goods);
    [[nodiscard]] QString nameOf(qsizetype field) const;

    GoodsReading m_reading;
    int m_line = 0;
    QChar m_separator = u',';
    QList<int> m_columns;        ///< which column each field is; empty: there was no header yet
    QHash<QString, int> m_codes; ///< articles and barcodes, with the line of each
    std::array<int, mostPlaces + 1> m_places{}; ///< line of the goods that have each
};

void Reader::complain(const QString& column, const QString& text)
{
    if (m_reading.problems.size() < mostProblems)
        m_reading.problems.append({m_line, column, text});
    else
        ++m_reading.furtherProblems;
}

GoodsReading Reader::read(const QByteArray& content)
{
    constexpr auto byteOrderMark = "\xEF\xBB\xBF";
    QByteArrayView rest = content;
    const qsizetype lines = content.count('\n');
    m_reading.goods.reserve(lines);
    m_codes.reserve(2 * lines);
    if (rest.startsWith(byteOrderMark))
        rest = rest.sliced(3);
    while (!rest.isEmpty()) {
        ++m_line;
        const qsizetype end = rest.indexOf('\n');
        const QByteArrayView bytes = end < 0 ? rest : rest.first(end);
        rest = end < 0 ? QByteArrayView() : rest.sliced(end + 1);
        if (!bytes.isValidUtf8()) { // each further line would be told too
            complain({}, u"not in UTF-8; save the file as \"CSV UTF-8\""_s);
            break;
        }
        const QString line = QString::fromUtf8(bytes.endsWith('\r') ? bytes.chopped(1) : bytes);
        if (!m_columns.isEmpty())
            readGoodsOf(line);
        else if (!line.isEmpty())
            readHeader(line);
        if (m_columns.isEmpty() && !m_reading.problems.isEmpty())
            break; // without columns nothing can be said of the rest
    }
    m_line = std::max(m_line, 1);
    if (m_reading.problems.isEmpty() && m_reading.goods.isEmpty())
        complain({}, m_columns.isEmpty() ? u"the file is empty; its first line must name the columns: "_s +
                                               QStringList(columnNames.begin(), columnNames.end()).join(u',')
                                         : u"there are no goods below the first line; add a line for each"_s);
    if (!m_reading.problems.isEmpty())
        m_reading.goods.clear();
    return m_reading;
}

void Reader::readHeader(const QString& line)
{
    m_separator = line.contains(u';') ? u';' : u',';
    if (line.contains(u'\t'))
        return complain({}, u"the columns are separated by tabs; save the file with commas or semicolons"_s);
    const CsvLine split = splitCsv(line, m_separator);
    if (!split.problem.isEmpty())
        return complain({}, split.problem);
    QList<int> columns;
    for (const QString& field : split.fields) {
        const auto found = std::find(columnNames.begin(), columnNames.end(), field.toLower());
        const int column = static_cast<int>(found - columnNames.begin());
        if (found == columnNames.end())
            complain(field, u"unknown column; take it away, known are: "_s +
                                QStringList(columnNames.begin(), columnNames.end()).join(u", "_s));
        else if (columns.contains(column))
            complain(field, u"the column is there twice; take one away"_s);
        columns.append(column);
    }
    for (int column = 0; column < columnCount; ++column) {
        if (!columns.contains(column))
            complain(columnNames[column],
                     u"the column is missing; add it to the first line, separated by commas or semicolons"_s);
    }
    if (m_reading.problems.isEmpty())
        m_columns = columns;
}

QString Reader::nameOf(qsizetype field) const
{
    return field < m_columns.size() ? columnNames[m_columns[field]] : QString();
}

bool Reader::areWhole(const CsvLine& split)
{
    const QStringList& fields = split.fields;
    if (!split.problem.isEmpty()) {
        complain(nameOf(fields.size()), split.problem);
        return false;
    }
    if (fields.size() != m_columns.size()) {
        complain({}, u"%1 fields where the first line has %2; put a field with \"%3\" in it in quotes"_s
                         .arg(fields.size())
                         .arg(m_columns.size())
                         .arg(m_separator));
        return false;
    }
    bool areFit = true;
    for (qsizetype i = 0; i < fields.size(); ++i) {
        const QString what =
            !isPrintable(fields[i])          ? u"holds a character that cannot be shown; take it away"_s
            : fields[i].size() > longestText ? u"longer than %1 characters; shorten it"_s.arg(longestText)
                                             : QString();
        if (!what.isEmpty()) {
            complain(nameOf(i), what);
            areFit = false;
        }
    }
    return areFit;
}

QString Reader::take(const QStringList& fields, Column column) const
{
    return fields[m_columns.indexOf(int(column))];
}

void Reader::takeCode(Column column, const QString& code)
{
    int& owner = m_codes[code];
    if (owner != 0 && owner != m_line)
        return complain(
            columnNames[column],
            u"%1 is in line %2 already; each article and barcode stands for one thing, take one away"_s
                .arg(code)
                .arg(owner));
    owner = m_line;
}

void Reader::takePlace(const QString& text, Goods& goods)
{
    if (text.isEmpty())
        return;
    goods.place = text.toInt();
    if (goods.place < 1 || goods.place > mostPlaces)
        return complain(columnNames[Button],
                        u"expected the number of a place, 1 to %1, or nothing"_s.arg(mostPlaces));
    if (int& owner = m_places[goods.place]; owner != 0)
        complain(columnNames[Button],
                 u"place %1 is taken by line %2; take another"_s.arg(goods.place).arg(owner));
    else
        owner = m_line;
}

void Reader::readGoodsOf(const QString& line)
{
    const CsvLine split = splitCsv(line, m_separator);
    const auto& fields = split.fields;
    const bool isBlank =
        std::all_of(fields.begin(), fields.end(), [](const QString& one) { return one.isEmpty(); });
    if ((isBlank && split.problem.isEmpty()) || !areWhole(split))
        return; // spreadsheets leave blank lines behind
    Goods goods{
        .articul = take(fields, Article), .name = take(fields, Name), .price = 0, .unit = take(fields, Unit)};
    for (const auto& [column, text] : {std::pair(Article, goods.articul), std::pair(Name, goods.name)}) {
        if (text.isEmpty())
            complain(columnNames[column], u"is empty; each thing needs one"_s);
    }
    if (!goods.articul.isEmpty())
        takeCode(Article, goods.articul);
    goods.barcodes = take(fields, Barcodes).replace(u';', u' ').split(u' ', Qt::SkipEmptyParts);
    for (const QString& barcode : goods.barcodes) {
        if (isBarcode(barcode))
            takeCode(Barcodes, barcode);
        else
            complain(
                columnNames[Barcodes],
                u"expected digits, Latin letters and dashes, with blanks between barcodes; a spreadsheet "
                "may have shortened one, make the column text there"_s);
    }
    QString problem;
    if (const auto price = priceOf(take(fields, Price), problem))
        goods.price = static_cast<double>(*price) / 100;
    else
        complain(columnNames[Price], problem);
    takePlace(take(fields, Button), goods);
    m_reading.goods.append(std::move(goods));
}

} // namespace

GoodsReading readGoods(const QByteArray& content) { return Reader().read(content); }

GoodsReading readGoodsFile(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {.problems = {{0, {}, u"the file of goods cannot be read: "_s + file.errorString()}}};
    return readGoods(file.readAll());
}

QString problemsText(const QString& fileName, const GoodsReading& reading)
{
    QStringList lines;
    for (const auto& [line, column, text] : reading.problems) {
        QString where = line == 0 ? fileName + u": "_s : u"%1:%2: "_s.arg(fileName).arg(line);
        if (!column.isEmpty())
            where += utils::printable(column) + u": "_s;
        lines.append(where + text);
    }
    if (reading.furtherProblems > 0)
        lines.append(u"%1: and %2 more"_s.arg(fileName).arg(reading.furtherProblems));
    return lines.join(u'\n');
}

} // namespace till

#include "till/scenario/json.h"

#include "till/checkout/failure.h"

#include <cstdint>
#include <limits>
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr std::size_t deepest = 64; // levels; the tree is walked and destroyed by recursion

/// What RapidJSON reads from; counts lines on the way.
class LineStream
{
public:
    using Ch = char; // the stream's contract

    explicit LineStream(const QByteArray& text)
        : m_begin(text.constData())
        , m_at(m_begin)
    {}

    [[nodiscard]] Ch Peek() const { return *m_at; }
    [[nodiscard]] std::size_t Tell() const { return static_cast<std::size_t>(m_at - m_begin); }
    [[nodiscard]] int line() const { return m_line; }
    Ch Take()
    {
        if (*m_at == '\n')
            ++m_line;
        return *m_at++;
    }

    // For parsing in place, which is not done here.
    Ch* PutBegin() { return nullptr; }
    void Put(Ch /*character*/) {}
    std::size_t PutEnd(Ch* /*begin*/) { return 0; }

private:
    const char* m_begin;
    const char* m_at;
    int m_line = 1;
};

class TreeBuilder
{
public:
    TreeBuilder(const LineStream& stream, Problems& problems)
        : m_stream(stream)
        , m_problems(problems)
    {}

    JsonNode takeRoot() { return std::move(m_root); }

    // The reader's events; false stops it.
    bool Null() { return add(node(JsonNode::Kind::Null, {})); }
    bool Bool(bool value) { return add(node(JsonNode::Kind::Boolean, value)); }
    bool Int(int value) { return add(node(JsonNode::Kind::Number, value)); }
    bool Uint(unsigned value)
    {
        return value <= std::numeric_limits<int>::max() ? Int(static_cast<int>(value)) : Double(value);
    }
    bool Int64(std::int64_t value) { return Double(static_cast<double>(value)); }
    bool Uint64(std::uint64_t value) { return Double(static_cast<double>(value)); }
    bool Double(double value) { return add(node(JsonNode::Kind::Number, value)); }
    bool RawNumber(const char* /*text*/, unsigned /*length*/, bool /*copy*/) { return false; }
    bool String(const char* text, unsigned length, bool /*copy*/)
    {
        return add(node(JsonNode::Kind::Text, QString::fromUtf8(text, length)));
    }
    bool StartObject() { return open(JsonNode::Kind::Object); }
    bool StartArray() { return open(JsonNode::Kind::List); }
    bool EndObject(unsigned /*count*/) { return close(); }
    bool EndArray(unsigned /*count*/) { return close(); }
    bool Key(const char* text, unsigned length, bool /*copy*/)
    {
        const QString name = QString::fromUtf8(text, length);
        if (m_open.back().names.contains(name))
            return fail(u"\"%1\" is given twice"_s.arg(name));
        m_open.back().names.append(name);
        return true;
    }

private:
    [[nodiscard]] JsonNode node(JsonNode::Kind kind, const QVariant& scalar) const
    {
        return {.kind = kind, .line = m_stream.line(), .scalar = scalar, .names = {}, .children = {}};
    }

    bool add(JsonNode&& value)
    {
        if (m_open.empty())
            m_root = std::move(value);
        else
            m_open.back().children.push_back(std::move(value));
        return true;
    }

    bool open(JsonNode::Kind kind)
    {
        m_open.push_back(node(kind, {}));
        return m_open.size() <= deepest || fail(u"lists and objects are nested too deep"_s);
    }

    bool close()
    {
        JsonNode done = std::move(m_open.back());
        m_open.pop_back();
        return add(std::move(done));
    }

    bool fail(const QString& text)
    {
        m_problems.append({m_stream.line(), text});
        return false;
    }

    const LineStream& m_stream;
    Problems& m_problems;
    std::vector<JsonNode> m_open; ///< from the root to the innermost
    JsonNode m_root;
};

} // namespace

const JsonNode* JsonNode::member(const QString& name) const
{
    const qsizetype index = names.indexOf(name);
    return index < 0 ? nullptr : &children[static_cast<std::size_t>(index)];
}

JsonNode parseJson(const QByteArray& text, Problems& problems)
{
    if (text.contains('\0')) { // the reader would take it for the end
        problems.append({static_cast<int>(text.first(text.indexOf('\0')).count('\n')) + 1,
                         u"is not JSON: holds a zero byte"_s});
        return {};
    }
    LineStream stream(text);
    TreeBuilder builder(stream, problems);
    rapidjson::Reader reader;
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag |
                               rapidjson::kParseValidateEncodingFlag;
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, builder);
    if (!result.IsError())
        return builder.takeRoot();
    if (result.Code() != rapidjson::kParseErrorTermination) // else the builder has said why
        problems.append({stream.line(),
                         u"is not JSON: "_s + QString::fromUtf8(rapidjson::GetParseError_En(result.Code()))});
    return {};
}

} // namespace till

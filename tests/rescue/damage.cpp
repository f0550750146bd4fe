#include "tests/rescue/damage.h"

#include <QFile>
#include <QList>
#include <QtEndian>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace rescuetest {

namespace {

constexpr int pageSize = 4096;
constexpr int logHead = 32;
constexpr int frameHead = 24;
constexpr int frameSize = frameHead + pageSize;

QByteArray read(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& name, const QByteArray& content)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        throw std::runtime_error("cannot write " + name.toStdString());
}

struct Frame
{
    quint32 page;
    int commit; ///< the how many-th it is of
};

QList<Frame> framesOf(const QByteArray& log)
{
    QList<Frame> frames;
    int commit = 0;
    for (qsizetype at = logHead; at + frameSize <= log.size(); at += frameSize) {
        frames.append({qFromBigEndian<quint32>(log.constData() + at), commit});
        commit += qFromBigEndian<quint32>(log.constData() + at + 4) != 0 ? 1 : 0;
    }
    return frames;
}

class Inflicting
{
public:
    Inflicting(const QString& file, std::mt19937& random)
        : m_name(file)
        , m_random(random)
        , m_file(read(file))
        , m_log(read(file + u"-wal"_s))
        , m_frames(framesOf(m_log))
    {}

    QSet<quint32> inflict(Damage damage)
    {
        switch (damage) {
        case Damage::FlippedBytes:
            for (int i = upTo(19); i >= 0; --i) {
                const qsizetype at = upTo(static_cast<int>(m_file.size()) - 1);
                flip(m_file, at);
                hurt(static_cast<quint32>(at / pageSize) + 1);
            }
            break;
        case Damage::TornTail: {
            const qsizetype left = upTo(static_cast<int>(m_file.size()) - 1);
            for (qsizetype page = left / pageSize; page < m_file.size() / pageSize; ++page)
                hurt(static_cast<quint32>(page) + 1);
            m_file.truncate(left);
            break;
        }
        case Damage::LostPages:
            for (int i = upTo(4); i >= 0; --i) {
                const quint32 page = somePage();
                std::fill_n(m_file.data() + at(page), pageSize, '\0');
                hurt(page);
            }
            break;
        case Damage::SwappedPages:
            for (int i = upTo(2); i >= 0; --i) {
                const quint32 a = somePage();
                const quint32 b = somePage();
                std::swap_ranges(m_file.data() + at(a), m_file.data() + at(a) + pageSize,
                                 m_file.data() + at(b));
                hurt(a);
                hurt(b);
            }
            break;
        case Damage::CutLog: {
            const qsizetype left = upTo(static_cast<int>(m_log.size()) - 1);
            hurtFrames(static_cast<int>(std::max<qsizetype>(left - logHead, 0) / frameSize),
                       static_cast<int>(m_frames.size()) - 1);
            m_log.truncate(left);
            break;
        }
        case Damage::FlippedLog:
            for (int i = upTo(4); i >= 0; --i) {
                const qsizetype at = upTo(static_cast<int>(m_log.size()) - 1);
                flip(m_log, at);
                const int frame = static_cast<int>(std::max<qsizetype>(at - logHead, 0) / frameSize);
                hurtFrames(frame, frame + 1); // the next one's sum goes on from this one's
            }
            break;
        }
        write(m_name, m_file);
        write(m_name + u"-wal"_s, m_log);
        return m_hurt;
    }

private:
    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_random); }
    quint32 somePage()
    {
        return static_cast<quint32>(upTo(static_cast<int>(m_file.size() / pageSize) - 1)) + 1;
    }
    static qsizetype at(quint32 page) { return qsizetype{page - 1} * pageSize; }

    void flip(QByteArray& bytes, qsizetype at) { bytes[at] = static_cast<char>(bytes[at] ^ (1 + upTo(254))); }
    /// Unless the log has a newer one.
    void hurt(quint32 page)
    {
        const bool isLogged = std::any_of(m_frames.cbegin(), m_frames.cend(),
                                          [page](const Frame& frame) { return frame.page == page; });
        if (!isLogged)
            m_hurt.insert(page);
    }
    /// All of the commits that these frames are of.
    void hurtFrames(int first, int last)
    {
        last = std::min(last, static_cast<int>(m_frames.size()) - 1);
        if (first > last)
            return;
        for (const Frame& frame : m_frames) {
            if (frame.commit >= m_frames[first].commit && frame.commit <= m_frames[last].commit)
                m_hurt.insert(frame.page);
        }
    }

    QString m_name;
    std::mt19937& m_random;
    QByteArray m_file;
    QByteArray m_log;
    QList<Frame> m_frames;
    QSet<quint32> m_hurt;
};

} // namespace

QString nameOf(Damage damage)
{
    switch (damage) {
    case Damage::FlippedBytes:
        return u"flipped bytes"_s;
    case Damage::TornTail:
        return u"a torn tail"_s;
    case Damage::LostPages:
        return u"lost pages"_s;
    case Damage::SwappedPages:
        return u"swapped pages"_s;
    case Damage::CutLog:
        return u"a log cut short"_s;
    case Damage::FlippedLog:
        return u"flipped bytes in the log"_s;
    }
    return {};
}

QSet<quint32> inflict(Damage damage, const QString& file, std::mt19937& random)
{
    return Inflicting(file, random).inflict(damage);
}

} // namespace rescuetest

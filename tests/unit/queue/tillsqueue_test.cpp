#include "host/queue/messagequeue.h"
#include "tests/unit/queue/anyqueue.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

class TillsQueue : public QueueHome
{
public:
    [[nodiscard]] std::unique_ptr<OutgoingQueue> open() const override
    {
        return std::make_unique<MessageQueue>();
    }
    void take() override {}
    QString sql(const QString& statement) const override
    {
        QStringList lines;
        const RawDatabase raw(m_file);
        for (const QVariantList& row : raw.run(statement)) {
            QStringList columns;
            for (const QVariant& value : row)
                columns.append(value.toString());
            lines.append(columns.join(u'|'));
        }
        return lines.join(u'\n');
    }
    [[nodiscard]] QString literal(const QByteArray& bytes) const override
    {
        return u"x'%1'"_s.arg(QLatin1StringView(bytes.toHex()));
    }
    void goAway() override { QFile::rename(m_file, m_file + u".elsewhere"_s); }
    void comeBack() override { QFile::rename(m_file + u".elsewhere"_s, m_file); }

private:
    const std::shared_ptr<storage::Database> m_store = storage::store();
    const QString m_file = m_store->path();
};

} // namespace

INSTANTIATE_TEST_SUITE_P(OfATill, AnyQueue,
                         testing::Values(QueuePlace{
                             "MessageQueue", [] { return std::unique_ptr<QueueHome>(new TillsQueue); }}));

} // namespace test_support

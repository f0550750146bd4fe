#include "tests/support/fakehost.h"

#include <gtest/gtest.h>

namespace test_support {

void RecordingQueue::enqueue(const QString& queueName, const QVariantMap& message, const QString& text)
{
    if (before)
        before();
    entries.append({queueName, message, text});
}

QSharedPointer<AbstractDocument> FakeDocuments::loadDocument(const QVariant& reference, bool forUpdate)
{
    EXPECT_FALSE(forUpdate) << "the client only reads";
    return documents.value(reference.toString());
}

void FakeDocuments::saveCardRecord(const QSharedPointer<DocumentCardRecord>& record)
{
    if (beforeSave)
        beforeSave();
    saved.append(record);
}

} // namespace test_support

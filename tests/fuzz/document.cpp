// Stored receipts and card records: as they lie on the disk, and with a seal that holds whatever is in them.
#include "host/storage/documentcodec.h"
#include "host/storage/storedform.h"
#include "host/utils/basicexception.h"
#include "tests/fuzz/fuzz.h"

using namespace Qt::StringLiterals;

namespace {

template <class Read>
void readTwice(const QByteArray& bytes, Read read)
{
    try {
        const QByteArray again = documentcodec::written(*read(bytes));
        fuzz::require(documentcodec::written(*read(again)) == again,
                      "what was read is written and read alike");
    } catch (const BasicException&) {
        // damaged, and said
    }
}

} // namespace

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    constexpr quint32 documents = 0x4B595264; // "KYRd"
    constexpr quint32 cards = 0x4B595263;     // "KYRc"
    const auto document = [](const QByteArray& of) { return documentcodec::readDocument(of, u"file"_s); };
    const auto card = [](const QByteArray& of) { return documentcodec::readCardRecord(of, u"file"_s); };
    QByteArray content = bytes;
    switch (choice(content, 3)) {
    case 0:
        readTwice(content, document);
        break;
    case 1:
        readTwice(storage::sealed({documents, 1}, content), document);
        break;
    default:
        readTwice(storage::sealed({cards, 1}, content), card);
    }
}

#include "tests/stand/books.h"

#include "tests/support/rawdatabase.h"

namespace standtest {

bool change(const QString& file, const QStringList& statements)
{
    try {
        const test_support::RawDatabase database(file);
        for (const auto& statement : statements)
            database.run(statement);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace standtest

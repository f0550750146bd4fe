#include "stand/books/schema.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

QStringList cardsAndExchanges()
{
    return {
        uR"(CREATE TABLE customers(
                id INTEGER PRIMARY KEY,
                last_name TEXT, first_name TEXT, middle_name TEXT,
                gender INTEGER CHECK (gender IN (0, 1)),
                birth_day TEXT, address TEXT, email TEXT,
                mobile TEXT NOT NULL))"_s,
        u"CREATE INDEX customers_by_mobile ON customers(mobile)"_s,
        // "notation" says how the service writes the balance as a text; the owner of a debt is the customer's
        // account that owes it.
        uR"(CREATE TABLE accounts(
                id INTEGER PRIMARY KEY,
                notation INTEGER NOT NULL CHECK (notation IN (0, 1)),
                kind TEXT NOT NULL DEFAULT 'customer' CHECK (kind IN ('customer', 'debt', 'shop', 'service')),
                owner INTEGER REFERENCES accounts))"_s,
        u"INSERT INTO accounts(notation, kind) VALUES (0, 'shop'), (0, 'service')"_s,
        u"CREATE UNIQUE INDEX one_account_of_a_kind ON accounts(kind) WHERE kind IN ('shop', 'service')"_s,
        u"CREATE UNIQUE INDEX one_debt_of_an_account ON accounts(owner) WHERE kind = 'debt'"_s,
        // The order of the ids is the order of issue.
        uR"(CREATE TABLE cards(
                id INTEGER PRIMARY KEY,
                number TEXT NOT NULL UNIQUE,
                customer INTEGER REFERENCES customers,
                account INTEGER NOT NULL REFERENCES accounts,
                status INTEGER NOT NULL CHECK (status BETWEEN 0 AND 3)))"_s,
        u"CREATE INDEX cards_by_customer ON cards(customer)"_s,
        // "fault" is the name of the fault that struck the exchange; empty for none.
        uR"(CREATE TABLE exchanges(
                n INTEGER PRIMARY KEY AUTOINCREMENT,
                time TEXT NOT NULL,
                method TEXT NOT NULL, path TEXT NOT NULL,
                headers TEXT NOT NULL, request_body TEXT NOT NULL,
                status INTEGER NOT NULL, answer_body TEXT NOT NULL,
                authorized INTEGER NOT NULL,
                fault TEXT NOT NULL DEFAULT ''))"_s,
    };
}

/// Points move by entries alone. All amounts are hundredths, of points unless the name says money.
QStringList ledger()
{
    return {
        // "asked" and "names" are what a repeated request is told apart by: the amount it asks for, and the
        // number of the receipt to refuse or to cancel. "root" is the operation that is taken back.
        uR"(CREATE TABLE operations(
                n INTEGER PRIMARY KEY AUTOINCREMENT,
                time TEXT NOT NULL,
                operation TEXT NOT NULL
                    CHECK (operation IN ('opening', 'spending', 'earning', 'refusal', 'cancellation')),
                receipt_number TEXT NOT NULL,
                card TEXT NOT NULL,
                check_identifier TEXT NOT NULL,
                asked INTEGER NOT NULL,
                names TEXT NOT NULL,
                points INTEGER NOT NULL CHECK (points >= 0),
                root INTEGER REFERENCES operations,
                answer TEXT NOT NULL,
                UNIQUE (operation, receipt_number, card)))"_s,
        u"CREATE INDEX operations_by_number ON operations(receipt_number)"_s,
        u"CREATE INDEX operations_by_root ON operations(root)"_s,
        uR"(CREATE TABLE entries(
                n INTEGER PRIMARY KEY,
                operation INTEGER NOT NULL REFERENCES operations,
                account INTEGER NOT NULL REFERENCES accounts,
                amount INTEGER NOT NULL CHECK (amount <> 0),
                balance INTEGER NOT NULL))"_s,
        u"CREATE INDEX entries_by_account ON entries(account, n)"_s,
        u"CREATE INDEX entries_by_operation ON entries(operation)"_s,
        // What each position of an operation's receipt has to do with its points.
        uR"(CREATE TABLE shares(
                operation INTEGER NOT NULL REFERENCES operations,
                position TEXT NOT NULL,
                sum_in_money INTEGER NOT NULL,
                thousandths INTEGER NOT NULL,
                points INTEGER NOT NULL,
                PRIMARY KEY (operation, position)))"_s,
        uR"(CREATE TABLE approvals(
                id INTEGER PRIMARY KEY AUTOINCREMENT,
                time TEXT NOT NULL,
                expires INTEGER NOT NULL, -- milliseconds since 1970
                phone TEXT NOT NULL,
                receipt_number TEXT NOT NULL,
                card TEXT NOT NULL,
                check_identifier TEXT NOT NULL,
                asked INTEGER NOT NULL,
                request TEXT NOT NULL,
                code TEXT NOT NULL,
                attempts_left INTEGER NOT NULL CHECK (attempts_left >= 0),
                state TEXT NOT NULL
                    CHECK (state IN ('waiting', 'confirmed', 'used up', 'late', 'canceled', 'replaced')),
                spending INTEGER REFERENCES operations))"_s,
        uR"(CREATE UNIQUE INDEX one_approval_of_a_key ON approvals(receipt_number, card)
                WHERE state IN ('waiting', 'confirmed'))"_s,
        uR"(CREATE TABLE anonymous(
                n INTEGER PRIMARY KEY AUTOINCREMENT,
                time TEXT NOT NULL,
                method TEXT NOT NULL CHECK (method IN ('POST', 'PUT')),
                receipt_number TEXT NOT NULL,
                amount_in_money INTEGER NOT NULL,
                request TEXT NOT NULL,
                answer TEXT NOT NULL,
                UNIQUE (method, receipt_number)))"_s,
    };
}

/// Each entry carries the balance after it, and nothing that was written is ever changed.
QStringList chain()
{
    QStringList statements = {
        uR"(CREATE TRIGGER entries_follow BEFORE INSERT ON entries
            BEGIN
                SELECT RAISE(ABORT, 'an entry does not follow from the one before it')
                WHERE NEW.balance <> NEW.amount + coalesce(
                    (SELECT balance FROM entries WHERE account = NEW.account ORDER BY n DESC LIMIT 1), 0);
                SELECT RAISE(ABORT, 'an entry comes after its operation was closed')
                WHERE NEW.operation <> (SELECT max(n) FROM operations);
                SELECT RAISE(ABORT, 'a balance would become negative')
                FROM accounts WHERE id = NEW.account AND kind = 'customer' AND NEW.balance < 0;
                SELECT RAISE(ABORT, 'a debt would become a credit')
                FROM accounts WHERE id = NEW.account AND kind = 'debt' AND NEW.balance > 0;
            END)"_s,
    };
    for (const auto& table : {u"entries"_s, u"operations"_s, u"shares"_s, u"anonymous"_s, u"exchanges"_s}) {
        statements.append(u"CREATE TRIGGER %1_stay BEFORE UPDATE ON %1 "
                          "BEGIN SELECT RAISE(ABORT, '%1 are never changed'); END"_s.arg(table));
        statements.append(u"CREATE TRIGGER %1_remain BEFORE DELETE ON %1 "
                          "BEGIN SELECT RAISE(ABORT, '%1 are never removed'); END"_s.arg(table));
    }
    return statements;
}

} // namespace

QStringList schema() { return cardsAndExchanges() + ledger() + chain(); }

} // namespace stand

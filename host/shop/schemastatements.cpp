#include "host/shop/schemastatements.h"

using namespace Qt::StringLiterals;

namespace shop {

namespace {

// A receipt, what was written back of its cards, its journal, and what the queue tells of it, lie in the
// partition of the month in which its sale was closed: so what is older than it is to be kept goes by whole
// partitions, and a sale together with its returns.
//
// A message is sent when nothing of its receipt is before it; there is no mark for that, so nobody has to
// keep one right.
//
// Whoever looks for a receipt asks first in which month it lies: a statement that names no month takes locks
// in the tables of all, and with many tills and months these locks are what everybody waits for.
//
// What two programs make at once, a till and another one that takes its place, or a till that was killed
// between the two stores, is told apart by its identity: a receipt by its identifier, a message by a sum of
// all that it says, an entry of the journal by till, number and time.
const QString firstTables = uR"(
CREATE SCHEMA kyr;

CREATE TABLE kyr.version (number integer NOT NULL);
INSERT INTO kyr.version VALUES (1);

CREATE TABLE kyr.documents (
    month date NOT NULL,
    identifier text NOT NULL,
    till text NOT NULL,
    stored bigint NOT NULL,
    sale text NOT NULL,
    content bytea NOT NULL,
    PRIMARY KEY (month, identifier)
) PARTITION BY RANGE (month);
CREATE INDEX ON kyr.documents (identifier);
CREATE INDEX ON kyr.documents (sale) WHERE sale <> '';
CREATE INDEX ON kyr.documents (till, stored) WHERE sale = '';

CREATE TABLE kyr.card_records (
    month date NOT NULL,
    document text NOT NULL,
    kind integer NOT NULL,
    revision integer NOT NULL,
    content bytea NOT NULL,
    PRIMARY KEY (month, document, kind)
) PARTITION BY RANGE (month);

CREATE SEQUENCE kyr.entries;
CREATE TABLE kyr.journal (
    month date NOT NULL,
    till text NOT NULL,
    id bigint NOT NULL,
    time bigint NOT NULL,
    receipt text NOT NULL,
    event text NOT NULL,
    operation text NOT NULL,
    message bigint NOT NULL,
    code integer NOT NULL,
    detail text NOT NULL,
    milliseconds bigint NOT NULL,
    PRIMARY KEY (month, till, id, time)
) PARTITION BY RANGE (month);
CREATE INDEX ON kyr.journal (receipt);
CREATE INDEX ON kyr.journal (time);

CREATE TABLE kyr.queued (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    identity uuid NOT NULL UNIQUE,
    month date NOT NULL,
    till text NOT NULL,
    queue text NOT NULL,
    receipt text NOT NULL,
    enqueued bigint NOT NULL,
    message bytea NOT NULL,
    text text NOT NULL,
    parked boolean NOT NULL DEFAULT false,
    attempts integer NOT NULL DEFAULT 0,
    error text NOT NULL DEFAULT '',
    due bigint NOT NULL DEFAULT 0
);
CREATE INDEX ON kyr.queued (due, id) WHERE NOT parked;
CREATE INDEX ON kyr.queued (receipt, id) WHERE receipt <> '';
CREATE INDEX ON kyr.queued (month);

CREATE TABLE kyr.history (
    month date NOT NULL,
    id bigint NOT NULL,
    identity uuid NOT NULL,
    till text NOT NULL,
    queue text NOT NULL,
    receipt text NOT NULL,
    enqueued bigint NOT NULL,
    finished bigint NOT NULL,
    text text NOT NULL,
    attempts integer NOT NULL,
    error text NOT NULL,
    outcome text NOT NULL,
    answer integer,
    message bytea,
    PRIMARY KEY (month, id)
) PARTITION BY RANGE (month);
CREATE INDEX ON kyr.history (identity);
CREATE INDEX ON kyr.history (receipt) WHERE receipt <> '';
CREATE INDEX ON kyr.history (finished);

CREATE TABLE kyr.delivery (error text NOT NULL, refused bigint NOT NULL, probes integer NOT NULL, probe bigint NOT NULL);
INSERT INTO kyr.delivery VALUES ('', 0, 0, 0);
)"_s;

// Programs of the first version go on working with these tables: tills are updated one after the other.
const QString secondTables = uR"(
ALTER TABLE kyr.version ADD oldest integer NOT NULL DEFAULT 1;
UPDATE kyr.version SET number = 2;

ALTER TABLE kyr.documents DROP CONSTRAINT documents_pkey, ADD PRIMARY KEY (identifier, month);
DROP INDEX kyr.documents_identifier_idx;
ALTER TABLE kyr.card_records DROP CONSTRAINT card_records_pkey, ADD PRIMARY KEY (document, kind, month);
ALTER TABLE kyr.history DROP CONSTRAINT history_pkey, ADD PRIMARY KEY (id, month);

CREATE TABLE kyr.places (identifier text PRIMARY KEY, month date NOT NULL);
INSERT INTO kyr.places SELECT identifier, month FROM kyr.documents;
)"_s;

} // namespace

QStringList tables() { return {firstTables, secondTables}; }

QString roles()
{
    return uR"(
DO $$
DECLARE
    wanted text;
BEGIN
    FOREACH wanted IN ARRAY ARRAY['kyr_till', 'kyr_deliver', 'kyr_admin'] LOOP
        IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = wanted) THEN
            EXECUTE format('CREATE ROLE %I NOLOGIN', wanted);
        END IF;
    END LOOP;
END $$;
)"_s;
}

QString functions()
{
    return uR"(
-- Whoever puts receipts in or removes them, their places follow.
CREATE OR REPLACE FUNCTION kyr.note_places() RETURNS trigger LANGUAGE plpgsql SECURITY DEFINER SET search_path = kyr, pg_temp AS $$
BEGIN
    INSERT INTO places SELECT identifier, month FROM fresh;
    RETURN NULL;
END $$;
CREATE OR REPLACE TRIGGER note_places AFTER INSERT ON kyr.documents REFERENCING NEW TABLE AS fresh
    FOR EACH STATEMENT EXECUTE FUNCTION kyr.note_places();

CREATE OR REPLACE FUNCTION kyr.forget_places() RETURNS trigger LANGUAGE plpgsql SECURITY DEFINER SET search_path = kyr, pg_temp AS $$
BEGIN
    DELETE FROM places USING gone WHERE places.identifier = gone.identifier;
    RETURN NULL;
END $$;
CREATE OR REPLACE TRIGGER forget_places AFTER DELETE ON kyr.documents REFERENCING OLD TABLE AS gone
    FOR EACH STATEMENT EXECUTE FUNCTION kyr.forget_places();

-- Who makes a partition has to own the table, which a till does not. It is attached when it is made: PARTITION OF
-- would wait for all who read the tables, some of whom wait for the partition.
CREATE OR REPLACE FUNCTION kyr.ensure_month(wanted date) RETURNS void LANGUAGE plpgsql SECURITY DEFINER
SET search_path = kyr, pg_temp AS $$
DECLARE
    part text;
BEGIN
    FOREACH part IN ARRAY ARRAY['history', 'journal', 'card_records', 'documents'] LOOP
        CONTINUE WHEN to_regclass('kyr.' || part || to_char(wanted, '_YYYY_MM')) IS NOT NULL;
        PERFORM pg_advisory_xact_lock(hashtextextended('kyr.months', 0));
        -- Somebody else's, meanwhile; to_regclass() would say what it said before.
        CONTINUE WHEN EXISTS (SELECT FROM pg_catalog.pg_class WHERE relnamespace = 'kyr'::regnamespace
            AND relname = part || to_char(wanted, '_YYYY_MM'));
        EXECUTE format('CREATE TABLE kyr.%I (LIKE kyr.%I INCLUDING ALL)', part || to_char(wanted, '_YYYY_MM'), part);
        EXECUTE format('ALTER TABLE kyr.%I ATTACH PARTITION kyr.%I FOR VALUES FROM (%L) TO (%L)',
            part, part || to_char(wanted, '_YYYY_MM'), wanted, (wanted + interval '1 month')::date);
    END LOOP;
END $$;

-- Whole months, that nothing waits for, and in which nothing is younger. By the clock of the database. 0 days mean
-- for ever. Returns what was removed.
CREATE OR REPLACE FUNCTION kyr.remove_old(receipt_days integer, journal_days integer) RETURNS SETOF text
LANGUAGE plpgsql SECURITY DEFINER SET search_path = kyr, pg_temp AS $$
DECLARE
    part record;
    days integer;
    oldest timestamptz;
    younger boolean;
BEGIN
    FOR part IN SELECT parent.relname AS table_name, child.relname AS name,
            to_date(right(child.relname, 7), 'YYYY_MM') AS month
        FROM pg_inherits JOIN pg_class parent ON parent.oid = inhparent JOIN pg_class child ON child.oid = inhrelid
        WHERE parent.relnamespace = 'kyr'::regnamespace AND parent.relkind = 'p' ORDER BY child.relname LOOP
        days := CASE WHEN part.table_name IN ('documents', 'card_records') THEN receipt_days ELSE journal_days END;
        oldest := now() - days * interval '1 day';
        CONTINUE WHEN days = 0 OR part.month + interval '1 month' > oldest
            OR EXISTS (SELECT FROM queued WHERE queued.month = part.month);
        EXECUTE CASE part.table_name
            WHEN 'journal' THEN format('SELECT EXISTS (SELECT FROM kyr.%I WHERE time >= $1)', part.name)
            WHEN 'history' THEN format('SELECT EXISTS (SELECT FROM kyr.%I WHERE finished >= $1)', part.name)
            -- The cards' go with their receipts.
            ELSE format('SELECT EXISTS (SELECT FROM kyr.documents WHERE month = %L AND stored >= $1)', part.month)
        END INTO younger USING (extract(epoch FROM oldest) * 1000)::bigint;
        CONTINUE WHEN younger;
        EXECUTE format('DROP TABLE kyr.%I', part.name);
        IF part.table_name = 'documents' THEN
            DELETE FROM places WHERE places.month = part.month;
        END IF;
        RETURN NEXT part.name;
    END LOOP;
END $$;

CREATE OR REPLACE FUNCTION kyr.put_message(its_identity uuid, its_month date, its_till text, its_queue text, its_receipt text,
    its_time bigint, its_content bytea, its_text text, is_parked boolean, its_attempts integer, its_error text,
    its_due bigint) RETURNS void LANGUAGE plpgsql SECURITY DEFINER SET search_path = kyr, pg_temp AS $$
DECLARE
    -- What becomes of it lies with the sale that it is about.
    its_place date := coalesce((SELECT month FROM places WHERE identifier = its_receipt), its_month);
    is_new boolean;
BEGIN
    -- It lies where it was put the first time: its sale was there already, or it was not. EXECUTE, for a statement
    -- that is kept would take locks in all months.
    EXECUTE 'SELECT NOT EXISTS (SELECT FROM history WHERE identity = $1 AND month IN ($2, $3))'
        INTO is_new USING its_identity, its_month, its_place;
    IF is_new THEN
        PERFORM ensure_month(its_place);
        INSERT INTO queued (identity, month, till, queue, receipt, enqueued, message, text, parked, attempts, error, due)
        VALUES (its_identity, its_place, its_till, its_queue, its_receipt, its_time, its_content, its_text, is_parked,
            its_attempts, its_error, its_due)
        ON CONFLICT (identity) DO NOTHING;
    END IF;
END $$;
)"_s;
}

// A till reads receipts, which it takes back, but no message: they hold the password. Who forgets a customer
// removes receipts, which nobody else may.
QString rights()
{
    return uR"(
REVOKE ALL ON FUNCTION kyr.ensure_month, kyr.put_message, kyr.remove_old, kyr.note_places, kyr.forget_places FROM PUBLIC;
GRANT USAGE ON SCHEMA kyr TO kyr_till, kyr_deliver;
GRANT SELECT ON kyr.version, kyr.places TO kyr_till, kyr_deliver;
GRANT SELECT, INSERT ON kyr.documents TO kyr_till;
GRANT SELECT, INSERT, UPDATE ON kyr.card_records TO kyr_till;
GRANT SELECT, INSERT ON kyr.journal, kyr.history TO kyr_till;
GRANT USAGE ON kyr.entries TO kyr_till;
GRANT EXECUTE ON FUNCTION kyr.ensure_month, kyr.put_message TO kyr_till;
GRANT SELECT ON kyr.documents, kyr.card_records TO kyr_deliver;
GRANT SELECT, UPDATE, DELETE ON kyr.queued TO kyr_deliver;
GRANT SELECT, INSERT ON kyr.history, kyr.journal TO kyr_deliver;
GRANT SELECT, UPDATE ON kyr.delivery TO kyr_deliver;
GRANT USAGE ON kyr.entries TO kyr_deliver;
GRANT EXECUTE ON FUNCTION kyr.remove_old TO kyr_deliver;
GRANT kyr_deliver TO kyr_admin;
GRANT DELETE ON kyr.documents, kyr.card_records, kyr.journal, kyr.history TO kyr_admin;
)"_s;
}

} // namespace shop

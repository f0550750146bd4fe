#include "tests/pages/stagings.h"
#include "tests/support/rawdatabase.h"

#include <QDateTime>
#include <QFile>

#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <unistd.h>

// The situations of docs/operations.md.

using namespace Qt::StringLiterals;
using namespace story;

namespace pagetest {

namespace {

const QString page = u"docs/operations.md"_s;

const Steps saleBegun = openSale("R-17", {tea(300, 2)}) + identifyByCard("2000000000055");

/// A till that works, at a service that does.
void open(World& world)
{
    world.configureTill();
    world.startStand();
}

/// What the cashier's steps have left in the log.
QString logOf(World& world) { return world.type(u"cat till.log"_s); }

/// While it lives, the till does not deliver: who does is a matter of the moment otherwise.
class OtherDelivery
{
public:
    explicit OtherDelivery(const World& world)
        : m_file(::open(QFile::encodeName(world.data(u"queue.lock"_s)).constData(),
                        O_RDWR | O_CREAT | O_CLOEXEC, 0600))
    {
        if (::flock(m_file, LOCK_EX | LOCK_NB) != 0)
            throw std::runtime_error("the queue is being delivered");
    }
    ~OtherDelivery() { ::close(m_file); }
    Q_DISABLE_COPY_MOVE(OtherDelivery)

private:
    int m_file;
};

void sellAlone(World& world)
{
    const OtherDelivery other(world);
    world.play(saleBegun);
    world.stopStand();
    world.play(pay());
    world.endTill();
}

/// A sale that was closed while the service was away.
QString soldAlone(World& world)
{
    open(world);
    sellAlone(world);
    return {};
}

QString sold(World& world)
{
    open(world);
    world.play(saleBegun + pay());
    world.endTill();
    return {};
}

QString anotherDelivers(World& world)
{
    open(world);
    world.play(saleBegun); // a till that works delivers
    // It stands by until somebody ends it: one line is enough.
    world.prepend(
        u"till() { coproc command till \"$@\" 2>&1; read -r said <&\"${COPROC[0]}\"; echo \"$said\"; "
        "kill \"$COPROC_PID\"; wait; }"_s);
    return {};
}

QString triedTwice(World& world)
{
    soldAlone(world);
    world.type(u"till queue deliver; till queue deliver"_s);
    return {};
}

QString networkIsBack(World& world)
{
    world.startStand();
    return {};
}

QString ledgerIsThere(World& world)
{
    world.call(u"2026-11-21"_s, QDate::currentDate().toString(Qt::ISODate));
    return {};
}

/// The return of a sale that the service has lost.
QString parked(World& world)
{
    sold(world);
    world.stopStand();
    world.startStand();
    world.play(openReturn("R-18", "R-17", {position(1, 2)}) + pay());
    world.endTill();
    world.type(u"till queue deliver"_s);
    return {};
}

/// A return is paid when the service has another password than the till.
QString passwordChanged(World& world)
{
    world.configureTill();
    const QStringList books{u"--data"_s, world.path(u"stand.sqlite"_s)};
    world.startStand(books);
    world.play(saleBegun + pay());
    world.stopStand();
    world.play(openReturn("R-18", "R-17", {position(1, 2)}) + pay());
    world.endTill();
    world.write(u"new"_s, u"another\n"_s);
    world.startStand(books + QStringList{u"--password-file"_s, world.path(u"new"_s)});
    world.type(u"till queue deliver"_s);
    return world.type(u"till doctor"_s);
}

QString passwordIsMended(World& world)
{
    world.write(u"password"_s, u"another\n"_s);
    // No service runs here that would have to read it.
    world.prepend(u"systemctl() { ls '" KYR_SOURCE_DIR "'/packaging/systemd/$2.service.in > said; }"_s);
    return {};
}

/// What waits was put in before the address was changed.
QString serviceMoved(World& world)
{
    open(world);
    const QString former = QString(world.url()).replace(u"127.0.0.1"_s, u"localhost"_s);
    const QString present = u"http://127.0.0.1:1"_s;
    const QString change = u"sed -i 's#%1#%2#' till.toml"_s;
    world.type(change.arg(world.url(), former));
    sellAlone(world);
    world.type(change.arg(former, present));
    world.call(u"https://old.example.com"_s, former);
    world.call(u"https://loyalty.example.com"_s, present);
    return world.type(u"till doctor"_s);
}

/// What that command says when the disk of the data directory is full.
QString saidOnFullDisk(World& world, const QString& command)
{
    const QString alone = u"unshare --mount --map-root-user sh -c "
                          "'mount -t tmpfs -o mode=700,size=64k tmpfs \"$KYR_DATA_DIR\" && { %1; }'"_s;
    if (!world.type(alone.arg(u"echo mounted"_s)).contains(u"mounted"_s))
        throw CannotBeMade("nothing may be mounted here (in a container it takes the capability SYS_ADMIN)");
    return world.type(alone.arg(u"cat /dev/zero > \"$KYR_DATA_DIR/filler\"; "_s + command));
}

QString diskIsFull(World& world)
{
    open(world);
    return saidOnFullDisk(world, u"till doctor"_s);
}

QString toolOnFullDisk(World& world) { return saidOnFullDisk(world, u"till deliver"_s); }

QString damagedStore(World& world)
{
    sold(world);
    world.write(u"data/till.sqlite"_s, QString(8192, u'x'));
    return world.type(u"till doctor"_s);
}

/// A message and an index are damaged in a store; a start has set it aside.
QString damagedMessage(World& world)
{
    world.type(u"rm data/*"_s);
    parked(world);
    test_support::flipABit(world.data(u"till.sqlite"_s), u"queued"_s, u"message"_s, u"1"_s);
    world.type(u"root=$(sqlite3 data/till.sqlite \"SELECT rootpage FROM sqlite_schema WHERE name = "
               u"'journal_receipt'\")\n"
               "head -c 4096 /dev/zero | tr '\\0' x | dd of=data/till.sqlite bs=4096 seek=$((root - 1)) "
               "conv=notrunc\n"
               "echo quit | till shell"_s);
    const QString aside = world.type(u"ls data/till.sqlite.damaged-*Z"_s).trimmed();
    world.call(u"20261121T054352Z"_s, aside.section(u'-', -1));
    return {};
}

QString damagedReceipt(World& world)
{
    world.type(u"rm data/*"_s);
    sold(world);
    test_support::flipABit(world.data(u"till.sqlite"_s), u"documents"_s, u"content"_s,
                           u"identifier = 'R-17'"_s);
    return world.type(u"till doctor"_s);
}

QString storeRemoved(World& world)
{
    open(world);
    world.play(saleBegun);
    world.type(u"mv data/till.sqlite elsewhere"_s);
    world.play(getCardInfo());
    return logOf(world);
}

QString clockAhead(World& world)
{
    world.configureTill();
    world.startStand({u"--clock"_s, QDateTime::currentDateTimeUtc().addSecs(-600).toString(Qt::ISODate)});
    return world.type(u"till doctor"_s);
}

QString shareOfAStranger(World& world)
{
    open(world);
    world.tellStand(u"faults"_s,
                    uR"(["force-payment-c2b:type:field=data.newRecipientDetails.*.position,as=missing"])"_s);
    world.play(openSale("R-1", {tea(300, 2)}) + identifyByCard("2000000000055"));
    world.play(spendPoints(40));
    return logOf(world);
}

/// A till that is sold with after its backup.
QString soldSince(World& world)
{
    world.play(openSale("R-18", {tea(300)}) + pay());
    world.endTill();
    return {};
}

QString newMachine(World& world)
{
    world.type(u"rm -r data"_s);
    return {};
}

QString outcomeUnknown(World& world)
{
    world.endTill();
    return world.type(u"till receipts show R-1"_s);
}

/// All of it is at the service.
QString soldToACustomer(World& world)
{
    sold(world);
    world.type(u"till queue deliver"_s);
    return ledgerIsThere(world);
}

} // namespace

QList<Section> operationsSections()
{
    return {
        {page, u"Operations"_s, {soldAlone}},
        {page, u"The delivery service"_s, {anotherDelivers}},
        {page, u"The network is down for a day"_s, {triedTwice, networkIsBack, asItIs, ledgerIsThere}},
        {page, u"A message is parked"_s, {parked, asItIs}},
        {page, u"The password changed"_s, {passwordChanged, passwordIsMended}},
        {page, u"The service moved"_s, {serviceMoved, asItIs}},
        {page, u"The disk is full"_s, {diskIsFull, toolOnFullDisk}},
        {page, u"A damaged file"_s, {damagedStore, damagedMessage, damagedReceipt}},
        {page, u"A file was removed or replaced"_s, {storeRemoved}},
        {page, u"The clock is wrong"_s, {clockAhead}},
        {page, u"Backups"_s, {soldAlone, soldSince}},
        {page, u"A till is replaced"_s, {soldAlone, newMachine}},
        {page, u"The outcome of a spending is unknown"_s, {shareOfAStranger, outcomeUnknown}},
        {page, u"A customer asks to be forgotten"_s, {soldToACustomer}},
    };
}

} // namespace pagetest

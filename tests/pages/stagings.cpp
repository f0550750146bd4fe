#include "tests/pages/stagings.h"

#include <gmock/gmock.h>

// The situations of all pages but docs/operations.md.

using namespace Qt::StringLiterals;
using namespace story;
using testing::HasSubstr;

namespace pagetest {

namespace {

/// Ends the window as somebody at the screen does, as soon as it has started its stand.
const QString closeWindow =
    u"closed() { \"$@\" & local window=$! status\n"
    "  until [ -n \"$(cat /proc/$window/task/$window/children)\" ]; do\n"
    "    kill -0 $window || break; sleep 0.05; done\n"
    "  kill $window; wait $window; status=$?; [ $status = 143 ] || return $status; }\n"_s;

/// The service that its page tells of, without the bar that curl draws where there is no terminal.
QString stand(World& world)
{
    world.startStand();
    world.prepend(u"curl() { command curl --silent --show-error --write-out '\\n' \"$@\"; }"_s);
    return {};
}

/// A copy of this repository as `run` meets it, with the programs built already, and two scenarios instead of
/// all.
QString clone(World& world)
{
    world.type(u"mkdir -p .ci build/release/bin scenarios && cp '" KYR_SOURCE_DIR "/run' . && "
               "cp '" KYR_SOURCE_DIR "'/scenarios/0[12]-*.json scenarios && "
               "for step in install build; do ln -s /bin/true .ci/$step; done"_s);
    world.write(u"build/release/bin/till"_s,
                u"#!/bin/bash\n"_s + closeWindow +
                    u"if [ \"$1\" = window ]; then closed till \"$@\"; else exec till \"$@\"; fi\n"_s);
    world.type(u"chmod +x build/release/bin/till"_s);
    return {};
}

/// Goods whose price somebody divided, offered to the window.
QString wrongPrice(World& world)
{
    world.write(u"goods.csv"_s,
                u"article,barcodes,name,price,unit,button\n1,,Чай,100,,\n2,,Мёд,33.333,,\n"_s);
    return world.type(u"till window --goods goods.csv"_s);
}

QString translator(World& world)
{
    world.type(u"mkdir -p translations && cp '" KYR_SOURCE_DIR "/translations/kyr_en.ts' translations"_s);
    world.prepend(closeWindow +
                  u"linguist() { test -e \"$1\"; }\ntill() { closed \"$(type -P till)\" \"$@\"; }\n"
                  "PATH=$PATH:/usr/lib/qt6/bin"_s);
    return {};
}

QString passwordFile(World& world)
{
    world.prepend(u"install() { command install \"${@:3}\"; } # needs root, and that user\n"
                  "editor() { echo secret-of-the-shop > \"$1\"; }"_s);
    return {};
}

QString exposedPassword(World& world)
{
    world.configureTill();
    return world.type(u"chmod 644 password && till queue list"_s);
}

/// A closed sale, and a message that waits.
void sellAlone(World& world)
{
    world.configureTill();
    world.startStand();
    world.play(openSale("R-1", {tea(300)}) + identifyByCard("2000000000055"));
    world.stopStand();
    world.play(pay());
}

QString copied(World& world)
{
    sellAlone(world);
    world.endTill();
    world.type(u"cp data/till.sqlite copy.sqlite"_s);
    return {};
}

/// A store whose journal is damaged lies aside, and a start has made another.
QString setAside(World& world)
{
    world.prepend(u"cd data"_s);
    world.type(
        u"root=$(sqlite3 till.sqlite \"SELECT rootpage FROM sqlite_schema WHERE name = 'journal'\")\n"
        "head -c 4096 /dev/zero | tr '\\0' x | dd of=till.sqlite bs=4096 seek=$((root - 1)) conv=notrunc\n"
        "mv till.sqlite till.sqlite.damaged-TIME && install -m 600 /dev/null till.sqlite.damaged-TIME-wal\n"
        "echo quit | till shell"_s);
    return {};
}

void expectRescued(World& world)
{
    EXPECT_THAT(world.type(u"till queue list"_s).toStdString(), HasSubstr("\n1 waiting, 0 parked\n"));
    EXPECT_THAT(world.type(u"till receipts show R-1"_s).toStdString(), HasSubstr("sale R-1, closed\n"));
}

/// A till that works, whose newest commits are in the log.
QString inUse(World& world)
{
    sellAlone(world);
    world.prepend(u"cd data"_s);
    return {};
}

void expectBackup(World& world)
{
    const QString seen = world.type(u"mkdir ../other && mv backup.sqlite ../other/till.sqlite && "
                                    "chmod 700 ../other && till queue list --data-dir ../other"_s);
    EXPECT_THAT(seen.toStdString(), HasSubstr("\n1 waiting, 0 parked\n"));
}

/// Waits for the service: it is started in the same block, and who types is not as fast as a script.
const QString patientTill = u"till() { local url=http://127.0.0.1:8080\n"
                            "  [[ \"$*\" != *--server-url* ]] || url=http://127.0.0.1:8081\n"
                            "  until curl --silent -o /dev/null $url; do sleep 0.05; done\n"
                            "  command till \"$@\"; }"_s;

QString patient(World& world)
{
    world.prepend(patientTill);
    return {};
}

/// A till with a day to play, and a stand to record.
QString recorded(World& world)
{
    world.configureTill();
    world.startStand();
    world.write(u"day.json"_s, QString::fromUtf8(scenario(openSale("R-1", {tea(300)}) +
                                                          identifyByCard("2000000000055") + pay())));
    world.prepend(patientTill + u"\nunset KYR_CONFIG KYR_DATA_DIR"_s); // a data directory of the moment
    return {};
}

} // namespace

QString asItIs(World& /*world*/) { return {}; }

QList<Section> otherSections()
{
    const QString service = u"docs/service.md"_s;
    const QString configuration = u"docs/configuration.md"_s;
    return {
        {u"README.md"_s, u"Try it"_s, {clone, asItIs}},
        {service, u"Your till in five minutes"_s, {stand, asItIs}},
        {service, u"Ask it"_s, {stand}},
        {service, u"Let it go wrong"_s, {stand}},
        {service, u"Let time pass"_s, {stand}},
        {service, u"The contract as OpenAPI"_s, {stand}},
        {configuration, u"What is sold"_s, {wrongPrice}},
        {configuration, u"Languages"_s, {translator}},
        {configuration, u"The password"_s, {passwordFile, exposedPassword}},
        {u"docs/storage.md"_s, u"Looking inside, rescuing"_s, {copied, setAside}, expectRescued},
        {u"docs/storage.md"_s, u"Backup"_s, {inUse}, expectBackup},
        {u"docs/conformance.md"_s, u"Does the service keep its promises?"_s, {patient}},
        {u"docs/conformance.md"_s, u"Keep what happened, and play it back"_s, {recorded}},
    };
}

QList<Section> sections() { return operationsSections() + shopSections() + otherSections(); }

} // namespace pagetest

#include "resource_figures.h"

#include <QtTest>

#include "performance_fixture.h"
#include "resource_history.h"

namespace {

constexpr qint64 kMegabyte = 1 << 20;

const QDateTime& noon() {
    static const QDateTime time = NoonClock().now();
    return time;
}

/// The only sample of a slot; fails the test when there are others.
double onlySample(int slot) {
    const auto samples = ResourceHistory::instance().samples(slot);
    return samples.size() == 1 && samples.first().time == noon() ? samples.first().value : -1;
}

SysAndProcRCInfo usage() {
    SysAndProcRCInfo info;
    info.sysCpuUsage = 50;
    info.procCpuUsage = 12.5;
    info.sysMemUsage = 3000;
    info.procMemUsage = 150;
    info.remainMem = 5000;
    return info;
}

}  // namespace

class ResourceFiguresTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_world = std::make_unique<ClientWorld>(); }
    void cleanup() { m_world.reset(); }

    void usage_onTheBoard_isInPercentAndMegabytes() {
        publishUsage(usage(), noon());
        QCOMPARE(onBoard(ClientPerformItem::TotalCpuUsage), QVariant(50.0));
        QCOMPARE(onBoard(ClientPerformItem::ClientCpuUsage), QVariant(12.5));
        QCOMPARE(onBoard(ClientPerformItem::TotalMemUsage), QVariant(3000.0));
        QCOMPARE(onBoard(ClientPerformItem::ClientMemUsage), QVariant(150.0));
        QCOMPARE(onBoard(ClientPerformItem::RemainMem), QVariant(5000.0));
    }

    void usage_atTheMonitor_hasProcessorsAsParts_data() {
        QTest::addColumn<int>("slot");
        QTest::addColumn<double>("expected");
        QTest::newRow("processors") << 2 << 0.5;
        QTest::newRow("processors of the client") << 3 << 0.125;
        QTest::newRow("memory left") << 4 << 5000.0;
        QTest::newRow("memory of the client") << 5 << 150.0;
    }
    void usage_atTheMonitor_hasProcessorsAsParts() {
        QFETCH(int, slot);
        QFETCH(double, expected);
        publishUsage(usage(), noon());
        QCOMPARE(ResourceHistory::instance().current(slot), QVariant(expected));
        QCOMPARE(onlySample(slot), expected);
    }

    void usage_ofTheWholeMemory_isNotAtTheMonitor() {
        publishUsage(usage(), noon());
        for (int slot = 0; slot < ResourceHistory::slotCount; ++slot) {
            QVERIFY(ResourceHistory::instance().current(slot) != QVariant(3000.0));
        }
    }

    void freeDisk_isOnTheBoardAndAtTheMonitor_data() {
        QTest::addColumn<double>("gigabytes");
        QTest::newRow("some") << 12.25;
        QTest::newRow("none") << 0.0;
    }
    void freeDisk_isOnTheBoardAndAtTheMonitor() {
        QFETCH(double, gigabytes);
        publishFreeDisk(gigabytes, noon());
        QCOMPARE(onBoard(ClientPerformItem::RemainDisk), QVariant(gigabytes));
        QCOMPARE(ResourceHistory::instance().current(6), QVariant(gigabytes));
        QCOMPARE(onlySample(6), gigabytes);
    }

    void freeDisk_unknown_leavesTheValueBefore() {
        publishFreeDisk(12.25, noon());
        publishFreeDisk(-1, noon());
        QCOMPARE(onBoard(ClientPerformItem::RemainDisk), QVariant(12.25));
        QCOMPARE(onlySample(6), 12.25);
    }

    void monitor_getsTheCurrentValueAndASample() {
        publishToMonitor(MonitorSlot::tradeDelay, 20, noon());
        publishToMonitor(MonitorSlot::tradeDelay, 30, noon());
        QCOMPARE(ResourceHistory::instance().current(7), QVariant(30.0));
        QCOMPARE(ResourceHistory::instance().samples(7).size(), 2);
    }

    void gigabytes_areThoseOfWholeMegabytes_data() {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<double>("expected");
        QTest::newRow("nothing") << qint64(0) << 0.0;
        QTest::newRow("below a megabyte") << kMegabyte - 1 << 0.0;
        QTest::newRow("a megabyte") << kMegabyte << 0.0009765625;
        QTest::newRow("below two megabytes") << 2 * kMegabyte - 1 << 0.0009765625;
        QTest::newRow("a gigabyte") << 1024 * kMegabyte << 1.0;
    }
    void gigabytes_areThoseOfWholeMegabytes() {
        QFETCH(qint64, bytes);
        QFETCH(double, expected);
        QCOMPARE(gigabytesOf(bytes), expected);
    }

private:
    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(ResourceFiguresTest)
#include "resource_figures_test.moc"

#include "page_walk.h"

#include <QtTest>

#include "report_fixture.h"
#include "vocabulary/fields.h"

namespace {

using End = PageWalk::End;

inline const QString kType = QStringLiteral("someListRequest");
constexpr int kPageSize = 10;

/// Keeps the reason of a walk that got nowhere.
class StuckLog : public WalkLog {
public:
    void timedOut() override {}
    void failed(int, const QString&) override {}
    void limitReached() override {}
    void stuck(const QString& why) override { reason = why; }

    QString reason;
};

/// A full page that differs from the others, for a request by number and by position.
ScriptedReply::Function fullPages(const QVariant& total = {}) {
    return [total](const QVariant& body) {
        const QVariantMap request = headerOf(body);
        const int page = request.contains(System::pageNo)
                             ? request.value(System::pageNo).toInt()
                             : request.value(System::positionStr).toInt() + 1;
        QList<QVariantMap> rows;
        for (int i = 0; i < kPageSize; ++i) {
            rows.append({{"n", page * kPageSize + i}});
        }
        QVariantMap header{{System::positionStr, QString::number(page)}};
        if (total.isValid()) {
            header.insert(System::totalSize, total);
        }
        return makeAnswer(body, rows, header);
    };
}

WalkRule ruleOf(PageField field, ListEnd end) {
    WalkRule rule;
    rule.field = field;
    rule.end = end;
    return rule;
}

}  // namespace

class PageWalkTest : public QObject {
    Q_OBJECT

private slots:
    void listWithoutATotal_doesNotEnd_isStuckAtTheBound_data() {
        QTest::addColumn<int>("field");
        QTest::addColumn<int>("end");
        QTest::newRow("by number") << int(PageField::Number) << int(ListEnd::AtShortPage);
        QTest::newRow("by position") << int(PageField::Position) << int(ListEnd::AtShortPage);
        QTest::newRow("without a field") << int(PageField::None) << int(ListEnd::Never);
    }
    void listWithoutATotal_doesNotEnd_isStuckAtTheBound() {
        QFETCH(int, field);
        QFETCH(int, end);
        ReportWorld world;
        world.link().on(kType, fullPages());
        const WalkRule rule = ruleOf(PageField(field), ListEnd(end));
        const auto walkWith = [&](qint64 mostPages, qint64 mostRows) {
            world.link().clearRequests();
            PageWalk walk(rule, {kType, {}}, kPageSize);
            walk.mostPages = mostPages;
            walk.mostRows = mostRows;
            StuckLog log;
            int pages = 0;
            const End reached = walk.run(world.presenter(), log, [&](qint64, const ServerReply&) {
                ++pages;
                return true;
            });
            return reached == End::Stuck && pages == world.link().requestCount()
                       ? log.reason
                       : QString("goes on");
        };
        QCOMPARE(walkWith(7, 1000), QString("7 pages with 70 rows have no end"));
        QCOMPARE(walkWith(1000, 45), QString("5 pages with 50 rows have no end"));
    }

    void listWithoutAnEnd_isStuckAtTheBound_whateverItsTotal_data() {
        QTest::addColumn<QVariant>("total");
        QTest::newRow("none") << QVariant();
        QTest::newRow("0") << QVariant(0);
        QTest::newRow("large") << QVariant(1000000);
    }
    void listWithoutAnEnd_isStuckAtTheBound_whateverItsTotal() {
        QFETCH(QVariant, total);
        ReportWorld world;
        world.link().on(kType, [total](const QVariant& body) {
            QVariantMap header;
            if (total.isValid()) {
                header.insert(System::totalSize, total);
            }
            return makeAnswer(body, {}, header);
        });
        PageWalk walk(ruleOf(PageField::None, ListEnd::Never), {kType, {}}, kPageSize);
        walk.mostPages = 7;
        StuckLog log;
        const End reached = walk.run(world.presenter(), log, [](qint64 page, const ServerReply&) {
            return page < 1000;  // the test itself must end
        });
        QVERIFY(reached == End::Stuck);
        QCOMPARE(world.link().requestCount(), 7);
        QCOMPARE(log.reason, QString("7 pages with 0 rows have no end"));
    }

    void listWithATotal_isNotBounded() {
        ReportWorld world;
        world.link().on(kType, fullPages(500));
        PageWalk walk(ruleOf(PageField::Position, ListEnd::AtShortPage), {kType, {}}, kPageSize);
        walk.mostPages = 7;
        StuckLog log;
        // The server sends more than its total, from where on the bound holds.
        const End reached =
            walk.run(world.presenter(), log, [](qint64, const ServerReply&) { return true; });
        QVERIFY(reached == End::Stuck);
        QCOMPARE(world.link().requestCount(), 51);
        QCOMPARE(log.reason, QString("51 pages with 510 rows have no end"));
    }

    void bounds_ofEveryWalk() {
        const PageWalk walk({}, {kType, {}}, kPageSize);
        QCOMPARE(walk.mostPages, qint64(100000));
        QCOMPARE(walk.mostRows, qint64(10000000));
    }
};

QTEST_GUILESS_MAIN(PageWalkTest)
#include "page_walk_test.moc"

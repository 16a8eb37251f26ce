#include "page_blocks.h"

#include <rapidcheck.h>

#include <QtTest>

namespace {

using Blocks = QList<QPair<qint64, qint64>>;

}  // namespace

Q_DECLARE_METATYPE(Blocks)

class PageBlocksTest : public QObject {
    Q_OBJECT

private slots:
    void blocks_pagesAndThreads_areCutEvenly_data() {
        QTest::addColumn<qint64>("pages");
        QTest::addColumn<int>("threads");
        QTest::addColumn<Blocks>("blocks");
        QTest::newRow("5 on 4") << 5LL << 4 << Blocks{{1, 2}, {3, 3}, {4, 4}, {5, 5}};
        QTest::newRow("2 on 8") << 2LL << 8 << Blocks{{1, 1}, {2, 2}};
        QTest::newRow("8 on 2") << 8LL << 2 << Blocks{{1, 4}, {5, 8}};
        QTest::newRow("7 on 3") << 7LL << 3 << Blocks{{1, 3}, {4, 5}, {6, 7}};
        QTest::newRow("one thread") << 9LL << 1 << Blocks{{1, 9}};
        QTest::newRow("a million pages")
            << 1000000LL << 2 << Blocks{{1, 500000}, {500001, 1000000}};
        QTest::newRow("no pages") << 0LL << 4 << Blocks{};
        QTest::newRow("negative pages") << -3LL << 4 << Blocks{};
        QTest::newRow("no threads") << 3LL << 0 << Blocks{};
    }
    void blocks_pagesAndThreads_areCutEvenly() {
        QFETCH(qint64, pages);
        QFETCH(int, threads);
        QFETCH(Blocks, blocks);
        QCOMPARE(pageBlocks(pages, threads), blocks);
    }

    void blocks_anySize_coverEachPageOnceLongerOnesFirst() {
        const bool holds = rc::check("blocks cover the pages", [] {
            const qint64 pages = *rc::gen::inRange<qint64>(1, 5000);
            const int threads = *rc::gen::inRange(1, 130);
            const Blocks blocks = pageBlocks(pages, threads);
            RC_ASSERT(blocks.size() == qMin<qint64>(pages, threads));
            RC_ASSERT(blocks.first().first == 1);
            RC_ASSERT(blocks.last().second == pages);
            for (int i = 1; i < blocks.size(); ++i) {
                RC_ASSERT(blocks.at(i).first == blocks.at(i - 1).second + 1);
                const qint64 before = blocks.at(i - 1).second - blocks.at(i - 1).first;
                const qint64 length = blocks.at(i).second - blocks.at(i).first;
                RC_ASSERT(before == length || before == length + 1);
            }
            const auto lengthOf = [](const QPair<qint64, qint64>& block) {
                return block.second - block.first;
            };
            RC_ASSERT(lengthOf(blocks.first()) - lengthOf(blocks.last()) <= 1);
        });
        QVERIFY(holds);
    }
};

QTEST_GUILESS_MAIN(PageBlocksTest)
#include "page_blocks_test.moc"

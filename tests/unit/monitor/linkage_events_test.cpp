#include <QMap>
#include <QSet>
#include <QtTest>
#include <future>
#include <thread>
#include <vector>

#include "linkage_events.h"
#include "log_capture.h"

namespace {

QString typeOf(int number) {
    return QStringLiteral("type%1").arg(number);
}

/// Runs a function with the numbers 0 to count - 1, each on a thread of its own, all at the same
/// moment, and waits for the end of all.
template <class Function>
void onThreads(int count, Function function) {
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([=] {
            started.wait();
            function(i);
        });
    }
    start.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

class LinkageEventsTest : public QObject {
    Q_OBJECT

private slots:
    void id_types_countFromTheFirstIdInTheOrderOfUse() {
        LinkageEvents events;
        QCOMPARE(events.GetLinkageEventID("one"), 136449);
        QCOMPARE(events.GetLinkageEventID("two"), 136450);
        QCOMPARE(events.GetLinkageEventID("one"), 136449);
        QCOMPARE(events.GetLinkageEventID("three"), 136451);
        QCOMPARE(events.GetLinkageEventID("two"), 136450);
    }

    void id_emptyTextAndOtherCase_areTypesLikeAnyOther() {
        LinkageEvents events;
        QCOMPARE(events.GetLinkageEventID(""), 136449);
        QCOMPARE(events.GetLinkageEventID("One"), 136450);
        QCOMPARE(events.GetLinkageEventID("one"), 136451);
        QCOMPARE(events.GetLinkageEventID(QString()), 136449);
    }

    void id_newType_isLoggedOnce() {
        const LogCapture log;
        LinkageEvents events;
        events.GetLinkageEventID("one");
        events.GetLinkageEventID("one");
        const QString line =
            "ZnBusinessDataManager::GetLinkageEventID  new linkage type generated, msg type: "
            "\"one\" , id: 136449";
        QCOMPARE(log.texts(QtInfoMsg), QStringList{line});
    }

    void id_firstCallersOfAType_getTheSame() {
        constexpr int kThreads = 4;
        constexpr int kTypes = 20000;
        QStringList types;
        for (int i = 0; i < kTypes; ++i) {
            types.append(typeOf(i));
        }
        const LogCapture log;  // keeps the lines out of the output
        LinkageEvents events;
        std::vector<std::vector<int>> ids(kThreads);
        // A known type costs less than a new one, so those behind catch up with the first thread,
        // and from then on all of them are at the same new type again and again.
        onThreads(kThreads, [&events, &ids, &types](int thread) {
            for (const QString& type : types) {
                ids[thread].push_back(events.GetLinkageEventID(type));
            }
        });
        for (int i = 0; i < kTypes; ++i) {
            for (const std::vector<int>& own : ids) {
                QCOMPARE(own[i], 136449 + i);
            }
        }
    }

    void id_manyThreadsAndTypes_isOnePerTypeAndNeverGivenTwice() {
        constexpr int kThreads = 8;
        constexpr int kTypes = 300;
        LinkageEvents events;
        std::vector<QMap<QString, int>> seen(kThreads);
        onThreads(kThreads, [&events, &seen](int thread) {
            for (int i = 0; i < kTypes; ++i) {
                // Each thread begins elsewhere, so that all add types at the same time.
                const QString type = typeOf((i + thread * kTypes / kThreads) % kTypes);
                seen[thread].insert(type, events.GetLinkageEventID(type));
            }
        });
        QSet<int> given;
        const QMap<QString, int> first = seen.front();
        for (const int id : first) {
            QVERIFY(id >= 136449 && id < 136449 + kTypes);
            given.insert(id);
        }
        QCOMPARE(given.size(), kTypes);
        for (const QMap<QString, int>& ids : seen) {
            QCOMPARE(ids, first);
        }
        for (auto it = first.cbegin(); it != first.cend(); ++it) {
            QCOMPARE(events.GetLinkageEventID(it.key()), it.value());
        }
    }
};

QTEST_APPLESS_MAIN(LinkageEventsTest)
#include "linkage_events_test.moc"

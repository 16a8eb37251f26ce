#include <sys/syscall.h>
#include <unistd.h>

#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "menu_fixture.h"
#include "thread_state.h"
#include "wait_for.h"

namespace {

int ownThreadId() {
    return static_cast<int>(::syscall(SYS_gettid));
}

/// Calls a function on a thread of its own.
class Caller {
public:
    template <class Function>
    explicit Caller(Function function)
        : m_thread([this, function] {
              m_id = ownThreadId();
              function();
              m_isDone = true;
          }) {}
    ~Caller() { m_thread.join(); }
    Q_DISABLE_COPY(Caller)

    bool isDone() const { return m_isDone; }
    bool waitUntilAsleep() const {
        return waitFor([this] { return m_id != 0 && isThreadAsleep(m_id); });
    }

private:
    std::atomic<int> m_id{0};
    std::atomic<bool> m_isDone{false};
    std::thread m_thread;
};

}  // namespace

class MenuThreadsTest : public QObject {
    Q_OBJECT

private slots:
    void twoFetches_runOneAfterTheOther() {
        MenuFixture f;
        f.world.link().on(
            kMenus, ScriptedReply::rows({menuRow("M", "菜单", pluginText("I", "P", "M"))}).held());
        {
            const Caller first([&f] { f.menus.initMenuPluginInfo(f.presenter); });
            const Caller second([&f] { f.menus.initMenuPluginInfo(f.presenter); });
            QVERIFY(f.world.link().waitForRequestCount(kMenus, 1));
            QVERIFY(first.waitUntilAsleep());
            QVERIFY(second.waitUntilAsleep());
            QCOMPARE(f.menuRequests(), 1);
            QCOMPARE(f.world.link().release(), 1);
            QVERIFY(f.world.link().waitForRequestCount(kMenus, 2));
            QCOMPARE(f.world.link().release(), 1);
            QVERIFY(waitFor([&] { return first.isDone() && second.isDone(); }));
        }
        // The second one has rewritten the same keys.
        QCOMPARE(f.menus.userMenus(), (QMap<QString, QString>{{"M", "菜单"}}));
        QCOMPARE(f.menus.GetMenuInfoListByPluginID(f.presenter, "P").size(), 1);
        QCOMPARE(f.menuRequests(), 2);
    }

    void readerDuringARequest_waitsForItsAnswer() {
        MenuFixture f;
        f.world.link().on(kMenus, ScriptedReply::rows({menuRow("M", "菜单")}).held());
        std::atomic<int> found{0};
        {
            const auto read = [&f, &found] {
                found += f.menus.IsUserHasMenuId(f.presenter, "M") ? 1 : 0;
            };
            const Caller first(read);
            QVERIFY(f.world.link().waitForRequestCount(kMenus, 1));
            const Caller second(read);
            QVERIFY(second.waitUntilAsleep());
            QVERIFY(!second.isDone());
            QCOMPARE(f.world.link().release(), 1);
            QVERIFY(waitFor([&] { return first.isDone() && second.isDone(); }));
        }
        QCOMPARE(found, 2);
        QCOMPARE(f.menuRequests(), 1);
    }

    void secondReader_afterAFailedFetch_fetchesAgain() {
        MenuFixture f;
        f.world.link().on(kMenus, ScriptedReply::rows({menuRow("M", "菜单")}).held());
        f.world.link().onOccurrence(kMenus, 1, ScriptedReply::refusal("忙").held());
        std::atomic<bool> firstHas{true};
        std::atomic<bool> secondHas{false};
        {
            const Caller first([&] { firstHas = f.menus.IsUserHasMenuId(f.presenter, "other"); });
            QVERIFY(f.world.link().waitForRequestCount(kMenus, 1));
            const Caller second([&] { secondHas = f.menus.IsUserHasMenuId(f.presenter, "M"); });
            QVERIFY(second.waitUntilAsleep());
            QCOMPARE(f.world.link().release(), 1);
            QVERIFY(f.world.link().waitForRequestCount(kMenus, 2));
            QCOMPARE(f.world.link().release(), 1);
            QVERIFY(waitFor([&] { return first.isDone() && second.isDone(); }));
        }
        QVERIFY(!firstHas);
        QVERIFY(secondHas);
        QCOMPARE(f.menuRequests(), 2);
    }

    void manyReaders_allFindTheSame() {
        MenuFixture f;
        f.answerMenus({menuRow("M", "菜单", pluginText("I", "P", "M"))});
        f.world.link().on(kNames, ScriptedReply::rows({menuRow("M", "菜单")}));
        std::atomic<int> wrong{0};
        std::vector<std::thread> threads;
        threads.reserve(8);
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&f, &wrong] {
                for (int n = 0; n < 50; ++n) {
                    const bool isRight =
                        f.menus.IsUserHasMenuId(f.presenter, "M") &&
                        f.menus.GetMenuIDByPluginID(f.presenter, "P") == QLatin1String("M") &&
                        f.menus.GetMenuInfoListByPluginID(f.presenter, "P").size() == 1 &&
                        f.menus.GetMenuNameByMenuId(f.presenter, "M") == QStringLiteral("菜单") &&
                        f.menus.userMenus().size() == 1;
                    wrong += isRight ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(wrong, 0);
    }
};

QTEST_GUILESS_MAIN(MenuThreadsTest)
#include "menu_threads_test.moc"

#include "responsible_presenter.h"

#include <QtTest>
#include <memory>

#include "client_world.h"
#include "held_close.h"

namespace {

/// A presenter that takes part from add() until it is deleted.
class Candidate : public RecordingPresenter {
public:
    explicit Candidate(const QString& name) : RecordingPresenter(name) { initPresenter(); }
    ~Candidate() override { ResponsiblePresenter::remove(this); }
};

Candidate* connectedPresenter(const QString& name) {
    auto* const made = new Candidate(name);
    ResponsiblePresenter::add(made);
    return made;
}

}  // namespace

class ResponsiblePresenterTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_world = std::make_unique<ClientWorld>(); }
    void cleanup() { m_world.reset(); }

    void nobodyConnected_nobodyIsOpen() {
        QVERIFY(!ResponsiblePresenter::isOpen());
        auto* const made = new Candidate("Test.A");
        QVERIFY(!ResponsiblePresenter::isOpen());
        QVERIFY(!ResponsiblePresenter::is(made));
        ResponsiblePresenter::add(made);
        QVERIFY(ResponsiblePresenter::isOpen());
        QVERIFY(ResponsiblePresenter::is(made));
        made->deleteLater();
        QVERIFY(!ResponsiblePresenter::isOpen());
    }

    void threeConnected_theFirstKeepsTheRoleUntilItIsDeleted() {
        Candidate* const first = connectedPresenter("Test.A");
        Candidate* const second = connectedPresenter("Test.B");
        Candidate* const third = connectedPresenter("Test.C");
        QVERIFY(ResponsiblePresenter::is(first));
        QVERIFY(!ResponsiblePresenter::is(second));
        QVERIFY(!ResponsiblePresenter::is(third));
        second->deleteLater();
        QVERIFY(ResponsiblePresenter::is(first));
        first->deleteLater();
        QVERIFY(ResponsiblePresenter::is(third));
        third->deleteLater();
    }

    void firstConstructedAndNotConnected_doesNotHaveTheRole() {
        auto* const made = new Candidate("Test.A");
        Candidate* const connected = connectedPresenter("Test.B");
        QVERIFY(!ResponsiblePresenter::is(made));
        QVERIFY(ResponsiblePresenter::is(connected));
        ResponsiblePresenter::add(made);
        QVERIFY(ResponsiblePresenter::is(connected));
        made->deleteLater();
        connected->deleteLater();
    }

    void addedTwice_isGoneWhenItIsDeleted() {
        Candidate* const first = connectedPresenter("Test.A");
        ResponsiblePresenter::add(first);
        first->deleteLater();
        QVERIFY(!ResponsiblePresenter::isOpen());
    }

    void closing_passesTheRoleToTheNextOpenOne() {
        Candidate* const first = connectedPresenter("Test.A");
        Candidate* const second = connectedPresenter("Test.B");
        {
            const HeldClose close(first);
            QVERIFY(close.isClosing());
            QVERIFY(!ResponsiblePresenter::is(first));
            QVERIFY(ResponsiblePresenter::is(second));
            QVERIFY(ResponsiblePresenter::isOpen());
        }
        QVERIFY(ResponsiblePresenter::is(second));
        second->deleteLater();
    }

    void allClosing_theFirstHasTheRoleAndNobodyIsOpen() {
        Candidate* const first = connectedPresenter("Test.A");
        Candidate* const second = connectedPresenter("Test.B");
        const HeldClose closeSecond(second);
        const HeldClose closeFirst(first);
        QVERIFY(closeFirst.isClosing() && closeSecond.isClosing());
        QVERIFY(ResponsiblePresenter::is(first));
        QVERIFY(!ResponsiblePresenter::is(second));
        QVERIFY(!ResponsiblePresenter::isOpen());
    }

private:
    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(ResponsiblePresenterTest)
#include "responsible_presenter_test.moc"

#include <QtTest>
#include <memory>

#include "log_capture.h"
#include "platform_fixture.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"

namespace {

void putEmpty(ZnPresenterClass* source) {
    VelmarUtils::PutBusiMsg(source, "", "", "", "", "", "", "");
}

void putText() {
    VelmarUtils::PutBusiMsg(nullptr, "2", "text", "100", "101", "", "", "");
}

/// A presenter that is subscribed to business messages; the platform deletes it.
std::shared_ptr<ProbeLog> listen() {
    auto* const presenter = new ProbePresenter;
    presenter->initPresenter();
    presenter->SubEvent(presenter->pluginPid(),
                        VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_ADD), 1);
    return presenter->log;
}

}  // namespace

class PutBusiMsgTest : public QObject {
    Q_OBJECT

private slots:
    // First: no platform has been started in this process yet.
    void message_beforeTheStart_reachesNobody() {
        putText();
        putEmpty(nullptr);
        const PlatformFixture platform;
        const auto log = listen();
        VelmarUtils::PutBusiMsg(nullptr, "2", "later", "100", "101", "", "", "");
        QVERIFY(log->waitForCount(1));
        QCOMPARE(textOf(log->bodies().constFirst()), QString("later"));
    }

    void message_ofEmptyTexts_hasAnEmptyHeader() {
        const PlatformFixture platform;
        const auto log = listen();
        putEmpty(nullptr);
        putText();
        QVERIFY(log->waitForCount(2));
        QCOMPARE(headerOf(log->bodies().at(0)), QVariantMap());
        QCOMPARE(textOf(log->bodies().at(1)), QString("text"));
    }

    void message_afterTheClose_reachesNobody() {
        const PlatformFixture platform;
        const auto log = listen();
        LocalPlatform::instance().close();
        putText();
        putEmpty(nullptr);
        QCOMPARE(log->count(), 0);
    }
};

QTEST_GUILESS_MAIN(PutBusiMsgTest)
#include "put_busi_msg_test.moc"

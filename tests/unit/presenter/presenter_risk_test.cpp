#include <QtTest>
#include <memory>
#include <mutex>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "symbol_risk_flags.h"
#include "velmar_business_data_manager.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;
using Rows = QList<QVariantMap>;

const QString kKey = QStringLiteral("productinfo.riskInfo");
const QString kVersion = Velmar_MsgType::queryProductDataVersionRequest;
const QString kNotices = Velmar_MsgType::queryProductRiskInfoRequest;
const QString kTypes = Velmar_MsgType::QueryRiskSecurityFlagInfoRequest;

QVariantMap versionRow(const QVariant& version, const QString& key = kKey) {
    return {{System::dataKey, key}, {System::dataVersion, version}};
}

QVariantMap notice() {
    return {{Security::securityID, "600000"},
            {UserAccount::securityExchange, Exchange::sh},
            {Security::riskRemindInfo, "重点关注"}};
}

/// A presenter whose start-up sequence runs when a test wants it, and the notices that it emitted.
class RiskClient {
public:
    RiskClient() : presenter(new Presenter("Test.Presenter", nullptr)) {
        world.login();
        QObject::connect(
            presenter, &Presenter::signalNoticeSymbolChanged, presenter,
            [emitted = m_emitted](const Rows& rows) {
                const std::lock_guard<std::mutex> lock(emitted->mutex);
                emitted->lists.append(rows);
            },
            Qt::DirectConnection);
        presenter->initPresenter();
    }
    ~RiskClient() { presenter->deleteLater(); }
    RiskClient(const RiskClient&) = delete;
    RiskClient& operator=(const RiskClient&) = delete;

    void answer(const Rows& versions, const Rows& notices) {
        world.link().on(kVersion, ScriptedReply::rows(versions));
        world.link().on(kNotices, ScriptedReply::rows(notices));
    }
    void startUp() {
        runOnThreadAndWait(presenter, [this] { presenter->slotInitData(); });
    }
    QList<Rows> emitted() const {
        const std::lock_guard<std::mutex> lock(m_emitted->mutex);
        return m_emitted->lists;
    }
    int noticeRequests() { return world.link().requestCount(kNotices); }

    ClientWorld world{numberedAccounts(1)};
    Presenter* const presenter;

private:
    struct Emitted {
        std::mutex mutex;  // guards the lists
        QList<Rows> lists;
    };
    const std::shared_ptr<Emitted> m_emitted = std::make_shared<Emitted>();
};

}  // namespace

/// The versions of the product data, and the risk notices that are requested for a new one.
class PresenterRiskTest : public QObject {
    Q_OBJECT

private slots:
    void startUp_serverHasAVersion_requestsTheNotices() {
        RiskClient client;
        client.answer({versionRow(1)}, {notice()});
        client.startUp();
        QCOMPARE(client.world.link().lastRequest(kVersion).header.value(System::dataKey).toString(),
                 kKey);
        const QVariantMap header = client.world.link().lastRequest(kNotices).header;
        QCOMPARE(header.value(System::pageSize).toInt(), 1000);
        QCOMPARE(header.value(System::pageNo).toInt(), 1);
        QCOMPARE(client.emitted(), QList<Rows>{{notice()}});
        QCOMPARE(client.world.link().requestCount(kTypes), 1);
    }

    void startUp_severalPages_areEmittedTogether() {
        RiskClient client;
        client.answer({versionRow(1)}, {});
        client.world.link().on(kNotices, [](const QVariant& body) {
            const bool isFirst = headerOf(body).value(System::pageNo).toInt() == 1;
            Rows page;
            for (int row = 0; row < (isFirst ? 1000 : 1); ++row) {
                QVariantMap one = notice();
                one.insert("row", isFirst ? row : 1000);
                page.append(one);
            }
            return makeAnswer(body, page, {{System::totalSize, 1001}});
        });
        client.startUp();
        QCOMPARE(client.noticeRequests(), 2);
        QCOMPARE(client.emitted().size(), 1);
        QCOMPARE(client.emitted().first().size(), 1001);
    }

    void startUp_againWithAVersion_requestsOnlyForALaterOne() {
        RiskClient client;
        client.answer({versionRow(5)}, {notice()});
        client.startUp();
        QCOMPARE(client.noticeRequests(), 1);
        const QList<QPair<QVariant, int>> steps{{5, 1}, {4, 1}, {"5", 1}, {"6", 2}, {6, 2}, {7, 3}};
        for (const auto& step : steps) {
            client.answer({versionRow(step.first)}, {notice()});
            client.startUp();
            QCOMPARE(client.noticeRequests(), step.second);
            QCOMPARE(client.emitted().size(), step.second);
        }
    }

    void startUp_noticesEmptyOrFailed_areRequestedAgainAtTheSameVersion() {
        RiskClient client;
        client.answer({versionRow(5)}, {});
        client.startUp();
        client.world.link().on(kNotices, ScriptedReply::refusal("closed"));
        client.startUp();
        QCOMPARE(client.noticeRequests(), 2);
        QVERIFY(client.emitted().isEmpty());
        client.answer({versionRow(5)}, {notice()});
        client.startUp();
        client.startUp();
        QCOMPARE(client.noticeRequests(), 3);
        QCOMPARE(client.emitted().size(), 1);
    }

    void startUp_versionRows_onlyTheKeysOwnCounts() {
        RiskClient client;
        const QVariantMap other = versionRow(9, "productinfo.other");
        const QList<QPair<Rows, int>> steps{{{}, 0},
                                            {{other}, 0},
                                            {{{}}, 0},
                                            {{versionRow(0)}, 0},
                                            {{versionRow(-1)}, 0},
                                            {{other, versionRow(3), other}, 1},
                                            {{versionRow(3), versionRow(8)}, 1}};
        for (const auto& step : steps) {
            client.answer(step.first, {notice()});
            client.startUp();
            QCOMPARE(client.noticeRequests(), step.second);
        }
    }

    void startUp_versionThatIsNoNumber_isWarnedOf() {
        RiskClient client;
        for (const QVariant& version : {QVariant("latest"), QVariant(), QVariant("99999999999")}) {
            client.answer({versionRow(version)}, {notice()});
            LogCapture log;
            client.startUp();
            QVERIFY(log.contains(QtWarningMsg,
                                 "the version of \"productinfo.riskInfo\" is not a number"));
        }
        QCOMPARE(client.noticeRequests(), 0);
    }

    void startUp_versionQueryFails_goesOnToTheRiskTypes() {
        RiskClient client;
        client.world.link().on(kVersion, ScriptedReply::timeOut());
        client.startUp();
        QCOMPARE(client.noticeRequests(), 0);
        QCOMPARE(client.world.link().requestCount(kTypes), 1);
    }

    void startUp_riskTypesFailed_areRequestedAtTheNextOne() {
        RiskClient client;
        client.startUp();
        client.world.link().on(kTypes, ScriptedReply::rows({}));
        client.startUp();
        client.startUp();
        QCOMPARE(client.world.link().requestCount(kTypes), 2);
    }

    void close_duringTheVersionQuery_requestsNothingMore() {
        ClientWorld world(numberedAccounts(1));
        world.link().on(kVersion, ScriptedReply::rows({versionRow(1)}).held());
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(waitFor([&world] { return world.link().heldCount(kVersion) == 1; }));
        LocalPlatform::instance().close();
        QCOMPARE(world.link().requestCount(kNotices), 0);
        QCOMPARE(world.link().requestCount(kTypes), 0);
    }

    void notices_emitted_reachTheCore() {
        ClientWorld world(
            numberedAccounts(1),
            StaticDbBuilder().reference("security", "600000.SH",
                                        {{Security::symbol, "600000.SH"},
                                         {Security::securityID, "600000"},
                                         {UserAccount::securityExchange, Exchange::sh}}));
        world.link().on(kVersion, ScriptedReply::rows({versionRow(1)}));
        world.link().on(kNotices, ScriptedReply::rows({notice()}));
        world.login();
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(log.waitFor("初始化/更新风险警示股，ST（*ST）0条，退市股票0条"));
        QVERIFY(ZnBusinessDataManager::instance()->riskFlags().CheckSymbolRiskInfo({"600000.SH"},
                                                                                   "下单"));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterRiskTest)
#include "presenter_risk_test.moc"

#pragma once

#include <QtTest>
#include <memory>

#include "holding_link.h"
#include "host_msg_type.h"
#include "links_under_test.h"
#include "platform_fixture.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

constexpr int kAnswer = 0;
constexpr int kTimeOut = 1;
constexpr int kFailure = 2;

/// A started platform with one presenter over the link of the current data row.
class ConformanceWorld {
public:
    /// The rows of initTestCase_data(), so that each case of the suite runs on every link.
    static void addLinks() {
        QTest::addColumn<int>("kind");
        const auto& kinds = linksUnderTest();
        for (size_t i = 0; i < kinds.size(); ++i) {
            QTest::newRow(kinds.at(i).name) << static_cast<int>(i);
        }
    }

    explicit ConformanceWorld(int kind) : server(linksUnderTest().at(size_t(kind)).makeServer()) {
        QString error;
        if (!LocalPlatform::instance().start(m_home.options(), &error)) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        }
        connect();
        presenter = new ProbePresenter;
        presenter->initPresenter();
    }
    ~ConformanceWorld() { LocalPlatform::instance().close(); }
    Q_DISABLE_COPY(ConformanceWorld)

    /// Replaces the link with a new one.
    void connect() {
        auto made = std::make_unique<HoldingLink>(server->makeLink());
        link = made.get();
        QString error;
        if (!LocalPlatform::instance().setLink(std::move(made), &error)) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        }
    }
    void disconnect() {
        LocalPlatform::instance().setLink(nullptr, nullptr);
        link = nullptr;
    }

    CMessageCommon* message(const QString& type, const QVariantMap& header,
                            const QList<QVariantMap>& rows = {}) const {
        CPackMessageCommon packer;
        packer.AddRowVaule(header);
        packer.AddVaule(System::msgType, type);
        if (!rows.isEmpty()) {
            packer.AddVaule(System::subGroupNumber, rows.size());
        }
        for (const QVariantMap& row : rows) {
            packer.AddRow();
            packer.SetCurrentRow(packer.GetRowCount() - 1);
            packer.AddRowVaule(row);
        }
        auto* const made = new CMessageCommon;
        made->SetSrcid(presenter->pluginPid());
        made->SetType(type);
        made->SetMsg(packer.GetPackedMsg(false));
        return made;
    }
    /// Any thread.
    int send(const QString& type, const QVariantMap& header, QVariant* response,
             const QList<QVariantMap>& rows = {}) const {
        return presenter->sendRequest_Sync(message(type, header, rows), *response);
    }

    static QVariantMap profile(const QString& key, const QString& data) {
        return {{UserAccount::userID, SampleLogin::user},
                {System::profileKey, key},
                {System::profileData, data},
                {System::accessLevel, 2},
                {Security::alterType, AlterType::create}};
    }
    bool writeProfiles(const QList<QVariantMap>& rows) const {
        QVariant response;
        return send(Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest, {}, &response,
                    rows) == kAnswer &&
               isSuccess(response);
    }
    static QVariantMap profileQuery(const QString& key, const QString& fuzzy = {}) {
        return {{UserAccount::userID, SampleLogin::user},
                {System::profileKey, key},
                {System::fuzzy, fuzzy}};
    }
    /// The data of exactly this key; empty when it does not exist.
    QString readProfile(const QString& key) const {
        QVariant response;
        send(Quindar_MsgType::getUserProfileDataRequest, profileQuery(key), &response);
        return dataOf(response);
    }
    static QString dataOf(const QVariant& body) {
        const QList<QVariantMap> rows = rowsOf(body);
        return rows.size() == 1 ? rows.first().value(System::profileData).toString() : QString();
    }

    /// Any thread. False when the server refuses.
    bool subscribe(const QString& topic, const QString& action = SubscribeType::subscribe) const {
        QVariant response;
        return send(Quindar_MsgType::subscribeTopicRequest,
                    {{System::subscriptionTopic, topic},
                     {Security::subscriptionRequestType, action},
                     {UserAccount::userID, SampleLogin::user}},
                    &response) == kAnswer &&
               isSuccess(response);
    }

    static bool isSuccess(const QVariant& response) {
        return headerOf(response).value(System::requestExeStatus).toString() ==
               RequestExeStatus::success;
    }

    const std::unique_ptr<ServerUnderTest> server;
    HoldingLink* link = nullptr;          // owned by the platform
    ProbePresenter* presenter = nullptr;  // deleted by the platform

private:
    TempHome m_home;
};

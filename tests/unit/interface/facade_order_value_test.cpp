#include "facade_order_value.h"

#include <QtTest>

#include "vocabulary/fields.h"
#include "znmsg/c_pack_message_common.h"

namespace {

class CountedMessage final : public CMessageCommon {
public:
    explicit CountedMessage(int* deleted) : m_deleted(deleted) {}
    ~CountedMessage() override { ++*m_deleted; }

private:
    int* const m_deleted;
};

}  // namespace

class FacadeOrderValueTest : public QObject {
    Q_OBJECT

private slots:
    void message_isWrittenWithTypeHeaderAndRows_andDeleted() {
        CPackMessageCommon packer;
        packer.AddVaule(UserAccount::userID, "u");
        for (const double price : {10.5, 11.0}) {
            packer.AddRow();
            packer.AddVaule("orderPrice", price);
            packer.AddVaule(Security::orderQty, 9007199254740993LL);
        }
        int deleted = 0;
        auto* const message = new CountedMessage(&deleted);
        message->SetType("newOrderList");
        message->SetMsg(packer.GetPackedMsg(false));
        const QJsonObject json = FacadeValue<CMessageCommon*>::toJson(message).toObject();
        QCOMPARE(deleted, 1);
        QCOMPARE(json.value("type").toString(), QString("newOrderList"));
        QCOMPARE(json.value("header").toObject(), (QJsonObject{{"userID", "u"}}));
        const QJsonArray rows = json.value("rows").toArray();
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows.first().toObject(),
                 (QJsonObject{{"orderPrice", 10.5}, {"orderQty", "9007199254740993"}}));
    }

    void message_withoutRows_hasAnEmptyList() {
        const QJsonObject json =
            FacadeValue<CMessageCommon*>::toJson(new CMessageCommon).toObject();
        QVERIFY(json.value("rows").isArray() && json.value("rows").toArray().isEmpty());
        QVERIFY(json.value("header").toObject().isEmpty());
    }

    void message_thatIsMissing_isNull() {
        QVERIFY(FacadeValue<CMessageCommon*>::toJson(nullptr).isNull());
    }

    void marketValue_isWrittenByField() {
        VelmarMarketValueInfo info;
        info.tradingAccount = "T1";
        info.marketValue = 10.25;
        info.costValue = 9;
        info.symbolMarketValueMap.insert("600000.SH", 10.25);
        info.symbolCostValueMap.insert("600000.SH", 9);
        QCOMPARE(FacadeValue<VelmarMarketValueInfo>::toJson(info).toObject(),
                 (QJsonObject{{"tradingAccount", "T1"},
                              {"marketValue", 10.25},
                              {"costValue", 9},
                              {"symbolMarketValueMap", QJsonObject{{"600000.SH", 10.25}}},
                              {"symbolCostValueMap", QJsonObject{{"600000.SH", 9}}}}));
    }
};

QTEST_GUILESS_MAIN(FacadeOrderValueTest)
#include "facade_order_value_test.moc"

#include "packed_body.h"

#include <QDateTime>
#include <QtTest>

#include "log_capture.h"
#include "vocabulary/fields.h"
#include "znevent/c_event_message_common.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

constexpr bool kPlain = false;

QVariant twoRowBody() {
    CPackMessageCommon packer;
    packer.AddVaule("head", "h");
    packer.AddRow();
    packer.AddVaule("row", 1);
    packer.AddRow();
    packer.AddVaule("row", 2);
    return packer.GetPackedMsg(kPlain);
}

void garbageRows() {
    QTest::addColumn<QVariant>("value");
    QTest::newRow("text") << QVariant("text");
    QTest::newRow("number") << QVariant(7);
    QTest::newRow("nothing") << QVariant();
    QTest::newRow("record") << QVariant(QVariantMap{{"a", 1}});
    QTest::newRow("empty list") << QVariant(QVariantList());
    QTest::newRow("list with a text") << QVariant(QVariantList{QVariantMap{{"a", 1}}, "text"});
    QTest::newRow("list of texts") << QVariant(QStringList{"a", "b"});
}

}  // namespace

class PackedBodyTest : public QObject {
    Q_OBJECT

private slots:
    void packer_new_standsOnAnEmptyHeader();
    void addRow_severalTimes_makesTheNewRowCurrent();
    void addRowVaule_onARowWithFields_mergesAndKeepsTheOthers();
    void packerSetCurrentRow_outOfRange_refusesAndStays_data();
    void packerSetCurrentRow_outOfRange_refusesAndStays();
    void unpackerSetCurrentRow_outOfRange_refusesAndStays_data();
    void unpackerSetCurrentRow_outOfRange_refusesAndStays();
    void packerGetValue_absentField_isInvalidAndAddsNothing();
    void delValue_removesFromTheCurrentRowAlone();
    void clientMsgId_headerHasNone_isMadeOnTheHeaderWhateverRowIsCurrent();
    void clientMsgId_askedTwice_staysTheSame();
    void clientMsgId_twoPackers_differ();
    void clientMsgId_onTheCurrentRow_isLookedAtFirst();
    void roundTrip_everyType_survives();
    void unpacker_afterSet_standsOnTheHeaderAndCountsIt();
    void unpackerGetValue_absentField_givesTheDefault();
    void unpacker_garbage_readsAsAnEmptyHeaderWithOneWarning_data();
    void unpacker_garbage_readsAsAnEmptyHeaderWithOneWarning();
    void unpacker_goodBody_logsNoWarning();
    void isPackedBody_garbage_isFalse_data();
    void isPackedBody_garbage_isFalse();
    void isPackedBody_headerAlone_isTrue();
    void makeErrorBody_carriesStatusAndTextUnderBothKeys();
    void messages_giveBackWhatWasSet();
};

void PackedBodyTest::packer_new_standsOnAnEmptyHeader() {
    CPackMessageCommon packer;
    QCOMPARE(packer.GetRowCount(), 1);
    packer.AddVaule("key", 5);
    QCOMPARE(packer.GetPackedMsg(kPlain).toList(), (QVariantList{QVariantMap{{"key", 5}}}));
}

void PackedBodyTest::addRow_severalTimes_makesTheNewRowCurrent() {
    CPackMessageCommon packer;
    QCOMPARE(packer.AddRow(), 1);
    packer.AddVaule("row", 1);
    QCOMPARE(packer.AddRow(), 2);
    packer.AddVaule("row", 2);
    QVERIFY(packer.SetCurrentRow(1));
    QCOMPARE(packer.AddRow(), 3);
    packer.AddVaule("row", 3);
    QCOMPARE(packer.GetRowCount(), 4);
    const QVariantList expected{QVariantMap(), QVariantMap{{"row", 1}}, QVariantMap{{"row", 2}},
                                QVariantMap{{"row", 3}}};
    QCOMPARE(packer.GetPackedMsg(kPlain).toList(), expected);
}

void PackedBodyTest::addRowVaule_onARowWithFields_mergesAndKeepsTheOthers() {
    CPackMessageCommon packer;
    packer.AddRow();
    packer.AddVaule("kept", "k");
    packer.AddVaule("changed", "old");
    QCOMPARE(packer.AddRowVaule({{"changed", "new"}, {"added", "a"}}), 0);
    QCOMPARE(packer.GetRowCount(), 2);
    QCOMPARE(packer.GetValue("kept"), QVariant("k"));
    QCOMPARE(packer.GetValue("changed"), QVariant("new"));
    QCOMPARE(packer.GetValue("added"), QVariant("a"));
    QVERIFY(packer.SetCurrentRow(0));
    QVERIFY(!packer.GetValue("added").isValid());
}

void PackedBodyTest::packerSetCurrentRow_outOfRange_refusesAndStays_data() {
    QTest::addColumn<int>("row");
    QTest::newRow("negative") << -1;
    QTest::newRow("one past the end") << 3;
    QTest::newRow("far away") << 99;
}

void PackedBodyTest::packerSetCurrentRow_outOfRange_refusesAndStays() {
    QFETCH(int, row);
    CPackMessageCommon packer;
    packer.AddRow();
    packer.AddVaule("row", 1);
    packer.AddRow();
    QVERIFY(packer.SetCurrentRow(1));
    QVERIFY(!packer.SetCurrentRow(row));
    QCOMPARE(packer.GetValue("row"), QVariant(1));
}

void PackedBodyTest::unpackerSetCurrentRow_outOfRange_refusesAndStays_data() {
    packerSetCurrentRow_outOfRange_refusesAndStays_data();
}

void PackedBodyTest::unpackerSetCurrentRow_outOfRange_refusesAndStays() {
    QFETCH(int, row);
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(twoRowBody(), kPlain);
    QVERIFY(unpacker.SetCurrentRow(1));
    QVERIFY(!unpacker.SetCurrentRow(row));
    QCOMPARE(unpacker.GetValue("row", ""), QVariant(1));
}

void PackedBodyTest::packerGetValue_absentField_isInvalidAndAddsNothing() {
    CPackMessageCommon packer;
    QVERIFY(!packer.GetValue("absent").isValid());
    QCOMPARE(packer.GetPackedMsg(kPlain).toList(), QVariantList{QVariantMap()});
}

void PackedBodyTest::delValue_removesFromTheCurrentRowAlone() {
    CPackMessageCommon packer;
    packer.AddVaule("key", "header");
    packer.AddRow();
    packer.AddVaule("key", "row");
    packer.delValue("key");
    QVERIFY(!packer.GetValue("key").isValid());
    QVERIFY(packer.SetCurrentRow(0));
    QCOMPARE(packer.GetValue("key"), QVariant("header"));
}

void PackedBodyTest::clientMsgId_headerHasNone_isMadeOnTheHeaderWhateverRowIsCurrent() {
    CPackMessageCommon packer;
    packer.AddRow();
    const QString id = packer.GetValue(System::clientMsgID).toString();
    QVERIFY(!id.isEmpty());
    const QVariantList body = packer.GetPackedMsg(kPlain).toList();
    QCOMPARE(body.at(0).toMap().value(System::clientMsgID).toString(), id);
    QVERIFY(body.at(1).toMap().isEmpty());
}

void PackedBodyTest::clientMsgId_askedTwice_staysTheSame() {
    CPackMessageCommon packer;
    const QVariant id = packer.GetValue(System::clientMsgID);
    packer.AddRow();
    QCOMPARE(packer.GetValue(System::clientMsgID), id);
}

void PackedBodyTest::clientMsgId_twoPackers_differ() {
    CPackMessageCommon one;
    CPackMessageCommon two;
    QVERIFY(one.GetValue(System::clientMsgID) != two.GetValue(System::clientMsgID));
}

void PackedBodyTest::clientMsgId_onTheCurrentRow_isLookedAtFirst() {
    CPackMessageCommon packer;
    packer.AddVaule(System::clientMsgID, "header");
    packer.AddRow();
    packer.AddVaule(System::clientMsgID, "row");
    QCOMPARE(packer.GetValue(System::clientMsgID), QVariant("row"));
    packer.AddRow();
    QCOMPARE(packer.GetValue(System::clientMsgID), QVariant("header"));
}

void PackedBodyTest::roundTrip_everyType_survives() {
    const QVariantMap record{{"bool", true},
                             {"time", QTime(9, 30, 1, 5)},
                             {"dateTime", QDateTime(QDate(2024, 2, 29), QTime(15, 0))},
                             {"number", 0.125},
                             {"long", Q_INT64_C(9007199254740993)},
                             {"list", QVariantList{1, "two"}},
                             {"map", QVariantMap{{"inner", 1}}}};
    CPackMessageCommon packer;
    packer.AddRow();
    packer.AddRowVaule(record);
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(packer.GetPackedMsg(kPlain), kPlain);
    QVERIFY(unpacker.SetCurrentRow(1));
    const QVariantMap read = unpacker.GetRowValue();
    QCOMPARE(read, record);
    for (auto it = record.cbegin(); it != record.cend(); ++it) {
        QCOMPARE(read.value(it.key()).userType(), it.value().userType());
    }
}

void PackedBodyTest::unpacker_afterSet_standsOnTheHeaderAndCountsIt() {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(twoRowBody(), kPlain);
    QCOMPARE(unpacker.GetRowCount(), 3);
    QCOMPARE(unpacker.GetValue("head", ""), QVariant("h"));
    QVERIFY(unpacker.SetCurrentRow(2));
    unpacker.SetUnPackMsg(twoRowBody(), kPlain);
    QCOMPARE(unpacker.GetValue("head", ""), QVariant("h"));
}

void PackedBodyTest::unpackerGetValue_absentField_givesTheDefault() {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(twoRowBody(), kPlain);
    QCOMPARE(unpacker.GetValue("absent", "default"), QVariant("default"));
}

void PackedBodyTest::unpacker_garbage_readsAsAnEmptyHeaderWithOneWarning_data() {
    garbageRows();
}

void PackedBodyTest::unpacker_garbage_readsAsAnEmptyHeaderWithOneWarning() {
    QFETCH(QVariant, value);
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(twoRowBody(), kPlain);
    QVERIFY(unpacker.SetCurrentRow(2));
    const LogCapture log;
    unpacker.SetUnPackMsg(value, kPlain);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    QCOMPARE(unpacker.GetRowCount(), 1);
    QVERIFY(unpacker.GetRowValue().isEmpty());
    QVERIFY(!unpacker.SetCurrentRow(1));
}

void PackedBodyTest::unpacker_goodBody_logsNoWarning() {
    const LogCapture log;
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(twoRowBody(), kPlain);
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
}

void PackedBodyTest::isPackedBody_garbage_isFalse_data() {
    garbageRows();
}

void PackedBodyTest::isPackedBody_garbage_isFalse() {
    QFETCH(QVariant, value);
    QVERIFY(!isPackedBody(value));
}

void PackedBodyTest::isPackedBody_headerAlone_isTrue() {
    QVERIFY(isPackedBody(CPackMessageCommon().GetPackedMsg(kPlain)));
}

void PackedBodyTest::makeErrorBody_carriesStatusAndTextUnderBothKeys() {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(makeErrorBody("why"), kPlain);
    QCOMPARE(unpacker.GetValue(System::requestExeStatus, ""), QVariant("1"));
    QCOMPARE(unpacker.GetValue(System::textDescription, ""), QVariant("why"));
    QCOMPARE(unpacker.GetValue("58", ""), QVariant("why"));
    QCOMPARE(unpacker.GetRowCount(), 1);
}

void PackedBodyTest::messages_giveBackWhatWasSet() {
    CMessageCommon message;
    message.SetType("type");
    message.SetSrcid("source");
    message.SetMsg(1);
    QCOMPARE(message.GetType(), QVariant("type"));
    QCOMPARE(message.GetSrcid(), QString("source"));
    QCOMPARE(message.GetMsg(), QVariant(1));
    CEventMessageCommon event;
    event.SetType(5);
    event.SetSrcid("source");
    event.SetDstid("destination");
    event.SetMsg("body");
    QCOMPARE(event.GetType(), QVariant(5));
    QCOMPARE(event.GetSrcid(), QString("source"));
    QCOMPARE(event.GetDstid(), QString("destination"));
    QCOMPARE(event.GetMsg(), QVariant("body"));
}

QTEST_GUILESS_MAIN(PackedBodyTest)
#include "packed_body_test.moc"

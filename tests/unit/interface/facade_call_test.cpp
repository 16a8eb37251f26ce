#include <QtTest>

#include "facade_call.h"
#include "facade_order_value.h"
#include "facade_value.h"
#include "znmsg/c_pack_message_common.h"

namespace {

int sum(int left, qint64 right) {
    return left + static_cast<int>(right);
}
QString overloaded(const QString& text) {
    return "text " + text;
}
QString overloadedRecord(const tagUserAccountInfo& info) {
    return "record " + info.tradingAccount;
}
double overloadedThree(const QVariantMap&, bool, double price) {
    return price;
}
bool fillsText(const QString& in, QString& error) {
    error = "why " + in + error;
    return false;
}
void changesMap(QVariantMap& request, const QDate& day) {
    request.insert("day", day.toString("yyyyMMdd"));
}
QMap<QString, QMap<QString, QStringList>> nested(const QStringList& names) {
    return {{"outer", {{"inner", names}}}};
}
void fillsNumber(int* out) {
    *out = 7;
}

int tiedFirst(bool) {
    return 1;
}
int tiedSecond(bool) {
    return 2;
}
int tiedLower(const QString&) {
    return 3;
}

CustomOddLotType takesValue(const CustomOddLotType& type) {
    return type;
}
qint64 negated(qint64 number) {
    return -number;
}
QVariant echo(const QVariant& value) {
    return value;
}
bool isRecord(const tagUserAccountInfo&, const QMap<QString, int>&) {
    return true;
}

/// A message that counts itself.
class CountedMessage : public CMessageCommon {
public:
    CountedMessage() { ++alive; }
    ~CountedMessage() override { --alive; }

    static int alive;
};
int CountedMessage::alive = 0;

CMessageCommon* makesMessage(const QList<QVariantMap>& rows, bool isNull) {
    if (isNull) {
        return nullptr;
    }
    CPackMessageCommon packer;
    packer.AddVaule("userID", "用户");
    for (const QVariantMap& row : rows) {
        packer.AddRow();
        packer.AddRowVaule(row);
    }
    auto* const message = new CountedMessage;
    message->SetType(QString("261202"));
    message->SetMsg(packer.GetPackedMsg(false));
    return message;
}
CMessageCommon* makesBareMessage() {
    return new CountedMessage;
}
VelmarMarketValueInfo makesMarketValue() {
    VelmarMarketValueInfo info;
    info.tradingAccount = "T1";
    info.marketValue = 10000.5;
    info.costValue = -3;
    info.symbolMarketValueMap = {{"600000.SH", 10000.5}};
    info.symbolCostValueMap = {{"600000.SH", -3.0}};
    return info;
}

QString noteOf(const QString& function, const QString& parameter) {
    return function == "sum" && parameter == "left" ? QStringLiteral("in lots") : QString();
}

const FacadeFunction kTable[] = {
    facadeEntry<&tiedFirst>("tied", FacadePlain, FacadeNothing, "only"),
    facadeEntry<&tiedSecond>("tied", FacadePlain, FacadeNothing, "only"),
    facadeEntry<&tiedLower>("tied", FacadePlain, FacadeNothing, "text"),
    facadeEntry<&sum>("sum", FacadePlain, FacadeNothing, "left, right", &noteOf),
    facadeEntry<&overloaded>("overloaded", FacadePlain, FacadeNothing, "text"),
    facadeEntry<&overloadedRecord>("overloaded", FacadePlain, FacadeNothing, "info"),
    facadeEntry<&overloadedThree>("overloaded", FacadePlain, FacadeNothing, "map, flag, price"),
    facadeEntry<&fillsText>("fillsText", FacadePlain, FacadeNothing, "in, error"),
    facadeEntry<&changesMap>("changesMap", FacadePlain, FacadeNothing, "request, day"),
    facadeEntry<&nested>("nested", FacadePlain, FacadeNothing, "names"),
    facadeEntry<&fillsNumber>("fillsNumber", FacadePlain, FacadeNothing, "out"),
    facadeEntry<&takesValue>("takesValue", FacadePlain, FacadeNothing, "type"),
    facadeEntry<&negated>("negated", FacadePlain, FacadeNothing, "number"),
    facadeEntry<&echo>("echo", FacadePlain, FacadeNothing, "value"),
    facadeEntry<&makesMessage>("makesMessage", FacadePlain, FacadeNothing, "rows, isNull"),
    facadeEntry<&makesBareMessage>("makesBareMessage", FacadePlain, FacadeNothing, ""),
    facadeEntry<&makesMarketValue>("makesMarketValue", FacadePlain, FacadeNothing, ""),
    facadeEntry<&isRecord>("isRecord", FacadePlain, FacadeNothing, "info, counts"),
};

const FacadeFunction* choose(const QString& name, const QStringList& arguments,
                             QString* error = nullptr) {
    QString ignored;
    return chooseFacadeFunction(kTable, static_cast<int>(std::size(kTable)), name, arguments,
                                error ? error : &ignored);
}

QJsonObject call(const QString& name, const QStringList& arguments) {
    const FacadeFunction* const function = choose(name, arguments);
    return function ? function->call(arguments) : QJsonObject();
}

}  // namespace

class FacadeCallTest : public QObject {
    Q_OBJECT

private slots:
    void signature_anyFunction_containsTypesAndOutParameters() {
        QCOMPARE(choose("sum", {"1", "2"})->signature(), QString("int sum(int, qint64)"));
        QCOMPARE(choose("fillsText", {"a"})->signature(),
                 QString("bool fillsText(QString, QString&)"));
        QCOMPARE(choose("changesMap", {"2026-01-05"})->signature(),
                 QString("void changesMap(QVariantMap&, QDate)"));
        QCOMPARE(choose("nested", {"[]"})->signature(),
                 QString("QMap<QString, QMap<QString, QStringList>> nested(QStringList)"));
        QCOMPARE(choose("fillsNumber", {})->signature(), QString("void fillsNumber(int*)"));
    }

    void call_plainArguments_returnsFunctionArgumentsAndResult() {
        const QJsonObject answer = call("sum", {"40", "2"});
        QCOMPARE(answer.value("result").toInt(), 42);
        QCOMPARE(answer.value("arguments").toArray(), (QJsonArray{40, 2}));
        QCOMPARE(answer.value("function").toString(), QString("int sum(int, qint64)"));
        QVERIFY(!answer.contains("out"));
    }

    void call_overloads_areChosenByTheirArguments() {
        QCOMPARE(call("overloaded", {"0001"}).value("result").toString(), QString("text 0001"));
        QCOMPARE(call("overloaded", {R"({"tradingAccount":"A1"})"}).value("result").toString(),
                 QString("record A1"));
        QCOMPARE(call("overloaded", {"{}", "true", "1.5"}).value("result").toDouble(), 1.5);
    }

    void call_outParameterLeftOut_comesBackBesideTheResult() {
        const QJsonObject answer = call("fillsText", {"not"});
        QCOMPARE(answer.value("result").toBool(true), false);
        QCOMPARE(answer.value("out").toArray(),
                 (QJsonArray{QJsonObject{{"parameter", 2}, {"value", "why not"}}}));
    }

    void call_outParameterGiven_isPassedIn() {
        const QJsonObject answer = call("fillsText", {"not", "!"});
        QCOMPARE(answer.value("out").toArray().at(0).toObject().value("value").toString(),
                 QString("why not!"));
    }

    void call_inAndOutMap_comesBackChanged() {
        const QJsonObject answer = call("changesMap", {R"({"a":1})", "2026-01-05"});
        QCOMPARE(answer.value("result"), QJsonValue(QJsonValue::Null));
        QCOMPARE(answer.value("out").toArray().at(0).toObject().value("value").toObject(),
                 (QJsonObject{{"a", 1}, {"day", "20260105"}}));
    }

    void call_dateOfEitherForm_isReadAndShownAlike_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("with dashes") << "2026-01-05";
        QTest::newRow("digits alone") << "20260105";
    }
    void call_dateOfEitherForm_isReadAndShownAlike() {
        QFETCH(QString, text);
        const QJsonObject answer = call("changesMap", {"{}", text});
        QCOMPARE(answer.value("arguments").toArray().at(1), QJsonValue("2026-01-05"));
        QCOMPARE(answer.value("out").toArray().at(0).toObject().value("value").toObject(),
                 (QJsonObject{{"day", "20260105"}}));
    }

    void date_otherText_isNoDate_data() {
        QTest::addColumn<QString>("text");
        for (const char* text :
             {"", "2026", "2026-02-30", "20261301", "2026-01-05T10:00:00", "260105", "x"}) {
            QTest::newRow(text) << text;
        }
    }
    void date_otherText_isNoDate() {
        QFETCH(QString, text);
        QDate date(2020, 2, 29);
        QVERIFY(!FacadeValue<QDate>::fromJson(text, &date));
        QCOMPARE(date, QDate(2020, 2, 29));
    }

    void call_pointerParameter_comesBack() {
        QCOMPARE(call("fillsNumber", {}).value("out").toArray().at(0).toObject().value("value"),
                 QJsonValue(7));
    }

    void call_nestedContainers_areWrittenWhole() {
        QCOMPARE(call("nested", {R"(["一","b"])"}).value("result").toObject(),
                 (QJsonObject{{"outer", QJsonObject{{"inner", QJsonArray{"一", "b"}}}}}));
    }

    void choose_badArguments_returnsNullWithTheReason_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("reason");
        QTest::newRow("unknown name") << "nothing" << QStringList{} << "no exported function";
        QTest::newRow("too few") << "sum" << QStringList{"1"} << "takes 2 arguments, not 1";
        QTest::newRow("too many") << "sum" << QStringList{"1", "2", "3"}
                                  << "takes 2 arguments, not 3";
        QTest::newRow("none for one") << "negated" << QStringList{} << "takes 1 argument, not 0";
        QTest::newRow("with or without the filled one")
            << "fillsText" << QStringList{} << "takes 1 or 2 arguments, not 0";
        QTest::newRow("no number") << "sum" << QStringList{"1", "x"}
                                   << "int sum(int left, qint64 right): argument 2, right: 'x' is "
                                      "not a whole number from -9223372036854775808 to "
                                      "9223372036854775807";
        QTest::newRow("number too large")
            << "sum" << QStringList{"4294967296", "x"}
            << "argument 1, left: '4294967296' is not a whole number from -2147483648 to "
               "2147483647";
        QTest::newRow("not true or false") << "overloaded" << QStringList{"{}", "yes", "1"}
                                           << "argument 2, flag: 'yes' is not true or false";
        QTest::newRow("not JSON") << "nested" << QStringList{"a,b"}
                                  << "argument 1, names: 'a,b' is not JSON (";
        QTest::newRow("list of numbers")
            << "nested" << QStringList{"[1]"} << "'[1]' is not a JSON list, each entry a text";
        QTest::newRow("field of a record")
            << "isRecord" << QStringList{R"({"clientNo":"1","branchNo":"x"})", "{}"}
            << "argument 1, info: '{\"clientNo\":\"1\",\"branchNo\":\"x\"}': its field branchNo is "
               "not a whole number";
        QTest::newRow("not a record") << "isRecord" << QStringList{"[]", "{}"}
                                      << "argument 1, info: '[]' is not a JSON object with fields "
                                         "of tagUserAccountInfo";
        QTest::newRow("not a map of numbers")
            << "isRecord" << QStringList{"{}", R"({"a":"b"})"}
            << "argument 2, counts: '{\"a\":\"b\"}' is not a JSON object, each entry a whole";
        QTest::newRow("not a date")
            << "changesMap" << QStringList{"{}", "2026-1-5"}
            << "argument 2, day: '2026-1-5' is not a date such as 2026-01-31 or 20260131";
        QTest::newRow("no such date") << "changesMap" << QStringList{"{}", "20260230"}
                                      << "argument 2, day: '20260230' is not a date such as";
        QTest::newRow("not a value of the enumeration")
            << "takesValue" << QStringList{"up"}
            << "argument 1, type: 'up' is not a value of CustomOddLotType (0 Keep, 1 Down";
        QTest::newRow("long text")
            << "nested" << QStringList{QString(1000, 'a')} << QString(60, 'a') + "...' is not JSON";
        QTest::newRow("two fit alike, a third less")
            << "tied" << QStringList{"true"} << "fit more than one";
        QTest::newRow("two values") << "nested" << QStringList{"[],[]"} << "it is not one value";
    }
    void choose_badArguments_returnsNullWithTheReason() {
        QFETCH(QString, name);
        QFETCH(QStringList, arguments);
        QFETCH(QString, reason);
        QString error;
        QCOMPARE(choose(name, arguments, &error), nullptr);
        QVERIFY2(error.contains(reason), qPrintable(error));
    }

    void declaration_anyFunction_namesTheParameters() {
        QCOMPARE(choose("fillsText", {"a"})->declaration(),
                 QString("bool fillsText(QString in, QString& error)"));
        const QVector<FacadeParameter> parameters = choose("sum", {"1", "2"})->parameterList();
        QCOMPARE(parameters.size(), 2);
        QCOMPARE(parameters.at(0).name, QString("left"));
        QCOMPARE(parameters.at(0).note, QString("in lots"));
        QCOMPARE(parameters.at(1).type, QString("qint64"));
        QCOMPARE(parameters.at(1).note, QString());
        QCOMPARE(choose("takesValue", {"1"})->parameterList().first().values,
                 (QStringList{"0 Keep", "1 Down", "2 Nearest", "3 Up", "4 ByFlag"}));
    }

    void call_enumeration_takesNumberOrName() {
        QCOMPARE(call("takesValue", {"Up"}).value("result"), QJsonValue(3));
        QCOMPARE(call("takesValue", {"3"}).value("result"), QJsonValue(3));
        QCOMPARE(call("takesValue", {"77"}).value("result"), QJsonValue(77));
    }

    void knowsValues_unknownNumber_isNamed() {
        const FacadeFunction* const function = choose("takesValue", {"77"});
        FacadeMisfit unknown;
        QVERIFY(function->knowsValues({"4"}, &unknown));
        QVERIFY(!function->knowsValues({"77"}, &unknown));
        QVERIFY(misfitText(*function, unknown)
                    .startsWith("argument 1, type: '77' is not a value of CustomOddLotType"));
    }

    void call_integersBeyondDoubles_keepEveryDigit_data() {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("written");
        QTest::newRow("2^53") << "9007199254740992"
                              << "-9007199254740992";
        QTest::newRow("2^53 + 1") << "9007199254740993"
                                  << "\"-9007199254740993\"";
        QTest::newRow("most") << "9223372036854775807"
                              << "\"-9223372036854775807\"";
    }
    void call_integersBeyondDoubles_keepEveryDigit() {
        QFETCH(QString, argument);
        QFETCH(QString, written);
        const QJsonObject answer = call("negated", {argument});
        const QByteArray text = QJsonDocument(answer).toJson(QJsonDocument::Compact);
        QVERIFY2(text.contains("\"result\":" + written.toUtf8()), text);
        QVERIFY2(text.contains(argument.toUtf8()), text);
    }

    void call_integersInsideJson_keepEveryDigit() {
        const QString json = R"({"list":[9007199254740993,1.5],"own":-9223372036854775807})";
        const QJsonObject answer = call("echo", {json});
        const QJsonObject result = answer.value("result").toObject();
        QCOMPARE(result.value("list").toArray(), (QJsonArray{"9007199254740993", 1.5}));
        QCOMPARE(result.value("own").toString(), QString("-9223372036854775807"));
        QCOMPARE(answer.value("arguments").toArray().first().toObject(), result);
    }

    void value_of64Bits_readsNumbersAndDecimalTexts() {
        qint64 number = 0;
        const auto read = [&number](const char* json) {
            return FacadeValue<qint64>::fromJson(
                QJsonDocument::fromJson(QByteArray("[") + json + "]").array().first(), &number);
        };
        QVERIFY(read("9007199254740993"));
        QCOMPARE(number, Q_INT64_C(9007199254740993));
        QVERIFY(read("\"-9007199254740995\""));
        QCOMPARE(number, Q_INT64_C(-9007199254740995));
        QVERIFY(!read("1.5") && !read("1e300") && !read("\"x\"") && !read("true"));
        QCOMPARE(number, Q_INT64_C(-9007199254740995));
        int small = 0;
        QVERIFY(!FacadeValue<int>::fromJson(QJsonValue("7"), &small));
    }

    void call_message_showsTypeHeaderAndRows() {
        const QJsonObject result = call("makesMessage", {R"([{"qty":1.5},{"name":"二"}])", "false"})
                                       .value("result")
                                       .toObject();
        QCOMPARE(result.value("type"), QJsonValue("261202"));
        QCOMPARE(result.value("header"), QJsonValue(QJsonObject{{"userID", "用户"}}));
        QCOMPARE(result.value("rows"),
                 QJsonValue(QJsonArray{QJsonObject{{"qty", 1.5}}, QJsonObject{{"name", "二"}}}));
        QCOMPARE(choose("makesMessage", {"[]", "true"})->resultType(), QString("CMessageCommon*"));
    }

    void call_messageWithoutRows_showsAnEmptyList() {
        const QJsonObject result = call("makesMessage", {"[]", "false"}).value("result").toObject();
        QCOMPARE(result.value("rows"), QJsonValue(QJsonArray()));
        const QJsonObject bare = call("makesBareMessage", {}).value("result").toObject();
        QCOMPARE(bare.value("type"), QJsonValue(""));
        QCOMPARE(bare.value("header"), QJsonValue(QJsonObject()));
        QCOMPARE(bare.value("rows"), QJsonValue(QJsonArray()));
    }

    void call_message_isDeletedAfterwards() {
        call("makesMessage", {"[{}]", "false"});
        call("makesBareMessage", {});
        QCOMPARE(CountedMessage::alive, 0);
    }

    void call_nullMessage_isNull() {
        QVERIFY(call("makesMessage", {"[]", "true"}).value("result").isNull());
    }

    void call_marketValue_showsEveryField() {
        const QJsonObject result = call("makesMarketValue", {}).value("result").toObject();
        QCOMPARE(result, (QJsonObject{
                             {"tradingAccount", "T1"},
                             {"marketValue", 10000.5},
                             {"costValue", -3},
                             {"symbolMarketValueMap", QJsonObject{{"600000.SH", 10000.5}}},
                             {"symbolCostValueMap", QJsonObject{{"600000.SH", -3.0}}},
                         }));
        QCOMPARE(choose("makesMarketValue", {})->resultType(), QString("VelmarMarketValueInfo"));
    }

    void accountRecord_throughJsonAndBack_keepsEveryField() {
        tagUserAccountInfo record;
        record.tradingAccount = "T1";
        record.productName = "稳健一号";
        record.branchNo = 12;
        record.authorityFlags = 17;
        record.counterSiteType = 1;
        record.securityAccountMap = {{"1", {"A1", "A2"}}};
        const QJsonValue json = FacadeValue<tagUserAccountInfo>::toJson(record);
        QCOMPARE(json.toObject().size(), 34);
        tagUserAccountInfo back;
        QVERIFY(FacadeValue<tagUserAccountInfo>::fromJson(json, &back));
        QCOMPARE(FacadeValue<tagUserAccountInfo>::toJson(back), json);
        QCOMPARE(back.securityAccountMap, record.securityAccountMap);
        QCOMPARE(back.branchNo, 12);
    }

    void accountRecord_fieldOfAnotherKind_isRefusedAndLeavesTheValueAlone() {
        tagUserAccountInfo record;
        record.tradingAccount = "kept";
        QVERIFY(!FacadeValue<tagUserAccountInfo>::fromJson(QJsonObject{{"branchNo", "twelve"}},
                                                           &record));
        QCOMPARE(record.tradingAccount, QString("kept"));
    }
};

QTEST_APPLESS_MAIN(FacadeCallTest)
#include "facade_call_test.moc"

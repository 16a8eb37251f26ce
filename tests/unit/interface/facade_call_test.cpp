#include <QtTest>

#include "facade_call.h"
#include "facade_value.h"

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

constexpr char nameTied[] = "tied";
constexpr char nameSum[] = "sum";
constexpr char nameOverloaded[] = "overloaded";
constexpr char nameFills[] = "fillsText";
constexpr char nameChanges[] = "changesMap";
constexpr char nameNested[] = "nested";
constexpr char nameNumber[] = "fillsNumber";

const FacadeFunction kTable[] = {
    facadeEntry<&tiedFirst, nameTied>(FacadePlain),
    facadeEntry<&tiedSecond, nameTied>(FacadePlain),
    facadeEntry<&tiedLower, nameTied>(FacadePlain),
    facadeEntry<&sum, nameSum>(FacadePlain),
    facadeEntry<&overloaded, nameOverloaded>(FacadePlain),
    facadeEntry<&overloadedRecord, nameOverloaded>(FacadePlain),
    facadeEntry<&overloadedThree, nameOverloaded>(FacadePlain),
    facadeEntry<&fillsText, nameFills>(FacadePlain),
    facadeEntry<&changesMap, nameChanges>(FacadePlain),
    facadeEntry<&nested, nameNested>(FacadePlain),
    facadeEntry<&fillsNumber, nameNumber>(FacadePlain),
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
    void signature_anyFunction_namesTypesAndOutParameters() {
        QCOMPARE(choose("sum", {"1", "2"})->signature(), QString("int sum(int, qint64)"));
        QCOMPARE(choose("fillsText", {"a"})->signature(),
                 QString("bool fillsText(QString, QString&)"));
        QCOMPARE(choose("changesMap", {"2026-01-05"})->signature(),
                 QString("void changesMap(QVariantMap&, QDate)"));
        QCOMPARE(choose("nested", {"[]"})->signature(),
                 QString("QMap<QString, QMap<QString, QStringList>> nested(QStringList)"));
        QCOMPARE(choose("fillsNumber", {})->signature(), QString("void fillsNumber(int*)"));
    }

    void call_plainArguments_saysFunctionArgumentsAndResult() {
        const QJsonObject said = call("sum", {"40", "2"});
        QCOMPARE(said.value("result").toInt(), 42);
        QCOMPARE(said.value("arguments").toArray(), (QJsonArray{40, 2}));
        QCOMPARE(said.value("function").toString(), QString("int sum(int, qint64)"));
        QVERIFY(!said.contains("out"));
    }

    void call_overloads_areToldApartByTheirArguments() {
        QCOMPARE(call("overloaded", {"0001"}).value("result").toString(), QString("text 0001"));
        QCOMPARE(call("overloaded", {R"({"tradingAccount":"A1"})"}).value("result").toString(),
                 QString("record A1"));
        QCOMPARE(call("overloaded", {"{}", "true", "1.5"}).value("result").toDouble(), 1.5);
    }

    void call_outParameterLeftOut_comesBackBesideTheResult() {
        const QJsonObject said = call("fillsText", {"not"});
        QCOMPARE(said.value("result").toBool(true), false);
        QCOMPARE(said.value("out").toArray(),
                 (QJsonArray{QJsonObject{{"parameter", 2}, {"value", "why not"}}}));
    }

    void call_outParameterGiven_isPassedIn() {
        const QJsonObject said = call("fillsText", {"not", "!"});
        QCOMPARE(said.value("out").toArray().at(0).toObject().value("value").toString(),
                 QString("why not!"));
    }

    void call_inAndOutMap_comesBackChanged() {
        const QJsonObject said = call("changesMap", {R"({"a":1})", "2026-01-05"});
        QCOMPARE(said.value("result"), QJsonValue(QJsonValue::Null));
        QCOMPARE(said.value("out").toArray().at(0).toObject().value("value").toObject(),
                 (QJsonObject{{"a", 1}, {"day", "20260105"}}));
    }

    void call_pointerParameter_comesBack() {
        QCOMPARE(call("fillsNumber", {}).value("out").toArray().at(0).toObject().value("value"),
                 QJsonValue(7));
    }

    void call_nestedContainers_areWrittenWhole() {
        QCOMPARE(call("nested", {R"(["一","b"])"}).value("result").toObject(),
                 (QJsonObject{{"outer", QJsonObject{{"inner", QJsonArray{"一", "b"}}}}}));
    }

    void choose_badArguments_findsNoneAndSaysWhy_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("said");
        QTest::newRow("unknown name") << "nothing" << QStringList{} << "no exported function";
        QTest::newRow("too few") << "sum" << QStringList{"1"} << "do not fit";
        QTest::newRow("too many") << "sum" << QStringList{"1", "2", "3"} << "do not fit";
        QTest::newRow("no number") << "sum" << QStringList{"1", "x"} << "do not fit";
        QTest::newRow("number too large")
            << "sum" << QStringList{"4294967296", "2"} << "do not fit";
        QTest::newRow("no list") << "nested" << QStringList{"a,b"} << "do not fit";
        QTest::newRow("list of numbers") << "nested" << QStringList{"[1]"} << "do not fit";
        QTest::newRow("no date") << "changesMap" << QStringList{"{}", "20260105"} << "do not fit";
        QTest::newRow("two fit alike, a third less")
            << "tied" << QStringList{"true"} << "fit more than one";
        QTest::newRow("two values") << "nested" << QStringList{"[],[]"} << "do not fit";
    }
    void choose_badArguments_findsNoneAndSaysWhy() {
        QFETCH(QString, name);
        QFETCH(QStringList, arguments);
        QFETCH(QString, said);
        QString error;
        QCOMPARE(choose(name, arguments, &error), nullptr);
        QVERIFY2(error.contains(said), qPrintable(error));
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

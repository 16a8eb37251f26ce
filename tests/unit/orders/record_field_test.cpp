#include "record_field.h"

#include <rapidcheck.h>

#include <QtTest>
#include <algorithm>
#include <vector>

namespace {

QString keyOf(int number) {
    return QStringLiteral("field%1").arg(number);
}

/// A record of some of the fields, added in any order.
QVariantMap anyRecord(int fields) {
    std::vector<int> numbers;
    for (int i = 0; i < fields; ++i) {
        if (*rc::gen::weightedElement<bool>({{4, true}, {1, false}})) {
            numbers.push_back(i);
        }
    }
    for (size_t i = numbers.size(); i > 1; --i) {
        std::swap(numbers[i - 1], numbers[*rc::gen::inRange<size_t>(0, i)]);
    }
    QVariantMap record;
    for (const int number : numbers) {
        record.insert(keyOf(number), number * 10);
    }
    return record;
}

bool readsAsTheMap(RecordField* field, const QVariantMap& record) {
    const QVariant* const value = field->in(record);
    const auto expected = record.constFind(field->key());
    return expected == record.cend() ? !value : value == &*expected;
}

}  // namespace

class RecordFieldTest : public QObject {
    Q_OBJECT

private slots:
    void in_recordsOfAnyShape_isWhatTheMapFinds() {
        QVERIFY(rc::check("records of any shape", [] {
            constexpr int kFields = 20;
            std::vector<RecordField> fields;
            for (int i = 0; i < kFields; ++i) {
                fields.emplace_back(keyOf(i));
            }
            for (int i = *rc::gen::inRange(1, 6); i > 0; --i) {
                const QVariantMap record = anyRecord(*rc::gen::inRange(0, kFields + 1));
                // The first time the field is searched, the second time it is where it was.
                for (int time = 0; time < 2; ++time) {
                    for (RecordField& field : fields) {
                        RC_ASSERT(readsAsTheMap(&field, record));
                    }
                }
            }
        }));
    }

    void in_largeRecord_isWhatTheMapFinds() {
        QVariantMap record;
        for (int i = 0; i < 20000; ++i) {
            record.insert(keyOf(i), i);
        }
        for (int i = 0; i < 20000; i += 7) {
            RecordField field(keyOf(i));
            QVERIFY(readsAsTheMap(&field, record));
            QVERIFY(readsAsTheMap(&field, record));
        }
    }

    void in_emptyRecord_isNothing() {
        RecordField field("a");
        QVERIFY(!field.in(QVariantMap()));
        QVERIFY(field.in({{"a", 1}}));
        QVariantMap emptied{{"a", 1}};
        emptied.remove("a");
        QVERIFY(!field.in(emptied));
        QVERIFY(!field.in(QVariantMap()));
    }

    void in_keyWithItsOwnText_isFound() {
        RecordField field(QStringLiteral("symbol"));
        QVariantMap record{{"a", 1}, {"z", 2}};
        record.insert(QString("symbol").append(QString()), 3);
        QCOMPARE(field.in(record)->toInt(), 3);
        QCOMPARE(field.in(record)->toInt(), 3);
    }

    void fetch_recordsOfAnySize_changesNothing() {
        RecordField field("text");
        for (const QVariantMap& record :
             {QVariantMap(), QVariantMap{{"text", "a"}}, QVariantMap{{"text", 1}},
              QVariantMap{{"a", 1}, {"b", 2}, {"text", QString()}, {"z", 4}}}) {
            const QVariantMap before = record;
            RecordField::fetchHead(record);
            RecordField::fetchRoot(record);
            RecordField::fetchChildren(record);
            RecordField::fetchGrandchildren(record);
            field.fetchText(record);
            QCOMPARE(record, before);
            QVERIFY(readsAsTheMap(&field, record));
        }
    }
};

QTEST_GUILESS_MAIN(RecordFieldTest)
#include "record_field_test.moc"
